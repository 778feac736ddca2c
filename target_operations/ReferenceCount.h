#pragma once

#include "interfaces/qbt2_export.h"

/// Intrusive reference counting and the interface query: what every object that crosses the
/// boundary between the library and its host starts from. Bases are inherited virtually throughout,
/// so that an object of many interfaces still has exactly one counter.
///
/// The counter is a plain integer and nothing locks: an object is used by one thread at a time, or
/// under the caller's own lock.
namespace ReferenceCounting {

/// Identities of the interfaces. The numbers are shared with hosts and fixed; 9 is no interface.
/// The underlying type is fixed so that a host may ask for any number and get null.
// NOLINTNEXTLINE(bugprone-reserved-identifier): hosts know the enumeration by this name
enum _ClassID : unsigned int {
  ID_IAttachableProperty = 0,
  ID_IBooleanProperty = 1,
  ID_IOperation = 2,
  ID_IOperationServer = 3,
  ID_IIntegerProperty = 4,
  ID_ILocationProperty = 5,
  ID_IProperty = 6,
  ID_IReferenceCount = 7,
  ID_IStringProperty = 8,
  ID_IPropertyDescribed = 10,
  ID_IOperation2 = 11,
  ID_IOperation3 = 12,
  ID_IOperation4 = 13,
  ID_IOperation5 = 14,
  ID_ILocationProperty2 = 15,
  ID_ISyncMode = 16,
  ID_IStepPastBp = 17,
  ID_ISyncMode2 = 18,
  ID_IOperation6 = 19,
};

/// Root of all interfaces. The order of the operations is the order of the slots in the virtual
/// table, which hosts rely on: AddRef 0, Release 1, QueryInterface 2. The destructor stands fourth
/// and takes two slots (3: destroys, 4: destroys and frees the storage), so an interface derived
/// from this one begins at slot 5. As bases are virtual, these three operations are called on the
/// IReferenceCount of an object, not through the table of another of its interfaces, where their
/// slots are null; compilers do so by themselves (docs/inside/property-tree.md has the offsets).
class QBT2_API IReferenceCount {
 public:
  /// Adds a reference; the new count.
  virtual unsigned int AddRef() const = 0;
  /// Drops a reference; the count as it was *before*. The object is gone when 1 is returned.
  virtual unsigned int Release() const = 0;
  /// The interface of this id of the same object, with a reference added for the caller, or null.
  /// The pointer is to be cast to exactly that interface: bases are virtual, so the interfaces of
  /// one object lie at different addresses.
  virtual void* QueryInterface(_ClassID id) = 0;
  virtual ~IReferenceCount() = default;

 protected:
  IReferenceCount() = default;
};

}  // namespace ReferenceCounting

namespace TargetOperations {

/// The one implementation of the counter.
class QBT2_API ReferenceCount : public virtual ReferenceCounting::IReferenceCount {
 public:
  ReferenceCount(const ReferenceCount&) = delete;
  ReferenceCount& operator=(const ReferenceCount&) = delete;
  /// Writes to the utility log when references are left, and destroys all the same.
  ~ReferenceCount() override;

  unsigned int AddRef() const override;
  /// A Release too many wraps the counter, destroys nothing and returns 0.
  unsigned int Release() const override;
  /// The generic query, for classes without one of their own: whatever interface of the list the
  /// object derives from, the host's own interfaces included.
  void* QueryInterface(ReferenceCounting::_ClassID id) override;

 protected:
  /// The creator owns the first reference.
  ReferenceCount() = default;

 private:
  mutable unsigned int m_nRefCount = 1;
};

}  // namespace TargetOperations
