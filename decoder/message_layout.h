#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "decoder/column_catalogue.h"

/// Where a bus tracer's message holds what: one constant table for each message kind.
///
/// A message is told by nothing but its number of 32-bit words. The tracer lays its fields out from
/// bit 0 up; this header is the only place that knows words, bits and widths. Constant data and
/// pure functions: any thread.

inline constexpr std::size_t kThroughputWords = 2;
inline constexpr std::size_t kLatencyWords = 4;
inline constexpr std::size_t kTransactionWords = 6;
inline constexpr std::size_t kMaxMessageWords = kTransactionWords;

/// `width` bits of word `word`, from bit `lowestBit` up. Width 0 is no bits at all.
struct BitRange {
  std::uint8_t word = 0;
  std::uint8_t lowestBit = 0;
  std::uint8_t width = 0;
};

/// A value of a message: `low`, continued above it by `high` where the value straddles two words.
struct SplitValue {
  BitRange low;
  BitRange high{};
};

/// A value and the column that it goes to.
struct MessageField {
  eQbt2Column column;
  SplitValue value;
};

/// The bits of one range, shifted down to bit 0. The words must hold `range.word`.
constexpr std::uint64_t Extract(const std::uint32_t* words, const BitRange& range) {
  const std::uint64_t mask = (std::uint64_t{1} << range.width) - 1;
  return (words[range.word] >> range.lowestBit) & mask;
}

constexpr std::uint64_t Extract(const std::uint32_t* words, const SplitValue& value) {
  return Extract(words, value.low) | (Extract(words, value.high) << value.low.width);
}

/// Bits 31 to 24 of word 1 carry nothing.
inline constexpr std::array kThroughputFields{
    MessageField{eQbt2Column::Bytes, {{0, 0, 32}}},
    MessageField{eQbt2Column::Matched, {{1, 0, 24}}},
};

/// The tracked count straddles words 0 and 1; bits 31 to 24 of word 3 carry nothing.
inline constexpr std::array kLatencyFields{
    MessageField{eQbt2Column::Tracked, {{0, 24, 8}, {1, 0, 16}}},
    MessageField{eQbt2Column::MatchedTransactions, {{0, 0, 24}}},
    MessageField{eQbt2Column::MaxWait, {{1, 16, 16}}},
    MessageField{eQbt2Column::TotalWait, {{2, 0, 32}}},
    MessageField{eQbt2Column::CreditWait, {{3, 0, 24}}},
};

/// A transaction's address, 48 bits; it goes to a position that all decoders of the host share.
inline constexpr SplitValue kTransactionAddress{{0, 0, 32}, {1, 0, 16}};

/// In catalogue order, which is the order in a row. Two widths differ from what the column's
/// description announces, on purpose: OPCODE has 5 bits and MSBAND 7. FLUSH is always 0: no bit of
/// the message carries it.
inline constexpr std::array kTransactionFields{
    MessageField{eQbt2Column::Mode, {{1, 16, 2}}},
    MessageField{eQbt2Column::RouteId, {{1, 18, 12}}},
    MessageField{eQbt2Column::Dir, {{1, 30, 1}}},
    MessageField{eQbt2Column::Excl, {{1, 31, 1}}},
    MessageField{eQbt2Column::ByteCount, {{2, 0, 10}}},
    MessageField{eQbt2Column::Priority, {{2, 10, 3}}},
    MessageField{eQbt2Column::Lsize, {{2, 13, 3}}},
    MessageField{eQbt2Column::Priv, {{2, 16, 2}}},
    MessageField{eQbt2Column::PrivId, {{2, 18, 8}}},
    MessageField{eQbt2Column::Dtype, {{2, 26, 2}}},
    MessageField{eQbt2Column::Rsel, {{2, 28, 4}}},
    MessageField{eQbt2Column::Interest, {{3, 0, 1}}},
    MessageField{eQbt2Column::Emudbg, {{3, 1, 1}}},
    MessageField{eQbt2Column::Inner, {{3, 2, 2}}},
    MessageField{eQbt2Column::Outer, {{3, 4, 2}}},
    MessageField{eQbt2Column::Sdomain, {{3, 6, 2}}},
    MessageField{eQbt2Column::Qos, {{3, 8, 3}}},
    MessageField{eQbt2Column::Secure, {{3, 11, 1}}},
    MessageField{eQbt2Column::Memtype, {{3, 12, 2}}},
    MessageField{eQbt2Column::Opcode, {{3, 14, 5}}},
    MessageField{eQbt2Column::Csband, {{3, 20, 8}}},
    MessageField{eQbt2Column::Flush, {}},
    MessageField{eQbt2Column::Epriority, {{3, 29, 3}}},
    MessageField{eQbt2Column::OrderId, {{4, 0, 4}}},
    MessageField{eQbt2Column::Msband, {{4, 4, 7}}},
    MessageField{eQbt2Column::Fwpass, {{4, 11, 2}}},
    MessageField{eQbt2Column::Pable, {{4, 13, 1}}},
    MessageField{eQbt2Column::VirtualId, {{4, 14, 12}}},
    MessageField{eQbt2Column::Asel, {{4, 26, 4}}},
    MessageField{eQbt2Column::Atype, {{4, 30, 2}}},
    MessageField{eQbt2Column::ChannelId, {{5, 0, 12}}},
};

