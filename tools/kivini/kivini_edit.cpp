// kivini: planning, checking and writing the lines of an edit.

#include "kivini_edit.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "kiv_base.hpp"
#include "kiv_filename.hpp"
#include "kivini_value.hpp"

namespace kivini {
namespace {

constexpr std::uint32_t gs_uNone = LineMap::NONE;
// Unchanged lines are handed to the sink in pieces of about this size.
constexpr std::size_t gs_uWriteChunk = 1 << 20;

// Counts the syntax errors of a parse: the new text must have none.
bool countError(const _KivStError&, unsigned int, void* count) {
  ++*static_cast<unsigned int*>(count);
  return true;
}

std::string_view withoutCarriageReturn(std::string_view line) {
  return !line.empty() && line.back() == '\r' ? line.substr(0, line.size() - 1) : line;
}

}  // namespace

Edit::Edit(const Document& document, Change change)
    : m_document(document), m_change(std::move(change)) {}

std::string_view Edit::lineEnd() const {
  // As the file's first line ends; LF in a file without line ends.
  const LineMap& map = m_document.map();
  for (const Line& line : map.lines()) {
    if (!line.hasNewline) break;
    const std::string_view bytes = map.bytes(line);
    return !bytes.empty() && bytes.back() == '\r' ? "\r\n" : "\n";
  }
  return "\n";
}

Edit::Plan Edit::plan() {
  m_dropped.assign(m_document.map().lines().size(), false);
  switch (m_change.kind) {
    case Change::Kind::SET:
      return planSet();
    case Change::Kind::DELETE_OPTION:
      return planDeleteOption();
    case Change::Kind::DELETE_SECTION:
      return planDeleteSection();
  }
  return Plan::NOTHING;
}

std::string Edit::newOptionLine(std::uint32_t referenceLine) const {
  const LineMap& map = m_document.map();
  const std::string separator =
      referenceLine == gs_uNone
          ? std::string(" = ")
          : separatorOf(withoutCarriageReturn(map.bytes(map.lines()[referenceLine])));
  return m_change.option + separator + encodeValue(m_change.value) + std::string(lineEnd());
}

std::string Edit::replacementLine(std::uint32_t option) const {
  const LineMap& map = m_document.map();
  const OptionLines& lines = map.options()[option];
  const Line& first = map.lines()[lines.first];
  const std::string_view firstBytes = map.bytes(first);
  const std::string_view core = withoutCarriageReturn(firstBytes);
  const std::size_t start = valueStart(core);
  // The comment is the one of the last line: each continuation line
  // replaces it.
  const std::string_view tail =
      lines.last == lines.first
          ? commentTail(core, start)
          : commentTail(withoutCarriageReturn(map.bytes(map.lines()[lines.last])), 0);
  std::string line(core.substr(0, start));
  line += encodeValue(m_change.value);
  line += tail;
  if (core.size() != firstBytes.size()) line += '\r';
  if (first.hasNewline) line += '\n';
  return line;
}

void Edit::dropOption(std::uint32_t option) {
  const LineMap& map = m_document.map();
  const OptionLines& lines = map.options()[option];
  for (std::uint32_t i = lines.first; i <= lines.last; ++i) {
    const Line& line = map.lines()[i];
    if ((line.kind == LineKind::OPTION || line.kind == LineKind::CONTINUATION) &&
        line.item == option) {
      m_dropped[i] = true;
    }
  }
}

Edit::Plan Edit::planSet() {
  const LineMap& map = m_document.map();
  const std::uint32_t section = map.findSection(m_change.section);
  if (section == gs_uNone) {
    const std::uint32_t reference = map.options().empty() ? gs_uNone : map.options().front().first;
    m_appended = "[" + m_change.section + "]" + std::string(lineEnd()) + newOptionLine(reference);
    return Plan::CHANGE;
  }

  const std::string key = nameKey(m_change.option);
  for (std::uint32_t b = map.sections()[section].firstBlock; b != gs_uNone;
       b = map.blocks()[b].nextOfSection) {
    const Block& block = map.blocks()[b];
    for (std::uint32_t o = block.firstOption; o < block.endOption; ++o) {
      if (nameKey(optionName(map.bytes(map.lines()[map.options()[o].first]))) != key) continue;
      // The library's own reading of the block tells the value.
      bool agrees = false;
      const BlockModel model = m_document.parseBlock(b, agrees);
      const KivClIniFileOption* record = optionAt(*model, o - block.firstOption);
      if (!agrees || record == nullptr ||
          strcmpi(record->getName(), m_change.option.c_str()) != 0) {
        return Plan::INCONSISTENT;
      }
      if (m_change.value == record->getValue()) return Plan::NOTHING;
      m_replacedLine = map.options()[o].first;
      m_replacement = replacementLine(o);
      dropOption(o);
      m_dropped[m_replacedLine] = false;
      m_blockChanges[b].replaced = o - block.firstOption;
      return Plan::CHANGE;
    }
  }

  // A new option, behind the last line of the section's last block.
  const std::uint32_t last = map.sections()[section].lastBlock;
  const Block& block = map.blocks()[last];
  std::uint32_t reference = gs_uNone;
  if (block.endOption > block.firstOption) {
    reference = map.options()[block.endOption - 1].first;
  } else if (!map.options().empty()) {
    reference = map.options().front().first;
  }
  m_insertAfter = block.lastItem;
  m_insertion = newOptionLine(reference);
  m_blockChanges[last].appends = true;
  return Plan::CHANGE;
}

Edit::Plan Edit::planDeleteOption() {
  const LineMap& map = m_document.map();
  const std::uint32_t section = map.findSection(m_change.section);
  if (section == gs_uNone) return Plan::NOTHING;
  const std::string key = nameKey(m_change.option);
  bool found = false;
  for (std::uint32_t b = map.sections()[section].firstBlock; b != gs_uNone;
       b = map.blocks()[b].nextOfSection) {
    const Block& block = map.blocks()[b];
    for (std::uint32_t o = block.firstOption; o < block.endOption; ++o) {
      if (nameKey(optionName(map.bytes(map.lines()[map.options()[o].first]))) != key) continue;
      dropOption(o);
      m_blockChanges[b].removed.push_back(o - block.firstOption);
      found = true;
    }
  }
  return found ? Plan::CHANGE : Plan::NOTHING;
}

Edit::Plan Edit::planDeleteSection() {
  const LineMap& map = m_document.map();
  const std::uint32_t section = map.findSection(m_change.section);
  if (section == gs_uNone) return Plan::NOTHING;
  for (std::uint32_t b = map.sections()[section].firstBlock; b != gs_uNone;
       b = map.blocks()[b].nextOfSection) {
    const Block& block = map.blocks()[b];
    for (std::uint32_t i = block.header; i <= block.lastItem; ++i) m_dropped[i] = true;
    m_blockChanges[b].deleted = true;
  }
  return Plan::CHANGE;
}

bool Edit::generate(const std::function<bool(std::string_view)>& line) const {
  const LineMap& map = m_document.map();
  const auto& lines = map.lines();
  const std::string_view text = map.text();
  std::string ended;
  for (std::uint32_t i = 0; i < lines.size(); ++i) {
    const Line& current = lines[i];
    if (i == m_replacedLine) {
      if (!line(m_replacement)) return false;
    } else if (!m_dropped[i]) {
      const std::string_view bytes =
          text.substr(current.start, current.length + (current.hasNewline ? 1 : 0));
      // A last line without line end gets one when something follows it:
      // "\n" alone, since a "\r" would become part of its value or comment.
      const bool followed = i == m_insertAfter || (i + 1 == lines.size() && !m_appended.empty());
      if (!current.hasNewline && followed) {
        ended.assign(bytes).append(1, '\n');
        if (!line(ended)) return false;
      } else if (!line(bytes)) {
        return false;
      }
    }
    if (i == m_insertAfter && !line(m_insertion)) return false;
  }
  // The new section: header and option, one line each.
  if (!m_appended.empty()) {
    const std::size_t split = m_appended.find('\n') + 1;
    const std::string_view appended(m_appended);
    if (!line(appended.substr(0, split)) || !line(appended.substr(split))) return false;
  }
  return true;
}

bool Edit::write(const std::function<bool(std::string_view)>& sink) const {
  std::string chunk(m_document.byteOrderMark());
  chunk.reserve(gs_uWriteChunk + 4096);
  const bool generated = generate([&](std::string_view line) {
    chunk.append(line);
    if (chunk.size() < gs_uWriteChunk) return true;
    const bool written = sink(chunk);
    chunk.clear();
    return written;
  });
  return generated && (chunk.empty() || sink(chunk));
}

bool Edit::sameAsExpected(const KivClIniFile& expected, const BlockChange* change,
                          const KivClIniFile& actual) const {
  const KivClIniFileSection* e = expected.getFirstSection();
  const KivClIniFileSection* a = actual.getFirstSection();
  if (e == nullptr || a == nullptr) return e == nullptr && a == nullptr;
  if (e->getNext() != nullptr || a->getNext() != nullptr) return false;
  if (std::strcmp(e->getName(), a->getName()) != 0) return false;

  const KivClIniFileOption* got = a->getFirstOption();
  const auto same = [&got](const char* name, const char* value, const char* comment) {
    if (got == nullptr) return false;
    const bool equal = std::strcmp(got->getName(), name) == 0 &&
                       std::strcmp(got->getValue(), value) == 0 &&
                       std::strcmp(got->getComment(), comment) == 0;
    got = got->getNext();
    return equal;
  };
  std::uint32_t ordinal = 0;
  for (const KivClIniFileOption* o = e->getFirstOption(); o != nullptr;
       o = o->getNext(), ++ordinal) {
    if (change != nullptr && std::find(change->removed.begin(), change->removed.end(), ordinal) !=
                                 change->removed.end()) {
      continue;
    }
    const bool replaced = change != nullptr && change->replaced == ordinal;
    if (!same(o->getName(), replaced ? m_change.value.c_str() : o->getValue(), o->getComment())) {
      return false;
    }
  }
  if (change != nullptr && change->appends &&
      !same(m_change.option.c_str(), m_change.value.c_str(), "")) {
    return false;
  }
  return got == nullptr;
}

bool Edit::check() const {
  const LineMap& map = m_document.map();
  std::vector<std::uint32_t> survivors;
  for (std::uint32_t b = 0; b < map.blocks().size(); ++b) {
    const auto change = m_blockChanges.find(b);
    if (change == m_blockChanges.end() || !change->second.deleted) survivors.push_back(b);
  }
  const std::size_t expectedRegions = 1 + survivors.size() + (m_appended.empty() ? 0 : 1);

  static const KivClFilename s_name("kivini");
  LineState state;
  std::string region;
  std::size_t regionIndex = 0;
  bool same = true;
  // Compares the new text's region just read with what is expected there:
  // the prelude, each surviving block, the new section.
  const auto finishRegion = [&]() {
    KivClIniFile actual(s_name);
    unsigned int errors = 0;
    actual.setErrorHandler(countError, &errors);
    actual.loadFromBuffer(region.data(), region.size(), '\n', true, true);
    actual.setErrorHandler(nullptr, nullptr);
    region.clear();
    if (errors != 0 || regionIndex >= expectedRegions) {
      same = false;
      return;
    }
    if (regionIndex == 0) {
      same = sameAsExpected(*m_document.parse(0, map.preludeEnd(), nullptr), nullptr, actual);
    } else if (regionIndex - 1 < survivors.size()) {
      const std::uint32_t b = survivors[regionIndex - 1];
      const Block& block = map.blocks()[b];
      const auto change = m_blockChanges.find(b);
      same = sameAsExpected(*m_document.parse(block.header, block.end, nullptr),
                            change == m_blockChanges.end() ? nullptr : &change->second, actual);
    } else {
      KivClIniFile added(s_name);
      added.addSection(m_change.section.c_str());
      added.addOption(m_change.section.c_str(), m_change.option.c_str(), m_change.value.c_str());
      same = sameAsExpected(added, nullptr, actual);
    }
    ++regionIndex;
  };

  const bool complete = generate([&](std::string_view line) {
    const bool ended = !line.empty() && line.back() == '\n';
    const std::string_view content = ended ? line.substr(0, line.size() - 1) : line;
    const LineKind kind = classifyLine(content, m_document.style(), state);
    // A line too long would end the library's reading there.
    if (kind == LineKind::TOO_LONG) return same = false;
    if (kind == LineKind::HEADER) finishRegion();
    if (kind == LineKind::HASH_COMMENT) {
      if (ended) region += '\n';
    } else {
      region.append(line);
    }
    return same;
  });
  if (!complete || !same) return false;
  finishRegion();
  return same && regionIndex == expectedRegions;
}

}  // namespace kivini
