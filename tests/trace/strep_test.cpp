// String representations and dumps: the exact hexadecimal and binary lines,
// addresses of any width up to 64 bits, the text column, the address as an
// output stream prints it, and the dump functions in every element width,
// with and without a stream.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iostream>
#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "kiv_strep.hpp"

namespace {

/// 33 bytes '0' (0x30) to 'P' (0x50): printable, so every line is readable.
std::vector<unsigned char> digitsAndLetters() {
  std::vector<unsigned char> data;
  for (unsigned char c = 0x30; c < 0x30 + 33; ++c) data.push_back(c);
  return data;
}

std::string dumpHexOf(const unsigned char* data, unsigned long count) {
  std::ostringstream out;
  kivDumpHex(out, data, count);
  return out.str();
}

std::string dumpBinOf(const unsigned char* data, unsigned long count) {
  std::ostringstream out;
  kivDumpBin(out, data, count);
  return out.str();
}

std::string joinLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += line + "\n";
  return text;
}

/// The bytes of a value in memory order as a hexadecimal dump line body,
/// e.g. "01 02 ", so that the expected dumps of wider elements do not depend
/// on the byte order of the machine.
template <typename T>
std::vector<unsigned char> bytesOf(const T* values, std::size_t count) {
  std::vector<unsigned char> bytes(count * sizeof(T));
  std::memcpy(bytes.data(), values, bytes.size());
  return bytes;
}

/// Sends std::cout to a string for the lifetime of the object.
class CoutCapture {
 public:
  CoutCapture() : m_old(std::cout.rdbuf(m_buffer.rdbuf())) {}
  ~CoutCapture() { std::cout.rdbuf(m_old); }
  CoutCapture(const CoutCapture&) = delete;
  CoutCapture& operator=(const CoutCapture&) = delete;
  std::string text() const { return m_buffer.str(); }

 private:
  std::ostringstream m_buffer;
  std::streambuf* m_old;
};

/// A stream buffer that keeps what is written and counts the flushes.
class CountingBuf : public std::stringbuf {
 public:
  int syncs = 0;

 protected:
  int sync() override {
    ++syncs;
    return std::stringbuf::sync();
  }
};

/// Restores the global C++ locale on destruction.
class GlobalLocaleGuard {
 public:
  GlobalLocaleGuard() : m_old(std::locale()) {}
  ~GlobalLocaleGuard() { std::locale::global(m_old); }
  GlobalLocaleGuard(const GlobalLocaleGuard&) = delete;
  GlobalLocaleGuard& operator=(const GlobalLocaleGuard&) = delete;

 private:
  std::locale m_old;
};

/// Numeric punctuation that groups digits by three with an apostrophe.
class GroupingPunct : public std::numpunct<char> {
 protected:
  char do_thousands_sep() const override { return '\''; }
  std::string do_grouping() const override { return "\3"; }
};

// ---------------------------------------------------------------------------
// Hexadecimal lines

TEST(StrepHexDump, ShowsHelloWorldAtOffsetZero) {
  const char text[] = "Hello World";
  KivClStrepHexDump line(0, text, 11);
  EXPECT_STREQ(line.getAsCString(),
               "00000000: 48 65 6C 6C 6F 20 57 6F  72 6C 64 __ __ __ __ __ | Hello World_____");
}

TEST(StrepHexDump, FullLineWithEightDigitAddressHas77Characters) {
  const auto data = digitsAndLetters();
  KivClStrepHexDump line(0x10, data.data(), 16);
  EXPECT_EQ(std::strlen(line.getAsCString()), 77u);
  EXPECT_STREQ(line.getAsCString(),
               "00000010: 30 31 32 33 34 35 36 37  38 39 3A 3B 3C 3D 3E 3F | 0123456789:;<=>?");
}

TEST(StrepHexDump, DataOnlyConstructorHasNoAddressPart) {
  const char text[] = "Hello World";
  KivClStrepHexDump line(text, 11);
  EXPECT_STREQ(line.getAsCString(),
               "48 65 6C 6C 6F 20 57 6F  72 6C 64 __ __ __ __ __ | Hello World_____");
  EXPECT_EQ(std::strlen(line.getAsCString()), 67u);
}

