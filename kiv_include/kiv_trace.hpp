/// \file
/// The trace facility of a process: the trace instance and the flat
/// interface that applications trace through.
///
/// A process has at most one KivClTraceInstance, the singleton. It owns the
/// trace environment of one trace key (KivClTraceEnvironment: settings from
/// the environment variables of the key, the ring buffer, the autosave to the
/// trace file), decides for every call whether it is recorded, keeps the
/// function nesting level, and lets an application put a callback of its own
/// in place of the library's back end (the buffer).
///
/// Typical use: create the instance once, at start-up, then trace through
/// the flat interface, testing whether tracing is on first:
///
/// ~~~{.cpp}
///   kivTraceCreateInstance("myapp", nullptr);   // reads MYAPP_TRACE_...
///   ...
///   if (kivTraceIsEnabled())
///     kivTraceDump(KIV_TRACE_DETAIL_MED, 3, KIV_TRACE_TYPE_CSTRING, "open", "file", name,
///                  std::strlen(name));
/// ~~~
///
/// kivTraceDump and kivTraceFlush use the enabled instance WITHOUT testing
/// it: calling them while tracing is off dereferences null. The test
/// kivTraceIsEnabled() is one load of gs_pclKivTraceInstance and a branch;
/// it is inline, and the library exports an out-of-line copy as well.
///
/// States: none (no singleton) -> created (inactive unless the key's
/// "_TRACE_ACTIVE" variable enables it) -> enabled (published in
/// gs_pclKivTraceInstance) <-> disabled (flushed, not published). The
/// singleton is deleted by deleteInstance() or, at the latest, when the
/// library is unloaded or the process ends; deleting it flushes, so pending
/// entries reach the trace file with autosave on.
///
/// Ownership: the singleton is allocated through the memory manager and owns
/// its environment; an out-of-memory failure there is the memory manager's
/// fatal exception (outOfMemory), and a partly built instance is freed. No
/// trace operation reports an error to its caller.
///
/// Threads: create and delete the instance, activate, enable and disable it,
/// and register callbacks while no other thread traces. Once it is enabled,
/// any number of threads may call kivTraceDump and kivTraceFlush at once:
/// each entry is written into the buffer (and handed to the trace file)
/// whole, under the buffer's lock, so entries of different threads never
/// interleave; the entries of one thread keep their order. The nesting level
/// stays ONE counter for the process, raised and lowered atomically: with
/// several threads its values interleave as their calls do. A function
/// entry or exit records the level as it was right after its own change (the
/// value is copied before the record is written, so that another thread's
/// change cannot tear it).
#ifndef KIV_TRACE_HPP
#define KIV_TRACE_HPP

#include <atomic>
#include <cstdint>

#include "kiv_base.hpp"
#include "kiv_traceentry.hpp"
#include "kiv_tracesettings.hpp"
#include "kiv_tracetypes.hpp"

/// A dump callback: receives every call of kivTraceDump that is not a
/// function entry or exit, and the function entries and exits as
/// dumpFunction makes them (their data is the 8-byte nesting level).
typedef void (*KivPfuTraceDumpCallback)(void* userData, KivEnTraceDetail detail,
                                        unsigned short componentId, KivEnTraceDataType type,
                                        const char* function, const char* message,
                                        const void* data, unsigned long length);

class KivClTraceInstance;

/// The enabled instance: the singleton while it is enabled, otherwise null.
/// Every test whether tracing is on reads only this pointer.
extern KIV_EXPORT KivClTraceInstance* gs_pclKivTraceInstance;

/// The trace facility of the process (see the banner).
class KIV_EXPORT KivClTraceInstance {
 public:
  /// The singleton, created at the first call with keep file false (so that
  /// autoclear may empty the trace file); later calls return it unchanged
  /// and ignore their arguments. `instance` may be null (the default
  /// instance name).
  static KivClTraceInstance* createInstance(const char* key, const char* instance);
  /// The same with keep file true: creating it never clears or truncates
  /// the trace file. Meant for a program that controls or reads a trace.
  static KivClTraceInstance* createControllerInstance(const char* key, const char* instance);
  /// Destroys and frees the singleton, if there is one (it is disabled,
  /// which flushes, first).
  static void deleteInstance();
  /// The singleton, or null.
  static KivClTraceInstance* getSingleton() noexcept { return cv_pclSingletonInstance; }

  /// Builds the environment of `key` (its settings, buffer and autosave),
  /// then enable(). Use createInstance: the singleton pointer is not set
  /// here.
  KivClTraceInstance(const char* key, const char* instance, bool keepFile);
  /// disable(), then destroys and frees the environment.
  ~KivClTraceInstance();
  KivClTraceInstance(const KivClTraceInstance&) = delete;
  KivClTraceInstance& operator=(const KivClTraceInstance&) = delete;

