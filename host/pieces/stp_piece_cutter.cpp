#include "host/pieces/stp_piece_cutter.h"

#include <algorithm>
#include <utility>

#include "host/stp/stp_async.h"
#include "host/stp/stp_parse.h"

namespace qbt2 {
namespace {

/// Bytes read at a time: what follows the cut is copied to the next piece.
constexpr std::size_t kReadBytes = std::size_t{16} << 10;

enum class Place { kCut, kOther, kUnknown };

/// What follows the ASYNC that ends before nibble `at`.
Place place_after_async(std::span<const std::uint8_t> bytes, std::size_t at) {
  const detail::StpParse parse = detail::parse_packet(bytes, at, false);
  if (parse.outcome == detail::StpParse::kOpen) return Place::kUnknown;
  const bool is_version =
      parse.outcome == detail::StpParse::kPacket && parse.opcode.kind == StpKind::kVersion;
  return is_version ? Place::kCut : Place::kOther;
}

}  // namespace

StpPieceCutter::StpPieceCutter(Read read, std::size_t piece_bytes)
    : read_(std::move(read)), piece_bytes_(piece_bytes) {}

bool StpPieceCutter::next(StpPiece& piece) {
  piece.begin = begin_;
  piece.cut = std::exchange(cut_, std::nullopt);
  piece.shared = shared_;
  std::vector<std::uint8_t>& bytes = piece.bytes;
  bytes.swap(rest_);
  rest_.clear();
  const std::size_t from = piece.cut ? piece_bytes_ : 0;
  const auto cut = find_cut(bytes, from, from + kCapturePieceBytes);
  if (bytes.empty()) return false;
  if (cut) {
    const std::size_t size = (*cut + 1) / 2;
    cut_ = begin_ * 2 + *cut;
    shared_ = bytes[size - 1];
    rest_.assign(bytes.begin() + static_cast<std::ptrdiff_t>(size), bytes.end());
    bytes.resize(size);
  }
  begin_ += bytes.size();
  return true;
}

bool StpPieceCutter::next_uncut(StpPiece& piece) {
  piece.begin = begin_;
  piece.cut.reset();
  piece.bytes.resize(kCapturePieceBytes);
  piece.bytes.resize(read_(piece.bytes));
  begin_ += piece.bytes.size();
  return !piece.bytes.empty();
}

/// The first nibble of the first place to cut from byte `from` on. Reads until there is one, or
/// there are `most_bytes` or no more.
std::optional<std::size_t> StpPieceCutter::find_cut(std::vector<std::uint8_t>& bytes,
                                                    std::size_t from, std::size_t most_bytes) {
  while (bytes.size() <= from && read_more(bytes)) {
  }
  std::size_t at = std::min(from, bytes.size()) * 2;
  std::uint64_t f_run = 0;
  for (;;) {
    const std::size_t end = detail::find_async_end(bytes, at, f_run);
    if (end == detail::kNotFound) {
      at = bytes.size() * 2;
      if (bytes.size() >= most_bytes || !read_more(bytes)) return std::nullopt;
      continue;
    }
    at = end;
    f_run = 0;
    Place place = place_after_async(bytes, end);
    while (place == Place::kUnknown && read_more(bytes)) place = place_after_async(bytes, end);
    if (place == Place::kCut) return end;
  }
}

bool StpPieceCutter::read_more(std::vector<std::uint8_t>& bytes) {
  const std::size_t had = bytes.size();
  bytes.resize(had + kReadBytes);
  const std::size_t got = read_(std::span(bytes).subspan(had));
  bytes.resize(had + got);
  return got != 0;
}

}  // namespace qbt2
