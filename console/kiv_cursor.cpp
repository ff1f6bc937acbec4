// Cursor bases: the out-of-line destructors anchor the bases' virtual tables
// and type information in the library.

#include "kiv_cursor.hpp"

KivClUniDirCursorABase::~KivClUniDirCursorABase() = default;

KivClBiDirCursorABase::~KivClBiDirCursorABase() = default;
