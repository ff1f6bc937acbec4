// Files: names with default extensions, the queries, copying (self-copy,
// chunks, modes, the error classes), removal, renaming, the search along a
// list variable and the stream-mode queries.
#include "kiv_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "fs_test_util.hpp"
#include "kiv_location.hpp"
#include "kiv_test_support.hpp"

namespace {

namespace fs = std::filesystem;

std::string patterned(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>((i * 7 + i / 1024) & 0xFF);
  return text;
}

// ---------------------------------------------------------------------------
// Construction and queries
// ---------------------------------------------------------------------------

TEST(File, DefaultExtensionIsGivenToANameWithoutOne) {
  EXPECT_STREQ(KivClFile(KivClFilename("notes"), "txt").getAsCString(), "notes.txt");
  EXPECT_STREQ(KivClFile(KivClFilename("notes"), ".txt").getAsCString(), "notes.txt");
  EXPECT_STREQ(KivClFile(KivClFilename("notes.md"), "txt").getAsCString(), "notes.md");
  EXPECT_STREQ(KivClFile(KivClFilename("notes")).getAsCString(), "notes");
  EXPECT_STREQ(KivClFile(KivClFilename("/d.x/notes"), "ini").getAsCString(), "/d.x/notes.ini");
  // A plain text is taken as a file name.
  EXPECT_STREQ(KivClFile("notes", "txt").getAsCString(), "notes.txt");
  const KivClFile file(KivClFilename("notes"), "txt");
  EXPECT_KIV_NO_ERROR(file);
  EXPECT_STREQ(file.getFilename().getExtension(), ".txt");
}

TEST(File, FileTypeIsTheExtensionWithoutItsDot) {
  EXPECT_STREQ(KivClFile(KivClFilename("archive.tar.gz")).getFileType(), "gz");
  EXPECT_STREQ(KivClFile(KivClFilename("README")).getFileType(), "");
  EXPECT_STREQ(KivClFile(KivClFilename(".profile")).getFileType(), "profile");
  EXPECT_STREQ(KivClFile(KivClFilename("/a.b/c")).getFileType(), "");
}

TEST(File, HiddenWhenTheNamePartStartsWithADot) {
  EXPECT_TRUE(KivClFile(KivClFilename(".profile")).isHidden());
  EXPECT_TRUE(KivClFile(KivClFilename("/home/u/.bashrc")).isHidden());
  EXPECT_FALSE(KivClFile(KivClFilename("/home/.u/file")).isHidden());
  EXPECT_FALSE(KivClFile(KivClFilename("plain")).isHidden());
}

TEST(File, AnswersAsAFileThroughTheInterface) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "f.txt", "x");
  const std::unique_ptr<KivClFileABase> object(
      new KivClFile(KivClFilename((dir / "f.txt").c_str())));
  EXPECT_FALSE(object->isDirectory());
  EXPECT_TRUE(object->isFile());
  EXPECT_TRUE(object->isExistent());
  EXPECT_EQ(std::string(object->getAsCString()), dir / "f.txt");
  EXPECT_EQ(std::string(static_cast<const char*>(*object)), dir / "f.txt");
  // Even a directory answers as a file through a file object.
  EXPECT_TRUE(KivClFile(KivClFilename(dir.path().c_str())).isFile());
  EXPECT_FALSE(KivClFile(KivClFilename((dir / "missing").c_str())).isExistent());
}

TEST(File, SizeFromStatus) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "f", patterned(1234));
  EXPECT_EQ(KivClFile(KivClFilename((dir / "f").c_str())).getFileSize(), 1234u);
  fstest::writeFile(dir / "empty", "");
  EXPECT_EQ(KivClFile(KivClFilename((dir / "empty").c_str())).getFileSize(), 0u);
  EXPECT_EQ(KivClFile(KivClFilename((dir / "missing").c_str())).getFileSize(), 0u);
}

