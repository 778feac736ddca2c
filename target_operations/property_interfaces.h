#pragma once

#include <cstdint>

#include "interfaces/qbt2_export.h"
#include "target_operations/ReferenceCount.h"

/// The interfaces of the property tree, as host and library see each other's nodes, and the names
/// of the host's own interfaces that the query has an id for. Declaration order is slot order and
/// part of the contract; docs/inside/property-tree.md lists the slots.
///
/// One thread at a time uses a tree. Operations never throw and report no errors: a value that
/// breaks a rule is ignored, a look-up that finds nothing gives null, 0 or false.
namespace Debugger {

/// An address of the target.
using Address = unsigned long;

}  // namespace Debugger

namespace TargetOperations {

/// A node of the tree, read-only. Texts belong to the node and stay valid until they change.
class QBT2_API IProperty : public virtual ReferenceCounting::IReferenceCount {
 public:
  virtual const char* GetName() const = 0;
  virtual const char* GetDescription() const = 0;
  virtual bool IsEditable() const = 0;
  virtual bool IsDisabled() const = 0;
  virtual unsigned int GetNumSubProperties() const = 0;
  /// Writes GetNumSubProperties() entries; the caller releases each.
  virtual void GetSubProperties(IProperty** out) const = 0;
  /// The parent, to be released by the caller, or null.
  virtual IProperty* GetParentProperty() const = 0;
};

/// A node that takes children.
class QBT2_API IAttachableProperty : public virtual IProperty {
 public:
  /// Appends the child and takes over the caller's reference.
  virtual void AddChild(IProperty* child) = 0;
};

class QBT2_API IBooleanProperty : public virtual IProperty {
 public:
  virtual bool GetValue() const = 0;
  virtual void SetValue(bool value) = 0;
};

class QBT2_API IIntegerProperty : public virtual IProperty {
 public:
  /// How the host should show the number. The values beyond the default are the host's.
  // NOLINTNEXTLINE(bugprone-reserved-identifier): hosts know the enumeration by this name
  enum _DisplayType : std::uint32_t { eDisplayDefault = 0 };

  virtual unsigned long GetValue() const = 0;
  virtual void SetValue(unsigned long value) = 0;
  virtual bool HasAllowedValues(unsigned int& count) const = 0;
  virtual void GetAllowedValues(unsigned long* out) const = 0;
  /// Both bounds are inclusive.
  virtual bool HasAllowedRange(unsigned long& minimum, unsigned long& maximum) const = 0;
  virtual _DisplayType GetDisplaySuggestion() const = 0;
};

class QBT2_API IStringProperty : public virtual IProperty {
 public:
  virtual const char* GetValue() const = 0;
  virtual void SetValue(const char* value) = 0;
  virtual bool HasAllowedValues(unsigned int& count) const = 0;
  /// Writes a pointer to each allowed value; they stay valid until the list changes.
  virtual void GetAllowedValues(const char** out) const = 0;
};

/// A 32-bit address on a memory page, with an opaque tag (cookie) of the caller's.
class QBT2_API ILocationProperty : public virtual IProperty {
 public:
  virtual unsigned int GetValue(unsigned int& page) const = 0;
  virtual void SetValue(unsigned int value, unsigned int page) = 0;
  virtual unsigned int NumAllowedPages() const = 0;
  /// Writes NumAllowedPages() entries.
  virtual void GetAllowedPages(unsigned int* out) const = 0;
  virtual unsigned int GetCookie() const = 0;
  virtual void SetCookie(unsigned int cookie) = 0;
};

/// A location of 64 bits; the operations of ILocationProperty see its low 32 bits.
class QBT2_API ILocationProperty2 : public virtual ILocationProperty {
 public:
  virtual Debugger::Address GetValue64(unsigned int& page) const = 0;
  virtual void SetValue64(Debugger::Address value, unsigned int page) = 0;
};

// The host's interfaces. The library implements none of them and calls none of their operations;
// it knows their names and ids, so that the generic query answers for a host's objects. A host that
// has operations to add declares them in interfaces derived from these.
class QBT2_API IPropertyDescribed : public virtual ReferenceCounting::IReferenceCount {};
class QBT2_API IOperation : public virtual IPropertyDescribed {};
class QBT2_API IOperation2 : public virtual IOperation {};
class QBT2_API IOperation3 : public virtual IOperation2 {};
class QBT2_API IOperation4 : public virtual IOperation3 {};
class QBT2_API IOperation5 : public virtual IOperation4 {};
class QBT2_API IOperation6 : public virtual IOperation5 {};
class QBT2_API IOperationServer : public virtual ReferenceCounting::IReferenceCount {};

}  // namespace TargetOperations

namespace SyncSetup {

class QBT2_API ISyncMode : public virtual ReferenceCounting::IReferenceCount {};
class QBT2_API ISyncMode2 : public virtual ISyncMode {};
class QBT2_API IStepPastBp : public virtual ReferenceCounting::IReferenceCount {};

}  // namespace SyncSetup

namespace ReferenceCounting {

/// The id of an interface, for a query by type (see Query in reference_handle.h). Interfaces
/// without an id have none.
template <class Interface>
struct ClassIdOf;
#define QBT2_CLASS_ID(type, id)          \
  template <>                            \
  struct ClassIdOf<type> {               \
    static constexpr _ClassID value{id}; \
  }
QBT2_CLASS_ID(IReferenceCount, ID_IReferenceCount);
QBT2_CLASS_ID(TargetOperations::IProperty, ID_IProperty);
QBT2_CLASS_ID(TargetOperations::IAttachableProperty, ID_IAttachableProperty);
QBT2_CLASS_ID(TargetOperations::IBooleanProperty, ID_IBooleanProperty);
QBT2_CLASS_ID(TargetOperations::IIntegerProperty, ID_IIntegerProperty);
QBT2_CLASS_ID(TargetOperations::IStringProperty, ID_IStringProperty);
QBT2_CLASS_ID(TargetOperations::ILocationProperty, ID_ILocationProperty);
QBT2_CLASS_ID(TargetOperations::ILocationProperty2, ID_ILocationProperty2);
#undef QBT2_CLASS_ID

}  // namespace ReferenceCounting
