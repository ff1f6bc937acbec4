/// \file
/// KIV Library: INI files (model, parser, cursors, typed access, editing).
///
/// A KivClIniFile reads a text configuration file of "[section]" headers and
/// "name = value" option lines into an in-memory list of sections, each with
/// a list of options. The same parser reads a named file, any input stream or
/// a memory buffer. Values are cooked once, while they are read: quoted
/// strings, character literals, C-style escapes and $(NAME) environment
/// substitution are resolved, and the stored value is the final text.
/// KivClIniFileSectionCursor and KivClIniFileOptionCursor walk the model; the
/// file object offers typed getters over its current section and editing
/// operations. KivClIniFileSave (kiv_inisave.hpp) writes the model back.
///
/// Syntax, line by line (the delimiter is "\n" for files):
///   - A line whose first non-blank character is ";", or a blank line, is
///     skipped. "#" is ordinary text.
///   - "[name]" opens a section: the name is the text between "[" and the
///     first "]", exactly as written, cut to 80 characters; text behind the
///     "]" is ignored. The "[" must be the first character of the line.
///   - Lines before the first header are dropped without an error, also
///     when a section was selected (getSection) or added before the load.
///   - An indented line (first character blank) continues the value of the
///     previous option when continuation is allowed; otherwise it is an error.
///   - Any other line is an option: the name is every non-blank character
///     before the first "=" ("max size = 3" names "maxsize"); the value is
///     the cooked text behind it; ";" outside quotes starts the comment.
///   - A physical line is at most 1023 characters. A longer one is read as
///     its first 1023 characters and ENDS THE LOAD: nothing after it is
///     loaded and the load still succeeds. This is how the reader works; it
///     is not an accident.
///
/// Cooking a value: leading blanks are skipped. "..." is a quoted string with
/// escapes (below); '.' is a character literal (the character after the
/// literal is skipped unchecked, so 'ab' gives a); $(NAME) inserts the value
/// of the environment variable NAME (nothing when unset); anything else is
/// copied as typed, unquoted backslashes included. Trailing blanks are then
/// removed, but never those produced by quotes or literals, nor those typed
/// before a literal. A "'" that ends the line is a literal too: its character
/// is the NUL behind the line, so the blanks before it are kept ("x  '" gives
/// "x  ", and '    ' with four blanks gives three). Escapes: `\a` `\b`
/// `\f` `\n` `\r` `\t` `\v`; `\x` followed by hexadecimal digits (all that
/// follow; no digit gives the byte 0); a decimal digit starts an octal number
/// (all octal digits that follow; `\8` and `\9` give the byte 0 and consume
/// nothing); any other character stands for itself. A byte 0 produced by an escape ends the
/// visible value there. Numbers too large for an unsigned long give 0xff, as
/// the standard conversion saturates.
///
/// Errors: syntax errors go, one by one, to an optional handler with the
/// error id (KIV_INIFILE_INVAL_SECTION, _OPTION, _WHITESPACE), the class
/// USER_DATA_ERROR (101) and the line number; the handler returns whether
/// loading goes on. Line numbers count every line read by this object since
/// the last load(bool): stream and buffer loads do not reset them, so
/// repeated buffer loads go on counting upward. The reader counts one more
/// (empty) line when the input ends with the delimiter, because it finds the
/// end of the input only when it tries to read again. The file object's own
/// error record (getLastError, from KivClFile) is not used by loading.
///
/// Choices made here where the rules leave room:
///   - Nothing is ever written past an option's 1024-byte buffer: text that
///     continuation lines and $(NAME) substitution add is cut at the buffer's
///     end, and the comment is cut to what remains (possibly nothing).
///   - A backslash at the end of a line ends a quoted string (it is dropped)
///     and gives the byte 0 in a literal. No step ever reads past the end of
///     a line.
///   - A variable name of more than 40 characters names no variable (it
///     inserts nothing).
///   - The parser keeps an option line with an empty name ("=x"); it counts
///     as deleted. addOption refuses an empty or null option name.
///   - A header "[]" makes a section with the empty name, which counts as
///     deleted like any other: the writer skips it, getSection("") finds it.
///   - getOption with no section selected returns false.
///   - A continuation line after a broken "[" header (no "]") is an error:
///     every "[" line resets the continuation target.
///   - load(bool) also returns false when reading the file fails (for
///     example when the name is a directory); what was read stays.
///   - Queries of a cursor that stands on nothing return the empty text;
///     its typed value reads return null and leave the output untouched.
///
/// Ownership: the file object owns every section and option (allocated
/// through the library's memory manager) and frees them when destroyed. Texts
/// returned by queries point into the records and stay valid until the record
/// is changed or the file object is destroyed. Cursors own nothing and must
/// not outlive the file. Deleted sections and options stay in the lists as
/// tombstones (empty names); cursors visit them, the writer skips them.
/// The error handler must not change the model of the file being loaded.
/// Thread safety: none; a file object and its cursors belong to one thread.
/// Memory exhaustion throws KivClExceptionFatal from the memory manager.
///
/// Lookup index: getSection and getOption give the first name in list order
/// that matches without regard to case, as a walk of the lists would. A file
/// that is asked often builds, lazily and beside the lists, a hash index of
/// the first section of each name and of the first option of each name in
/// every section; the lists themselves stay as they are. The index is exact
/// because it is dropped on every change: each member that can change a
/// record or a list (loading, adding, setting, deleting, linking, freeing;
/// also when called on a record directly rather than through the file)
/// counts one process-wide change, and a lookup trusts the index only when
/// no change was counted since it was built. Case is folded through the C
/// library's toupper, whose table a catalog open or the program may switch
/// at any time (setlocale in any thread, uselocale in this one), so the
/// index also remembers the table it was built with and is not used while
/// another one is in force. After a change, lookups walk the lists until
/// the walks have compared about half as many names as the last index held
/// (64 at first), and only then build the index again, so a program that
/// changes and looks up by turns pays little more than the walks. An index
/// is built only while the thread uses the process's locale; one that
/// cannot be allocated is simply not used. Editing by name (addOption,
/// deleteOption, setNewValue, deleteSection) and the cursors' setTo still
/// walk the lists.
#ifndef KIV_INIFILE_HPP
#define KIV_INIFILE_HPP

