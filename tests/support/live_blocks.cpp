// Counts the blocks of operator new in this executable, and makes it fail on demand.
#include <cstdlib>
#include <limits>
#include <new>

#include "tests/support/live_blocks.h"

namespace {

constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();
std::size_t live_blocks = 0;
std::size_t successes_left = kUnlimited;

}  // namespace

void* operator new(std::size_t size) {
  if (successes_left == 0) throw std::bad_alloc();
  void* const block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  if (successes_left != kUnlimited) --successes_left;
  ++live_blocks;
  return block;
}

void operator delete(void* block) noexcept {
  if (block != nullptr) --live_blocks;
  std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  operator delete(block);
}

namespace qbt2::test {

std::size_t LiveBlocks() {
  return live_blocks;
}

FailingAllocations::FailingAllocations(std::size_t successes) {
  successes_left = successes;
}

FailingAllocations::~FailingAllocations() {
  successes_left = kUnlimited;
}

}  // namespace qbt2::test
