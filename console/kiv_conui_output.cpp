// Console UI output: the basic pieces (indentation, bar, header, message
// lines), the error, warning, information, fatal and exception displays,
// the text display of usage and help texts, and the usage, help, title and
// copyright displays.

#include <cstring>
#include <iostream>

#include "kiv_base.hpp"
#include "kiv_conui.hpp"
#include "kiv_conui_texts.hpp"
#include "kiv_usage.hpp"

namespace {

// Library text numbers: console/kiv_conui_texts.hpp.
using namespace kiv::detail::conuitext;

constexpr const char* gs_pszLabelSeparator = ": ";
constexpr const char* gs_pszMessageIndent = "  ";
constexpr const char* gs_pszTitleSeparator = " - ";
constexpr const char* gs_pszLevelSeparator = "   ";

// The library's copyright banner: eight lines, shown with an indentation of
// two blanks.
constexpr const char* gs_pszCopyrightBanner =
    "KIV Library - portable operating-system services\n"
    "Copyright (C) 1996-2024 The KIV Library developers.\n"
    "All rights reserved.\n"
    "\n"
    "This program is built on the KIV Library. The library and its texts\n"
    "may be used, copied and passed on only under the terms of the licence\n"
    "that came with it. The library comes without any warranty; see the\n"
    "licence for details.";

// Fixed at build time: the day the output part was compiled.
constexpr const char* gs_pszCompileDate = __DATE__;

const char* orEmpty(const char* text) { return text != nullptr ? text : ""; }

void writeBar(std::ostream& stream, unsigned int length) {
  for (unsigned int i = 0; i < length; ++i) stream.put('-');
  stream.put('\n');
}

}  // namespace

// ---------------------------------------------------------------------------
// Basic pieces
// ---------------------------------------------------------------------------

void KivClConsoleUI::indent(std::ostream& stream, unsigned int count, char c) const {
  for (unsigned int i = 0; i < count; ++i) stream.put(c);
}

void KivClConsoleUI::indent(std::ostream& stream) const {
  indent(stream, m_pclParams->getProcessNameLength(), ' ');
}

void KivClConsoleUI::newline() const { getOutputStream() << std::endl; }

void KivClConsoleUI::beep() const { getOutputStream().put('\a'); }

void KivClConsoleUI::horizontalBar() const {
  std::ostream& stream = getOutputStream();
  writeBar(stream, KIV_CONUI_BAR_LENGTH);
  stream << std::endl;
}

void KivClConsoleUI::header(std::ostream& stream, const char* label, bool more) const {
  stream.put('\n');
  writeBar(stream, KIV_CONUI_BAR_LENGTH);
  stream << getProcessName() << gs_pszLabelSeparator << orEmpty(label);
  if (more) {
    stream << ":\n";
    indent(stream);
  } else {
    stream << std::endl;
  }
}

void KivClConsoleUI::header(std::ostream& stream, unsigned long labelId, bool more) const {
  const KivClMessage text(m_clCatalog, labelId);
  header(stream, text.getText(), more);
}

void KivClConsoleUI::header(const char* label, bool more) const {
  header(getOutputStream(), label, more);
}

void KivClConsoleUI::header(unsigned long labelId, bool more) const {
  header(getOutputStream(), labelId, more);
}

void KivClConsoleUI::msg(std::ostream& stream, const char* text, const char* insert1,
                         const char* insert2, const char* insert3, const char* insert4) const {
  stream << gs_pszMessageIndent << orEmpty(text);
  msgSubseq(stream, insert1);
  msgSubseq(stream, insert2);
  msgSubseq(stream, insert3);
  msgSubseq(stream, insert4);
  stream << std::endl;
}

void KivClConsoleUI::msgSubseq(std::ostream& stream, const char* insert) const {
  if (insert != nullptr) stream << gs_pszLabelSeparator << insert;
}

void KivClConsoleUI::formatHeader(const char* label) const {
  std::ostream& stream = getOutputStream();
  stream << '\n' << gs_pszMessageIndent << orEmpty(label) << '\n' << gs_pszMessageIndent;
  // The bar without its first two characters, so that it ends where the
  // full bar ends.
  writeBar(stream, KIV_CONUI_BAR_LENGTH - 2);
  stream.flush();
}

void KivClConsoleUI::formatHeader(unsigned long labelId) const {
  const KivClMessage text(m_clCatalog, labelId);
  formatHeader(text.getText());
}

// ---------------------------------------------------------------------------
// Displays
// ---------------------------------------------------------------------------

void KivClConsoleUI::fatal(unsigned long code, const char* text, const char* insert1,
                           const char* insert2, const char* insert3, const char* insert4) const {
  std::ostream& stream = getErrorStream();
  header(stream, m_ulMessageIdBase + gs_ulFatalHeader, true);
  msg(stream, text, insert1, insert2, insert3, insert4);
  processExit(code);
}

void KivClConsoleUI::error(const char* text, const char* insert1, const char* insert2,
                           const char* insert3, const char* insert4) const {
  std::ostream& stream = getErrorStream();
  header(stream, m_ulMessageIdBase + gs_ulErrorHeader, true);
  msg(stream, text, insert1, insert2, insert3, insert4);
}

void KivClConsoleUI::error(std::ostream& stream, const char* text, const char* insert1,
                           const char* insert2) const {
  header(stream, m_ulMessageIdBase + gs_ulErrorHeader, true);
  msg(stream, text, insert1, insert2);
}

void KivClConsoleUI::warning(const char* text, const char* insert1, const char* insert2,
                             const char* insert3, const char* insert4) const {
  std::ostream& stream = getErrorStream();
  header(stream, m_ulMessageIdBase + gs_ulWarningHeader, true);
  msg(stream, text, insert1, insert2, insert3, insert4);
}