#include <cstddef>
#include <iosfwd>

#include "kiv_cursor.hpp"
#include "kiv_error.hpp"
#include "kiv_export.hpp"
#include "kiv_file.hpp"
#include "kiv_filename.hpp"

/// The longest section name, in characters.
inline constexpr std::size_t KIV_INIFILE_SECTION_NAME_MAX = 80;
/// The size of an option's text buffer (name, value and comment with their
/// terminators).
inline constexpr std::size_t KIV_INIFILE_OPTION_TEXT_SIZE = 1024;
/// The longest line the parser reads, in characters.
inline constexpr std::size_t KIV_INIFILE_LINE_MAX = 1023;

/// The syntax-error handler: receives the error (id and class 101), the
/// number of the line and the user data given to setErrorHandler; returns
/// true to go on loading, false to stop the load (which then returns false).
typedef bool (*KivPfuIniFileErrorHandler)(const _KivStError& error, unsigned int lineNumber,
                                          void* userData);

class KivClIniFileOption;
class KivClIniFileSectionCursor;
class KivClIniFileOptionCursor;

/// One section: its name and the head of its option list. An empty name
/// marks a deleted section.
class KIV_EXPORT KivClIniFileSection {
 public:
  /// A section named `name` (at most 80 characters are kept; null is the
  /// empty name).
  explicit KivClIniFileSection(const char* name) noexcept;
  /// A section named by the characters from `start` up to `end` (exclusive),
  /// at most 80 of them. A null `start` or `end`, or an `end` not behind
  /// `start`, gives the empty name.
  KivClIniFileSection(const char* start, const char* end) noexcept;
  /// Frees the option list and every section linked behind this one.
  ~KivClIniFileSection();
  KivClIniFileSection(const KivClIniFileSection&) = delete;
  KivClIniFileSection& operator=(const KivClIniFileSection&) = delete;

  /// Records live in the library's memory manager: allocates with
  /// kivMalloc, which throws KivClExceptionFatal when memory is exhausted.
  static void* operator new(std::size_t size);
  /// Gives a record's memory back with kivFree.
  static void operator delete(void* p) noexcept;

  /// Links `section` (and the chain behind it) directly behind this one;
  /// what followed this section follows the appended chain.
  void appendSection(KivClIniFileSection* section) noexcept;
  /// Makes `option` (and its chain) the option list. Meant for an empty
  /// section: a previous list is not freed and passes to the caller.
  void setFirstOption(KivClIniFileOption* option) noexcept;
  /// Marks the section deleted: empties the name, frees the options.
  void deleteContents() noexcept;

