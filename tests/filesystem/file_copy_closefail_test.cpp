// Copies whose target cannot be closed. This program defines its own
// close(), which the library calls instead of the system's: while a test
// names a target, closing a descriptor of that very file (same device and
// inode) still releases the descriptor but reports EIO, as a network file
// system does when it can write the data back only at close. Every other
// close goes to the system's. A program of its own, so that no other test
// runs with it.

#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "fs_test_util.hpp"
#include "kiv_file.hpp"
#include "kiv_location.hpp"
#include "kiv_test_support.hpp"

namespace {

const char* gs_failingTarget = nullptr;  // null: close works
int gs_closeCalls = 0;
int gs_failedCloses = 0;

using CloseFunction = int (*)(int);

CloseFunction systemClose() {
  static CloseFunction function = [] {
    void* symbol = ::dlsym(RTLD_NEXT, "close");
    CloseFunction result = nullptr;
    std::memcpy(&result, &symbol, sizeof result);
    return result;
  }();
  return function;
}

bool isFailingTarget(int fd) {
  if (gs_failingTarget == nullptr) return false;
  struct stat open {};
  struct stat named {};
  if (::fstat(fd, &open) != 0 || ::stat(gs_failingTarget, &named) != 0) return false;
  return open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

// Makes the close of `target` fail with EIO while it lives.
class CloseFailure {
 public:
  explicit CloseFailure(const std::string& target) : m_target(target) {
    gs_failingTarget = m_target.c_str();
  }
  ~CloseFailure() { gs_failingTarget = nullptr; }
  CloseFailure(const CloseFailure&) = delete;
  CloseFailure& operator=(const CloseFailure&) = delete;

 private:
  std::string m_target;
};

std::string patterned(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>((i * 13 + i / 512) & 0xFF);
  return text;
}

}  // namespace

extern "C" int close(int fd) {
  ++gs_closeCalls;
  const bool fail = isFailingTarget(fd);
  const int result = systemClose()(fd);
  if (fail && result == 0) {
    ++gs_failedCloses;
    errno = EIO;
    return -1;
  }
  return result;
}

namespace {

TEST(FileCopyCloseFailure, CopyWorksWhileCloseWorks) {
  kivtest::TempDir dir;
  const std::string text = patterned(5000);
  fstest::writeFile(dir / "source", text);
  KivClFile file{KivClFilename((dir / "source").c_str())};
  const int callsBefore = gs_closeCalls;
  EXPECT_TRUE(file.copyTo(KivClFilename((dir / "target").c_str())));
  EXPECT_KIV_NO_ERROR(file);
  // Both descriptors of the copy went through this program's close.
  EXPECT_EQ(gs_closeCalls - callsBefore, 2);
  EXPECT_EQ(fstest::readFile(dir / "target"), text);
}

TEST(FileCopyCloseFailure, TargetThatCannotBeClosedFailsWithWriteProblem) {
  kivtest::TempDir dir;
  const std::string text = patterned(5000);
  fstest::writeFile(dir / "source", text);
  const std::string target = dir / "target";
  KivClFile file{KivClFilename((dir / "source").c_str())};
  const int failedBefore = gs_failedCloses;
  {
    CloseFailure failure(target);
    EXPECT_FALSE(file.copyTo(KivClFilename(target.c_str())));
  }
  EXPECT_EQ(gs_failedCloses, failedBefore + 1);
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY, IO_WRITE_PROBLEM);
  // Every write succeeded; only the close reported the failure.
  EXPECT_EQ(fstest::readFile(target), text);
}

TEST(FileCopyCloseFailure, EmptySourceStillFailsWhenTheCloseFails) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "empty", "");
  fstest::writeFile(dir / "old", "previous contents");
  const std::string target = dir / "old";
  KivClFile file{KivClFilename((dir / "empty").c_str())};
  {
    CloseFailure failure(target);
    EXPECT_FALSE(file.copyTo(KivClFilename(target.c_str())));
  }
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY, IO_WRITE_PROBLEM);
  EXPECT_EQ(fstest::readFile(target), "");
}

TEST(FileCopyCloseFailure, CopyIntoALocationReportsTheFailedClose) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "dest");
  fstest::writeFile(dir / "f.txt", patterned(100));
  KivClFile file{KivClFilename((dir / "f.txt").c_str())};
  {
    CloseFailure failure(dir / "dest/f.txt");
    EXPECT_FALSE(file.copyTo(KivClLocation((dir / "dest").c_str())));
  }
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY, IO_WRITE_PROBLEM);
  // A later copy with a working close succeeds and clears the record.
  EXPECT_TRUE(file.copyTo(KivClLocation((dir / "dest").c_str())));
  EXPECT_KIV_NO_ERROR(file);
}

}  // namespace