TEST(File, TimeQueriesReadTheFilesStatus) {
  kivtest::TempDir dir;
  const std::string path = dir / "f";
  fstest::writeFile(path, "x");
  const timespec times[2] = {{1100000000, 0}, {1300000000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  const KivClFile file{KivClFilename(path.c_str())};
  EXPECT_EQ(file.getDateTimeOfLastAccess(), 1100000000);
  EXPECT_EQ(file.getDateTimeOfLastModification(), 1300000000);
  EXPECT_EQ(file.getDateTimeOfCreation(), static_cast<std::int64_t>(status.st_ctime));
  EXPECT_EQ(KivClFile::getDateTimeOfLastAccess(path.c_str()), 1100000000);
  const KivClFile missing{KivClFilename((dir / "missing").c_str())};
  EXPECT_EQ(missing.getDateTimeOfCreation(), 0);
  EXPECT_EQ(missing.getDateTimeOfLastAccess(), 0);
  EXPECT_EQ(missing.getDateTimeOfLastModification(), 0);
}

TEST(File, SetReadOnlySetsTheModeAndLeavesTheErrorAlone) {
  kivtest::TempDir dir;
  const std::string path = dir / "f";
  fstest::writeFile(path, "x");
  KivClFile file{KivClFilename(path.c_str())};
  EXPECT_EQ(file.setReadOnly(true), 0);
  EXPECT_EQ(fstest::modeOf(path), 0440);
  EXPECT_EQ(file.setReadOnly(false), 0);
  EXPECT_EQ(fstest::modeOf(path), 0660);
  KivClFile missing{KivClFilename((dir / "missing").c_str())};
  EXPECT_FALSE(missing.remove());
  EXPECT_KIV_ERROR(missing, FILE_COULD_NOT_REMOVE, IO_NOT_EXISTENT);
  EXPECT_EQ(missing.setReadOnly(true), -1);
  EXPECT_KIV_ERROR(missing, FILE_COULD_NOT_REMOVE, IO_NOT_EXISTENT);
  EXPECT_EQ(file.setReadOnly(true), 0);
  EXPECT_KIV_NO_ERROR(file);
}

TEST(File, ReadOnlyWhenWritingIsNotAllowed) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "ro", "x");
  fstest::writeFile(dir / "rw", "x");
  fstest::prepareForChild(dir);
  const std::string ro = dir / "ro";
  const std::string rw = dir / "rw";
  const std::string missing = dir / "missing";
  const std::string result = fstest::runUnprivileged([&] {
    KivClFile readOnly{KivClFilename(ro.c_str())};
    KivClFile writable{KivClFilename(rw.c_str())};
    readOnly.setReadOnly(true);
    writable.setReadOnly(false);
    return std::to_string(readOnly.isReadOnly()) + std::to_string(writable.isReadOnly()) +
           std::to_string(KivClFile(KivClFilename(missing.c_str())).isReadOnly());
  });
  EXPECT_EQ(result, "101");
}

TEST(File, CopyKeepsTextAndError) {
  KivClFile failed{KivClFilename("/no/such/dir/f")};
  EXPECT_FALSE(failed.remove());
  const KivClFile copy(failed);
  EXPECT_STREQ(copy.getAsCString(), "/no/such/dir/f");
  EXPECT_KIV_ERROR(copy, FILE_COULD_NOT_REMOVE, IO_NOT_EXISTENT);
  KivClFile assigned{KivClFilename("x")};
  assigned = copy;
  EXPECT_STREQ(assigned.getAsCString(), "/no/such/dir/f");
  EXPECT_KIV_ERROR(assigned, FILE_COULD_NOT_REMOVE, IO_NOT_EXISTENT);
}

// ---------------------------------------------------------------------------
// Copying
// ---------------------------------------------------------------------------

TEST(FileCopy, CopiesTheWholeContentInChunks) {
  kivtest::TempDir dir;
  for (std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{1024}, std::size_t{2048},
                           std::size_t{5000}, std::size_t{100000}}) {
    SCOPED_TRACE(size);
    const std::string content = patterned(size);
    fstest::writeFile(dir / "source", content);
    KivClFile file{KivClFilename((dir / "source").c_str())};
    EXPECT_TRUE(file.copyTo(KivClFilename((dir / "target").c_str())));
    EXPECT_KIV_NO_ERROR(file);
    EXPECT_EQ(fstest::readFile(dir / "target"), content);
    EXPECT_EQ(fstest::readFile(dir / "source"), content);
  }
}

TEST(FileCopy, TruncatesAnExistingTarget) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "source", "short");
  fstest::writeFile(dir / "target", std::string(3000, 'L'));
  KivClFile file{KivClFilename((dir / "source").c_str())};
  EXPECT_TRUE(file.copyTo(KivClFilename((dir / "target").c_str())));
  EXPECT_EQ(fstest::readFile(dir / "target"), "short");
}

