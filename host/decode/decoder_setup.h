#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/device/device_session.h"
#include "host/rows/named_master.h"
#include "interfaces/decoder_unit_if.h"
#include "interfaces/device_config_manager_if.h"

/// What a host does with a decoder unit before the first sample: a device session, a configuration
/// manager over it, the settings loaded, the master ids set, the use case loaded. One
/// thread; must outlive the units that it was applied to.
namespace qbt2 {

class DecoderSetup {
 public:
  /// `config_path`: settings, a trace data file (.tdf) or lines of KEY=VALUE; `device_path`: a
  /// device description. Either may be empty. Throws Error(kInput) where one cannot be used.
  DecoderSetup(const std::string& config_path, const std::string& device_path);
  /// Settings by name, and no device description.
  explicit DecoderSetup(const std::map<std::string, std::string>& settings);

  /// Sets up one unit and loads its use case. Units may share a setup: they ask it only here.
  void apply(Kz::Dvt::Trace::CDecoderUnitIF& unit);

  /// Whether settings or a device were given; without either, no master is known.
  bool has_settings() const { return has_settings_; }
  /// The ids of the QBT2_<id> settings, in rising order.
  const std::vector<std::uint32_t>& master_ids() const { return master_ids_; }
  /// The masters whose settings the decoder can use, as it will name them, in rising order of ids.
  std::vector<NamedMaster> masters();
  /// The source of formatter frames that is to be decoded: by the setting ATBID, else by that of
  /// the decoder information in the trace data file, else by the trace ID of the device
  /// description. What is 0 or not an ID counts as missing; empty where all are.
  std::optional<std::uint8_t> atb_id() const;
  /// The value of a setting in force; empty where it is not set.
  std::optional<std::string> setting(const std::string& name) const;
  /// What the decoder makes of the settings other than they say, and what is odd in the file: a
  /// line for each kind.
  std::vector<std::string> warnings() const;

 private:
  DecoderSetup(bool has_settings, DeviceDescription device);
  void load_settings(const std::string& path);

  bool has_settings_;
  DeviceSession session_;
  std::unique_ptr<Kz::Dvt::Trace::CDeviceConfigManager> manager_;
  std::vector<std::uint32_t> master_ids_;
  std::optional<std::uint8_t> decoder_info_id_;
  std::vector<std::string> notices_;  ///< about the settings file
};

}  // namespace qbt2
