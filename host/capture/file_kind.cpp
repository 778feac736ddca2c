#include "host/capture/file_kind.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "host/base/text_parts.h"
#include "host/capture/capture_format.h"

namespace qbt2 {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kForSettings = "settings are given with --config";
constexpr std::string_view kForDevice = "a device description is given with --device";

/// What files of a kind begin with.
struct Signature {
  std::string_view bytes;
  std::string_view what;
  std::string_view unpack;  ///< the command that unpacks such a file, or empty
  std::string_view advice;  ///< where there is nothing to unpack
  std::optional<FileUse> use;
};

constexpr std::array<Signature, 9> kSignatures = {{
    {"\x1F\x8B"sv, "gzip data", "gzip -dc", "", {}},
    {"BZh"sv, "bzip2 data", "bzip2 -dc", "", {}},
    {"\xFD"
     "7zXZ\0"sv,
     "xz data",
     "xz -dc",
     "",
     {}},
    {"\x28\xB5\x2F\xFD"sv, "zstd data", "zstd -dc", "", {}},
    {"PK\x03\x04"sv, "a zip archive", "unzip -p", "", {}},
    {"\x7F"
     "ELF"sv,
     "a program or library (ELF)",
     "",
     "a decoder plug-in is given with --plugin",
     {}},
    {"TDF2"sv, "a trace data file", "", kForSettings, FileUse::kSettings},
    {"offset,"sv, "rows that have been decoded (CSV)", "", "", {}},
    {"capture,offset,"sv, "rows that have been decoded (CSV)", "", "", {}},
}};

constexpr std::array<std::string_view, 2> kJsonRows = {"{\"offset\":", "{\"capture\":"};

std::string looks_like(std::string_view what, std::string_view advice) {
  std::string text = "looks like " + std::string(what);
  return advice.empty() ? text : text.append("; ").append(advice);
}

std::string hint_of(const Signature& signature, FileUse use) {
  if (signature.use == use) return {};
  if (signature.unpack.empty()) return looks_like(signature.what, signature.advice);
  const std::string_view target = use == FileUse::kCapture ? " FILE | qbt2 decode -" : " FILE";
  return looks_like(signature.what, "unpack it: " + std::string(signature.unpack).append(target));
}

/// Text, as far as one can tell: no control characters but those that lay out lines.
bool is_text(std::string_view bytes) {
  return std::none_of(bytes.begin(), bytes.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t' && c != '\n' && c != '\r') || byte == 0x7F;
  });
}

/// Whether the first line that says something is KEY=VALUE.
bool begins_with_setting(std::string_view text) {
  bool is_first = true;
  bool has_equals = false;
  for_each_line(text, [&](const TextLine& line) {
    if (!is_first || line.text.empty() || line.text.starts_with('#')) return;
    has_equals = line.has_equals();
    is_first = false;
  });
  return has_equals;
}

std::string text_hint(std::string_view text, FileUse use) {
  const std::size_t first = std::min(text.find_first_not_of(" \t\r\n"), text.size());
  const std::string_view start = text.substr(first);
  for (const std::string_view row : kJsonRows) {
    if (start.starts_with(row)) return looks_like("rows that have been decoded (JSON lines)", "");
  }
  if (use == FileUse::kAny) return {};
  if (start.starts_with('{')) {
    return use == FileUse::kDeviceDescription ? "" : looks_like("JSON", kForDevice);
  }
  if (begins_with_setting(text)) {
    return use == FileUse::kSettings ? "" : looks_like("settings", kForSettings);
  }
  return use == FileUse::kSettings ? "" : looks_like("text", "");
}

}  // namespace

std::string wrong_file_hint(std::span<const std::uint8_t> head, FileUse use) {
  const std::string_view bytes(reinterpret_cast<const char*>(head.data()), head.size());
  for (const Signature& signature : kSignatures) {
    if (bytes.starts_with(signature.bytes)) return hint_of(signature, use);
  }
  if (bytes.empty()) return {};
  if (is_text(bytes)) return text_hint(bytes, use);
  const bool may_be_capture = use == FileUse::kCapture || use == FileUse::kAny;
  const auto format = may_be_capture ? std::nullopt : detect_capture_format(head);
  if (!format) return {};
  return looks_like("a capture (" + std::string(capture_format_name(*format)) + ")",
                    "captures are given without an option");
}

}  // namespace qbt2
