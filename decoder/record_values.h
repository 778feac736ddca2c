#pragma once

#include <cstdint>

#include "interfaces/record_format.h"

/// The names under which the row writers know the record stream (interfaces/record_format.h): the
/// value sizes of a numeric field and the two markers. Constants only.

namespace RecordFormat = Kz::Dvt::Trace::RecordFormat;

/// Bytes of a numeric field's value.
enum eMsgDataSizeType : std::uint32_t {
  eMsgDataSize1 = 1,
  eMsgDataSize2 = 2,
  eMsgDataSize4 = 4,
  eMsgDataSize8 = 8,
};
static_assert(eMsgDataSize1 == RecordFormat::kProbeBytes);
static_assert(eMsgDataSize4 == RecordFormat::kTextLengthBytes);
static_assert(eMsgDataSize8 == RecordFormat::kAddressBytes);

inline constexpr std::uint8_t ROW_END_MARKER = RecordFormat::kRowEnd;
inline constexpr std::uint8_t NO_DATA_MARKER = RecordFormat::kNoData;
