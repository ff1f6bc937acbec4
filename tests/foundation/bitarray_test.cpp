// Tests of the bit array: sizes, single bits, copying, comparison and the
// raw stream form.

#include "kiv_bitarray.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "kiv_alloc_support.hpp"
#include "kiv_memmgr.hpp"

namespace {

std::vector<unsigned> bytesOf(const KivClBitArray& a) {
  return std::vector<unsigned>(a.getBytes(), a.getBytes() + a.getByteCount());
}

// The bytes of a written text as numbers 0..255.
std::vector<unsigned> bytesOf(const std::string& text) {
  return std::vector<unsigned>(reinterpret_cast<const unsigned char*>(text.data()),
                               reinterpret_cast<const unsigned char*>(text.data()) + text.size());
}

std::string written(const KivClBitArray& a) {
  std::ostringstream out(std::ios::binary);
  EXPECT_TRUE(a.write(out));
  return out.str();
}

using kivtest::ScopedUserMemoryManager;

TEST(BitArray, ZeroBitsHoldOneByte) {
  KivClBitArray a(0);
  EXPECT_EQ(a.getBitCount(), 0u);
  EXPECT_EQ(a.getByteCount(), 1u);
  EXPECT_EQ(bytesOf(a), std::vector<unsigned>({0}));
}

TEST(BitArray, EightBitsHoldTwoBytes) {
  KivClBitArray a(8);
  EXPECT_EQ(a.getBitCount(), 8u);
  EXPECT_EQ(a.getByteCount(), 2u);
}

TEST(BitArray, NineBitsHoldTwoBytes) {
  KivClBitArray a(9);
  EXPECT_EQ(a.getBitCount(), 9u);
  EXPECT_EQ(a.getByteCount(), 2u);
}

TEST(BitArray, ByteCountIsBitsDividedByEightPlusOne) {
  EXPECT_EQ(KivClBitArray::byteCountFor(0), 1u);
  EXPECT_EQ(KivClBitArray::byteCountFor(7), 1u);
  EXPECT_EQ(KivClBitArray::byteCountFor(8), 2u);
  EXPECT_EQ(KivClBitArray::byteCountFor(15), 2u);
  EXPECT_EQ(KivClBitArray::byteCountFor(16), 3u);
  EXPECT_EQ(KivClBitArray(100).getByteCount(), 13u);
}

TEST(BitArray, AllBytesAreZeroAfterConstruction) {
  ScopedUserMemoryManager counting;
  // Dirty blocks of the same size first, so that zeroing is not luck.
  for (int i = 0; i < 4; ++i) {
    void* p = kivMalloc(126);
    std::memset(p, 0xA5, 126);
    kivFree(p);
  }
  KivClBitArray a(1000);
  ASSERT_EQ(a.getByteCount(), 126u);
  EXPECT_EQ(bytesOf(a), std::vector<unsigned>(126, 0));
}

TEST(BitArray, AllocatesAndReleasesThroughTheMemoryManager) {
  ScopedUserMemoryManager counting;
  {
    KivClBitArray a(12);
    EXPECT_EQ(counting.allocations(), 1);
    KivClBitArray b(a);
    EXPECT_EQ(counting.allocations(), 2);
    KivClBitArray c(100);
    c = a;
    EXPECT_EQ(counting.allocations(), 4);
    EXPECT_EQ(counting.releases(), 1);  // c's first bytes
  }
  EXPECT_EQ(counting.releases(), 4);
}

TEST(BitArray, ConstructionThrowsFatalWhenMemoryIsExhausted) {
  ScopedUserMemoryManager counting;
  counting.failAlways();
  try {
    KivClBitArray a(64);
    FAIL() << "no exception";
  } catch (const KivClExceptionFatal& e) {
    EXPECT_EQ(e.getError().id, KIV_MEMMGR_USER_OUT_OF_MEMORY);
    EXPECT_EQ(e.getError().errorClass, KivEnErrorClass::OUT_OF_MEMORY);
  }
}

TEST(BitArray, FailedAssignmentLeavesTargetUnchanged) {
  ScopedUserMemoryManager counting;
  KivClBitArray source(40);
  KivClBitArray target(12);
  target.setBit(3);
  counting.failAlways();
  EXPECT_THROW(target = source, KivClExceptionFatal);
  counting.neverFail();
  EXPECT_EQ(target.getBitCount(), 12u);
  EXPECT_EQ(target.getByteCount(), 2u);
  EXPECT_EQ(bytesOf(target), std::vector<unsigned>({0x08, 0}));
}

TEST(BitArray, BitIIsBitIModEightOfByteIDivEight) {
  KivClBitArray a(20);
  EXPECT_TRUE(a.setBit(0));
  EXPECT_TRUE(a.setBit(3));
  EXPECT_TRUE(a.setBit(9));
  EXPECT_TRUE(a.setBit(19));
  EXPECT_EQ(bytesOf(a), std::vector<unsigned>({0x09, 0x02, 0x08}));
  EXPECT_TRUE(a.getBit(0));
  EXPECT_FALSE(a.getBit(1));
  EXPECT_TRUE(a.getBit(9));
  EXPECT_TRUE(a.getBit(19));
}

TEST(BitArray, ClearsAndTogglesSingleBits) {
  KivClBitArray a(16);
  a.setBit(5);
  a.setBit(6);
  EXPECT_TRUE(a.clearBit(5));
  EXPECT_FALSE(a.getBit(5));
  EXPECT_TRUE(a.getBit(6));
  EXPECT_TRUE(a.toggleBit(6));
  EXPECT_TRUE(a.toggleBit(15));
  EXPECT_FALSE(a.getBit(6));
  EXPECT_TRUE(a.getBit(15));
  EXPECT_TRUE(a.setBit(7, false));
  EXPECT_EQ(bytesOf(a), std::vector<unsigned>({0x00, 0x80, 0x00}));
}

TEST(BitArray, BitsBeyondTheCountDoNotExist) {
  KivClBitArray a(12);
  EXPECT_FALSE(a.setBit(12));
  EXPECT_FALSE(a.setBit(15));
  EXPECT_FALSE(a.toggleBit(16));
  EXPECT_FALSE(a.clearBit(1000000));
  EXPECT_FALSE(a.getBit(12));
  EXPECT_FALSE(a.getBit(~std::uint64_t{0}));
  // The spare bits of the last byte stay zero.
  EXPECT_EQ(bytesOf(a), std::vector<unsigned>({0, 0}));

  KivClBitArray none(0);
  EXPECT_FALSE(none.setBit(0));
  EXPECT_FALSE(none.getBit(0));
  EXPECT_EQ(bytesOf(none), std::vector<unsigned>({0}));
}

TEST(BitArray, CopyHasOwnBytesWithTheSameBits) {
  KivClBitArray a(12);
  a.setBit(1);
  a.setBit(11);
  KivClBitArray b(a);
  EXPECT_EQ(b.getBitCount(), 12u);
  EXPECT_EQ(bytesOf(b), bytesOf(a));
  EXPECT_NE(b.getBytes(), a.getBytes());
  b.clearBit(1);
  EXPECT_TRUE(a.getBit(1));
}

TEST(BitArray, AssignmentTakesTheOthersCountAndBytes) {
  KivClBitArray a(30);
  a.setBit(29);
  KivClBitArray b(4);
  b.setBit(2);
  b = a;
  EXPECT_EQ(b.getBitCount(), 30u);
  EXPECT_EQ(b.getByteCount(), 4u);
  EXPECT_EQ(bytesOf(b), std::vector<unsigned>({0, 0, 0, 0x20}));
  EXPECT_TRUE(b == a);

  KivClBitArray small(3);
  small.setBit(0);
  b = small;
  EXPECT_EQ(b.getBitCount(), 3u);
  EXPECT_EQ(bytesOf(b), std::vector<unsigned>({0x01}));
}

TEST(BitArray, SelfAssignmentChangesNothing) {
  KivClBitArray a(12);
  a.setBit(4);
  const unsigned char* before = a.getBytes();
  KivClBitArray& alias = a;
  a = alias;
  EXPECT_EQ(a.getBitCount(), 12u);
  EXPECT_EQ(a.getBytes(), before);
  EXPECT_EQ(bytesOf(a), std::vector<unsigned>({0x10, 0}));
}

TEST(BitArray, EqualArraysCompareEqual) {
  KivClBitArray a(40), b(40);
  EXPECT_TRUE(a == b);
  a.setBit(33);
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a != b);
  b.setBit(33);
  EXPECT_TRUE(a == b);
  EXPECT_FALSE(a != b);
}

