// The frame demultiplexer over arbitrary bytes in chunks of arbitrary sizes: the same bytes from
// the same places, and the same counts, as the reference demultiplexer, which has all of the input.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "host/coresight/frame_demultiplexer.h"
#include "host/coresight/frame_detection.h"
#include "host/stp/stp_detection.h"
#include "tests/host/coresight/reference_demultiplexer.h"

namespace {

using Bytes = std::span<const std::uint8_t>;
using qbt2::test::PlacedByte;
using qbt2::test::ReferenceDemultiplexer;

void require(bool condition) {
  if (!condition) std::abort();
}

void compare_counts(const qbt2::FrameDemultiplexer& frames, const ReferenceDemultiplexer& expected,
                    std::uint8_t source, std::size_t input_bytes) {
  std::uint64_t others = 0;
  std::vector<qbt2::SourceBytes> sources;
  for (const auto& [id, bytes] : expected.sources) {
    if (id != qbt2::kNullTraceId && id != source) others += bytes.size();
    if (id <= qbt2::kNullTraceId || id >= qbt2::kFirstReservedTraceId) continue;
    sources.push_back({static_cast<std::uint8_t>(id), bytes.size()});
  }
  require(frames.input_bytes() == input_bytes);
  require(frames.sources() == sources);
  require(frames.bytes_other_sources() == others);
  require(frames.bytes_framing() + others + frames.stream_bytes() == input_bytes);
  require(frames.frames_cut() == expected.frames_cut);
  require(frames.id_changes() == expected.id_changes);
  require(frames.reserved_id_changes() == expected.reserved_id_changes);
}

void compare(Bytes input, const ReferenceDemultiplexer& expected, std::uint8_t source,
             std::size_t chunk) {
  qbt2::FrameDemultiplexer frames(source);
  std::vector<PlacedByte> stream;
  for (std::size_t at = 0; at < input.size(); at += chunk) {
    frames.push(input.subspan(at, std::min(chunk, input.size() - at)),
                [&](Bytes block, std::uint64_t first) {
                  require(first == stream.size());
                  for (std::size_t i = 0; i < block.size(); ++i) {
                    stream.push_back({block[i], frames.input_offset(first + i)});
                  }
                });
  }
  const auto found = expected.sources.find(source);
  const bool has_data = source != qbt2::kNullTraceId && found != expected.sources.end();
  require(stream == (has_data ? found->second : std::vector<PlacedByte>()));
  require(frames.stream_bytes() == stream.size());
  compare_counts(frames, expected, source, input.size());
}

}  // namespace

/// The first byte is the source, the second the size of the chunks; 0 means one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const auto source = static_cast<std::uint8_t>(data[0] % qbt2::kFirstReservedTraceId);
  const Bytes input(data + 2, size - 2);
  const ReferenceDemultiplexer expected(input);
  compare(input, expected, source, data[1] == 0 ? size : data[1]);
  compare(input, expected, source, size);
  qbt2::looks_like_stp(input);
  qbt2::looks_like_frames(input);
  return 0;
}
