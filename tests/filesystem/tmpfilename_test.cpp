// Temporary names, backup names and the temporary directory.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_filename_detail.hpp"
#include "kiv_random.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr std::size_t kMax = KIV_PATH_MAX_LENGTH;
constexpr char kAlphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ@#!%_";

// The extension that names of this process carry: the last three digits of
// the process id, units first.
std::string reversedPidDigits() {
  const long pid = static_cast<long>(getpid());
  std::string digits;
  digits += static_cast<char>('0' + pid % 10);
  digits += static_cast<char>('0' + pid / 10 % 10);
  digits += static_cast<char>('0' + pid / 100 % 10);
  return digits;
}

// Checks the form of a generated name part: `prefix` (already cut to at
// most 5 characters), random characters of the alphabet up to 8, ".", the
// reversed process-id digits.
void expectTmpName(const KivClFilenameABase& f, const std::string& prefix) {
  const std::string name = f.getName();
  ASSERT_EQ(name.size(), 12u) << name;
  EXPECT_EQ(name.substr(0, prefix.size()), prefix) << name;
  for (std::size_t i = prefix.size(); i < 8; ++i) {
    EXPECT_NE(std::strchr(kAlphabet, name[i]), nullptr) << name;
    EXPECT_NE(name[i], '\0');
  }
  EXPECT_EQ(name[8], '.');
  EXPECT_EQ(name.substr(9), reversedPidDigits());
  EXPECT_EQ(std::string(f.getExtension()), "." + reversedPidDigits());
  EXPECT_EQ(f.getLength(), std::strlen(f.getAsCString()));
}

// ---------------------------------------------------------------------------
// kivGetTmpDirectory
// ---------------------------------------------------------------------------

TEST(TmpFilenameTest, TmpDirectoryIsTmpVariable) {
  kivtest::EnvGuard tmp("TMP");
  tmp.set("/some/where");
  EXPECT_STREQ(kivGetTmpDirectory(), "/some/where");
}

TEST(TmpFilenameTest, TmpDirectoryDefaultsToSlashTmp) {
  kivtest::EnvGuard tmp("TMP");
  tmp.unset();
  EXPECT_STREQ(kivGetTmpDirectory(), "/tmp");
}

TEST(TmpFilenameTest, TmpDirectorySetToEmptyTextIsEmpty) {
  kivtest::EnvGuard tmp("TMP");
  tmp.set("");
  EXPECT_STREQ(kivGetTmpDirectory(), "");
}

// ---------------------------------------------------------------------------
// Generated names
// ---------------------------------------------------------------------------

TEST(TmpFilenameTest, DefaultNameHasTmpPrefixInTmpDirectory) {
  kivtest::TempDir dir;
  kivtest::EnvGuard tmp("TMP");
  tmp.set(dir.path());
  const KivClTmpFilename f;
  EXPECT_EQ(std::string(f.getAsCString()).substr(0, dir.path().size() + 1), dir.path() + "/");
  EXPECT_EQ(f.getName(), f.getAsCString() + dir.path().size() + 1);
  expectTmpName(f, "tmp");
  EXPECT_FALSE(f.isExistent());
}

TEST(TmpFilenameTest, DefaultDirectoryIsSlashTmpWithoutVariable) {
  kivtest::EnvGuard tmp("TMP");
  tmp.unset();
  const KivClTmpFilename f;
  EXPECT_EQ(std::string(f.getAsCString()).substr(0, 5), "/tmp/");
  expectTmpName(f, "tmp");
}

TEST(TmpFilenameTest, EmptyTmpVariableGivesRelativeName) {
  kivtest::EnvGuard tmp("TMP");
  tmp.set("");
  const KivClTmpFilename f("abc");
  EXPECT_EQ(f.getName(), f.getAsCString());
  expectTmpName(f, "abc");
}

TEST(TmpFilenameTest, PrefixInTmpDirectory) {
  kivtest::TempDir dir;
  kivtest::EnvGuard tmp("TMP");
  tmp.set(dir.path() + "/");
  const KivClTmpFilename f("pre");
  // The directory's own separator is not doubled.
  EXPECT_EQ(std::string(f.getAsCString()), dir.path() + "/" + f.getName());
  expectTmpName(f, "pre");
}

