#include "host/base/temporary_files.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>

namespace qbt2 {
namespace {

enum State : int { kFree, kBeingWritten, kListed };

struct Slot {
  std::atomic<int> state{kFree};
  std::array<char, TemporaryFileEntry::kMaxBytes + 1> path{};
};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler reads it");

std::array<Slot, TemporaryFileEntry::kMaxEntries> slots;

}  // namespace

TemporaryFileEntry::TemporaryFileEntry(const std::string& path) : slot_(kMaxEntries) {
  if (path.size() > kMaxBytes) return;
  for (std::size_t i = 0; i < slots.size(); ++i) {
    int expected = kFree;
    if (!slots[i].state.compare_exchange_strong(expected, kBeingWritten)) continue;
    std::copy_n(path.c_str(), path.size() + 1, slots[i].path.begin());
    slots[i].state = kListed;
    slot_ = i;
    return;
  }
}

TemporaryFileEntry::~TemporaryFileEntry() {
  if (slot_ != kMaxEntries) slots[slot_].state = kFree;
}

void remove_temporary_files() noexcept {
  for (const Slot& slot : slots) {
    if (slot.state == kListed) ::unlink(slot.path.data());
  }
}

}  // namespace qbt2
