// The INI file writer: the whole model or single items, in the fixed line
// layout that the parser reads back.
#include "kiv_inisave.hpp"

#include <cctype>
#include <cstring>
#include <ios>

#include "../foundation/kiv_cloexec.hpp"

namespace {

const char gs_szHexDigits[] = "0123456789abcdef";

bool needsQuotes(const char* value) {
  for (const char* p = value; *p != '\0'; ++p) {
    if (*p == ';' || std::iscntrl(static_cast<unsigned char>(*p)) != 0) return true;
  }
  return false;
}

}  // namespace

KivClIniFileSave::KivClIniFileSave(const KivClFilenameABase& name)
    : KivClIniFile(name), m_fOpened(false) {}

KivClIniFileSave::~KivClIniFileSave() {
  if (m_stream.is_open()) m_stream.flush();
}

void KivClIniFileSave::openOnce(std::ofstream& stream) {
  if (m_fOpened) return;
  stream.open(getAsCString(), std::ios::in | std::ios::out | std::ios::trunc);
  kiv::detail::setCloseOnExec(stream);
  m_fOpened = true;
}

bool KivClIniFileSave::save() {
  if (!m_stream.is_open()) {
    m_stream.open(getAsCString(), std::ios::in | std::ios::out | std::ios::trunc);
    kiv::detail::setCloseOnExec(m_stream);
  }
  return save(m_stream);
}

bool KivClIniFileSave::save(std::ofstream& stream) {
  m_fOpened = true;
  for (const KivClIniFileSection* s = getFirstSection(); s != nullptr; s = s->getNext()) {
    if (s->isDeleted()) continue;
    saveSection(stream, s->getName(), nullptr);
    for (const KivClIniFileOption* o = s->getFirstOption(); o != nullptr; o = o->getNext()) {
      if (o->isDeleted()) continue;
      saveOption(stream, o->getName(), o->getValue(), o->getComment());
    }
  }
  stream.flush();
  return stream.good();
}

bool KivClIniFileSave::saveSection(std::ofstream& stream, const char* name, const char* comment) {
  openOnce(stream);
  stream << '\n' << '[' << (name != nullptr ? name : "") << ']';
  saveComment(stream, comment);
  return stream.good();
}

bool KivClIniFileSave::saveOption(std::ofstream& stream, const char* name, const char* value,
                                  const char* comment) {
  if (value == nullptr || value[0] == '\0') return stream.good();
  openOnce(stream);
  saveOption(stream, name);
  if (needsQuotes(value)) {
    stream << '"';
    for (const char* p = value; *p != '\0'; ++p) saveChar(stream, *p);
    stream << '"';
  } else {
    stream << value;
  }
  saveComment(stream, comment);
  return stream.good();
}

bool KivClIniFileSave::saveOptionBool(std::ofstream& stream, const char* name, bool value,
                                      const char* comment) {
  openOnce(stream);
  saveOption(stream, name);
  stream << (value ? getStringTrue() : getStringFalse());
  saveComment(stream, comment);
  return stream.good();
}

template <typename Number>
bool KivClIniFileSave::saveNumber(std::ofstream& stream, const char* name, Number value,
                                  const char* comment) {
  openOnce(stream);
  saveOption(stream, name);
  // Back to decimal: an earlier write may have left the stream otherwise.
  stream << std::dec << value;
  saveComment(stream, comment);
  return stream.good();
}

bool KivClIniFileSave::saveOption(std::ofstream& stream, const char* name, int value,
                                  const char* comment) {
  return saveNumber(stream, name, value, comment);
}

bool KivClIniFileSave::saveOption(std::ofstream& stream, const char* name, unsigned int value,
                                  const char* comment) {
  return saveNumber(stream, name, value, comment);
}

bool KivClIniFileSave::saveOption(std::ofstream& stream, const char* name, long value,
                                  const char* comment) {
  return saveNumber(stream, name, value, comment);
}

bool KivClIniFileSave::saveOption(std::ofstream& stream, const char* name, unsigned long value,
                                  const char* comment) {
  return saveNumber(stream, name, value, comment);
}

bool KivClIniFileSave::saveOption(std::ofstream& stream, const char* name, char value,
                                  const char* comment) {
  openOnce(stream);
  saveOption(stream, name);
  stream << '\'';
  saveChar(stream, value);
  stream << '\'';
  saveComment(stream, comment);
  return stream.good();
}

void KivClIniFileSave::saveOption(std::ofstream& stream, const char* name) {
  stream << (name != nullptr ? name : "") << "\t= ";
}

void KivClIniFileSave::saveComment(std::ofstream& stream, const char* comment) {
  if (comment == nullptr || comment[0] == '\0') {
    stream << '\n';
  } else {
    stream << "\t; " << comment << '\n';
  }
}

void KivClIniFileSave::saveChar(std::ofstream& stream, char c) {
  switch (c) {
    case '\a':
      stream << "\\a";
      return;
    case '\b':
      stream << "\\b";
      return;
    case '\f':
      stream << "\\f";
      return;
    case '\n':
      stream << "\\n";
      return;
    case '\r':
      stream << "\\r";
      return;
    case '\t':
      stream << "\\t";
      return;
    case '\v':
      stream << "\\v";
      return;
    case '\\':
      stream << "\\\\";
      return;
    default:
      break;
  }
  const auto byte = static_cast<unsigned char>(c);
  if (std::iscntrl(byte) != 0) {
    const char escape[] = {'\\', 'x', gs_szHexDigits[byte >> 4], gs_szHexDigits[byte & 0xf], '\0'};
    stream << escape;
  } else {
    stream << c;
  }
}
