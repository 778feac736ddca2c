#pragma once

#include "interfaces/qbt2_export.h"
#include "target_operations/property.h"

/// A switch, and the group of switches below it.
///
/// Setting a group sets its children (downwards, SetValue); a group whose last child is switched
/// off is switched off too (upwards, UpdateSelf). Switching a child on never switches its group on.
/// A child or parent counts as boolean if it is a BooleanProperty; a host's own IBooleanProperty
/// does not, and like a child of any other kind it prevents its siblings from being set.
///
/// Like every node, used by one thread at a time.
namespace TargetOperations {

class QBT2_API BooleanProperty : public Property, public IBooleanProperty {
 public:
  BooleanProperty(const NameAndDescription& nameAndDescription, bool value);
  BooleanProperty(const BooleanProperty& other);
  ~BooleanProperty() override = default;

  static IProperty* Construct(const NameAndDescription& nameAndDescription, bool value);

  void* QueryInterface(ReferenceCounting::_ClassID id) override;
  /// The child key while the value is true, else the empty text: a switched-off boolean hides its
  /// sub-properties.
  const char* GetChildKey() const override;
  /// The upward step: switches off if all children are boolean and off, or there are none, and then
  /// does the same for a boolean parent.
  void UpdateSelf() override;

  bool GetValue() const override;
  /// Does nothing for the current value. Otherwise sets the children, if all of them are boolean,
  /// and after switching off updates a boolean parent.
  void SetValue(bool value) override;
  /// Sets the value of this node only.
  virtual void SetValueNoUpdate(bool value);

  /// The downward step: sets the children to the value of this node if all of them are boolean and
  /// off, and then theirs in the same way.
  void UpdateSubProperties();

  using Property::IsEqual;
  /// Compares the values only; for trees see Property::IsEqual.
  bool IsEqual(BooleanProperty& other);

 private:
  friend struct PropertyKind;

  BooleanProperty(const BooleanProperty& other, NodeOnly);
  void CopyValue(const BooleanProperty& source);
  void SetTree(bool value);
  void UpdateParent() const;

  bool m_value;
};

}  // namespace TargetOperations
