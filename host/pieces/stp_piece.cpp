#include "host/pieces/stp_piece.h"

#include <algorithm>

namespace qbt2 {

void StpPiece::exchange_beginning(SampleBatch& samples) {
  const auto moved = static_cast<std::uint32_t>(samples.bytes.size());
  for (SampleHead& head : beginning.heads) head.begin += moved;
  samples.bytes.append({beginning.bytes.data(), beginning.bytes.size()});
  const std::size_t same = std::min(replaced, beginning.heads.size());
  const auto rest = samples.heads.begin() + static_cast<std::ptrdiff_t>(same);
  std::copy_n(beginning.heads.begin(), same, samples.heads.begin());
  if (replaced > same) {
    samples.heads.erase(rest, rest + static_cast<std::ptrdiff_t>(replaced - same));
  } else {
    samples.heads.insert(rest, beginning.heads.begin() + static_cast<std::ptrdiff_t>(same),
                         beginning.heads.end());
  }
  beginning.clear();
  replaced = 0;
}

}  // namespace qbt2
