// Messages with inserts: the insert replacement, the lookup with its
// fallback texts, and the inline or heap storage of the finished text.

#include "kiv_message.hpp"

#include <array>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "kiv_base.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_msgcat.hpp"

namespace {

constexpr const char* gs_pszMissingInsert = "???";
constexpr const char* gs_pszNotInCatalog = "UNABLE TO LOAD MESSAGE #%1 FROM CATALOG: ";
constexpr const char* gs_pszNoCatalog = "UNABLE TO LOAD MESSAGE CATALOG: ";

/// The ten inserts of the constructor and setNewMessageId that take them
/// one by one, in the form loadMessage takes.
using InsertArray = std::array<const char*, KIV_MESSAGE_MAX_INSERTS>;

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

// Appends `text` to `output` (which holds `length` characters) without going
// beyond `capacity` characters; returns the new length. No terminator.
unsigned long appendBounded(char* output, unsigned long length, unsigned long capacity,
                            const char* text) {
  while (*text != '\0' && length < capacity) output[length++] = *text++;
  return length;
}

}  // namespace

KivClMessage::KivClMessage(const KivClMessageCatalog& catalog, unsigned long id)
    : KivClMessage(catalog, id, static_cast<const char* const*>(nullptr)) {}

KivClMessage::KivClMessage(const KivClMessageCatalog& catalog, unsigned long id,
                           const char* insert1, const char* insert2, const char* insert3,
                           const char* insert4, const char* insert5, const char* insert6,
                           const char* insert7, const char* insert8, const char* insert9,
                           const char* insert10)
    // The array lives until the delegated constructor has returned.
    : KivClMessage(catalog, id,
                   InsertArray{insert1, insert2, insert3, insert4, insert5, insert6, insert7,
                               insert8, insert9, insert10}
                       .data()) {}

KivClMessage::KivClMessage(const KivClMessageCatalog& catalog, unsigned long id,
                           const char* const* inserts)
    : m_rclCatalog(catalog),
      m_szInline{},
      m_pszText(m_szInline),
      m_ulMessageId(id),
      m_bLoaded(false) {
  loadMessage(inserts);
}

KivClMessage::KivClMessage(const KivClMessage& other)
    : m_rclCatalog(other.m_rclCatalog),
      m_szInline{},
      m_pszText(m_szInline),
      m_ulMessageId(other.m_ulMessageId),
      m_bLoaded(other.m_bLoaded) {
  keepText(other.m_pszText, std::strlen(other.m_pszText));
}

KivClMessage::~KivClMessage() { dropText(); }

KivClMessage& KivClMessage::operator=(const KivClMessage& other) {
  if (this == &other) return *this;
  dropText();
  if (other.m_pszText == other.m_szInline) {
    std::memcpy(m_szInline, other.m_szInline, sizeof(m_szInline));
  } else {
    keepText(other.m_pszText, std::strlen(other.m_pszText));
  }
  // The catalog reference stays the one this message was made with.
  m_ulMessageId = other.m_ulMessageId;
  m_bLoaded = other.m_bLoaded;
  return *this;
}

const char* KivClMessage::setNewMessageId(unsigned long id) {
  m_ulMessageId = id;
  return loadMessage(nullptr);
}

const char* KivClMessage::setNewMessageId(unsigned long id, const char* insert1,
                                          const char* insert2, const char* insert3,
                                          const char* insert4, const char* insert5,
                                          const char* insert6, const char* insert7,
                                          const char* insert8, const char* insert9,
                                          const char* insert10) {
  const InsertArray inserts{insert1, insert2, insert3, insert4, insert5,
                            insert6, insert7, insert8, insert9, insert10};
  m_ulMessageId = id;
  return loadMessage(inserts.data());
}

const char* KivClMessage::loadMessage(const char* const* inserts) {
  const char* work[KIV_MESSAGE_MAX_INSERTS];
  for (unsigned long i = 0; i < KIV_MESSAGE_MAX_INSERTS; ++i) {
    const char* given = inserts != nullptr ? inserts[i] : nullptr;
    work[i] = given != nullptr ? given : gs_pszMissingInsert;
  }

  // The lookup order: the catalog file alone while it is open; otherwise the
  // string table for ids below its size. The previous text is kept until the
  // new one is complete, because an insert may point into it.
  const char* found = nullptr;
  if (m_rclCatalog.isOpen()) {
    found = m_rclCatalog.getCatalogText(m_ulMessageId);
  } else if (m_rclCatalog.getStringTable() != nullptr &&
             m_ulMessageId < m_rclCatalog.getStringTableSize()) {
    found = m_rclCatalog.getStringTable()[m_ulMessageId];
  }

  char buffer[KIV_MESSAGE_MAX_LENGTH + 1];
  unsigned long length;
  if (found != nullptr) {
    length = replaceVars(buffer, KIV_MESSAGE_MAX_LENGTH, found, work, KIV_MESSAGE_MAX_INSERTS);
  } else {
    // The id is written by the signed long conversion: an id above the
    // largest long shows as a negative number.
    char id[KIV_TOA_BUFFER_SIZE_64];
    kivLtoa(static_cast<long>(m_ulMessageId), id);
    const char* const idInsert[1] = {id};
    const char* fallback = m_rclCatalog.isOpen() ? gs_pszNotInCatalog : gs_pszNoCatalog;
    length = replaceVars(buffer, KIV_MESSAGE_MAX_LENGTH, fallback, idInsert, 1);
    length = appendBounded(buffer, length, KIV_MESSAGE_MAX_LENGTH, m_rclCatalog.getAsCString());
    buffer[length] = '\0';
  }

  dropText();
  m_bLoaded = false;
  keepText(buffer, length);
  m_bLoaded = found != nullptr;
  return m_pszText;
}

unsigned long KivClMessage::replaceVars(char* output, unsigned long capacity, const char* source,
                                        const char* const* inserts, unsigned long usable) const {
  if (output == nullptr) return 0;
  unsigned long written = 0;
  const char* p = source != nullptr ? source : "";
  while (*p != '\0' && written < capacity) {
    if (p[0] != '%') {
      output[written++] = *p++;
      continue;
    }
    if (p[1] == '%') {
      output[written++] = '%';
      p += 2;
      continue;
    }
    // atol reads the number (leading blanks and a sign included); compared
    // unsigned, a negative number is larger than any insert count. Number 0
    // (also what atol gives when no number follows) names no insert.
    const unsigned long number = static_cast<unsigned long>(std::atol(p + 1));
    const char* insert = gs_pszMissingInsert;
    if (number != 0 && number <= usable && inserts != nullptr && inserts[number - 1] != nullptr) {
      insert = inserts[number - 1];
    }
    written = appendBounded(output, written, capacity, insert);
    ++p;
    if (isDigit(*p)) {
      while (isDigit(*p)) ++p;
    }
  }
  output[written] = '\0';
  return written;
}

void KivClMessage::keepText(const char* text, unsigned long length) {
  if (length > KIV_MESSAGE_INLINE_LENGTH) {
    char* copy = static_cast<char*>(kivMalloc(length + 1));
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    m_pszText = copy;
  } else {
    std::memcpy(m_szInline, text, length);
    m_szInline[length] = '\0';
    m_pszText = m_szInline;
  }
}

void KivClMessage::dropText() noexcept {
  if (m_pszText != m_szInline) kivFree(m_pszText);
  m_pszText = m_szInline;
  m_szInline[0] = '\0';
}