TEST(StrepHexDump, IgnoresBytesBeyondSixteen) {
  const auto data = digitsAndLetters();
  KivClStrepHexDump line(0, data.data(), 33);
  EXPECT_STREQ(line.getAsCString(),
               "00000000: 30 31 32 33 34 35 36 37  38 39 3A 3B 3C 3D 3E 3F | 0123456789:;<=>?");
}

TEST(StrepHexDump, ZeroLengthShowsOnlyFillers) {
  const char text[] = "x";
  KivClStrepHexDump line(0, text, 0);
  EXPECT_STREQ(line.getAsCString(),
               "00000000: __ __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ________________");
}

TEST(StrepHexDump, NullDataIsShownAsNoData) {
  KivClStrepHexDump line(0x20, nullptr, 16);
  EXPECT_STREQ(line.getAsCString(),
               "00000020: __ __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ________________");
}

TEST(StrepHexDump, OffsetOfTwoToThe32PrintsWithNineDigits) {
  const char text[] = "Hello World";
  KivClStrepHexDump line(0x100000000ul, text, 11);
  EXPECT_STREQ(line.getAsCString(),
               "100000000: 48 65 6C 6C 6F 20 57 6F  72 6C 64 __ __ __ __ __ | Hello World_____");
}

TEST(StrepHexDump, OffsetsAbove32BitsPrintAllTheirDigits) {
  const char text[] = "A";
  EXPECT_STREQ(KivClStrepHexDump(0x123456789ABul, text, 1).getAsCString(),
               "123456789AB: 41 __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | A_______________");
  EXPECT_STREQ(
      KivClStrepHexDump(0x0FEDCBA987654321ul, text, 1).getAsCString(),
      "FEDCBA987654321: 41 __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | A_______________");
}

// A 16-digit address makes the longest line (85 characters); the whole of
// it, text column included, must be there.
TEST(StrepHexDump, MaximumOffsetFitsWithFullData) {
  unsigned char data[16];
  for (int i = 0; i < 16; ++i) data[i] = static_cast<unsigned char>(0xF0 + i);
  KivClStrepHexDump line(ULONG_MAX, data, 16);
  EXPECT_STREQ(
      line.getAsCString(),
      "FFFFFFFFFFFFFFFF: F0 F1 F2 F3 F4 F5 F6 F7  F8 F9 FA FB FC FD FE FF | ................");
  EXPECT_EQ(std::strlen(line.getAsCString()), 85u);
  EXPECT_GE(KivClStrepHexDump::TEXT_SIZE, 86u);
}

// Printable means 0x20 to 0x7E, as isprint() decides in the "C" locale:
// control characters (0x00-0x1F, 0x7F) and every byte from 0x80 up show as
// ".", whatever locale the process runs in.
TEST(StrepHexDump, TextColumnReplacesControlAndNonAsciiBytes) {
  const unsigned char data[16] = {0x0A, 0x7F, 0x80, 0xFF, 0x00, 0x1F, 0x20, 0x7E,
                                  0x09, 0x0D, 0x1B, 0xA0, 0xE9, 0x41, 0x61, 0x2E};
  KivClStrepHexDump line(data, 16);
  EXPECT_STREQ(line.getAsCString(),
               "0A 7F 80 FF 00 1F 20 7E  09 0D 1B A0 E9 41 61 2E | ...... ~.....Aa.");
}

TEST(StrepHexDump, LineFeedAndDeleteShowAsDot) {
  const unsigned char data[] = {'a', 0x0A, 'b', 0x7F, 'c'};
  KivClStrepHexDump line(0, data, 5);
  EXPECT_STREQ(line.getAsCString(),
               "00000000: 61 0A 62 7F 63 __ __ __  __ __ __ __ __ __ __ __ | a.b.c___________");
}

TEST(StrepHexDump, SecondAddAddressReplacesAddressAndKeepsData) {
  const char text[] = "Hi";
  KivClStrepHexDump line(0x10, text, 2);
  line.addAddress(0xABCDEF012345ul);
  EXPECT_STREQ(line.getAsCString(),
               "ABCDEF012345: 48 69 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | Hi______________");
  line.addAddress(0x7);
  EXPECT_STREQ(line.getAsCString(),
               "00000007: 48 69 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | Hi______________");
}