TEST(FileCopy, CopyOntoItselfFailsAndLeavesTheFileUntouched) {
  kivtest::TempDir dir;
  const std::string path = dir / "f";
  fstest::writeFile(path, "content");
  KivClFile file{KivClFilename(path.c_str())};
  EXPECT_FALSE(file.copyTo(KivClFilename(path.c_str())));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY_SELF, INCONSISTENT_SITUATION);
  EXPECT_EQ(fstest::readFile(path), "content");
  EXPECT_FALSE(file.copyTo(KivClLocation(dir.path().c_str())));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY_SELF, INCONSISTENT_SITUATION);
  EXPECT_EQ(fstest::readFile(path), "content");
}

TEST(FileCopy, CopyOntoTheSameFileUnderAnotherNameFails) {
  kivtest::TempDir dir;
  const std::string path = dir / "f";
  fstest::writeFile(path, "content");
  ASSERT_EQ(link(path.c_str(), (dir / "hardlink").c_str()), 0);
  KivClFile file{KivClFilename(path.c_str())};
  EXPECT_FALSE(file.copyTo(KivClFilename((dir / "./f").c_str())));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY_SELF, INCONSISTENT_SITUATION);
  EXPECT_FALSE(file.copyTo(KivClFilename((dir / "hardlink").c_str())));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY_SELF, INCONSISTENT_SITUATION);
  EXPECT_EQ(fstest::readFile(path), "content");
}

TEST(FileCopy, SelfCopyCheckIgnoresCaseOnlyInBackslashStyle) {
  KivClFile backslash{KivClFilename("C:\\DIR\\A.TXT")};
  EXPECT_FALSE(backslash.copyTo(KivClFilename("c:\\dir\\a.txt")));
  EXPECT_KIV_ERROR(backslash, FILE_COULD_NOT_COPY_SELF, INCONSISTENT_SITUATION);
  // In slash style the names differ, so the copy is tried (and the missing
  // source is reported).
  kivtest::TempDir dir;
  KivClFile slash{KivClFilename((dir / "A").c_str())};
  EXPECT_FALSE(slash.copyTo(KivClFilename((dir / "a").c_str())));
  EXPECT_KIV_ERROR(slash, FILE_COULD_NOT_COPY, IO_READ_PROBLEM);
}

TEST(FileCopy, MissingSourceReportsReadProblem) {
  kivtest::TempDir dir;
  KivClFile file{KivClFilename((dir / "missing").c_str())};
  EXPECT_FALSE(file.copyTo(KivClFilename((dir / "target").c_str())));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY, IO_READ_PROBLEM);
  EXPECT_FALSE(fstest::exists(dir / "target"));
  EXPECT_STREQ(file.getAsCString(), (dir / "missing").c_str());
}

TEST(FileCopy, MissingTargetDirectoryReportsWriteProblem) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "source", "x");
  KivClFile file{KivClFilename((dir / "source").c_str())};
  EXPECT_FALSE(file.copyTo(KivClFilename((dir / "nodir/target").c_str())));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY, IO_WRITE_PROBLEM);
  EXPECT_FALSE(file.copyTo(KivClLocation((dir / "nodir").c_str())));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY, IO_WRITE_PROBLEM);
}

TEST(FileCopy, ReadErrorReportsTheWriteClass) {
  // A directory opens for reading, but reading it fails.
  kivtest::TempDir dir;
  fstest::makeDir(dir / "adir");
  KivClFile file{KivClFilename((dir / "adir").c_str())};
  EXPECT_FALSE(file.copyTo(KivClFilename((dir / "target").c_str())));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY, IO_WRITE_PROBLEM);
  // The partly written target is left in place.
  EXPECT_TRUE(fstest::exists(dir / "target"));
}

TEST(FileCopy, FailedWriteReportsWriteProblem) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "source", patterned(3000));
  KivClFile file{KivClFilename((dir / "source").c_str())};
  EXPECT_FALSE(file.copyTo(KivClFilename("/dev/full")));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_COPY, IO_WRITE_PROBLEM);
}

