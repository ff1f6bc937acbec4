/// \file
/// KIV Library: code-page converters.
///
/// A converter turns bytes of one code page (named by its CCSID,
/// kiv_ccsid.hpp) into bytes of another. Every conversion goes through UCS-2
/// in host byte order:
/// ~~~
///   KivClCodePage2UnicodeConverter    the given CCSID  -> UCS-2 (13488)
///   KivClUnicode2CodePageConverter    UCS-2 (13488)    -> the given CCSID
///   KivClCodePage2CodePageConverter   source CCSID     -> target CCSID, the
///                                     two halves chained through an
///                                     intermediate buffer
///   KivClCodePage2UTF8Converter       the given CCSID  -> UTF-8 (1208)
/// ~~~
///
/// When it is constructed, a converter chooses once the one conversion method
/// that serves its pair, in this order of preference: copying or swapping
/// UCS-2, a built-in algorithm, a built-in table, an ICU converter, and last
/// the system's iconv. A conversion then only calls that method. A pair that
/// nothing serves keeps the method kivConvertError: isSupported() is false
/// and every conversion returns 0 with CPCONVERTER_UNSUPPORTED.
///
/// To UCS-2:   65500 swap; 1200, 13488, 17584, 61955, 65501 copy; 1208 UTF-8;
///             then, with 5026 read as 930, 5035 as 939, 938 as 948, 936 as
///             1386, 5488 and 18030 as 1392 and 954 as 33722: a single-byte
///             table, a double-byte table, ICU, iconv.
/// From UCS-2: 819 by algorithm; 500 and 850 by table; 1200, 13488, 17584,
///             61955, 65501 copy; 1208 UTF-8; 65500 swap; then, with 5488
///             and 18030 read as 1392: ICU, iconv.
/// iconv is opened with the names of the CCSID table ("850", "UCS-2", ...).
/// When ICU cannot open a code page, its refusal (for example
/// ICU_FILE_ACCESS_ERROR) stays in the error record until the first
/// conversion clears it, whatever method is chosen after it.
///
/// Errors: a conversion returns the number of bytes written to the target
/// and leaves its outcome in the converter's error record, read through
/// getLastError(); every conversion clears the record first. Nothing throws,
/// except a KivClException when ICU answers with a code that the library
/// does not know (kiv_icu.hpp).
///
/// ~~~
///   id                          class                    set when
///   CPCONVERTER_UNSUPPORTED     INCONSISTENT_SITUATION   the pair is unsupported
///   CPCONVERTER_INVALID_SEQ     USER_DATA_ERROR          the source is not valid in its
///                                                        code page
///   CPCONVERTER_TOO_BIG         DATA_OUT_OF_BOUNDS       the target is full (ICU reports
///                                                        this with USER_DATA_ERROR)
///   CPCONVERTER_INCOMPLETE      USER_DATA_ERROR          the source ends inside a character
///   CPCONVERTER_BAD_DESCR       INVALID_DATA             the iconv descriptor is invalid
///   CPCONVERTER_NO_TMP_BUFFER   OUT_OF_MEMORY            the intermediate buffer cannot be
///                                                        allocated
/// ~~~
///
/// Deliberately unusual, kept so:
///   - A character that does not fit into a full target counts as consumed:
///     the source pointer is already past it. Resuming loses that character.
///   - Several methods (tables, UCS-2 to 819) do not look at the target size;
///     give them getMaximumSizeForSize(source size) bytes.
///   - A source of UCS-2 in host order, or a target of it, skips the
///     intermediate buffer of the code page to code page converter.
///   - Copying and swapping UCS-2 stop at the smaller of source and target
///     without an error (an odd count is CPCONVERTER_INCOMPLETE).
///
/// Choices made here where the rules leave room:
///   - The iconv method brings its descriptor back to the initial state after
///     a complete conversion, writing the closing shift sequence a stateful
///     code page needs, so that every conversion starts afresh as with ICU.
///   - From UCS-2 through ICU, an odd last byte is CPCONVERTER_INCOMPLETE.
///   - The code page to code page converter resumes after a full target
///     without losing text (see its class).
///
/// Ownership: a converter owns its iconv descriptor, its ICU converter and
/// its intermediate buffer (taken from the memory manager); deinit() and the
/// destructor give them back. Converters cannot be copied. Thread safety: a
/// converter must not be used by two threads at once (its error record and
/// buffer are per object); different converters are independent.
#ifndef KIV_CONVERTER_HPP
#define KIV_CONVERTER_HPP

