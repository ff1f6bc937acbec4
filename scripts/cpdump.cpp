// Prints what one source of mapping data makes of single bytes and of
// double-byte sequences, for scripts/gen_cptables.py.
//
//   cpdump <source> singles              one line: the 256 single bytes
//   cpdump <source> pairs                one line per lead byte 00 to FF:
//                                        "LL" and the 256 lead+trail pairs
//   cpdump <source> shifted-pairs        the same for shift-out lead trail
//                                        shift-in (EBCDIC mixed code pages)
//   cpdump <source> reverse              one line: the substitution byte,
//                                        then for every UCS-2 unit 0000 to
//                                        FFFF the single byte ICU writes
//                                        for it
// A value is four hex digits, "-" for unmapped and "+" for more than one
// UCS-2 unit; a reverse value is two hex digits or "-". <source> is
// "icu:<ccsid>", "icu-name:<name>" or "iconv:<charset>". Exit status 2 when
// the source is not installed.
#include <cstdio>
#include <cstring>
#include <string>

#include "cpsource.hpp"

namespace {

void printValue(std::int32_t value) {
  if (value == kivcpsource::kUnmapped) {
    std::fputs(" -", stdout);
  } else if (value == kivcpsource::kBeyondUcs2) {
    std::fputs(" +", stdout);
  } else {
    std::printf(" %04X", static_cast<unsigned int>(value));
  }
}

void printPairs(kivcpsource::Source& source, bool shifted) {
  for (unsigned int lead = 0; lead < 256; ++lead) {
    std::printf("%02X", lead);
    for (unsigned int trail = 0; trail < 256; ++trail) {
      const unsigned char plain[2] = {static_cast<unsigned char>(lead),
                                      static_cast<unsigned char>(trail)};
      const unsigned char framed[4] = {0x0E, plain[0], plain[1], 0x0F};
      printValue(shifted ? source.decode(framed, 4) : source.decode(plain, 2));
    }
    std::putchar('\n');
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: cpdump <source> singles|pairs|shifted-pairs|reverse\n");
    return 1;
  }
  auto source = kivcpsource::openSource(argv[1]);
  if (!source) {
    std::fprintf(stderr, "cpdump: %s is not installed\n", argv[1]);
    return 2;
  }
  const std::string what = argv[2];
  if (what == "singles") {
    for (unsigned int byte = 0; byte < 256; ++byte) {
      const unsigned char one = static_cast<unsigned char>(byte);
      printValue(source->decode(&one, 1));
    }
    std::putchar('\n');
  } else if (what == "pairs" || what == "shifted-pairs") {
    printPairs(*source, what == "shifted-pairs");
  } else if (what == "reverse") {
    const std::int32_t substitution = source->substitutionByte();
    if (substitution < 0) {
      std::fprintf(stderr, "cpdump: %s has no single substitution byte\n", argv[1]);
      return 1;
    }
    std::printf("%02X", static_cast<unsigned int>(substitution));
    for (unsigned int unit = 0; unit < 0x10000; ++unit) {
      const std::int32_t byte = source->encodeSingleByte(static_cast<std::uint16_t>(unit));
      if (byte < 0) {
        std::fputs(" -", stdout);
      } else {
        std::printf(" %02X", static_cast<unsigned int>(byte));
      }
    }
    std::putchar('\n');
  } else {
    std::fprintf(stderr, "cpdump: unknown request %s\n", argv[2]);
    return 1;
  }
  return std::fflush(stdout) == 0 ? 0 : 1;
}
