// Fuzz target of KivClCCSID's text constructor.
//
// Input: a text (up to the first NUL byte), in a heap block of exactly its
// length plus the terminator. The object made from it is compared with a
// reference of the rules: text that begins with a decimal digit is that
// number (numbers beyond 32 bits saturate), valid when the table has a row
// for it; other text is the first row, in table order, whose name equals it
// without regard to ASCII case; failing that, the number behind the first
// digit (0 without one), always invalid. Name and properties must be those
// of the row found, "???" and none otherwise, and the number made into a
// CCSID directly must agree where the text named a row.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "../codepage/kiv_ccsid_table.hpp"
#include "kiv_ccsid.hpp"
#include "kiv_fuzz_support.hpp"

namespace {

using kiv::detail::gs_castCSIDDatabase;
using kiv::detail::kCCSIDTableSize;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

char upperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool sameName(const std::string& text, const char* name) {
  std::size_t i = 0;
  for (; i < text.size() && name[i] != '\0'; ++i) {
    if (upperAscii(text[i]) != upperAscii(name[i])) return false;
  }
  return i == text.size() && name[i] == '\0';
}

std::uint32_t number(const std::string& text, std::size_t from) {
  std::uint64_t value = 0;
  for (std::size_t i = from; i < text.size() && isDigit(text[i]); ++i) {
    value = value * 10 + static_cast<std::uint64_t>(text[i] - '0');
    if (value > 0xFFFFFFFFu) return 0xFFFFFFFFu;
  }
  return static_cast<std::uint32_t>(value);
}

const _KivStCCSIDEntry* rowOf(std::uint32_t ccsid) {
  for (std::size_t i = 1; i < kCCSIDTableSize; ++i) {
    if (gs_castCSIDDatabase[i].ulCCSID == ccsid) return &gs_castCSIDDatabase[i];
  }
  return nullptr;
}

std::uint32_t propertiesOf(const KivClCCSID& c) {
  return (c.isASCII() ? 1u : 0u) | (c.isEBCDIC() ? 2u : 0u) | (c.isDBCS() ? 4u : 0u) |
         (c.isSBCS() ? 8u : 0u) | (c.isUCS2() ? 64u : 0u);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = kivfuzz::splitFields(data, size, 1)[0];
  const std::unique_ptr<char[]> copy = kivfuzz::exactCopy(text);
  const KivClCCSID ccsid(copy.get());

  std::uint32_t expectedNumber = 0;
  const _KivStCCSIDEntry* expectedRow = nullptr;
  bool found = false;
  if (!text.empty() && isDigit(text[0])) {
    expectedNumber = number(text, 0);
    expectedRow = rowOf(expectedNumber);
    found = true;
  } else {
    for (std::size_t i = 0; i < kCCSIDTableSize && !found; ++i) {
      if (sameName(text, gs_castCSIDDatabase[i].pszName)) {
        expectedNumber = gs_castCSIDDatabase[i].ulCCSID;
        expectedRow = i == 0 ? nullptr : &gs_castCSIDDatabase[i];
        found = true;
      }
    }
    if (!found) {
      std::size_t first = 0;
      while (first < text.size() && !isDigit(text[first])) ++first;
      expectedNumber = number(text, first);
    }
  }

  KIV_FUZZ_CHECK(ccsid.getCCSID() == expectedNumber);
  KIV_FUZZ_CHECK(ccsid.isValid() == (expectedRow != nullptr));
  if (expectedRow != nullptr) {
    KIV_FUZZ_CHECK(std::string(ccsid.getName()) == expectedRow->pszName);
    KIV_FUZZ_CHECK(propertiesOf(ccsid) == expectedRow->ulProperties);
    const KivClCCSID byNumber(expectedNumber);
    KIV_FUZZ_CHECK(byNumber.isValid());
    KIV_FUZZ_CHECK(std::string(byNumber.getName()) == expectedRow->pszName);
    KIV_FUZZ_CHECK(byNumber == ccsid);
  } else {
    KIV_FUZZ_CHECK(std::string(ccsid.getName()) == "???");
    KIV_FUZZ_CHECK(propertiesOf(ccsid) == 0);
  }
  KIV_FUZZ_CHECK(ccsid == ccsid);
  KIV_FUZZ_CHECK(ccsid.isUCS2LittleEndian() == ccsid.isUCS2HostEndian());
  KIV_FUZZ_CHECK(!(ccsid.isUCS2BigEndian() && ccsid.isUCS2LittleEndian()));
  return 0;
}
