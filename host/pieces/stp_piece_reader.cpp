#include "host/pieces/stp_piece_reader.h"

#include <algorithm>

namespace qbt2 {
namespace {

/// The sources are counted after so many bytes.
constexpr std::size_t kStepBytes = std::size_t{16} << 10;

}  // namespace

StpPieceReader::StpPieceReader(const CaptureOptions& options, Framing framing)
    : messages_(options, framing) {}

void StpPieceReader::read(StpPiece& piece, SampleBatch& samples) {
  piece.damages.clear();
  messages_.set_on_damage([&piece](std::uint64_t offset, std::string_view reason) {
    piece.damages.push_back({offset, reason});
  });
  messages_.assembler().forget_sources();
  messages_.restore(piece.guess);
  std::span<const std::uint8_t> rest(piece.bytes);
  while (!rest.empty() && messages_.assembler().source_count() <= kMostPieceSources) {
    const auto step = rest.first(std::min(rest.size(), kStepBytes));
    messages_.push(step, samples);
    rest = rest.subspan(step.size());
  }
  piece.counts = messages_.take_counts();
  piece.is_read = messages_.assembler().source_count() <= kMostPieceSources;
  if (!piece.is_read) return;
  messages_.assembler().add_masters_to(piece.counts.assembly);
  messages_.save(piece.end);
}

}  // namespace qbt2
