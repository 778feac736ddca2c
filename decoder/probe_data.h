#pragma once

#include <array>
#include <cstdint>
#include <string>

/// How one bus tracer was programmed, according to its use-case line.
///
/// A plain value; copies are independent. Fields named after a register (A to D) hold the named
/// bits of that filter register, shifted down to bit 0.
struct Qbt2ProbeData_t {
  /// One value for each of the tracer's two filters.
  template <typename T>
  using FilterPair = std::array<T, 2>;

  std::uint8_t probeId = 0;  ///< master id, cut to 8 bits
  std::string probeName;     ///< master name; may hold any byte
  std::uint32_t extraWord = 0;
  std::uint32_t samplingPeriod = 0;  ///< clock cycles
  std::uint32_t usecaseWord1 = 0;
  std::uint32_t usecaseWord4 = 0;
  std::uint16_t usecaseHalfWord3 = 0;
  bool usecaseFlag3 = false;
  std::uint32_t usecaseWord6 = 0;
  std::uint16_t usecaseHalfWord5 = 0;

  FilterPair<std::uint16_t> filterAPacked{};  ///< three ranges of A side by side, with gaps
  FilterPair<bool> filterA28{};
  FilterPair<std::uint8_t> filterC31_27{};
  FilterPair<std::uint8_t> filterC25_20{};
  FilterPair<std::uint8_t> filterA19_16{};
  FilterPair<bool> filterA15{};
  FilterPair<bool> filterA14{};
  FilterPair<std::uint8_t> filterA13_12{};
  FilterPair<std::uint16_t> filterA11_0{};
  FilterPair<std::uint8_t> filterB31_28{};
  FilterPair<std::uint8_t> filterB27_26{};
  FilterPair<std::uint8_t> filterB20_19{};
  FilterPair<std::uint8_t> filterB18_16{};
  FilterPair<std::uint8_t> filterB15_13{};
  FilterPair<std::uint8_t> filterB12_10{};
  FilterPair<std::uint16_t> filterB9_0{};
  FilterPair<std::uint8_t> filterZero{};  ///< always 0
  FilterPair<std::uint8_t> filterC13_12{};
  FilterPair<bool> filterC11{};
  FilterPair<std::uint8_t> filterC10_8{};
  FilterPair<std::uint8_t> filterC7_6{};
  FilterPair<std::uint8_t> filterC5_4{};
  FilterPair<std::uint8_t> filterC3_2{};
  FilterPair<bool> filterC1{};
  FilterPair<bool> filterC0{};
  FilterPair<std::uint8_t> filterOne{};  ///< 1 in every record that was found
  FilterPair<std::uint8_t> filterD27_26{};
  FilterPair<std::uint8_t> filterD25_22{};
  FilterPair<std::uint8_t> filterD21_20{};
  FilterPair<std::uint8_t> filterD19_12{};
  FilterPair<std::uint16_t> filterD11_0{};

  std::uint32_t stateBits = 0;  ///< bits 7 to 5 of the last probe id decoded before the load
  /// False: no usable use-case line. All but `probeId` may then be left over from another record.
  bool recordFound = false;
};
