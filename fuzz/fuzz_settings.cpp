// The text parsers of the configuration sections over arbitrary bytes: what a parser reads must be
// the same after writing and reading it again.
#include <cstdint>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <tuple>

#include "platforms/source/trace/tdf_helper.h"

namespace {

using EktTrace::ConfigFile::DeviceConfig_t;
using EktTrace::ConfigFile::DeviceIdentifier_t;
using EktTrace::ConfigFile::TraceDecode_t;

void Require(bool condition) {
  if (!condition) std::abort();
}

void CheckSettings(const std::string& text) {
  DeviceConfig_t::DeviceConfigData_t first;
  DeviceConfig_t::DeviceConfigData_t second;
  std::istringstream in(text);
  DeviceConfig_t::InputValues(in, first);
  std::stringstream again;
  DeviceConfig_t("", 0, DeviceConfig_t::eStmConfig).OutputValues(again, first);
  DeviceConfig_t::InputValues(again, second);
  Require(first.values == second.values);
}

void CheckDecoderInfo(const std::string& text) {
  TraceDecode_t::TraceDecodeData_t first;
  TraceDecode_t::TraceDecodeData_t second;
  std::istringstream in(text);
  TraceDecode_t::InputValues(in, first);
  Require(first.dataType < 8 && first.dataFormat < 8);
  std::stringstream again;
  TraceDecode_t::OutputValues(again, first);
  TraceDecode_t::InputValues(again, second);
  Require(std::tie(first.decoder, first.dataType, first.dataFormat, first.atbId) ==
          std::tie(second.decoder, second.dataType, second.dataFormat, second.atbId));
}

/// The OUTFILES line leaves out processors without a file. With several processors of one name it
/// is ambiguous which one has the file, so such records are not compared.
bool NamesRepeat(const DeviceIdentifier_t::DevIdData_t& data) {
  std::set<std::string> names;
  for (const auto& processor : data.processors) {
    if (!names.insert(processor.name).second) return true;
  }
  return false;
}

std::string Render(const DeviceIdentifier_t::DevIdData_t& data) {
  std::ostringstream stream;
  DeviceIdentifier_t::OutputData(stream, 1, data);
  return stream.str();
}

void CheckDeviceIdentifier(const std::string& text) {
  DeviceIdentifier_t::DevIdData_t first;
  DeviceIdentifier_t::DevIdData_t second;
  std::istringstream in(text);
  DeviceIdentifier_t::InputData(in, 1, first);
  const std::string rendered = Render(first);
  std::istringstream again(rendered);
  DeviceIdentifier_t::InputData(again, 1, second);
  Require(NamesRepeat(first) || Render(second) == rendered);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CheckSettings(text);
  CheckDecoderInfo(text);
  CheckDeviceIdentifier(text);
  return 0;
}
