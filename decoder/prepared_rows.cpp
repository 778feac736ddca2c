#include "decoder/prepared_rows.h"

#include <bit>
#include <bitset>
#include <cstring>
#include <string>
#include <utility>

#include "decoder/message_words.h"
#include "decoder/record_values.h"
#include "decoder/row_texts.h"

namespace {

static_assert(std::endian::native == std::endian::little,
              "values are stored in the byte order of memory");

template <std::size_t kBytes>
void StoreLittleEndian(std::uint8_t* target, std::uint64_t value) {
  std::memcpy(target, &value, kBytes);
}

/// The value of the `kIndex`th column of a row.
template <std::size_t kWords, std::size_t kIndex>
std::uint64_t RowValue(const std::uint32_t* words) {
  using Tail = RowTail<kWords>;
  constexpr eQbt2Column kColumn = Tail::kColumns[kIndex];
  if constexpr (kIndex < Tail::kFields.size()) {
    // A constant, so that shifts and masks become immediate operands.
    constexpr SplitValue kValue = Tail::kFields[kIndex].value;
    return Extract(words, kValue);
  } else if constexpr (kColumn == eQbt2Column::AvgLength) {
    return AverageLength(words);
  } else {
    return words[static_cast<std::size_t>(kColumn) - static_cast<std::size_t>(RawWordColumn(0))];
  }
}

template <std::size_t kWords, std::size_t kIndex>
void StoreValue(std::uint8_t* tail, const std::uint32_t* words) {
  using Tail = RowTail<kWords>;
  constexpr std::size_t kSize = ColumnInfo(Tail::kColumns[kIndex]).dataSize;
  StoreLittleEndian<kSize>(tail + Tail::kOffsets[kIndex] + RecordFormat::kPositionBytes,
                           RowValue<kWords, kIndex>(words));
}

/// Stores all values of a row; the loop is unrolled at compile time.
template <std::size_t kWords, std::size_t... kIndex>
void StoreValues(std::uint8_t* tail, const std::uint32_t* words,
                 std::index_sequence<kIndex...> /*unused*/) {
  (StoreValue<kWords, kIndex>(tail, words), ...);
}

template <std::size_t kWords>
void LayOutTail(const DecoderColumns& columns, RowTail<kWords>& tail) {
  using Tail = RowTail<kWords>;
  if (Tail::kHasAddress) tail.bytes.front() = RecordFormat::kAddressPosition;
  for (std::size_t k = 0; k < Tail::kValues; ++k) {
    const DecoderColumn& column = columns[static_cast<std::size_t>(Tail::kColumns[k])];
    tail.bytes[Tail::kOffsets[k]] = static_cast<std::uint8_t>(column.columnId);
  }
  tail.bytes.back() = ROW_END_MARKER;
}

void AppendText(std::vector<std::uint8_t>& bytes, std::uint8_t position, const std::string& text) {
  bytes.push_back(position);
  for (std::size_t shift = 0; shift < 32; shift += 8) {
    bytes.push_back(static_cast<std::uint8_t>(text.size() >> shift));
  }
  bytes.insert(bytes.end(), text.begin(), text.end());
}

/// Whether all length bytes are right.
template <std::size_t kWords>
bool IsWellFormed(const std::uint8_t* sample) {
  bool good = true;
  for (std::size_t word = 0; word < kWords; ++word) {
    good &= sample[SampleFormat::SampleBytes(word)] == SampleFormat::kWordLength;
  }
  return good;
}

}  // namespace

template <>
const RowTail<kThroughputWords>& PreparedRows::Tail() const noexcept {
  return throughputTail_;
}
template <>
const RowTail<kLatencyWords>& PreparedRows::Tail() const noexcept {
  return latencyTail_;
}
template <>
const RowTail<kTransactionWords>& PreparedRows::Tail() const noexcept {
  return transactionTail_;
}

PreparedRows::PreparedRows() noexcept {
  ClearProbes();
}

void PreparedRows::SetColumns(const DecoderColumns& columns) noexcept {
  LayOutTail(columns, throughputTail_);
  LayOutTail(columns, latencyTail_);
  LayOutTail(columns, transactionTail_);
}

void PreparedRows::ClearProbes() noexcept {
  headsOfProbe_.fill(ProbeHeads{});
}

void PreparedRows::Free() noexcept {
  ClearProbes();
  std::vector<std::uint8_t>().swap(heads_);
}

