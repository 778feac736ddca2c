#pragma once

#include <cstddef>
#include <cstdint>

/// The record stream: the row that ProcessSamples writes to the host's buffer
/// (docs/formats/record.md).
///
///   numeric field  position (1), value (1, 2, 4 or 8 bytes)
///   text field     position (1), length n (4), n bytes
///   end of a row   kRowEnd
///   no row         kNoData, as the whole output
///
/// Numbers are little-endian, without alignment or padding. A position is one of the shared ones
/// below, or the low 8 bits of a column id from InitColumn; GetColumnInfo has the width of its
/// value. Constants only; any thread may use them.
namespace Kz::Dvt::Trace::RecordFormat {

inline constexpr std::uint8_t kRowEnd = 0xFE;
inline constexpr std::uint8_t kNoData = 0xFD;

/// Positions that all decoders of the host share, in the order of a row.
inline constexpr std::uint8_t kProbePosition = 0;        ///< number, 1 byte
inline constexpr std::uint8_t kMasterPosition = 1;       ///< text
inline constexpr std::uint8_t kTypePosition = 9;         ///< text
inline constexpr std::uint8_t kDescriptionPosition = 4;  ///< text
inline constexpr std::uint8_t kAddressPosition = 11;     ///< number, 8 bytes; transactions only

inline constexpr std::size_t kPositionBytes = 1;
inline constexpr std::size_t kTextLengthBytes = 4;
inline constexpr std::size_t kProbeBytes = 1;
inline constexpr std::size_t kAddressBytes = 8;

/// Column ids from kFirstFreeColumnId up to, but not including, kColumnIdEnd are neither a shared
/// position nor a marker. The decoder does not check the ids that the host chooses.
inline constexpr std::uint32_t kFirstFreeColumnId = 12;
inline constexpr std::uint32_t kColumnIdEnd = kNoData;

/// Bytes that ProcessSamples may write past the capacity that it was given: the room check of a
/// field asks for one free byte, so a value of 8 bytes may end 7 past it, and the position byte of
/// the next field follows before that field is refused. Allocate so many more than are announced.
inline constexpr std::size_t kSlackBytes = 8;

/// A smaller capacity is logged as low: a row may not fit.
inline constexpr std::uint32_t kLowCapacity = 100;

/// Texts of a row.
inline constexpr const char* kUnknownMaster = "Unknown";  ///< no use-case record for this probe
inline constexpr const char* kTypeText = "Value";

}  // namespace Kz::Dvt::Trace::RecordFormat