  /// The next section in file order, null at the end.
  KivClIniFileSection* getNext() const noexcept { return m_pNext; }
  /// The first option, null when the section has none.
  KivClIniFileOption* getFirstOption() const noexcept { return m_pFirstOption; }
  /// The name (empty for a deleted section).
  const char* getName() const noexcept { return m_szName; }
  /// True when the name is empty.
  bool isDeleted() const noexcept { return m_szName[0] == '\0'; }

 private:
  KivClIniFileSection* m_pNext;
  KivClIniFileOption* m_pFirstOption;
  char m_szName[KIV_INIFILE_SECTION_NAME_MAX + 1];
};

/// One option: name, value and comment in one 1024-byte buffer, one after
/// the other, each with its terminator. An empty name marks a deleted option.
class KIV_EXPORT KivClIniFileOption {
 public:
  /// Builds an option from a raw option line (as the parser does): the name
  /// is every non-blank character before the first "="; the rest of the line
  /// is cooked (see the banner). A line without "=" leaves getValue() null.
  explicit KivClIniFileOption(const char* line) noexcept;
  /// Builds an option from a name (at most 1021 characters) and a value,
  /// which is taken as given, not cooked, and cut to what is left of the
  /// buffer; the comment is empty. Null texts count as empty.
  KivClIniFileOption(const char* name, const char* value) noexcept;
  /// Frees every option linked behind this one.
  ~KivClIniFileOption();
  KivClIniFileOption(const KivClIniFileOption&) = delete;
  KivClIniFileOption& operator=(const KivClIniFileOption&) = delete;

  /// Records live in the library's memory manager: allocates with
  /// kivMalloc, which throws KivClExceptionFatal when memory is exhausted.
  static void* operator new(std::size_t size);
  /// Gives a record's memory back with kivFree.
  static void operator delete(void* p) noexcept;

  /// Links `option` (and the chain behind it) directly behind this one.
  void appendOption(KivClIniFileOption* option) noexcept;
  /// Cooks a continuation line onto the end of the value. The pieces join
  /// without a separator ("/usr/" and "   lib" give "/usr/lib"); the line's
  /// comment, or the empty comment when it has none, replaces the old one.
  /// Text that does not fit the buffer is cut.
  void appendOptionValue(const char* line) noexcept;
  /// Copies `value` over the old value at the same place, cut at the end of
  /// the buffer. The comment is NOT moved: a longer value overwrites the
  /// stored comment text, and the comment then reads whatever lies at its
  /// old place. That is intended. Null counts as empty.
  void setNewValue(const char* value) noexcept;
  /// Marks the option deleted: name, value and comment become empty.
  void deleteContents() noexcept;

  /// The next option of the section, null at the end.
  KivClIniFileOption* getNext() const noexcept { return m_pNext; }
  /// The name: the start of the buffer.
  const char* getName() const noexcept { return m_szText; }
  /// The value text; null only for a line without "=".
  const char* getValue() const noexcept { return m_pszValue; }
  /// The comment text, the empty text when there is none.
  const char* getComment() const noexcept { return m_pszComment; }
  /// True when the name is empty.
  bool isDeleted() const noexcept { return m_szText[0] == '\0'; }

 private:
  void processValue(const char* source, char* destination) noexcept;

  KivClIniFileOption* m_pNext;
  char m_szText[KIV_INIFILE_OPTION_TEXT_SIZE];
  char* m_pszValue;
  char* m_pszComment;
};

/// An INI file: a KivClFile (default extension ".ini") with the model of
/// sections and options, the parser, typed getters and editing operations.
class KIV_EXPORT KivClIniFile : public KivClFile {
 public:
  /// The file object on `name`, given the extension ".ini" when it has
  /// none. The model is empty, the line number 0, no handler is set.
  /// Nothing is read.
  explicit KivClIniFile(const KivClFilenameABase& name);
  /// Frees every section and option.
  ~KivClIniFile() override;
  KivClIniFile(const KivClIniFile&) = delete;
  KivClIniFile& operator=(const KivClIniFile&) = delete;

  // --- Loading ------------------------------------------------------------

