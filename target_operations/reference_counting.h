#pragma once

#include "interfaces/qbt2_export.h"

/// Reference counting and the interface query: the root of every object that crosses the boundary
/// between the library and its host. All bases are virtual, so an object with many interfaces has
/// exactly one counter.
///
/// The counter is a plain integer and nothing locks: an object is used by one thread at a time, or
/// under the caller's own lock.
namespace ReferenceCounting {

/// Ids of the interfaces. The numbers are shared with hosts and fixed; no interface has 9. The
/// underlying type is fixed, so a query for any number is defined and returns null.
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

/// Root of all interfaces. The order of declaration is the order of the slots of the virtual table,
/// which hosts rely on: AddRef 0, Release 1, QueryInterface 2. The destructor takes two slots (3:
/// destroys, 4: destroys and frees the storage), so a derived interface begins at slot 5. As bases
/// are virtual, these slots are null in the table of a derived interface: the operations are called
/// on the object's IReferenceCount, which C++ compilers do by themselves
/// (docs/inside/property-tree.md has the offsets).
class QBT2_API IReferenceCount {
 public:
  /// Adds a reference and returns the new count.
  virtual unsigned int AddRef() const = 0;
  /// Drops a reference and returns the count from *before*: 1 means that the object is destroyed.
  virtual unsigned int Release() const = 0;
  /// The interface of the same object with this id, with a reference added for the caller, or null.
  /// Cast the pointer to exactly that interface: the interfaces of an object have different
  /// addresses.
  virtual void* QueryInterface(_ClassID id) = 0;
  virtual ~IReferenceCount() = default;

 protected:
  IReferenceCount() = default;
};

}  // namespace ReferenceCounting
