#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// The search for ASYNC packets: 21 or more F nibbles and a 0. Positions are nibbles of `data`.
/// Pure functions; any thread.
namespace qbt2::detail {

inline constexpr std::size_t kNotFound = ~std::size_t{0};

/// The nibble after the first ASYNC that ends in data[at...], or kNotFound. `f_run` counts the F
/// nibbles before `at` and is updated for the next call, whose data follows.
std::size_t find_async_end(std::span<const std::uint8_t> data, std::size_t at,
                           std::uint64_t& f_run);

/// The first nibble from `at` on that is not F, or the end; adds the F nibbles to `f_run`.
std::size_t skip_f_run(std::span<const std::uint8_t> data, std::size_t at, std::uint64_t& f_run);

}  // namespace qbt2::detail
