#pragma once

#include <cstdint>

#include "interfaces/qbt2_export.h"
#include "target_operations/reference_counting.h"

/// The interfaces of the property tree, through which host and library use each other's nodes. The
/// order of declaration is the order of the slots and part of the contract;
/// docs/inside/property-tree.md lists the slots.
///
/// One thread at a time uses a tree. Operations never throw and report no errors: a value that
/// breaks a rule is ignored, a look-up that finds nothing returns null, 0 or false.
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
  /// Writes GetNumSubProperties() entries, each with a reference for the caller to release.
  virtual void GetSubProperties(IProperty** out) const = 0;
  /// The parent, with a reference for the caller to release, or null.
  virtual IProperty* GetParentProperty() const = 0;
};

/// A node that can get children.
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

}  // namespace TargetOperations

namespace ReferenceCounting {

/// The id of an interface, for a query by type: see Query in reference_handle.h.
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
