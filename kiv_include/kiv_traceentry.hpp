/// \file
/// KIV Library: trace entries, their record layout and the 6-bit text code.
///
/// Every traced event becomes one entry: a fixed part of 20 bytes, the
/// message text and the function name text (each at most 255 stored bytes),
/// and then the caller's data bytes. The record (fixed part and texts) and
/// the data are written into the trace buffer as two pieces and reach the
/// trace file unchanged, so this layout is also the trace file format. All
/// fields are in the machine's own byte order, without padding:
///
/// ~~~
///   offset size field
///        0    1 bits 0-4 data type (KivEnTraceDataType), bit 5 texts
///               compressed, bits 6-7 detail level (KivEnTraceDetail)
///        1    1 component id (low 8 bits of the caller's 16-bit id)
///        2    1 m: stored length of the message text
///        3    1 n: stored length of the function name text
///        4    4 time stamp (kivGetTimeStamp; always 0 in this library)
///        8    4 process id, as the trace environment recorded it
///       12    4 thread id (KivClThreadProperty; 0 in this library)
///       16    4 data length in bytes
///       20    m message text, no terminating zero
///   20 + m    n function name text, no terminating zero
/// ~~~
///
/// The data bytes follow the record; a trace file is nothing but record and
/// data pairs in the order written, with no header and no separator.
///
/// With compression on (flag 1 of the trace settings), both texts are stored
/// in a 6-bit code: a space, ",&*:_~()<>", "A"-"Z" and "a"-"z" have the code
/// values 0 to 62 in that order; any other byte is written as the escape 63
/// followed by the byte itself in 8 bits. The byte 255 deliberately has code
/// 0 as well, so it comes back as a space. Bits are written from the most
/// significant bit of each byte down, and the last byte is filled with one
/// bits.
///
/// Ownership: an entry refers to its trace environment and to the caller's
/// data (neither copied nor owned; both must outlive the entry until it is
/// written). Failure: building an entry never fails: a null data pointer
/// becomes type 6 with no data, data longer than the buffer's data area are
/// clipped to it (type 5), and texts that do not fit 255 stored bytes are cut
/// without a mark. Reading a trace file ends, returning false, at the first
/// entry whose fixed part or texts cannot be read whole. Thread safety:
/// entries are plain values built on the caller's stack, one thread per
/// object; the compression functions are reentrant.
#ifndef KIV_TRACEENTRY_HPP
#define KIV_TRACEENTRY_HPP

#include <cstdint>
#include <iosfwd>

#include "kiv_export.hpp"
#include "kiv_tracetypes.hpp"

class KivClTraceEnvironment;

/// What the data bytes of an entry hold, stored in bits 0 to 4 of the
/// record's first byte. The trace formatter names them (short / long name
/// in the comments).
enum KivEnTraceDataType : std::uint32_t {
  KIV_TRACE_TYPE_NONE = 0,            ///< no data ("" / "")
  KIV_TRACE_TYPE_FUNCTION_ENTRY = 1,  ///< nesting level, 8 bytes ("FE" / "FUNCTION ENTRY")
  KIV_TRACE_TYPE_FUNCTION_EXIT = 2,   ///< nesting level, 8 bytes ("FX" / "FUNCTION EXIT")
  KIV_TRACE_TYPE_NO_DATA = 3,         ///< no data ("ND" / "NO DATA")
  KIV_TRACE_TYPE_DATA = 4,            ///< raw bytes ("DA" / "DATA")
  KIV_TRACE_TYPE_DATA_CLIPPED = 5,    ///< raw bytes, clipped by the entry itself
  KIV_TRACE_TYPE_DATA_NULL = 6,       ///< no data: the caller passed a null pointer
  KIV_TRACE_TYPE_ADDRESS = 7,         ///< an address ("p" / "Address")
  KIV_TRACE_TYPE_CSTRING = 8,         ///< characters of a C string ("cpsz" / "C string")
  KIV_TRACE_TYPE_UNICODE = 9,         ///< 16-bit characters ("wc" / "Unicode")
  KIV_TRACE_TYPE_BOOL = 10,           ///< a bool ("b")
  KIV_TRACE_TYPE_INT8 = 11,           ///< "i8"
  KIV_TRACE_TYPE_UINT8 = 12,          ///< "w8"
  KIV_TRACE_TYPE_INT16 = 13,          ///< "i16"
  KIV_TRACE_TYPE_UINT16 = 14,         ///< "w16"
  KIV_TRACE_TYPE_INT32 = 15,          ///< "i32"
  KIV_TRACE_TYPE_UINT32 = 16,         ///< "w32"
  KIV_TRACE_TYPE_INT64 = 17,          ///< "i64"
  KIV_TRACE_TYPE_UINT64 = 18,         ///< "w64"
  KIV_TRACE_TYPE_FLOAT = 19,          ///< "f"
  KIV_TRACE_TYPE_DOUBLE = 20,         ///< "d"
  KIV_TRACE_TYPE_LONG_DOUBLE = 21,    ///< "ld"
};