#include <memory>

#include "kiv_ccsid.hpp"
#include "kiv_error.hpp"
#include "kiv_export.hpp"

/// The base of every converter: its pair of CCSIDs, its chosen method, the
/// data that method uses, and its error record.
class KIV_EXPORT KivClConverterABase {
 public:
  /// The record handed to every conversion method.
  struct _KivStConverter {
    /// whose error record and method data the method uses
    const KivClConverterABase* pConverter;
    /// where output goes
    char* pTarget;
    /// bytes available at the target
    unsigned long ulTargetSize;
    /// the caller's source pointer; the method advances it past what it consumed
    const char** ppSource;
    /// bytes available at the source
    unsigned long ulSourceSize;
  };
  /// A conversion method: returns the bytes written to the target and sets
  /// the converter's error record when it could not convert everything.
  using KivPfuConvert = unsigned long (*)(_KivStConverter& record);

  /// Copies both CCSIDs; no method (kivConvertError), no data, no error.
  KivClConverterABase(const KivClCCSID& source, const KivClCCSID& target);
  /// Closes the iconv descriptor and the ICU converter (deinit()).
  virtual ~KivClConverterABase();
  KivClConverterABase(const KivClConverterABase&) = delete;
  KivClConverterABase& operator=(const KivClConverterABase&) = delete;

  /// The CCSID converted to.
  virtual KivClCCSID getTargetCCSID() const;
  /// The CCSID converted from.
  KivClCCSID getSourceCCSID() const;
  /// Whether a method serves the pair (the method is not kivConvertError).
  virtual bool isSupported() const;
  /// Whether the pair is converted by iconv; an unsupported pair counts as
  /// needing iconv too.
  virtual bool requiresExternalICONVRoutine() const;
  /// Whether the pair is converted by ICU (and so needs ICU's data).
  virtual bool requiresExternalICUData() const;
  /// Upper bound of the target bytes for `length` source characters.
  virtual unsigned long getMaximumSizeForLength(unsigned long length) const = 0;
  /// Upper bound of the target bytes for `size` source bytes.
  virtual unsigned long getMaximumSizeForSize(unsigned long size) const = 0;
  /// Converts `sourceSize` bytes at `source` into at most `targetSize` bytes
  /// at `target`; the caller's pointer is not moved. Returns the bytes
  /// written; the outcome is in getLastError().
  virtual unsigned long convertBytes(char* target, unsigned long targetSize, const char* source,
                                     unsigned long sourceSize) const;
  /// As above, and advances `*source` past the bytes consumed, so that the
  /// caller can resume after CPCONVERTER_TOO_BIG.
  virtual unsigned long convertBytes(char* target, unsigned long targetSize, const char** source,
                                     unsigned long sourceSize) const;

  /// The outcome of the last conversion; both fields 0 after success.
  const _KivStError& getLastError() const noexcept { return m_error; }
  /// Sets the error record; used by the conversion methods.
  void setError(long id, KivEnErrorClass errorClass) const noexcept {
    m_error.id = id;
    m_error.errorClass = errorClass;
  }
  /// Replaces the whole error record.
  void setError(const _KivStError& error) const noexcept { m_error = error; }
  /// The table or ICU converter the method uses; null when none.
  const void* getMethodData() const noexcept { return m_methodData; }
  /// The open iconv descriptor as an iconv_t, or (iconv_t)-1 when none.
  void* getIconvDescriptor() const noexcept;
  /// The chosen method.
  KivPfuConvert getMethod() const noexcept { return m_method; }