void PreparedRows::SetProbes(const std::vector<Qbt2ProbeData_t>& probes) {
  ClearProbes();
  heads_.clear();
  const ProbeHeads unknown = AppendHeads(Qbt2ProbeData_t{});
  std::array<ProbeHeads, kProbeIds> heads;
  heads.fill(unknown);
  std::bitset<kProbeIds> seen;
  for (const Qbt2ProbeData_t& probe : probes) {
    // The first record of an id counts, even one without a usable line.
    if (!seen.test(probe.probeId)) {
      seen.set(probe.probeId);
      heads[probe.probeId] = probe.recordFound ? AppendHeads(probe) : unknown;
    }
  }
  heads_.resize(heads_.size() + kCopyStep);  // the last head is also read in whole steps
  headsOfProbe_ = heads;
}

PreparedRows::ProbeHeads PreparedRows::AppendHeads(const Qbt2ProbeData_t& probe) {
  const std::string period = HexDigits(probe.samplingPeriod);
  return {AppendHead(probe, StatisticsDescription("Throughput", probe, period)),
          AppendHead(probe, StatisticsDescription("Latency", probe, period)),
          AppendHead(probe, kTransactionDescription)};
}

// The checked writers cut a name with a zero byte there and leave the output's bytes after it as
// they were, which cannot be prepared.
PreparedRows::Head PreparedRows::AppendHead(const Qbt2ProbeData_t& probe,
                                            const std::string& description) {
  const std::string master = probe.recordFound ? probe.probeName : RecordFormat::kUnknownMaster;
  if (master.size() > kLongestName || master.find('\0') != std::string::npos) {
    return {};
  }
  const std::size_t offset = heads_.size();
  heads_.insert(heads_.end(), {RecordFormat::kProbePosition, probe.probeId});
  AppendText(heads_, RecordFormat::kMasterPosition, master);
  AppendText(heads_, RecordFormat::kTypePosition, RecordFormat::kTypeText);
  AppendText(heads_, RecordFormat::kDescriptionPosition, description);
  return {static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(heads_.size() - offset)};
}

std::uint32_t PreparedRows::Write(const std::uint8_t* sample, std::uint32_t payloadBytes,
                                  std::uint32_t capacity, std::uint8_t* output) const noexcept {
  switch (payloadBytes) {
    case kThroughputWords* SampleFormat::kPairBytes:
      return WriteKind<kThroughputWords>(sample, capacity, output);
    case kLatencyWords* SampleFormat::kPairBytes:
      return WriteKind<kLatencyWords>(sample, capacity, output);
    case kTransactionWords* SampleFormat::kPairBytes:
      return WriteKind<kTransactionWords>(sample, capacity, output);
    default:
      return 0;
  }
}

template <std::size_t kWords>
std::uint32_t PreparedRows::WriteKind(const std::uint8_t* sample, std::uint32_t capacity,
                                      std::uint8_t* output) const noexcept {
  using Tail = RowTail<kWords>;
  static_assert(Tail::kBytes >= kCopyStep, "the tail covers what a head's last step copies over");
  const std::uint8_t probeId = sample[SampleFormat::kProbeIdOffset];
  const Head head = headsOfProbe_[probeId][kWords / 2 - 1];
  const std::uint64_t rowBytes = std::uint64_t{head.size} + Tail::kBytes;
  if (rowBytes > capacity || capacity < RecordFormat::kLowCapacity ||
      !IsWellFormed<kWords>(sample)) {
    return 0;
  }
  std::array<std::uint32_t, kWords> words;
  for (std::size_t word = 0; word < kWords; ++word) {
    words[word] = LoadLittleEndian32(sample + SampleFormat::SampleBytes(word) + 1);
  }
  const std::uint8_t* source = heads_.data() + head.offset;
  for (std::size_t copied = 0; copied < head.size; copied += kCopyStep) {
    std::memcpy(output + copied, source + copied, kCopyStep);
  }
  output[1] = probeId;
  std::uint8_t* tail = output + head.size;
  std::memcpy(tail, this->Tail<kWords>().bytes.data(), Tail::kBytes);
  if constexpr (Tail::kHasAddress) {
    StoreLittleEndian<RecordFormat::kAddressBytes>(tail + RecordFormat::kPositionBytes,
                                                   Extract(words.data(), kTransactionAddress));
  }
  StoreValues<kWords>(tail, words.data(), std::make_index_sequence<Tail::kValues>{});
  return static_cast<std::uint32_t>(rowBytes);
}
