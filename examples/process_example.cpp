// Processes and dynamic libraries: a program run and waited for, one started
// in the background, and a function of a shared library loaded at run time.

#include <kiv_directory.hpp>
#include <kiv_dll.hpp>
#include <kiv_exefile.hpp>
#include <kiv_filename.hpp>
#include <kiv_process.hpp>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

int main() {
  // A name without directory is completed along PATH when the executable is
  // made; the launchers run the completed name and search no further.
  KivClExeFile shell(KivClFilename("sh"));
  std::printf("%s found along PATH: %s\n", shell.getFilename().getName(),
              shell.isFoundInSystemPath() ? "yes" : "no");

  // A synchronous launch waits for the program and keeps its exit code.
  // Build a fresh launcher for every run.
  KivClNewSyncProcess exitThree(shell);
  exitThree.addArgument("-c");
  exitThree.addArgument("exit 3");
  if (!exitThree.launch()) return 1;
  std::printf("sh -c 'exit 3' ended with exit code %lld\n",
              static_cast<long long>(exitThree.getExitCode()));

  // The library flushes stdout before it starts a program, so the child's
  // output comes after ours.
  KivClExeFile echo(KivClFilename("echo"));
  KivClNewSyncProcess greet(echo);
  greet.addArgument("Hello from a child process");
  if (!greet.launch()) return 1;

  // A program that cannot be run: the launch fails with an error record.
  KivClExeFile missing(KivClFilename("no-such-program-here"));
  KivClNewSyncProcess noRun(missing);
  const bool launched = noRun.launch();
  std::printf("no-such-program-here launched: %s, error is PROCESS_COULD_NOT_LAUNCH: %s\n",
              launched ? "yes" : "no",
              noRun.getLastError().id == KIV_PROCESS_COULD_NOT_LAUNCH ? "yes" : "no");

  // An asynchronous launch returns at once with the child's id. From then on
  // the process ignores SIGCHLD, so the system reaps the child; waitpid then
  // blocks until it has ended and reports ECHILD. (Synchronous launches after
  // this point no longer see exit codes: do those first.)
  const char* tmp = std::getenv("TMPDIR");
  std::string dir = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/kivXXXXXX";
  if (mkdtemp(dir.data()) == nullptr) return 1;
  const std::string file = dir + "/background.txt";
  KivClNewAsyncProcess writer(shell);
  writer.addArgument("-c");
  writer.addArgument("echo written in the background > \"$0\"");
  writer.addArgument(file.c_str());
  std::string line;
  if (writer.launch()) {
    waitpid(writer.getProcessId(), nullptr, 0);
    std::getline(std::ifstream(file), line);
  }
  KivClDirectory(dir.c_str()).removeAll(true);
  if (line.empty()) return 1;
  std::printf("the background program wrote \"%s\"\n", line.c_str());

  // A shared library stays loaded while its object lives. "libm.so.6" has an
  // extension, so no ".so" is added; not found along LD_LIBRARY_PATH, the
  // name goes to the system's loader as it is.
  KivClDllProcLoaderFile libm(KivClFilename("libm.so.6"));
  if (libm.getHandle() == nullptr) return 1;
  using MathFunction = double (*)(double);
  const auto cosine = reinterpret_cast<MathFunction>(libm.getProcedure("cos"));
  if (cosine == nullptr) return 1;
  std::printf("cos(0) from libm.so.6 = %.1f\n", cosine(0.0));
  std::printf("a symbol libm lacks: %s\n",
              libm.getProcedure("no_such_function") == nullptr ? "null" : "found");

  // The flat interface does the same with an opaque handle.
  void* handle = kivDllProcLoaderOpen("libm.so.6");
  const auto root = reinterpret_cast<MathFunction>(kivDllProcLoaderGetProcedure(handle, "sqrt"));
  const double squareRoot = root != nullptr ? root(2.25) : -1.0;
  kivDllProcLoaderClose(handle);  // a null handle is ignored
  std::printf("sqrt(2.25) through the flat interface = %.2f\n", squareRoot);
  std::printf("a library that does not exist: %s\n",
              kivDllProcLoaderOpen("libkiv-no-such-library") == nullptr ? "null" : "loaded");
  return 0;
}
