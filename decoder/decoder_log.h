#pragma once

#include <cstdint>

#include "common/source/source_utilities/uLogger.h"

/// How the decoder writes to the utility log: QBT2_LOG(threshold, kinds, kDecoderLogStyle, ...).

/// Most of the decoder's records need a verbosity above 2, that is log level 6.
inline constexpr std::int32_t kLogAboveTwo = 2;
/// A full output buffer is logged at every verbosity except 0.
inline constexpr std::int32_t kLogAboveOff = 0;

/// Date and time: one file may have the records of several runs.
inline constexpr std::uint32_t kDecoderLogStyle = KZ_DVT::uLogStyleDateTime;
