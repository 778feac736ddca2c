#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platforms/source/trace/tdf_format.h"

/// What the section classes of tdf_helper.h share: text payloads to and from the container, and
/// numbers in texts. Internal to platforms/source/trace; no state, any thread.
namespace EktTrace::ConfigFile {

/// The file types of section classes.
inline constexpr std::uint32_t kTdfFileType = 0;
inline constexpr std::uint32_t kPlainFileType1 = 1;
inline constexpr std::uint32_t kPlainFileType2 = 2;
inline constexpr std::uint32_t kPlainFileType4 = 4;

/// To be called in a handler: puts the text of the exception being handled into `errorText` and the
/// debug log. Always false, so that a handler can return it.
bool ReportException(std::string& errorText) noexcept;

/// Puts the text into `errorText`; ReportError also into the debug log, for the failures that are
/// logged. Always false.
bool SetError(std::string text, std::string& errorText);
bool ReportError(const char* text, std::string& errorText);

/// Appends a section with the text as its payload. Throws as the container does.
void SaveSectionText(const std::string& fileName,
                     const Kz::Dvt::Trace::TdfFormat::SectionKind& kind, const std::string& text);

/// A section's payload up to its first zero byte. False with `errorText` filled when more came than
/// the section held; throws as the container does.
bool LoadSectionText(const std::string& fileName,
                     const Kz::Dvt::Trace::TdfFormat::SectionKind& kind, std::string& text,
                     std::string& errorText);

/// The number at the start of the text, behind blanks and tabs; none without digits or beyond 32
/// bits. Whatever follows the digits is ignored.
std::optional<std::uint32_t> ParseUnsigned(std::string_view text, int base);

/// "0x" and lower-case digits without leading zeros, whatever the locale.
std::string HexText(std::uint32_t number);

}  // namespace EktTrace::ConfigFile
