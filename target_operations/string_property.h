#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "interfaces/qbt2_export.h"
#include "target_operations/property.h"

/// A text, free or chosen from a list of allowed values. Entry i of the attributes describes
/// allowed value i; choosing a value copies its attributes onto the node (child key, category,
/// enumeration value, halt-CPU flag, same-level key). Like every node, used by one thread at a
/// time.
namespace TargetOperations {

class QBT2_API StringProperty : public Property, public IStringProperty {
 public:
  /// Takes all three as they are: the value is not checked, its attributes not applied.
  StringProperty(const NameAndDescription& nameAndDescription, const std::string& value,
                 const std::vector<std::string>& allowed,
                 const std::vector<ValueAttribute>& attributes);
  /// A copy of a node that is not editable has the attributes, but no allowed values; see
  /// CopyValue.
  StringProperty(const StringProperty& other);
  ~StringProperty() override = default;

  static IProperty* Construct(const NameAndDescription& nameAndDescription,
                              const std::string& value, const std::vector<std::string>& allowed,
                              const std::vector<ValueAttribute>& attributes);
  static IProperty* Construct(const NameAndDescription& nameAndDescription,
                              const std::string& value);

  void* QueryInterface(ReferenceCounting::_ClassID id) override;

  const char* GetValue() const override;
  /// Ignored if there are allowed values and `value` is not one of them. A change to an allowed
  /// value applies its attributes.
  void SetValue(const char* value) override;
  /// None while the node is not editable.
  bool HasAllowedValues(unsigned int& count) const override;
  /// Writes all allowed values, whether or not the node is editable.
  void GetAllowedValues(const char** out) const override;
  /// Appends unless the value is already allowed. The first allowed value becomes the value.
  virtual void AddAllowedValues(const char* value);
  /// Appends unless there is an equal attribute.
  virtual void AddAllowedAttributes(ValueAttribute attribute);
  /// Replaces the contents of `out`.
  virtual void GetAllowedAttributes(std::vector<ValueAttribute>& out) const;
  /// Copies the attributes of the current value onto the node, if both lists have it.
  virtual void UpdateChildKey();
  /// Despite its name, `enable` true enables the value.
  virtual void DisableAllowed(const char* value, bool enable);
  virtual bool IsDisabledAllowed(const char* value);
  virtual void SetReplacableAllowed(eREPLACABLE replacable);
  virtual eREPLACABLE IsReplacableAllowed();
  /// Empties both lists; the value and the attributes applied with it stay.
  virtual void ClearAllAllowed();

  using Property::IsEqual;
  /// Compares the values only; for trees see Property::IsEqual.
  bool IsEqual(StringProperty& other);

 private:
  friend struct PropertyKind;

  StringProperty(const StringProperty& other, NodeOnly);
  void CopyValue(const StringProperty& source);
  [[nodiscard]] std::optional<std::size_t> FindAllowed(const std::string& value) const;

  std::vector<std::string> m_allowedValues;
  std::vector<ValueAttribute> m_allowedAttributes;
  std::string m_value;
  eREPLACABLE m_replacableAllowed = eReplacableDefault;
};

}  // namespace TargetOperations