TEST(FileCopy, NewTargetGetsModeLessUmaskUnlessTheModeIsKept) {
  kivtest::TempDir dir;
  fstest::UmaskGuard mask(022);
  fstest::writeFile(dir / "source", "x");
  chmod((dir / "source").c_str(), 0640);
  KivClFile file{KivClFilename((dir / "source").c_str())};
  EXPECT_TRUE(file.copyTo(KivClFilename((dir / "plain").c_str()), false));
  EXPECT_EQ(fstest::modeOf(dir / "plain"), 0755);
  EXPECT_TRUE(file.copyTo(KivClFilename((dir / "kept").c_str()), true));
  EXPECT_EQ(fstest::modeOf(dir / "kept"), 0640);
  // An existing target keeps its own mode unless the mode is kept.
  chmod((dir / "plain").c_str(), 0600);
  EXPECT_TRUE(file.copyTo(KivClFilename((dir / "plain").c_str()), false));
  EXPECT_EQ(fstest::modeOf(dir / "plain"), 0600);
  EXPECT_TRUE(file.copyTo(KivClFilename((dir / "plain").c_str()), true));
  EXPECT_EQ(fstest::modeOf(dir / "plain"), 0640);
}

TEST(FileCopy, CopyToALocationKeepsTheNamePart) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "dest");
  fstest::writeFile(dir / "report.txt", "data");
  KivClFile file{KivClFilename((dir / "report.txt").c_str())};
  EXPECT_TRUE(file.copyTo(KivClLocation((dir / "dest").c_str())));
  EXPECT_KIV_NO_ERROR(file);
  EXPECT_EQ(fstest::readFile(dir / "dest/report.txt"), "data");
}

TEST(FileCopy, UnreadableSourceAndUnwritableTargetFail) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "secret", "s");
  fstest::writeFile(dir / "source", "x");
  fstest::makeDir(dir / "closed");
  fstest::prepareForChild(dir);
  chmod((dir / "secret").c_str(), 0200);
  chmod((dir / "closed").c_str(), 0555);
  const std::string secret = dir / "secret";
  const std::string source = dir / "source";
  const std::string closed = dir / "closed";
  const std::string result = fstest::runUnprivileged([&] {
    KivClFile unreadable{KivClFilename(secret.c_str())};
    unreadable.copyTo(KivClFilename((secret + ".copy").c_str()));
    KivClFile readable{KivClFilename(source.c_str())};
    readable.copyTo(KivClLocation(closed.c_str()));
    return fstest::describe(unreadable.getLastError()) + " " +
           fstest::describe(readable.getLastError());
  });
  EXPECT_EQ(result,
            "{FILE_COULD_NOT_COPY, IO_READ_PROBLEM} {FILE_COULD_NOT_COPY, IO_WRITE_PROBLEM}");
  EXPECT_FALSE(fstest::exists(dir / "closed/source"));
}

// ---------------------------------------------------------------------------
// Removing and renaming
// ---------------------------------------------------------------------------

TEST(FileRemove, RemovesAReadOnlyFile) {
  kivtest::TempDir dir;
  const std::string path = dir / "ro";
  fstest::writeFile(path, "x");
  chmod(path.c_str(), 0444);
  KivClFile file{KivClFilename(path.c_str())};
  EXPECT_TRUE(file.remove());
  EXPECT_KIV_NO_ERROR(file);
  EXPECT_FALSE(fstest::exists(path));
}

TEST(FileRemove, MakesTheFileWritableFirst) {
  // The mode belongs to the file, so a second name of it shows the change.
  kivtest::TempDir dir;
  const std::string path = dir / "f";
  fstest::writeFile(path, "x");
  ASSERT_EQ(link(path.c_str(), (dir / "other").c_str()), 0);
  chmod(path.c_str(), 0444);
  KivClFile file{KivClFilename(path.c_str())};
  EXPECT_TRUE(file.remove());
  EXPECT_EQ(fstest::modeOf(dir / "other"), 0660);
}

TEST(FileRemove, MissingFileReportsNotExistent) {
  kivtest::TempDir dir;
  KivClFile file{KivClFilename((dir / "missing").c_str())};
  EXPECT_FALSE(file.remove());
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_REMOVE, IO_NOT_EXISTENT);
}

TEST(FileRemove, DirectoryCannotBeRemovedAsAFile) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "d");
  KivClFile file{KivClFilename((dir / "d").c_str())};
  EXPECT_FALSE(file.remove());
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_REMOVE, IO_PERMISSION_DENIED);
  EXPECT_TRUE(fs::is_directory(dir / "d"));
}

