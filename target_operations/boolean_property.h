#pragma once

#include "interfaces/qbt2_export.h"
#include "target_operations/property.h"

/// A switch, and the group of switches below it.
///
/// Children of a group follow when the group is switched (downwards, SetValue); a group whose last
/// child is switched off goes off too (upwards, UpdateSelf). Switching a child on never switches
/// its group on. A child or parent counts as boolean if it is a BooleanProperty; a host's own
/// IBooleanProperty is not, and like any other kind it keeps its siblings from being switched.
///
/// Used like every node by one thread at a time.
namespace TargetOperations {

class QBT2_API BooleanProperty : public Property, public IBooleanProperty {
 public:
  BooleanProperty(const NameAndDescription& nameAndDescription, bool value);
  BooleanProperty(const BooleanProperty& other);
  ~BooleanProperty() override = default;

  static IProperty* Construct(const NameAndDescription& nameAndDescription, bool value);

  void* QueryInterface(ReferenceCounting::_ClassID id) override;
  /// The child key while the value is true, else the empty text: a switched-off boolean shows no
  /// sub-properties.
  const char* GetChildKey() const override;
  /// The upward step: off if all children are boolean and off (or there are none), and then the
  /// same for a boolean parent.
  void UpdateSelf() override;

  bool GetValue() const override;
  /// The current value changes nothing anywhere. Otherwise sets the children, if all of them are
  /// boolean, and after switching off brings a boolean parent in line.
  void SetValue(bool value) override;
  virtual void SetValueNoUpdate(bool value);

  /// The downward step: hands the value to the children if all are boolean and off, and to theirs
  /// in the same way.
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