TEST(TmpFilenameTest, LongPrefixIsCutToFiveCharacters) {
  kivtest::TempDir dir;
  const KivClTmpFilename f(dir.path().c_str(), "ABCDEFGH");
  expectTmpName(f, "ABCDE");
}

TEST(TmpFilenameTest, ShortAndEmptyPrefixesLeaveMoreRandomCharacters) {
  kivtest::TempDir dir;
  expectTmpName(KivClTmpFilename(dir.path().c_str(), "ab"), "ab");
  expectTmpName(KivClTmpFilename(dir.path().c_str(), ""), "");
  expectTmpName(KivClTmpFilename(dir.path().c_str(), nullptr), "");
}

TEST(TmpFilenameTest, InDirectoryOfFilename) {
  kivtest::TempDir dir;
  const KivClFilename source((dir / "sub/file.txt").c_str());
  const KivClTmpFilename f(source, "new");
  EXPECT_EQ(std::string(f.getAsCString()), dir.path() + "/sub/" + f.getName());
  expectTmpName(f, "new");
}

TEST(TmpFilenameTest, FilenameWithoutDirectoryGivesRelativeName) {
  const KivClTmpFilename f(KivClFilename("file.txt"), "rel");
  EXPECT_EQ(f.getName(), f.getAsCString());
  expectTmpName(f, "rel");
}

TEST(TmpFilenameTest, BackslashDirectoryKeepsItsStyle) {
  const KivClTmpFilename f("C:\\temp", "w");
  EXPECT_EQ(std::string(f.getAsCString()).substr(0, 8), "C:\\temp\\");
  EXPECT_EQ(f.getStyle(), 0);
  expectTmpName(f, "w");
}

TEST(TmpFilenameTest, NullDirectoryGivesRelativeName) {
  const KivClTmpFilename f(static_cast<const char*>(nullptr), "n");
  EXPECT_EQ(f.getName(), f.getAsCString());
  expectTmpName(f, "n");
}

TEST(TmpFilenameTest, GeneratedNameIsWrittenOverTheNamePart) {
  // "dir" and "sub/x" compose to "dir/sub/x", whose name part is "x"; the
  // whole generated name, prefix "sub/x" included, goes there.
  kivtest::TempDir dir;
  const KivClTmpFilename f(dir.path().c_str(), "sub/x");
  const std::string text = f.getAsCString();
  ASSERT_EQ(text.size(), dir.path().size() + 5 + 12);
  EXPECT_EQ(text.substr(0, dir.path().size() + 10), dir.path() + "/sub/sub/x");
  for (std::size_t i = dir.path().size() + 10; i < text.size() - 4; ++i)
    EXPECT_NE(std::strchr(kAlphabet, text[i]), nullptr) << text;
  EXPECT_EQ(text.substr(text.size() - 4), "." + reversedPidDigits());
  EXPECT_EQ(std::string(f.getName()).size(), 8u);  // "x", three random, ".", digits
}

TEST(TmpFilenameTest, NamePartOfAMixedDirectoryStartsAfterTheLastSlash) {
  // "dir/we\ird" is in backslash style, so "\" is appended; the name part of
  // "dir/we\ird\t" is "we\ird\t", and the generated name replaces all of it.
  kivtest::TempDir dir;
  const std::string mixed = dir.path() + "/we\\ird";
  const KivClTmpFilename f(mixed.c_str(), "t");
  EXPECT_EQ(f.getStyle(), KIV_PATH_STYLE_BACKSLASH);
  EXPECT_EQ(std::string(f.getAsCString()), dir.path() + "/" + f.getName());
  expectTmpName(f, "t");
}

TEST(TmpFilenameTest, NamesAreUniqueAgainstExistingFiles) {
  kivtest::TempDir dir;
  std::set<std::string> names;
  // Five prefix characters leave 41^3 names, so draws repeat now and then
  // and the generator has to pass over files it made before.
  for (int i = 0; i < 400; ++i) {
    const KivClTmpFilename f(dir.path().c_str(), "ABCDE");
    ASSERT_FALSE(f.isExistent()) << f.getAsCString();
    expectTmpName(f, "ABCDE");
    std::ofstream(f.getAsCString()) << i;
    ASSERT_TRUE(f.isExistent());
    names.insert(f.getAsCString());
  }
  EXPECT_EQ(names.size(), 400u);
}

