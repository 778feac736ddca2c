#pragma once

#include <cstddef>
#include <cstdint>

/// The record stream: the row that ProcessSamples leaves in the host's buffer
/// (docs/formats/record.md).
///
///   numeric field  position (1), value (1, 2, 4 or 8 bytes)
///   text field     position (1), length n (4), n bytes
///   end of a row   kRowEnd
///   no row         kNoData, as the whole output
///
/// Numbers are little-endian, without alignment or padding. A position is one of the shared ones
/// below, or the low 8 bits of the column id that InitColumn gave out. Constants only; any thread
/// may use them.
namespace Kz::Dvt::Trace::RecordFormat {

inline constexpr std::uint8_t kRowEnd = 0xFE;
inline constexpr std::uint8_t kNoData = 0xFD;

/// Positions that every decoder of the host shares, in the order in which a row has them.
inline constexpr std::uint8_t kProbePosition = 0;        ///< number, 1 byte
inline constexpr std::uint8_t kMasterPosition = 1;       ///< text
inline constexpr std::uint8_t kTypePosition = 9;         ///< text
inline constexpr std::uint8_t kDescriptionPosition = 4;  ///< text
inline constexpr std::uint8_t kAddressPosition = 11;     ///< number, 8 bytes; transactions only

inline constexpr std::size_t kPositionBytes = 1;
inline constexpr std::size_t kTextLengthBytes = 4;
inline constexpr std::size_t kProbeBytes = 1;
inline constexpr std::size_t kAddressBytes = 8;

/// The decoder's columns must not take a shared position or a marker. With this first id and at
/// most this many columns none does; the decoder itself does not check what the host asks for.
inline constexpr std::uint32_t kFirstFreeColumnId = 12;
inline constexpr std::uint32_t kColumnIdEnd = kNoData;

/// ProcessSamples checks for room before it writes a value and not after, so it may write this many
/// bytes past the capacity that it was given: allocate so many more than are announced.
inline constexpr std::size_t kSlackBytes = 8;

/// Texts of a row.
inline constexpr const char* kUnknownMaster = "Unknown";  ///< no use-case record for this probe
inline constexpr const char* kTypeText = "Value";

}  // namespace Kz::Dvt::Trace::RecordFormat
