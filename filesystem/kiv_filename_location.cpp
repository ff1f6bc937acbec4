// File names: the operations that take a KivClLocation. A location's text
// is a directory text ending in its separator, so these are the text forms
// applied to that text.
#include "kiv_filename.hpp"
#include "kiv_location.hpp"

KivClFilename::KivClFilename(const KivClLocation& location, const char* name,
                             const char* extension) noexcept
    : KivClFilenameABase(location.getFull(), name, extension) {}

void KivClFilename::setNewPath(const KivClLocation& location) noexcept {
  setNewPath(location.getFull());
}

void KivClFilename::setNew(const KivClLocation& location, const char* name) noexcept {
  KivClFilename composed;
  composed.init(location.getFull(), KIV_PATH_MAX_LENGTH, name, nullptr);
  *this = composed;
}

KivClTmpFilename::KivClTmpFilename(const KivClLocation& location) {
  generate(location.getFull(), KIV_PATH_MAX_LENGTH, "tmp");
}

KivClTmpFilename::KivClTmpFilename(const KivClLocation& location, const char* prefix) {
  generate(location.getFull(), KIV_PATH_MAX_LENGTH, prefix);
}
