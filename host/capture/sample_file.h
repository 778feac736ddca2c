#pragma once

#include <bitset>
#include <cstdint>
#include <span>

#include <vector>

#include "host/capture/capture_reader.h"

/// Sample files: the plug-in's samples back to back, each one's length following from its header.
namespace qbt2 {

/// A sample's payload is five bytes a word; a file whose header claims more than this is damaged.
inline constexpr std::uint32_t kLargestSamplePayload = std::uint32_t{1} << 20;

/// Whether the bytes read as whole, well-formed samples from the first byte on.
bool looks_like_samples(std::span<const std::uint8_t> first_bytes);

class SampleFileReader : public CaptureReader {
 public:
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
  /// A sample knows only the low 8 bits of its master, so no larger id can be wanted.
  std::bitset<256> wanted_masters_;
  CaptureCounts counts_;
  std::vector<std::uint8_t> pending_;  // read and not yet handed out
  std::uint64_t pending_offset_ = 0;   // of pending_[0] in the input
  bool ended_ = false;
};

}  // namespace qbt2
