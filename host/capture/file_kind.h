#pragma once

#include <cstdint>
#include <span>
#include <string>

/// What a file is that was given in the wrong place, for messages. Pure functions, any thread.
namespace qbt2 {

enum class FileUse : std::uint8_t {
  kCapture,
  kSettings,
  kDeviceDescription,
  kAny,  ///< any of them, and any other text
};

/// What a file that begins with the bytes `head` (kDetectionBytes or fewer) looks like, and what to
/// do with it: "looks like gzip data; unpack it: gzip -dc FILE | qbt2 decode -". Empty where
/// nothing is recognised, or where the file may be what `use` asks for.
std::string wrong_file_hint(std::span<const std::uint8_t> head, FileUse use);

}  // namespace qbt2
