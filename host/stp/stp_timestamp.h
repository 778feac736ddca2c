#pragma once

#include <cstdint>

/// How STP timestamps are coded. Pure functions; any thread.
namespace qbt2 {

/// As the newest VERSION packet declares; natural before the first one.
enum class StpTimestampCoding : std::uint8_t { kNatural, kGray, kDelta };

namespace detail {

/// What the packets of a stream carry over from one to the next.
struct StpContext {
  std::uint64_t timestamp = 0;
  std::uint64_t raw_timestamp = 0;  ///< as sent: Gray coded under VERSION 4
  std::uint16_t master = 0;
  std::uint16_t channel = 0;
  StpTimestampCoding coding = StpTimestampCoding::kNatural;

  friend bool operator==(const StpContext&, const StpContext&) = default;
};

constexpr std::uint64_t from_gray(std::uint64_t gray) {
  for (unsigned shift = 1; shift < 64; shift *= 2) gray ^= gray >> shift;
  return gray;
}
constexpr std::uint64_t to_gray(std::uint64_t value) {
  return value ^ (value >> 1);
}

/// advance_timestamp() under natural coding.
constexpr void advance_natural(StpContext& context, std::uint64_t sent, unsigned nibbles) {
  const std::uint64_t kept = nibbles < 16 ? ~std::uint64_t{0} << (4 * nibbles) : 0;
  context.raw_timestamp = (context.raw_timestamp & kept) | sent;
  context.timestamp = context.raw_timestamp;
}

/// Updates the context by a timestamp of which the low `nibbles` nibbles were sent; the higher ones
/// keep their value, as sent. A difference (kDelta) is added.
constexpr void advance_timestamp(StpContext& context, std::uint64_t sent, unsigned nibbles) {
  if (context.coding == StpTimestampCoding::kDelta) {
    context.timestamp += sent;
    return;
  }
  const std::uint64_t kept = nibbles < 16 ? ~std::uint64_t{0} << (4 * nibbles) : 0;
  context.raw_timestamp = (context.raw_timestamp & kept) | sent;
  context.timestamp = context.coding == StpTimestampCoding::kGray ? from_gray(context.raw_timestamp)
                                                                  : context.raw_timestamp;
}

}  // namespace detail
}  // namespace qbt2
