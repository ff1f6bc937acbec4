/// \file
/// KIV Library: the INI file writer.
///
/// A KivClIniFileSave is a KivClIniFile (kiv_inifile.hpp) that can also
/// write: save() writes the whole model back to the file, and the item
/// writers let a program write a file piece by piece (a section header, then
/// typed options) without building a model first. What it writes is read
/// back by the parser of KivClIniFile.
///
/// Output layout (TAB is character 9, LF character 10):
/// ~~~
///   section   LF "[" name "]" line-end      (so the file begins with LF)
///   option    name TAB "= " value-text line-end
///   line-end  LF, or TAB "; " comment LF when the comment is not empty
/// ~~~
/// Value texts: a string is written as it is unless it holds ";" or a
/// control character (iscntrl); then it is written in double quotes, each
/// character through saveChar (`\a` `\b` `\f` `\n` `\r` `\t` `\v`, `\\` for a
/// backslash, "\x" and two lower-case hexadecimal digits for any other
/// control character, everything else as it is). Booleans are "ON" and "OFF",
/// numbers decimal, a character is written in single quotes through
/// saveChar. save() writes the sections and options of the model in order,
/// headers without comments, options with their comments, and skips deleted
/// sections and options. Comment and blank lines of a loaded file are not
/// part of the model and are not written.
///
/// Deliberately unusual, kept so (do not "fix" it):
///   - An EMPTY STRING VALUE WRITES NOTHING: not the name, not the line end,
///     and that call does not even open the stream. Options with empty values
///     are thereby dropped from a saved model.
///   - A value holding a double quote but no ";" or control character is
///     written bare; read back, the double quote starts a quoted string. A
///     double quote inside a quoted value ends the quotes early when read
///     back. Leading and trailing blanks of a bare value are lost when read
///     back, "$(" in a bare value is substituted again, and a bare value
///     beginning with "'" is read back as a character literal.
///   - "\x" is followed by exactly two digits, but the reader takes all the
///     hexadecimal digits that follow: a control character followed by a
///     hexadecimal digit ("\x01" then "a") reads back as one other byte.
///   - Comments are written as given (a comment must not hold the line
///     delimiter).
///
/// The stream: the writer opens a stream on the file's path (mode input,
/// output and truncate: an existing file is emptied, a missing one created)
/// the first time anything is written, and an opened flag keeps later calls
/// from opening it again. One writer object therefore writes one file in one
/// pass: a second save() appends a second copy of the model to the same
/// stream. The destructor flushes the member stream before it is closed.
///
/// Saving over an existing file: save() empties the file when it opens it,
/// so a write that fails half-way (a full disk, a file-size limit, a crash)
/// leaves a truncated file and no copy of the old one. saveReplacing() never
/// touches the file until the new contents are complete: it writes the
/// model to a temporary file in the same directory, flushes it to disk,
/// gives it the mode of the file and, where the caller may set them, its
/// owner and group, and renames it over the file. The file is thus either
/// the old one or the new one, whatever fails. It refuses a file that the
/// caller may not write (even in a writable directory) and follows a
/// symbolic link (the file it leads to is replaced, the link stays). The new
/// file is a new inode: hard links to the old one keep the old contents.
///
/// Failure: every writer returns the stream's good() after writing; nothing
/// throws and no error record is made. A file that cannot be opened makes
/// every writer return false. Thread safety: none.
#ifndef KIV_INISAVE_HPP
#define KIV_INISAVE_HPP

#include <fstream>

#include "kiv_export.hpp"
#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"

/// An INI file that can write its model, or items, to its path.
class KIV_EXPORT KivClIniFileSave : public KivClIniFile {
 public:
  /// As KivClIniFile: default extension ".ini"; nothing is opened.
  explicit KivClIniFileSave(const KivClFilenameABase& name);
  /// Flushes the member stream, then closes it.
  ~KivClIniFileSave() override;

  /// Opens the member stream on the file's path unless it is open, then
  /// save(member stream). The file is emptied when the stream is opened, so
  /// a failure while writing leaves it truncated (see saveReplacing).
  /// \returns the member stream's good() after writing and flushing; false
  /// also when the file cannot be opened.
  bool save();
  /// Writes the whole model, as save() does, to a temporary file beside the
  /// file and replaces the file with it in one step (see the banner). The
  /// member stream and the opened flag are neither used nor changed, so the
  /// call may be repeated.
  /// \returns true when the file now holds the model. False when the file
  /// may not be written or is not a regular file, when no temporary file can
  /// be made in its directory, or when writing, flushing or renaming fails;
  /// the file is then as it was and no temporary file is left. Like the
  /// other writers it makes no error record.
  bool saveReplacing();
  /// Writes the whole model to `stream` as it is (it is not opened here),
  /// marks the writer as opened and flushes.
  /// \returns stream.good().
  bool save(std::ofstream& stream);

  /// Writes LF "[" name "]" and the line end with `comment` (null or empty:
  /// none). Opens `stream` on the file's path when the writer is not yet
  /// opened. \returns stream.good().
  bool saveSection(std::ofstream& stream, const char* name, const char* comment);
  /// Writes a string option (see the banner: quoted when needed; an empty
  /// or null value writes nothing at all and returns stream.good()).
  bool saveOption(std::ofstream& stream, const char* name, const char* value, const char* comment);
  /// Writes "ON" or "OFF".
  bool saveOptionBool(std::ofstream& stream, const char* name, bool value, const char* comment);
  /// Writes the number in decimal, without padding (the stream is set
  /// back to decimal first).
  bool saveOption(std::ofstream& stream, const char* name, int value, const char* comment);
  /// As for int.
  bool saveOption(std::ofstream& stream, const char* name, unsigned int value, const char* comment);
  /// As for int.
  bool saveOption(std::ofstream& stream, const char* name, long value, const char* comment);
  /// As for int.
  bool saveOption(std::ofstream& stream, const char* name, unsigned long value,
                  const char* comment);
  /// Writes the character in single quotes through saveChar.
  bool saveOption(std::ofstream& stream, const char* name, char value, const char* comment);

 protected:
  /// Writes the name, TAB and "= ".
  void saveOption(std::ofstream& stream, const char* name);
  /// Ends the line: LF, or TAB "; " comment LF.
  void saveComment(std::ofstream& stream, const char* comment);
  /// Writes one character of a quoted text (escapes, see the banner).
  void saveChar(std::ofstream& stream, char c);

 private:
  void openOnce(std::ofstream& stream);
  template <typename Number>
  bool saveNumber(std::ofstream& stream, const char* name, Number value, const char* comment);

  std::ofstream m_stream;
  bool m_fOpened;
};

#endif