void KivClConsoleUI::info(const char* title, const char* text, const char* insert1,
                          const char* insert2, const char* insert3) const {
  std::ostream& stream = getOutputStream();
  header(stream, title, text != nullptr);
  if (text != nullptr) msg(stream, text, insert1, insert2, insert3);
}

void KivClConsoleUI::exception(const KivClException& exception, const char* text,
                               const char* insert1, const char* insert2, const char* insert3,
                               const char* insert4) const {
  std::ostream& stream = getErrorStream();
  header(stream, m_ulMessageIdBase + gs_ulExceptionHeader, true);
  msg(stream, text, insert1, insert2, insert3, insert4);
  format(exception, true);
}

// ---------------------------------------------------------------------------
// Text display
// ---------------------------------------------------------------------------

void KivClConsoleUI::display(std::ostream& stream, const char* text, unsigned int indentCount,
                             bool usage) const {
  const char* p = orEmpty(text);
  const bool hideTagged = m_pclParams->isHideTaggedLines() || m_pclParams->isDisableTaggedLines();
  const std::size_t length = std::strlen(p);
  const bool endsWithNewline = length > 0 && p[length - 1] == '\n';
  unsigned long column = 1;
  while (*p != '\0') {
    const char c = *p++;
    if (c == '!') {
      if (hideTagged) {
        // The rest of the line goes, its newline included.
        while (*p != '\0' && *p != '\n') ++p;
        if (*p == '\n') ++p;
        column = 1;
      }
      continue;
    }
    if (usage && !KivClUsageCursor::isToBeDisplayed(c)) continue;
    if (c == '\n' || (c == '@' && column == 1)) {
      // An "@" line shows as one empty line: the "@" is the line break, and
      // the newline that ends its line is not shown a second time.
      if (c == '@' && *p == '\n') ++p;
      stream.put('\n');
      indent(stream, indentCount, ' ');
      column = 1;
      continue;
    }
    stream.put(c);
    ++column;
  }
  if (!endsWithNewline) stream << std::endl;
}

// ---------------------------------------------------------------------------
// Usage, help, title and copyright
// ---------------------------------------------------------------------------

void KivClConsoleUI::displayUsage(bool exit) const {
  std::ostream& stream = std::cout;
  const KivClMessage usageLabel = label(gs_ulUsage);
  stream << '\n' << usageLabel.getText() << gs_pszLabelSeparator << getProcessName();
  if (isCatalogUsable()) {
    const KivClMessage letters = label(gs_ulHelpSwitches);
    stream << " [";
    for (const char* c = letters.getText(); *c != '\0'; ++c) {
      if (c != letters.getText()) stream.put('|');
      stream.put('-').put(*c);
    }
    stream << "|-" << label(gs_ulCopyrightSwitch).getText() << "] [-"
           << label(gs_ulQuietSwitch).getText() << "]\n";
  }
  // The usage text lines up with the place right after "Usage: name ".
  // Without catalog texts the first line is not ended, so the indentation
  // follows the process name on the same line.
  const unsigned int usageIndent = static_cast<unsigned int>(m_pclParams->getProcessNameLength() +
                                                             std::strlen(usageLabel.getText()) + 3);
  indent(stream, usageIndent, ' ');
  display(stream, getUsage(), usageIndent, true);
  if (exit) {
    stream << std::endl;
    privateProcessExit(KIV_CONUI_EXIT_USAGE);
  }
  stream.flush();
}

void KivClConsoleUI::displayHelp(bool exit) const {
  std::ostream& stream = std::cout;
  const char* help = getHelp();
  if (help != nullptr) {
    const KivClMessage helpLabel = label(gs_ulHelp);
    stream << '\n' << helpLabel.getText() << gs_pszLabelSeparator;
    display(stream, help, static_cast<unsigned int>(std::strlen(helpLabel.getText()) + 2), false);
  } else {
    // The line is left open: the display ends right after the text.
    indent(stream);
    stream << label(gs_ulNoHelp).getText();
  }
  stream.flush();
  if (exit) privateProcessExit(KIV_CONUI_EXIT_USAGE);
}

void KivClConsoleUI::displayUsageHelp(const char* usage, const char* help, bool exit) {
  setUsage(usage, help);
  displayUsage(false);
  displayHelp(exit);
}

void KivClConsoleUI::displayTitle(const char* title, const char* level) const {
  std::ostream& stream = getOutputStream();
  if (title != nullptr) stream << '\n' << getProcessName() << gs_pszTitleSeparator << title;
  if (level != nullptr) stream << gs_pszLevelSeparator << level;
  if (title != nullptr || level != nullptr) stream << std::endl;
}

void KivClConsoleUI::displayCopyright(const char* level, const char* date) const {
  // Quiet mode does not silence the copyright display.
  m_pclParams->forceOutputStream(std::cout);
  std::ostream& stream = getOutputStream();
  formatHeader(m_ulMessageIdBase + gs_ulCopyright);
  stream << gs_pszMessageIndent;
  display(stream, gs_pszCopyrightBanner, 2, false);
  formatHeader(m_ulMessageIdBase + gs_ulLevel);
  format(m_ulMessageIdBase + gs_ulPltxLevel, kivLibraryGetLevel());
  format(m_ulMessageIdBase + gs_ulCompileDate, gs_pszCompileDate);
  if (level != nullptr) {
    formatHeader(m_ulMessageIdBase + gs_ulLevel);
    format(m_ulMessageIdBase + gs_ulPltxLevel, level);
    format(m_ulMessageIdBase + gs_ulCompileDate, date);
  }
  privateProcessExit(KIV_CONUI_EXIT_USAGE);
}
