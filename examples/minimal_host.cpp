// The shortest complete host: load the plug-in, configure a decoder unit, decode one message, and
// read the row back. docs/formats/sample.md and docs/formats/record.md describe the two formats.
//
//   minimal_host libqbt2decoder.so

#include <dlfcn.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "interfaces/decoder_unit_if.h"
#include "interfaces/device_config_manager_if.h"

using namespace Kz::Dvt::Trace;

namespace {

// A real host hands in EktTrace::DeviceConfigManagerStm_t; one setting is all that is needed here.
class Settings final : public CDeviceConfigManager {
 public:
  bool GetProperty(const std::string& name, ConfigPropertyValue& value) override {
    if (name != "QBT2_5") return false;
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

// The positions that all decoders share; the unit's own columns are added to them.
std::map<std::uint8_t, Column> KnownColumns(CDecoderUnitIF& unit) {
  std::map<std::uint8_t, Column> known = {{0, {"Probe", 1}},
                                          {1, {"Master", 0}},
                                          {4, {"Description", 0}},
                                          {9, {"Type", 0}},
                                          {11, {"Address", 8}}};
  std::vector<CDecoderUnitIF::SharedColumns> columns;
  std::uint32_t count = 0;
  unit.InitColumn(columns, 100, count);
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

// The first `bytes` of `rest`, which then begins behind them; ends the program when there are
// fewer.
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
  const auto text = Take(rest, TakeNumber(rest, 4));
  return {text.begin(), text.end()};
}

bool PrintRow(const std::map<std::uint8_t, Column>& columns, std::span<const std::uint8_t> rest) {
  constexpr std::uint8_t kRowEnd = 0xFE;
  while (!rest.empty()) {
    const auto position = static_cast<std::uint8_t>(TakeNumber(rest, 1));
    if (position == kRowEnd) return rest.empty();
    const auto column = columns.find(position);
    if (column == columns.end()) return false;
    const auto& [name, bytes] = column->second;
    if (bytes == 0) {
      std::printf("%s: %s\n", name.c_str(), TakeText(rest).c_str());
    } else {
      std::printf("%s: %" PRIu64 "\n", name.c_str(), TakeNumber(rest, bytes));
    }
  }
  return false;  // no row (the single byte 0xFD), or one without its end
}

bool DecodeOneMessage(CDecoderUnitIF& unit) {
  Settings settings;
  unit.SetDeviceConfigManager(&settings);
  unit.SetMasterIds({5});
  const auto columns = KnownColumns(unit);
  unit.DataReset();  // reads the settings

  // Probe 5, ten payload bytes: 100 bytes moved, 25 transactions matched.
  std::uint8_t sample[] = {0, 5, 0, 0, 10, 0, 0, 0, 4, 100, 0, 0, 0, 4, 25, 0, 0, 0};
  std::vector<std::uint8_t> output(512 + 8);  // a row may pass the capacity by eight bytes
  std::uint32_t produced = 0;
  try {
    unit.ProcessSamples(0, sample, 512, output.data(), produced);
  } catch (const DecodeError& error) {
    std::fprintf(stderr, "decode error {%u, %u}\n", error.kind, error.detail);
    return false;
  }
  return PrintRow(columns, std::span(output).first(produced));
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
    std::fprintf(stderr, "%s is no decoder plug-in\n", argv[1]);
    return 2;
  }
  void* unit = create();
  const bool decoded = DecodeOneMessage(*static_cast<CDecoderUnitIF*>(unit));
  destroy(unit);
  return decoded ? 0 : 1;
}
