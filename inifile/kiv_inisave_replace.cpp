// Saving the model in place of the file without ever emptying it first:
// the model goes to a temporary file beside it, which replaces the file
// only once it is complete and on disk.
#include <sys/stat.h>

#include <fstream>

#include "../filesystem/kiv_replacefile.hpp"
#include "../foundation/kiv_cloexec.hpp"
#include "kiv_inisave.hpp"

namespace {

// True when `stream` writes to the file open as `fd`: the temporary file
// is opened a second time by name, and a name can be swapped meanwhile.
bool writesTo(std::ofstream& stream, int fd) {
  const int streamFd = kiv::detail::fileDescriptorOf(*stream.rdbuf());
  struct stat opened {};
  struct stat expected {};
  return streamFd >= 0 && ::fstat(streamFd, &opened) == 0 && ::fstat(fd, &expected) == 0 &&
         opened.st_dev == expected.st_dev && opened.st_ino == expected.st_ino;
}

}  // namespace

bool KivClIniFileSave::saveReplacing() {
  kiv::detail::FileReplacement replacement(getAsCString());
  if (!replacement.begin()) return false;
  std::ofstream stream(replacement.temporaryName(), std::ios::out | std::ios::binary);
  if (!stream.is_open() || !kiv::detail::setCloseOnExec(stream) ||
      !writesTo(stream, replacement.descriptor())) {
    return false;  // the replacement removes its temporary file
  }
  // The whole model, written as save() writes it; the writer's own stream
  // and its opened flag are not this call's business.
  const bool opened = m_fOpened;
  const bool written = save(stream);
  m_fOpened = opened;
  stream.close();
  if (!written || stream.fail()) return false;
  return replacement.commit();
}