TEST(BitArray, ComparisonIgnoresTheBitCounts) {
  KivClBitArray eight(8), nine(9);
  eight.setBit(7);
  nine.setBit(7);
  EXPECT_TRUE(eight == nine);  // both hold 2 bytes
  EXPECT_TRUE(nine == eight);

  // Over this array's byte count only: a 0-bit array holds one zero byte.
  KivClBitArray none(0), wide(16);
  wide.setBit(8);
  EXPECT_TRUE(none == wide);
  wide.setBit(0);
  EXPECT_FALSE(none == wide);
}

TEST(BitArray, ComparisonWithAShorterArrayIsFalse) {
  KivClBitArray shortArray(8), longArray(16);  // 2 and 3 bytes, all zero
  EXPECT_TRUE(shortArray == longArray);
  EXPECT_FALSE(longArray == shortArray);
}

TEST(BitArray, WritesCountThenBytes) {
  KivClBitArray a(12);
  a.setBit(0);
  a.setBit(3);
  a.setBit(11);
  const std::string out = written(a);
  ASSERT_EQ(out.size(), 10u);
  EXPECT_EQ(bytesOf(out), std::vector<unsigned>({12, 0, 0, 0, 0, 0, 0, 0, 0x09, 0x08}));
}

TEST(BitArray, WritesCountInHostByteOrder) {
  KivClBitArray a(0x0102);
  const std::string out = written(a);
  ASSERT_EQ(out.size(), 8u + 33u);
  EXPECT_EQ(bytesOf(out.substr(0, 8)), std::vector<unsigned>({0x02, 0x01, 0, 0, 0, 0, 0, 0}));
}

