#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Many numbers in one line of a message. Pure functions, any thread.
namespace qbt2 {

/// Numbers in rising order, consecutive ones joined: "3, 7-19, 40"; after the first 20 ranges how
/// many numbers are left: "..., 90 and 312 more".
std::string ranges_text(const std::vector<std::uint32_t>& numbers);

/// "master 3" or "masters 3, 7-19, 40"; at least one.
std::string masters_text(const std::vector<std::uint32_t>& masters);

}  // namespace qbt2
