// Fuzz target of the INI parser: the first byte chooses the delimiter, the
// flags and when the error handler stops; the rest is the file. Each input
// is loaded, checked (every text inside its record), queried, edited, loaded
// once more with merging and written out. Any stray write or read is found
// by the sanitizers; a broken record aborts.
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>

#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inisave.hpp"

namespace {

struct HandlerState {
  unsigned int calls;
  unsigned int stopAt;
};

bool handler(const _KivStError& error, unsigned int line, void* data) {
  auto* state = static_cast<HandlerState*>(data);
  if (error.errorClass != KivEnErrorClass::USER_DATA_ERROR || line == 0) abort();
  return ++state->calls != state->stopAt;
}

void check(const KivClIniFile& ini) {
  for (const KivClIniFileSection* s = ini.getFirstSection(); s != nullptr; s = s->getNext()) {
    if (std::strlen(s->getName()) > KIV_INIFILE_SECTION_NAME_MAX) abort();
    for (const KivClIniFileOption* o = s->getFirstOption(); o != nullptr; o = o->getNext()) {
      const char* end = o->getName() + KIV_INIFILE_OPTION_TEXT_SIZE;
      if (o->getValue() == nullptr) abort();
      if (o->getValue() + std::strlen(o->getValue()) >= end) abort();
      if (o->getComment() + std::strlen(o->getComment()) >= end) abort();
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("KIV_FUZZ_VAR", std::string(2000, 'v').c_str(), 1);
  setenv("KIV_FUZZ_SHORT", " x ", 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::uint8_t control = data[0];
  static const char delimiters[] = {'\n', '\r', ';', '\0'};
  const char delimiter = delimiters[control & 3];
  const bool keepDuplicates = (control & 4) != 0;
  const bool continuation = (control & 8) != 0;
  HandlerState state{0, static_cast<unsigned int>(control >> 4)};

  KivClIniFileSave ini(KivClFilename("kiv-fuzz-never-written.ini"));
  if ((control >> 4) != 15) ini.setErrorHandler(&handler, &state);
  const char* text = reinterpret_cast<const char*>(data + 1);
  ini.loadFromBuffer(text, size - 1, delimiter, keepDuplicates, continuation);
  check(ini);

  // Queries and edits over whatever was read.
  if (const KivClIniFileSection* first = ini.getFirstSection()) {
    ini.getSection(first->getName());
    KivClIniFileOptionCursor options(ini);
    for (bool ok = options.setToFirst(); ok; ok = options.setToNext()) {
      char c = 0;
      bool b = false;
      long l = 0;
      options.getValue(c);
      options.getValueBool(b);
      options.getValue(l);
    }
    if (options.setToFirst()) {
      ini.setNewValue(options, text[0] == '\0' ? "x" : options.getValue());
      ini.deleteOption(options);
    }
    ini.addOption(first->getName(), "added", "value");
    ini.deleteSection(first->getName());
  }
  ini.addSection("new");
  ini.addOption("new", "k", "v");
  ini.loadFromBuffer(text, size - 1, delimiter, false, true);
  check(ini);

  std::ofstream sink("/dev/null");
  ini.save(sink);
  return 0;
}
