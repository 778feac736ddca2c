#include "host/coresight/trace_sources.h"

#include <chrono>
#include <span>

namespace qbt2 {
namespace {

constexpr std::size_t kPieceBytes = std::size_t{64} << 10;
constexpr std::size_t kPipeLookAhead = std::size_t{1} << 20;
/// How long a source that is there waits for others, in a pipe that never pauses.
constexpr auto kLongestLook = std::chrono::seconds(2);

std::vector<SourceBytes> sources_in(std::span<const std::uint8_t> bytes) {
  FrameDemultiplexer frames;
  frames.push(bytes);
  return frames.sources();
}

std::vector<SourceBytes> find_sources_of_pipe(InputFile& input) {
  const auto start = std::chrono::steady_clock::now();
  return sources_in(
      input.peek_live(kPipeLookAhead, [&](std::span<const std::uint8_t> bytes, bool paused) {
        const bool is_late = std::chrono::steady_clock::now() - start > kLongestLook;
        return (paused || is_late) && !sources_in(bytes).empty();
      }));
}

}  // namespace

std::vector<SourceBytes> find_sources(InputFile& input,
                                      const std::function<void(std::uint64_t bytes)>& on_progress) {
  if (!input.is_regular()) return find_sources_of_pipe(input);
  FrameDemultiplexer frames;
  std::vector<std::uint8_t> piece(kPieceBytes);
  while (const std::size_t got = input.read(piece)) {
    frames.push(std::span(piece).first(got));
    if (on_progress) on_progress(frames.input_bytes());
  }
  input.rewind();
  return frames.sources();
}

}  // namespace qbt2
