#pragma once

#include "interfaces/qbt2_export.h"
#include "target_operations/property.h"

/// Addresses of the target: 32 bits (LocationProperty) and 64 bits (LocationProperty2), each with a
/// memory page and a cookie, an opaque tag of the caller's. A value can be set for page 0 only;
/// only SetPage changes the page. Like every node, used by one thread at a time.
namespace TargetOperations {

/// The cookie of a location constructed without one.
inline constexpr unsigned int kNoCookie = 0xFFFFFFFF;

class QBT2_API LocationProperty : public Property, public ILocationProperty {
 public:
  LocationProperty(const NameAndDescription& nameAndDescription, unsigned int value,
                   unsigned int page, unsigned int cookie);
  LocationProperty(const LocationProperty& other);
  ~LocationProperty() override = default;

  static IProperty* Construct(const NameAndDescription& nameAndDescription, unsigned int value,
                              unsigned int page, unsigned int cookie);
  /// Page 0, cookie kNoCookie.
  static IProperty* Construct(const NameAndDescription& nameAndDescription, unsigned int value);

  void* QueryInterface(ReferenceCounting::_ClassID id) override;

  unsigned int GetValue(unsigned int& page) const override;
  /// Ignored unless `page` is 0. Does not change the node's page.
  void SetValue(unsigned int value, unsigned int page) override;
  unsigned int NumAllowedPages() const override;
  void GetAllowedPages(unsigned int* out) const override;
  void SetCookie(unsigned int cookie) override;
  unsigned int GetCookie() const override;
  virtual void SetPage(unsigned int page);

  using Property::IsEqual;
  /// Compares value and page only; for trees see Property::IsEqual.
  bool IsEqual(LocationProperty& other);

 private:
  friend struct PropertyKind;

  LocationProperty(const LocationProperty& other, NodeOnly);
  void CopyValue(const LocationProperty& source);

  unsigned int m_value;
  unsigned int m_cookie;
  unsigned int m_page;
};

/// Offers ILocationProperty too, but is not a LocationProperty.
class QBT2_API LocationProperty2 : public Property, public ILocationProperty2 {
 public:
  LocationProperty2(const NameAndDescription& nameAndDescription, unsigned long value,
                    unsigned int page, unsigned int cookie);
  /// The copy keeps only the low 32 bits of the address; see CopyValue.
  LocationProperty2(const LocationProperty2& other);
  ~LocationProperty2() override = default;

  static IProperty* Construct(const NameAndDescription& nameAndDescription, unsigned long value,
                              unsigned int page, unsigned int cookie);
  /// Page 0, cookie kNoCookie.
  static IProperty* Construct(const NameAndDescription& nameAndDescription, unsigned long value);

  void* QueryInterface(ReferenceCounting::_ClassID id) override;

  /// The low 32 bits.
  unsigned int GetValue(unsigned int& page) const override;
  /// Ignored unless `page` is 0. Clears the upper 32 bits.
  void SetValue(unsigned int value, unsigned int page) override;
  Debugger::Address GetValue64(unsigned int& page) const override;
  /// Ignored unless `page` is 0.
  void SetValue64(Debugger::Address value, unsigned int page) override;
  unsigned int NumAllowedPages() const override;
  void GetAllowedPages(unsigned int* out) const override;
  void SetCookie(unsigned int cookie) override;
  unsigned int GetCookie() const override;
  virtual void SetPage(unsigned int page);

  using Property::IsEqual;
  /// Compares this value with the low 32 bits of the other's, and overwrites this page with the
  /// other's; see the definition. For trees see Property::IsEqual.
  bool IsEqual(LocationProperty2& other);

 private:
  friend struct PropertyKind;

  LocationProperty2(const LocationProperty2& other, NodeOnly);
  void CopyValue(const LocationProperty2& source);

  Debugger::Address m_value;
  unsigned int m_cookie;
  unsigned int m_page;
};

}  // namespace TargetOperations
