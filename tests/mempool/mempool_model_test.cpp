// The memory pool against a plain model: long random sequences of
// allocations, state handles, rewinds, resets and releases, after each of
// which the pool's chain, counters and returned chunks must match the
// model's.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "kiv_mempool.hpp"
#include "mempool_test_support.hpp"

namespace {

using mempooltest::addr;
using mempooltest::chainOf;
using mempooltest::currentIndexOf;

// The pool as plain numbers: blocks by position in the chain.
class PoolModel {
 public:
  struct Block {
    std::size_t capacity;
    std::size_t used;
    std::int64_t chunks;
    std::uint64_t number;
  };
  struct Chunk {
    bool ok;
    std::size_t block;
    std::size_t offset;
    std::uint64_t number;
  };

  PoolModel(std::size_t firstCapacity, std::size_t subsequentSize, std::size_t threshold,
            std::uint64_t kib)
      : m_subsequent(subsequentSize), m_threshold(threshold), m_kib(kib) {
    m_blocks.push_back({firstCapacity, 0, 0, 1});
  }

  Chunk allocate(std::size_t size) {
    std::size_t i = m_current;
    bool switching = false;
    std::size_t switchTo = 0;
    for (;;) {
      if (size <= freeOf(i)) return take(i, size, switching, switchTo);
      const bool last = i + 1 == m_blocks.size();
      if (!last || m_subsequent != 0) {
        if (!switching && freeOf(i) < m_threshold) {
          switching = true;
          switchTo = i + 1;
        }
      }
      if (!last) {
        ++i;
        continue;
      }
      if (m_subsequent == 0) {
        if (switching) m_current = switchTo;
        return {false, 0, 0, 0};
      }
      std::size_t total = m_subsequent;
      if (total - 48 < size) total = (size + 48 + 4095) / 4096 * 4096;
      m_kib += total / 1024;
      m_blocks.push_back({total - 48, 0, 0, m_blocks.size() + 1});
      return take(m_blocks.size() - 1, size, switching, switchTo);
    }
  }

  // Rewind to (block, offset). The current block stays, unless the release
  // freed it: then the rewound block takes over.
  void deleteAt(std::size_t block, std::size_t offset) {
    if (releaseAfter(block)) m_current = block;
    m_blocks[block].used = offset;
  }

  void deleteAll() {
    if (m_blocks.size() > 1) {
      releaseAfter(0);
      m_current = 0;
    }
    m_blocks[0].used = 0;
    m_blocks[0].chunks = 0;
  }

  void reset(std::size_t from) {
    for (std::size_t i = from; i < m_blocks.size(); ++i) {
      m_blocks[i].used = 0;
      m_blocks[i].chunks = 0;
    }
  }

  std::size_t freeOf(std::size_t i) const { return m_blocks[i].capacity - m_blocks[i].used; }
  const std::vector<Block>& blocks() const { return m_blocks; }
  std::size_t current() const { return m_current; }
  std::uint64_t kib() const { return m_kib; }

 private:
  Chunk take(std::size_t i, std::size_t size, bool switching, std::size_t switchTo) {
    Block& b = m_blocks[i];
    const Chunk chunk{true, i, b.used, b.number};
    b.used += size;
    ++b.chunks;
    if (switching) m_current = switchTo;
    return chunk;
  }

  // Releases the blocks behind `block`; true when the current block was
  // among the freed ones (it then moves to the nearest kept block before it).
  bool releaseAfter(std::size_t block) {
    std::vector<Block> kept(m_blocks.begin(), m_blocks.begin() + static_cast<long>(block) + 1);
    std::size_t current = m_current;
    bool currentFreed = false;
    for (std::size_t i = block + 1; i < m_blocks.size(); ++i) {
      Block b = m_blocks[i];
      if (b.chunks > 0) {
        b.used = 0;
        b.chunks = 0;
        if (i == m_current) current = kept.size();
        kept.push_back(b);
      } else {
        m_kib -= b.capacity / 1024;
        if (i == m_current) {
          current = kept.size() - 1;
          currentFreed = true;
        }
      }
    }
    m_blocks = kept;
    m_current = current;
    return currentFreed;
  }

