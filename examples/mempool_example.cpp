// The memory pool: many small chunks handed out by moving a pointer, given
// back all at once or by rewinding to a state taken earlier (never one by
// one). It suits many small objects of one lifetime, like a request's records.
#include <kiv_error.hpp>
#include <kiv_mempool.hpp>
#include <kiv_msgtable.hpp>

#include <cstdint>
#include <cstring>
#include <iostream>
#include <limits>

namespace {

// Shows each block: its number, how much is used, and whether allocation
// starts there. The size in KiB grows by the whole size of a new block and
// shrinks by the usable size of a freed one: it drifts upwards a little.
void report(const char* when, const KivClMemoryPool& pool) {
  std::cout << when << ": " << pool.getBlockCount() << " block(s), " << pool.getSizeInKiB()
            << " KiB\n";
  for (const KivClMemoryPoolBlock* block = pool.getFirstBlock(); block != nullptr;
       block = block->getNext()) {
    std::cout << "  block " << block->getBlockNumber() << ": "
              << block->getCapacity() - block->getFreeSize() << " of " << block->getCapacity()
              << " bytes used" << (block == pool.getCurrentBlock() ? " (current)" : "") << '\n';
  }
}

// Called instead of an exception when the pool cannot grow; an error id's
// name is its text in the built-in message table.
void onGrowthFailure(const _KivStError& error, void* failures) {
  ++*static_cast<int*>(failures);
  std::cout << "  handler call " << *static_cast<int*>(failures) << ": error " << error.id << " "
            << kivMsgTabGetBuiltInTable()[kivErrorGetIdAsMessageId(error.id)] << '\n';
}

}  // namespace

int main() {
  // First block 8 KiB, every further block 4 KiB (both including a 48-byte
  // header). A block with less than 256 bytes free is passed over for good.
  KivClMemoryPool pool(8192, 4096, 256);
  if (pool.getFirstBlock() == nullptr) return 1;  // no memory for the first block
  report("new pool", pool);

  // allocate() rounds the size up to a multiple of 8 and says which block
  // holds the chunk. A pool that grows never runs out: it chains a block.
  std::uint64_t blockNumber = 0;
  char* name = static_cast<char*>(pool.allocate(13, blockNumber));
  std::strcpy(name, "request 1");
  std::cout << "13 bytes for \"" << name << "\" from block " << blockNumber << '\n';

  // Take the state, then twelve records of 1000 bytes: the pool grows.
  void* mark = pool.getCurrentStateHandle();
  for (int i = 0; i < 12; ++i) pool.allocate(1000);
  report("after 12 records of 1000 bytes", pool);

  // Rewinding releases everything allocated after the state was taken; the
  // blocks that held records stay, emptied, and allocation goes on there.
  pool.deleteAt(mark);
  report("rewound to the state", pool);
  std::cout << "the name is still there: " << name << '\n';

  // A request larger than a regular block gets a block of its own.
  pool.allocate(10000);
  report("after 10000 bytes", pool);

  // deleteAll() empties the blocks that held chunks and frees the empty
  // ones, so a second call leaves the first block alone.
  pool.deleteAll();
  report("after deleteAll()", pool);
  pool.deleteAll();
  report("after a second deleteAll()", pool);

  // When the pool cannot grow, the handler is called and allocate() returns
  // null; without a handler it would throw a KivClException.
  int failures = 0;
  pool.setErrorHandler(&onGrowthFailure, &failures);
  const bool served = pool.allocate(std::numeric_limits<std::size_t>::max()) != nullptr;
  std::cout << "a chunk as large as memory: " << (served ? "served" : "null") << '\n';

  // A pool over the caller's memory never grows: when it is full,
  // allocate() returns null and nothing is reported.
  alignas(8) unsigned char area[64];
  KivClMemoryPool fixed(area, sizeof area);
  int chunks = 0;
  while (fixed.allocate(20) != nullptr) ++chunks;
  std::cout << "a 64-byte area gave " << chunks << " chunks of 20 (24) bytes\n";
  return 0;
}
