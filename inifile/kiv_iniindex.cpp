// The lookup index of an INI file: a hash table beside the lists that
// gives the first section of a name, and the first option of a name in a
// section, exactly as a walk of the lists would (see the header's banner).
//
// Why it stays exact:
//   - Every member that changes a record or a list counts a change
//     (kiv::detail::iniModelChanged); the index belongs to the count it was
//     built at and is dropped as soon as the count differs.
//   - Names are compared through the C library's toupper. The index hashes
//     each name through a copy of that mapping taken when it is built, so
//     names that compare equal share a bucket; it is used only while the
//     same mapping is in force (the same table, or elsewhere the same
//     LC_CTYPE name of the process's locale), and a bucket's names are
//     compared with the same function as the walk uses.
//   - Each bucket key keeps only its first record in list order, because
//     the lists are inserted in list order and a later equal name is
//     skipped.
// The index is private heap memory, not records: it does not go through
// the library's memory manager, and an allocation that fails only means
// that the lists are walked.
#include <langinfo.h>
#include <locale.h>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <new>

#include "kiv_inifile.hpp"
#include "kiv_inifile_internal.hpp"

namespace {

// Build the first index once the walks since a change compared this many
// names (later: half of what the last index held, at least this).
constexpr std::size_t gs_uFirstBuildSteps = 64;

// A section (owner null), an option of `owner`, or, with a null name, the
// mark that the options of the section `owner` are in the index.
struct Entry {
  std::size_t hash;
  const KivClIniFileSection* owner;
  const char* name;
  void* record;        // null marks an empty slot
  std::size_t length;  // of the name
};

// A name's hash and length.
struct Key {
  std::size_t hash;
  std::size_t length;
};

// True when the `length` bytes at `a` and `b` are the same: the common case
// of a lookup, a name written as it is stored, without a call.
bool sameBytes(const char* a, const char* b, std::size_t length) noexcept {
  if (length >= 8) {
    std::uint64_t x = 0;
    std::uint64_t y = 0;
    for (std::size_t i = 0; i + 8 <= length; i += 8) {
      std::memcpy(&x, a + i, 8);
      std::memcpy(&y, b + i, 8);
      if (x != y) return false;
    }
    std::memcpy(&x, a + length - 8, 8);
    std::memcpy(&y, b + length - 8, 8);
    return x == y;
  }
  for (std::size_t i = 0; i < length; ++i)
    if (a[i] != b[i]) return false;
  return true;
}

// Counts the records of a list into `count`; false when the list runs in a
// circle (records linked by hand), which a walk for a name that is found
// survives but a build would not.
template <typename Record>
bool countList(const Record* first, std::size_t& count) noexcept {
  const Record* slow = first;
  std::size_t step = 0;
  for (const Record* r = first; r != nullptr;) {
    ++count;
    r = r->getNext();
    if (++step % 2 == 0) slow = slow->getNext();
    if (r != nullptr && r == slow) return false;
  }
  return true;
}

#if defined(__GLIBC__)
// The table the C library's toupper (the called function, which is what
// C++ code gets) reads: the current locale's data. The thread's cached
// pointer is not it: a setlocale in another thread changes the data at
// once and leaves the cache. An index is built only under the process's
// locale, whose tables the C library never frees, so the same address is
// the same mapping, also under a thread locale that shares the tables.
const void* toupperTable() noexcept { return nl_langinfo(_NL_CTYPE_TOUPPER); }
#endif

std::size_t hashOfOwner(const KivClIniFileSection* owner) noexcept {
  std::uint64_t h = reinterpret_cast<std::uintptr_t>(owner) * 0x9e3779b97f4a7c15ull;
  return static_cast<std::size_t>(h ^ (h >> 32));
}

}  // namespace

