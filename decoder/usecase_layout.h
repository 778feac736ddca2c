#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "decoder/bit_range.h"
#include "decoder/probe_data.h"
#include "interfaces/device_config_manager_if.h"

/// The layout of a use-case line: its tokens, and the bits of the filter registers among them.
///
/// The line is text, 15 tokens separated by ";": the master's name, six numbers, and the registers
/// A to D of filter 0 and of filter 1. Constant data and pure functions; any thread may use them.

inline constexpr std::size_t kFirstRegisterToken = 7;
inline constexpr std::size_t kFilterCount = 2;

enum eFilterRegister : std::uint8_t { kRegisterA, kRegisterB, kRegisterC, kRegisterD };
inline constexpr std::size_t kRegisterCount = 4;
static_assert(kFirstRegisterToken + kFilterCount * kRegisterCount ==
              Kz::Dvt::Trace::kUseCaseFields);

/// Stores a token's value, cut to the member's width.
template <auto Member>
void StoreToken(Qbt2ProbeData_t& record, unsigned long value) {
  record.*Member = static_cast<std::remove_reference_t<decltype(record.*Member)>>(value);
}

/// Token 3 has a halfword and, in bit 31, a flag.
inline void StoreToken3(Qbt2ProbeData_t& record, unsigned long value) {
  record.usecaseHalfWord3 = static_cast<std::uint16_t>(value);
  record.usecaseFlag3 = ((value >> 31) & 1) != 0;
}

/// Storing functions of tokens 1 to 6.
inline constexpr std::array<void (*)(Qbt2ProbeData_t&, unsigned long), kFirstRegisterToken - 1>
    kTokenStores{
        &StoreToken<&Qbt2ProbeData_t::usecaseWord1>,
        &StoreToken<&Qbt2ProbeData_t::samplingPeriod>,
        &StoreToken3,
        &StoreToken<&Qbt2ProbeData_t::usecaseWord4>,
        &StoreToken<&Qbt2ProbeData_t::usecaseHalfWord5>,
        &StoreToken<&Qbt2ProbeData_t::usecaseWord6>,
    };

/// One qualifier of a filter: its bits in the registers, and the member that stores them.
struct FilterField {
  BitRange bits;
  std::size_t memberBits;
  void (*store)(Qbt2ProbeData_t& record, std::size_t filter, std::uint32_t value);
};

template <auto Member>
void StoreFilter(Qbt2ProbeData_t& record, std::size_t filter, std::uint32_t value) {
  auto& slot = (record.*Member)[filter];
  slot = static_cast<std::remove_reference_t<decltype(slot)>>(value);
}

template <auto Member>
consteval FilterField Field(eFilterRegister source, std::uint8_t lowestBit, std::uint8_t width) {
  using Value = typename std::remove_reference_t<decltype(Qbt2ProbeData_t{}.*Member)>::value_type;
  return {{source, lowestBit, width}, std::numeric_limits<Value>::digits, &StoreFilter<Member>};
}

/// The low 14 bits of register C have the layout of word 3 of a transaction message, the fields of
/// register B that of word 2. Bits without a row are unused.
inline constexpr std::array kFilterFields{
    Field<&Qbt2ProbeData_t::filterA28>(kRegisterA, 28, 1),
    Field<&Qbt2ProbeData_t::filterA19_16>(kRegisterA, 16, 4),
    Field<&Qbt2ProbeData_t::filterA15>(kRegisterA, 15, 1),
    Field<&Qbt2ProbeData_t::filterA14>(kRegisterA, 14, 1),
    Field<&Qbt2ProbeData_t::filterA13_12>(kRegisterA, 12, 2),
    Field<&Qbt2ProbeData_t::filterA11_0>(kRegisterA, 0, 12),
    Field<&Qbt2ProbeData_t::filterB31_28>(kRegisterB, 28, 4),
    Field<&Qbt2ProbeData_t::filterB27_26>(kRegisterB, 26, 2),
    Field<&Qbt2ProbeData_t::filterB20_19>(kRegisterB, 19, 2),
    Field<&Qbt2ProbeData_t::filterB18_16>(kRegisterB, 16, 3),
    Field<&Qbt2ProbeData_t::filterB15_13>(kRegisterB, 13, 3),
    Field<&Qbt2ProbeData_t::filterB12_10>(kRegisterB, 10, 3),
    Field<&Qbt2ProbeData_t::filterB9_0>(kRegisterB, 0, 10),
    Field<&Qbt2ProbeData_t::filterC31_27>(kRegisterC, 27, 5),
    Field<&Qbt2ProbeData_t::filterC25_20>(kRegisterC, 20, 6),
    Field<&Qbt2ProbeData_t::filterC13_12>(kRegisterC, 12, 2),
    Field<&Qbt2ProbeData_t::filterC11>(kRegisterC, 11, 1),
    Field<&Qbt2ProbeData_t::filterC10_8>(kRegisterC, 8, 3),
    Field<&Qbt2ProbeData_t::filterC7_6>(kRegisterC, 6, 2),
    Field<&Qbt2ProbeData_t::filterC5_4>(kRegisterC, 4, 2),
    Field<&Qbt2ProbeData_t::filterC3_2>(kRegisterC, 2, 2),
    Field<&Qbt2ProbeData_t::filterC1>(kRegisterC, 1, 1),
    Field<&Qbt2ProbeData_t::filterC0>(kRegisterC, 0, 1),
    Field<&Qbt2ProbeData_t::filterD27_26>(kRegisterD, 26, 2),
    Field<&Qbt2ProbeData_t::filterD25_22>(kRegisterD, 22, 4),
    Field<&Qbt2ProbeData_t::filterD21_20>(kRegisterD, 20, 2),
    Field<&Qbt2ProbeData_t::filterD19_12>(kRegisterD, 12, 8),
    Field<&Qbt2ProbeData_t::filterD11_0>(kRegisterD, 0, 12),
};

/// Bits of register A that are stored from bit `targetBit` of `filterAPacked` up.
struct PackedRange {
  BitRange bits;
  std::uint8_t targetBit;
};

inline constexpr std::array kPackedRanges{
    PackedRange{{kRegisterA, 22, 2}, 0},
    PackedRange{{kRegisterA, 25, 3}, 4},
    PackedRange{{kRegisterA, 29, 3}, 10},
};

consteval bool FilterLayoutIsSound() {
  std::array<std::uint64_t, kRegisterCount> taken{};
  for (const FilterField& field : kFilterFields) {
    const BitRange& bits = field.bits;
    if (bits.width == 0 || bits.width > field.memberBits ||
        !ClaimBits(taken.at(bits.word), bits.lowestBit, bits.width)) {
      return false;
    }
  }
  std::uint64_t packed = 0;
  for (const PackedRange& range : kPackedRanges) {
    const BitRange& bits = range.bits;
    if (!ClaimBits(taken.at(bits.word), bits.lowestBit, bits.width) ||
        !ClaimBits(packed, range.targetBit, bits.width)) {
      return false;
    }
  }
  return packed < (std::uint64_t{1} << 16);
}
static_assert(FilterLayoutIsSound());
