#pragma once

#include <cstdint>
#include <string>

#include "interfaces/qbt2_export.h"

/// The small values of a property node. Plain value types: copies are independent of each other.
namespace TargetOperations {

/// What the host shows of a node.
class QBT2_API NameAndDescription {
 public:
  NameAndDescription(const std::string& name, const std::string& description);

  [[nodiscard]] const std::string& Name() const { return m_name; }
  [[nodiscard]] const std::string& Description() const { return m_description; }

 private:
  std::string m_name;
  std::string m_description;
};

/// A key name of a node and its number.
class QBT2_API PropertyKey {
 public:
  PropertyKey(const std::string& name, unsigned int number);

  [[nodiscard]] const std::string& KeyName() const { return m_keyName; }
  [[nodiscard]] unsigned int KeyNumber() const { return m_keyNumber; }

  bool operator==(const PropertyKey& other) const;

 private:
  std::string m_keyName;
  unsigned int m_keyNumber;
};

/// One allowed value of a string property, with the attributes its node takes on when that value
/// is chosen.
class QBT2_API ValueAttribute {
 public:
  ValueAttribute(const std::string& keyName, unsigned int enumValue, unsigned int category,
                 bool haltCpu, const std::string& sameLevelKey);

  /// The child key that the node takes on; empty means the value itself.
  [[nodiscard]] const std::string& KeyName() const { return m_keyName; }
  [[nodiscard]] const std::string& SameLevelKey() const { return m_sameLevelKey; }
  [[nodiscard]] unsigned int EnumValue() const { return m_enumValue; }
  [[nodiscard]] unsigned int Category() const { return m_category; }
  [[nodiscard]] bool HaltCpu() const { return m_haltCpu; }
  [[nodiscard]] bool IsDisabled() const { return m_disabled; }
  void SetDisabled(bool disabled) { m_disabled = disabled; }

  bool operator==(const ValueAttribute& other) const;

 private:
  std::string m_keyName;
  unsigned int m_enumValue;
  unsigned int m_category;
  bool m_haltCpu;
  std::string m_sameLevelKey;
  bool m_disabled = false;
};

/// Whether and how a host may replace a node. The values beyond the default are the host's.
enum eREPLACABLE : std::uint32_t { eReplacableDefault = 0 };

}  // namespace TargetOperations