struct KivClIniFile::Index {
  std::uint64_t changes = 0;  // the change count the state belongs to
  std::size_t walked = 0;     // names compared by walks since then
  std::size_t buildAfter = gs_uFirstBuildSteps;
  Entry* slots = nullptr;                          // null while there is no index
  std::size_t mask = 0;                            // slot count - 1 (a power of two)
  char* localeName = nullptr;                      // LC_CTYPE when the index was built
  const KivClIniFileSection* heldOwner = nullptr;  // the last owner found in it
  const void* foldSource = nullptr;                // the C library's toupper table at build
  int fold[256] = {};                              // toupper of every char, taken at build

  ~Index() { clear(); }

  void clear() noexcept {
    heldOwner = nullptr;
    delete[] slots;
    slots = nullptr;
    delete[] localeName;
    localeName = nullptr;
  }

  // The folded hash: names that compare equal under `fold` hash alike.
  // Two chains of a rotate and an exclusive or (even and odd characters)
  // keep the dependency short; the multiplication at the end spreads the
  // bits. The length comes for free.
  Key keyOf(const KivClIniFileSection* owner, const char* name) const noexcept {
    std::uint64_t even = reinterpret_cast<std::uintptr_t>(owner);
    std::uint64_t odd = 0x9e3779b97f4a7c15ull;
    const char* p = name;
    for (;;) {
      if (p[0] == '\0') break;
      even = ((even << 7) | (even >> 57)) ^
             static_cast<std::uint32_t>(fold[static_cast<unsigned char>(p[0])]);
      if (p[1] == '\0') {
        ++p;
        break;
      }
      odd = ((odd << 7) | (odd >> 57)) ^
            static_cast<std::uint32_t>(fold[static_cast<unsigned char>(p[1])]);
      p += 2;
    }
    std::uint64_t h = even ^ ((odd << 32) | (odd >> 32));
    h ^= h >> 31;
    h *= 0x9e3779b97f4a7c15ull;
    h ^= h >> 29;
    return Key{static_cast<std::size_t>(h), static_cast<std::size_t>(p - name)};
  }

  // The slot of the record equal to `name` under `owner`, or the empty slot
  // where it would go. Equal bytes are equal names; anything else is
  // decided by the walk's comparison.
  Entry* probe(Key key, const KivClIniFileSection* owner, const char* name) const noexcept {
    for (std::size_t i = key.hash & mask;; i = (i + 1) & mask) {
      Entry* e = &slots[i];
      if (e->record == nullptr) return e;
      if (e->hash != key.hash || e->owner != owner || e->name == nullptr) continue;
      if (e->length == key.length && sameBytes(e->name, name, key.length)) return e;
      if (kiv::detail::iniNamesEqual(e->name, name)) return e;
    }
  }

