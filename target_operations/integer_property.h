#pragma once

#include <vector>

#include "interfaces/qbt2_export.h"
#include "target_operations/property.h"

/// An unsigned number of 64 bits with an optional range and a hint for how to show it. Like every
/// node, used by one thread at a time.
namespace TargetOperations {

class QBT2_API IntegerProperty : public Property, public IIntegerProperty {
 public:
  /// With `rangeInForce` the range is 0 to 0xFFFFFFFF until SetAllowedRange sets another. `value`
  /// is taken as it is.
  IntegerProperty(const NameAndDescription& nameAndDescription, unsigned long value,
                  std::vector<unsigned long>& allowed, bool rangeInForce);
  /// A copy always has a range in force and never has allowed values; see CopyValue.
  IntegerProperty(const IntegerProperty& other);
  ~IntegerProperty() override = default;

  static IProperty* Construct(const NameAndDescription& nameAndDescription, unsigned long value,
                              std::vector<unsigned long>& allowed, bool rangeInForce);
  static IProperty* Construct(const NameAndDescription& nameAndDescription, unsigned long value,
                              bool rangeInForce);

  void* QueryInterface(ReferenceCounting::_ClassID id) override;

  unsigned long GetValue() const override;
  /// Ignored outside a range in force. The allowed values are not consulted.
  void SetValue(unsigned long value) override;
  /// Deliberately always none; see the definition.
  bool HasAllowedValues(unsigned int& count) const override;
  void GetAllowedValues(unsigned long* out) const override;
  /// Always true; without a range in force the bounds are 0 and 0xFFFFFFFF.
  bool HasAllowedRange(unsigned long& minimum, unsigned long& maximum) const override;
  virtual void SetDisplaySuggestion(_DisplayType suggestion);
  _DisplayType GetDisplaySuggestion() const override;
  /// Appends; values may repeat.
  virtual void AddAllowedValue(unsigned long value);
  /// Puts the range (both bounds inclusive) in force. A minimum above the maximum refuses all.
  virtual void SetAllowedRange(unsigned long minimum, unsigned long maximum);

  using Property::IsEqual;
  /// Compares the values only; for trees see Property::IsEqual.
  bool IsEqual(IntegerProperty& other);

 private:
  friend struct PropertyKind;

  static constexpr unsigned long kDefaultMaximum = 0xFFFFFFFF;

  IntegerProperty(const IntegerProperty& other, NodeOnly);
  void CopyValue(const IntegerProperty& source);

  unsigned long m_value;
  unsigned long m_rangeMinimum = 0;
  unsigned long m_rangeMaximum = kDefaultMaximum;
  bool m_rangeInForce = false;
  _DisplayType m_displaySuggestion = eDisplayDefault;
  std::vector<unsigned long> m_allowedValues;
};

}  // namespace TargetOperations
