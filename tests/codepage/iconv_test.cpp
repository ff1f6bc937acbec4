// The iconv back end. This program puts its own iconv, iconv_open and
// iconv_close in front of the C library's (the library is linked in
// statically, so its calls reach these): by default they pass every call
// through and count descriptors, and on demand they fail with a chosen
// errno or succeed with input left over, so that every row of the errno
// map can be checked.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <iconv.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "cp_test_support.hpp"
#include "kiv_converter.hpp"
#include "kiv_test_support.hpp"

namespace {

struct FakeIconv {
  enum class Mode { PASS, FAIL, SUCCEED_LEAVING };
  Mode mode = Mode::PASS;
  int error = 0;              // errno of a failing call
  std::size_t consume = 0;    // source bytes a failing call consumes
  std::size_t produce = 0;    // target bytes a failing call writes
  std::size_t leave = 0;      // source bytes a succeeding call leaves
  int flushError = 0;         // errno of a failing flush (0: pass through)
  int flushes = 0;
  int opened = 0;
  int closed = 0;
};

FakeIconv& fake() {
  static FakeIconv state;
  return state;
}

template <typename Function>
Function real(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

class FakeGuard {
 public:
  FakeGuard() { fake() = FakeIconv{}; }
  ~FakeGuard() { fake() = FakeIconv{}; }
};

}  // namespace

extern "C" iconv_t iconv_open(const char* to, const char* from) {
  static const auto next = real<iconv_t (*)(const char*, const char*)>("iconv_open");
  const iconv_t descriptor = next(to, from);
  if (descriptor != reinterpret_cast<iconv_t>(-1)) ++fake().opened;
  return descriptor;
}

extern "C" int iconv_close(iconv_t descriptor) {
  static const auto next = real<int (*)(iconv_t)>("iconv_close");
  ++fake().closed;
  return next(descriptor);
}

extern "C" std::size_t iconv(iconv_t descriptor, char** in, std::size_t* inLeft, char** out,
                             std::size_t* outLeft) {
  static const auto next =
      real<std::size_t (*)(iconv_t, char**, std::size_t*, char**, std::size_t*)>("iconv");
  FakeIconv& state = fake();
  if (in == nullptr || *in == nullptr) {
    ++state.flushes;
    if (state.flushError != 0) {
      errno = state.flushError;
      return static_cast<std::size_t>(-1);
    }
    return next(descriptor, in, inLeft, out, outLeft);
  }
  switch (state.mode) {
    case FakeIconv::Mode::PASS:
      return next(descriptor, in, inLeft, out, outLeft);
    case FakeIconv::Mode::FAIL:
      *in += state.consume;
      *inLeft -= state.consume;
      std::memset(*out, 'x', state.produce);
      *out += state.produce;
      *outLeft -= state.produce;
      errno = state.error;
      return static_cast<std::size_t>(-1);
    case FakeIconv::Mode::SUCCEED_LEAVING: {
      const std::size_t take = *inLeft - state.leave;
      std::memcpy(*out, *in, take);
      *in += take;
      *inLeft -= take;
      *out += take;
      *outLeft -= take;
      return 0;
    }
  }
  return 0;
}

namespace {

using kivtest::ucs2Bytes;
using kivtest::ucs2Text;

// Served by iconv alone: 4946 is named "850".
constexpr unsigned int kIconvServed = 4946;

TEST(Iconv, ConvertsThroughTheNamesOfTheTable) {
  const KivClCodePage2UnicodeConverter toUnicode(kIconvServed);
  ASSERT_EQ(toUnicode.getMethod(), &kivConvertByUsingIconv);
  const std::string source = "caf\x82 \x9C";
  EXPECT_EQ(kivtest::convertAll(toUnicode, source),
            kivtest::iconvConvert("UCS-2", "850", source).value());
  EXPECT_KIV_NO_ERROR(toUnicode);
}

struct ErrnoRow {
  int error;
  long id;
  KivEnErrorClass errorClass;
};

TEST(Iconv, EveryErrnoRow) {
  const ErrnoRow rows[] = {
      {EILSEQ, KIV_CPCONVERTER_INVALID_SEQ, KivEnErrorClass::USER_DATA_ERROR},
      {E2BIG, KIV_CPCONVERTER_TOO_BIG, KivEnErrorClass::DATA_OUT_OF_BOUNDS},
      {EINVAL, KIV_CPCONVERTER_INCOMPLETE, KivEnErrorClass::USER_DATA_ERROR},
      {EBADF, KIV_CPCONVERTER_BAD_DESCR, KivEnErrorClass::INVALID_DATA},
      {ENOMEM, KIV_NO_ERROR, KivEnErrorClass::UNKNOWN},  // any other errno: record untouched
  };
  const KivClCodePage2UnicodeConverter converter(kIconvServed);
  for (const ErrnoRow& row : rows) {
    SCOPED_TRACE(row.error);
    FakeGuard guard;
    fake().mode = FakeIconv::Mode::FAIL;
    fake().error = row.error;
    fake().consume = 3;
    fake().produce = 4;
    const std::string source = "abcdef";
    char target[16];
    const char* cursor = source.data();
    EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, source.size()), 4u);
    EXPECT_EQ(cursor, source.data() + 3);
    EXPECT_EQ(converter.getLastError(), (_KivStError{row.id, row.errorClass}));
    EXPECT_EQ(fake().flushes, 0);  // a failed conversion keeps the descriptor's state
  }
}

