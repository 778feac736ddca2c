#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// The decoder information of a trace data file, as far as a host needs it. Any thread.
namespace qbt2 {

/// Its ATBID: the trace ID of the source that the decoder reads, for captures in formatter frames.
/// Empty where the file has no decoder information or the number is not the ID of a source. Throws
/// Error(kInput) where the file cannot be read.
std::optional<std::uint8_t> decoder_info_atb_id(const std::string& path);

}  // namespace qbt2