  /// Closes the iconv descriptor and the ICU converter, forgets the method
  /// data and sets the method back to kivConvertError. The CCSIDs and the
  /// error record stay. The code page to code page converter also drops
  /// the output it holds back after a full target.
  virtual void deinit();
  /// Makes the converter unsupported (method kivConvertError) without
  /// releasing anything; deinit() or the destructor still release. A
  /// conversion may do this (when it cannot get its buffer), so it is const.
  void setConverterError() const noexcept;

  /// The big-endian UCS-2 byte-order mark, FE FF, as a NUL-terminated
  /// two-byte text in constant storage.
  static const char* getUCS2BigEndianId() noexcept;
  /// The little-endian UCS-2 byte-order mark, FF FE, as a NUL-terminated
  /// two-byte text in constant storage.
  static const char* getUCS2LittleEndianId() noexcept;
  /// The byte-order mark of the host's order: the same text as
  /// getUCS2LittleEndianId(), since every host the library runs on is
  /// little-endian.
  static const char* getUCS2HostEndianId() noexcept;
  /// Whether `id` begins with the big-endian mark FE FF; false for null.
  /// `id` must hold two bytes or end (NUL) before them.
  static bool isUCS2BigEndianId(const char* id) noexcept;
  /// Whether `id` begins with the little-endian mark FF FE; false for null.
  /// `id` must hold two bytes or end (NUL) before them.
  static bool isUCS2LittleEndianId(const char* id) noexcept;

  /// Decodes the one UTF-8 sequence at `p` with no bounds or validity
  /// checks (overlong forms and bad trailing bytes are accepted) and
  /// returns its code point. Reads as many bytes as the lead byte announces.
  static unsigned int convertUtf8CharToUtf32(const char* p) noexcept;

 protected:
  /// Chooses the method from the source CCSID to UCS-2.
  void chooseCodePage2Unicode();
  /// Chooses the method from UCS-2 to the target CCSID.
  void chooseUnicode2CodePage();
  /// Takes a new source CCSID (after deinit()).
  void setSourceCCSID(const KivClCCSID& source) { m_source = source; }
  /// Sets the method and the data it uses. The converter does not own the
  /// data: a subclass that brings its own method keeps its data alive.
  void setMethod(KivPfuConvert method, const void* methodData = nullptr) noexcept;

 private:
  // Tries ICU and then iconv for the CCSID `ccsid` that serves the code
  // page side; `toUnicode` tells the direction.
  void chooseExternal(unsigned int ccsid, bool toUnicode);

  // Owners of the descriptors a method uses; they close them on deinit()
  // and destruction.
  struct IconvCloser {
    void operator()(void* descriptor) const noexcept;
  };
  struct IcuCloser {
    void operator()(const void* converter) const noexcept;
  };

  mutable _KivStError m_error;
  KivClCCSID m_source;
  KivClCCSID m_target;
  std::unique_ptr<void, IconvCloser> m_iconv;
  std::unique_ptr<const void, IcuCloser> m_icuConverter;
  const void* m_methodData = nullptr;
  mutable KivPfuConvert m_method;  // kivConvertError until a method is chosen
};

/// Converts the given CCSID to UCS-2 in host byte order (13488).
class KIV_EXPORT KivClCodePage2UnicodeConverter : public KivClConverterABase {
 public:
  /// A converter from `source` to 13488 that chooses its method at once
  /// (see the banner). When nothing serves `source`, isSupported() is false;
  /// when ICU refused it, ICU's error stays in the error record.
  explicit KivClCodePage2UnicodeConverter(const KivClCCSID& source);
  /// Releases the current method (deinit()), takes `source` as the new
  /// source CCSID and chooses the method again, so that one object serves
  /// one code page after another.
  void initNewCodePage2Unicode(const KivClCCSID& source);
  /// 4 x length for a source of 1392, else 2 x length.
  unsigned long getMaximumSizeForLength(unsigned long length) const override;
  /// size for a UCS-2 source, else 2 x size (also for 1392).
  unsigned long getMaximumSizeForSize(unsigned long size) const override;
};

