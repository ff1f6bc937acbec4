/// \file
/// KIV Library: environment variables.
///
/// Small value classes that name one environment variable of the current
/// process and read, test, set, extend or remove it. Reading goes to the
/// process environment on every call; nothing is cached, so a query always
/// sees the current value, whoever set it.
///
/// Ownership: setting a variable composes the text "name=value" in the
/// object's own assignment buffer and hands that buffer to putenv, which
/// does NOT copy it: the process environment keeps a pointer into the
/// KivClEnvironmentVariable object. While the object lives, the variable
/// therefore changes whenever the object sets it again. Objects that set a
/// variable for the rest of the process are made to live that long (for
/// example as statics). When such an object is destroyed while the
/// environment still points into it, its destructor hands the variable over
/// to the environment's own storage (setenv with the same value), so the
/// value stays and the environment never points at freed storage. Values
/// returned by getValue() point into the environment: they stay valid only
/// until the variable is next changed (by anyone).
///
/// Names: at most 40 characters (KIV_ENVVAR_NAME_MAX). A null name or a
/// longer one is not truncated (that would name a different variable): the
/// object keeps the empty name instead, has no value and refuses to set
/// anything. A name holding "=" can be read but not set.
///
/// Failure: setNewValue, appendValue and resetValue return false when the
/// environment refused the change or the name or value does not fit;
/// nothing throws. Thread safety: none; the process environment is shared,
/// so change it only while no other thread reads or writes it.
#ifndef KIV_ENVVAR_HPP
#define KIV_ENVVAR_HPP

#include <cstddef>

#include "kiv_export.hpp"

/// The longest supported variable name, in characters.
inline constexpr std::size_t KIV_ENVVAR_NAME_MAX = 40;
/// The longest value that KivClEnvironmentVariable can set, in characters.
inline constexpr std::size_t KIV_ENVVAR_VALUE_MAX = 4096;

/// Names one environment variable and reads it. Not used on its own: a
/// KivClEnvironmentVariable also sets the variable, a
/// KivClEnvironmentVariableQueryOnly can be renamed.
class KIV_EXPORT KivClEnvironmentVariableABase {
 public:
  virtual ~KivClEnvironmentVariableABase();

  /// The variable's name (the empty text when the name given was null or
  /// too long).
  const char* getName() const { return m_szName; }

  /// getenv(name): the value text, or null when the variable is not set.
  /// The text belongs to the environment (see the banner).
  const char* getValue() const;

  /// True when the variable is set; a variable set to the empty text has a
  /// value.
  bool hasValue() const;

  /// True when the value equals "ON", "YES", "TRUE" or "1" in any case
  /// (compared with strcmpi); false when the variable is unset or holds
  /// anything else (also "2", "enabled" or the empty text). This is the test
  /// of every on/off switch variable of the library.
  bool hasValueEnabled() const;

 protected:
  /// Copies the name (see initName).
  explicit KivClEnvironmentVariableABase(const char* name);
  /// Copies the name.
  KivClEnvironmentVariableABase(const KivClEnvironmentVariableABase& other) = default;
  /// Copies the name.
  KivClEnvironmentVariableABase& operator=(const KivClEnvironmentVariableABase& other) = default;

  /// Copies `name` into the name buffer. A null name or one longer than
  /// KIV_ENVVAR_NAME_MAX leaves the empty name. Returns true when the name
  /// was taken.
  bool initName(const char* name);

 private:
  char m_szName[KIV_ENVVAR_NAME_MAX + 1];
};

/// An environment variable that this object can set, extend and remove.
/// See the banner: the environment keeps a pointer into this object.
class KIV_EXPORT KivClEnvironmentVariable : public KivClEnvironmentVariableABase {
 public:
  /// Copies the name, then setNewValue(value): a null value removes the
  /// variable, the empty text sets it to the empty text.
  KivClEnvironmentVariable(const char* name, const char* value);

  /// A copy names the same variable and holds the same assignment text, but
  /// the environment never points into a copy until the copy itself sets
  /// the variable.
  KivClEnvironmentVariable(const KivClEnvironmentVariable& other);
  /// When the environment still points into this object, first hands that
  /// variable over to the environment's own storage with its value (as the
  /// destructor does); then takes the name and assignment text of `other`
  /// as a copy does. The environment is not set to `other`'s value.
  KivClEnvironmentVariable& operator=(const KivClEnvironmentVariable& other);

  /// When the environment still points into this object, hands the
  /// variable over to the environment's own storage with the same value.
  ~KivClEnvironmentVariable() override;

  /// Composes "name=value" (or the bare name for a null value) in the
  /// assignment buffer and hands the buffer to putenv. A null value removes
  /// the variable. `value` may point into the environment, also at this
  /// variable's current value.
  /// \returns true unless putenv fails, the name is empty or holds "=", or
  ///          the value is longer than KIV_ENVVAR_VALUE_MAX characters; on
  ///          failure the environment is unchanged.
  bool setNewValue(const char* value);

  /// Sets the variable to its current value (the empty text when unset)
  /// followed directly by `text`, with no separator: callers that extend a
  /// list such as "PATH" add the ":" themselves. A null text appends
  /// nothing. Returns what setNewValue returns.
  bool appendValue(const char* text);

  /// setNewValue(null): removes the variable.
  bool resetValue();

 private:
  void copyFrom(const KivClEnvironmentVariable& other);
  bool isInEnvironment() const;

  // "name=value" and the NUL: room for the longest name and value.
  char m_szAssignment[KIV_ENVVAR_NAME_MAX + 1 + KIV_ENVVAR_VALUE_MAX + 1];
};

/// An environment variable that can be read but not changed through this
/// object; the object can be given another name.
class KIV_EXPORT KivClEnvironmentVariableQueryOnly : public KivClEnvironmentVariableABase {
 public:
  /// The name "?", which is normally not set: the object has no value until
  /// it gets another name.
  KivClEnvironmentVariableQueryOnly();
  /// The variable named `name` (see the banner for names that do not fit).
  explicit KivClEnvironmentVariableQueryOnly(const char* name);
  /// The variable that `other` names.
  explicit KivClEnvironmentVariableQueryOnly(const KivClEnvironmentVariableABase& other);
  /// Names the same variable as `other`.
  KivClEnvironmentVariableQueryOnly(const KivClEnvironmentVariableQueryOnly& other) = default;
  /// Takes the name of `other`.
  KivClEnvironmentVariableQueryOnly& operator=(const KivClEnvironmentVariableQueryOnly& other) =
      default;
  ~KivClEnvironmentVariableQueryOnly() override;

  /// Replaces the name. A null or too long name leaves the empty name and
  /// returns false.
  bool setNewName(const char* name);
};

#endif