TEST(FileRemove, FileInAnUnwritableDirectoryReportsPermissionDenied) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "closed");
  fstest::writeFile(dir / "closed/f", "x");
  fstest::prepareForChild(dir);
  chmod((dir / "closed").c_str(), 0555);
  const std::string path = dir / "closed/f";
  const std::string result = fstest::runUnprivileged([&] {
    KivClFile file{KivClFilename(path.c_str())};
    const bool removed = static_cast<KivClFileABase&>(file).remove();
    return std::to_string(removed) + " " + fstest::describe(file.getLastError());
  });
  EXPECT_EQ(result, "0 {FILE_COULD_NOT_REMOVE, IO_PERMISSION_DENIED}");
  EXPECT_TRUE(fstest::exists(path));
}

TEST(FileRename, RenamesAndTakesTheNewName) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "old.txt", "x");
  KivClFile file{KivClFilename((dir / "old.txt").c_str())};
  EXPECT_TRUE(file.renameAs(KivClFilename((dir / "new.dat").c_str())));
  EXPECT_KIV_NO_ERROR(file);
  EXPECT_EQ(std::string(file.getAsCString()), dir / "new.dat");
  EXPECT_STREQ(file.getFileType(), "dat");
  EXPECT_FALSE(fstest::exists(dir / "old.txt"));
  EXPECT_EQ(fstest::readFile(dir / "new.dat"), "x");
}

TEST(FileRename, ReplacesAnExistingFileWhenTheSystemAllows) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "a", "A");
  fstest::writeFile(dir / "b", "B");
  KivClFile file{KivClFilename((dir / "a").c_str())};
  EXPECT_TRUE(file.renameAs(KivClFilename((dir / "b").c_str())));
  EXPECT_EQ(fstest::readFile(dir / "b"), "A");
}

TEST(FileRename, RefusedExistingTargetReportsAlreadyInUse) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "a", "A");
  fstest::makeDir(dir / "full");
  fstest::writeFile(dir / "full/x", "x");
  KivClFile file{KivClFilename((dir / "a").c_str())};
  EXPECT_FALSE(file.renameAs(KivClFilename((dir / "full").c_str())));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_RENAME, IO_ALREADY_IN_USE);
  EXPECT_EQ(std::string(file.getAsCString()), dir / "a");
  EXPECT_EQ(fstest::readFile(dir / "a"), "A");
}

TEST(FileRename, MissingSourceReportsPermissionDenied) {
  kivtest::TempDir dir;
  KivClFile file{KivClFilename((dir / "missing").c_str())};
  EXPECT_FALSE(file.renameAs(KivClFilename((dir / "new").c_str())));
  EXPECT_KIV_ERROR(file, FILE_COULD_NOT_RENAME, IO_PERMISSION_DENIED);
  EXPECT_EQ(std::string(file.getAsCString()), dir / "missing");
}

TEST(FileRename, UnwritableDirectoryReportsPermissionDenied) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "closed");
  fstest::writeFile(dir / "closed/f", "x");
  fstest::prepareForChild(dir);
  chmod((dir / "closed").c_str(), 0555);
  const std::string from = dir / "closed/f";
  const std::string to = dir / "closed/g";
  const std::string result = fstest::runUnprivileged([&] {
    KivClFile file{KivClFilename(from.c_str())};
    const bool renamed = file.renameAs(KivClFilename(to.c_str()));
    return std::to_string(renamed) + " " + fstest::describe(file.getLastError()) + " " +
           file.getAsCString();
  });
  EXPECT_EQ(result, "0 {FILE_COULD_NOT_RENAME, IO_PERMISSION_DENIED} " + from);
  EXPECT_TRUE(fstest::exists(from));
}

// ---------------------------------------------------------------------------
// The search along a list variable
// ---------------------------------------------------------------------------

constexpr const char* kListVariable = "KIV_TEST_FILE_PATH";

