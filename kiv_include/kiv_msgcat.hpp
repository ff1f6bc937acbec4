/// \file
/// KIV Library: message catalogs, string tables and the catalog flat
/// interface.
///
/// Every user-visible text is fetched by a numeric message id from a message
/// catalog: a file in the platform's message-catalog format (as gencat makes
/// it), always read from message set 1. Catalog file names always end in
/// ".cat"; a name without a directory is searched along NLSPATH and the
/// platform's default places, a name with a directory is opened as it is.
/// The library's own catalog is "qrnmsg50.cat" (the default constructor);
/// the build installs it as share/kiv/nls/qrnmsg50.cat, so a program finds it
/// with "NLSPATH=<prefix>/share/kiv/nls/%N". When a catalog cannot be opened, it
/// can fall back on a string table compiled into the program: an array of
/// texts indexed by message id, such as the library's built-in table
/// (kiv_msgtable.hpp).
///
/// Opening (init, run by every constructor), in this order:
///   1. setlocale(LC_ALL, "") - the locale of the environment.
///   2. catopen(name, NL_CAT_LOCALE), on a checked copy of the file (below);
///      on success go to step 4.
///   3. setlocale(LC_ALL, "C"); if that worked, catopen once more. If it
///      fails again (or the locale could not be set), the catalog is not
///      open.
///   4. Message 1 must be readable: a catalog without it is closed again and
///      counts as not open (its string table, if any, then answers).
/// The locale set in step 1 or 3 stays in force for the whole process
/// afterwards; the library deliberately does not restore it.
///
/// Catalog files are checked before catopen sees them. catopen trusts the
/// sizes written in a file (a file of twelve bytes can make it die with
/// SIGBUS), and the file may be chosen by anyone who can set NLSPATH for a
/// program. So the library looks the file up itself, the way catopen does (a
/// name with a "/" as it is; else the elements of NLSPATH and then the
/// platform's default places under /usr/share/locale, with "%N", "%L", "%l",
/// "%t", "%c" and "%%" replaced; the first file that opens ends the search),
/// copies it (up to 64 MiB) into a private sealed memory file, checks the copy (the
/// header, the magic number in either byte order, a hash table size above
/// 0, both hash tables and every text inside the file) and hands catopen
/// the copy by its /proc/self/fd name. A file that fails the check is not
/// open, like a missing one, and nothing is printed. An open catalog keeps
/// its texts when its file changes or shrinks afterwards. Where /proc is not
/// mounted, no catalog opens.
///
/// Looking up message id N (done by KivClMessage, kiv_message.hpp):
///   - open catalog: message N of set 1; when it is missing, the text is
///     "UNABLE TO LOAD MESSAGE #N FROM CATALOG: " and the file name, even if
///     the string table has entry N (the table is never used while the
///     catalog is open);
///   - not open, with a string table and N below its size: entry N;
///   - otherwise "UNABLE TO LOAD MESSAGE CATALOG: " and the file name.
/// The fallback texts count as "not loaded".
///
/// Deliberately unusual, kept so:
///   - isValidMessageId() of the catalog is static and only says id > 0 (id 0
///     is reserved; in the built-in table it is the signature line), while
///     the proxy's isValidMessageId() and kivMsgCatIsValid() say whether the
///     text can be loaded, so id 0 of an attached built-in table is valid
///     there.
///   - kivMsgCatGetVar always reads the argument after the first insert,
///     even when the first insert is null: the list must be closed by a null
///     pointer after at least one insert argument, so a call without inserts
///     passes two nulls.
///
/// Choices made here where the rules leave room:
///   - The proxy's text buffer holds KIV_MSGCAT_TEXT_BUFFER_SIZE (4104)
///     characters with its NUL; a longer text (a fallback text with a very
///     long file name) is cut at 4103 characters.
///   - The text buffer is overwritten only when the new message is
///     complete, so an insert may be the text fetched before through the same
///     handle: kivMsgCatGetVar(h, id, kivMsgCatGet(h, other), nullptr).
///   - A null name given to kivMsgCatOpen or kivMsgCatOpenOrUseStringTable
///     counts as the empty name (".cat" then, which is normally not found).
///     A null handle makes kivMsgCatIsValid answer false and kivMsgCatGet and
///     kivMsgCatGetVar return null; kivMsgCatClose(null) does nothing.
///   - useStringTable with a null table removes the table (size 0).
///   - Calling init() again closes the catalog and opens it anew.
///   - Ids above the largest int cannot be in a catalog file; they read as
///     missing there.
///
/// Ownership: a string table is not owned and not copied; the caller keeps
/// it alive as long as the catalog. A proxy made by an open call owns its
/// catalog unless it was attached to one (kivMsgCatOpenAttach), and both
/// are allocated through the memory manager; kivMsgCatClose frees them. The
/// texts returned by kivMsgCatGet and kivMsgCatGetVar live in the handle's
/// text buffer until the next fetch through the same handle or its closing.
/// Failure: a catalog that cannot be opened is simply not open (nothing is
/// thrown or printed); missing messages read as fallback texts. The open
/// calls throw KivClExceptionFatal from the memory manager when memory runs
/// out; nothing else here throws.
///
/// Locale and threads: every call that opens a catalog (the constructors of
/// KivClMessageCatalog and of an owning KivClMessageCatalogProxy, init(),
/// kivMsgCatOpen, kivMsgCatOpenOrUseStringTable, and KivClConsoleUI, which
/// owns a catalog) calls setlocale(LC_ALL, "") and perhaps setlocale(LC_ALL,
/// "C"). That sets the locale of the whole process and is not safe while
/// another thread makes a locale-dependent call (printf and strtod, toupper,
/// regcomp, the C++ streams, ...): open catalogs before other threads start,
/// or while none of them runs such calls. It is kept so on purpose - it is
/// how a catalog finds its language - and the locale is not restored.
/// Thread safety otherwise: no locking; a handle's text buffer is shared by
/// all its callers.
#ifndef KIV_MSGCAT_HPP
#define KIV_MSGCAT_HPP