  std::vector<Block> m_blocks;
  std::size_t m_current = 0;
  std::size_t m_subsequent;
  std::size_t m_threshold;
  std::uint64_t m_kib;
};

struct Handle {
  std::size_t block;
  std::size_t offset;
  void* position;
};

// Compares the pool's chain and counters with the model.
::testing::AssertionResult matches(const KivClMemoryPool& pool, const PoolModel& model) {
  const auto chain = chainOf(pool);
  const auto& blocks = model.blocks();
  if (chain.size() != blocks.size() || pool.getBlockCount() != blocks.size()) {
    return ::testing::AssertionFailure() << "chain of " << chain.size() << " blocks (count "
                                         << pool.getBlockCount() << "), model " << blocks.size();
  }
  for (std::size_t i = 0; i < chain.size(); ++i) {
    const KivClMemoryPoolBlock* b = chain[i];
    if (b->getCapacity() != blocks[i].capacity || b->getFreeSize() != model.freeOf(i) ||
        b->getChunkCount() != blocks[i].chunks || b->getBlockNumber() != blocks[i].number) {
      return ::testing::AssertionFailure()
             << "block " << i << ": capacity " << b->getCapacity() << "/" << blocks[i].capacity
             << " free " << b->getFreeSize() << "/" << model.freeOf(i) << " chunks "
             << b->getChunkCount() << "/" << blocks[i].chunks << " number " << b->getBlockNumber()
             << "/" << blocks[i].number;
    }
  }
  if (currentIndexOf(pool) != static_cast<long>(model.current())) {
    return ::testing::AssertionFailure()
           << "current block " << currentIndexOf(pool) << ", model " << model.current();
  }
  if (pool.getSizeInKiB() != model.kib()) {
    return ::testing::AssertionFailure()
           << "size in KiB " << pool.getSizeInKiB() << ", model " << model.kib();
  }
  if (pool.getCurrentFreeSize() != model.freeOf(model.current())) {
    return ::testing::AssertionFailure() << "current free size " << pool.getCurrentFreeSize();
  }
  return ::testing::AssertionSuccess();
}

std::size_t randomSize(std::mt19937& rng) {
  const unsigned kind = rng() % 100;
  if (kind < 75) return rng() % 300;
  if (kind < 93) return 300 + rng() % 4000;
  return 4000 + rng() % 20000;
}

struct Config {
  std::size_t first;
  std::size_t subsequent;
  std::size_t threshold;
};

void PrintTo(const Config& c, std::ostream* os) {
  *os << "(" << c.first << ", " << c.subsequent << ", " << c.threshold << ")";
}

// Lists each configuration by its three sizes, e.g. First4096_Subsequent12288_Switch70000.
std::string configName(const ::testing::TestParamInfo<Config>& info) {
  const Config& c = info.param;
  return "First" + std::to_string(c.first) + "_Subsequent" + std::to_string(c.subsequent) +
         "_Switch" + std::to_string(c.threshold);
}

void runSequence(KivClMemoryPool& pool, PoolModel& model, std::uint32_t seed, int steps) {
  std::mt19937 rng(seed);
  std::vector<Handle> handles;
  for (int step = 0; step < steps; ++step) {
    SCOPED_TRACE("step " + std::to_string(step));
    const unsigned op = rng() % 100;
    if (op < 70) {
      const std::size_t size = randomSize(rng);
      std::uint64_t blockNumber = 0;
      void* p = pool.allocate(size, blockNumber);
      const PoolModel::Chunk expected = model.allocate(pool.getAlignedSizeFor(size));
      ASSERT_EQ(p != nullptr, expected.ok) << "size " << size;
      if (p != nullptr) {
        const auto chain = chainOf(pool);
        ASSERT_LT(expected.block, chain.size());
        ASSERT_EQ(addr(p), addr(chain[expected.block]->getStart()) + expected.offset);
        ASSERT_EQ(blockNumber, expected.number);
        ASSERT_EQ(addr(p) % 8, 0u);
        std::memset(p, static_cast<int>(step & 0xff), size);
      }
    } else if (op < 82) {
      const auto chain = chainOf(pool);
      const std::size_t block = model.current();
      const std::size_t offset = model.blocks()[block].used;
      void* position = pool.getCurrentStateHandle();
      ASSERT_EQ(addr(position), addr(chain[block]->getStart()) + offset);
      handles.push_back({block, offset, position});
    } else if (op < 95) {
      if (handles.empty()) continue;
      // Rewind to one of the handles; the later ones are gone with it.
      const std::size_t pick = rng() % handles.size();
      const Handle h = handles[pick];
      handles.resize(pick + (rng() % 2));
      pool.deleteAt(h.position);
      model.deleteAt(h.block, h.offset);
    } else if (op < 98) {
      pool.deleteAll();
      model.deleteAll();
      handles.clear();
    } else {
      const std::size_t from = rng() % model.blocks().size();
      KivClMemoryPoolBlock* block = pool.getFirstBlock();
      for (std::size_t i = 0; i < from; ++i) block = block->getNext();
      pool.reset(block);
      model.reset(from);
      handles.clear();
    }
    ASSERT_TRUE(matches(pool, model));
  }
}

class KivClMemoryPoolModel : public ::testing::TestWithParam<Config> {};

TEST_P(KivClMemoryPoolModel, MatchesTheModelOverLongRandomSequences) {
  const Config c = GetParam();
  for (std::uint32_t seed = 1; seed <= 6; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    KivClMemoryPool pool(c.first, c.subsequent, c.threshold);
    PoolModel model(pool.getCapacityForFirstBlock(), pool.getSubsequentBlockSize(),
                    pool.getSwitchThreshold(), pool.getSizeInKiB());
    ASSERT_TRUE(matches(pool, model));
    runSequence(pool, model, seed * 7919u + static_cast<std::uint32_t>(c.first), 4000);
    if (HasFatalFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Configurations, KivClMemoryPoolModel,
                         ::testing::Values(Config{100, 100, 10}, Config{4096, 4096, 256},
                                           Config{20000, 4096, 1000}, Config{4096, 12288, 70000},
                                           Config{65536, 8192, 3000}),
                         configName);

TEST(KivClMemoryPoolModel, CallerMemoryPoolMatchesTheModel) {
  std::vector<unsigned char> area(30003);  // an odd size: free sizes not multiples of 8
  for (std::uint32_t seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    KivClMemoryPool pool(area.data(), area.size());
    PoolModel model(area.size(), 0, pool.getSwitchThreshold(), pool.getSizeInKiB());
    runSequence(pool, model, seed, 3000);
    if (HasFatalFailure()) return;
  }
}

}  // namespace
