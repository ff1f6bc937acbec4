// Fuzz target of usage strings and argument vectors.
//
// Input: texts separated by NUL bytes: the usage string, then up to 16
// arguments (the program name is added in front). The usage cursor walks
// the usage string element by element; every step must move forward and
// stay inside the string, and every query must answer without reading past
// its terminator (each text is an exact-size heap copy). The argument
// cursors then answer their questions for every argument, and the answers
// must agree with each other:
//   - an argument is free exactly when it is neither a switch nor bound;
//   - a bound argument follows a switch that requires a value, and a bound
//     argument is always legal;
//   - the free cursor visits exactly the free arguments, in order forwards
//     and in reverse order backwards;
//   - positionTo(name) stops on the first argument that matches the name.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kiv_argv.hpp"
#include "kiv_fuzz_support.hpp"
#include "kiv_usage.hpp"

namespace {

constexpr std::size_t gs_maxArguments = 16;

bool isAsciiLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

void walkUsage(const char* usage, const std::vector<const char*>& arguments) {
  const std::size_t length = std::strlen(usage);
  KivClUsageCursor cursor(usage);
  const char* previous = nullptr;
  // A walk stop ("/" or "-" and a digit) is a place the cursor cannot move
  // past; callers end their walks there.
  for (bool ok = cursor.setToFirst(); ok && !cursor.isWalkStop(); ok = cursor.setToNext()) {
    const char* at = cursor.getCurrent();
    KIV_FUZZ_CHECK(at >= usage && at < usage + length);
    KIV_FUZZ_CHECK(previous == nullptr || at > previous);
    KIV_FUZZ_CHECK(cursor.isValid());
    previous = at;

    cursor.isSwitch();
    cursor.isArgEllipsis();
    cursor.isValueElement();
    cursor.isWordElement();
    const bool required = cursor.reqArg();
    const bool repeatable = cursor.reqArgEllipsis();
    KIV_FUZZ_CHECK(!required || cursor.getGroupDepth() != 0);
    KIV_FUZZ_CHECK(!repeatable || cursor.getGroupDepth() != 0);
    for (const char* argument : arguments) {
      cursor.matchesSwitch(argument);
      cursor.matches(argument);
    }
    // A switch always matches its own name.
    if (cursor.isSwitch()) {
      std::string name;
      for (const char* p = at + 1; isAsciiLetterOrDigit(*p); ++p) name += *p;
      const char next = at[1 + name.size()];
      if (next == '\0' || std::strchr("[]<>(){}-| ", next) != nullptr) {
        KIV_FUZZ_CHECK(cursor.matchesSwitch(name.c_str()));
        KIV_FUZZ_CHECK(cursor.matchesSwitch(("-" + name).c_str()));
      }
    }
  }
  KIV_FUZZ_CHECK(cursor.getCurrent() >= usage && cursor.getCurrent() <= usage + length);
}

void checkArguments(const char* usage, std::vector<const char*>& argv) {
  const int count = static_cast<int>(argv.size());
  std::vector<bool> free(argv.size(), false);

  KivClArgvCheckCursor check(count, argv.data(), usage);
  KIV_FUZZ_CHECK(check.setToFirst() == (count > 1));
  for (bool ok = check.isValid(); ok; ok = check.setToNext()) {
    const int index = check.getIndex();
    KIV_FUZZ_CHECK(check.getAsCString() == argv[index]);
    const bool isSwitch = check.isSwitch();
    const bool bound = check.isBound();
    free[index] = check.isFree();
    KIV_FUZZ_CHECK(free[index] == (!isSwitch && !bound));
    if (check.hasArg()) KIV_FUZZ_CHECK(isSwitch && index + 1 < count);
    const bool legal = check.isLegal();
    if (bound) {
      KIV_FUZZ_CHECK(legal);
      KivClArgvCheckCursor before(check);
      KIV_FUZZ_CHECK(before.setToPrevious());
      KIV_FUZZ_CHECK(before.isSwitch() && before.reqArg());
    }
    if (check.reqArg()) KIV_FUZZ_CHECK(isSwitch);
    check.isTagged();
    for (const char* name : argv) check.matches(name);
  }
  KIV_FUZZ_CHECK(!check.isValid());
  check.setToLast();
  while (check.isValid()) check.setToPrevious();

  // The free cursor visits exactly the free arguments.
  std::vector<int> forwards;
  KivClArgvFreeCursor freeCursor(count, argv.data(), usage);
  for (bool ok = freeCursor.setToFirst(); ok; ok = freeCursor.setToNext()) {
    forwards.push_back(freeCursor.getIndex());
    KIV_FUZZ_CHECK(forwards.size() <= argv.size());
  }
  std::vector<int> expected;
  for (int i = 1; i < count; ++i) {
    if (free[i]) expected.push_back(i);
  }
  KIV_FUZZ_CHECK(forwards == expected);
  std::vector<int> backwards;
  for (bool ok = freeCursor.setToLast(); ok; ok = freeCursor.setToPrevious()) {
    backwards.insert(backwards.begin(), freeCursor.getIndex());
    KIV_FUZZ_CHECK(backwards.size() <= argv.size());
  }
  KIV_FUZZ_CHECK(backwards == expected);

  // positionTo stops on the first match.
  KivClArgvCursor plain(count, argv.data());
  for (int i = 1; i < count; ++i) {
    const bool found = plain.positionTo(argv[i]);
    int first = 0;
    KivClArgvCursor probe(count, argv.data());
    for (bool ok = probe.setToFirst(); ok; ok = probe.setToNext()) {
      if (probe.matches(argv[i])) {
        first = probe.getIndex();
        break;
      }
    }
    KIV_FUZZ_CHECK(found == (first != 0));
    KIV_FUZZ_CHECK(!found || plain.getIndex() == first);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> fields = kivfuzz::splitFields(data, size, gs_maxArguments + 1);
  std::vector<std::unique_ptr<char[]>> texts;
  for (const std::string& field : fields) texts.push_back(kivfuzz::exactCopy(field));
  const char* usage = texts[0].get();

  std::vector<const char*> argv{"prog"};
  for (std::size_t i = 1; i < texts.size(); ++i) argv.push_back(texts[i].get());
  const std::vector<const char*> arguments(argv.begin() + 1, argv.end());

  walkUsage(usage, arguments);
  checkArguments(usage, argv);
  return 0;
}