/// Converts UCS-2 in host byte order (13488) to the given CCSID.
class KIV_EXPORT KivClUnicode2CodePageConverter : public KivClConverterABase {
 public:
  /// A converter from 13488 to `target` that chooses its method at once
  /// (see the banner). When nothing serves `target`, isSupported() is false;
  /// when ICU refused it, ICU's error stays in the error record.
  explicit KivClUnicode2CodePageConverter(const KivClCCSID& target);
  /// 5 x length for UTF-8, 4 x length for 1392, else 2 x length.
  unsigned long getMaximumSizeForLength(unsigned long length) const override;
  /// (size / 2) x 3 for UTF-8; size for 1392 and UCS-2; size / 2 for a
  /// single-byte target; size rounded down to even for the others.
  unsigned long getMaximumSizeForSize(unsigned long size) const override;
};

/// Converts between two code pages through UCS-2. Its base part is the
/// source to UCS-2 half; a member converter is the UCS-2 to target half.
/// Between them lies an intermediate buffer taken from the memory manager,
/// grown as needed and kept for the next conversion.
///
/// A full target: the UCS-2 that the second half could not take yet is held
/// back in the buffer, and the next conversion writes it first, before it
/// takes new source. The caller's source pointer has already moved past
/// that text, so a caller resumes after CPCONVERTER_TOO_BIG by calling
/// again, with the rest of its source or with none, until the error is
/// gone. (The UCS-2 to UTF-8 half loses the one character that did not fit,
/// as it does on its own.) deinit() drops held-back text.
///
/// A full target is always reported as CPCONVERTER_TOO_BIG: methods that
/// write without looking at the target size (UCS-2 to 819 and the built-in
/// tables) are handed only as much source as surely fits, and copying or
/// swapping UCS-2 only whole units that fit, so that a small target is
/// never overrun and a target of odd size is not taken for a cut unit; the
/// rest waits for the next call.
class KIV_EXPORT KivClCodePage2CodePageConverter : public KivClCodePage2UnicodeConverter {
 public:
  /// Chooses the methods of both halves at once: `source` to UCS-2 in the
  /// base part, UCS-2 to `target` in the member converter. The intermediate
  /// buffer is taken at the first conversion that needs it.
  KivClCodePage2CodePageConverter(const KivClCCSID& source, const KivClCCSID& target);
  /// Frees the intermediate buffer.
  ~KivClCodePage2CodePageConverter() override;

  /// The target of the UCS-2 to target half.
  KivClCCSID getTargetCCSID() const override;
  /// Both halves are supported.
  bool isSupported() const override;
  /// Either half needs iconv.
  bool requiresExternalICONVRoutine() const override;
  /// Either half needs ICU.
  bool requiresExternalICUData() const override;
  /// The UCS-2 to target half's bound for `length` characters.
  unsigned long getMaximumSizeForLength(unsigned long length) const override;
  /// `size` for equal CCSIDs; else, with a = the first half's bound for
  /// `size` and b = the second half's bound for a: a for a source of 1392,
  /// b for a UCS-2 source, else the smaller of b and the second half's
  /// bound for `size` characters.
  unsigned long getMaximumSizeForSize(unsigned long size) const override;
  using KivClConverterABase::convertBytes;
  /// Equal CCSIDs (65501 equals 13488) copy and leave the error record
  /// alone; a source or target of UCS-2 in host order runs one half
  /// directly; anything else runs both halves through the intermediate
  /// buffer. An incomplete character at the end of the source is reported
  /// as CPCONVERTER_INCOMPLETE after the rest is converted. When the buffer
  /// cannot be allocated the converter becomes unsupported and reports
  /// CPCONVERTER_NO_TMP_BUFFER.
  unsigned long convertBytes(char* target, unsigned long targetSize, const char** source,
                             unsigned long sourceSize) const override;
  /// Drops held-back text and releases the first half (the second half
  /// stays), as initNewCodePage2Unicode() needs.
  void deinit() override;

 private:
  unsigned long runFirstHalf(char* target, unsigned long targetSize, const char** source,
                             unsigned long sourceSize) const;
  unsigned long runSecondHalf(char* target, unsigned long targetSize, const char** source,
                              unsigned long sourceSize) const;
  unsigned long writeHeldBack(char* target, unsigned long targetSize) const;
  void holdOrDrop() const;

