// Console UI prompts and progress indicator: questions on standard output,
// answers read a line at a time from standard input into the input buffer
// of the parameters, and a one-line spinner on the output stream.

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <string>

#include "kiv_base.hpp"
#include "kiv_conui.hpp"
#include "kiv_conui_texts.hpp"

namespace {

// Library text numbers: console/kiv_conui_texts.hpp.
using namespace kiv::detail::conuitext;

constexpr const char gs_szSpinner[] = "|/-\\";
constexpr std::uint32_t gs_ulSpinnerSteps = sizeof(gs_szSpinner) - 1;

// Reads one line of at most `size` - 1 characters into `buffer`. A longer
// line is cut there and its rest is read and dropped, so that the next read
// starts on a fresh line. At the end of the input the buffer is empty.
// \returns false when the input has ended and nothing was read
bool readLine(char* buffer, std::size_t size) {
  buffer[0] = '\0';
  std::cin.getline(buffer, static_cast<std::streamsize>(size));
  if (std::cin.fail() && !std::cin.eof() &&
      std::cin.gcount() == static_cast<std::streamsize>(size - 1)) {
    // The line did not fit.
    std::cin.clear();
    std::cin.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    return true;
  }
  return std::cin.gcount() > 0 || !std::cin.fail();
}

}  // namespace

// ---------------------------------------------------------------------------
// Prompts
// ---------------------------------------------------------------------------

const char* KivClConsoleUI::prompt(const char* question, const char* hint,
                                   const char* defaultAnswer) const {
  std::ostream& stream = std::cout;
  for (unsigned int i = 0; i < KIV_CONUI_BAR_LENGTH; ++i) stream.put('-');
  stream << "\n " << (question != nullptr ? question : "");
  if (hint != nullptr) stream << " (" << hint << ")";
  stream << ":\n";
  if (defaultAnswer != nullptr) {
    stream << " (" << label(gs_ulDefault).getText() << ": " << defaultAnswer << "): ";
  } else {
    stream << ' ';
  }
  stream.flush();

  char* buffer = m_pclParams->getInputBuffer();
  const std::size_t size = KivClConsoleUIParams::getInputBufferSize();
  readLine(buffer, size);
  if (buffer[0] == '\0' && defaultAnswer != nullptr) {
    std::strncpy(buffer, defaultAnswer, size - 1);
    buffer[size - 1] = '\0';
  }
  return buffer;
}

const char* KivClConsoleUI::promptString(const char* question, const char* defaultAnswer) const {
  return prompt(question, nullptr, defaultAnswer);
}

const char* KivClConsoleUI::promptString(unsigned long questionId,
                                         const char* defaultAnswer) const {
  const KivClMessage question(m_clCatalog, questionId);
  return promptString(question.getText(), defaultAnswer);
}

long KivClConsoleUI::promptNumval(const char* question, long min, long max,
                                  long defaultValue) const {
  char number[KIV_TOA_BUFFER_SIZE_64];
  std::string hint = label(gs_ulMin).getText();
  kivLtoa(min, number);
  hint.append(": ").append(number).append(", ").append(label(gs_ulMax).getText()).append(": ");
  kivLtoa(max, number);
  hint.append(number);
  char defaultAnswer[KIV_TOA_BUFFER_SIZE_64];
  kivLtoa(defaultValue, defaultAnswer);

  const KivClMessage invalid = label(gs_ulInvalidValue);
  for (;;) {
    const char* answer = prompt(question, hint.c_str(), defaultAnswer);
    const char first = answer[0] == '-' ? answer[1] : answer[0];
    if (std::isdigit(static_cast<unsigned char>(first))) {
      const long value = std::atol(answer);
      if (value >= min && value <= max) return value;
      error(std::cout, invalid.getText(), label(gs_ulEnterWithinLimits).getText());
    } else {
      error(std::cout, invalid.getText(), label(gs_ulEnterNumeric).getText());
    }
    if (std::cin.eof()) {
      // No answer can come any more: settle for the default, kept within
      // the limits.
      if (defaultValue < min) return min;
      if (defaultValue > max) return max;
      return defaultValue;
    }
  }
}

long KivClConsoleUI::promptNumval(unsigned long questionId, long min, long max,
                                  long defaultValue) const {
  const KivClMessage question(m_clCatalog, questionId);
  return promptNumval(question.getText(), min, max, defaultValue);
}

bool KivClConsoleUI::promptYesNo(const char* question, bool defaultYes) const {
  const KivClMessage yes = label(gs_ulYes);
  const KivClMessage no = label(gs_ulNo);
  const KivClMessage hint = label(gs_ulYesNoHint);
  const char yesLetter = yes.getText()[0];
  const char noLetter = no.getText()[0];
  const char defaultAnswer[] = {defaultYes ? yesLetter : noLetter, '\0'};

  const KivClMessage invalid = label(gs_ulInvalidValue);
  for (;;) {
    const char* answer = prompt(question, hint.getText(), defaultAnswer);
    const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(answer[0])));
    if (letter == yesLetter) return true;
    if (letter == noLetter) return false;
    error(std::cout, invalid.getText(), label(gs_ulPleaseUse).getText(), hint.getText());
    if (std::cin.eof()) return defaultYes;
  }
}

bool KivClConsoleUI::promptYesNo(unsigned long questionId, bool defaultYes) const {
  const KivClMessage question(m_clCatalog, questionId);
  return promptYesNo(question.getText(), defaultYes);
}

void KivClConsoleUI::promptForKey() const {
  std::cout << ' ' << label(gs_ulPressEnter).getText() << std::endl;
  char line[KIV_CONUI_INPUT_MAX + 1];
  readLine(line, sizeof(line));
}

// ---------------------------------------------------------------------------
// Progress indicator
// ---------------------------------------------------------------------------

void KivClConsoleUI::progressStart() const { m_pclParams->setProgressCounter(0); }

void KivClConsoleUI::progressStep(const char* text) const {
  std::uint32_t counter = m_pclParams->getProgressCounter();
  if (counter >= gs_ulSpinnerSteps) counter = 0;
  std::ostream& stream = getOutputStream();
  stream << '\r' << ' ' << gs_szSpinner[counter] << ' ';
  if (text != nullptr) stream << text << ' ';
  stream.flush();
  m_pclParams->setProgressCounter(counter + 1);
}

void KivClConsoleUI::progressStop() const {
  std::ostream& stream = getOutputStream();
  stream.put('\r');
  indent(stream, KIV_CONUI_PROGRESS_WIPE, ' ');
  stream.put('\r');
  stream.flush();
}
