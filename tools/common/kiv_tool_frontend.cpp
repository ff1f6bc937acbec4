// The common front end of the command-line tools.
#include "kiv_tool_frontend.hpp"

#include <cstring>
#include <iostream>

#include "../../console/kiv_conui_texts.hpp"
#include "kiv_message.hpp"

namespace kivtool {

namespace {

constexpr const char* gs_pszLongHelp = "--help";
constexpr const char* gs_pszLongVersion = "--version";
constexpr const char* gs_pszStandardStream = "-";

}  // namespace

std::vector<char*> FrontEnd::prepare(int argc, char** argv, const std::string& standIn) {
  std::vector<char*> args;
  for (int i = 0; i < argc && argv != nullptr && argv[i] != nullptr; ++i) {
    // The console UI only reads the vector; the stand-in is never written.
    const bool lone = i > 0 && std::strcmp(argv[i], gs_pszStandardStream) == 0;
    args.push_back(lone ? const_cast<char*>(standIn.c_str()) : argv[i]);
  }
  args.push_back(nullptr);
  return args;
}

FrontEnd::FrontEnd(int argc, char** argv, const char* standardStreamName)
    : m_standIn(standardStreamName != nullptr ? standardStreamName : ""),
      m_args(prepare(argc, argv, m_standIn)),
      m_ui(static_cast<int>(m_args.size() - 1), m_args.data()),
      m_pStandardOutput(std::cout.rdbuf()),
      m_data(m_pStandardOutput) {}

FrontEnd::~FrontEnd() {
  m_data.flush();
  std::cout.rdbuf(m_pStandardOutput);
}

bool FrontEnd::hasLongOption(const char* name) const {
  for (std::size_t i = 1; i + 1 < m_args.size(); ++i) {
    if (std::strcmp(m_args[i], name) == 0) return true;
  }
  return false;
}

bool FrontEnd::asksForHelp() const {
  const KivClMessage letters(m_ui.getMessageCatalog(),
                             m_ui.getMessageIdBase() + kiv::detail::conuitext::gs_ulHelpSwitches);
  if (!letters.isLoaded()) return false;
  for (const char* c = letters.getText(); *c != '\0'; ++c) {
    if (m_ui.hasArgSwitch(*c)) return true;
  }
  return false;
}

void FrontEnd::start(const ToolIdentity& identity) {
  // No title: what a tool writes is data for scripts.
  m_ui.init(nullptr, nullptr, identity.level, identity.date);
  if (hasLongOption(gs_pszLongHelp)) {
    m_ui.setUsage(identity.usage, identity.help);
    m_ui.displayUsage(false);
    m_ui.displayHelp(false);
    exit(0);
  }
  if (hasLongOption(gs_pszLongVersion)) {
    std::cout << (identity.versionLine != nullptr ? identity.versionLine : "") << '\n';
    exit(0);
  }
  // From here on the console UI's standard output is standard error; the
  // help switches alone keep their display where the console UI puts it.
  if (!asksForHelp()) {
    std::cout.flush();
    std::cout.rdbuf(std::cerr.rdbuf());
  }
  m_ui.handleUsageHelp(identity.usage, identity.help);
}

std::ostream& FrontEnd::data() { return m_ui.mustBeQuiet() ? m_ui.getOutputStream() : m_data; }

const char* FrontEnd::typed(const char* argument) const {
  return isStandardStream(argument) ? gs_pszStandardStream : argument;
}

void FrontEnd::exit(unsigned long status) {
  m_data.flush();
  m_ui.processExit(status);
  // processExit does not come back.
  std::exit(static_cast<int>(status));
}

int FrontEnd::answer(int status) {
  m_data.flush();
  return status;
}

}  // namespace kivtool
