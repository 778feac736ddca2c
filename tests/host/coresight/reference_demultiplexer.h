#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <ostream>
#include <span>
#include <utility>
#include <vector>

/// A slow frame demultiplexer that has the whole input in memory and shares no code with
/// FrameDemultiplexer, which has to deliver and count the same for chunks of any size.
namespace qbt2::test {

/// A byte of a trace source and where in the input it is.
struct PlacedByte {
  std::uint8_t byte;
  std::uint64_t input_offset;

  friend bool operator==(const PlacedByte&, const PlacedByte&) = default;
  friend std::ostream& operator<<(std::ostream& out, const PlacedByte& placed) {
    return out << int{placed.byte} << '@' << placed.input_offset;
  }
};

class ReferenceDemultiplexer {
 public:
  explicit ReferenceDemultiplexer(std::span<const std::uint8_t> input) {
    bool continuous = false;
    std::vector<PlacedByte> frame;
    for (std::size_t at = 0; at < input.size(); ++at) {
      frame.push_back({input[at], at});
      if (ends_with(input.first(at + 1), {0xFF, 0xFF, 0xFF, 0x7F})) {
        if (frame.size() != 4) ++frames_cut;
        frame.clear();
        continuous = true;
      } else if (frame.size() % 2 == 0 && (frame.size() == 2 || continuous) &&
                 ends_with(input.first(at + 1), {0xFF, 0x7F})) {
        frame.resize(frame.size() - 2);
      } else if (frame.size() == 16) {
        read_frame(frame);
        frame.clear();
      }
    }
  }

  static constexpr int kUnknown = -1;  ///< the source before the first ID

  std::map<int, std::vector<PlacedByte>> sources;  ///< by ID, with the null and reserved ones
  std::uint64_t frames_cut = 0;
  std::uint64_t id_changes = 0;
  std::uint64_t reserved_id_changes = 0;

 private:
  static bool ends_with(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t> end) {
    return bytes.size() >= end.size() &&
           std::equal(end.begin(), end.end(),
                      bytes.end() - static_cast<std::ptrdiff_t>(end.size()));
  }

  void read_frame(const std::vector<PlacedByte>& frame) {
    std::map<std::size_t, int> id_from;  // the place from which on an ID holds
    std::vector<std::pair<std::size_t, PlacedByte>> data;
    for (std::size_t place = 0; place < 15; ++place) {
      PlacedByte placed = frame[place];
      if (place % 2 == 0) {
        const bool flag = (frame[15].byte & 1U << place / 2) != 0;
        if (placed.byte % 2 == 1) {
          const int id = placed.byte / 2;
          id_from[flag ? place + 2 : place + 1] = id;
          ++id_changes;
          if (id >= 0x70) ++reserved_id_changes;
          continue;
        }
        if (flag) ++placed.byte;
      }
      data.emplace_back(place, placed);
    }
    for (const auto& [place, placed] : data) {
      const auto after = id_from.upper_bound(place);
      sources[after == id_from.begin() ? current_ : std::prev(after)->second].push_back(placed);
    }
    if (!id_from.empty()) current_ = std::prev(id_from.end())->second;
  }

  int current_ = kUnknown;
};

}  // namespace qbt2::test
