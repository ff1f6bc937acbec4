// Fuzz target of the trace file formatter.
//
// Input: a control byte, a format byte, then the bytes of a trace file.
//   control bit 0  nesting          bit 1  no function headers
//           bit 2  skip subsequent function headers
//           bit 3  hexadecimal      bit 4  binary
//           bit 5  an indentation string
//           bits 6-7 the filter's detail level (component ids 1 to 99 and
//                  the process id of every third input are filtered too)
//   format % 4     the default format, every sequence, plain text, or the
//                  sequences written with a lone "%" and "\" at the end
// The file is formatted twice: with format() over the whole input, and entry
// by entry with formatNextEntry, each told how many bytes are left. Both
// must agree: the same count, the entry-by-entry output a prefix of the
// whole one (it never shows part of an entry), and the same end (clean,
// truncated or corrupted, which format() reports by the matching error id).
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "kiv_exception.hpp"
#include "kiv_fuzz_support.hpp"
#include "kiv_traceformat.hpp"

namespace {

const char* const gs_formats[] = {
    KivClTraceEnvironment::DEFAULT_FORMAT,
    "%x|%X|%l|%s|%c|%p|%t|%f|%m|%d|%%|%q%n\\\\\\n\\t\\z",
    "plain text",
    "%d%d%f%n\\",
};

const KivClTraceEnvironment& environment() {
  static const KivClTraceEnvironment env("kivformatfuzz", nullptr, true);
  return env;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const unsigned control = data[0];
  const char* format = gs_formats[data[1] % 4];
  const std::string bytes(reinterpret_cast<const char*>(data + 2), size - 2);

  KivClTraceFilter filter;
  filter.setDetail(static_cast<KivEnTraceDetail>(control >> 6));
  if (control % 3 == 0) {
    filter.disableAllComponentIds();
    filter.enableComponentIds("100.255");
    filter.setProcessId("4242");
  }
  KivClTraceFormatter formatter(environment(), &filter);
  formatter.setFormatString(format);
  formatter.setNesting((control & 1) != 0);
  formatter.setNoFunctionHeaders((control & 2) != 0);
  formatter.setSkipSubsequentFunctionHeaders((control & 4) != 0);
  formatter.setHexDisplay((control & 8) != 0);
  formatter.setBinDisplay((control & 16) != 0);
  if ((control & 32) != 0) formatter.setDisplayIndentation("..");

  std::istringstream whole(bytes);
  std::ostringstream wholeOut;
  long error = 0;
  try {
    formatter.format(whole, wholeOut);
  } catch (const KivClException& e) {
    error = e.getError().id;
  }
  KIV_FUZZ_CHECK(error == 0 || error == KIV_TRACEFORMAT_UNEXPECTED_EOF ||
                 error == KIV_TRACEFORMAT_FILE_CORRUPTED);
  const unsigned long wholeCount = formatter.getEntryCount();
  KIV_FUZZ_CHECK(wholeCount <= bytes.size() / KivClTraceEntry::FIXED_SIZE);

  std::istringstream stepped(bytes);
  std::ostringstream steppedOut;
  formatter.setOutputStream(steppedOut);
  KivEnTraceFormatStatus status = KivEnTraceFormatStatus::FORMATTED;
  for (;;) {
    const auto offset = static_cast<std::size_t>(stepped.tellg());
    KIV_FUZZ_CHECK(offset <= bytes.size());
    status = formatter.formatNextEntry(stepped, bytes.size() - offset);
    if (status != KivEnTraceFormatStatus::FORMATTED && status != KivEnTraceFormatStatus::SKIPPED) {
      // The input is put back where the entry began.
      KIV_FUZZ_CHECK(status == KivEnTraceFormatStatus::END ||
                     static_cast<std::size_t>(stepped.tellg()) == offset);
      break;
    }
  }
  const std::string wholeText = wholeOut.str();
  const std::string steppedText = steppedOut.str();
  KIV_FUZZ_CHECK(wholeText.compare(0, steppedText.size(), steppedText) == 0);
  KIV_FUZZ_CHECK(formatter.getEntryCount() == wholeCount);
  switch (status) {
    case KivEnTraceFormatStatus::END:
      KIV_FUZZ_CHECK(error == 0);
      KIV_FUZZ_CHECK(steppedText == wholeText);
      break;
    case KivEnTraceFormatStatus::TRUNCATED:
      KIV_FUZZ_CHECK(error == KIV_TRACEFORMAT_UNEXPECTED_EOF);
      break;
    case KivEnTraceFormatStatus::CORRUPTED:
      KIV_FUZZ_CHECK(error == KIV_TRACEFORMAT_FILE_CORRUPTED);
      KIV_FUZZ_CHECK(steppedText == wholeText);
      break;
    default:
      KIV_FUZZ_CHECK(false);
  }
  return 0;
}
