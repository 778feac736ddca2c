#include "host/tdf/decoder_info.h"

#include <algorithm>
#include <sstream>

#include "host/base/trace_id.h"
#include "host/tdf/trace_file.h"
#include "platforms/source/trace/tdf_helper_decoder_info.h"

namespace qbt2 {
namespace {

constexpr std::uint64_t kMostBytes = 4096;  // four short lines

}  // namespace

std::optional<std::uint8_t> decoder_info_atb_id(const std::string& path) {
  using EktTrace::ConfigFile::TraceDecode_t;
  const TraceFile file(path);
  const auto& sections = file.sections();
  const auto section =
      std::find_if(sections.begin(), sections.end(), [](const TraceSection& candidate) {
        return section_content(candidate) == SectionContent::kDecoder;
      });
  if (section == sections.end() || section->payloadLength > kMostBytes) return std::nullopt;
  std::istringstream text{std::string(text_of_payload(file.payload(*section)))};
  TraceDecode_t::TraceDecodeData_t data;
  TraceDecode_t::InputValues(text, data);
  if (data.atbId == kNullTraceId || data.atbId > kLargestTraceId) return std::nullopt;
  return static_cast<std::uint8_t>(data.atbId);
}

}  // namespace qbt2