  /// Resets the line number to 0 and parses the file with the delimiter
  /// "\n", keeping duplicate sections.
  /// \returns false, without calling the handler and with the lists
  ///          unchanged (but no section current), when the file cannot be
  ///          opened; false when reading it fails; otherwise the parser's
  ///          result.
  bool load(bool allowContinuation);
  /// The parser. Appends what it reads to the model. With
  /// `keepDuplicateSections` false, a header naming an existing section
  /// (compared without regard to case) continues that section. Lines in
  /// front of the input's first header are dropped, whatever section was
  /// current before.
  /// \returns false when the handler asked to stop (what was read before
  ///          stays), true otherwise. Does not reset the line number.
  bool load(std::istream& stream, char delimiter, bool keepDuplicateSections,
            bool allowContinuation);
  /// Parses the first `length` bytes of `buffer` (not copied, need not be
  /// terminated). Does not reset the line number: repeated buffer loads
  /// report line numbers that go on counting upward.
  bool loadFromBuffer(const char* buffer, unsigned long length, char delimiter,
                      bool keepDuplicateSections, bool allowContinuation);
  /// Sets the syntax-error handler and its user data; null switches
  /// reporting off (errors are then skipped).
  void setErrorHandler(KivPfuIniFileErrorHandler handler, void* userData) noexcept;
  /// The number of lines read so far (see the banner).
  unsigned int getLineNumber() const noexcept { return m_uLineNumber; }

  // --- The model ----------------------------------------------------------

  /// The first section, null when there is none.
  KivClIniFileSection* getFirstSection() const noexcept { return m_pFirstSection; }
  /// The current section: the one getSection selected (null after every
  /// load and after a failed getSection), or the one addSection made.
  KivClIniFileSection* getCurrentSection() const noexcept { return m_pCurrentSection; }

  // --- Queries on the current section -------------------------------------

  /// Selects the first section named `name` (without regard to case) as
  /// the current section. On failure the current section becomes null.
  bool getSection(const char* name) const;
  /// Finds the first option `name` of the current section and stores its
  /// value and comment texts. False (outputs untouched) when not found or
  /// when no section is selected.
  bool getOption(const char* name, const char*& value, const char*& comment) const;
  /// The same without the comment.
  bool getOption(const char* name, const char*& value) const;
  /// The value converted with atol.
  bool getOption(const char* name, long& value, const char*& comment) const;
  /// The value converted with atol (without the comment).
  bool getOption(const char* name, long& value) const;
  /// The value converted with strtoul, base 10.
  bool getOption(const char* name, unsigned long& value, const char*& comment) const;
  /// The value converted with strtoul, base 10 (without the comment).
  bool getOption(const char* name, unsigned long& value) const;
  /// The value converted with atoi.
  bool getOption(const char* name, int& value, const char*& comment) const;
  /// The value converted with atoi (without the comment).
  bool getOption(const char* name, int& value) const;
  /// The value converted with strtoul, base 10, truncated to unsigned int.
  bool getOption(const char* name, unsigned int& value, const char*& comment) const;
  /// As the form with the comment, without it.
  bool getOption(const char* name, unsigned int& value) const;
  /// A value beginning with "'" is decoded as a character literal (escapes
  /// included); otherwise the first character (NUL for an empty value).
  bool getOption(const char* name, char& value, const char*& comment) const;
  /// As the form with the comment, without it.
  bool getOption(const char* name, char& value) const;
  /// True when the value text is found, without regard to case, anywhere in
  /// "|ON|TRUE|YES|1|OK|". A substring test on purpose: "Y", "e", "|" and
  /// the empty value are true; "no", "0" and "10" are false.
  bool getOptionBool(const char* name, bool& value, const char*& comment) const;
  /// As the form with the comment, without it.
  bool getOptionBool(const char* name, bool& value) const;

  /// "|ON|TRUE|YES|1|OK|".
  const char* getStringAllTrueTokens() const noexcept;
  /// "ON", the text writers use for true.
  const char* getStringTrue() const noexcept;
  /// "OFF", the text writers use for false.
  const char* getStringFalse() const noexcept;

  // --- Editing --------------------------------------------------------------

