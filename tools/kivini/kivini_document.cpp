// kivini: reading a text, parsing it block by block, and finding what the
// library passes over.

#include "kivini_document.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "kiv_filename.hpp"
#include "kivini_files.hpp"

namespace kivini {
namespace {

constexpr std::string_view gs_byteOrderMark = "\xEF\xBB\xBF";

// Where the library's errors of one parse go: the findings, and the line
// the parsed lines start at in the file.
struct ErrorSink {
  std::vector<Finding>* findings;
  unsigned int firstLine;
};

// Collects the library's syntax errors; loading always goes on, so that
// every error of the text is found.
bool collectError(const _KivStError& error, unsigned int lineNumber, void* userData) {
  auto* sink = static_cast<ErrorSink*>(userData);
  if (sink->findings != nullptr) {
    sink->findings->push_back(
        {Finding::Kind::SYNTAX_ERROR, sink->firstLine + lineNumber, error.id});
  }
  return true;
}

std::uint32_t optionCount(const KivClIniFileSection* section) {
  std::uint32_t count = 0;
  for (const KivClIniFileOption* o = section->getFirstOption(); o != nullptr; o = o->getNext()) {
    ++count;
  }
  return count;
}

}  // namespace

bool Document::readFile(const std::string& path, int& systemError) {
  if (!kivini::readFile(path, m_bytes, systemError)) return false;
  m_existed = true;
  classify();
  return true;
}

bool Document::readStandardInput(int& systemError) {
  if (!kivini::readStandardInput(m_bytes, systemError)) return false;
  m_existed = true;
  classify();
  return true;
}

void Document::startEmpty() {
  m_bytes.clear();
  m_existed = false;
  classify();
}

void Document::useText(std::string bytes) {
  m_bytes = std::move(bytes);
  m_existed = true;
  classify();
}

void Document::classify() {
  m_bomLength = std::string_view(m_bytes).substr(0, gs_byteOrderMark.size()) == gs_byteOrderMark
                    ? gs_byteOrderMark.size()
                    : 0;
  m_map.build(text(), m_style);
}

BlockModel Document::parse(std::uint32_t first, std::uint32_t end,
                           std::vector<Finding>* errors) const {
  // The name is never used: the text is parsed from memory.
  static const KivClFilename s_name("kivini");
  auto model = std::make_unique<KivClIniFile>(s_name);
  std::string buffer;
  const std::string_view view = m_map.parseView(first, end, buffer);
  ErrorSink sink{errors, first};
  model->setErrorHandler(collectError, &sink);
  // Sections stay apart (a block holds one header anyway); indented lines
  // continue values.
  model->loadFromBuffer(view.data(), view.size(), '\n', true, true);
  model->setErrorHandler(nullptr, nullptr);
  return model;
}

BlockModel Document::parseBlock(std::uint32_t block, bool& agrees) const {
  const Block& b = m_map.blocks()[block];
  BlockModel model = parse(b.header, b.end, nullptr);
  const KivClIniFileSection* section = model->getFirstSection();
  const std::string_view name = headerName(m_map.bytes(m_map.lines()[b.header]));
  agrees = section != nullptr && section->getNext() == nullptr &&
           name == std::string_view(section->getName()) &&
           optionCount(section) == b.endOption - b.firstOption;
  return model;
}

std::vector<Finding> Document::findings() const {
  std::vector<Finding> found;
  const LineMap& map = m_map;
  parse(0, map.preludeEnd(), &found);
  for (const Block& block : map.blocks()) parse(block.header, block.end, &found);

  const auto& lines = map.lines();
  for (std::uint32_t i = 0; i < lines.size(); ++i) {
    const unsigned int number = i + 1;
    const std::string_view line = map.bytes(lines[i]);
    switch (lines[i].kind) {
      case LineKind::TOO_LONG:
        found.push_back({Finding::Kind::LONG_LINE, number, 0});
        break;
      case LineKind::BEFORE_SECTION:
        found.push_back({Finding::Kind::BEFORE_SECTION, number, 0});
        break;
      case LineKind::HEADER:
        if (headerName(line).empty()) found.push_back({Finding::Kind::EMPTY_SECTION, number, 0});
        break;
      case LineKind::OPTION:
        // The line does not begin with a blank, so only a leading "="
        // leaves the name empty.
        if (line.front() == '=') found.push_back({Finding::Kind::EMPTY_OPTION, number, 0});
        break;
      default:
        break;
    }
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const Finding& a, const Finding& b) { return a.line < b.line; });
  return found;
}

const KivClIniFileOption* optionAt(const KivClIniFile& model, std::uint32_t ordinal) {
  const KivClIniFileSection* section = model.getFirstSection();
  if (section == nullptr) return nullptr;
  const KivClIniFileOption* option = section->getFirstOption();
  for (; option != nullptr && ordinal > 0; --ordinal) option = option->getNext();
  return option;
}

}  // namespace kivini
