#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "decoder/bit_range.h"
#include "decoder/column_catalogue.h"
#include "interfaces/sample_format.h"

/// The fields of a bus tracer's message: one constant table for each message kind.
///
/// The kind is the number of 32-bit words and nothing else. This header alone knows the words, bits
/// and widths of the fields. Constant data and pure functions: any thread may use them.

using Kz::Dvt::Trace::SampleFormat::kLatencyWords;
using Kz::Dvt::Trace::SampleFormat::kMostWords;
using Kz::Dvt::Trace::SampleFormat::kThroughputWords;
using Kz::Dvt::Trace::SampleFormat::kTransactionWords;

/// A value of a message: the bits of `low`, then those of `high` where it straddles two words.
struct SplitValue {
  BitRange low;
  BitRange high{};
};

/// A value and the column that shows it.
struct MessageField {
  eQbt2Column column;
  SplitValue value;
};

constexpr std::uint64_t Extract(const std::uint32_t* words, const SplitValue& value) {
  return Extract(words, value.low) | (Extract(words, value.high) << value.low.width);
}

/// Bits 31 to 24 of word 1 are unused.
inline constexpr std::array kThroughputFields{
    MessageField{eQbt2Column::Bytes, {{0, 0, 32}}},
    MessageField{eQbt2Column::Matched, {{1, 0, 24}}},
};

/// Bytes per matched transaction of a throughput message, rounded down. Without a match there is no
/// average: it is then 0, so that the row is still written.
inline std::uint32_t AverageLength(const std::uint32_t* words) {
  const auto total = static_cast<std::uint32_t>(Extract(words, kThroughputFields[0].value));
  const auto matched = static_cast<std::uint32_t>(Extract(words, kThroughputFields[1].value));
  return matched == 0 ? 0 : total / matched;
}

/// The tracked count straddles words 0 and 1; bits 31 to 24 of word 3 are unused.
inline constexpr std::array kLatencyFields{
    MessageField{eQbt2Column::Tracked, {{0, 24, 8}, {1, 0, 16}}},
    MessageField{eQbt2Column::MatchedTransactions, {{0, 0, 24}}},
    MessageField{eQbt2Column::MaxWait, {{1, 16, 16}}},
    MessageField{eQbt2Column::TotalWait, {{2, 0, 32}}},
    MessageField{eQbt2Column::CreditWait, {{3, 0, 24}}},
};

/// A transaction's address, 48 bits; its position in the row is shared by all decoders.
inline constexpr SplitValue kTransactionAddress{{0, 0, 32}, {1, 0, 16}};

/// In catalogue order, which is the order in a row. Two widths deliberately differ from the range
/// in the column's description: OPCODE has 5 bits and MSBAND 7. FLUSH is always 0: no bit of the
/// message carries it.
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

/// The column of the raw message word `word`.
constexpr eQbt2Column RawWordColumn(std::size_t word) {
  return static_cast<eQbt2Column>(static_cast<std::size_t>(eQbt2Column::RawMsg0) + word);
}

/// Finds overlapping fields of a message, at compile time.
class LayoutCheck {
 public:
  /// Claims the bits of a value; false when they are outside the message or already claimed.
  constexpr bool Claim(const SplitValue& value, std::size_t wordCount) {
    return Claim(value.low, wordCount) && Claim(value.high, wordCount);
  }

 private:
  constexpr bool Claim(const BitRange& range, std::size_t wordCount) {
    return range.word < wordCount && ClaimBits(taken_[range.word], range.lowestBit, range.width);
  }

  std::array<std::uint64_t, kMostWords> taken_{};
};

/// Whether a kind's fields are inside its words, do not overlap, have a width (except FLUSH), fit
/// their columns (except VIRTID, which is deliberately cut) and follow the catalogue's order.
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
