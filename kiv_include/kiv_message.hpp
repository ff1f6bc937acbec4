/// \file
/// KIV Library: messages with inserts.
///
/// KivClMessage is one message fetched from a message catalog
/// (kiv_msgcat.hpp) by its id, with up to ten inserts put into its text. It
/// owns the finished text: texts of up to KIV_MESSAGE_INLINE_LENGTH (80)
/// characters are kept inside the object, longer ones in a heap copy made
/// through the memory manager (kivMalloc). A message never fails: one that
/// cannot be found becomes a readable fallback text and reports isLoaded()
/// false.
///
/// Insert syntax, scanning the text from the left:
/// ~~~
///   "%%"   one "%".
///   "%N"   insert N (1 to 10). N is read with atol from the character after
///          the "%", so leading white space and a sign are accepted. N is
///          compared as an unsigned number: a number above the count of
///          usable inserts (negative numbers count as very large) writes
///          "???". After the insert, the decimal digits that follow the "%"
///          are skipped, but only when the character right after the "%" is a
///          digit; otherwise nothing is skipped. Hence:
///            %10 is insert 10, %01 is insert 1, %1x is insert 1 and "x",
///            %11 is "???" when ten inserts are usable,
///            "% 1" is insert 1 followed by " 1" (the blank and the digit
///            stay), %-1 is "???" followed by "-1".
///   other characters are copied.
/// ~~~
/// Missing (null) inserts read "???"; surplus inserts are ignored.
///
/// Loading (every constructor and setNewMessageId), in this order: the id is
/// looked up in the catalog (open catalog: the catalog file only; else its
/// string table when the id is below the table size); a text found has its
/// inserts replaced into a working buffer of 4096 characters (longer results
/// are cut there) and the message is loaded. When nothing is found, the text
/// is "UNABLE TO LOAD MESSAGE #<id> FROM CATALOG: " (catalog open) or
/// "UNABLE TO LOAD MESSAGE CATALOG: " (not open) followed by the catalog's
/// file name; the caller's inserts are not used then. The new text then
/// replaces the previous one.
///
/// Deliberately unusual, kept so:
///   - Assignment copies text, id and loaded flag, but NOT the catalog: the
///     target keeps the catalog it was constructed with, so a later
///     setNewMessageId on it looks the id up there.
///   - The fallback texts name the id but ignore the inserts.
///   - The id in a fallback text is written by the signed long conversion
///     (kivLtoa), so an id above the largest long shows as a negative number
///     ("UNABLE TO LOAD MESSAGE #-1 FROM CATALOG: ..." for the largest
///     unsigned long).
///
/// Choices made here where the rules leave room:
///   - Insert number 0, a "%" followed by a character that is neither a
///     digit, a blank, a sign nor "%", and a "%" at the very end of a text
///     are treated like an out-of-range number: they write "???" (the
///     character after the "%" is then copied as usual).
///   - replaceVars treats a null source as the empty text and a null insert
///     array or null insert entry as a missing insert ("???"); it writes
///     nothing when the output buffer is null.
///   - Inserts may point into the message's own text (for example
///     setNewMessageId(id, getText())): the previous text is kept until the
///     new one is complete, so such an insert reads the previous text.
///   - A fallback text whose catalog file name does not fit is cut at 4096
///     characters, like any other text.
///   - Copy construction copies the catalog reference as well (a copy is a
///     new message of the same catalog), unlike assignment.
///
/// Ownership: the message owns its text; getText() points into the object (or
/// its heap copy) and stays valid until the next load, assignment or the
/// destruction of the message. The catalog is not owned and must outlive the
/// message. Inserts are needed only while loading; no pointer to them is kept.
/// Failure: nothing is reported; memory exhaustion for a long text throws
/// KivClExceptionFatal from the memory manager. Thread safety: none; a
/// message is used by one thread at a time (the catalog is only read).
#ifndef KIV_MESSAGE_HPP
#define KIV_MESSAGE_HPP

#include "kiv_export.hpp"

class KivClMessageCatalog;

/// Longest text kept inside a message object (longer texts go to the heap).
inline constexpr unsigned long KIV_MESSAGE_INLINE_LENGTH = 80;
/// Number of inserts a message can take ("%1" to "%10").
inline constexpr unsigned long KIV_MESSAGE_MAX_INSERTS = 10;
/// Capacity, in characters, of the working buffer inserts are replaced into;
/// longer texts are cut there.
inline constexpr unsigned long KIV_MESSAGE_MAX_LENGTH = 4096;

