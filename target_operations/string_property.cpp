#include "target_operations/string_property.h"

#include <algorithm>
#include <utility>

#include "target_operations/property_tree.h"
#include "target_operations/text.h"

namespace TargetOperations {

StringProperty::StringProperty(const NameAndDescription& nameAndDescription,
                               const std::string& value, const std::vector<std::string>& allowed,
                               const std::vector<ValueAttribute>& attributes)
    : Property(nameAndDescription),
      m_allowedValues(allowed),
      m_allowedAttributes(attributes),
      m_value(value) {}

StringProperty::StringProperty(const StringProperty& other, NodeOnly)
    : IReferenceCount(),
      IProperty(),
      IAttachableProperty(),
      Property(other, NodeOnly()),
      IStringProperty() {}

StringProperty::StringProperty(const StringProperty& other) : StringProperty(other, NodeOnly()) {
  PropertyTree::CopyChildren(*this, other);
  CopyValue(other);
}

/// Deliberately reads the source through its interface, as a host would. One effect is part of the
/// contract: a node that is not editable returns no allowed values, so its copy has none, but all
/// attributes.
void StringProperty::CopyValue(const StringProperty& source) {
  m_value = source.GetValue();
  m_replacableAllowed = source.m_replacableAllowed;
  source.GetAllowedAttributes(m_allowedAttributes);
  unsigned int count = 0;
  if (!source.HasAllowedValues(count)) return;
  std::vector<const char*> texts(count);
  source.GetAllowedValues(texts.data());
  m_allowedValues.assign(texts.begin(), texts.end());
}

IProperty* StringProperty::Construct(const NameAndDescription& nameAndDescription,
                                     const std::string& value,
                                     const std::vector<std::string>& allowed,
                                     const std::vector<ValueAttribute>& attributes) {
  return new StringProperty(nameAndDescription, value, allowed, attributes);
}

IProperty* StringProperty::Construct(const NameAndDescription& nameAndDescription,
                                     const std::string& value) {
  return Construct(nameAndDescription, value, {}, {});
}

void* StringProperty::QueryInterface(ReferenceCounting::_ClassID id) {
  if (id != ReferenceCounting::ID_IStringProperty) return Property::QueryInterface(id);
  AddRef();
  return static_cast<IStringProperty*>(this);
}

const char* StringProperty::GetValue() const {
  return m_value.c_str();
}

void StringProperty::SetValue(const char* value) {
  // A copy: the text may be one of this node's own.
  std::string text = TextOrEmpty(value);
  if (m_allowedValues.empty()) {
    m_value = std::move(text);
    return;
  }
  if (!FindAllowed(text) || text == m_value) return;
  m_value = std::move(text);
  UpdateChildKey();
}

bool StringProperty::HasAllowedValues(unsigned int& count) const {
  count = IsEditable() ? static_cast<unsigned int>(m_allowedValues.size()) : 0;
  return count > 0;
}

void StringProperty::GetAllowedValues(const char** out) const {
  if (out == nullptr) return;
  std::transform(m_allowedValues.begin(), m_allowedValues.end(), out,
                 [](const std::string& value) { return value.c_str(); });
}

void StringProperty::AddAllowedValues(const char* value) {
  std::string text = TextOrEmpty(value);
  if (m_allowedValues.empty()) m_value = text;
  if (!FindAllowed(text)) m_allowedValues.push_back(std::move(text));
  UpdateChildKey();
}

void StringProperty::AddAllowedAttributes(ValueAttribute attribute) {
  const auto found = std::find(m_allowedAttributes.begin(), m_allowedAttributes.end(), attribute);
  if (found == m_allowedAttributes.end()) m_allowedAttributes.push_back(std::move(attribute));
  UpdateChildKey();
}

void StringProperty::GetAllowedAttributes(std::vector<ValueAttribute>& out) const {
  out = m_allowedAttributes;
}

void StringProperty::UpdateChildKey() {
  const std::optional<std::size_t> index = FindAllowed(m_value);
  if (!index || *index >= m_allowedAttributes.size()) return;
  // A copy, as the setters are virtual and a host's may change the lists.
  const ValueAttribute attribute = m_allowedAttributes[*index];
  const std::string childKey = attribute.KeyName().empty() ? m_value : attribute.KeyName();
  SetChildKey(childKey.c_str());
  SetCategory(attribute.Category());
  SetEnumValue(static_cast<int>(attribute.EnumValue()));
  SetHaltCPU(attribute.HaltCpu());
  SetSameLevelKey(attribute.SameLevelKey().c_str());
}

void StringProperty::DisableAllowed(const char* value, bool enable) {
  // The name says disable, the argument means enabled: deliberate, as hosts call it so. A value
  // without an attribute has no flag.
  const char* const wanted = TextOrEmpty(value);
  const std::size_t count = std::min(m_allowedValues.size(), m_allowedAttributes.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (m_allowedValues[i] == wanted) m_allowedAttributes[i].SetDisabled(!enable);
  }
}

bool StringProperty::IsDisabledAllowed(const char* value) {
  const std::optional<std::size_t> index = FindAllowed(TextOrEmpty(value));
  return index && *index < m_allowedAttributes.size() && m_allowedAttributes[*index].IsDisabled();
}

void StringProperty::SetReplacableAllowed(eREPLACABLE replacable) {
  m_replacableAllowed = replacable;
}

eREPLACABLE StringProperty::IsReplacableAllowed() {
  return m_replacableAllowed;
}

void StringProperty::ClearAllAllowed() {
  m_allowedValues.clear();
  m_allowedAttributes.clear();
}

bool StringProperty::IsEqual(StringProperty& other) {
  return m_value == other.m_value;
}

std::optional<std::size_t> StringProperty::FindAllowed(const std::string& value) const {
  const auto found = std::find(m_allowedValues.begin(), m_allowedValues.end(), value);
  if (found == m_allowedValues.end()) return std::nullopt;
  return static_cast<std::size_t>(found - m_allowedValues.begin());
}

}  // namespace TargetOperations
