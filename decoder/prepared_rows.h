#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "decoder/column_catalogue.h"
#include "decoder/message_layout.h"
#include "decoder/probe_data.h"
#include "decoder/record_values.h"

/// The quick road from a sample to its row, byte for byte the row of the checked writers.
///
/// Of a row, only the values differ from one message to the next. Its head (probe, name, type,
/// description) is the probe's and is laid out when the use case is loaded; its tail (column
/// positions and the end marker) is laid out when the columns are numbered. A well-formed message
/// whose row is certain to fit is then two copies and the values patched in, without allocation.
/// Everything else (damage, small outputs, unusual names) is refused here and left to the checked
/// road, which alone logs and throws. Belongs to one decoder unit, whose thread uses it.

/// Bytes of a row behind its head, for a kind of `kWords` words: where each value stands.
template <std::size_t kWords>
struct RowTail {
  static constexpr auto& kFields = kMessageFields<kWords>;
  static constexpr bool kHasAverage = kWords == kThroughputWords;
  static constexpr bool kHasAddress = kWords == kTransactionWords;
  static constexpr std::size_t kAddressFieldBytes =
      kHasAddress ? RecordFormat::kPositionBytes + RecordFormat::kAddressBytes : 0;
  static constexpr std::size_t kValues = kFields.size() + (kHasAverage ? 1 : 0) + kWords;

  /// The columns of a row in its order.
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

  /// Offset of each column's position byte in the tail; its value follows. Last: the end marker's.
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
  /// No probe is prepared: every row is refused.
  PreparedRows() noexcept;

  /// Takes over the columns' ids.
  void SetColumns(const DecoderColumns& columns) noexcept;
  /// Prepares the heads of all probe ids; an id without a record of its own gets the unknown one's.
  void SetProbes(const std::vector<Qbt2ProbeData_t>& probes);
  /// Refuses every row until SetProbes is called.
  void ForgetProbes() noexcept;

  /// Writes the row of the sample, whose header announces `payloadBytes`, and returns its size; 0,
  /// with nothing written, when it is left to the checked road.
  std::uint32_t Write(const std::uint8_t* sample, std::uint32_t payloadBytes,
                      std::uint32_t capacity, std::uint8_t* output) const noexcept;

 private:
  static constexpr std::size_t kKinds = 3;
  static constexpr std::size_t kProbeIds = 256;
  /// Heads are copied in steps of this many bytes; the tail then overwrites what was copied over.
  static constexpr std::size_t kCopyStep = 16;
  /// Longer heads are not worth the memory; their rows take the checked road.
  static constexpr std::size_t kLongestHead = 1024;
  /// A size that makes no row fit.
  static constexpr std::uint32_t kNoHead = 0xFFFFFFFF;

  /// Where the head of one probe and kind lies in `heads_`.
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