/// One message of a catalog with its inserts replaced (see the banner).
class KIV_EXPORT KivClMessage {
 public:
  /// Loads message `id` of `catalog` without inserts (every "%N" reads "???").
  KivClMessage(const KivClMessageCatalog& catalog, unsigned long id);

  /// Loads message `id` of `catalog` with up to ten inserts; a null insert
  /// counts as missing and reads "???".
  KivClMessage(const KivClMessageCatalog& catalog, unsigned long id, const char* insert1,
               const char* insert2 = nullptr, const char* insert3 = nullptr,
               const char* insert4 = nullptr, const char* insert5 = nullptr,
               const char* insert6 = nullptr, const char* insert7 = nullptr,
               const char* insert8 = nullptr, const char* insert9 = nullptr,
               const char* insert10 = nullptr);

  /// Loads message `id` of `catalog` with the inserts of `inserts`, an array
  /// that must hold ten readable entries (null entries count as missing; a
  /// null array means no inserts).
  KivClMessage(const KivClMessageCatalog& catalog, unsigned long id, const char* const* inserts);

  /// A copy of `other`: same catalog, text, id and loaded flag.
  KivClMessage(const KivClMessage& other);

  /// Frees the heap copy of a long text, if any.
  ~KivClMessage();

  /// Copies text, id and loaded flag of `other`; this message keeps its own
  /// catalog (deliberately not copied, see the banner).
  KivClMessage& operator=(const KivClMessage& other);

  /// Stores `id` and loads it again without inserts.
  /// \returns the new text (see getText)
  const char* setNewMessageId(unsigned long id);

  /// Stores `id` and loads it again with up to ten inserts (null: missing).
  /// \returns the new text (see getText)
  const char* setNewMessageId(unsigned long id, const char* insert1, const char* insert2 = nullptr,
                              const char* insert3 = nullptr, const char* insert4 = nullptr,
                              const char* insert5 = nullptr, const char* insert6 = nullptr,
                              const char* insert7 = nullptr, const char* insert8 = nullptr,
                              const char* insert9 = nullptr, const char* insert10 = nullptr);

  /// Loads the stored id from the catalog with the inserts of `inserts` (ten
  /// readable entries, null entries missing; a null array means none); the
  /// common loader of all the above (see the banner for the steps).
  /// \returns the new text (see getText)
  const char* loadMessage(const char* const* inserts);

  /// Replaces the inserts of `source` into `output`.
  /// \param output    receives at most `capacity` characters and a NUL, so
  ///                  it must hold `capacity` + 1 characters
  /// \param capacity  the most characters to write; the output is cut there
  /// \param source    the text with "%N" inserts and "%%" (null: empty)
  /// \param inserts   the inserts; entry N-1 is insert N (null: all missing)
  /// \param usable    how many inserts may be used; a larger "%N" gives "???"
  /// \returns the number of characters written, without the NUL
  unsigned long replaceVars(char* output, unsigned long capacity, const char* source,
                            const char* const* inserts, unsigned long usable) const;

  /// The text: never null; owned by the message (see the banner).
  const char* getText() const { return m_pszText; }
  /// True when the text was found in the catalog or in its string table;
  /// false for a fallback text.
  bool isLoaded() const { return m_bLoaded; }
  /// The id last loaded.
  unsigned long getMessageId() const { return m_ulMessageId; }
  /// The catalog given at construction.
  const KivClMessageCatalog& getCatalog() const { return m_rclCatalog; }

 private:
  /// Keeps `text` of `length` characters: inline up to 80, else a heap copy.
  void keepText(const char* text, unsigned long length);
  /// Frees the heap copy, if any, and leaves the empty inline text.
  void dropText() noexcept;

  const KivClMessageCatalog& m_rclCatalog;         ///< where ids are looked up
  char m_szInline[KIV_MESSAGE_INLINE_LENGTH + 1];  ///< texts of up to 80 characters
  char* m_pszText;                                 ///< m_szInline or a heap copy
  unsigned long m_ulMessageId;                     ///< the id last loaded
  bool m_bLoaded;                                  ///< found in catalog or table
};

#endif
