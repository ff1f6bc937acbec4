// A user memory manager for tests: it counts what goes through the library's
// replaceable memory manager, remembers the size of the last request, and
// refuses requests on demand, so that tests can check that memory comes from
// the manager and goes back to it, and how the library reacts to exhaustion.
//
// The manager takes plain function pointers, so the counters are
// process-wide: one ScopedUserMemoryManager at a time. When it goes out of
// scope it puts the platform's malloc, realloc and free back.
#ifndef KIV_ALLOC_SUPPORT_HPP
#define KIV_ALLOC_SUPPORT_HPP

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "kiv_memmgr.hpp"

namespace kivtest {

/// Installs counting allocate, reallocate and free functions as the user
/// memory manager for its lifetime. Requests are numbered from 0 in the order
/// they reach the allocator or the reallocator; a refused request is counted
/// as a request but hands out nothing.
class ScopedUserMemoryManager {
 public:
  /// Whether a reallocator is installed. Without one, every reallocation
  /// through the manager throws.
  enum class Reallocator { INSTALLED, NONE };

  /// Decides per request whether it is refused; gets the requested size.
  using RefusePredicate = bool (*)(std::size_t size);

  explicit ScopedUserMemoryManager(Reallocator reallocator = Reallocator::INSTALLED) {
    state() = State{};
    kivSetNewMemoryManager(&allocate, reallocator == Reallocator::INSTALLED ? &reallocate : nullptr,
                           &release);
  }
  ~ScopedUserMemoryManager() {
    state() = State{};
    kivSetNewMemoryManager(&std::malloc, &std::realloc, &std::free);
  }
  ScopedUserMemoryManager(const ScopedUserMemoryManager&) = delete;
  ScopedUserMemoryManager& operator=(const ScopedUserMemoryManager&) = delete;

  /// The next `successes` requests are served; every later one is refused.
  void failAfter(long successes) { state().failFrom = state().requests + successes; }
  /// Every request from now on is refused.
  void failAlways() { failAfter(0); }
  /// Requests for which `predicate` answers true are refused.
  void failWhen(RefusePredicate predicate) { state().refuse = predicate; }
  /// Every request is served again.
  void neverFail() {
    state().failFrom = -1;
    state().refuse = nullptr;
  }
  /// Blocks handed out by the allocator are filled with `byte` (not zero),
  /// so that zeroing by the library can be seen.
  void fillNewBlocksWith(unsigned char byte) {
    state().fill = true;
    state().fillByte = byte;
  }

  /// Requests to the allocator and the reallocator, refused ones included.
  long requests() const { return state().requests; }
  /// Blocks the allocator handed out.
  long allocations() const { return state().allocations; }
  /// Reallocations served.
  long reallocations() const { return state().reallocations; }
  /// Calls of the deallocator.
  long releases() const { return state().releases; }
  /// The size of the last request, refused or not.
  std::size_t lastSize() const { return state().lastSize; }

  /// The installed functions, for tests that hand them to the manager
  /// themselves.
  static void* allocate(std::size_t size) {
    if (refuses(size)) return nullptr;
    void* p = std::malloc(size);
    if (p != nullptr) {
      ++state().allocations;
      if (state().fill) std::memset(p, state().fillByte, size);
    }
    return p;
  }
  static void* reallocate(void* p, std::size_t size) {
    if (refuses(size)) return nullptr;
    void* q = std::realloc(p, size);
    if (q != nullptr) ++state().reallocations;
    return q;
  }
  static void release(void* p) {
    ++state().releases;
    std::free(p);
  }

 private:
  struct State {
    long requests = 0;
    long failFrom = -1;  // number of the first refused request; -1: none
    RefusePredicate refuse = nullptr;
    long allocations = 0;
    long reallocations = 0;
    long releases = 0;
    std::size_t lastSize = 0;
    bool fill = false;
    unsigned char fillByte = 0;
  };

  static State& state() {
    static State s;
    return s;
  }

  // Counts the request and tells whether it is refused.
  static bool refuses(std::size_t size) {
    State& s = state();
    s.lastSize = size;
    const long number = s.requests++;
    if (s.failFrom >= 0 && number >= s.failFrom) return true;
    return s.refuse != nullptr && s.refuse(size);
  }
};

}  // namespace kivtest

#endif
