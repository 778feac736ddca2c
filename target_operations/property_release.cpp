// The destruction of a tree without recursion: nodes are destroyed in the order of a recursive
// destruction, each parent before its children.
#include <algorithm>
#include <new>
#include <utility>
#include <vector>

#include "target_operations/property.h"

namespace TargetOperations {
namespace {

/// Releases the children of a node being destroyed, then the children of those nodes that this
/// destroys, and so on, without recursion: the destructor of a node that the loop releases passes
/// its children to the loop and returns.
///
/// Only the node that the loop is releasing does so. Any other node destroyed in the meantime (a
/// tree that a host's destructor releases) runs a loop of its own, so that its whole tree is
/// destroyed when its Release returns, as the releasing code expects.
class Drain {
 public:
  /// The loop that released the node, which is being destroyed, or null.
  static Drain* ReleasingNow(const IProperty* node) {
    return current != nullptr && current->m_released == node ? current : nullptr;
  }

  /// `children` becomes empty.
  void Run(std::vector<IProperty*>& children) noexcept {
    Drain* const outer = std::exchange(current, this);
    m_pending.swap(children);
    std::reverse(m_pending.begin(), m_pending.end());
    while (!m_pending.empty()) {
      m_released = m_pending.back();
      m_pending.pop_back();
      if (m_released != nullptr) m_released->Release();
    }
    current = outer;
  }

  /// Makes the children the next ones, in their order. False if there is no memory for that.
  bool Defer(const std::vector<IProperty*>& children) noexcept {
    m_released = nullptr;
    try {
      m_pending.insert(m_pending.end(), children.rbegin(), children.rend());
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

 private:
  static thread_local constinit Drain* current;

  std::vector<IProperty*> m_pending;  // the next one at the back
  const IProperty* m_released = nullptr;
};

thread_local constinit Drain* Drain::current = nullptr;

}  // namespace

Property::~Property() {
  for (IProperty* const child : m_children) {
    if (auto* const property = dynamic_cast<Property*>(child)) property->SetParent(nullptr);
  }
  Drain* const drain = Drain::ReleasingNow(this);
  if (drain != nullptr && drain->Defer(m_children)) return;
  Drain().Run(m_children);
}

}  // namespace TargetOperations
