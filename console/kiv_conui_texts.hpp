// The numbers of the console texts in the library's message set (ids 0-46
// of the built-in table), used by the console user interface as message
// base + N. Written once here for every source of the console UI.
#ifndef KIV_CONUI_TEXTS_HPP
#define KIV_CONUI_TEXTS_HPP

namespace kiv::detail::conuitext {

inline constexpr unsigned long gs_ulYes = 3;
inline constexpr unsigned long gs_ulNo = 4;
inline constexpr unsigned long gs_ulYesNoHint = 5;
inline constexpr unsigned long gs_ulMin = 6;
inline constexpr unsigned long gs_ulMax = 7;
inline constexpr unsigned long gs_ulHelpSwitches = 8;
inline constexpr unsigned long gs_ulCopyrightSwitch = 9;
inline constexpr unsigned long gs_ulQuietSwitch = 10;
inline constexpr unsigned long gs_ulDefault = 11;
inline constexpr unsigned long gs_ulExceptionHeader = 12;
inline constexpr unsigned long gs_ulFatalHeader = 13;
inline constexpr unsigned long gs_ulErrorHeader = 14;
inline constexpr unsigned long gs_ulWarningHeader = 15;
inline constexpr unsigned long gs_ulUsage = 17;
inline constexpr unsigned long gs_ulHelp = 18;
inline constexpr unsigned long gs_ulPressEnter = 20;
inline constexpr unsigned long gs_ulSpecifyHelp = 21;
inline constexpr unsigned long gs_ulNoHelp = 22;
inline constexpr unsigned long gs_ulUnknownArgument = 23;
inline constexpr unsigned long gs_ulArgumentNotAllowed = 24;
inline constexpr unsigned long gs_ulIllegalRepetition = 25;
inline constexpr unsigned long gs_ulMissingSwitch = 26;
inline constexpr unsigned long gs_ulNoValue = 27;
inline constexpr unsigned long gs_ulNoNumericValue = 28;
inline constexpr unsigned long gs_ulNonNumericValue = 29;
inline constexpr unsigned long gs_ulInvalidValue = 30;
inline constexpr unsigned long gs_ulEnterNumeric = 31;
inline constexpr unsigned long gs_ulEnterWithinLimits = 32;
inline constexpr unsigned long gs_ulPleaseUse = 33;
inline constexpr unsigned long gs_ulCopyright = 34;
inline constexpr unsigned long gs_ulLevel = 35;
inline constexpr unsigned long gs_ulPltxLevel = 36;
inline constexpr unsigned long gs_ulCompileDate = 38;
inline constexpr unsigned long gs_ulErrorId = 39;
inline constexpr unsigned long gs_ulErrorClass = 40;
inline constexpr unsigned long gs_ulErrorSeverity = 41;
inline constexpr unsigned long gs_ulRecommendedAction = 42;
inline constexpr unsigned long gs_ulCause = 43;
inline constexpr unsigned long gs_ulModule = 44;
inline constexpr unsigned long gs_ulLine = 46;

}  // namespace kiv::detail::conuitext

#endif