TEST(StrepHexDump, AddAddressPrefixesADataOnlyLine) {
  const char text[] = "Hi";
  KivClStrepHexDump line(text, 2);
  line.addAddress(ULONG_MAX);
  EXPECT_STREQ(
      line.getAsCString(),
      "FFFFFFFFFFFFFFFF: 48 69 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | Hi______________");
}

TEST(StrepHexDump, SecondAddDataReplacesData) {
  const char first[] = "Hello World";
  const char second[] = "OK";
  KivClStrepHexDump line(0x30, first, 11);
  line.addData(second, 2);
  EXPECT_STREQ(line.getAsCString(),
               "00000030: 4F 4B __ __ __ __ __ __  __ __ __ __ __ __ __ __ | OK______________");
}

TEST(StrepHexDump, IsUsableThroughTheBase) {
  const char text[] = "Z";
  std::unique_ptr<KivClStringRepresentationABase> strep(new KivClStrepHexDump(1, text, 1));
  EXPECT_STREQ(strep->getAsCString(),
               "00000001: 5A __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | Z_______________");
}

TEST(StrepHexDump, CopyKeepsTheText) {
  const char text[] = "Hello World";
  const KivClStrepHexDump line(0x100000000ul, text, 11);
  KivClStrepHexDump copy = line;
  copy.addData(text, 1);
  EXPECT_STREQ(line.getAsCString(),
               "100000000: 48 65 6C 6C 6F 20 57 6F  72 6C 64 __ __ __ __ __ | Hello World_____");
  EXPECT_STREQ(copy.getAsCString(),
               "100000000: 48 __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | H_______________");
}

// ---------------------------------------------------------------------------
// Binary lines

TEST(StrepBinDump, ByteA1AtOffsetZeroShowsBitsAndLetter) {
  const unsigned char data[] = {0x41};
  KivClStrepBinDump line(0, data, 1);
  const std::string text = line.getAsCString();
  EXPECT_EQ(text.rfind("00000000: 01000001", 0), 0u) << text;
  EXPECT_EQ(text.substr(text.find("| ") + 2, 1), "A");
  EXPECT_EQ(text,
            "00000000: 01000001 ________ ________ ________  ________ ________ ________ ________ "
            "| A_______");
}

TEST(StrepBinDump, FullLineWithEightDigitAddressHas93Characters) {
  const auto data = digitsAndLetters();
  KivClStrepBinDump line(8, data.data() + 8, 8);
  EXPECT_STREQ(line.getAsCString(),
               "00000008: 00111000 00111001 00111010 00111011  00111100 00111101 00111110 "
               "00111111 | 89:;<=>?");
  EXPECT_EQ(std::strlen(line.getAsCString()), 93u);
}

TEST(StrepBinDump, DataOnlyConstructorHasNoAddressPart) {
  const unsigned char data[] = {0x80, 0x01, 0xAA};
  KivClStrepBinDump line(data, 3);
  EXPECT_STREQ(line.getAsCString(),
               "10000000 00000001 10101010 ________  ________ ________ ________ ________ | "
               "..._____");
}

TEST(StrepBinDump, IgnoresBytesBeyondEight) {
  const auto data = digitsAndLetters();
  KivClStrepBinDump line(0, data.data(), 9);
  EXPECT_STREQ(line.getAsCString(),
               "00000000: 00110000 00110001 00110010 00110011  00110100 00110101 00110110 "
               "00110111 | 01234567");
}

TEST(StrepBinDump, NullDataIsShownAsNoData) {
  KivClStrepBinDump line(0, nullptr, 8);
  EXPECT_STREQ(line.getAsCString(),
               "00000000: ________ ________ ________ ________  ________ ________ ________ "
               "________ | ________");
}

TEST(StrepBinDump, OffsetsAbove32BitsAndControlBytes) {
  const unsigned char data[] = {0x41, 0x0A, 0x7F, 0x80, 0xFF, 0x00, 0x20, 0x7E};
  KivClStrepBinDump line(0x123456789ul, data, 8);
  EXPECT_STREQ(line.getAsCString(),
               "123456789: 01000001 00001010 01111111 10000000  11111111 00000000 00100000 "
               "01111110 | A..... ~");
  EXPECT_STREQ(KivClStrepBinDump(0x100000000ul, data, 1).getAsCString(),
               "100000000: 01000001 ________ ________ ________  ________ ________ ________ "
               "________ | A_______");
}