TEST(Iconv, SuccessWithInputLeftSetsNoError) {
  const KivClCodePage2UnicodeConverter converter(kIconvServed);
  FakeGuard guard;
  fake().mode = FakeIconv::Mode::SUCCEED_LEAVING;
  fake().leave = 2;
  char target[16];
  const char* const source = "abcdef";
  const char* cursor = source;
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 6), 4u);
  EXPECT_EQ(cursor, source + 4);
  EXPECT_KIV_NO_ERROR(converter);
  EXPECT_EQ(fake().flushes, 0);
}

TEST(Iconv, CodePageToCodePageHoldsWhatTheSecondHalfLeft) {
  // The UCS-2 to 850 half takes all but one unit and reports success: the
  // unit waits for the next call and the target counts as full.
  const KivClCodePage2CodePageConverter converter(1047, kIconvServed);
  ASSERT_EQ(KivClUnicode2CodePageConverter(kIconvServed).getMethod(), &kivConvertByUsingIconv);
  FakeGuard guard;
  fake().mode = FakeIconv::Mode::SUCCEED_LEAVING;
  fake().leave = 2;
  char target[16];
  const char* const source = "\xC1\xC2";
  const char* cursor = source;
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 2), 2u);  // one raw unit
  EXPECT_EQ(cursor, source + 2);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_TOO_BIG, DATA_OUT_OF_BOUNDS);
  fake().mode = FakeIconv::Mode::PASS;
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 0), 1u);
  EXPECT_EQ(target[0], 'B');
  EXPECT_KIV_NO_ERROR(converter);
}

TEST(Iconv, CompleteConversionResetsTheDescriptorState) {
  const KivClUnicode2CodePageConverter converter(kIconvServed);
  FakeGuard guard;
  const std::string source = ucs2Bytes(u"AB");
  char target[8];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, source.data(), source.size()), 2u);
  EXPECT_EQ(fake().flushes, 1);
  EXPECT_KIV_NO_ERROR(converter);
  // A closing sequence that does not fit is reported like a full target.
  fake().flushError = E2BIG;
  EXPECT_EQ(converter.convertBytes(target, sizeof target, source.data(), source.size()), 2u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_TOO_BIG, DATA_OUT_OF_BOUNDS);
}

TEST(Iconv, RealErrorsOfTheCLibrary) {
  const KivClUnicode2CodePageConverter converter(kIconvServed);
  char target[16];
  // U+4E00 has no place in code page 850.
  const std::string unmappable = ucs2Bytes(u"A\u4E00B");
  const char* cursor = unmappable.data();
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, unmappable.size()), 1u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INVALID_SEQ, USER_DATA_ERROR);
  EXPECT_EQ(cursor, unmappable.data() + 2);
  // An odd byte count ends inside a unit.
  const std::string odd = ucs2Bytes(u"AB") + "C";
  cursor = odd.data();
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, odd.size()), 2u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INCOMPLETE, USER_DATA_ERROR);
  EXPECT_EQ(cursor, odd.data() + 4);
}

TEST(Iconv, FullTargetLosesNothingWhenResumed) {
  const KivClCodePage2UnicodeConverter converter(kIconvServed);
  const std::string source = "r\x82sum\x82 \x9C\x9D";
  std::string collected;
  const char* cursor = source.data();
  const char* const end = source.data() + source.size();
  int calls = 0;
  while (cursor < end) {
    char target[3];
    const unsigned long written =
        converter.convertBytes(target, sizeof target, &cursor, static_cast<unsigned long>(end - cursor));
    collected.append(target, written);
    ++calls;
    if (cursor < end) {
      EXPECT_KIV_ERROR(converter, CPCONVERTER_TOO_BIG, DATA_OUT_OF_BOUNDS);
    }
  }
  EXPECT_GT(calls, 1);
  EXPECT_EQ(collected, kivtest::iconvConvert("UCS-2", "850", source).value());
}

TEST(Iconv, DescriptorsAreClosedByDeinitAndTheDestructor) {
  FakeGuard guard;
  {
    KivClCodePage2UnicodeConverter first(kIconvServed);
    KivClUnicode2CodePageConverter second(kIconvServed);
    EXPECT_EQ(fake().opened, 2);
    EXPECT_EQ(fake().closed, 0);
    first.deinit();
    EXPECT_EQ(fake().closed, 1);
    first.initNewCodePage2Unicode(kIconvServed);
    EXPECT_EQ(fake().opened, 3);
    EXPECT_EQ(fake().closed, 1);
    first.initNewCodePage2Unicode(1208);  // releases the descriptor it had
    EXPECT_EQ(fake().closed, 2);
  }
  EXPECT_EQ(fake().closed, 3);
  {
    const KivClCodePage2CodePageConverter both(kIconvServed, 61699);
    EXPECT_EQ(fake().opened, 5);
  }
  EXPECT_EQ(fake().closed, 5);
}

}  // namespace