#include "kiv_export.hpp"
#include "kiv_file.hpp"
#include "kiv_filename.hpp"

/// Base name of the library's own catalog; the file is "qrnmsg50.cat".
inline constexpr const char* KIV_MSGCAT_DEFAULT_NAME = "qrnmsg50";
/// Extension every catalog file name gets.
inline constexpr const char* KIV_MSGCAT_EXTENSION = ".cat";
/// Size of a proxy's text buffer, the NUL included.
inline constexpr unsigned long KIV_MSGCAT_TEXT_BUFFER_SIZE = 4104;

namespace kiv::detail {

/// Owns the descriptor of an open platform message catalog and closes it
/// when it goes out of scope. Not copyable.
class CatalogDescriptor {
 public:
  CatalogDescriptor() noexcept = default;
  ~CatalogDescriptor();
  CatalogDescriptor(const CatalogDescriptor&) = delete;
  CatalogDescriptor& operator=(const CatalogDescriptor&) = delete;

  /// Closes any open descriptor, then looks the file up as
  /// catopen(name, NL_CAT_LOCALE) would, checks a sealed copy of it and
  /// catopens the copy (see the banner).
  /// \returns true when the catalog is open
  bool open(const char* name) noexcept;
  /// Closes the descriptor (catclose) when one is open.
  void close() noexcept;
  /// True while a descriptor is open.
  bool isOpen() const noexcept { return m_pvHandle != nullptr; }
  /// Message `id` of set `set`, or null when missing or nothing is open.
  const char* get(int set, int id) const noexcept;

 private:
  void* m_pvHandle = nullptr;  ///< the descriptor; null when none is open
};

}  // namespace kiv::detail

