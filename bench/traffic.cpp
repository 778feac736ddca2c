#include "bench/traffic.h"

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace qbt2::bench {
namespace {

// The decoder may read a whole word behind a sample's last length byte.
constexpr std::size_t kSlackBytes = 8;

void append_sample(SampleBatch& batch, const GeneratedMessage& message) {
  SampleHead head;
  head.offset = message.offset;
  head.timestamp = message.timestamp.value_or(0);
  head.has_timestamp = message.timestamp.has_value();
  head.master = message.master;
  head.begin = static_cast<std::uint32_t>(batch.bytes.size());
  head.size =
      static_cast<std::uint32_t>(kSampleHeaderBytes + kSampleWordBytes * message.words.count);
  batch.bytes.resize(head.begin + head.size);
  std::uint8_t* at = batch.bytes.data() + head.begin;
  at[1] = static_cast<std::uint8_t>(message.master);
  at[4] = static_cast<std::uint8_t>(head.size - kSampleHeaderBytes);
  at += kSampleHeaderBytes;
  for (const std::uint32_t word : message.words.view()) {
    *at = sizeof word;
    std::memcpy(at + 1, &word, sizeof word);
    at += kSampleWordBytes;
  }
  batch.heads.push_back(head);
}

/// A file that goes with its object: settings are loaded from files only.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& text)
      : path_(std::filesystem::temp_directory_path() /
              ("qbt2-bench-" + std::to_string(::getpid()) + ".cfg")) {
    std::ofstream file(path_);
    file << text;
    if (!file.flush()) throw std::runtime_error("cannot write " + path_.string());
  }
  ~TemporaryFile() { std::filesystem::remove(path_); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace

Traffic make_traffic(const TrafficMix& mix, std::uint64_t messages) {
  GeneratorOptions options;
  options.traffic.mix = mix;
  options.messages = messages;
  CaptureGenerator generator(options);
  Traffic traffic;
  traffic.settings = generator.settings();
  generator.run(
      [&](std::span<const std::uint8_t> piece) {
        traffic.stream.insert(traffic.stream.end(), piece.begin(), piece.end());
      },
      [&](const GeneratedMessage& message) { append_sample(traffic.samples, message); });
  traffic.samples.bytes.resize(traffic.samples.bytes.size() + kSlackBytes);
  return traffic;
}

LoadedUnit::LoadedUnit(const std::string& settings) {
  const TemporaryFile file(settings);
  setup_ = std::make_unique<DecoderSetup>(file.path(), "");
  unit_ = DecoderLibrary().create_unit();
  catalogue_ = read_catalogue(*unit_);
  setup_->apply(*unit_);
}

std::vector<std::vector<std::uint8_t>> make_rows(const LoadedUnit& unit, Traffic& traffic) {
  std::vector<std::vector<std::uint8_t>> rows;
  std::vector<std::uint8_t> output(kRowBytes);
  for (std::size_t i = 0; i < traffic.samples.heads.size(); ++i) {
    std::uint32_t produced = 0;
    unit->ProcessSamples(0, traffic.sample(i), kRowBytes, output.data(), produced);
    rows.emplace_back(output.begin(), output.begin() + produced);
  }
  return rows;
}

}  // namespace qbt2::bench
