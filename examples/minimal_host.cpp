// The shortest complete host: load the plug-in, configure a decoder unit, decode one message, and
// read the row back. docs/formats/sample.md and docs/formats/record.md describe the two formats.
//
//   minimal_host libqbt2decoder.so

#include <dlfcn.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "interfaces/decoder_unit_if.h"
#include "interfaces/device_config_manager_if.h"
#include "interfaces/record_format.h"
#include "interfaces/sample_format.h"

using namespace Kz::Dvt::Trace;

namespace {

constexpr std::uint32_t kMaster = 5;

// A real host uses EktTrace::DeviceConfigManagerStm_t; this one has a single setting.
class Settings final : public CDeviceConfigManager {
 public:
  bool GetProperty(const std::string& name, ConfigPropertyValue& value) override {
    if (name != std::string(kUseCaseSettingPrefix) + std::to_string(kMaster)) return false;
    value.type = eConfigPropertyText;
    value.text = "DMA1;0;0x1000;0;0;0;0;0;0;0;0;0;0;0;0";  // name, -, sampling period, ...
    return true;
  }
  void RegisterEventHandler(CDeviceConfigEvents* /*handler*/) override {}
  bool GetInfo(int& /*first*/, int& /*second*/, std::string& /*text*/) override { return false; }
  bool LoadConfigurationLive() override { return false; }
  bool LoadConfiguration(const std::string& /*path*/, eTraceDataFileType /*type*/) override {
    return false;
  }
  bool SaveConfiguration(const std::string& /*path*/, eTraceDataFileType /*type*/) override {
    return false;
  }
  bool GetObjectFile(const std::string& /*name*/, std::string& /*path*/) override { return false; }
  std::string GetLastError() const override { return {}; }
};

struct Column {
  std::string name;
  std::size_t bytes;  // of a value; 0: a text with its length before it
};

// The positions that all decoders share, and the unit's own columns.
std::map<std::uint8_t, Column> KnownColumns(CDecoderUnitIF& unit) {
  std::map<std::uint8_t, Column> known = {
      {RecordFormat::kProbePosition, {"Probe", RecordFormat::kProbeBytes}},
      {RecordFormat::kMasterPosition, {"Master", 0}},
      {RecordFormat::kTypePosition, {"Type", 0}},
      {RecordFormat::kDescriptionPosition, {"Description", 0}},
      {RecordFormat::kAddressPosition, {"Address", RecordFormat::kAddressBytes}}};
  std::vector<CDecoderUnitIF::SharedColumns> columns;
  std::uint32_t count = 0;
  unit.InitColumn(columns, RecordFormat::kFirstFreeColumnId, count);
  for (const auto& column : columns) {
    eInput input{};
    std::uint32_t bits = 0;
    bool enabled = false;
    std::string name, key, description;
    unit.GetColumnInfo(column.columnId, input, bits, enabled, name, key, description);
    known[static_cast<std::uint8_t>(column.columnId)] = {name, bits / 8};
  }
  return known;
}

// Removes the first `bytes` from `rest` and returns them; ends the program when there are fewer.
std::span<const std::uint8_t> Take(std::span<const std::uint8_t>& rest, std::size_t bytes) {
  if (rest.size() < bytes) {
    std::fputs("the row ends too early\n", stderr);
    std::exit(1);
  }
  const auto taken = rest.first(bytes);
  rest = rest.subspan(bytes);
  return taken;
}

std::uint64_t TakeNumber(std::span<const std::uint8_t>& rest, std::size_t bytes) {
  std::uint64_t value = 0;
  for (int shift = 0; const std::uint8_t byte : Take(rest, bytes)) {
    value |= std::uint64_t{byte} << shift;
    shift += 8;
  }
  return value;
}

std::string TakeText(std::span<const std::uint8_t>& rest) {
  const auto text = Take(rest, TakeNumber(rest, RecordFormat::kTextLengthBytes));
  return {text.begin(), text.end()};
}

bool PrintRow(const std::map<std::uint8_t, Column>& columns, std::span<const std::uint8_t> rest) {
  while (!rest.empty()) {
    const auto position = static_cast<std::uint8_t>(TakeNumber(rest, RecordFormat::kPositionBytes));
    if (position == RecordFormat::kRowEnd) return rest.empty();
    const auto column = columns.find(position);
    if (column == columns.end()) return false;
    const auto& [name, bytes] = column->second;
    if (bytes == 0) {
      std::printf("%s: %s\n", name.c_str(), TakeText(rest).c_str());
    } else {
      std::printf("%s: %" PRIu64 "\n", name.c_str(), TakeNumber(rest, bytes));
    }
  }
  return false;  // no row (the single byte kNoData), or one without its end
}

void StoreNumber(std::uint8_t* bytes, std::uint32_t value) {
  for (int byte = 0; byte < 4; ++byte) bytes[byte] = static_cast<std::uint8_t>(value >> (8 * byte));
}

std::vector<std::uint8_t> MakeSample(std::uint32_t master,
                                     const std::vector<std::uint32_t>& words) {
  std::vector<std::uint8_t> sample(SampleFormat::SampleBytes(words.size()));
  sample[SampleFormat::kProbeIdOffset] = SampleFormat::ProbeOfMaster(master);
  StoreNumber(&sample[SampleFormat::kPayloadBytesOffset],
              static_cast<std::uint32_t>(words.size() * SampleFormat::kPairBytes));
  for (std::size_t word = 0; word < words.size(); ++word) {
    std::uint8_t* pair = &sample[SampleFormat::SampleBytes(word)];
    *pair = SampleFormat::kWordLength;
    StoreNumber(pair + 1, words[word]);
  }
  return sample;
}

bool DecodeOneMessage(CDecoderUnitIF& unit) {
  Settings settings;
  unit.SetDeviceConfigManager(&settings);
  unit.SetMasterIds({kMaster});
  const auto columns = KnownColumns(unit);
  unit.DataReset();  // reads the settings

  // A throughput message has two words: 100 byte transactions, of which 25 matched.
  std::vector<std::uint8_t> sample = MakeSample(kMaster, {100, 25});
  constexpr std::uint32_t kCapacity = 512;
  std::vector<std::uint8_t> output(kCapacity + RecordFormat::kSlackBytes);
  std::uint32_t produced = 0;
  try {
    unit.ProcessSamples(0, sample.data(), kCapacity, output.data(), produced);
  } catch (const DecodeError& error) {
    std::fprintf(stderr, "decode error {%u, %u}\n", error.kind, error.detail);
    return false;
  }
  return PrintRow(columns, std::span(output).first(produced));
}

// The debug log is the host's to open, once and before other threads log. It stays closed unless
// the environment asks for it, and throws if it cannot be opened.
void OpenDebugLog(void* plugin) {
  const auto open = reinterpret_cast<void (*)()>(dlsym(plugin, "_Z14debug_log_initv"));
  try {
    if (open != nullptr) open();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "no debug log: %s\n", error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  void* plugin = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (plugin == nullptr) {
    std::fprintf(stderr, "usage: minimal_host libqbt2decoder.so\n");
    return 2;
  }
  const auto create = reinterpret_cast<void* (*)()>(dlsym(plugin, "CreateDecoderUnit"));
  const auto destroy = reinterpret_cast<void (*)(void*)>(dlsym(plugin, "DestroyDecoderUnit"));
  if (create == nullptr || destroy == nullptr) {
    std::fprintf(stderr, "%s is not a decoder plug-in\n", argv[1]);
    return 2;
  }
  OpenDebugLog(plugin);
  void* unit = create();
  const bool decoded = DecodeOneMessage(*static_cast<CDecoderUnitIF*>(unit));
  destroy(unit);
  return decoded ? 0 : 1;
}
