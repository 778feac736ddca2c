#pragma once

#include <cstdint>

/// Constants of the output record stream: what ProcessSamples leaves in the host's buffer.
///
/// docs/formats/record.md describes the stream. Numbers are little-endian, without alignment or
/// padding. The writers are members of StpQBTracer2Decoder (output_record.cpp).

/// Bytes of a numeric field's value.
enum eMsgDataSizeType : std::uint32_t {
  eMsgDataSize1 = 1,
  eMsgDataSize2 = 2,
  eMsgDataSize4 = 4,
  eMsgDataSize8 = 8,
};

/// Ends a row.
inline constexpr std::uint8_t ROW_END_MARKER = 0xFE;
/// The whole output of a sample that gave no row.
inline constexpr std::uint8_t NO_DATA_MARKER = 0xFD;

/// Positions that every decoder of the host shares.
enum eSharedPosition : std::uint8_t {
  kPositionProbeId = 0,
  kPositionMasterName = 1,
  kPositionDescription = 4,
  kPositionType = 9,
  kPositionAddress = 11,
};

/// Outputs smaller than this get a warning: a row may not fit.
inline constexpr std::uint32_t kExpectedCapacity = 100;

/// Texts of a row.
inline constexpr const char* kUnknownMaster = "Unknown";
inline constexpr const char* kTypeText = "Value";
