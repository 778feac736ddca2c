#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "interfaces/qbt2_export.h"

/// The host's device session and device model, as far as the decoder and the configuration manager
/// ask them. The host implements these; the library's own device model (platforms/source/device)
/// is one implementation. All pointers returned are borrowed and live as long as their owner.
namespace EktTrace {

/// One named value of a component's property list, for example a bus master and its id.
class IPropertyEntry_t {
 public:
  virtual const std::string& GetName() const = 0;
  virtual const std::string& GetValue() const = 0;

 protected:
  ~IPropertyEntry_t() = default;
};

/// One component of a device, for example the bus tracer "MOD_QBTRACER0".
class IComponent_t {
 public:
  /// The entries of the named list in order, or null when the component has no such list.
  virtual const std::vector<const IPropertyEntry_t*>* GetPropertyList(
      const std::string& name) const = 0;

 protected:
  ~IComponent_t() = default;
};

/// A device of the session.
class IDevice_t {
 public:
  /// The component of this name, or null.
  virtual const IComponent_t* GetComponent(const std::string& name) const = 0;

 protected:
  ~IDevice_t() = default;
};

/// Reads and writes live settings of one device. Errors are texts; nothing throws.
class IConfigAccessor_t {
 public:
  virtual bool ReadSetting(const std::string& name, std::string& value, std::string& error) = 0;
  virtual bool WriteSetting(const std::string& name, const std::string& value,
                            std::string& error) = 0;

 protected:
  ~IConfigAccessor_t() = default;
};

}  // namespace EktTrace

namespace Kz::Dvt::Trace {

/// Finds devices by name; handed to the decoder through SetDeviceIdentifier.
class CDeviceIdentifier {
 public:
  /// The device of this name, or null.
  virtual const EktTrace::IDevice_t* GetDeviceByName(const std::string& name) const = 0;

 protected:
  ~CDeviceIdentifier() = default;
};

/// The host's source of samples; the decoder takes the pointer in Init and ignores it.
class CDataSource {
 protected:
  ~CDataSource() = default;
};

/// The object that the optional companion library "DeviceDataBaseUtility" makes. Use-case loading
/// calls its first operation with the device identifier; nothing else of it is used.
class CDeviceDataBaseUtility {
 public:
  virtual void SetDeviceIdentifier(CDeviceIdentifier* identifier) = 0;

 protected:
  ~CDeviceDataBaseUtility() = default;
};

}  // namespace Kz::Dvt::Trace

namespace EktTrace {

/// What a session knows of a device: two numbers and a text, whose meaning is the host's.
struct DeviceInformation_t {
  int first = 0;
  int second = 0;
  std::string text;
};

/// Kind codes that IDeviceSession_t::GetProperty answers.
enum eSessionPropertyKind : std::uint32_t {
  eSessionBoolean = 0,
  eSessionSigned32 = 1,
  eSessionUnsigned32 = 2,
  eSessionSigned64 = 3,
  eSessionUnsigned64 = 4,
  eSessionText = 5,
};

/// The device session that a configuration manager works on. `device` is the session's name of the
/// device, `second` the name that goes along with it unchanged. Used by one thread at a time.
class IDeviceSession_t {
 public:
  virtual Kz::Dvt::Trace::CDeviceIdentifier* GetDeviceIdentifier() = 0;
  /// The accessor of the device's live settings, or null with `error` filled.
  virtual IConfigAccessor_t* GetConfigAccessor(const std::string& device, const std::string& second,
                                               std::string& error) = 0;
  virtual void GetObjectFile(const std::string& device, std::string& path) = 0;
  virtual bool GetDeviceInformation(const std::string& device, DeviceInformation_t& information,
                                    std::string& error) = 0;
  virtual bool GetProperty(const std::string& device, const std::string& second,
                           const std::string& name, std::string& value, std::uint32_t& kind,
                           std::string& error) = 0;

 protected:
  ~IDeviceSession_t() = default;
};

}  // namespace EktTrace
