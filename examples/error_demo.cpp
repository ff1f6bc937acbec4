// Errors: the library's error vocabulary at work. An object that fails
// returns false (or null, or a count) and keeps an error record, which the
// caller reads; the mapping functions turn each part of a record into a
// message id, whose text names it; and the few failures that cannot be
// returned arrive as exceptions carrying the full record and the throw site.
#include <kiv_error.hpp>
#include <kiv_exception.hpp>
#include <kiv_msgtable.hpp>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

// A class written in the library's style: it keeps its last error and
// clears it on success. Library objects offer the same getLastError().
class Door {
 public:
  bool open(bool locked) {
    if (locked) {
      m_error = {KIV_FILE_COULD_NOT_REMOVE, KivEnErrorClass::IO_PERMISSION_DENIED};
      return false;
    }
    m_error = {};  // both fields 0: no error
    return true;
  }
  const _KivStError& getLastError() const { return m_error; }

 private:
  _KivStError m_error{};
};

// A message id's text in the library's built-in message table; for the
// parts of an error record that text is the part's name.
const char* text(std::uint32_t messageId) { return kivMsgTabGetBuiltInTable()[messageId]; }

void show(const _KivStError& e) {
  const std::uint32_t id = kivErrorGetIdAsMessageId(e.id);
  const std::uint32_t errorClass = kivErrorGetClassAsMessageId(e.errorClass);
  std::printf("  error id %-8ld -> message id %u, %s\n", e.id, id, text(id));
  std::printf("  class    %-8d -> message id %u, %s\n", static_cast<int>(e.errorClass), errorClass,
              text(errorClass));
}

}  // namespace

int main() {
  Door door;
  std::printf("Opening a locked door fails:\n");
  if (!door.open(true)) show(door.getLastError());
  std::printf("Opening it unlocked succeeds and clears the record:\n");
  if (door.open(false)) show(door.getLastError());

  // Severities and actions have message ids of their own as well.
  const std::uint32_t fatal = kivErrorGetSeverityAsMessageId(KivEnErrorSeverity::FATAL);
  const std::uint32_t retry = kivErrorGetActionAsMessageId(KivEnErrorAction::RETRYDELAY);
  std::printf("Severity FATAL has message id %u (%s), action RETRYDELAY %u (%s)\n", fatal,
              text(fatal), retry, text(retry));

  // Exhausted memory is one of the failures that are thrown. KIV_THROW
  // records the throw site; catch by reference, as the base class.
  // (Keep KIV_THROW on one line: compilers disagree on the __LINE__ of a
  // macro call that spans several.)
  const _KivStUserError outOfMemory{KIV_MEMMGR_RUNTIME_OUT_OF_MEMORY,
                                    KivEnErrorClass::OUT_OF_MEMORY, KivEnErrorSeverity::FATAL,
                                    KivEnErrorAction::TERMINATE};
  try {
    KIV_THROW(KivClExceptionFatal, outOfMemory);
  } catch (const KivClException& e) {
    const _KivStUserError& u = e.getError();
    // getModule() is the source file as the compiler saw it; show its name.
    const char* slash = std::strrchr(e.getModule(), '/');
    std::printf("Caught %s exception thrown at %s (line %u):\n",
                dynamic_cast<const KivClExceptionFatal*>(&e) ? "a fatal" : "an",
                slash ? slash + 1 : e.getModule(), e.getLine());
    std::printf("  id %ld %s, class %s, severity %s, action %s, cause \"%s\"\n", u.id,
                text(kivErrorGetIdAsMessageId(u.id)),
                text(kivErrorGetClassAsMessageId(u.errorClass)),
                text(kivErrorGetSeverityAsMessageId(u.severity)),
                text(kivErrorGetActionAsMessageId(u.action)), e.getCause());
  }
  return 0;
}