/// One trace entry: the record described above and a pointer to the
/// caller's data.
class KIV_EXPORT KivClTraceEntry {
 public:
  /// Size of the fixed part of the record.
  static constexpr unsigned long FIXED_SIZE = 20;
  /// Most bytes stored for one text.
  static constexpr unsigned long TEXT_LIMIT = 255;
  /// Size of the record area: the fixed part, two texts of 255 bytes, and
  /// one spare byte per text, because the coder may need a 256th byte for
  /// an escaped character begun just before the limit (which the entry then
  /// drops again).
  static constexpr unsigned long RECORD_AREA_SIZE = FIXED_SIZE + 2 * (TEXT_LIMIT + 1);

  /// Builds the entry's record: the detail, the low 8 bits of componentId,
  /// the type, the time stamp, the environment's process id, the current
  /// thread id and the data length; then the message and the function name,
  /// compressed when the environment's settings have compression on, else
  /// copied (at most 255 characters each). A null data pointer gives type 6
  /// and length 0; a length above the environment's buffer data area
  /// (getBufferSize()) is clipped to it with type 5. Null texts count as
  /// empty. `data` is not copied: it must stay valid until the entry is
  /// written.
  KivClTraceEntry(const KivClTraceEnvironment& environment, KivEnTraceDetail detail,
                  unsigned short componentId, KivEnTraceDataType type, const char* function,
                  const char* message, const void* data, unsigned long length);
  /// An empty entry: record cleared, record length 0, no data.
  explicit KivClTraceEntry(const KivClTraceEnvironment& environment);
  virtual ~KivClTraceEntry();
  KivClTraceEntry(const KivClTraceEntry&) = delete;
  KivClTraceEntry& operator=(const KivClTraceEntry&) = delete;

  /// Bits 6-7 of the first byte.
  KivEnTraceDetail getDetail() const noexcept;
  /// Bits 0-4 of the first byte.
  KivEnTraceDataType getType() const noexcept;
  /// Bit 5 of the first byte: the texts are in the 6-bit code.
  bool isCompressed() const noexcept;
  /// Puts the detail into bits 6-7 and keeps bits 0-5.
  void setDetail(KivEnTraceDetail detail) noexcept;
  /// Puts the type into bits 0-4 and keeps bits 6-7; this clears the
  /// compression bit, so set the type before that bit.
  void setType(KivEnTraceDataType type) noexcept;

  /// The stored component id (0-255).
  unsigned short getComponentId() const noexcept;
  /// Stored byte count of the message text (offset 2).
  unsigned long getStoredMessageLength() const noexcept;
  /// Stored byte count of the function name text (offset 3).
  unsigned long getStoredFunctionLength() const noexcept;
  /// The time stamp field (offset 4).
  std::uint32_t getTimeStamp() const noexcept;
  /// The process id field (offset 8).
  std::uint32_t getProcessId() const noexcept;
  /// The thread id field (offset 12).
  std::uint32_t getThreadId() const noexcept;
  /// The data length field (offset 16).
  unsigned long getDataLength() const noexcept;

