#include "host/decode/decoder_setup.h"

#include <filesystem>

#include "host/base/error.h"
#include "host/base/input_file.h"
#include "host/base/parse_number.h"
#include "host/base/trace_id.h"
#include "host/base/use_case_setting.h"
#include "host/capture/capture_format.h"
#include "host/capture/file_kind.h"
#include "host/device/settings_file.h"
#include "host/tdf/decoder_info.h"
#include "host/tdf/trace_file.h"
#include "host/tdf/usecase_check.h"
#include "platforms/source/trace/device_config_manager_stm.h"

namespace qbt2 {
namespace {

/// The name handed along with the device's, as the tool's configuration of that device.
constexpr const char* kSecondName = "QBT2";

/// The library reads trace data files by name, more than once, so a pipe will not do.
void refuse_pipe(const std::string& path) {
  std::error_code error;
  const auto type = std::filesystem::status(path, error).type();
  if (type == std::filesystem::file_type::fifo || type == std::filesystem::file_type::character) {
    throw Error(ErrorCode::kInput, path, "settings are read from a regular file only");
  }
}

/// Never "-", which would be taken for standard input.
std::string file_path(const std::string& path) {
  return path == "-" ? "./-" : path;
}

/// A device description, unless the file is plainly something else.
DeviceDescription load_device(const std::string& path) {
  InputFile file(file_path(path));
  if (file.is_regular()) {  // a pipe gives its bytes only once
    const std::string hint =
        wrong_file_hint(file.peek(kDetectionBytes), FileUse::kDeviceDescription);
    if (!hint.empty()) throw Error(ErrorCode::kInput, path, "not a device description: " + hint);
  }
  return load_device_description(path);
}

}  // namespace

DecoderSetup::DecoderSetup(bool has_settings, DeviceDescription device)
    : has_settings_(has_settings), session_(std::move(device)) {
  std::string error;
  manager_.reset(EktTrace::DeviceConfigManagerStm_t::Construct(&session_, session_.device_name(),
                                                               kSecondName, error));
  if (manager_ == nullptr) throw Error(ErrorCode::kInput, error);
}

DecoderSetup::DecoderSetup(const std::string& config_path, const std::string& device_path)
    : DecoderSetup(!config_path.empty() || !device_path.empty(),
                   device_path.empty() ? default_device_description() : load_device(device_path)) {
  if (!config_path.empty()) load_settings(config_path);
  master_ids_ = session_.master_ids();
}

DecoderSetup::DecoderSetup(const std::map<std::string, std::string>& settings)
    : DecoderSetup(true, default_device_description()) {
  session_.write_settings(settings);
  master_ids_ = session_.master_ids();
}

void DecoderSetup::load_settings(const std::string& path) {
  refuse_pipe(path);
  InputFile file(file_path(path));
  const std::string hint = wrong_file_hint(file.peek(kDetectionBytes), FileUse::kSettings);
  if (!hint.empty()) throw Error(ErrorCode::kInput, path, "not settings: " + hint);
  if (!is_trace_data(file.peek(sizeof(std::uint32_t)))) {
    const std::optional<std::string> text = read_up_to(file, kMaxSettingsBytes);
    if (!text) {
      throw Error(ErrorCode::kInput, path, "larger than 16 MiB, so these are not settings");
    }
    SettingsFile plain = parse_settings_file(*text, path);
    session_.write_settings(plain.settings);
    notices_ = std::move(plain.notices);
  } else if (!manager_->LoadConfiguration(path, Kz::Dvt::Trace::eTraceDataFileTdf)) {
    throw Error(ErrorCode::kInput, path, "no settings: " + manager_->GetLastError());
  } else {
    decoder_info_id_ = decoder_info_atb_id(path);
  }
}

void DecoderSetup::apply(Kz::Dvt::Trace::CDecoderUnitIF& unit) {
  if (has_settings_) {
    unit.SetDeviceConfigManager(manager_.get());
    unit.SetDeviceIdentifier(session_.GetDeviceIdentifier());
    unit.SetMasterIds(master_ids_);
  }
  unit.DataReset();
}

std::vector<NamedMaster> DecoderSetup::masters() {
  std::vector<NamedMaster> masters;
  for (const std::uint32_t id : master_ids_) {
    DescribedSetting setting;
    if (!session_.settings().find(use_case_setting_name(id), setting)) continue;
    auto line = read_usecase_line(setting.value);
    if (!line) continue;
    if (line->name == Kz::Dvt::Trace::kMasterNamePlaceholder) {
      line->name = session_.described_name(id).value_or(line->name);
    }
    masters.push_back({id, std::move(line->name), line->sampling_period});
  }
  return masters;
}

std::optional<std::uint8_t> DecoderSetup::atb_id() const {
  DescribedSetting setting;
  if (session_.settings().find("ATBID", setting)) {
    const auto id = parse_c_number(setting.value, kLargestTraceId);
    if (id && *id != kNullTraceId) return static_cast<std::uint8_t>(*id);
  }
  return decoder_info_id_ ? decoder_info_id_ : session_.trace_id();
}

std::optional<std::string> DecoderSetup::setting(const std::string& name) const {
  DescribedSetting setting;
  if (!session_.settings().find(name, setting)) return std::nullopt;
  return setting.value;
}

std::vector<std::string> DecoderSetup::warnings() const {
  std::vector<std::string> lines = notices_;
  const auto faults = check_usecase_settings(session_.settings().values());
  lines.insert(lines.end(), faults.begin(), faults.end());
  return lines;
}

}  // namespace qbt2
