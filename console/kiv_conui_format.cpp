// Console UI formats: aligned label-value lines in every value type, the
// hex dump, and the lines that show error records and exceptions.

#include <algorithm>
#include <cstring>

#include "kiv_conui.hpp"
#include "kiv_conui_texts.hpp"
#include "kiv_strep.hpp"

namespace {

// Library text numbers: console/kiv_conui_texts.hpp.
using namespace kiv::detail::conuitext;

constexpr const char* gs_pszLabelIndent = "  ";
constexpr const char* gs_pszLabelSeparator = ": ";

const char* orEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

// ---------------------------------------------------------------------------
// The label part
// ---------------------------------------------------------------------------

void KivClConsoleUI::writeLabel(std::ostream& stream, const char* label) const {
  const char* text = orEmpty(label);
  const unsigned long width = m_pclParams->getFormatWidth();
  // A label longer than the width counts as the width: written whole, and
  // no fill is added.
  const unsigned long length = std::min<unsigned long>(std::strlen(text), width);
  switch (m_pclParams->getFormatStyle()) {
    case KivEnFormatStyle::RIGHT:
      indent(stream, static_cast<unsigned int>(width - length), ' ');
      stream << text;
      break;
    case KivEnFormatStyle::CENTRED: {
      // The right-hand count subtracts both parities on purpose. It is
      // computed signed: when it would be negative no blanks are written
      // (an unsigned count would wrap to billions of blanks).
      const long left = static_cast<long>(width / 2) - static_cast<long>(length / 2);
      const long right = left - static_cast<long>((width % 2) + (length % 2));
      indent(stream, static_cast<unsigned int>(left), ' ');
      stream << text;
      if (right > 0) indent(stream, static_cast<unsigned int>(right), ' ');
      break;
    }
    case KivEnFormatStyle::LEFT:
    default:
      stream << text;
      indent(stream, static_cast<unsigned int>(width - length), m_pclParams->getFormatFillChar());
      break;
  }
}

void KivClConsoleUI::format(const char* label) const {
  std::ostream& stream = getOutputStream();
  stream << gs_pszLabelIndent;
  writeLabel(stream, label);
  stream << gs_pszLabelSeparator;
}

void KivClConsoleUI::format(unsigned long labelId) const {
  const KivClMessage text(m_clCatalog, labelId);
  format(text.getText());
}

// ---------------------------------------------------------------------------
// Values
// ---------------------------------------------------------------------------

void KivClConsoleUI::writeString(std::ostream& stream, const char* value,
                                 unsigned long length) const {
  const bool quote = m_pclParams->isQuoteStrings();
  if (quote) stream.put('"');
  if (value != nullptr) stream.write(value, static_cast<std::streamsize>(length));
  if (quote) stream.put('"');
}

void KivClConsoleUI::format(const char* label, const char* value) const {
  format(label);
  std::ostream& stream = getOutputStream();
  writeString(stream, value, value != nullptr ? std::strlen(value) : 0);
  stream << std::endl;
}

void KivClConsoleUI::format(unsigned long labelId, const char* value) const {
  const KivClMessage text(m_clCatalog, labelId);
  format(text.getText(), value);
}

void KivClConsoleUI::format(const char* label, const char* value, unsigned long length) const {
  format(label);
  std::ostream& stream = getOutputStream();
  writeString(stream, value, length);
  stream << std::endl;
}

void KivClConsoleUI::format(unsigned long labelId, const char* value, unsigned long length) const {
  const KivClMessage text(m_clCatalog, labelId);
  format(text.getText(), value, length);
}

void KivClConsoleUI::format(const char* label, char value) const {
  format(label);
  std::ostream& stream = getOutputStream();
  const bool quote = m_pclParams->isQuoteStrings();
  if (quote) stream.put('\'');
  stream.put(value);
  if (quote) stream.put('\'');
  stream << std::endl;
}

void KivClConsoleUI::format(unsigned long labelId, char value) const {
  const KivClMessage text(m_clCatalog, labelId);
  format(text.getText(), value);
}

// The numeric forms differ only in the value type: the stream's own form.
#define KIV_CONUI_FORMAT_NUMBER(Type)                                    \
  void KivClConsoleUI::format(const char* label, Type value) const {     \
    format(label);                                                       \
    getOutputStream() << value << std::endl;                             \
  }                                                                      \
  void KivClConsoleUI::format(unsigned long labelId, Type value) const { \
    const KivClMessage text(m_clCatalog, labelId);                       \
    format(text.getText(), value);                                       \
  }

KIV_CONUI_FORMAT_NUMBER(long)
KIV_CONUI_FORMAT_NUMBER(int)
KIV_CONUI_FORMAT_NUMBER(unsigned int)
KIV_CONUI_FORMAT_NUMBER(short)
KIV_CONUI_FORMAT_NUMBER(unsigned short)
KIV_CONUI_FORMAT_NUMBER(unsigned long)
KIV_CONUI_FORMAT_NUMBER(float)
KIV_CONUI_FORMAT_NUMBER(double)

#undef KIV_CONUI_FORMAT_NUMBER

void KivClConsoleUI::formatBool(const char* labelText, bool value) const {
  // A truth value is no string: its word is never quoted.
  const KivClMessage answer = label(value ? gs_ulYes : gs_ulNo);
  format(labelText);
  getOutputStream() << answer.getText() << std::endl;
}

void KivClConsoleUI::formatBool(unsigned long labelId, bool value) const {
  const KivClMessage text(m_clCatalog, labelId);
  formatBool(text.getText(), value);
}

// ---------------------------------------------------------------------------
// Hex dump
// ---------------------------------------------------------------------------

void KivClConsoleUI::dump(const char* labelText, const char* data, unsigned long length) const {
  formatHeader(labelText);
  if (data == nullptr) return;
  std::ostream& stream = getOutputStream();
  const unsigned long step = KivClStrepHexDump::BYTES_PER_LINE;
  for (unsigned long offset = 0; offset < length; offset += step) {
    const KivClStrepHexDump line(offset, data + offset, std::min(step, length - offset));
    stream << gs_pszLabelIndent << line.getAsCString() << std::endl;
  }
}

void KivClConsoleUI::dump(unsigned long labelId, const char* data, unsigned long length) const {
  const KivClMessage text(m_clCatalog, labelId);
  dump(text.getText(), data, length);
}

// ---------------------------------------------------------------------------
// Error records
// ---------------------------------------------------------------------------

void KivClConsoleUI::formatName(unsigned long labelN, std::uint32_t messageId, long number) const {
  const unsigned long labelId = m_ulMessageIdBase + labelN;
  if (messageId == 0) {
    // A value without a text of its own is shown by its number rather than
    // by message 0, which is no name.
    format(labelId, number);
    return;
  }
  const KivClMessage name = label(messageId);
  format(labelId, name.getText());
}

void KivClConsoleUI::formatErrId(unsigned long errorId, bool verbose) const {
  const long id = static_cast<long>(errorId);
  formatName(gs_ulErrorId, kivErrorGetIdAsMessageId(id), id);
  if (verbose) format(m_ulMessageIdBase + gs_ulErrorId, errorId);
}

void KivClConsoleUI::format(KivEnErrorClass errorClass) const {
  formatName(gs_ulErrorClass, kivErrorGetClassAsMessageId(errorClass),
             static_cast<long>(errorClass));
}

void KivClConsoleUI::format(KivEnErrorSeverity severity) const {
  formatName(gs_ulErrorSeverity, kivErrorGetSeverityAsMessageId(severity),
             static_cast<long>(severity));
}

void KivClConsoleUI::format(KivEnErrorAction action) const {
  formatName(gs_ulRecommendedAction, kivErrorGetActionAsMessageId(action),
             static_cast<long>(action));
}

void KivClConsoleUI::format(const _KivStError& error, bool verbose) const {
  // Tersely, a cleared record shows nothing and a missing class ends the
  // display after the id.
  if (!verbose && error.id == 0) return;
  formatErrId(static_cast<unsigned long>(error.id), verbose);
  if (!verbose && error.errorClass == KivEnErrorClass{}) return;
  format(error.errorClass);
}

void KivClConsoleUI::format(const _KivStUserError& error, bool verbose) const {
  if (!verbose && error.id == 0) return;
  formatErrId(static_cast<unsigned long>(error.id), verbose);
  if (verbose || error.errorClass != KivEnErrorClass{}) format(error.errorClass);
  if (verbose || error.severity != KivEnErrorSeverity{}) format(error.severity);
  if (verbose || error.action != KivEnErrorAction{}) format(error.action);
}

void KivClConsoleUI::format(const KivClException& exception, bool verbose) const {
  format(exception.getError(), verbose);
  if (!verbose) return;
  const char* cause = exception.getCause();
  if (cause != nullptr && *cause != '\0') format(m_ulMessageIdBase + gs_ulCause, cause);
  format(m_ulMessageIdBase + gs_ulModule, orEmpty(exception.getModule()));
  format(m_ulMessageIdBase + gs_ulLine, static_cast<unsigned int>(exception.getLine()));
}