/// A message catalog file with an optional string table as fallback (see
/// the banner). The file name held by the KivClFile base is the catalog's
/// file name and always ends in ".cat". Not copyable.
///
/// Opening (the constructors and init()) sets the locale of the whole
/// process with setlocale(LC_ALL, ""): not safe beside other threads'
/// locale-dependent calls (see the banner).
class KIV_EXPORT KivClMessageCatalog : public KivClFile {
 public:
  /// The library's own catalog "qrnmsg50.cat"; no string table. Opens it.
  KivClMessageCatalog();
  /// The catalog `name` with its extension replaced by ".cat" ("msgs",
  /// "msgs.txt" and "msgs.cat" all give "msgs.cat"); no string table.
  /// Opens it.
  explicit KivClMessageCatalog(const KivClFilename& name);
  /// Closes the catalog file when it is open.
  ~KivClMessageCatalog() override;

  KivClMessageCatalog(const KivClMessageCatalog&) = delete;
  KivClMessageCatalog& operator=(const KivClMessageCatalog&) = delete;

  /// Opens the catalog file (the steps of the banner, including the process
  /// locale change) and checks that message 1 can be read. A catalog that
  /// cannot be opened or validated is not open; nothing is reported.
  void init();

  /// True when `id` is greater than 0. Looks at no catalog: id 0 is
  /// reserved, although the built-in table has an entry 0.
  static bool isValidMessageId(unsigned long id) { return id > 0; }

  /// Attaches a fallback table (replacing any table given before); it
  /// answers ids 0 to size - 1 while the catalog file is not open. The
  /// table is not copied: keep it alive as long as the catalog. A null
  /// table removes the fallback.
  void useStringTable(const char* const* table, unsigned long size);

  /// True when the catalog file was opened and message 1 could be read.
  bool isOpen() const { return m_bOpen; }
  /// True only for the library's own catalog (the default constructor).
  bool isDefaultCatalog() const { return m_bDefault; }
  /// The attached string table, or null.
  const char* const* getStringTable() const { return m_ppszStringTable; }
  /// Number of usable entries of the string table (0 when none).
  unsigned long getStringTableSize() const { return m_ulStringTableSize; }

  /// The raw text of message `id` (set 1) in the open catalog file, inserts
  /// not replaced; null when the catalog is not open or lacks the message.
  /// The text belongs to the catalog and lives as long as it is open.
  const char* getCatalogText(unsigned long id) const;

 private:
  kiv::detail::CatalogDescriptor m_clDescriptor;  ///< valid only while open
  bool m_bOpen;                                   ///< opened and message 1 read
  bool m_bDefault;                                ///< the library's own catalog
  const char* const* m_ppszStringTable;           ///< fallback texts; not owned
  unsigned long m_ulStringTableSize;              ///< ids 0 to size - 1 served
};

/// The object behind a flat-interface handle: a catalog (owned or not) and
/// a text buffer for the last message fetched. Not copyable.
///
/// The constructors that take a name open a catalog and so set the locale
/// of the whole process with setlocale(LC_ALL, ""): not safe beside other
/// threads' locale-dependent calls (see the banner).
class KIV_EXPORT KivClMessageCatalogProxy {
 public:
  /// Creates and owns the catalog `name` (".cat" is put in place of its
  /// extension); empty text buffer.
  explicit KivClMessageCatalogProxy(const KivClFilename& name);
  /// As above; then, when the new catalog is not open, attaches `table` of
  /// `size` entries to it as fallback.
  KivClMessageCatalogProxy(const KivClFilename& name, const char* const* table, unsigned long size);
  /// Attaches to `catalog`, which the caller owns and keeps alive.
  explicit KivClMessageCatalogProxy(const KivClMessageCatalog* catalog);
  /// Destroys the catalog when this proxy owns it.
  ~KivClMessageCatalogProxy();

  KivClMessageCatalogProxy(const KivClMessageCatalogProxy&) = delete;
  KivClMessageCatalogProxy& operator=(const KivClMessageCatalogProxy&) = delete;

