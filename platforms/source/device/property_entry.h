#pragma once

#include <string>
#include <utility>

#include "interfaces/device_session_if.h"

/// One named value of a component's property list. The value is a text, kept as given; its reader
/// converts it. Immutable.
namespace EktTrace {

class PropertyEntry_t final : public IPropertyEntry_t {
 public:
  PropertyEntry_t(std::string name, std::string value)
      : name_(std::move(name)), value_(std::move(value)) {}

  const std::string& GetName() const override { return name_; }
  const std::string& GetValue() const override { return value_; }

 private:
  std::string name_;
  std::string value_;
};

}  // namespace EktTrace
