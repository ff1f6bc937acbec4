// The trace instance (the singleton of the process) and the flat interface.
#include "kiv_trace.hpp"

#include <new>

#include "kiv_memmgr.hpp"

KivClTraceInstance* gs_pclKivTraceInstance = nullptr;
KivClTraceInstance* KivClTraceInstance::cv_pclSingletonInstance = nullptr;

namespace {

// Deletes the singleton when the library is unloaded or the process ends.
const KivClTraceAutomaticInstanceDestructor gs_clAutomaticInstanceDestructor;

// The out-of-line copy of the inline test, for callers that take its
// address or link to it by name.
[[maybe_unused]] bool (*const gs_pfuIsEnabled)() noexcept = &kivTraceIsEnabled;

}  // namespace

KivClTraceAutomaticInstanceDestructor::~KivClTraceAutomaticInstanceDestructor() {
  KivClTraceInstance::deleteInstance();
}

KivClTraceInstance* KivClTraceInstance::create(const char* key, const char* instance,
                                               bool keepFile) {
  if (cv_pclSingletonInstance == nullptr) {
    void* memory = KivClMemoryManager::allocate(sizeof(KivClTraceInstance));
    try {
      cv_pclSingletonInstance = new (memory) KivClTraceInstance(key, instance, keepFile);
    } catch (...) {
      KivClMemoryManager::free(memory);
      throw;
    }
  }
  return cv_pclSingletonInstance;
}

KivClTraceInstance* KivClTraceInstance::createInstance(const char* key, const char* instance) {
  return create(key, instance, false);
}

KivClTraceInstance* KivClTraceInstance::createControllerInstance(const char* key,
                                                                 const char* instance) {
  return create(key, instance, true);
}

void KivClTraceInstance::deleteInstance() {
  KivClTraceInstance* singleton = cv_pclSingletonInstance;
  if (singleton == nullptr) return;
  singleton->~KivClTraceInstance();
  KivClMemoryManager::free(singleton);
  cv_pclSingletonInstance = nullptr;
}

KivClTraceInstance::KivClTraceInstance(const char* key, const char* instance, bool keepFile)
    : m_aulReserved{0, 0},
      m_pclEnvironment(nullptr),
      m_pfuDumpCallback(&dumpImp),
      m_pvUserData(this),
      m_llNestingLevel(0) {
  void* memory = KivClMemoryManager::allocate(sizeof(KivClTraceEnvironment));
  try {
    m_pclEnvironment = new (memory) KivClTraceEnvironment(key, instance, keepFile);
  } catch (...) {
    KivClMemoryManager::free(memory);
    throw;
  }
  enable();
}

KivClTraceInstance::~KivClTraceInstance() {
  disable();
  m_pclEnvironment->~KivClTraceEnvironment();
  KivClMemoryManager::free(m_pclEnvironment);
}

void KivClTraceInstance::enable() noexcept {
  if (isActive()) gs_pclKivTraceInstance = this;
}

void KivClTraceInstance::disable() {
  flush();
  gs_pclKivTraceInstance = nullptr;
}

void KivClTraceInstance::activate() noexcept { m_pclEnvironment->activate(); }

bool KivClTraceInstance::isActive() const noexcept { return m_pclEnvironment->isActive(); }

void KivClTraceInstance::flush() {
  if (isActive()) m_pclEnvironment->flush();
}

void KivClTraceInstance::registerUserCallback(KivPfuTraceDumpCallback callback,
                                              void* userData) noexcept {
  if (callback == nullptr) {
    m_pfuDumpCallback = &dumpImp;
    m_pvUserData = this;
  } else {
    m_pfuDumpCallback = callback;
    m_pvUserData = userData;
  }
}

void KivClTraceInstance::dumpImp(void* userData, KivEnTraceDetail detail,
                                 unsigned short componentId, KivEnTraceDataType type,
                                 const char* function, const char* message, const void* data,
                                 unsigned long length) {
  KivClTraceEnvironment& environment = static_cast<KivClTraceInstance*>(userData)->getEnvironment();
  if (!environment.getSettings().getFilter().passesRecording(detail, componentId)) return;
  const KivClTraceEntry entry(environment, detail, componentId, type, function, message, data,
                              length);
  environment.add(entry);
}

void KivClTraceInstance::dumpFunction(KivEnTraceDetail detail, unsigned short componentId,
                                      KivEnTraceDataType type, const char* function) {
  // The level changes before the entry is recorded: an outermost function's
  // entry carries 1 and its exit 0. The entry gets its own copy of the
  // level, so that another thread's change cannot tear the 8 bytes.
  const std::int64_t level =
      type == KIV_TRACE_TYPE_FUNCTION_ENTRY
          ? m_llNestingLevel.fetch_add(1, std::memory_order_relaxed) + 1
          : m_llNestingLevel.fetch_sub(1, std::memory_order_relaxed) - 1;
  // Low detail is recorded as OFF, which every filter lets pass: function
  // entries and exits of low detail are always recorded.
  if (detail == KIV_TRACE_DETAIL_LOW) detail = KIV_TRACE_DETAIL_OFF;
  m_pfuDumpCallback(m_pvUserData, detail, componentId, type, function, "", &level,
                    sizeof level);
}

KivClTraceInstance* KivClTraceInstance_getInstance() { return gs_pclKivTraceInstance; }

extern "C" {

void kivTraceCreateInstance(const char* key, const char* instance) {
  KivClTraceInstance::createInstance(key, instance);
}

void kivTraceDeleteInstance() { KivClTraceInstance::deleteInstance(); }

void kivTraceFlush() { gs_pclKivTraceInstance->flush(); }

void kivTraceDump(KivEnTraceDetail detail, unsigned short componentId, KivEnTraceDataType type,
                  const char* function, const char* message, const void* data,
                  unsigned long length) {
  KivClTraceInstance* instance = gs_pclKivTraceInstance;
  if (type == KIV_TRACE_TYPE_FUNCTION_ENTRY || type == KIV_TRACE_TYPE_FUNCTION_EXIT) {
    instance->dumpFunction(detail, componentId, type, function);
  } else {
    instance->dump(detail, componentId, type, function, message, data, length);
  }
}

}  // extern "C"
