#pragma once

#include "interfaces/qbt2_export.h"
#include "target_operations/reference_counting.h"

/// The counter of all objects of the library. Used by one thread at a time, like the objects.
namespace TargetOperations {

class QBT2_API ReferenceCount : public virtual ReferenceCounting::IReferenceCount {
 public:
  ReferenceCount(const ReferenceCount&) = delete;
  ReferenceCount& operator=(const ReferenceCount&) = delete;
  /// References that are left are reported in the utility log; destruction goes on.
  ~ReferenceCount() override;

  unsigned int AddRef() const override;
  /// One Release too many wraps the counter, destroys nothing and returns 0.
  unsigned int Release() const override;
  /// The generic query, for classes that do not override it: any interface with an id that the
  /// object derives from, the host's own included.
  void* QueryInterface(ReferenceCounting::_ClassID id) override;

 protected:
  /// The creator owns the first reference.
  ReferenceCount() = default;

 private:
  mutable unsigned int m_nRefCount = 1;
};

}  // namespace TargetOperations
