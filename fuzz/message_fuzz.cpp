// Fuzz target of messages with inserts over a string table.
//
// Input: a control byte, a message id byte, then texts separated by NUL
// bytes: four string table entries (ids 0 to 3) and up to ten inserts.
//   control bits 0-3  the output capacity given to replaceVars (a table of
//                     sizes from 0 to 4096)
//           bits 4-7  how many inserts replaceVars may use (0 to 10;
//                     larger values mean 10)
// The insert replacement is compared with a reference written from the
// rules (the whole text expanded, then cut at the capacity); messages
// loaded from a catalog that is not open must show the table entry with
// its inserts replaced, or the fallback text; copies, assignments and a
// reload whose insert is the message's own text must give what the
// reference says; the catalog flat interface over the same table must
// return the same texts.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_fuzz_support.hpp"
#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"

namespace {

constexpr unsigned long gs_tableSize = 4;
constexpr const char* gs_missing = "???";

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The insert number after a "%": blanks, an optional sign and decimal
// digits, as the C library's conversion reads them. Only whether it names
// one of the inserts matters, so large values are kept at a bound.
unsigned long insertNumber(const char* p) {
  while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
  bool negative = false;
  if (*p == '+' || *p == '-') negative = *p++ == '-';
  constexpr unsigned long bound = 1000;
  unsigned long value = 0;
  for (; isDigit(*p); ++p) value = value >= bound ? bound : value * 10 + (*p - '0');
  if (negative && value != 0) return bound;  // compared unsigned: very large
  return value;
}

// The replacement as the rules state it, without any capacity.
std::string expand(const char* source, const char* const* inserts, unsigned long usable) {
  std::string out;
  for (const char* p = source; *p != '\0';) {
    if (*p != '%') {
      out += *p++;
    } else if (p[1] == '%') {
      out += '%';
      p += 2;
    } else {
      const unsigned long n = insertNumber(p + 1);
      const char* insert =
          n >= 1 && n <= usable && inserts[n - 1] != nullptr ? inserts[n - 1] : gs_missing;
      out += insert;
      ++p;
      while (isDigit(*p)) ++p;  // the number, when a digit follows the "%" directly
    }
  }
  return out;
}

std::string reference(const char* source, const char* const* inserts, unsigned long usable,
                      unsigned long capacity) {
  return expand(source, inserts, usable).substr(0, capacity);
}

std::string fallbackText(const KivClMessageCatalog& catalog) {
  return std::string("UNABLE TO LOAD MESSAGE CATALOG: ") + catalog.getAsCString();
}

std::string expected(const KivClMessageCatalog& catalog, unsigned long id,
                     const char* const* inserts) {
  if (id < gs_tableSize && catalog.getStringTable()[id] != nullptr) {
    const char* work[KIV_MESSAGE_MAX_INSERTS];
    for (unsigned long i = 0; i < KIV_MESSAGE_MAX_INSERTS; ++i) {
      work[i] = inserts != nullptr && inserts[i] != nullptr ? inserts[i] : gs_missing;
    }
    return reference(catalog.getStringTable()[id], work, KIV_MESSAGE_MAX_INSERTS,
                     KIV_MESSAGE_MAX_LENGTH);
  }
  return fallbackText(catalog).substr(0, KIV_MESSAGE_MAX_LENGTH);
}

bool isFound(const KivClMessageCatalog& catalog, unsigned long id) {
  return id < gs_tableSize && catalog.getStringTable()[id] != nullptr;
}

const std::string& catalogName() {
  static const std::string name = kivfuzz::ScratchDir::path() + "/absent";
  return name;
}

KivClMessageCatalog& catalog() {
  static KivClMessageCatalog instance{KivClFilename(catalogName().c_str())};
  return instance;
}

void checkReplaceVars(const KivClMessage& message, const char* source, const char* const* inserts,
                      unsigned long usable, unsigned long capacity) {
  std::unique_ptr<char[]> output(new char[capacity + 1]);
  const unsigned long written =
      message.replaceVars(output.get(), capacity, source, inserts, usable);
  const std::string want = reference(source, inserts, usable, capacity);
  KIV_FUZZ_CHECK(written == want.size());
  KIV_FUZZ_CHECK(std::memcmp(output.get(), want.c_str(), want.size() + 1) == 0);
}

void checkFlat(const char* const* table, unsigned long id, const char* const* inserts) {
  KivClMessageCatalogProxy* handle =
      kivMsgCatOpenOrUseStringTable(catalogName().c_str(), table, gs_tableSize);
  KIV_FUZZ_CHECK(handle != nullptr);
  const KivClMessageCatalog& used = *handle->getCatalog();
  KIV_FUZZ_CHECK(!used.isOpen());
  KIV_FUZZ_CHECK(kivMsgCatIsValid(handle, id) == isFound(used, id));
  KIV_FUZZ_CHECK(kivMsgCatGet(handle, id) == expected(used, id, nullptr));

  // The variable form reads inserts up to the first null.
  const char* given[KIV_MESSAGE_MAX_INSERTS] = {};
  for (unsigned long i = 0; i < KIV_MESSAGE_MAX_INSERTS && inserts[i] != nullptr; ++i) {
    given[i] = inserts[i];
  }
  const char* text = kivMsgCatGetVar(handle, id, given[0], given[1], given[2], given[3], given[4],
                                     given[5], given[6], given[7], given[8], given[9], nullptr);
  KIV_FUZZ_CHECK(text == expected(used, id, given));
  kivMsgCatClose(handle);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  catalog();
  KIV_FUZZ_CHECK(!catalog().isOpen());
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  static const unsigned long capacities[16] = {0,  1,  2,  3,  4,   5,    7,    10,
                                               16, 40, 80, 81, 255, 1000, 4095, 4096};
  const unsigned long capacity = capacities[data[0] & 15];
  const unsigned long usable = (data[0] >> 4) > 10 ? 10 : (data[0] >> 4);
  const unsigned long id = data[1];

  const std::vector<std::string> fields =
      kivfuzz::splitFields(data + 2, size - 2, gs_tableSize + KIV_MESSAGE_MAX_INSERTS);
  std::vector<std::unique_ptr<char[]>> texts;
  for (const std::string& field : fields) texts.push_back(kivfuzz::exactCopy(field));
  const char* table[gs_tableSize] = {};
  const char* inserts[KIV_MESSAGE_MAX_INSERTS] = {};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i < gs_tableSize) {
      table[i] = texts[i].get();
    } else {
      inserts[i - gs_tableSize] = texts[i].get();
    }
  }

  KivClMessageCatalog& shared = catalog();
  shared.useStringTable(table, gs_tableSize);

  KivClMessage message(shared, id, inserts);
  KIV_FUZZ_CHECK(message.getText() == expected(shared, id, inserts));
  KIV_FUZZ_CHECK(message.isLoaded() == isFound(shared, id));
  KIV_FUZZ_CHECK(message.getMessageId() == id);
  for (unsigned long i = 0; i < gs_tableSize; ++i) {
    checkReplaceVars(message, table[i] != nullptr ? table[i] : "", inserts, usable, capacity);
  }

  // Copies and assignment carry the text; a reload may take the message's
  // own text as an insert.
  const KivClMessage copy(message);
  KIV_FUZZ_CHECK(std::strcmp(copy.getText(), message.getText()) == 0);
  KivClMessage other(shared, (id + 1) % (gs_tableSize + 1));
  other = message;
  KIV_FUZZ_CHECK(std::strcmp(other.getText(), message.getText()) == 0);
  KIV_FUZZ_CHECK(other.isLoaded() == message.isLoaded());
  const std::string before = message.getText();
  const unsigned long nextId = id % gs_tableSize;
  message.setNewMessageId(nextId, message.getText());
  const char* self[KIV_MESSAGE_MAX_INSERTS] = {before.c_str()};
  KIV_FUZZ_CHECK(message.getText() == expected(shared, nextId, self));
  message.setNewMessageId(id);
  KIV_FUZZ_CHECK(message.getText() == expected(shared, id, nullptr));

  checkFlat(table, id, inserts);
  shared.useStringTable(nullptr, 0);
  return 0;
}