TEST(TmpFilenameTest, CopyNamesSameFile) {
  kivtest::TempDir dir;
  auto original = std::make_unique<KivClTmpFilename>(dir.path().c_str(), "cp");
  const std::string text = original->getAsCString();
  const KivClTmpFilename copy(*original);
  original.reset();
  EXPECT_EQ(std::string(copy.getAsCString()), text);
  expectTmpName(copy, "cp");
  KivClFilename named;
  named = copy;
  EXPECT_EQ(std::string(named.getAsCString()), text);
  expectTmpName(named, "cp");
}

TEST(TmpFilenameTest, DirectoryNearLimitCutsGeneratedName) {
  const std::string dir = "/" + std::string(4089, 'd');  // 4090 characters
  const KivClTmpFilename f(dir.c_str(), "tmp");
  EXPECT_EQ(f.getLength(), kMax);
  const std::string text = f.getAsCString();
  EXPECT_EQ(text.substr(0, 4091), dir + "/");
  EXPECT_EQ(text.substr(4091, 3), "tmp");
  const std::string full = "/" + std::string(kMax - 1, 'd');
  const KivClTmpFilename g(full.c_str(), "tmp");
  EXPECT_EQ(std::string(g.getAsCString()), full);
}

// ---------------------------------------------------------------------------
// The generation steps
// ---------------------------------------------------------------------------

std::string formatted(const char* prefix, std::uint64_t value, std::uint64_t pid) {
  char out[kiv::detail::kTmpNameLength + 1];
  kiv::detail::formatTmpName(out, prefix, value, pid);
  return out;
}

TEST(TmpFilenameTest, FormatsBase41DigitsMostSignificantFirst) {
  EXPECT_EQ(formatted("tmp", 0, 12345), "tmp00000.543");
  EXPECT_EQ(formatted("tmp", 41ull * 41 * 41 * 41 + 40, 12345), "tmp1000_.543");
  EXPECT_EQ(formatted("", 4294967295ull, 1), "00#2!AC@.100");
  EXPECT_EQ(formatted("tmp", 4294967295ull, 1), "tmp2!AC@.100");
  EXPECT_EQ(formatted("ABCDEFGH", 123456789, 0), "ABCDEBJ8.000");
}

TEST(TmpFilenameTest, ExtensionIsProcessIdDigitsReversed) {
  EXPECT_EQ(formatted("t", 0, 12345).substr(8), ".543");
  EXPECT_EQ(formatted("t", 0, 7).substr(8), ".700");
  EXPECT_EQ(formatted("t", 0, 120).substr(8), ".021");
  EXPECT_EQ(formatted("t", 0, 98765).substr(8), ".567");
}

TEST(TmpFilenameTest, AlphabetHas41Characters) {
  EXPECT_EQ(kiv::detail::kTmpNameRadix, 41u);
  EXPECT_STREQ(kiv::detail::kTmpNameAlphabet, kAlphabet);
  EXPECT_EQ(formatted("", 40, 0), "0000000_.000");
  EXPECT_EQ(formatted("", 36, 0), "0000000@.000");
  EXPECT_EQ(formatted("", 37, 0), "0000000#.000");
  EXPECT_EQ(formatted("", 38, 0), "0000000!.000");
  EXPECT_EQ(formatted("", 39, 0), "0000000%.000");
  EXPECT_EQ(formatted("", 41, 0), "00000010.000");
}

// The next `count` names that `generator` gives; it is taken by value, so
// the caller's generator still stands where it stood.
std::vector<std::string> drawnNames(KivClRandomNumberGenerator generator, int count,
                                    std::uint64_t pid) {
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i)
    names.push_back(formatted("tmp", generator.getRandomNumber(), pid));
  return names;
}

// A generator seeded with `seed`. A new generator has already drawn a batch
// from its clock seed, and seeding keeps the accumulators, so only copies of
// one generator give the same sequence.
KivClRandomNumberGenerator seeded(std::uint64_t seed) {
  KivClRandomNumberGenerator generator;
  generator.init(seed);
  return generator;
}