  /// The record: getRecordLength() bytes, owned by the entry.
  const char* getRecord() const noexcept { return m_achRecord; }
  /// 20 plus the two stored text lengths; 0 for an empty entry.
  unsigned long getRecordLength() const noexcept { return m_ulRecordLength; }
  /// The caller's data (null for an empty entry, a file entry or type 6).
  const void* getData() const noexcept { return m_pvData; }
  /// The trace environment the entry belongs to.
  const KivClTraceEnvironment& getEnvironment() const noexcept { return m_rEnvironment; }

  /// Writes `text` in the 6-bit code to `out`, starting a new character
  /// only while the bit position is at most 8 x (limit - 1), then fills the
  /// last byte with one bits. Returns the bytes used. The last character may
  /// end past the limit: `out` must hold limit + 1 bytes (an escaped
  /// character begun at the last allowed position needs them). A limit of 0
  /// writes nothing.
  static unsigned long compressCString(char* out, const char* text, unsigned long limit) noexcept;
  /// Writes the low `bitCount` (1 to 8) bits of `value` at `bitPosition`
  /// (counted from the most significant bit of out[0]). At a byte boundary
  /// the byte is assigned; otherwise the bits are added to the current byte,
  /// whose unused low bits must be zero, and any bits that do not fit are
  /// assigned to the next byte. So output is built strictly forward.
  static void compressWriteBits(char* out, unsigned long bitPosition, char value,
                                unsigned long bitCount) noexcept;
  /// Decodes `inLength` bytes of the 6-bit code into `out` (which must hold
  /// (8 x inLength) / 6 + 1 characters), terminates it with a zero and
  /// returns the characters produced. Fill bits end the decoding; an escape
  /// with fewer than 6 bits after it ends it too.
  static unsigned long deCompressCString(char* out, const char* in,
                                         unsigned long inLength) noexcept;
  /// The `bitCount` (1 to 8) bits at `bitPosition` of `in`, as the low bits
  /// of the result. Bits of the following byte are read only when the bits
  /// asked for reach into it.
  static char deCompressReadBits(const char* in, unsigned long bitPosition,
                                 unsigned long bitCount) noexcept;

 protected:
  /// Clears the record area, the record length and the data pointer.
  void clear() noexcept;

  /// The trace environment the entry belongs to (not owned): its settings
  /// decide on compression, and it keeps the compression rate.
  const KivClTraceEnvironment& m_rEnvironment;
  /// The record: the fixed part, then the stored message and function texts.
  char m_achRecord[RECORD_AREA_SIZE];
  /// Bytes of the record in use (getRecordLength()); 0 for an empty entry.
  unsigned long m_ulRecordLength;
  /// The caller's data, not copied (getData()); null when there is none.
  const void* m_pvData;
};

/// An entry read back from a trace file, with its two texts as plain,
/// zero-terminated text.
class KIV_EXPORT KivClTraceFileEntry : public KivClTraceEntry {
 public:
  /// Size of each plain text buffer.
  static constexpr unsigned long TEXT_SIZE = 512;

  /// An empty file entry for the given environment, which receives the
  /// compression rate of every text decompressed by read().
  explicit KivClTraceFileEntry(const KivClTraceEnvironment& environment);
  ~KivClTraceFileEntry() override;

  /// Reads the next entry's record (fixed part and texts) from `stream`;
  /// the data bytes are left in the stream for the caller to read or skip
  /// (getDataLength()). Compressed texts are decoded, each reported to the
  /// environment's recordCompressionRate. Returns false, with the record
  /// cleared, when the fixed part cannot be read whole; otherwise true while
  /// the stream is not at its end (so an entry whose texts are cut short
  /// returns false too).
  bool read(std::istream& stream);

  /// The function name, zero-terminated.
  const char* getFunctionName() const noexcept { return m_achFunction; }
  /// Characters in the function name.
  unsigned long getFunctionNameLength() const noexcept { return m_ulFunctionLength; }
  /// The message, zero-terminated.
  const char* getMessage() const noexcept { return m_achMessage; }
  /// Characters in the message.
  unsigned long getMessageLength() const noexcept { return m_ulMessageLength; }

 private:
  char m_achFunction[TEXT_SIZE];
  unsigned long m_ulFunctionLength;
  char m_achMessage[TEXT_SIZE];
  unsigned long m_ulMessageLength;
};

#endif