TEST(StrepBinDump, MaximumOffsetFitsWithFullData) {
  const unsigned char data[] = {0x78, 0x79, 0x7A, 0x7B, 0x7C, 0x7D, 0x7E, 0x7F};
  KivClStrepBinDump line(ULONG_MAX, data, 8);
  EXPECT_STREQ(line.getAsCString(),
               "FFFFFFFFFFFFFFFF: 01111000 01111001 01111010 01111011  01111100 01111101 "
               "01111110 01111111 | xyz{|}~.");
  EXPECT_EQ(std::strlen(line.getAsCString()), 101u);
  EXPECT_GE(KivClStrepBinDump::TEXT_SIZE, 102u);
}

TEST(StrepBinDump, AddAddressAndAddDataReplaceTheirParts) {
  const unsigned char first[] = {0xFF};
  const unsigned char second[] = {0x00, 0x01};
  KivClStrepBinDump line(first, 1);
  line.addAddress(ULONG_MAX);
  line.addData(second, 2);
  line.addAddress(0x1F);
  EXPECT_STREQ(line.getAsCString(),
               "0000001F: 00000000 00000001 ________ ________  ________ ________ ________ "
               "________ | ..______");
}

// ---------------------------------------------------------------------------
// Addresses

std::string streamed(const void* p) {
  std::ostringstream out;
  out << p;
  return out.str();
}

TEST(StrepAddress, MatchesWhatAnOutputStreamPrints) {
  int local = 0;
  static const char global[] = "x";
  auto heap = std::make_unique<double>(1.0);
  for (const void* p : {static_cast<const void*>(&local), static_cast<const void*>(global),
                        static_cast<const void*>(heap.get())}) {
    KivClStrepAddress address(p);
    EXPECT_EQ(address.getAsCString(), streamed(p));
    EXPECT_EQ(std::string(address.getAsCString()).rfind("0x", 0), 0u);
  }
}

TEST(StrepAddress, NullAndExtremeValuesMatchTheStream) {
  const void* null = nullptr;
  const void* one = reinterpret_cast<const void*>(0x1ul);
  const void* top = reinterpret_cast<const void*>(ULONG_MAX);
  EXPECT_EQ(KivClStrepAddress(null).getAsCString(), streamed(null));
  EXPECT_EQ(KivClStrepAddress(one).getAsCString(), streamed(one));
  EXPECT_EQ(KivClStrepAddress(top).getAsCString(), streamed(top));
  EXPECT_STREQ(KivClStrepAddress(top).getAsCString(), "0xffffffffffffffff");
  EXPECT_STREQ(KivClStrepAddress(one).getAsCString(), "0x1");
}

TEST(StrepAddress, IgnoresAGlobalLocaleThatGroupsDigits) {
  GlobalLocaleGuard guard;
  std::locale::global(std::locale(std::locale::classic(), new GroupingPunct));
  const void* p = reinterpret_cast<const void*>(0x123456789abcul);
  // A stream made now groups the digits; the address object does not.
  EXPECT_NE(streamed(p).find('\''), std::string::npos);
  EXPECT_STREQ(KivClStrepAddress(p).getAsCString(), "0x123456789abc");
}

// ---------------------------------------------------------------------------
// Dump functions

