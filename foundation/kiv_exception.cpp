// Out-of-line members of the exceptions: destructors, the virtual queries and
// the copy constructors, so that the vtables and type information live in
// the library once.

#include "kiv_exception.hpp"

KivClExceptionABase::~KivClExceptionABase() noexcept = default;

KivClExceptionABase::KivClExceptionABase(const KivClExceptionABase& other) noexcept
    : m_pszCause(other.m_pszCause) {}

const char* KivClExceptionABase::getCause() const noexcept { return m_pszCause; }

KivClException::KivClException(const KivClException& other) noexcept
    : KivClExceptionABase(other),
      m_pszModule(other.m_pszModule),
      m_ulLine(other.m_ulLine),
      m_stError(other.m_stError) {}

KivClException::~KivClException() noexcept = default;

bool KivClException::isKivException() const noexcept { return true; }

KivClExceptionFatal::KivClExceptionFatal(const KivClExceptionFatal& other) noexcept
    : KivClException(other) {}

KivClExceptionFatal::~KivClExceptionFatal() noexcept = default;
