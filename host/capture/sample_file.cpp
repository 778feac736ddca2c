#include "host/capture/sample_file.h"

#include <algorithm>
#include <cstring>

#include "interfaces/sample_format.h"

namespace qbt2 {

namespace SampleFormat = Kz::Dvt::Trace::SampleFormat;

namespace {

std::uint32_t payload_bytes(std::span<const std::uint8_t> sample) {
  std::uint32_t value = 0;
  std::memcpy(&value, sample.data() + SampleFormat::kPayloadBytesOffset, sizeof value);
  return value;
}

bool is_well_formed(std::span<const std::uint8_t> payload) {
  if (payload.size() % SampleFormat::kPairBytes != 0) return false;
  for (std::size_t at = 0; at < payload.size(); at += SampleFormat::kPairBytes) {
    if (payload[at] != SampleFormat::kWordLength) return false;
  }
  return true;
}

}  // namespace

bool looks_like_samples(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kEnough = 64;  // so many in a row are not a coincidence
  std::size_t seen = 0;
  while (bytes.size() >= SampleFormat::kHeaderBytes && seen < kEnough) {
    const std::uint32_t payload = payload_bytes(bytes);
    if (payload == 0 || payload > kLongestMessageWords * SampleFormat::kPairBytes) return false;
    const std::size_t there =
        std::min<std::size_t>(payload, bytes.size() - SampleFormat::kHeaderBytes);
    // A sample that the end of `bytes` cuts is judged by its whole words.
    const std::size_t whole =
        there == payload ? there : there / SampleFormat::kPairBytes * SampleFormat::kPairBytes;
    if (!is_well_formed(bytes.subspan(SampleFormat::kHeaderBytes, whole))) return false;
    ++seen;
    if (there != payload) break;
    bytes = bytes.subspan(SampleFormat::kHeaderBytes + payload);
  }
  return seen != 0;
}

SampleFileReader::SampleFileReader(InputFile& input, const CaptureOptions& options)
    : input_(input), options_(options) {
  if (options.masters.empty()) wanted_masters_.set();
  for (const std::uint16_t master : options.masters) {
    if (master < wanted_masters_.size()) wanted_masters_.set(master);
  }
}

bool SampleFileReader::next(SampleBatch& batch) {
  if (ended_) return false;
  const std::size_t had = pending_.size();
  pending_.resize(had + kCapturePieceBytes);
  const std::size_t got = input_.read(std::span(pending_).subspan(had));
  pending_.resize(had + got);
  counts_.bytes += got;
  if (got == 0) {
    ended_ = true;
    if (!pending_.empty()) {
      fail("the last sample is cut short");
    } else if (report_if_cut(input_, options_.on_damage)) {
      ++counts_.damages;
    }
    return false;
  }
  const std::size_t taken = take_samples(batch);
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(taken));
  pending_offset_ += taken;
  return true;
}

/// Delivers the whole samples of pending_; returns their bytes.
std::size_t SampleFileReader::take_samples(SampleBatch& batch) {
  const std::span<const std::uint8_t> all(pending_);
  std::size_t at = 0;
  while (all.size() - at >= SampleFormat::kHeaderBytes) {
    const std::uint32_t payload = payload_bytes(all.subspan(at));
    if (payload > kLargestSamplePayload) {
      pending_offset_ += at;
      pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(at));
      fail("the sample header gives " + std::to_string(payload) +
           " payload bytes, more than any sample has; the rest of the file is skipped");
      return 0;
    }
    const std::size_t size = SampleFormat::kHeaderBytes + payload;
    if (all.size() - at < size) break;
    count_sample(all.subspan(at, size));
    if (wanted_masters_.test(all[at + SampleFormat::kProbeIdOffset])) {
      take_sample(batch, all.subspan(at, size), pending_offset_ + at);
    }
    at += size;
  }
  return at;
}

void SampleFileReader::take_sample(SampleBatch& batch, std::span<const std::uint8_t> sample,
                                   std::uint64_t offset) {
  SampleHead head;
  head.offset = offset;
  head.begin = static_cast<std::uint32_t>(batch.bytes.size());
  head.size = static_cast<std::uint32_t>(sample.size());
  head.master = sample[SampleFormat::kProbeIdOffset];
  batch.bytes.append(sample);
  batch.heads.push_back(head);
}

void SampleFileReader::count_sample(std::span<const std::uint8_t> sample) {
  const std::uint64_t words = payload_bytes(sample) / SampleFormat::kPairBytes;
  counts_.assembly.words += words;
  ++counts_.assembly.messages;
  counts_.assembly.masters.set(sample[SampleFormat::kProbeIdOffset]);
  ++counts_.assembly.messages_of_words[words];
}

/// Reports damage at pending_offset_ and counts the rest of the file as skipped.
void SampleFileReader::fail(std::string_view reason) {
  ended_ = true;
  ++counts_.damages;
  if (options_.on_damage) options_.on_damage(pending_offset_, reason);
  counts_.bytes_skipped += pending_.size();
  pending_.resize(kCapturePieceBytes);
  while (const std::size_t got = input_.read(pending_)) {
    counts_.bytes += got;
    counts_.bytes_skipped += got;
  }
  if (report_if_cut(input_, options_.on_damage)) ++counts_.damages;
}

}  // namespace qbt2