  /// Appends a new section named `name` (cut to 80 characters) without
  /// looking for an existing one and makes it current. Always true.
  bool addSection(const char* name);
  /// Appends the option `optionName` with `value` (stored as given, not
  /// cooked; empty comment) to the section. False when the section is not
  /// found, the option exists already (compared without regard to case) or
  /// the option name is empty.
  bool addOption(const char* sectionName, const char* optionName, const char* value);
  /// addOption to the section cursor's current section (false when the
  /// cursor is not valid).
  bool addOption(const KivClIniFileSectionCursor& cursor, const char* optionName,
                 const char* value);
  /// Deletes the section: its name becomes empty and its options are freed;
  /// the record stays as a tombstone. False when not found or the cursor is
  /// not valid.
  bool deleteSection(const char* name);
  /// deleteSection of the cursor's current section.
  bool deleteSection(const KivClIniFileSectionCursor& cursor);
  /// Deletes the option: name, value and comment become empty; the record
  /// stays as a tombstone. False when the section or option is not found.
  bool deleteOption(const char* sectionName, const char* optionName);
  /// deleteOption in the cursor's current section.
  bool deleteOption(const KivClIniFileSectionCursor& cursor, const char* optionName);
  /// Deletes the cursor's current option (false when it is not valid).
  bool deleteOption(const KivClIniFileOptionCursor& cursor);
  /// Replaces the option's value in place (see
  /// KivClIniFileOption::setNewValue: the comment is not moved). False when
  /// the section or option is not found.
  bool setNewValue(const char* sectionName, const char* optionName, const char* value);
  /// setNewValue in the cursor's current section.
  bool setNewValue(const KivClIniFileSectionCursor& cursor, const char* optionName,
                   const char* value);
  /// setNewValue of the cursor's current option (false when it is not
  /// valid).
  bool setNewValue(const KivClIniFileOptionCursor& cursor, const char* value);

 protected:
  /// Reports a syntax error of the current line: true when no handler is
  /// set, else what the handler returns for {errorId, USER_DATA_ERROR}.
  bool error(unsigned long errorId);
  /// Reads the next line (at most 1023 characters) into `buffer` (1025
  /// bytes) and counts it. False at the end of the input or after a failure.
  bool nextLine(std::istream& stream, char* buffer, char delimiter);
  /// Skips blank and comment lines, starting with the line in `buffer`.
  /// False when no line with content is left.
  bool skipComment(std::istream& stream, char* buffer, char delimiter);
  /// The first section whose name equals the text from `start` to `end`
  /// (cut to 80 characters), without regard to case; null when none.
  KivClIniFileSection* getExistingSection(const char* start, const char* end) const;
  /// Appends `section` at the end of the list and makes it current.
  void addSection(KivClIniFileSection* section) noexcept;
  /// Appends `option` at the end of the current section's list.
  void addOption(KivClIniFileOption* option) noexcept;

 private:
  struct Index;

  static KivClIniFileOption* findOption(const KivClIniFileSection* section, const char* name);
  // The first record named `name` (null when none): a section when `owner`
  // is null, else an option of `owner`. Uses or builds the index.
  void* lookUp(const KivClIniFileSection* owner, const char* name) const;
  void dropIndex() const noexcept;
  template <typename Read>
  bool readOption(const char* name, const char*& comment, Read read) const;

  KivClIniFileSection* m_pFirstSection;
  KivClIniFileSection* m_pLastSection;
  unsigned int m_uLineNumber;
  mutable KivClIniFileSection* m_pCurrentSection;
  KivPfuIniFileErrorHandler m_pfuErrorHandler;
  void* m_pErrorHandlerData;
  // The tail of the current section's option list while a load runs, so
  // that appending does not walk the list again for every line.
  KivClIniFileSection* m_pTailSection;
  KivClIniFileOption* m_pTailOption;
  // The lookup state (index and the counts that decide when to build it);
  // allocated on the first lookup, owned, freed by the destructor.
  mutable Index* m_pIndex;
};

/// Walks the sections of a file in list order (tombstones included).
class KIV_EXPORT KivClIniFileSectionCursor : public KivClUniDirCursorABase {
 public:
  /// Remembers the file's first section; the cursor is not positioned.
  explicit KivClIniFileSectionCursor(const KivClIniFile& file) noexcept;
  /// A second cursor over the same file, standing where `other` stands.
  KivClIniFileSectionCursor(const KivClIniFileSectionCursor& other) = default;
  ~KivClIniFileSectionCursor() override;

  /// True while the cursor stands on a section.
  bool isValid() const override;
  /// Moves to the remembered first section.
  bool setToFirst() override;
  /// Moves to the next section; false (and not valid) at the end.
  bool setToNext() override;
  /// Stays when the current section matches `name`; otherwise searches from
  /// the first section. So a name that occurs twice is only ever found at
  /// its first occurrence. False for null.
  virtual bool setTo(const char* name);