  /// True when message `id` can be loaded (from the catalog file or from its
  /// string table). Unlike KivClMessageCatalog::isValidMessageId, id 0 of a
  /// string table counts. False when there is no catalog.
  bool isValidMessageId(unsigned long id) const;

  /// Message `id` without inserts, copied into the text buffer.
  /// \returns the text buffer, valid until the next fetch or destruction
  const char* getMessage(unsigned long id);
  /// Message `id` with `inserts`, an array of ten entries (null entries are
  /// missing; a null array means no inserts), copied into the text buffer.
  /// \returns the text buffer, valid until the next fetch or destruction
  const char* getMessage(unsigned long id, const char* const* inserts);

  /// The catalog that answers (owned or attached); may be null only for a
  /// proxy attached to null.
  const KivClMessageCatalog* getCatalog() const { return m_pclCatalog; }
  /// True when this proxy created the catalog and destroys it.
  bool ownsCatalog() const { return m_bOwnsCatalog; }

 private:
  bool m_bOwnsCatalog;                         ///< destroy the catalog at the end
  const KivClMessageCatalog* m_pclCatalog;     ///< the catalog that answers
  char m_szText[KIV_MSGCAT_TEXT_BUFFER_SIZE];  ///< last text fetched
};

extern "C" {

/// Opens catalog `name` (".cat" put in place of its extension) in an owning
/// proxy. Sets the process locale (setlocale(LC_ALL, ""), see the banner).
/// \returns the handle, or null when the catalog cannot be opened or lacks
///          message 1 (the proxy is then destroyed again)
/// \throws KivClExceptionFatal when memory runs out
KIV_EXPORT KivClMessageCatalogProxy* kivMsgCatOpen(const char* name);

/// A proxy that does not own `catalog` (the caller keeps it alive longer
/// than the handle).
/// \returns the handle, or null (catalog untouched) when `catalog` is null
///          or not open
/// \throws KivClExceptionFatal when memory runs out
KIV_EXPORT KivClMessageCatalogProxy* kivMsgCatOpenAttach(const KivClMessageCatalog* catalog);

/// Opens catalog `name` in an owning proxy; when it cannot be opened,
/// `table` of `size` entries answers instead (it must outlive the handle).
/// Sets the process locale (setlocale(LC_ALL, ""), see the banner).
/// \returns always a handle
/// \throws KivClExceptionFatal when memory runs out
KIV_EXPORT KivClMessageCatalogProxy* kivMsgCatOpenOrUseStringTable(const char* name,
                                                                   const char* const* table,
                                                                   unsigned long size);

/// True when message `id` can be loaded through `handle` (see the proxy's
/// isValidMessageId); false for a null handle.
KIV_EXPORT bool kivMsgCatIsValid(KivClMessageCatalogProxy* handle, unsigned long id);

/// Message `id` without inserts.
/// \returns a pointer into the handle's text buffer, valid until the next
///          fetch through the same handle or its closing; null for a null
///          handle
KIV_EXPORT const char* kivMsgCatGet(KivClMessageCatalogProxy* handle, unsigned long id);

/// Message `id` with inserts given as further arguments of type const
/// char*: `insert1` is insert 1, and the arguments after it fill inserts 2
/// to 10 until one of them is null or ten are collected (an eleventh insert
/// and anything after it are never read). The argument after `insert1` is
/// always read, even when `insert1` is null, so close the list with a null
/// pointer: kivMsgCatGetVar(h, id, "a", "b", nullptr), and without inserts
/// kivMsgCatGetVar(h, id, nullptr, nullptr).
/// \returns as kivMsgCatGet
KIV_EXPORT const char* kivMsgCatGetVar(KivClMessageCatalogProxy* handle, unsigned long id,
                                       const char* insert1, ...);

/// Destroys the proxy (and its catalog when owned) and frees it. Null is
/// ignored.
KIV_EXPORT void kivMsgCatClose(KivClMessageCatalogProxy* handle);

}  // extern "C"

#endif