  /// When the instance is active, publishes it as the enabled instance;
  /// otherwise leaves the enabled pointer as it is.
  void enable() noexcept;
  /// flush(), then sets the enabled pointer to null.
  void disable();
  /// Activates the environment; it does not enable (call enable() after).
  void activate() noexcept;
  /// The environment's active flag.
  bool isActive() const noexcept;
  /// Whether the enabled pointer is not null.
  bool isEnabled() const noexcept { return gs_pclKivTraceInstance != nullptr; }
  /// When active, flushes the environment's buffer (to the trace file with
  /// autosave on).
  void flush();

  /// Replaces the dump callback and its user data. A null callback puts the
  /// library's back end back (with the instance as its user data).
  void registerUserCallback(KivPfuTraceDumpCallback callback, void* userData) noexcept;
  /// True while the callback is the library's back end, dumpImp.
  bool usesKivBackEnd() const noexcept { return m_pfuDumpCallback == &dumpImp; }

  /// The library's back end: records the call when the settings' filter
  /// lets it pass (detail at most the filter's detail, and component id 0
  /// or its bit set); the process-id and thread-id filters do not apply
  /// here. `userData` is the instance.
  static void dumpImp(void* userData, KivEnTraceDetail detail, unsigned short componentId,
                      KivEnTraceDataType type, const char* function, const char* message,
                      const void* data, unsigned long length);
  /// Records a function entry (type 1: the nesting level is raised first)
  /// or exit (any other type: lowered first), through the dump callback,
  /// with an empty message and the 8-byte level as data. A detail of LOW is
  /// recorded as OFF, which every filter lets pass: function entries and
  /// exits of low detail are always recorded.
  void dumpFunction(KivEnTraceDetail detail, unsigned short componentId, KivEnTraceDataType type,
                    const char* function);
  /// Calls the dump callback with its user data and all arguments.
  void dump(KivEnTraceDetail detail, unsigned short componentId, KivEnTraceDataType type,
            const char* function, const char* message, const void* data,
            unsigned long length) {
    m_pfuDumpCallback(m_pvUserData, detail, componentId, type, function, message, data, length);
  }

  /// The trace environment (owned by the instance).
  KivClTraceEnvironment& getEnvironment() noexcept { return *m_pclEnvironment; }
  /// The trace environment of a const instance (owned by the instance).
  const KivClTraceEnvironment& getEnvironment() const noexcept { return *m_pclEnvironment; }
  /// The current nesting level.
  std::int64_t getNestingLevel() const noexcept {
    return m_llNestingLevel.load(std::memory_order_relaxed);
  }

 private:
  static KivClTraceInstance* create(const char* key, const char* instance, bool keepFile);

  [[maybe_unused]] std::uint32_t m_aulReserved[2];  // kept for the record layout
  KivClTraceEnvironment* m_pclEnvironment;
  KivPfuTraceDumpCallback m_pfuDumpCallback;
  void* m_pvUserData;
  std::atomic<std::int64_t> m_llNestingLevel;

  static KivClTraceInstance* cv_pclSingletonInstance;
};

/// Deletes the singleton when the library is unloaded or the process ends;
/// the library holds one static object of it.
class KIV_EXPORT KivClTraceAutomaticInstanceDestructor {
 public:
  KivClTraceAutomaticInstanceDestructor() noexcept = default;
  ~KivClTraceAutomaticInstanceDestructor();
  KivClTraceAutomaticInstanceDestructor(const KivClTraceAutomaticInstanceDestructor&) = delete;
  KivClTraceAutomaticInstanceDestructor& operator=(const KivClTraceAutomaticInstanceDestructor&) =
      delete;
};

/// True when tracing is on (the enabled pointer is not null): one load and
/// a branch at the call site.
KIV_EXPORT inline bool kivTraceIsEnabled() noexcept { return gs_pclKivTraceInstance != nullptr; }

/// The enabled instance (null when tracing is off), not the singleton.
KIV_EXPORT KivClTraceInstance* KivClTraceInstance_getInstance();

extern "C" {

/// createInstance.
KIV_EXPORT void kivTraceCreateInstance(const char* key, const char* instance);
/// deleteInstance.
KIV_EXPORT void kivTraceDeleteInstance();
/// flush of the enabled instance; test kivTraceIsEnabled() first.
KIV_EXPORT void kivTraceFlush();

/// For type 1 or 2 (function entry or exit), dumpFunction of the enabled
/// instance (message and data are dropped); for any other type its dump
/// callback with all seven arguments. Test kivTraceIsEnabled() first.
KIV_EXPORT void kivTraceDump(KivEnTraceDetail detail, unsigned short componentId,
                             KivEnTraceDataType type, const char* function, const char* message,
                             const void* data, unsigned long length);

}  // extern "C"

#endif
