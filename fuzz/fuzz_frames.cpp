// The frame demultiplexer over arbitrary bytes in chunks of arbitrary sizes: every byte is counted,
// the chunks make no difference, and each byte comes from the reported offset.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "host/coresight/frame_demultiplexer.h"
#include "host/coresight/frame_detection.h"
#include "host/stp/stp_detection.h"

namespace {

using Bytes = std::span<const std::uint8_t>;

void require(bool condition) {
  if (!condition) std::abort();
}

std::vector<std::uint8_t> demultiplex(Bytes input, std::uint8_t source, std::size_t chunk) {
  qbt2::FrameDemultiplexer frames(source);
  std::vector<std::uint8_t> stream;
  for (std::size_t at = 0; at < input.size(); at += chunk) {
    frames.push(input.subspan(at, std::min(chunk, input.size() - at)),
                [&](Bytes block, std::uint64_t first) {
                  require(first == stream.size());
                  for (std::size_t i = 0; i < block.size(); ++i) {
                    // The lowest bit of a byte at an even place is elsewhere.
                    const std::uint64_t offset = frames.input_offset(first + i);
                    require(offset < input.size() && (input[offset] | 1) == (block[i] | 1));
                  }
                  stream.insert(stream.end(), block.begin(), block.end());
                });
  }
  require(frames.input_bytes() == input.size() && frames.stream_bytes() == stream.size());
  require(frames.bytes_other_sources() <= input.size() - stream.size());
  require(frames.bytes_framing() + frames.bytes_other_sources() + stream.size() == input.size());
  return stream;
}

}  // namespace

/// The first byte is the source, the second the size of the chunks; 0 means one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const auto source = static_cast<std::uint8_t>(data[0] % qbt2::kFirstReservedTraceId);
  const Bytes input(data + 2, size - 2);
  const std::size_t chunk = data[1] == 0 ? size : data[1];
  require(demultiplex(input, source, chunk) == demultiplex(input, source, size));
  qbt2::looks_like_stp(input);
  qbt2::looks_like_frames(input);
  return 0;
}