  KivClUnicode2CodePageConverter m_toTarget;
  mutable char* m_buffer = nullptr;
  mutable unsigned long m_bufferCapacity = 0;
  /// held-back UCS-2: its offset in the buffer and its size in bytes
  mutable unsigned long m_heldOffset = 0;
  mutable unsigned long m_heldSize = 0;
};

/// Converts the given CCSID to UTF-8 (1208).
class KIV_EXPORT KivClCodePage2UTF8Converter : public KivClCodePage2CodePageConverter {
 public:
  /// The code page to code page converter from `source` to 1208.
  explicit KivClCodePage2UTF8Converter(const KivClCCSID& source);
};

/// \name Conversion methods
/// Each converts the record's source into its target, advances
/// `*record.ppSource` past what it consumed, returns the bytes written and
/// reports trouble in the record's converter. UCS-2 is in host byte order.
/// A converter chooses one of them when it is made; a caller rarely calls
/// one directly.
/// @{

/// Algorithm: copies min(source size, target size) bytes; an odd count loses
/// its last byte and sets CPCONVERTER_INCOMPLETE (USER_DATA_ERROR). Like the
/// other algorithms it needs no table, never allocates and never writes a
/// byte behind the bytes it reports.
KIV_EXPORT unsigned long kivConvertByCopying(KivClConverterABase::_KivStConverter& record);
/// The same, swapping each pair of bytes: big-endian UCS-2 (65500) to host
/// order and back.
KIV_EXPORT unsigned long kivConvertByEndianSwap(KivClConverterABase::_KivStConverter& record);
/// UTF-8 (1208) to UCS-2, one sequence at a time, without validation:
/// overlong forms and bad trailing bytes are accepted, a stray byte 0x80 to
/// 0xBF stands for itself, encoded surrogates pass through, values above
/// U+FFFF become surrogate pairs (also beyond U+10FFFF), values of
/// 0x80000000 and more U+FFFD. Deliberately unusual, kept so:
/// - A sequence that lacks EXACTLY its last byte takes the byte just behind
///   the source size as that byte: the method reads one byte past the
///   source, and the source pointer ends one byte past it. The caller's
///   buffer must hold that byte. A sequence lacking two or more bytes sets
///   CPCONVERTER_INCOMPLETE and the source pointer stays at its lead byte.
/// - When the target is full, CPCONVERTER_TOO_BIG (DATA_OUT_OF_BOUNDS); the
///   sequence that did not fit counts as consumed and is lost on resuming.
/// - A unit needs two whole bytes: the last byte of an odd target size is
///   never written.
KIV_EXPORT unsigned long kivConvertByAlgorithmUTF8toUCS2(
    KivClConverterABase::_KivStConverter& record);
/// UCS-2 to UTF-8 (1208). A high surrogate followed by a low one makes one
/// four-byte sequence; lone surrogates and the noncharacters U+FDD0 to
/// U+FDEF, U+FFFE and U+FFFF become EF BF BF. An odd source size sets
/// CPCONVERTER_INCOMPLETE and converts the even part. A full target sets
/// CPCONVERTER_TOO_BIG; the unit or pair that did not fit counts as
/// consumed.
KIV_EXPORT unsigned long kivConvertByAlgorithmUCS2toUTF8(
    KivClConverterABase::_KivStConverter& record);
/// UCS-2 to ISO 8859-1 (819): the low byte of every unit, by design also of
/// units above U+00FF. Does not read the target size: the caller gives one
/// byte per unit. An odd source size sets CPCONVERTER_INCOMPLETE.
KIV_EXPORT unsigned long kivConvertByAlgorithmUCS2to819(
    KivClConverterABase::_KivStConverter& record);
/// Built-in table (the method data is the table): a single-byte ASCII-based
/// code page to UCS-2, one unit per source byte. Converts the whole source
/// and never fails; does not read the target size: the caller gives two
/// bytes per source byte.
KIV_EXPORT unsigned long kivConvertByTablesSBCS_ASCIItoUCS2(
    KivClConverterABase::_KivStConverter& record);
