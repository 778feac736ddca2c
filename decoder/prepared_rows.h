#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "decoder/column_catalogue.h"
#include "decoder/message_layout.h"
#include "decoder/probe_data.h"
#include "decoder/record_values.h"

/// The fast path from a sample to its row, which is byte for byte that of the checked writers.
///
/// From one message to the next only the values of a row change. Its head (probe, name, type,
/// description) is prepared for each probe when the use case is loaded, its tail (column positions
/// and the end marker) when the columns are numbered. The row of a well-formed message that is sure
/// to fit is then two copies and the values stored into them, without allocation. Everything else
/// (damage, small outputs, unusual names) is left to the checked path, which alone logs and throws.
/// Belongs to one decoder unit and its thread.

/// The bytes of a row after its head, for a message of `kWords` words, and the places of its
/// values.
template <std::size_t kWords>
struct RowTail {
  static constexpr auto& kFields = kMessageFields<kWords>;
  static constexpr bool kHasAverage = kWords == kThroughputWords;
  static constexpr bool kHasAddress = kWords == kTransactionWords;
  static constexpr std::size_t kAddressFieldBytes =
      kHasAddress ? RecordFormat::kPositionBytes + RecordFormat::kAddressBytes : 0;
  static constexpr std::size_t kValues = kFields.size() + (kHasAverage ? 1 : 0) + kWords;

  /// The columns in the order of the row.
  static constexpr std::array<eQbt2Column, kValues> kColumns = [] {
    std::array<eQbt2Column, kValues> columns{};
    std::size_t next = 0;
    for (const MessageField& field : kFields) {
      columns[next++] = field.column;
    }
    if (kHasAverage) columns[next++] = eQbt2Column::AvgLength;
    for (std::size_t word = 0; word < kWords; ++word) {
      columns[next++] = RawWordColumn(word);
    }
    return columns;
  }();

  /// Offset in the tail of each column's position byte, which its value follows; last, that of the
  /// end marker.
  static constexpr std::array<std::size_t, kValues + 1> kOffsets = [] {
    std::array<std::size_t, kValues + 1> offsets{kAddressFieldBytes};
    for (std::size_t k = 0; k < kValues; ++k) {
      offsets[k + 1] = offsets[k] + RecordFormat::kPositionBytes + ColumnInfo(kColumns[k]).dataSize;
    }
    return offsets;
  }();

  static constexpr std::size_t kBytes = kOffsets[kValues] + 1;

  std::array<std::uint8_t, kBytes> bytes{};
};

class PreparedRows {
 public:
  /// Without probes: Write refuses every sample.
  PreparedRows() noexcept;

  /// Prepares the tails with the ids of the columns.
  void SetColumns(const DecoderColumns& columns) noexcept;
  /// Prepares a head for each probe id; an id without a record gets that of an unknown probe.
  void SetProbes(const std::vector<Qbt2ProbeData_t>& probes);
  /// Write refuses every sample until SetProbes is called.
  void ClearProbes() noexcept;
  /// The same, and frees the memory of the heads.
  void Free() noexcept;

  /// Writes the row of a sample with `payloadBytes` of payload and returns its size in bytes; 0,
  /// with nothing written, when the sample is left to the checked path.
  std::uint32_t Write(const std::uint8_t* sample, std::uint32_t payloadBytes,
                      std::uint32_t capacity, std::uint8_t* output) const noexcept;

 private:
  static constexpr std::size_t kKinds = 3;
  static constexpr std::size_t kProbeIds = 256;
  /// Heads are copied in steps of this many bytes; the tail overwrites what was copied too much.
  static constexpr std::size_t kCopyStep = 16;
  /// Longer master names are not worth the memory; their rows take the checked path.
  static constexpr std::size_t kLongestName = 1024;
  /// A size with which no row fits.
  static constexpr std::uint32_t kNoHead = 0xFFFFFFFF;

  /// The place in `heads_` of the head of one probe and kind.
  struct Head {
    std::uint32_t offset = 0;
    std::uint32_t size = kNoHead;
  };
  using ProbeHeads = std::array<Head, kKinds>;

  template <std::size_t kWords>
  std::uint32_t WriteKind(const std::uint8_t* sample, std::uint32_t capacity,
                          std::uint8_t* output) const noexcept;
  ProbeHeads AppendHeads(const Qbt2ProbeData_t& probe);
  Head AppendHead(const Qbt2ProbeData_t& probe, const std::string& description);

  template <std::size_t kWords>
  [[nodiscard]] const RowTail<kWords>& Tail() const noexcept;

  RowTail<kThroughputWords> throughputTail_;
  RowTail<kLatencyWords> latencyTail_;
  RowTail<kTransactionWords> transactionTail_;
  std::array<ProbeHeads, kProbeIds> headsOfProbe_;
  std::vector<std::uint8_t> heads_;
};