TEST(TmpFilenameTest, SearchPassesOverExistingNames) {
  kivtest::TempDir dir;
  const KivClRandomNumberGenerator generator = seeded(42);
  const std::vector<std::string> names = drawnNames(generator, 3, 12345);
  std::ofstream(dir / names[0]) << "0";
  std::ofstream(dir / names[1]) << "1";
  char text[kMax + 1];
  const std::string prefix = dir.path() + "/";
  std::strcpy(text, prefix.c_str());
  EXPECT_TRUE(kiv::detail::findUnusedTmpName(text, prefix.size(), "tmp", 12345, generator, 10));
  EXPECT_EQ(std::string(text), dir / names[2]);
}

TEST(TmpFilenameTest, SearchGivesUpAfterMaximumAttempts) {
  kivtest::TempDir dir;
  const KivClRandomNumberGenerator generator = seeded(7);
  const std::vector<std::string> names = drawnNames(generator, 4, 12345);
  for (const std::string& name : names) std::ofstream(dir / name) << name;
  char text[kMax + 1];
  const std::string prefix = dir.path() + "/";
  std::strcpy(text, prefix.c_str());
  const KivClRandomNumberGenerator first(generator);
  EXPECT_FALSE(kiv::detail::findUnusedTmpName(text, prefix.size(), "tmp", 12345, first, 3));
  EXPECT_EQ(std::string(text), dir / names[2]);
  // Zero attempts still draw once.
  std::strcpy(text, prefix.c_str());
  const KivClRandomNumberGenerator again(generator);
  EXPECT_FALSE(kiv::detail::findUnusedTmpName(text, prefix.size(), "tmp", 12345, again, 0));
  EXPECT_EQ(std::string(text), dir / names[0]);
}

// ---------------------------------------------------------------------------
// Backup names
// ---------------------------------------------------------------------------

TEST(BakFilenameTest, AppendsBakToWholeText) {
  const KivClBakFilename bak(KivClFilenameABase("/d/a.txt"));
  EXPECT_STREQ(bak.getAsCString(), "/d/a.txt.bak");
  EXPECT_EQ(bak.getLength(), 12u);
  EXPECT_STREQ(bak.getName(), "a.txt.bak");
  // The extension position does not move.
  EXPECT_STREQ(bak.getExtension(), ".txt.bak");
}

TEST(BakFilenameTest, NameWithoutDotGetsBakExtension) {
  const KivClBakFilename bak(KivClFilenameABase("C:\\dir\\a"));
  EXPECT_STREQ(bak.getAsCString(), "C:\\dir\\a.bak");
  EXPECT_STREQ(bak.getExtension(), ".bak");
  EXPECT_EQ(bak.getStyle(), 0);
  EXPECT_TRUE(bak.matchesExtension("bak"));
}

TEST(BakFilenameTest, CopyDoesNotAppendAgain) {
  const KivClBakFilename bak(KivClFilenameABase("a"));
  const KivClBakFilename copy(bak);
  EXPECT_STREQ(copy.getAsCString(), "a.bak");
  const KivClBakFilename twice(static_cast<const KivClFilenameABase&>(bak));
  EXPECT_STREQ(twice.getAsCString(), "a.bak.bak");
  EXPECT_STREQ(twice.getExtension(), ".bak.bak");
}

TEST(BakFilenameTest, IsCutAtLimit) {
  const std::string text(kMax - 2, 'n');
  const KivClBakFilename bak(KivClFilenameABase(text.c_str()));
  EXPECT_EQ(std::string(bak.getAsCString()), text + ".b");
  EXPECT_EQ(bak.getLength(), kMax);
  const std::string full(kMax, 'n');
  const KivClBakFilename none(KivClFilenameABase(full.c_str()));
  EXPECT_EQ(std::string(none.getAsCString()), full);
}

TEST(BakFilenameTest, CopySurvivesOriginal) {
  auto original = std::make_unique<KivClBakFilename>(KivClFilenameABase("\\\\s\\sh\\x.y"));
  const KivClBakFilename copy(*original);
  original.reset();
  EXPECT_STREQ(copy.getAsCString(), "\\\\s\\sh\\x.y.bak");
  EXPECT_STREQ(copy.getPath(), "\\x.y.bak");
  EXPECT_STREQ(copy.getName(), "x.y.bak");
  EXPECT_STREQ(copy.getExtension(), ".y.bak");
}

}  // namespace
