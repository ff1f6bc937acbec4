// INI files: read typed values, change one, save the file and read it again.
//
// Loading builds a model of sections and options in memory; getSection()
// selects the section that the getters then read. Values are "cooked" once,
// while they are read: quotes, escapes and $(NAME) are resolved. Saving
// writes the model in the library's own layout (comment lines are not part
// of the model and are not written).

#include <kiv_directory.hpp>
#include <kiv_filename.hpp>
#include <kiv_inifile.hpp>
#include <kiv_inisave.hpp>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

namespace {

// Reads, changes and saves the file `name`; returns the exit status.
int edit(const KivClFilename& name) {
  if (!(std::ofstream(name.getAsCString()) << "; Settings of the report server.\n"
                                              "[server]\n"
                                              "host = reports.example.org\n"
                                              "port = 8080          ; plain HTTP\n"
                                              "banner = \"Welcome; please sign in\"\n"
                                              "\n"
                                              "[features]\n"
                                              "compression = yes\n"
                                              "audit = off\n")) {
    return 1;
  }

  // A KivClIniFileSave reads like a KivClIniFile and can also write.
  KivClIniFileSave ini(name);
  if (!ini.load(false)) return 1;  // false: no continuation lines
  const char* host = nullptr;
  const char* banner = nullptr;
  const char* comment = nullptr;
  long port = 0;
  bool compression = false;
  bool audit = true;
  // Each getter returns false, leaving its output alone, when the option is
  // missing; names of sections and options ignore case.
  if (!ini.getSection("Server") || !ini.getOption("host", host) ||
      !ini.getOption("port", port, comment) || !ini.getOption("banner", banner)) {
    return 1;
  }
  std::printf("host %s, port %ld (comment \"%s\"), banner \"%s\"\n", host, port, comment, banner);
  // Booleans: "ON", "TRUE", "YES", "1" and "OK" in any case are true.
  if (!ini.getSection("features") || !ini.getOptionBool("compression", compression) ||
      !ini.getOptionBool("audit", audit)) {
    return 1;
  }
  std::printf("compression %s, audit %s\n", compression ? "on" : "off", audit ? "on" : "off");

  // setNewValue writes over the old value in place: a longer value would
  // run into the comment stored behind it, so keep the length or drop the
  // comment. saveReplacing() writes a new file and renames it over the old
  // one, so the file is never left half-written.
  if (!ini.setNewValue("server", "port", "9443") || !ini.saveReplacing()) return 1;

  KivClIniFile again(name);
  if (!again.load(false) || !again.getSection("server") || !again.getOption("port", port)) {
    return 1;
  }
  std::printf("port after saving: %ld\nthe saved file:\n", port);
  std::cout << std::ifstream(name.getAsCString()).rdbuf() << std::flush;
  return 0;
}

}  // namespace

int main() {
  const char* tmp = std::getenv("TMPDIR");
  std::string dir = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/kivXXXXXX";
  if (mkdtemp(dir.data()) == nullptr) return 1;
  const int status = edit(KivClFilename(dir.c_str(), "server", "ini"));  // <dir>/server.ini
  KivClDirectory(dir.c_str()).removeAll(true);
  return status;
}
