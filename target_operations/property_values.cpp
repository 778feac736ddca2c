#include "target_operations/property_values.h"

namespace TargetOperations {

NameAndDescription::NameAndDescription(const std::string& name, const std::string& description)
    : m_name(name), m_description(description) {}

PropertyKey::PropertyKey(const std::string& name, unsigned int number)
    : m_keyName(name), m_keyNumber(number) {}

bool PropertyKey::operator==(const PropertyKey& other) const {
  return m_keyName == other.m_keyName && m_keyNumber == other.m_keyNumber;
}

ValueAttribute::ValueAttribute(const std::string& keyName, unsigned int enumValue,
                               unsigned int category, bool haltCpu, const std::string& sameLevelKey)
    : m_keyName(keyName),
      m_enumValue(enumValue),
      m_category(category),
      m_haltCpu(haltCpu),
      m_sameLevelKey(sameLevelKey) {}

bool ValueAttribute::operator==(const ValueAttribute& other) const {
  return m_keyName == other.m_keyName && m_enumValue == other.m_enumValue &&
         m_category == other.m_category && m_haltCpu == other.m_haltCpu &&
         m_sameLevelKey == other.m_sameLevelKey && m_disabled == other.m_disabled;
}

}  // namespace TargetOperations
