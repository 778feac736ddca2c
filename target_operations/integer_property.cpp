#include "target_operations/integer_property.h"

#include <algorithm>

#include "target_operations/property_tree.h"

namespace TargetOperations {

IntegerProperty::IntegerProperty(const NameAndDescription& nameAndDescription, unsigned long value,
                                 std::vector<unsigned long>& allowed, bool rangeInForce)
    : Property(nameAndDescription),
      m_value(value),
      m_rangeInForce(rangeInForce),
      m_allowedValues(allowed) {}

IntegerProperty::IntegerProperty(const IntegerProperty& other, NodeOnly)
    : IReferenceCount(),
      IProperty(),
      IAttachableProperty(),
      Property(other, NodeOnly()),
      IIntegerProperty(),
      m_value(0) {}

IntegerProperty::IntegerProperty(const IntegerProperty& other)
    : IntegerProperty(other, NodeOnly()) {
  PropertyTree::CopyChildren(*this, other);
  CopyValue(other);
}

/// Deliberately reads the source through its interface, as a host would. Two effects are part of
/// the contract: HasAllowedRange is always true, so a copy of a node without a range has the range
/// 0 to 0xFFFFFFFF in force; HasAllowedValues always returns none, so a copy has no allowed values.
void IntegerProperty::CopyValue(const IntegerProperty& source) {
  m_value = source.GetValue();
  m_displaySuggestion = source.GetDisplaySuggestion();
  m_rangeInForce = source.HasAllowedRange(m_rangeMinimum, m_rangeMaximum);
  unsigned int count = 0;
  if (!source.HasAllowedValues(count)) return;
  m_allowedValues.resize(count);
  source.GetAllowedValues(m_allowedValues.data());
}

IProperty* IntegerProperty::Construct(const NameAndDescription& nameAndDescription,
                                      unsigned long value, std::vector<unsigned long>& allowed,
                                      bool rangeInForce) {
  return new IntegerProperty(nameAndDescription, value, allowed, rangeInForce);
}

IProperty* IntegerProperty::Construct(const NameAndDescription& nameAndDescription,
                                      unsigned long value, bool rangeInForce) {
  std::vector<unsigned long> none;
  return Construct(nameAndDescription, value, none, rangeInForce);
}

void* IntegerProperty::QueryInterface(ReferenceCounting::_ClassID id) {
  if (id != ReferenceCounting::ID_IIntegerProperty) return Property::QueryInterface(id);
  AddRef();
  return static_cast<IIntegerProperty*>(this);
}

unsigned long IntegerProperty::GetValue() const {
  return m_value;
}

void IntegerProperty::SetValue(unsigned long value) {
  if (m_rangeInForce && (value < m_rangeMinimum || value > m_rangeMaximum)) return;
  m_value = value;
}

bool IntegerProperty::HasAllowedValues(unsigned int& count) const {
  // Deliberately none, even when there are some: hosts would offer a closed list, which SetValue
  // does not enforce. Only GetAllowedValues returns them.
  count = 0;
  return false;
}

void IntegerProperty::GetAllowedValues(unsigned long* out) const {
  if (out != nullptr) std::copy(m_allowedValues.begin(), m_allowedValues.end(), out);
}

bool IntegerProperty::HasAllowedRange(unsigned long& minimum, unsigned long& maximum) const {
  minimum = m_rangeInForce ? m_rangeMinimum : 0;
  maximum = m_rangeInForce ? m_rangeMaximum : kDefaultMaximum;
  // Deliberately true without a range in force: hosts always get bounds for their input field.
  return true;
}

void IntegerProperty::SetDisplaySuggestion(_DisplayType suggestion) {
  m_displaySuggestion = suggestion;
}

IIntegerProperty::_DisplayType IntegerProperty::GetDisplaySuggestion() const {
  return m_displaySuggestion;
}

void IntegerProperty::AddAllowedValue(unsigned long value) {
  m_allowedValues.push_back(value);
}

void IntegerProperty::SetAllowedRange(unsigned long minimum, unsigned long maximum) {
  m_rangeMinimum = minimum;
  m_rangeMaximum = maximum;
  m_rangeInForce = true;
}

bool IntegerProperty::IsEqual(IntegerProperty& other) {
  return m_value == other.m_value;
}

}  // namespace TargetOperations