  /// The current section's name equals `name` without regard to case.
  bool matches(const char* name) const;
  /// The current section's name, the empty text when not positioned.
  const char* getSection() const;
  /// The current section record, null when not positioned.
  KivClIniFileSection* getSectionRecord() const noexcept { return m_pCurrent; }
  /// The file walked.
  const KivClIniFile& getFile() const noexcept { return m_file; }

 private:
  const KivClIniFile& m_file;
  KivClIniFileSection* m_pFirst;
  KivClIniFileSection* m_pCurrent;
};

/// Walks the options of one section in list order (tombstones included).
class KIV_EXPORT KivClIniFileOptionCursor : public KivClUniDirCursorABase {
 public:
  /// Over the section cursor's current section (none when it is not
  /// valid); positioned on its first option.
  explicit KivClIniFileOptionCursor(const KivClIniFileSectionCursor& sectionCursor) noexcept;
  /// Over `section` of `file`; positioned on its first option.
  KivClIniFileOptionCursor(const KivClIniFile& file, const KivClIniFileSection* section) noexcept;
  /// Over the file's current section (selected by getSection); walks
  /// nothing when none is selected.
  explicit KivClIniFileOptionCursor(const KivClIniFile& file) noexcept;
  /// A second cursor over the same section, standing where `other` stands.
  KivClIniFileOptionCursor(const KivClIniFileOptionCursor& other) = default;
  ~KivClIniFileOptionCursor() override;

  /// True while the cursor stands on an option.
  bool isValid() const override;
  /// Moves to the remembered first option.
  bool setToFirst() override;
  /// Moves to the next option; false (and not valid) at the end.
  bool setToNext() override;
  /// As the section cursor's setTo, over the option names.
  virtual bool setTo(const char* name);

  /// The current option's name equals `name` without regard to case.
  bool matches(const char* name) const;
  /// The option name ("" when not positioned).
  const char* getOption() const;
  /// The value text ("" when not positioned).
  const char* getValue() const;
  /// The comment text ("" when none or not positioned).
  const char* getComment() const;

  /// Typed reads: each converts the value text (atoi, strtoul base 10
  /// truncated to unsigned int, atol, strtoul base 10; a "'" literal or the
  /// first character) and returns the raw text; null, output untouched,
  /// when not positioned. Conversion errors are not detected.
  const char* getValue(int& value) const;
  /// strtoul, base 10, cut to unsigned int.
  const char* getValue(unsigned int& value) const;
  /// atol.
  const char* getValue(long& value) const;
  /// strtoul, base 10.
  const char* getValue(unsigned long& value) const;
  /// A value beginning with "'" is decoded as a character literal (so a
  /// stored "'" alone gives NUL); otherwise the first character.
  const char* getValue(char& value) const;
  /// The substring test of KivClIniFile::getOptionBool.
  const char* getValueBool(bool& value) const;

  /// The current option record, null when not positioned.
  KivClIniFileOption* getOptionRecord() const noexcept { return m_pCurrent; }
  /// The section walked (null for a cursor made from the file alone).
  const KivClIniFileSection* getSectionRecord() const noexcept { return m_pSection; }
  /// The file walked.
  const KivClIniFile& getFile() const noexcept { return m_file; }

 private:
  friend class KivClIniFile;
  // Over the file's current section, standing on `option` (one of its
  // options, or null).
  KivClIniFileOptionCursor(KivClIniFileOption* option, const KivClIniFile& file) noexcept;

  const KivClIniFile& m_file;
  const KivClIniFileSection* m_pSection;
  KivClIniFileOption* m_pFirst;
  KivClIniFileOption* m_pCurrent;
};

extern "C" {

/// Decodes an escape; `p` stands on the character after the backslash and
/// is advanced past what the escape consumed (see the banner). At the end
/// of the text it returns 0 and does not move.
KIV_EXPORT char kivIniFileGetEscCharacter(const char*& p);
/// Decodes a character literal; `p` stands on the opening "'" and is
/// advanced past the literal's character (or escape) and one more
/// character, which is skipped unchecked (normally the closing quote). Never
/// moves past the end of the text; a lone quote gives 0.
KIV_EXPORT char kivIniFileGetQuotedCharacter(const char*& p);
/// Copies a quoted string; `source` stands on the opening '"'. Copies the
/// characters up to the next '"' (consumed) or the end of the text,
/// decoding escapes, and advances both pointers. Writes no terminator.
/// The destination needs room for strlen(source) bytes at most.
KIV_EXPORT void kivIniFileQuotedStrCopy(char*& destination, const char*& source);
}

#endif
