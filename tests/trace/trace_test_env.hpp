// A trace environment for tests: its trace file lies in a fresh temporary
// directory and its buffer has a chosen size, set through the variables of
// a trace key of the test's own. The variables are restored afterwards.
#ifndef KIV_TRACE_TEST_ENV_HPP
#define KIV_TRACE_TEST_ENV_HPP

#include <memory>
#include <string>

#include "kiv_test_support.hpp"
#include "kiv_tracesettings.hpp"

namespace kivtest {

class TraceTestEnvironment {
 public:
  /// `key` should be unique to the test; `kilobytes` is the buffer size
  /// variable (4 gives the smallest buffer, 4096 bytes); `flags` replaces
  /// the settings' flag word after construction (compression, autosave...).
  TraceTestEnvironment(const std::string& key, unsigned kilobytes, std::uint32_t flags)
      : m_file(m_dir / "trace.trc"),
        m_fileVar(upper(key) + "_TRACE_FILE"),
        m_sizeVar(upper(key) + "_TRACE_BUFSIZE") {
    m_fileVar.set(m_file);
    m_sizeVar.set(std::to_string(kilobytes));
    m_environment = std::make_unique<KivClTraceEnvironment>(key.c_str(), nullptr, false);
    m_environment->getSettings().setFlags(flags);
  }

  KivClTraceEnvironment& environment() { return *m_environment; }
  const std::string& file() const { return m_file; }
  const TempDir& dir() const { return m_dir; }

 private:
  static std::string upper(std::string text) {
    for (char& c : text) {
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
  }

  TempDir m_dir;
  std::string m_file;
  EnvGuard m_fileVar;
  EnvGuard m_sizeVar;
  std::unique_ptr<KivClTraceEnvironment> m_environment;
};

}  // namespace kivtest

#endif
