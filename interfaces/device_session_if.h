#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "interfaces/qbt2_export.h"

/// The host's device session and device model: what the decoder and the configuration manager call
/// in the host. The host implements these interfaces; the library's own device model
/// (platforms/source/device) is one implementation.
///
/// All pointers returned are borrowed and live as long as the object that returned them. Used by
/// one thread at a time. The device model does not throw; the decoder catches all the same.
namespace EktTrace {

/// One named value of a component's property list, for example a bus master and its id.
class IPropertyEntry_t {
 public:
  virtual const std::string& GetName() const = 0;
  /// Text; a number is decimal, 0x hexadecimal or leading-0 octal.
  virtual const std::string& GetValue() const = 0;

 protected:
  ~IPropertyEntry_t() = default;
};

/// One component of a device, for example the bus tracer "MOD_QBTRACER0".
class IComponent_t {
 public:
  /// The entries of the named list in order, or null when the component has no such list. A null
  /// entry is skipped.
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

/// Reads and writes the live settings of one device. False means failure, with `error` filled.
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

/// Finds devices by name; the decoder gets it through SetDeviceIdentifier and uses it to look up
/// the names of masters.
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

/// The object created by the optional companion library "DeviceDataBaseUtility". The decoder calls
/// its first operation at the start of each DataReset and uses nothing else of it.
class CDeviceDataBaseUtility {
 public:
  /// The identifier, which may be null, stays the host's.
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

/// Kind codes of a setting, as IDeviceSession_t::GetProperty returns them.
enum eSessionPropertyKind : std::uint32_t {
  eSessionBoolean = 0,
  eSessionSigned32 = 1,
  eSessionUnsigned32 = 2,
  eSessionSigned64 = 3,
  eSessionUnsigned64 = 4,
  eSessionText = 5,
};

/// The device session that a configuration manager works on; it must outlive the manager. `device`
/// is the session's name of the device, `second` the second name that the manager was created with.
/// Where an operation returns false or null, it has filled `error`.
class IDeviceSession_t {
 public:
  virtual Kz::Dvt::Trace::CDeviceIdentifier* GetDeviceIdentifier() = 0;

  /// The accessor of the device's live settings, or null.
  virtual IConfigAccessor_t* GetConfigAccessor(const std::string& device, const std::string& second,
                                               std::string& error) = 0;

  /// Sets `path` to the device's object file.
  virtual void GetObjectFile(const std::string& device, std::string& path) = 0;

  virtual bool GetDeviceInformation(const std::string& device, DeviceInformation_t& information,
                                    std::string& error) = 0;

  /// The value of one setting as text, and its kind, an eSessionPropertyKind.
  virtual bool GetProperty(const std::string& device, const std::string& second,
                           const std::string& name, std::string& value, std::uint32_t& kind,
                           std::string& error) = 0;

 protected:
  ~IDeviceSession_t() = default;
};

}  // namespace EktTrace
