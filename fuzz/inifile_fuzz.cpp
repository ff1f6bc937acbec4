// Fuzz target of the INI parser and writer.
//
// Input: a control byte, a form byte, then the INI text.
//   control bits 0-1  line delimiter: "\n", "\r", ";" or NUL
//           bit 2     keep duplicate sections
//           bit 3     continuation lines allowed
//           bits 4-7  the error handler stops the load at this call
//                     (15: no handler at all)
//   form % 3          0: loadFromBuffer, 1: load(stream), 2: load(bool) of
//                     the text written to a file (delimiter "\n" and
//                     duplicate sections kept, as that form always does)
// Each input is loaded and checked (every text inside its record), queried,
// edited, loaded once more with merging and written out. With the delimiter
// "\n" the written text is loaded into a fresh object, which must report no
// syntax error and hold the same sections and options, unless a written
// line is longer than the reader takes (the reader stops there by design).
// The environment holds a variable longer than an option's buffer, for
// $(NAME) substitution.
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_fuzz_support.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inisave.hpp"

namespace {

struct HandlerState {
  unsigned int calls;
  unsigned int stopAt;
};

bool handler(const _KivStError& error, unsigned int line, void* data) {
  auto* state = static_cast<HandlerState*>(data);
  KIV_FUZZ_CHECK(error.errorClass == KivEnErrorClass::USER_DATA_ERROR);
  KIV_FUZZ_CHECK(line != 0);
  return ++state->calls != state->stopAt;
}

void check(const KivClIniFile& ini) {
  for (const KivClIniFileSection* s = ini.getFirstSection(); s != nullptr; s = s->getNext()) {
    KIV_FUZZ_CHECK(std::strlen(s->getName()) <= KIV_INIFILE_SECTION_NAME_MAX);
    for (const KivClIniFileOption* o = s->getFirstOption(); o != nullptr; o = o->getNext()) {
      const char* end = o->getName() + KIV_INIFILE_OPTION_TEXT_SIZE;
      KIV_FUZZ_CHECK(o->getValue() != nullptr);
      KIV_FUZZ_CHECK(o->getValue() + std::strlen(o->getValue()) < end);
      KIV_FUZZ_CHECK(o->getComment() + std::strlen(o->getComment()) < end);
    }
  }
}

// The live sections of a model, each with the names of its live options.
// The writer drops options with an empty value, so those are left out of
// what was written (`written`); read back, a written value may well be
// empty (a bare "'" is an empty character literal), so nothing is left out
// of what was read.
using Outline = std::vector<std::pair<std::string, std::vector<std::string>>>;

Outline outline(const KivClIniFile& ini, bool written) {
  Outline result;
  for (const KivClIniFileSection* s = ini.getFirstSection(); s != nullptr; s = s->getNext()) {
    if (s->isDeleted()) continue;
    result.emplace_back(s->getName(), std::vector<std::string>());
    for (const KivClIniFileOption* o = s->getFirstOption(); o != nullptr; o = o->getNext()) {
      if (o->isDeleted() || (written && o->getValue()[0] == '\0')) continue;
      result.back().second.push_back(o->getName());
    }
  }
  return result;
}

bool countError(const _KivStError&, unsigned int, void* data) {
  ++*static_cast<unsigned int*>(data);
  return true;
}

bool hasOverlongLine(const std::string& text) {
  std::size_t start = 0;
  for (std::size_t end = text.find('\n');; end = text.find('\n', start)) {
    const std::size_t stop = end == std::string::npos ? text.size() : end;
    if (stop - start > KIV_INIFILE_LINE_MAX) return true;
    if (end == std::string::npos) return false;
    start = end + 1;
  }
}

// Writes the model to a file, reads the file back and compares.
void checkRoundTrip(KivClIniFileSave& ini) {
  const std::string path = kivfuzz::ScratchDir::path() + "/written.ini";
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    KIV_FUZZ_CHECK(ini.save(out));
  }
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  const std::string written = text.str();
  if (hasOverlongLine(written)) return;

  KivClIniFile again(KivClFilename("kiv-fuzz-never-read.ini"));
  unsigned int errors = 0;
  again.setErrorHandler(&countError, &errors);
  KIV_FUZZ_CHECK(again.loadFromBuffer(written.data(), written.size(), '\n', true, false));
  KIV_FUZZ_CHECK(errors == 0);
  KIV_FUZZ_CHECK(outline(again, false) == outline(ini, true));
}

void load(KivClIniFileSave& ini, int form, const char* text, std::size_t size, char delimiter,
          bool keepDuplicates, bool continuation) {
  switch (form) {
    case 0:
      ini.loadFromBuffer(text, size, delimiter, keepDuplicates, continuation);
      break;
    case 1: {
      std::istringstream stream(std::string(text, size));
      ini.load(stream, delimiter, keepDuplicates, continuation);
      break;
    }
    default:
      kivfuzz::writeWholeFile(ini.getAsCString(), text, size);
      ini.load(continuation);
      break;
  }
  KIV_FUZZ_CHECK(ini.getCurrentSection() == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("KIV_FUZZ_VAR", std::string(2000, 'v').c_str(), 1);
  setenv("KIV_FUZZ_SHORT", " x ", 1);
  setenv("KIV_FUZZ_QUOTE", "a;\"b'\\t", 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::uint8_t control = data[0];
  const int form = data[1] % 3;
  static const char delimiters[] = {'\n', '\r', ';', '\0'};
  const char delimiter = form == 2 ? '\n' : delimiters[control & 3];
  const bool keepDuplicates = form == 2 || (control & 4) != 0;
  const bool continuation = (control & 8) != 0;
  HandlerState state{0, static_cast<unsigned int>(control >> 4)};

  KivClIniFileSave ini(KivClFilename((kivfuzz::ScratchDir::path() + "/input.ini").c_str()));
  if ((control >> 4) != 15) ini.setErrorHandler(&handler, &state);
  const char* text = reinterpret_cast<const char*>(data + 2);
  const std::size_t length = size - 2;
  load(ini, form, text, length, delimiter, keepDuplicates, continuation);
  check(ini);

  // Queries and edits over whatever was read.
  if (const KivClIniFileSection* first = ini.getFirstSection()) {
    ini.getSection(first->getName());
    KivClIniFileOptionCursor options(ini);
    for (bool ok = options.setToFirst(); ok; ok = options.setToNext()) {
      char c = 0;
      bool b = false;
      long l = 0;
      unsigned long u = 0;
      options.getValue(c);
      options.getValueBool(b);
      options.getValue(l);
      options.getValue(u);
    }
    if (options.setToFirst()) {
      ini.setNewValue(options, length == 0 || text[0] == '\0' ? "x" : options.getValue());
      ini.deleteOption(options);
    }
    ini.addOption(first->getName(), "added", "value");
    ini.deleteSection(first->getName());
  }
  ini.addSection("new");
  ini.addOption("new", "k", "v");
  ini.loadFromBuffer(text, length, delimiter, false, true);
  check(ini);

  if (delimiter == '\n') checkRoundTrip(ini);
  return 0;
}
