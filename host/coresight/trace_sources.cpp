#include "host/coresight/trace_sources.h"

namespace qbt2 {
namespace {

constexpr std::size_t kPieceBytes = std::size_t{64} << 10;
constexpr std::size_t kPipeLookAhead = std::size_t{1} << 20;

}  // namespace

std::vector<SourceBytes> find_sources(InputFile& input,
                                      const std::function<void(std::uint64_t bytes)>& on_progress) {
  FrameDemultiplexer frames;
  if (!input.is_regular()) {
    frames.push(input.peek(kPipeLookAhead));
    return frames.sources();
  }
  std::vector<std::uint8_t> piece(kPieceBytes);
  while (const std::size_t got = input.read(piece)) {
    frames.push(std::span(piece).first(got));
    if (on_progress) on_progress(frames.input_bytes());
  }
  input.rewind();
  return frames.sources();
}

}  // namespace qbt2