/// Built-in table: a single-byte EBCDIC code page to UCS-2, as the ASCII
/// method, except that the EBCDIC new line (U+0085) comes out as a line feed
/// (U+000A).
KIV_EXPORT unsigned long kivConvertByTablesSBCS_EBCDICtoUCS2(
    KivClConverterABase::_KivStConverter& record);
/// Built-in table: a double-byte ASCII-based code page to UCS-2. A lead byte
/// takes the next byte as its trail byte; every other byte is a single-byte
/// character. A lead byte in the last position takes the byte just behind
/// the source as its trail byte and consumes it, so the caller's buffer
/// must hold that byte. A lead byte the table has no data for gives U+FFFD.
/// Does not read the target size (two bytes per source byte suffice); never
/// fails.
KIV_EXPORT unsigned long kivConvertByTablesDBCS_ASCIItoUCS2(
    KivClConverterABase::_KivStConverter& record);
/// Built-in table: a double-byte EBCDIC code page to UCS-2. Shift-out
/// (0x0E) and shift-in (0x0F) switch between single- and double-byte
/// characters; every call starts in single-byte state. The EBCDIC new line
/// comes out as a line feed. Never reads behind the source: the whole source
/// counts as consumed, and a source that ends in double-byte state (a lead
/// byte without its trail byte, or no closing shift-in) sets
/// CPCONVERTER_INCOMPLETE. Does not read the target size (two bytes per
/// source byte suffice).
KIV_EXPORT unsigned long kivConvertByTablesDBCS_EBCDICtoUCS2(
    KivClConverterABase::_KivStConverter& record);
/// Built-in table: UCS-2 to a single-byte code page, one byte per unit
/// (a unit the code page lacks gives the code page's substitution byte).
/// An odd source size sets CPCONVERTER_INCOMPLETE and leaves the last byte
/// unconsumed. Does not read the target size: the caller gives one byte
/// per unit.
KIV_EXPORT unsigned long kivConvertByTablesUCS2toSBCS(KivClConverterABase::_KivStConverter& record);
/// ICU (the method data is the ICU converter): a code page to UCS-2 in one
/// ucnv_toUnicode call with flush on, writing whole units up to the target
/// size. ICU's status goes into the record through the ICU error map
/// (kiv_icu.hpp), warnings counting as success; a full target is
/// CPCONVERTER_TOO_BIG, and ICU writes what did not fit on the next call.
KIV_EXPORT unsigned long kivConvertByAlgorithmIcuToUnicode(
    KivClConverterABase::_KivStConverter& record);
/// ICU: UCS-2 to a code page in one ucnv_fromUnicode call with flush on, up
/// to the target size, with the status mapped as for the way to UCS-2. An
/// odd last byte is left unconsumed and, unless ICU reported an error, set
/// as CPCONVERTER_INCOMPLETE.
KIV_EXPORT unsigned long kivConvertByAlgorithmIcuFromUnicode(
    KivClConverterABase::_KivStConverter& record);
/// The system's iconv (the converter holds the descriptor), up to the target
/// size. After a complete conversion it brings the descriptor back to its
/// initial state, writing a closing shift sequence when the code page needs
/// one. iconv's errno becomes CPCONVERTER_INVALID_SEQ (EILSEQ),
/// CPCONVERTER_TOO_BIG (E2BIG), CPCONVERTER_INCOMPLETE (EINVAL) or
/// CPCONVERTER_BAD_DESCR (EBADF); the source pointer stops where iconv
/// stopped. In a build without iconv it sets CPCONVERTER_BAD_DESCR and
/// returns 0.
KIV_EXPORT unsigned long kivConvertByUsingIconv(KivClConverterABase::_KivStConverter& record);
/// The method of an unsupported pair: sets CPCONVERTER_UNSUPPORTED with
/// class INCONSISTENT_SITUATION and returns 0.
KIV_EXPORT unsigned long kivConvertError(KivClConverterABase::_KivStConverter& record);
/// @}

#endif
