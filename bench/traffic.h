#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/capture/sample_batch.h"
#include "host/decode/decoder_library.h"
#include "host/decode/decoder_setup.h"
#include "host/generate/capture_generator.h"
#include "host/rows/row_batch.h"

/// What the benchmarks run on: synthetic captures in memory, the samples of their messages, and a
/// decoder unit with the settings that belong to them. One thread.
namespace qbt2::bench {

/// A capture without damage, and its messages as the plug-in's samples.
struct Traffic {
  std::vector<std::uint8_t> stream;  ///< STP
  SampleBatch samples;
  std::string settings;

  std::uint8_t* sample(std::size_t index) {
    return samples.bytes.data() + samples.heads[index].begin;
  }
};

inline constexpr TrafficMix kThroughputOnly{1, 0, 0};
inline constexpr TrafficMix kLatencyOnly{0, 1, 0};
inline constexpr TrafficMix kTransactionsOnly{0, 0, 1};

/// `messages` messages of the generator's first seed.
Traffic make_traffic(const TrafficMix& mix, std::uint64_t messages);

/// A decoder unit that has loaded settings: names, windows and masters of the traffic.
class LoadedUnit {
 public:
  explicit LoadedUnit(const std::string& settings);

  Kz::Dvt::Trace::CDecoderUnitIF& operator*() const { return *unit_; }
  Kz::Dvt::Trace::CDecoderUnitIF* operator->() const { return unit_.get(); }
  const ColumnCatalogue& catalogue() const { return catalogue_; }

 private:
  std::unique_ptr<DecoderSetup> setup_;
  DecoderLibrary::Unit unit_;
  ColumnCatalogue catalogue_;
};

/// Room for a row of any message in these settings.
inline constexpr std::uint32_t kRowBytes = 4096;

/// One record stream a sample, as the unit writes them.
std::vector<std::vector<std::uint8_t>> make_rows(const LoadedUnit& unit, Traffic& traffic);

}  // namespace qbt2::bench
