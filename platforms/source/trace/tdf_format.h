#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <string_view>

/// The trace data file ("TDF"): identifier, limits, offsets and the sections that this system
/// writes; docs/formats/tdf.md explains it. Constants only; any thread may use them.
///
/// A file is the identifier and then sections, back to back, to its end. There is no directory, no
/// index and no alignment: readers walk the sections from the front. All integers are unsigned,
/// 32 bits wide and little-endian, and are written straight from memory.
namespace Kz::Dvt::Trace::TdfFormat {

static_assert(std::endian::native == std::endian::little, "words are written straight from memory");

inline constexpr char kExtension[] = "tdf";

/// The first four bytes of a file, and the same as one word.
inline constexpr std::array<char, 4> kIdentifier = {'T', 'D', 'F', '2'};
inline constexpr std::string_view kIdentifierText = {kIdentifier.data(), kIdentifier.size()};
inline constexpr std::uint32_t kIdentifierWord = 0x32464454;
static_assert(std::bit_cast<std::uint32_t>(kIdentifier) == kIdentifierWord);

inline constexpr std::uint32_t kFirstSectionOffset = 4;

/// The fields of a section, as offsets from its first byte. The name follows, without a terminator,
/// then the payload. The length counts the whole section, itself included.
inline constexpr std::uint32_t kLengthOffset = 0;
inline constexpr std::uint32_t kVersionOffset = 4;
inline constexpr std::uint32_t kNameLengthOffset = 8;
inline constexpr std::uint32_t kSectionHeaderSize = 12;

/// Limits of the readers: 128 MiB a section, names that fit a buffer of 4096 with a terminator.
inline constexpr std::uint32_t kMaxSectionLength = 0x8000000;
inline constexpr std::uint32_t kMaxNameLength = 4095;

struct SectionKind {
  const char* name;
  std::uint32_t version;
};

inline constexpr SectionKind kTraceHeader = {"KZTrace", 20};
inline constexpr SectionKind kDecoderInfo = {"KZDecode", 1};
inline constexpr SectionKind kDeviceIdentifier = {"DEVID", 1};
inline constexpr SectionKind kDspConfig = {"EKTCONFIG", 2};
inline constexpr SectionKind kStmConfig = {"STMDECODERINFO", 1};
inline constexpr SectionKind kArmConfig = {"ARMDCM", 1};

/// The largest "KZTrace" payload; its reader accepts texts that fit the same buffer with a
/// terminator.
inline constexpr std::uint32_t kTraceHeaderBufferSize = 10240;
inline constexpr std::uint32_t kMaxTraceHeaderText = kTraceHeaderBufferSize - 1;

}  // namespace Kz::Dvt::Trace::TdfFormat
