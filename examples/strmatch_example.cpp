// Search and matching: three pattern objects with one interface. Each is
// built once from a pattern and then asked, text after text, where the
// pattern occurs: getPattern() returns a pointer into the text, or null.
//   KivClStringSearch          a fixed substring (fast skip-table search)
//   KivClStringMatchWildcards  a whole text against "*" and "?"
//   KivClGrep                  a POSIX extended regular expression
// The objects keep a pointer to the pattern text: it must outlive them.
#include <kiv_strmatch.hpp>

#include <cstdio>
#include <initializer_list>

namespace {

// Prints where `found` lies in `text`, or that nothing was found.
void show(const char* what, const char* text, const char* found) {
  if (found == nullptr) {
    std::printf("%-34s not found\n", what);
  } else {
    std::printf("%-34s at offset %d\n", what, static_cast<int>(found - text));
  }
}

}  // namespace

int main() {
  const char* text = "Error 404 at /index.html; error 500 at /Login.html";
  std::printf("text: \"%s\"\n", text);

  // A substring search; the second argument is true to ignore case.
  KivClStringSearch exact("error", false);
  KivClStringSearch folded("error", true);
  show("\"error\", case-sensitive:", text, exact.getPattern(text));
  show("\"error\", case ignored:", text, folded.getPattern(text));
  // Every occurrence: search on from just behind the last one.
  for (const char* p = folded.getPattern(text); p != nullptr; p = folded.getPattern(p + 1)) {
    show("  one of them", text, p);
  }
  // Only the first `length` bytes: "Login" lies beyond the first 30.
  KivClStringSearch login("Login", false);
  show("\"Login\" in the first 30 bytes:", text, login.getPattern(text, 30));
  show("\"Login\" in the whole text:", text, login.getPattern(text));

  // Wildcards match the whole text. Careful: for this class true means
  // case-SENSITIVE, the opposite of the other two classes.
  KivClStringMatchWildcards iniExact("*.ini", true);
  KivClStringMatchWildcards iniAnyCase("setup.?ni", false);
  for (const char* name : {"setup.ini", "SETUP.INI", "setup.ini.bak"}) {
    std::printf("%-14s \"*.ini\" exact: %-3s  \"setup.?ni\" any case: %s\n", name,
                iniExact.getPattern(name) ? "yes" : "no",
                iniAnyCase.getPattern(name) ? "yes" : "no");
  }

  // A regular expression; getPattern() gives where the match begins.
  KivClGrep status("[45][0-9]{2}", false);
  show("/[45][0-9]{2}/:", text, status.getPattern(text));
  // An expression that does not compile matches nothing; the object tells
  // regcomp's result code (0 when it compiled).
  KivClGrep broken("(unclosed", false);
  std::printf("\"(unclosed\" compiles: %s\n", broken.getCompileResult() == 0 ? "yes" : "no");

  // The common base lets a program choose the kind of pattern at run time.
  // Each line lists the patterns that match it (an ignore-case search works
  // on an upper-cased copy of its pattern, which getPatternText() shows).
  const KivClStringMatchABase* patterns[] = {&folded, &iniAnyCase, &status};
  for (const char* line : {"ERROR 500", "setup.INI", "took 432 ms", "all fine"}) {
    std::printf("%-12s matched by:", line);
    for (const KivClStringMatchABase* pattern : patterns) {
      if (pattern->getPattern(line) != nullptr) std::printf(" %s", pattern->getPatternText());
    }
    std::printf("\n");
  }
  return 0;
}
