// A program for the launcher tests: it records what it received and ends
// with the exit code it is told to.
//
// Environment:
//   KIV_TEST_CHILD_OUTPUT  file to write the record to. The record is
//                          "SIGCHLD=IGN\n" or "SIGCHLD=DFL\n" (the
//                          disposition the program started with), then every
//                          argument, argv[0] included, each followed by a
//                          NUL. It is written to "<file>.part" and renamed,
//                          so a reader never sees half a record.
//   KIV_TEST_CHILD_EXIT    the exit code (default 0)

#include <signal.h>
#include <stdio.h>

#include <cstdlib>
#include <cstring>
#include <string>

int main(int argc, char** argv) {
  if (const char* output = std::getenv("KIV_TEST_CHILD_OUTPUT")) {
    struct sigaction current {};
    sigaction(SIGCHLD, nullptr, &current);
    const std::string part = std::string(output) + ".part";
    FILE* file = std::fopen(part.c_str(), "wb");
    if (file == nullptr) return 100;
    std::fputs(current.sa_handler == SIG_IGN ? "SIGCHLD=IGN\n" : "SIGCHLD=DFL\n", file);
    for (int i = 0; i < argc; ++i) std::fwrite(argv[i], 1, std::strlen(argv[i]) + 1, file);
    if (std::fclose(file) != 0 || std::rename(part.c_str(), output) != 0) return 101;
  }
  const char* code = std::getenv("KIV_TEST_CHILD_EXIT");
  return code != nullptr ? std::atoi(code) : 0;
}