TEST(DumpHex, PrintsExactLinesForSeveralLengths) {
  const auto data = digitsAndLetters();
  const std::string l0 =
      "00000000: 30 31 32 33 34 35 36 37  38 39 3A 3B 3C 3D 3E 3F | 0123456789:;<=>?";
  const std::string l1 =
      "00000010: 40 41 42 43 44 45 46 47  48 49 4A 4B 4C 4D 4E 4F | @ABCDEFGHIJKLMNO";
  EXPECT_EQ(dumpHexOf(data.data(), 1),
            joinLines({"00000000: 30 __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | "
                       "0_______________"}));
  EXPECT_EQ(dumpHexOf(data.data(), 8),
            joinLines({"00000000: 30 31 32 33 34 35 36 37  __ __ __ __ __ __ __ __ | "
                       "01234567________"}));
  EXPECT_EQ(dumpHexOf(data.data(), 15),
            joinLines({"00000000: 30 31 32 33 34 35 36 37  38 39 3A 3B 3C 3D 3E __ | "
                       "0123456789:;<=>_"}));
  EXPECT_EQ(dumpHexOf(data.data(), 16), joinLines({l0}));
  EXPECT_EQ(dumpHexOf(data.data(), 17),
            joinLines({l0,
                       "00000010: 40 __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | "
                       "@_______________"}));
  EXPECT_EQ(dumpHexOf(data.data(), 33),
            joinLines({l0, l1,
                       "00000020: 50 __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | "
                       "P_______________"}));
}

TEST(DumpHex, SixteenBytesMakeOneLineAndSeventeenTwo) {
  const auto data = digitsAndLetters();
  const std::string sixteen = dumpHexOf(data.data(), 16);
  const std::string seventeen = dumpHexOf(data.data(), 17);
  EXPECT_EQ(std::count(sixteen.begin(), sixteen.end(), '\n'), 1);
  EXPECT_EQ(std::count(seventeen.begin(), seventeen.end(), '\n'), 2);
  const std::string second = seventeen.substr(seventeen.find('\n') + 1);
  EXPECT_EQ(std::count(second.begin(), second.end(), '_'), 15 * 2 + 15);
}

TEST(DumpHex, ZeroLengthPrintsNothing) {
  const auto data = digitsAndLetters();
  EXPECT_EQ(dumpHexOf(data.data(), 0), "");
  std::ostringstream out;
  kivDumpHex(out, static_cast<const unsigned long*>(nullptr), 0);
  kivDumpBin(out, reinterpret_cast<const unsigned int*>(data.data()), 0);
  EXPECT_EQ(out.str(), "");
}

TEST(DumpHex, NullDataPrintsNothing) {
  std::ostringstream out;
  kivDumpHex(out, static_cast<const unsigned char*>(nullptr), 16);
  kivDumpBin(out, static_cast<const unsigned short*>(nullptr), 4);
  kivDump(out, static_cast<const unsigned int*>(nullptr), 4);
  EXPECT_EQ(out.str(), "");
}

// count x element width that wraps around would otherwise become a short
// length (or a huge one) and read past the data.
TEST(DumpHex, CountWhoseByteLengthOverflowsPrintsNothing) {
  const unsigned long values[2] = {1, 2};
  std::ostringstream out;
  kivDumpHex(out, values, ULONG_MAX / 8 + 1);  // 2^64 bytes: wraps to 0
  kivDumpHex(out, values, ULONG_MAX);          // wraps to 2^64 - 8
  kivDumpBin(out, reinterpret_cast<const unsigned short*>(values), ULONG_MAX / 2 + 2);
  EXPECT_EQ(out.str(), "");
}

TEST(DumpHex, FlushesAfterEveryLine) {
  const auto data = digitsAndLetters();
  CountingBuf buffer;
  std::ostream out(&buffer);
  kivDumpHex(out, data.data(), 33);
  EXPECT_EQ(buffer.syncs, 3);
  const std::string text = buffer.str();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
}

TEST(DumpHex, ThreeUnsignedIntsPrintTwelveBytes) {
  const unsigned int values[3] = {0x11223344u, 0x55667788u, 0x99AABBCCu};
  std::ostringstream out;
  kivDumpHex(out, values, 3);
  const auto bytes = bytesOf(values, 3);
  ASSERT_EQ(bytes.size(), 12u);
  EXPECT_EQ(out.str(), joinLines({KivClStrepHexDump(0, bytes.data(), 12).getAsCString()}));
  // Little-endian machines show the lowest byte of each value first.
  if (bytes[0] == 0x44) {
    EXPECT_EQ(out.str(),
              "00000000: 44 33 22 11 88 77 66 55  CC BB AA 99 __ __ __ __ | "
              "D3\"..wfU....____\n");
  }
}

