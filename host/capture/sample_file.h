#pragma once

#include <bitset>
#include <cstdint>
#include <span>
#include <vector>

#include "host/capture/capture_reader.h"

/// Sample files: the plug-in's samples back to back. Each sample's length follows from its header.
namespace qbt2 {

/// A sample whose header gives a larger payload, in bytes, is damage.
inline constexpr std::uint32_t kLargestSamplePayload = std::uint32_t{1} << 20;

/// Whether `first_bytes` are well-formed samples from the first byte on; the last may be cut. Any
/// thread.
bool looks_like_samples(std::span<const std::uint8_t> first_bytes);

/// Nothing marks the next sample in the file, so damage ends it: the rest is only counted.
class SampleFileReader : public CaptureReader {
 public:
  /// `input` must outlive the reader.
  SampleFileReader(InputFile& input, const CaptureOptions& options);

  bool next(SampleBatch& batch) override;
  std::uint64_t position() const override { return counts_.bytes; }
  CaptureCounts counts() const override { return counts_; }

 private:
  std::size_t take_samples(SampleBatch& batch);
  static void take_sample(SampleBatch& batch, std::span<const std::uint8_t> sample,
                          std::uint64_t offset);
  void count_sample(std::span<const std::uint8_t> sample);
  void fail(std::string_view reason);

  InputFile& input_;
  CaptureOptions options_;
  /// By probe id: a sample has only the low 8 bits of its master, so a larger id matches nothing.
  std::bitset<256> wanted_masters_;
  CaptureCounts counts_;
  std::vector<std::uint8_t> pending_;  ///< read, not yet delivered
  std::uint64_t pending_offset_ = 0;   ///< of pending_[0] in the input
  bool ended_ = false;
};

}  // namespace qbt2
