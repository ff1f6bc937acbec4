// Process and thread properties, and ending another process.

#include "kiv_process.hpp"

#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdint>

KivClProcessProperty::KivClProcessProperty() noexcept
    : m_ulProcessId(static_cast<std::uint32_t>(::getpid())) {}

bool KivClProcess::kill() noexcept {
  m_error = {KIV_PROCESS_COULD_NOT_KILL, KivEnErrorClass::INVALID_DATA};
  // 0 would signal our own process group and ids that turn negative as a
  // pid_t would signal a group or every process we may signal: neither is
  // "the process".
  if (m_ulProcessId == 0 || m_ulProcessId > static_cast<std::uint32_t>(INT32_MAX)) return false;
  if (::kill(static_cast<pid_t>(m_ulProcessId), SIGTERM) != 0) return false;
  m_error = {};
  return true;
}
