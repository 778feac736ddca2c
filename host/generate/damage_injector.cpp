#include "host/generate/damage_injector.h"

#include <algorithm>

namespace qbt2 {
namespace {

constexpr std::uint32_t kMostLostBytes = 16;
constexpr std::uint32_t kMostForeignBytes = 64;
constexpr std::uint32_t kMostCutBytes = 4'096;

}  // namespace

DamageInjector::DamageInjector(std::uint32_t places, std::uint64_t seed)
    : places_(std::min(places, kMostDamagedPlaces)), random_(seed) {}

void DamageInjector::apply(std::vector<std::uint8_t>& bytes, std::uint64_t begin,
                           std::uint64_t done, std::uint64_t total) {
  const std::size_t first =
      begin < kUndamagedBytes ? static_cast<std::size_t>(kUndamagedBytes - begin) : 0;
  std::uint64_t due = places_;
  if (done < total) due = due * done / total;
  for (; places_done_ < due && first < bytes.size(); ++places_done_) damage_one(bytes, first);
}

void DamageInjector::damage_one(std::vector<std::uint8_t>& bytes, std::size_t first) {
  const std::size_t place = first + random_.below(static_cast<std::uint32_t>(bytes.size() - first));
  const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(place);
  const auto lose = [&](std::uint32_t count) {
    const std::size_t lost = std::min<std::size_t>(count, bytes.size() - place);
    bytes.erase(at, at + static_cast<std::ptrdiff_t>(lost));
  };
  switch (random_.below(4)) {
    case 0:
      *at = static_cast<std::uint8_t>(*at ^ 1U << random_.below(8));
      break;
    case 1:
      lose(1 + random_.below(kMostLostBytes));
      break;
    case 2: {
      std::vector<std::uint8_t> foreign(1 + random_.below(kMostForeignBytes));
      for (std::uint8_t& byte : foreign) byte = static_cast<std::uint8_t>(random_.below(256));
      bytes.insert(at, foreign.begin(), foreign.end());
      break;
    }
    default:
      lose(kMostLostBytes + random_.below(kMostCutBytes - kMostLostBytes));
      break;
  }
}

}  // namespace qbt2