TEST(BitArray, WriteToAFailedStreamReportsFalse) {
  KivClBitArray a(12);
  std::ostringstream out(std::ios::binary);
  out.setstate(std::ios::badbit);
  EXPECT_FALSE(a.write(out));
}

TEST(BitArray, ReadsBackIntoAnArrayOfTheSameSize) {
  KivClBitArray a(12);
  a.setBit(2);
  a.setBit(10);
  std::istringstream in(written(a), std::ios::binary);
  KivClBitArray b(12);
  b.setBit(5);  // overwritten by the read
  ASSERT_TRUE(b.read(in));
  EXPECT_EQ(b.getBitCount(), 12u);
  EXPECT_TRUE(b == a);
  EXPECT_TRUE(b.getBit(2));
  EXPECT_TRUE(b.getBit(10));
  EXPECT_FALSE(b.getBit(5));
  EXPECT_EQ(in.peek(), std::char_traits<char>::eof());
}

TEST(BitArray, ReadsSeveralArraysInSequence) {
  KivClBitArray a(12), b(12);
  a.setBit(1);
  b.setBit(9);
  std::ostringstream out(std::ios::binary);
  ASSERT_TRUE(a.write(out));
  ASSERT_TRUE(b.write(out));
  std::istringstream in(out.str(), std::ios::binary);
  KivClBitArray x(12), y(12);
  ASSERT_TRUE(x.read(in));
  ASSERT_TRUE(y.read(in));
  EXPECT_TRUE(x == a);
  EXPECT_TRUE(y == b);
}