TEST(DumpHex, UnsignedShortCountIsTwoBytesEach) {
  unsigned short values[9];
  for (int i = 0; i < 9; ++i) values[i] = static_cast<unsigned short>(0x4140 + 0x202 * i);
  std::ostringstream out;
  kivDumpHex(out, values, 9);
  const auto bytes = bytesOf(values, 9);
  EXPECT_EQ(out.str(), joinLines({KivClStrepHexDump(0, bytes.data(), 16).getAsCString(),
                                  KivClStrepHexDump(16, bytes.data() + 16, 2).getAsCString()}));
}

TEST(DumpHex, UnsignedLongCountIsEightBytesEach) {
  const unsigned long values[5] = {0x0102030405060708ul, ULONG_MAX, 0, 0x4142434445464748ul,
                                   0x2020202020202020ul};
  std::ostringstream out;
  kivDumpHex(out, values, 5);
  const auto bytes = bytesOf(values, 5);
  EXPECT_EQ(out.str(), joinLines({KivClStrepHexDump(0, bytes.data(), 16).getAsCString(),
                                  KivClStrepHexDump(16, bytes.data() + 16, 16).getAsCString(),
                                  KivClStrepHexDump(32, bytes.data() + 32, 8).getAsCString()}));
  const std::string text = out.str();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
}

TEST(DumpHex, DumpIsTheSameAsDumpHexInEveryWidth) {
  const auto data = digitsAndLetters();
  const auto* bytes = data.data();
  std::ostringstream hex, dump;
  kivDumpHex(hex, bytes, 33);
  kivDump(dump, bytes, 33);
  kivDumpHex(hex, reinterpret_cast<const unsigned short*>(bytes), 16);
  kivDump(dump, reinterpret_cast<const unsigned short*>(bytes), 16);
  kivDumpHex(hex, reinterpret_cast<const unsigned int*>(bytes), 8);
  kivDump(dump, reinterpret_cast<const unsigned int*>(bytes), 8);
  kivDumpHex(hex, reinterpret_cast<const unsigned long*>(bytes), 4);
  kivDump(dump, reinterpret_cast<const unsigned long*>(bytes), 4);
  const std::string text = hex.str();
  EXPECT_EQ(text, dump.str());
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3 + 2 + 2 + 2);
}

TEST(DumpBin, PrintsExactLinesForSeveralLengths) {
  const auto data = digitsAndLetters();
  const std::string l0 =
      "00000000: 00110000 00110001 00110010 00110011  00110100 00110101 00110110 00110111 | "
      "01234567";
  const std::string l8 =
      "00000008: 00111000 00111001 00111010 00111011  00111100 00111101 00111110 00111111 | "
      "89:;<=>?";
  const std::string l16 =
      "00000010: 01000000 01000001 01000010 01000011  01000100 01000101 01000110 01000111 | "
      "@ABCDEFG";
  const std::string l24 =
      "00000018: 01001000 01001001 01001010 01001011  01001100 01001101 01001110 01001111 | "
      "HIJKLMNO";
  EXPECT_EQ(dumpBinOf(data.data(), 1),
            joinLines({"00000000: 00110000 ________ ________ ________  ________ ________ "
                       "________ ________ | 0_______"}));
  EXPECT_EQ(dumpBinOf(data.data(), 8), joinLines({l0}));
  EXPECT_EQ(dumpBinOf(data.data(), 15),
            joinLines({l0,
                       "00000008: 00111000 00111001 00111010 00111011  00111100 00111101 "
                       "00111110 ________ | 89:;<=>_"}));
  EXPECT_EQ(dumpBinOf(data.data(), 16), joinLines({l0, l8}));
  EXPECT_EQ(dumpBinOf(data.data(), 17),
            joinLines({l0, l8,
                       "00000010: 01000000 ________ ________ ________  ________ ________ "
                       "________ ________ | @_______"}));
  EXPECT_EQ(dumpBinOf(data.data(), 33),
            joinLines({l0, l8, l16, l24,
                       "00000020: 01010000 ________ ________ ________  ________ ________ "
                       "________ ________ | P_______"}));
}

