#include "target_operations/property.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "target_operations/reference_handle.h"
#include "target_operations/text.h"

namespace TargetOperations {
namespace {

/// Every node without keys has this key name; see IsKeyName.
constexpr char kTestKey[] = "TESTKEY";

}  // namespace

Property::Property(const NameAndDescription& nameAndDescription)
    : m_nameAndDescription(nameAndDescription) {}

Property::Property(const Property& other, NodeOnly)
    : IReferenceCount(),
      IProperty(),
      IAttachableProperty(),
      m_nameAndDescription(other.m_nameAndDescription),
      m_keyNames(other.m_keyNames),
      m_category(other.m_category),
      m_enumValue(other.m_enumValue),
      m_childKey(other.m_childKey),
      m_sameLevelKey(other.m_sameLevelKey),
      m_editable(other.m_editable),
      m_disabled(other.m_disabled),
      m_haltCpu(other.m_haltCpu),
      m_replacable(other.m_replacable) {}

IProperty* Property::Construct(const NameAndDescription& nameAndDescription) {
  return new Property(nameAndDescription);
}

void* Property::QueryInterface(ReferenceCounting::_ClassID id) {
  switch (id) {
    case ReferenceCounting::ID_IAttachableProperty:
      AddRef();
      return static_cast<IAttachableProperty*>(this);
    case ReferenceCounting::ID_IProperty:
      AddRef();
      return static_cast<IProperty*>(this);
    case ReferenceCounting::ID_IReferenceCount:
      AddRef();
      return static_cast<IReferenceCount*>(this);
    default:
      return nullptr;
  }
}

void Property::AddChild(IProperty* child) {
  m_children.push_back(child);
  if (auto* const property = dynamic_cast<Property*>(child)) property->SetParent(this);
}

void Property::AddChild(IProperty* parent, IProperty* child) {
  const auto attachable = ReferenceCounting::Query<IAttachableProperty>(parent);
  if (attachable) attachable->AddChild(child);
}

const char* Property::GetName() const {
  return m_nameAndDescription.Name().c_str();
}

const char* Property::GetDescription() const {
  return m_nameAndDescription.Description().c_str();
}

bool Property::IsEditable() const {
  return m_editable;
}

bool Property::IsDisabled() const {
  return m_disabled;
}

bool Property::IsHaltCPU() const {
  return m_haltCpu;
}

unsigned int Property::GetNumSubProperties() const {
  return static_cast<unsigned int>(m_children.size());
}

void Property::GetSubProperties(IProperty** out) const {
  if (out == nullptr) return;
  for (IProperty* const child : m_children) {
    if (child != nullptr) child->AddRef();
    *out++ = child;
  }
}

void Property::GetSubProperties(std::vector<IProperty*>& out) const {
  const std::size_t before = out.size();
  out.resize(before + m_children.size());
  GetSubProperties(out.data() + before);
}

void Property::GetSubProperties(IProperty* node, std::vector<IProperty*>& out) {
  if (node == nullptr) return;
  const std::size_t before = out.size();
  out.resize(before + node->GetNumSubProperties());
  node->GetSubProperties(out.data() + before);
}

IProperty* Property::GetParentProperty() const {
  return ReferenceCounting::Share(m_parent).Detach();
}

void Property::AddKeyName(const PropertyKey& key) {
  m_keyNames.push_back(key);
}

void Property::SetEditable(bool editable) {
  m_editable = editable;
}

void Property::SetCategory(unsigned int category) {
  m_category = category;
}

void Property::SetEnumValue(int enumValue) {
  m_enumValue = enumValue;
}

void Property::SetChildKey(const char* key) {
  m_childKey = TextOrEmpty(key);
}

void Property::SetSameLevelKey(const char* key) {
  m_sameLevelKey = TextOrEmpty(key);
}

void Property::SetDisabled(bool disabled) {
  m_disabled = disabled;
}

void Property::SetHaltCPU(bool halt) {
  m_haltCpu = halt;
}

bool Property::IsKeyName(const char* name) const {
  const char* const wanted = TextOrEmpty(name);
  // Deliberate hook: a node without keys also has this name, unless its child key is the same text
  // (the field itself, even where a switched-off boolean hides it).
  if (m_keyNames.empty()) return std::strcmp(wanted, kTestKey) == 0 && m_childKey != kTestKey;
  return std::any_of(m_keyNames.begin(), m_keyNames.end(),
                     [wanted](const PropertyKey& key) { return key.KeyName() == wanted; });
}

unsigned int Property::GetKeyNumber(const char* name) const {
  const char* const wanted = TextOrEmpty(name);
  const auto found =
      std::find_if(m_keyNames.begin(), m_keyNames.end(),
                   [wanted](const PropertyKey& key) { return key.KeyName() == wanted; });
  return found != m_keyNames.end() ? found->KeyNumber() : 0;
}

unsigned int Property::GetCategory() const {
  return m_category;
}

int Property::GetEnumValue() const {
  return m_enumValue;
}

const char* Property::GetChildKey() const {
  return m_childKey.c_str();
}

const char* Property::GetSameLevelKey() const {
  return m_sameLevelKey.c_str();
}

void Property::SetParent(Property* parent) {
  m_parent = parent;
}

// A host's node that is destroyed here may call back: it may add a child, which is released too, or
// remove all, which is being done already. A released child leaves a null entry until the end.
void Property::RemoveAllSubProperties() {
  if (m_removingChildren) return;
  m_removingChildren = true;
  for (std::size_t i = 0; i < m_children.size(); ++i) {
    IProperty* const child = std::exchange(m_children[i], nullptr);
    if (child != nullptr) child->Release();
  }
  m_children.clear();
  m_removingChildren = false;
}

void Property::RemoveAllKeys() {
  m_keyNames.clear();
}

void Property::SetName(const char* name) {
  m_nameAndDescription = NameAndDescription(TextOrEmpty(name), m_nameAndDescription.Description());
}

void Property::SetDescription(const char* description) {
  m_nameAndDescription = NameAndDescription(m_nameAndDescription.Name(), TextOrEmpty(description));
}

void Property::SetReplacable(eREPLACABLE replacable) {
  m_replacable = replacable;
}

eREPLACABLE Property::IsReplacable() {
  return m_replacable;
}

void Property::UpdateSelf() {}

}  // namespace TargetOperations
