// kivini: classifying the lines of an INI text as the library's parser does.

#include "kivini_linemap.hpp"

#include <algorithm>
#include <cctype>

#include "kiv_inifile.hpp"

namespace kivini {
namespace {

// The parser's blank test: isspace on the byte, in the current locale.
bool isBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

std::size_t firstNonBlank(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && isBlank(text[i])) ++i;
  return i;
}

}  // namespace

std::string_view lineContent(std::string_view line) {
  const std::size_t nul = line.find('\0');
  return nul == std::string_view::npos ? line : line.substr(0, nul);
}

LineKind classifyLine(std::string_view line, CommentStyle style, LineState& state) {
  if (state.stopped) return LineKind::NOT_READ;
  const std::string_view content = lineContent(line);
  const std::size_t first = firstNonBlank(content);
  const bool hasContent = first < content.size();
  // A hidden line never reaches the parser, whatever its length.
  if (style == CommentStyle::HASH && hasContent && content[first] == '#') {
    return LineKind::HASH_COMMENT;
  }
  if (line.size() > KIV_INIFILE_LINE_MAX) {
    state.stopped = true;
    return LineKind::TOO_LONG;
  }
  if (!hasContent || content[first] == ';') return LineKind::BLANK;
  const char lead = content.front();
  if (lead == '[') {
    state.hasTarget = false;
    if (content.find(']', 1) == std::string_view::npos) return LineKind::BAD_HEADER;
    state.inSection = true;
    return LineKind::HEADER;
  }
  if (!state.inSection) return LineKind::BEFORE_SECTION;
  if (isBlank(lead)) {
    if (state.hasTarget) return LineKind::CONTINUATION;
    return LineKind::BAD_INDENT;
  }
  if (content.find('=') == std::string_view::npos) return LineKind::BAD_OPTION;
  state.hasTarget = true;
  return LineKind::OPTION;
}

std::string_view headerName(std::string_view line) {
  const std::string_view content = lineContent(line);
  const std::size_t close = content.find(']', 1);
  if (content.empty() || close == std::string_view::npos) return {};
  return content.substr(1, std::min<std::size_t>(close - 1, KIV_INIFILE_SECTION_NAME_MAX));
}

std::string optionName(std::string_view line) {
  const std::string_view content = lineContent(line);
  std::string name;
  for (const char c : content.substr(0, content.find('='))) {
    if (!isBlank(c)) name += c;
  }
  return name;
}

std::string nameKey(std::string_view name) {
  // The library compares names character by character, upper-cased through
  // the locale's table as plain char values; the key does the same.
  std::string key(name);
  for (char& c : key) c = static_cast<char>(std::toupper(static_cast<int>(c)));
  return key;
}

void LineMap::closeBlock() {
  if (m_blocks.empty()) return;
  Block& block = m_blocks.back();
  if (block.end != 0) return;
  block.end = static_cast<std::uint32_t>(m_lines.size());
  block.endOption = static_cast<std::uint32_t>(m_options.size());
}

void LineMap::build(std::string_view text, CommentStyle style) {
  m_text = text;
  m_style = style;
  m_lines.clear();
  m_blocks.clear();
  m_options.clear();
  m_sections.clear();
  m_sectionByKey.clear();
  m_firstTooLong = NONE;
  m_hidesLines = false;

  LineState state;
  std::size_t position = 0;
  while (position < text.size()) {
    const std::size_t newline = text.find('\n', position);
    Line line;
    line.start = position;
    line.hasNewline = newline != std::string_view::npos;
    line.length = (line.hasNewline ? newline : text.size()) - position;
    position = line.hasNewline ? newline + 1 : text.size();
    line.kind = classifyLine(text.substr(line.start, line.length), style, state);

    const auto index = static_cast<std::uint32_t>(m_lines.size());
    switch (line.kind) {
      case LineKind::HEADER: {
        closeBlock();
        const auto blockIndex = static_cast<std::uint32_t>(m_blocks.size());
        Block block;
        block.header = index;
        block.lastItem = index;
        block.firstOption = static_cast<std::uint32_t>(m_options.size());
        block.nextOfSection = NONE;
        const std::string key = nameKey(headerName(bytes(line)));
        const auto found = m_sectionByKey.find(key);
        if (found == m_sectionByKey.end()) {
          block.section = static_cast<std::uint32_t>(m_sections.size());
          m_sectionByKey.emplace(key, block.section);
          m_sections.push_back({blockIndex, blockIndex});
        } else {
          block.section = found->second;
          MergedSection& section = m_sections[found->second];
          m_blocks[section.lastBlock].nextOfSection = blockIndex;
          section.lastBlock = blockIndex;
        }
        m_blocks.push_back(block);
        line.item = blockIndex;
        break;
      }
      case LineKind::OPTION:
        line.item = static_cast<std::uint32_t>(m_options.size());
        m_options.push_back({index, index, static_cast<std::uint32_t>(m_blocks.size() - 1)});
        m_blocks.back().lastItem = index;
        break;
      case LineKind::CONTINUATION:
        // The target is always the last option line of the block: only an
        // option line sets it, and only a header or an error resets it.
        line.item = static_cast<std::uint32_t>(m_options.size() - 1);
        m_options.back().last = index;
        m_blocks.back().lastItem = index;
        break;
      case LineKind::TOO_LONG:
        m_firstTooLong = index;
        break;
      case LineKind::HASH_COMMENT:
        m_hidesLines = true;
        break;
      default:
        break;
    }
    m_lines.push_back(line);
  }
  closeBlock();
}

std::uint32_t LineMap::findSection(std::string_view name) const {
  const auto found = m_sectionByKey.find(nameKey(name));
  return found == m_sectionByKey.end() ? NONE : found->second;
}

std::uint32_t LineMap::preludeEnd() const {
  return m_blocks.empty() ? static_cast<std::uint32_t>(m_lines.size()) : m_blocks.front().header;
}

std::string_view LineMap::parseView(std::uint32_t first, std::uint32_t end,
                                    std::string& buffer) const {
  if (first >= end) return {};
  const Line& last = m_lines[end - 1];
  const std::size_t from = m_lines[first].start;
  const std::size_t to = last.start + last.length + (last.hasNewline ? 1 : 0);
  const auto hidden = [](const Line& line) { return line.kind == LineKind::HASH_COMMENT; };
  if (!m_hidesLines || std::none_of(m_lines.begin() + first, m_lines.begin() + end, hidden)) {
    return m_text.substr(from, to - from);
  }
  buffer.clear();
  for (std::uint32_t i = first; i < end; ++i) {
    const Line& line = m_lines[i];
    if (!hidden(line)) buffer.append(m_text.substr(line.start, line.length));
    if (line.hasNewline) buffer += '\n';
  }
  return buffer;
}

}  // namespace kivini
