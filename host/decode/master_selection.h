#pragma once

#include <bitset>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/rows/named_master.h"

/// Masters as a user names them. Pure functions, any thread.
namespace qbt2 {

/// One text of a selection and the full STP ids that it stands for.
struct MasterChoice {
  std::string text;
  std::vector<std::pair<std::uint16_t, std::uint16_t>> ranges;  ///< first and last id

  /// Whether any of its ids is in the set.
  bool is_in(const std::bitset<65536>& masters) const;
};

/// Each text is a name of `named`, or a list of names, ids (decimal, or hexadecimal after 0x) and
/// ranges of ids, separated by commas: "DMA1", "7", "1,5,0x12", "16-31". An exact name goes first,
/// also where it looks like something else; it stands for all masters of that name. Throws
/// Error(kUsage) for what is none of these, with the nearest name.
std::vector<MasterChoice> select_masters(const std::vector<std::string>& texts,
                                         const std::vector<NamedMaster>& named);

/// All ids of the choices, in rising order.
std::vector<std::uint16_t> ids_of(const std::vector<MasterChoice>& choices);

}  // namespace qbt2
