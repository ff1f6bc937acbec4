// Fuzz target of file names, locations, directories and relative expansion.
//
// Input: a control byte, then up to three texts separated by NUL bytes: a
// name text, a second text (a name, a directory or a prefix) and a third
// (an extension or a wildcard pattern).
//   control bit 0  normalise locations
//           bit 1  also build a temporary name (directory: the second
//                  text, prefix: the third)
// Every name built or changed must keep its pointers in order inside its
// text and its length equal to the text's; compositions must give the
// text the composition rules describe; extracted parts must fit their
// buffers and be the parts the pointers show; the name's wildcard match
// must agree with a plain recursive matcher; and an expanded directory
// text must end with "/", count as not relative, and stay the same when it
// is expanded again. HOME is set to a plain directory, so that "~" expands
// predictably.
#include <stdlib.h>
#include <unistd.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kiv_directory.hpp"
#include "kiv_fileabase.hpp"
#include "kiv_filename.hpp"
#include "kiv_fuzz_support.hpp"
#include "kiv_location.hpp"
#include "kiv_pathprop.hpp"

namespace {

constexpr std::size_t gs_bufferSize = KIV_PATH_MAX_LENGTH + 1;

// A name text taken whole has its path proper where the server-prefix rule
// puts it. A composed name keeps the one its directory had (so a name that
// itself begins with two backslashes does not make a server prefix), and a
// location finds it before its separator is appended ("\\srv\share"
// then "/").
void checkPathProperty(const KivClPathProperty& property, bool takenWhole) {
  const char* full = property.getFull();
  KIV_FUZZ_CHECK(full != nullptr);
  KIV_FUZZ_CHECK(property.getPath() >= full && property.getPath() <= full + std::strlen(full));
  if (takenWhole) KIV_FUZZ_CHECK(property.getPath() == KivClPathProperty::findPathProper(full));
  KIV_FUZZ_CHECK(property.getStyle() == 0 || property.getStyle() == 1);
  property.hasDrive();
  property.isAbsolute();
  property.isNormalized();
}

void checkName(const KivClFilenameABase& name, bool takenWhole = false) {
  checkPathProperty(name, takenWhole);
  const char* text = name.getAsCString();
  const std::size_t length = std::strlen(text);
  KIV_FUZZ_CHECK(name.getFull() == text);
  KIV_FUZZ_CHECK(length == name.getLength());
  KIV_FUZZ_CHECK(length <= KIV_PATH_MAX_LENGTH);
  KIV_FUZZ_CHECK(name.getPath() <= name.getName());
  KIV_FUZZ_CHECK(name.getName() <= name.getExtension());
  KIV_FUZZ_CHECK(name.getExtension() <= text + length);
  KIV_FUZZ_CHECK(*name.getExtension() == '\0' || *name.getExtension() == '.');

  std::unique_ptr<char[]> buffer(new char[gs_bufferSize]);
  name.extractBaseName(buffer.get());
  KIV_FUZZ_CHECK(std::string(buffer.get()) == std::string(name.getName(), name.getExtension()));
  const bool hasPath = name.extractPath(buffer.get(), true);
  if (hasPath) {
    KIV_FUZZ_CHECK(std::string(buffer.get()) == std::string(text, name.getName()));
  } else {
    KIV_FUZZ_CHECK(buffer[0] == '\0');
  }
  name.extractPath(buffer.get(), false);
  KIV_FUZZ_CHECK(std::strlen(buffer.get()) <= static_cast<std::size_t>(name.getName() - text));
  name.extractServer(buffer.get());
  KIV_FUZZ_CHECK(std::strlen(buffer.get()) <= static_cast<std::size_t>(name.getPath() - text));
  name.isStyleFAT_8_3();
  name.isExistent();
}

void checkLocation(const KivClLocation& location, bool normalized = false) {
  checkPathProperty(location, false);
  const char* text = location.getAsCString();
  const std::size_t length = std::strlen(text);
  KIV_FUZZ_CHECK(location.getFull() == text);
  KIV_FUZZ_CHECK(length == location.getLength());
  KIV_FUZZ_CHECK(length <= KIV_PATH_MAX_LENGTH);
  // It ends with a separator: its style's, or a "/" that normalising made
  // of it (a text with a drive stays in backslash style).
  if (length != 0 && length != KIV_PATH_MAX_LENGTH) {
    KIV_FUZZ_CHECK(text[length - 1] == '/' || text[length - 1] == '\\');
  }
  if (normalized) KIV_FUZZ_CHECK(location.isNormalized());
  location.isRoot();
  location.isExistent();
}

// The text that composing `path`, `name` and `extension` must give, when
// it fits; the empty text when it does not (nothing is checked then).
std::string composed(const std::string& path, const std::string& name,
                     const std::string& extension) {
  std::string text = path;
  if (!path.empty()) {
    std::unique_ptr<char[]> copy = kivfuzz::exactCopy(path);
    KivClPathProperty property;
    property.init(copy.get());
    const char separator = *property.getPathSep();
    if (path.back() != separator) text += separator;
  }
  text += name;
  if (!extension.empty()) text += (extension[0] == '.' ? "" : ".") + extension;
  return text.size() <= KIV_PATH_MAX_LENGTH ? text : std::string();
}

void checkEdits(const KivClFilename& original, const std::string& second,
                const std::string& third) {
  KivClFilename name(original);
  KIV_FUZZ_CHECK(std::strcmp(name.getAsCString(), original.getAsCString()) == 0);
  name.setNewExtension(third.c_str());
  checkName(name);
  name.setNewBaseName(second.c_str());
  checkName(name);
  name.setNewName(second.c_str());
  checkName(name);
  name.setNewPath(second.c_str());
  checkName(name);
  name.setNewPath(KivClLocation(third.c_str()));
  checkName(name);
  name.setNew(KivClLocation(second.c_str()), third.c_str());
  checkName(name);
  name.removePath();
  checkName(name);
  KIV_FUZZ_CHECK(name.getName() == name.getAsCString() || name.getPath() == name.getName());
  name = original;
  checkName(name);
  name.removePath();
  checkName(name);

  const KivClBakFilename backup(original);
  checkName(backup);
  const std::string expected = std::string(original.getAsCString()) + ".bak";
  if (expected.size() <= KIV_PATH_MAX_LENGTH) KIV_FUZZ_CHECK(expected == backup.getAsCString());
}

void checkExpansion(const std::string& text) {
  std::unique_ptr<char[]> buffer(new char[gs_bufferSize]);
  std::strncpy(buffer.get(), text.c_str(), KIV_PATH_MAX_LENGTH);
  buffer[KIV_PATH_MAX_LENGTH] = '\0';
  KivClFileABase::isRelativePath(buffer.get());
  if (!KivClFileABase::expandRelativePath(buffer.get())) {
    KIV_FUZZ_CHECK(buffer[0] == '\0');
    return;
  }
  const std::string result = buffer.get();
  KIV_FUZZ_CHECK(result.size() <= KIV_PATH_MAX_LENGTH);
  KIV_FUZZ_CHECK(!result.empty() && result.back() == '/');

  // A result in plain slash style (no backslash, no drive, no server) is
  // final: it is absolute, holds no "./" and expands to itself.
  if (result.find('\\') != std::string::npos || result[0] != '/') return;
  KIV_FUZZ_CHECK(!KivClFileABase::isRelativePath(result.c_str()));
  KIV_FUZZ_CHECK(KivClFileABase::expandRelativePath(buffer.get()));
  KIV_FUZZ_CHECK(result == buffer.get());
}

void checkDirectory(const std::string& text, const std::string& second) {
  KivClDirectory directory(text.c_str());
  const bool expanded = directory.getLastError().id == 0;
  checkLocation(directory.getLocation());
  if (expanded) {
    KIV_FUZZ_CHECK(directory.getAsCString()[0] != '\0');
  }
  directory.getNumOfSubDirs();
  directory.attachSubDir(KivClLocation(second.c_str()));
  checkLocation(directory.getLocation());
  for (int i = 0; i <= static_cast<int>(KIV_PATH_MAX_LENGTH) && directory.detachLastSubDir(); ++i) {
    checkLocation(directory.getLocation());
  }
  checkLocation(directory.getLocation());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("HOME", "/home/kiv-fuzz", 1);
  setenv("TMP", kivfuzz::ScratchDir::path().c_str(), 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::uint8_t control = data[0];
  const bool normalize = (control & 1) != 0;
  std::vector<std::string> fields = kivfuzz::splitFields(data + 1, size - 1, 3);
  fields.resize(3);
  const std::string& first = fields[0];
  const std::string& second = fields[1];
  const std::string& third = fields[2];

  const KivClFilename name(first.c_str());
  checkName(name, true);
  const KivClFilename fromBytes(reinterpret_cast<const char*>(data + 1), size - 1);
  checkName(fromBytes, true);
  KIV_FUZZ_CHECK(std::strncmp(fromBytes.getAsCString(), first.c_str(), KIV_PATH_MAX_LENGTH) == 0);

  const KivClFilename parts(first.c_str(), second.c_str(), third.c_str());
  checkName(parts);
  const std::string expected = composed(first, second, third);
  if (!expected.empty()) KIV_FUZZ_CHECK(expected == parts.getAsCString());

  name.matchesPath(parts);
  name.matchesBase(parts);
  name.matchesExtension(third.c_str());
  // The reference keeps a table of both lengths multiplied: keep it small.
  if ((third.size() + 1) * (std::strlen(name.getName()) + 1) <= (1u << 18)) {
    const bool caseSensitive = name.getStyle() == KIV_PATH_STYLE_SLASH;
    KIV_FUZZ_CHECK(name.matchesWildcardPattern(third.c_str()) ==
                   kivfuzz::NaiveWildcards(third, name.getName(), caseSensitive).matches());
  }
  checkEdits(name, second, third);

  checkLocation(KivClLocation(first.c_str(), normalize), normalize);
  checkLocation(KivClLocation(reinterpret_cast<const char*>(data + 1), size - 1, normalize),
                normalize);
  checkLocation(KivClLocation(name, normalize), normalize);

  checkExpansion(first);
  checkDirectory(first, second);

  if ((control & 2) != 0) {
    const KivClTmpFilename temporary(second.c_str(), third.c_str());
    checkName(temporary);
  }
  return 0;
}