  // The owner's mark, or the empty slot where it would go.
  Entry* probeMark(const KivClIniFileSection* owner) const noexcept {
    const std::size_t hash = hashOfOwner(owner);
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
      Entry* e = &slots[i];
      if (e->record == nullptr || (e->name == nullptr && e->owner == owner)) return e;
    }
  }

  void insert(const KivClIniFileSection* owner, const char* name, void* record) noexcept {
    const Key key = keyOf(owner, name);
    Entry* e = probe(key, owner, name);
    if (e->record != nullptr) return;  // an earlier record has the name
    *e = Entry{key.hash, owner, name, record, key.length};
  }

  // True when the options of `owner` are in the index.
  bool holds(const KivClIniFileSection* owner) noexcept {
    if (owner == heldOwner) return true;
    if (probeMark(owner)->record == nullptr) return false;
    heldOwner = owner;
    return true;
  }

  // True when the case mapping the index was built with is in force.
  bool localeHolds() const noexcept {
#if defined(__GLIBC__)
    return toupperTable() == foldSource;
#else
    if (uselocale(static_cast<locale_t>(nullptr)) != LC_GLOBAL_LOCALE) return false;
    const char* current = std::setlocale(LC_CTYPE, nullptr);
    if (current == nullptr) return false;
    // Locale names are short; a loop here is cheaper than a call.
    for (const char* own = localeName;; ++own, ++current) {
      if (*own != *current) return false;
      if (*own == '\0') return true;
    }
#endif
  }

  // Builds the index of `first` and the lists behind it; leaves none when
  // memory is short or a thread locale is in force.
  void build(const KivClIniFileSection* first) noexcept {
    if (uselocale(static_cast<locale_t>(nullptr)) != LC_GLOBAL_LOCALE) return;
    const char* current = std::setlocale(LC_CTYPE, nullptr);
    if (current == nullptr) return;
    std::size_t records = 0;
    if (!countList(first, records)) return;
    for (const KivClIniFileSection* s = first; s != nullptr; s = s->getNext()) {
      ++records;  // the mark
      if (!countList(s->getFirstOption(), records)) return;
    }
    std::size_t size = 16;
    while (size < 2 * records) size *= 2;
    const std::size_t nameLength = std::strlen(current) + 1;
    slots = new (std::nothrow) Entry[size]();
    localeName = new (std::nothrow) char[nameLength];
    if (slots == nullptr || localeName == nullptr) {
      clear();
      return;
    }
    std::memcpy(localeName, current, nameLength);
#if defined(__GLIBC__)
    foldSource = toupperTable();
#endif
    mask = size - 1;
    // The same expression as the comparison's, for every value of a char.
    for (int u = 0; u < 256; ++u)
      fold[u] = std::toupper(static_cast<int>(static_cast<char>(static_cast<unsigned char>(u))));
    for (KivClIniFileSection* s = const_cast<KivClIniFileSection*>(first); s != nullptr;
         s = s->getNext()) {
      insert(nullptr, s->getName(), s);
      Entry* mark = probeMark(s);
      if (mark->record == nullptr) *mark = Entry{hashOfOwner(s), s, nullptr, s, 0};
      for (KivClIniFileOption* o = s->getFirstOption(); o != nullptr; o = o->getNext())
        insert(s, o->getName(), o);
    }
    buildAfter = records / 2 > gs_uFirstBuildSteps ? records / 2 : gs_uFirstBuildSteps;
  }
};

void KivClIniFile::dropIndex() const noexcept {
  delete m_pIndex;
  m_pIndex = nullptr;
}

void* KivClIniFile::lookUp(const KivClIniFileSection* owner, const char* name) const {
  if (name == nullptr) return nullptr;
  if (m_pIndex == nullptr) m_pIndex = new (std::nothrow) Index;
  Index* index = m_pIndex;
  if (index != nullptr) {
    const std::uint64_t changes = kiv::detail::iniModelChanges();
    if (index->changes != changes || (index->slots != nullptr && !index->localeHolds())) {
      index->clear();
      index->changes = changes;
      index->walked = 0;
    }
    // An option list outside the index (a current section that is not in
    // the list of sections) is walked.
    if (index->slots != nullptr && (owner == nullptr || index->holds(owner)))
      return index->probe(index->keyOf(owner, name), owner, name)->record;
  }
  // The walk: the first record in list order whose name matches.
  void* found = nullptr;
  std::size_t steps = 0;
  if (owner == nullptr) {
    for (KivClIniFileSection* s = m_pFirstSection; s != nullptr; s = s->getNext()) {
      ++steps;
      if (kiv::detail::iniNamesEqual(s->getName(), name)) {
        found = s;
        break;
      }
    }
  } else {
    for (KivClIniFileOption* o = owner->getFirstOption(); o != nullptr; o = o->getNext()) {
      ++steps;
      if (kiv::detail::iniNamesEqual(o->getName(), name)) {
        found = o;
        break;
      }
    }
  }
  if (index != nullptr) {
    index->walked += steps;
    if (index->walked >= index->buildAfter) {
      index->walked = 0;
      index->build(m_pFirstSection);
    }
  }
  return found;
}
