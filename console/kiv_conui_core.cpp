// Console UI core: construction, the built-in switches, the usage and help
// switches with the command line check, the accessors and the ends of the
// process. The argument cursors' constructors that take a console UI live
// here too, beside the class whose fields they read.

#include <cstdlib>
#include <iostream>
#include <new>

#include "kiv_argv.hpp"
#include "kiv_conui.hpp"
#include "kiv_conui_texts.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_msgtable.hpp"

namespace {

// Library text numbers: console/kiv_conui_texts.hpp.
using namespace kiv::detail::conuitext;

int countOf(int argc, const char** argv) { return argv != nullptr && argc > 0 ? argc : 0; }

// The parameters object in memory of the memory manager.
KivClConsoleUIParams* newParams(int argc, const char** argv) {
  void* storage = kivMalloc(sizeof(KivClConsoleUIParams));
  try {
    return new (storage) KivClConsoleUIParams(countOf(argc, argv) > 0 ? argv[0] : nullptr);
  } catch (...) {
    kivFree(storage);
    throw;
  }
}

}  // namespace

// ---------------------------------------------------------------------------
// Construction
// ---------------------------------------------------------------------------

KivClConsoleUI::KivClConsoleUI(int argc, const char** argv)
    : m_clCatalog(),
      m_ulMessageIdBase(0),
      m_iArgc(countOf(argc, argv)),
      m_ppszArgv(argv),
      m_pclParams(newParams(argc, argv)) {
  m_clCatalog.useStringTable(kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
}

KivClConsoleUI::KivClConsoleUI(int argc, char** argv)
    : KivClConsoleUI(argc, const_cast<const char**>(argv)) {}

KivClConsoleUI::KivClConsoleUI(int argc, const char** argv, const KivClFilename& catalogName,
                               unsigned long messageIdBase)
    : m_clCatalog(catalogName),
      m_ulMessageIdBase(messageIdBase),
      m_iArgc(countOf(argc, argv)),
      m_ppszArgv(argv),
      m_pclParams(newParams(argc, argv)) {}

KivClConsoleUI::KivClConsoleUI(int argc, char** argv, const KivClFilename& catalogName,
                               unsigned long messageIdBase)
    : KivClConsoleUI(argc, const_cast<const char**>(argv), catalogName, messageIdBase) {}

KivClConsoleUI::~KivClConsoleUI() {
  m_pclParams->~KivClConsoleUIParams();
  kivFree(m_pclParams);
  m_pclParams = nullptr;
}

KivClArgvCursor::KivClArgvCursor(const KivClConsoleUI& consoleUI)
    : KivClArgvCursor(consoleUI.getArgc(), consoleUI.getArgv()) {}

KivClArgvCheckCursor::KivClArgvCheckCursor(const KivClConsoleUI& consoleUI)
    : KivClArgvCheckCursor(consoleUI.getArgc(), consoleUI.getArgv(), consoleUI.getUsage()) {}

KivClArgvFreeCursor::KivClArgvFreeCursor(const KivClConsoleUI& consoleUI)
    : KivClArgvFreeCursor(consoleUI.getArgc(), consoleUI.getArgv(), consoleUI.getUsage()) {}

// ---------------------------------------------------------------------------
// Set-up and the built-in switches
// ---------------------------------------------------------------------------

void KivClConsoleUI::init(const char* title, const char* level, const char* copyrightLevel,
                          const char* copyrightDate) {
  if (m_clCatalog.isDefaultCatalog()) {
    m_clCatalog.useStringTable(kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
  }
  handleBuiltInSwitches(title, level, copyrightLevel, copyrightDate);
}

void KivClConsoleUI::init(unsigned long titleId, unsigned long levelId, const char* copyrightLevel,
                          const char* copyrightDate) {
  if (m_clCatalog.isDefaultCatalog()) {
    m_clCatalog.useStringTable(kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
  }
  // The messages keep the texts alive while the switches are handled.
  const KivClMessage title(m_clCatalog, titleId);
  const KivClMessage level(m_clCatalog, levelId);
  const bool hasTitle = KivClMessageCatalog::isValidMessageId(titleId) && title.isLoaded();
  const bool hasLevel = KivClMessageCatalog::isValidMessageId(levelId) && level.isLoaded();
  handleBuiltInSwitches(hasTitle ? title.getText() : nullptr, hasLevel ? level.getText() : nullptr,
                        copyrightLevel, copyrightDate);
}

void KivClConsoleUI::handleBuiltInSwitches(const char* title, const char* level,
                                           const char* copyrightLevel, const char* copyrightDate) {
  // Without any texts the names of the built-in switches are unknown.
  if (!isCatalogUsable()) {
    displayTitle(title, level);
    return;
  }
  if (hasArgSwitch(label(gs_ulQuietSwitch).getText())) m_pclParams->setQuietMode();
  displayTitle(title, level);
  if (hasArgSwitch(label(gs_ulCopyrightSwitch).getText())) {
    displayCopyright(copyrightLevel, copyrightDate);
  }
}

void KivClConsoleUI::handleUsageHelp(const char* usage, const char* help) {
  setUsage(usage, help);
  handleHelp();
  if (hasUsage()) checkCommandLine();
}

void KivClConsoleUI::handleUsageHelp(unsigned long usageId, unsigned long helpId) {
  const KivClMessage usage(m_clCatalog, usageId);
  const KivClMessage help(m_clCatalog, helpId);
  const bool hasUsageText = KivClMessageCatalog::isValidMessageId(usageId) && usage.isLoaded();
  const bool hasHelpText = KivClMessageCatalog::isValidMessageId(helpId) && help.isLoaded();
  handleUsageHelp(hasUsageText ? usage.getText() : nullptr, hasHelpText ? help.getText() : nullptr);
}

void KivClConsoleUI::handleHelp() const {
  const KivClMessage letters = label(gs_ulHelpSwitches);
  if (!letters.isLoaded()) return;
  for (const char* c = letters.getText(); *c != '\0'; ++c) {
    if (hasArgSwitch(*c)) {
      displayUsage(false);
      displayHelp(true);
    }
  }
}

void KivClConsoleUI::checkCommandLine() const {
  const KivClMessage quiet = label(gs_ulQuietSwitch);
  const KivClMessage unknown = label(gs_ulUnknownArgument);
  const KivClMessage notAllowed = label(gs_ulArgumentNotAllowed);
  const KivClMessage repetition = label(gs_ulIllegalRepetition);
  unsigned long errors = 0;

  KivClArgvCheckCursor argument(*this);
  for (bool valid = argument.setToFirst(); valid; valid = argument.setToNext()) {
    const char* text = argument.getAsCString();
    if (!argument.isLegal() && !argument.matches(quiet.getText())) {
      error(std::cerr, unknown.getText(), text);
      ++errors;
      continue;
    }
    if (m_pclParams->isDisableTaggedLines() && argument.isTagged()) {
      error(std::cerr, notAllowed.getText(), text);
      ++errors;
    }
    if (argument.isSwitch()) {
      // Every later occurrence counts, so a switch given three times is
      // reported twice here and once more at its second occurrence.
      KivClArgvCursor later(argument);
      while (later.setToNext()) {
        if (later.isSwitch() && later.matches(text)) {
          error(std::cerr, repetition.getText(), text);
          ++errors;
        }
      }
    }
  }
  if (errors > 0) displayUsage(true);
}

void KivClConsoleUI::setUsage(const char* usage, const char* help) {
  m_pclParams->setUsage(usage, help);
}

// ---------------------------------------------------------------------------
// Accessors
// ---------------------------------------------------------------------------

const KivClMessageCatalog& KivClConsoleUI::getMessageCatalog() const { return m_clCatalog; }

const char* KivClConsoleUI::getUsage() const { return m_pclParams->getUsage(); }

bool KivClConsoleUI::hasUsage() const { return m_pclParams->hasUsage(); }

const char* KivClConsoleUI::getHelp() const { return m_pclParams->getHelp(); }

const char* KivClConsoleUI::getProcessName() const { return m_pclParams->getProcessName(); }

std::ostream& KivClConsoleUI::getOutputStream() const { return m_pclParams->getOutputStream(); }

std::ostream& KivClConsoleUI::getErrorStream() const { return m_pclParams->getErrorStream(); }

void KivClConsoleUI::setOutputStream(std::ostream& stream) { m_pclParams->setOutputStream(stream); }

void KivClConsoleUI::setFormatWidth(unsigned int width) { m_pclParams->setFormatWidth(width); }

void KivClConsoleUI::setFormatStyle(KivEnFormatStyle style) { m_pclParams->setFormatStyle(style); }

void KivClConsoleUI::setFormatFillChar(char fill) { m_pclParams->setFormatFillChar(fill); }

bool KivClConsoleUI::mustBeQuiet() const { return m_pclParams->isQuiet(); }

void KivClConsoleUI::hideTaggedLines(bool hide) { m_pclParams->setHideTaggedLines(hide); }

void KivClConsoleUI::disableTaggedLines(bool disable) {
  m_pclParams->setDisableTaggedLines(disable);
}

KivClMessage KivClConsoleUI::label(unsigned long n) const {
  return KivClMessage(m_clCatalog, m_ulMessageIdBase + n);
}

bool KivClConsoleUI::isCatalogUsable() const {
  return m_clCatalog.isOpen() || m_clCatalog.getStringTable() != nullptr;
}

// ---------------------------------------------------------------------------
// Ends of the process
// ---------------------------------------------------------------------------

void KivClConsoleUI::processExit(unsigned long code) const {
  if (code != 0) beep();
  m_pclParams->flushOutputStream();
  std::cout.flush();
  std::cerr.flush();
  std::exit(static_cast<int>(code));
}

void KivClConsoleUI::privateProcessExit(unsigned long code) const { processExit(code); }

void KivClConsoleUI::privateFatal(unsigned long code, const char* text, const char* insert1,
                                  const char* insert2) const {
  header(std::cerr, m_ulMessageIdBase + gs_ulFatalHeader, true);
  msg(std::cerr, text, insert1, insert2);
  privateProcessExit(code);
}

void KivClConsoleUI::fatalMissingArg(const char* name) const {
  const KivClMessage missing = label(gs_ulMissingSwitch);
  if (!hasUsage()) privateFatal(KIV_CONUI_EXIT_ARG_MISSING, missing.getText(), name);
  header(std::cerr, m_ulMessageIdBase + gs_ulFatalHeader, true);
  msg(std::cerr, missing.getText(), name);
  indent(std::cerr);
  msg(std::cerr, label(gs_ulSpecifyHelp).getText());
  displayUsage(true);
  // displayUsage(true) does not come back; this keeps the promise of the
  // declaration should it ever do so.
  privateProcessExit(KIV_CONUI_EXIT_USAGE);
}

void KivClConsoleUI::fatalMissingArg(char name) const {
  const char text[] = {'-', name, '\0'};
  fatalMissingArg(text);
}
