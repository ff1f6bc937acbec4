// kivini: reading a file into a model and finding what the reader skips.

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

#include "kiv_filename.hpp"
#include "kivini_document.hpp"
#include "kivini_files.hpp"

namespace kivini {
namespace {

bool isSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

// Collects the reader's syntax errors; loading always goes on, so that
// every error of the file is found.
bool collectError(const _KivStError& error, unsigned int lineNumber, void* userData) {
  auto* findings = static_cast<std::vector<Finding>*>(userData);
  findings->push_back({Finding::Kind::SYNTAX_ERROR, lineNumber, error.id});
  return true;
}

}  // namespace

Document::Document(std::string path)
    : m_path(std::move(path)), m_model(KivClFilename(m_path.c_str())) {}

bool Document::read(int& systemError) {
  if (!readFile(m_path, m_bytes, systemError)) return false;
  m_existed = true;
  load();
  return true;
}

void Document::startEmpty() {
  m_bytes.clear();
  m_existed = false;
  load();
}

void Document::load() {
  m_findings.clear();
  m_model.setErrorHandler(collectError, &m_findings);
  // Sections of the same name are merged, indented lines continue values.
  m_model.loadFromBuffer(m_bytes.data(), m_bytes.size(), '\n', false, true);
  m_model.setErrorHandler(nullptr, nullptr);
  scanLines();
  // Stable: for the same line the reader's error stays first.
  std::stable_sort(m_findings.begin(), m_findings.end(),
                   [](const Finding& a, const Finding& b) { return a.line < b.line; });
}

// Walks the lines as the reader does and notes those that it passes over
// silently. The reader reports its own errors; they are not repeated here.
void Document::scanLines() {
  bool inSection = false;
  unsigned int number = 0;
  std::string::size_type start = 0;
  while (start < m_bytes.size()) {
    std::string::size_type end = m_bytes.find('\n', start);
    if (end == std::string::npos) end = m_bytes.size();
    const std::string_view line(m_bytes.data() + start, end - start);
    start = end + 1;
    ++number;
    if (line.size() > KIV_INIFILE_LINE_MAX) {
      // The reader takes the first characters as a line and stops there.
      m_findings.push_back({Finding::Kind::LONG_LINE, number, 0});
      return;
    }
    const auto content = std::find_if_not(line.begin(), line.end(), isSpace);
    if (content == line.end() || *content == ';') continue;  // blank or comment
    const char first = line.front();
    if (first == '[') {
      if (line.find(']', 1) == std::string_view::npos) continue;  // the reader reports it
      inSection = true;
      if (line[1] == ']') m_findings.push_back({Finding::Kind::EMPTY_SECTION, number, 0});
    } else if (!inSection) {
      m_findings.push_back({Finding::Kind::BEFORE_SECTION, number, 0});
    } else if (first == '=') {
      // The name is every non-blank character before the "="; the line
      // does not begin with a blank here, so only "=" itself leaves none.
      m_findings.push_back({Finding::Kind::EMPTY_OPTION, number, 0});
    }
  }
}

std::string valueForWriter(const std::string& value) {
  // The writer drops an empty value; two double quotes read back as one.
  if (value.empty()) return "\"\"";
  // With ";" or a control character the writer quotes and escapes the
  // value itself.
  const bool writerQuotes = std::any_of(value.begin(), value.end(), [](char c) {
    return c == ';' || std::iscntrl(static_cast<unsigned char>(c)) != 0;
  });
  if (writerQuotes) return value;
  // Written bare, a value loses its outer blanks, a double quote or an
  // apostrophe starts a quoted text, and "$(" starts a substitution.
  const bool readsBack = !isSpace(value.front()) && !isSpace(value.back()) &&
                         value.find_first_of("\"'") == std::string::npos &&
                         value.find("$(") == std::string::npos;
  if (readsBack) return value;
  std::string quoted = "\"";
  for (const char c : value) {
    if (c == '\\' || c == '"') quoted += '\\';
    quoted += c;
  }
  quoted += '"';
  return quoted;
}

std::string backupNameOf(const std::string& path) {
  return KivClBakFilename(KivClFilename(path.c_str())).getAsCString();
}

}  // namespace kivini