/// The fields of the kind that has `kWords` words.
template <std::size_t kWords>
inline constexpr auto& kMessageFields = kThroughputFields;
template <>
inline constexpr auto& kMessageFields<kLatencyWords> = kLatencyFields;
template <>
inline constexpr auto& kMessageFields<kTransactionWords> = kTransactionFields;

/// The column that shows message word `word` as it came.
constexpr eQbt2Column RawWordColumn(std::size_t word) {
  return static_cast<eQbt2Column>(static_cast<std::size_t>(eQbt2Column::RawMsg0) + word);
}

/// Checks of the tables above, at compile time.
class LayoutCheck {
 public:
  /// Claims the bits of a value; false when they lie outside the message or are taken.
  constexpr bool Claim(const SplitValue& value, std::size_t wordCount) {
    return Claim(value.low, wordCount) && Claim(value.high, wordCount);
  }

 private:
  constexpr bool Claim(const BitRange& range, std::size_t wordCount) {
    if (range.word >= wordCount || range.lowestBit + range.width > 32) return false;
    const std::uint64_t bits = ((std::uint64_t{1} << range.width) - 1) << range.lowestBit;
    const bool isFree = (taken_[range.word] & bits) == 0;
    taken_[range.word] |= bits;
    return isFree;
  }

  std::array<std::uint64_t, kMaxMessageWords> taken_{};
};

/// Whether a kind's fields lie inside its words without overlap, have a width (but FLUSH), fit
/// their columns (but VIRTID, whose column is cut on purpose) and follow the catalogue's order.
consteval bool LayoutIsSound(std::span<const MessageField> fields, std::size_t wordCount,
                             const SplitValue& address) {
  LayoutCheck check;
  if (!check.Claim(address, wordCount)) return false;
  eQbt2Column expected = fields.front().column;
  for (const MessageField& field : fields) {
    const std::uint32_t width = std::uint32_t{field.value.low.width} + field.value.high.width;
    const bool hasWidth = width > 0 || field.column == eQbt2Column::Flush;
    const bool fits =
        width <= ColumnInfo(field.column).dataSize * 8 || field.column == eQbt2Column::VirtualId;
    if (!hasWidth || !fits || field.column != expected || !check.Claim(field.value, wordCount)) {
      return false;
    }
    expected = static_cast<eQbt2Column>(static_cast<int>(expected) + 1);
  }
  return true;
}
static_assert(LayoutIsSound(kThroughputFields, kThroughputWords, {}));
static_assert(LayoutIsSound(kLatencyFields, kLatencyWords, {}));
static_assert(LayoutIsSound(kTransactionFields, kTransactionWords, kTransactionAddress));
static_assert(kTransactionFields.size() == 31);
