// The debugger hook of the debug dumps.
//
// It does nothing on this platform: a debugger can break on it and read its
// arguments. It is kept alone in this file so that a program linked against
// the static library can supply its own kivDebugImpDump (the linker then
// does not pull this object in) and send debug dumps wherever it likes.

#include "kiv_strep.hpp"

extern "C" void kivDebugImpDump(KivEnDump, const char*, const unsigned char*, unsigned long) {}
