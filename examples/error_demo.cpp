// The error vocabulary at work: an object that fails keeps an error record,
// the mapping functions name its parts by message id, and a fatal failure
// arrives as an exception that carries the full record and its throw site.

#include <kiv.hpp>

#include <cstdio>

namespace {

// A stand-in for any library object: it keeps its last error and clears it
// on success.
class Door {
 public:
  bool open(bool locked) {
    if (locked) {
      m_error = {KIV_FILE_COULD_NOT_REMOVE, KivEnErrorClass::IO_PERMISSION_DENIED};
      return false;
    }
    m_error = {};
    return true;
  }
  const _KivStError& getLastError() const { return m_error; }

 private:
  _KivStError m_error{};
};

void show(const _KivStError& e) {
  std::printf("  error id %-8ld -> message id %u\n", e.id, kivErrorGetIdAsMessageId(e.id));
  std::printf("  class    %-8d -> message id %u\n", static_cast<int>(e.errorClass),
              kivErrorGetClassAsMessageId(e.errorClass));
}

}  // namespace

int main() {
  Door door;
  std::printf("Opening a locked door fails:\n");
  if (!door.open(true)) show(door.getLastError());
  std::printf("Opening it unlocked succeeds and clears the record:\n");
  if (door.open(false)) show(door.getLastError());

  std::printf("Severity FATAL has message id %u, action RETRYDELAY %u, action USER %u\n",
              kivErrorGetSeverityAsMessageId(KivEnErrorSeverity::FATAL),
              kivErrorGetActionAsMessageId(KivEnErrorAction::RETRYDELAY),
              kivErrorGetActionAsMessageId(KivEnErrorAction::USER));

  try {
    KIV_THROW(KivClExceptionFatal,
              (_KivStUserError{KIV_MEMMGR_RUNTIME_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY,
                               KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE}));
  } catch (const KivClException& e) {
    const _KivStUserError& u = e.getError();
    std::printf("Caught %s exception thrown at %s (line %u):\n",
                dynamic_cast<const KivClExceptionFatal*>(&e) ? "a fatal" : "an", e.getModule(),
                e.getLine());
    std::printf(
        "  id %ld (message %u), class %d (message %u), severity %d (message %u), "
        "action %d (message %u), cause \"%s\"\n",
        u.id, kivErrorGetIdAsMessageId(u.id), static_cast<int>(u.errorClass),
        kivErrorGetClassAsMessageId(u.errorClass), static_cast<int>(u.severity),
        kivErrorGetSeverityAsMessageId(u.severity), static_cast<int>(u.action),
        kivErrorGetActionAsMessageId(u.action), e.getCause());
  }
  return 0;
}
