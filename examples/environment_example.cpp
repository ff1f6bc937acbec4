// Environment variables: set, read, extend, test as a switch, expand and
// unset, through the library's variable objects.
//
// A KivClEnvironmentVariable hands its own buffer to putenv: the process
// environment points into the object while it lives. When it is destroyed,
// it hands the value over to the environment's own storage, so the variable
// keeps its value.

#include <kiv_directory.hpp>
#include <kiv_envvar.hpp>
#include <kiv_inifile.hpp>

#include <cstdio>
#include <string>

namespace {

// The value of a variable, or "(unset)".
const char* show(const KivClEnvironmentVariableABase& variable) {
  return variable.hasValue() ? variable.getValue() : "(unset)";
}

}  // namespace

int main() {
  // Setting: the constructor sets the variable (a null value unsets it).
  KivClEnvironmentVariable root("KIV_EXAMPLE_ROOT", "/opt/example");
  std::printf("%s=%s\n", root.getName(), show(root));

  // appendValue adds text with no separator: lists bring their own ":".
  KivClEnvironmentVariable path("KIV_EXAMPLE_PATH", "/opt/example/bin");
  path.appendValue(":/usr/local/bin");
  std::printf("%s=%s\n", path.getName(), show(path));

  // A query-only object reads whatever the environment holds now, whoever
  // set it; it can be pointed at another variable.
  KivClEnvironmentVariableQueryOnly reader("KIV_EXAMPLE_ROOT");
  std::printf("read back through another object: %s\n", show(reader));
  reader.setNewName("KIV_EXAMPLE_NOT_SET");
  std::printf("%s: %s\n", reader.getName(), show(reader));

  // Switches: "ON", "YES", "TRUE" and "1" in any case are enabled, anything
  // else (also "2" and the empty text) is not.
  for (const char* value : {"Yes", "true", "1", "2", "off", ""}) {
    KivClEnvironmentVariable verbose("KIV_EXAMPLE_VERBOSE", value);
    std::printf("KIV_EXAMPLE_VERBOSE=\"%s\" enabled: %s\n", value,
                verbose.hasValueEnabled() ? "yes" : "no");
  }

  // Expansion: values of INI files replace $(NAME) by the variable's value
  // as they are read, and directories starting with "~/" use HOME.
  KivClIniFileOption option("data = $(KIV_EXAMPLE_ROOT)/data");
  std::printf("\"data = $(KIV_EXAMPLE_ROOT)/data\" reads %s\n", option.getValue());
  reader.setNewName("HOME");  // keep the caller's HOME to put it back
  const bool hadHome = reader.hasValue();
  const std::string savedHome = show(reader);  // a copy: the text may change
  KivClEnvironmentVariable home("HOME", "/home/example");
  std::printf("\"~/projects\" with HOME=%s is %s\n", show(home),
              KivClDirectory("~/projects").getAsCString());
  if (hadHome) {
    home.setNewValue(savedHome.c_str());
  } else {
    home.resetValue();
  }

  // Unsetting: resetValue removes the variable; getValue() is then null.
  root.resetValue();
  std::printf("after resetValue: %s %s\n", root.getName(), show(root));

  // Names longer than 40 characters are refused rather than cut.
  KivClEnvironmentVariable tooLong("KIV_EXAMPLE_A_NAME_THAT_IS_FAR_TOO_LONG_TO_USE", "x");
  std::printf("a 46-character name is kept as \"%s\"; setting it: %s\n", tooLong.getName(),
              tooLong.setNewValue("y") ? "done" : "refused");
  return 0;
}
