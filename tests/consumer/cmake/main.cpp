// A program that uses the installed library through find_package(Kiv).
#include <kiv.hpp>
#include <kiv_error.hpp>

#include <cstdio>

int main() {
  if (kivErrorGetIdAsMessageId(KIV_FILE_COULD_NOT_REMOVE) != 68) return 1;
  try {
    throw KivClExceptionFatal({KIV_MEMMGR_USER_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY,
                               KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE},
                              KIV_LOCATION, __LINE__);
  } catch (const KivClException& e) {
    if (e.getError().id != KIV_MEMMGR_USER_OUT_OF_MEMORY) return 2;
    std::printf("cmake consumer: caught id %ld from %s\n", e.getError().id, e.getModule());
    return 0;
  }
  return 3;
}