TEST(DumpBin, WiderElementsCountTheirWidth) {
  const unsigned int ints[3] = {0x01020304u, 0x05060708u, 0x41424344u};
  const unsigned short shorts[3] = {0x0102, 0x0304, 0x0506};
  const unsigned long longs[2] = {0x0102030405060708ul, 0x4142434445464748ul};
  const auto intBytes = bytesOf(ints, 3);
  const auto shortBytes = bytesOf(shorts, 3);
  const auto longBytes = bytesOf(longs, 2);
  std::ostringstream i, s, l;
  kivDumpBin(i, ints, 3);
  kivDumpBin(s, shorts, 3);
  kivDumpBin(l, longs, 2);
  EXPECT_EQ(i.str(), joinLines({KivClStrepBinDump(0, intBytes.data(), 8).getAsCString(),
                                KivClStrepBinDump(8, intBytes.data() + 8, 4).getAsCString()}));
  EXPECT_EQ(s.str(), joinLines({KivClStrepBinDump(0, shortBytes.data(), 6).getAsCString()}));
  EXPECT_EQ(l.str(), joinLines({KivClStrepBinDump(0, longBytes.data(), 8).getAsCString(),
                                KivClStrepBinDump(8, longBytes.data() + 8, 8).getAsCString()}));
}

TEST(DumpToStandardOutput, EveryFormWithoutStreamWritesToCout) {
  const auto data = digitsAndLetters();
  const auto* bytes = data.data();
  const auto* shorts = reinterpret_cast<const unsigned short*>(bytes);
  const auto* ints = reinterpret_cast<const unsigned int*>(bytes);
  const auto* longs = reinterpret_cast<const unsigned long*>(bytes);

  std::ostringstream expected;
  kivDumpHex(expected, bytes, 17);
  kivDumpHex(expected, shorts, 8);
  kivDumpHex(expected, ints, 5);
  kivDumpHex(expected, longs, 3);
  kivDumpBin(expected, bytes, 9);
  kivDumpBin(expected, shorts, 4);
  kivDumpBin(expected, ints, 3);
  kivDumpBin(expected, longs, 2);
  kivDump(expected, bytes, 1);
  kivDump(expected, shorts, 2);
  kivDump(expected, ints, 3);
  kivDump(expected, longs, 4);

  std::string captured;
  {
    CoutCapture capture;
    kivDumpHex(bytes, 17);
    kivDumpHex(shorts, 8);
    kivDumpHex(ints, 5);
    kivDumpHex(longs, 3);
    kivDumpBin(bytes, 9);
    kivDumpBin(shorts, 4);
    kivDumpBin(ints, 3);
    kivDumpBin(longs, 2);
    kivDump(bytes, 1);
    kivDump(shorts, 2);
    kivDump(ints, 3);
    kivDump(longs, 4);
    captured = capture.text();
  }
  EXPECT_EQ(captured, expected.str());
  // 2 + 1 + 2 + 2 hexadecimal, 2 + 1 + 2 + 2 binary, 1 + 1 + 1 + 2 default lines.
  EXPECT_EQ(std::count(captured.begin(), captured.end(), '\n'), 7 + 7 + 5);
}

// ---------------------------------------------------------------------------
// Debug dumps

TEST(DebugDump, LibraryHookPrintsNothingAndReadsNoData) {
  const auto data = digitsAndLetters();
  const auto* bytes = data.data();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  {
    CoutCapture capture;
    kivDebugDumpHex("t", bytes, 33);
    kivDebugDumpBin("t", reinterpret_cast<const unsigned short*>(bytes), 16);
    kivDebugDump("t", reinterpret_cast<const unsigned int*>(bytes), 8);
    kivDebugDump("t", reinterpret_cast<const unsigned long*>(bytes), 4);
    // Null data and a huge count are harmless: the hook never reads.
    kivDebugDumpHex(nullptr, static_cast<const unsigned long*>(nullptr), ULONG_MAX);
    kivDebugImpDump(KivEnDump::BIN, "t", nullptr, ULONG_MAX);
    EXPECT_EQ(capture.text(), "");
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(DebugDump, KindsHaveTheirNumbers) {
  EXPECT_EQ(static_cast<std::int32_t>(KivEnDump::HEX), 0);
  EXPECT_EQ(static_cast<std::int32_t>(KivEnDump::BIN), 1);
  EXPECT_EQ(static_cast<std::int32_t>(KivEnDump::DUMP), 2);
}

}  // namespace
