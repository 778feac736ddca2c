#include "host/decode/decoder_setup.h"

#include <cstdlib>
#include <filesystem>

#include "host/base/error.h"
#include "host/base/input_file.h"
#include "host/base/parse_number.h"
#include "host/base/trace_id.h"
#include "host/tdf/trace_file.h"
#include "host/tdf/usecase_check.h"
#include "platforms/source/trace/device_config_manager_stm.h"

namespace qbt2 {
namespace {

constexpr const char* kSettingsDirectoryVariable = "KZ_TRACE_SETTINGS_DIR";
/// The name handed along with the device's, as the tool's configuration of that device.
constexpr const char* kSecondName = "QBT2";

/// The manager reads plain settings files from the folder that a variable names; this points it at
/// a file's own folder for as long as it loads.
class SettingsDirectoryScope {
 public:
  explicit SettingsDirectoryScope(const std::string& directory) {
    if (const char* const value = std::getenv(kSettingsDirectoryVariable)) saved_ = value;
    ::setenv(kSettingsDirectoryVariable, directory.c_str(), 1);
  }
  ~SettingsDirectoryScope() {
    if (saved_) {
      ::setenv(kSettingsDirectoryVariable, saved_->c_str(), 1);
    } else {
      ::unsetenv(kSettingsDirectoryVariable);
    }
  }
  SettingsDirectoryScope(const SettingsDirectoryScope&) = delete;
  SettingsDirectoryScope& operator=(const SettingsDirectoryScope&) = delete;

 private:
  std::optional<std::string> saved_;
};

/// The configuration manager reads regular files only; opening a pipe to look at its first bytes
/// might wait for ever.
void refuse_pipe(const std::filesystem::path& path) {
  std::error_code error;
  const auto type = std::filesystem::status(path, error).type();
  if (type == std::filesystem::file_type::fifo || type == std::filesystem::file_type::character) {
    throw Error(ErrorCode::kInput, path.string(), "settings are read from a regular file only");
  }
}

bool is_trace_data_file(const std::filesystem::path& path) {
  refuse_pipe(path);
  InputFile file(path.string());
  return is_trace_data(file.peek(sizeof(std::uint32_t)));
}

}  // namespace

DecoderSetup::DecoderSetup(const std::string& config_path, const std::string& device_path)
    : has_settings_(!config_path.empty() || !device_path.empty()),
      session_(device_path.empty() ? default_device_description()
                                   : load_device_description(device_path)) {
  std::string error;
  manager_.reset(EktTrace::DeviceConfigManagerStm_t::Construct(&session_, session_.device_name(),
                                                               kSecondName, error));
  if (manager_ == nullptr) throw Error(ErrorCode::kInput, error);
  if (!config_path.empty()) load_settings(config_path);
  master_ids_ = session_.master_ids();
}

void DecoderSetup::load_settings(const std::string& path) {
  // Never "-", which would be taken for standard input.
  const std::filesystem::path absolute = std::filesystem::absolute(path);
  bool loaded = false;
  if (is_trace_data_file(absolute)) {
    loaded = manager_->LoadConfiguration(path, Kz::Dvt::Trace::eTraceDataFileTdf);
  } else {
    const SettingsDirectoryScope scope(absolute.parent_path().string());
    loaded = manager_->LoadConfiguration(absolute.filename().string(),
                                         Kz::Dvt::Trace::eTraceDataFileText1);
  }
  if (!loaded) throw Error(ErrorCode::kInput, path, "no settings: " + manager_->GetLastError());
}

void DecoderSetup::apply(Kz::Dvt::Trace::CDecoderUnitIF& unit) {
  if (has_settings_) {
    unit.SetDeviceConfigManager(manager_.get());
    unit.SetDeviceIdentifier(session_.GetDeviceIdentifier());
    unit.SetMasterIds(master_ids_);
  }
  unit.DataReset();
}

std::optional<std::uint8_t> DecoderSetup::atb_id() const {
  DescribedSetting setting;
  if (!session_.settings().find("ATBID", setting)) return std::nullopt;
  const auto id = parse_c_number(setting.value, kLargestAcceptedTraceId);
  if (!id || *id == 0) return std::nullopt;
  return static_cast<std::uint8_t>(*id);
}

std::vector<std::string> DecoderSetup::warnings() const {
  return check_usecase_settings(session_.settings().values());
}

}  // namespace qbt2
