// A shared library for the dynamic-library tests: two exported functions
// and one that is not exported.

#define KIV_TEST_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))

KIV_TEST_PLUGIN_EXPORT int kivTestPluginAnswer(void) { return 42; }

KIV_TEST_PLUGIN_EXPORT const char* kivTestPluginName(void) { return "kiv test plugin"; }

// Present in the library but not exported: dlsym must not find it.
extern "C" __attribute__((visibility("hidden"))) int kivTestPluginHidden(void) { return 7; }

// Keeps the hidden function referenced, so that it is not the only unused
// definition of the library.
KIV_TEST_PLUGIN_EXPORT int kivTestPluginHiddenTwice(void) { return 2 * kivTestPluginHidden(); }
