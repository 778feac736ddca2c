#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "interfaces/device_session_if.h"

/// A device model of one device, one tracer and one list of masters.
namespace qbt2::test {

struct FakeEntry final : EktTrace::IPropertyEntry_t {
  FakeEntry(std::string n, std::string v) : name(std::move(n)), value(std::move(v)) {}
  [[nodiscard]] const std::string& GetName() const override { return name; }
  [[nodiscard]] const std::string& GetValue() const override { return value; }
  std::string name, value;
};

/// Identifier, device and component in one. `missing` is the first missing part; `throwing`, if
/// set, is called by the first query.
struct FakeDeviceModel : Kz::Dvt::Trace::CDeviceIdentifier,
                         EktTrace::IDevice_t,
                         EktTrace::IComponent_t {
  enum Missing { kNothing, kIdentifier, kDevice, kComponent, kList };

  [[nodiscard]] const EktTrace::IDevice_t* GetDeviceByName(const std::string& name) const override {
    MaybeThrow();
    return name == deviceName && missing != kDevice ? this : nullptr;
  }
  [[nodiscard]] const EktTrace::IComponent_t* GetComponent(const std::string& name) const override {
    return name == "MOD_QBTRACER0" && missing != kComponent ? this : nullptr;
  }
  [[nodiscard]] const std::vector<const EktTrace::IPropertyEntry_t*>* GetPropertyList(
      const std::string& name) const override {
    return name == "masterid.proc" && missing != kList ? &masters : nullptr;
  }
  void MaybeThrow() const {
    if (throwing) throwing();
  }

  std::string deviceName = "board";
  Missing missing = kNothing;
  std::function<void()> throwing;
  std::vector<const EktTrace::IPropertyEntry_t*> masters;
};

}  // namespace qbt2::test