TEST(FileSearch, FindsTheFileInTheFirstEntryThatHasIt) {
  kivtest::TempDir dir;
  kivtest::EnvGuard variable(kListVariable);
  for (const char* d : {"one", "two", "three"}) fstest::makeDir(dir / d);
  fstest::writeFile(dir / "two/tool.sh", "x");
  fstest::writeFile(dir / "three/tool.sh", "x");
  variable.set(dir / "one" + ":" + dir / "two" + ":" + dir / "three");
  const KivClFile searcher{KivClFilename("unrelated")};
  KivClFilename name("tool.sh");
  EXPECT_TRUE(searcher.determineFileInEnvVarPath(name, kListVariable));
  EXPECT_EQ(std::string(name.getAsCString()), dir / "two/tool.sh");
  EXPECT_STREQ(name.getExtension(), ".sh");
  EXPECT_KIV_NO_ERROR(searcher);
}

TEST(FileSearch, EmptyEntriesAreSkipped) {
  // A bare name exists in the current directory: an empty entry, if it were
  // used, would find it there first.
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  kivtest::EnvGuard variable(kListVariable);
  fstest::makeDir(dir / "a");
  fstest::makeDir(dir / "b");
  fstest::writeFile(dir / "tool", "here");
  fstest::writeFile(dir / "b/tool", "in b");
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  variable.set(":" + dir / "a" + "::" + dir / "b" + ":");
  const KivClFile searcher{KivClFilename("x")};
  KivClFilename name("tool");
  EXPECT_TRUE(searcher.determineFileInEnvVarPath(name, kListVariable));
  EXPECT_EQ(std::string(name.getAsCString()), dir / "b/tool");
}

TEST(FileSearch, NotFoundLeavesTheLastEntryAsDirectory) {
  kivtest::TempDir dir;
  kivtest::EnvGuard variable(kListVariable);
  variable.set(dir / "a" + ":" + dir / "c" + ":");
  const KivClFile searcher{KivClFilename("x")};
  KivClFilename name("/somewhere/tool.sh");
  EXPECT_FALSE(searcher.determineFileInEnvVarPath(name, kListVariable));
  EXPECT_EQ(std::string(name.getAsCString()), dir / "c/tool.sh");
}

TEST(FileSearch, UnsetOrEmptyVariableLeavesTheNameAlone) {
  kivtest::EnvGuard variable(kListVariable);
  const KivClFile searcher{KivClFilename("x")};
  KivClFilename name("/somewhere/tool");
  variable.unset();
  EXPECT_FALSE(searcher.determineFileInEnvVarPath(name, kListVariable));
  EXPECT_STREQ(name.getAsCString(), "/somewhere/tool");
  variable.set(":::");
  EXPECT_FALSE(searcher.determineFileInEnvVarPath(name, kListVariable));
  EXPECT_STREQ(name.getAsCString(), "/somewhere/tool");
  EXPECT_FALSE(searcher.determineFileInEnvVarPath(name, nullptr));
}

TEST(FileSearch, FindsAlongPath) {
  kivtest::TempDir dir;
  kivtest::EnvGuard path("PATH");
  fstest::makeDir(dir / "bin");
  fstest::writeFile(dir / "bin/kivtool", "#!/bin/sh\n");
  path.set("/nonexistent-kiv-dir:" + dir / "bin");
  const KivClFile searcher{KivClFilename("x")};
  KivClFilename name("kivtool");
  EXPECT_TRUE(searcher.determineFileInEnvVarPath(name, "PATH"));
  EXPECT_EQ(std::string(name.getAsCString()), dir / "bin/kivtool");
}

// ---------------------------------------------------------------------------
// Stream modes
// ---------------------------------------------------------------------------

TEST(FileStreamMode, EveryStreamIsInBothModes) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "f", "x");
  std::ifstream in(dir / "f");
  std::ofstream out(dir / "g", std::ios::binary);
  std::istringstream memoryIn("abc");
  std::ostringstream memoryOut;
  EXPECT_TRUE(kivFileIsOpenedInBinaryMode(in));
  EXPECT_TRUE(kivFileIsOpenedInTextMode(in));
  EXPECT_TRUE(kivFileIsOpenedInBinaryMode(out));
  EXPECT_TRUE(kivFileIsOpenedInTextMode(out));
  EXPECT_TRUE(kivFileIsOpenedInBinaryMode(memoryIn));
  EXPECT_TRUE(kivFileIsOpenedInTextMode(memoryOut));
  EXPECT_TRUE(kivFileIsOpenedInBinaryMode());
  EXPECT_TRUE(kivFileIsOpenedInTextMode());
}

}  // namespace
