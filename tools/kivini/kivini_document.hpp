// kivini: an INI file as the tool sees it.
//
// A Document holds the bytes of one file, the model that the library's INI
// reader makes of them, and the findings: every syntax error that the
// reader reports (with its line number and error id) and every line that
// the reader passes over without a report although it holds something (a
// line longer than the reader's 1023 characters, which also ends the
// reading; lines before the first section header; a section header or an
// option line without a name, which the library counts as deleted). The
// findings are what -check shows, and a file with findings is never
// rewritten, because rewriting would drop those lines for good.
//
// How the file is read, the same for every command:
//   - the exact name given: no ".ini" is added to a name without extension
//     (the file is read into memory and parsed from there);
//   - sections of the same name (without regard to case) are merged into
//     the first one, so that lookups see every option of them;
//   - an indented line continues the value of the option before it.
//
// How a changed model is written (Document::rewrite):
//   1. The writer (KivClIniFileSave) writes it, item by item, to a new
//      temporary file in the directory of the file. A value that would
//      read back differently when written bare is handed to the writer in
//      double quotes with its backslashes and double quotes escaped; an
//      empty value is handed over as "" (the writer drops empty values).
//      The value that -set replaces is handed over in place of the old one,
//      so that the option keeps its place and its comment.
//   2. The new file is read back and compared with the model, section by
//      section and option by option (names, values, comments). On any
//      difference nothing is changed and the first difference is named.
//   3. The original bytes are written to the backup name (KivClBakFilename:
//      the name with ".bak" appended) through a temporary file renamed over
//      it, so an existing backup is replaced as a whole and a link of that
//      name is replaced, not followed.
//   4. The new file gets the permission bits of the original and is renamed
//      over it. When the name given is a symbolic link, the file it points
//      to is replaced and the link stays.
// The file is thus replaced in one step; it is a new file, so hard links to
// the old one keep the old contents, and the owner is the user running the
// tool.
//
// Failure: every operation returns false and leaves errno-style detail in
// an error number (0 when the failure is not a system call's). Nothing
// throws except the library's memory manager on exhausted memory.
#ifndef KIVINI_DOCUMENT_HPP
#define KIVINI_DOCUMENT_HPP

#include <string>
#include <vector>

#include "kiv_inifile.hpp"

namespace kivini {

/// What the tool found wrong in a file.
struct Finding {
  /// Kinds of findings: a syntax error reported by the reader, or a line
  /// that the reader passes over without a report.
  enum class Kind { SYNTAX_ERROR, LONG_LINE, BEFORE_SECTION, EMPTY_SECTION, EMPTY_OPTION };
  Kind kind;
  unsigned int line;  ///< line number, counted from 1
  long errorId;       ///< the reader's error id for SYNTAX_ERROR, else 0
};

/// A replacement value for one option record of the model, used while
/// writing (see the banner, step 1).
struct Replacement {
  const KivClIniFileOption* option = nullptr;  ///< the record; null: none
  std::string value;                           ///< the value written for it
};

/// Where the new file differed from the model, or why it was not written.
struct RewriteFailure {
  /// What failed.
  enum class Step { NONE, TEMPORARY, NOT_READ_BACK, BACKUP, REPLACE };
  Step step = Step::NONE;
  int systemError = 0;     ///< errno of the failing call, 0 when none
  std::string section;     ///< NOT_READ_BACK: the section that differs
  std::string option;      ///< NOT_READ_BACK: the option that differs ("" for a section)
  std::string backupName;  ///< the backup name (set once it is known)
};

/// One INI file: its bytes, its model and its findings.
class Document {
 public:
  /// A document for the file `path`; nothing is read yet.
  explicit Document(std::string path);
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  /// Reads the file and loads the model. False when it cannot be read;
  /// `systemError` then holds the errno (ENOENT for a missing file).
  bool read(int& systemError);
  /// Loads an empty model for a file that does not exist yet.
  void startEmpty();

  /// The name given.
  const std::string& path() const { return m_path; }
  /// The model (sections merged, continuation lines joined).
  KivClIniFile& model() { return m_model; }
  const KivClIniFile& model() const { return m_model; }
  /// Findings in line order; for equal lines the reader's come first.
  const std::vector<Finding>& findings() const { return m_findings; }
  /// True when the file existed when it was read.
  bool existed() const { return m_existed; }

  /// Writes the model (with `replacement`) in place of the file, keeping
  /// the original as its backup when it existed. See the banner.
  bool rewrite(const Replacement& replacement, RewriteFailure& failure) const;

 private:
  void load();
  void scanLines();

  std::string m_path;
  std::string m_bytes;
  bool m_existed = false;
  KivClIniFile m_model;
  std::vector<Finding> m_findings;
};

/// The text that the writer is given for `value` so that the line it
/// writes reads back as `value` (see the banner, step 1).
std::string valueForWriter(const std::string& value);

/// The backup name of `path`: ".bak" appended to the whole name.
std::string backupNameOf(const std::string& path);

}  // namespace kivini

#endif
