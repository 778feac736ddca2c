#pragma once

#include <cstddef>

namespace qbt2::test {

/// Blocks from operator new that are not freed yet; see live_blocks.cpp.
std::size_t LiveBlocks();

/// During its life only `successes` allocations succeed; the others throw std::bad_alloc.
class FailingAllocations {
 public:
  explicit FailingAllocations(std::size_t successes);
  ~FailingAllocations();
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;
};

}  // namespace qbt2::test
