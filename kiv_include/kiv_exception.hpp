/// \file
/// KIV Library: exceptions.
///
/// The library throws only where a failure cannot be reported through an
/// object's error record: exhausted memory and a missing reallocation
/// function (`KivClExceptionFatal`), ICU failures, malformed trace files and
/// a memory pool that cannot grow without an error handler (`KivClException`).
/// Every exception carries a full `_KivStUserError` and the source location
/// of its throw site. Throw by value, catch by reference.
///
/// Ownership: the cause and module texts are string literals of the throwing
/// code; an exception never copies or frees them, and a copy of an exception
/// shares them. Failure: the destructors and queries never throw (an
/// exception escaping from them terminates the process). Thread safety: an
/// exception object is a value; share it between threads only read-only.
#ifndef KIV_EXCEPTION_HPP
#define KIV_EXCEPTION_HPP

#include <cstdint>

#include "kiv_error.hpp"
#include "kiv_export.hpp"

/// Turns its argument, as written, into a string literal (helper of
/// KIV_STRINGIFY).
#define KIV_STRINGIFY_(x) #x
/// Turns its argument into a string literal after expanding it, so that
/// `KIV_STRINGIFY(__LINE__)` gives the line number as text (helper of
/// KIV_LOCATION).
#define KIV_STRINGIFY(x) KIV_STRINGIFY_(x)

/// The location text of a throw site: the source file as the compiler saw
/// it, a colon and the line, as one literal ("foundation/kiv_memmgr.cpp:267").
#define KIV_LOCATION __FILE__ ":" KIV_STRINGIFY(__LINE__)

/// Throws `ExceptionType` with the given user error and the location of the
/// throw site (text and line). No throw site of the library sets a cause.
#define KIV_THROW(ExceptionType, userError) \
  throw ExceptionType((userError), KIV_LOCATION, static_cast<std::uint32_t>(__LINE__))

/// Abstract root of the library's exceptions.
class KIV_EXPORT KivClExceptionABase {
 public:
  virtual ~KivClExceptionABase() noexcept;
  /// True for the exceptions of this library.
  virtual bool isKivException() const noexcept = 0;
  /// The free-text cause; the empty text (never null) when none was given.
  virtual const char* getCause() const noexcept;

 protected:
  /// A null cause is kept as the empty text, so that getCause() never
  /// answers null.
  explicit KivClExceptionABase(const char* cause = "") noexcept
      : m_pszCause(cause != nullptr ? cause : "") {}
  /// Copies the cause pointer (the text is not owned).
  KivClExceptionABase(const KivClExceptionABase& other) noexcept;
  /// Copies the cause pointer (the text is not owned).
  KivClExceptionABase& operator=(const KivClExceptionABase& other) noexcept = default;

 private:
  const char* m_pszCause;
};

/// The exception that the library throws.
class KIV_EXPORT KivClException : public KivClExceptionABase {
 public:
  /// Empty cause, module null, line 0, all-zero error record.
  KivClException() noexcept
      : KivClExceptionABase(""), m_pszModule(nullptr), m_ulLine(0), m_stError{} {}

  /// An exception with its error record and throw site.
  /// \param error   id, class, severity and action of the failure
  /// \param module  location text of the throw site (see KIV_LOCATION); not owned
  /// \param line    the line of the throw site
  /// \param cause   free-text cause; not owned; defaults to the empty text
  ///                (null is taken as the empty text)
  KivClException(const _KivStUserError& error, const char* module, std::uint32_t line,
                 const char* cause = "") noexcept
      : KivClExceptionABase(cause), m_pszModule(module), m_ulLine(line), m_stError(error) {}

  /// Copies the two text pointers, the line and the error record.
  KivClException(const KivClException& other) noexcept;
  /// Copies the two text pointers, the line and the error record.
  KivClException& operator=(const KivClException& other) noexcept = default;
  ~KivClException() noexcept override;

  bool isKivException() const noexcept override;

  /// Location text of the throw site ("path:line"), or null when not set.
  const char* getModule() const noexcept { return m_pszModule; }
  /// Line of the throw site, or 0 when not set.
  std::uint32_t getLine() const noexcept { return m_ulLine; }
  /// The full error record.
  const _KivStUserError& getError() const noexcept { return m_stError; }

 private:
  const char* m_pszModule;
  std::uint32_t m_ulLine;
  _KivStUserError m_stError;
};

/// An exception after which the process should not go on: thrown for
/// exhausted memory and a missing reallocation function. Its type alone
/// carries that meaning; a handler for KivClException catches it as well.
class KIV_EXPORT KivClExceptionFatal : public KivClException {
 public:
  using KivClException::KivClException;
  /// Copies the two text pointers, the line and the error record.
  KivClExceptionFatal(const KivClExceptionFatal& other) noexcept;
  /// Copies the two text pointers, the line and the error record.
  KivClExceptionFatal& operator=(const KivClExceptionFatal& other) noexcept = default;
  ~KivClExceptionFatal() noexcept override;
};

#endif