TEST(BitArray, ReadKeepsTheStorageAndTakesTheStreamsCount) {
  KivClBitArray wide(20);  // 3 bytes
  wide.setBit(1);
  wide.setBit(9);
  wide.setBit(17);
  std::istringstream in(written(wide), std::ios::binary);
  KivClBitArray narrow(8);  // 2 bytes
  const unsigned char* storage = narrow.getBytes();
  ASSERT_TRUE(narrow.read(in));
  EXPECT_EQ(narrow.getBitCount(), 20u);
  EXPECT_EQ(narrow.getByteCount(), 2u);
  EXPECT_EQ(narrow.getBytes(), storage);
  EXPECT_EQ(bytesOf(narrow), std::vector<unsigned>({0x02, 0x02}));
  // Only the bytes the array held were read; the third is still waiting.
  EXPECT_EQ(in.get(), 0x02);
  // Bits beyond the held bytes do not exist, whatever the count says.
  EXPECT_FALSE(narrow.getBit(17));
  EXPECT_FALSE(narrow.setBit(17));
  EXPECT_TRUE(narrow.setBit(15));

  // Writing sends the held bytes after the new count.
  const std::string out = written(narrow);
  EXPECT_EQ(bytesOf(out), std::vector<unsigned>({20, 0, 0, 0, 0, 0, 0, 0, 0x02, 0x82}));

  // A copy is sized for the count; the bytes it cannot take are zero.
  KivClBitArray copy(narrow);
  EXPECT_EQ(copy.getBitCount(), 20u);
  EXPECT_EQ(bytesOf(copy), std::vector<unsigned>({0x02, 0x82, 0x00}));
}

TEST(BitArray, ReadOfASmallerCountIntoALargerArray) {
  KivClBitArray small(4);
  small.setBit(3);
  std::istringstream in(written(small) + std::string("\x7f\x7f", 2), std::ios::binary);
  KivClBitArray big(16);  // 3 bytes: reads 1 + 2 more bytes
  ASSERT_TRUE(big.read(in));
  EXPECT_EQ(big.getBitCount(), 4u);
  EXPECT_EQ(big.getByteCount(), 3u);
  EXPECT_EQ(bytesOf(big), std::vector<unsigned>({0x08, 0x7f, 0x7f}));
  EXPECT_FALSE(big.getBit(8));  // beyond the count
  KivClBitArray copy(big);
  EXPECT_EQ(bytesOf(copy), std::vector<unsigned>({0x08}));
}

TEST(BitArray, TruncatedCountLeavesTheArrayUnchanged) {
  KivClBitArray a(12);
  a.setBit(7);
  std::istringstream in(std::string("\x05\x00\x00", 3), std::ios::binary);
  EXPECT_FALSE(a.read(in));
  EXPECT_EQ(a.getBitCount(), 12u);
  EXPECT_EQ(bytesOf(a), std::vector<unsigned>({0x80, 0}));
}

TEST(BitArray, TruncatedBytesLeaveTheArrayUnchanged) {
  KivClBitArray source(12);
  source.setBit(0);
  std::string data = written(source);
  data.pop_back();
  std::istringstream in(data, std::ios::binary);
  KivClBitArray a(12);
  a.setBit(7);
  EXPECT_FALSE(a.read(in));
  EXPECT_EQ(a.getBitCount(), 12u);
  EXPECT_EQ(bytesOf(a), std::vector<unsigned>({0x80, 0}));
}

TEST(BitArray, ReadFromAFailedStreamReportsFalse) {
  KivClBitArray source(20);
  std::istringstream in(written(source), std::ios::binary);
  in.setstate(std::ios::failbit);
  KivClBitArray a(12);
  EXPECT_FALSE(a.read(in));
  EXPECT_EQ(a.getBitCount(), 12u);
  in.clear();
  EXPECT_TRUE(a.read(in));  // nothing was consumed by the failed call
  EXPECT_EQ(a.getBitCount(), 20u);
}

TEST(BitArray, HasAVirtualDestructor) { EXPECT_TRUE(std::has_virtual_destructor_v<KivClBitArray>); }

}  // namespace
