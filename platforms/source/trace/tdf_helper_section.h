#pragma once

#include <cstdint>
#include <string>

#include "platforms/source/trace/tdf_format.h"

/// What the section classes of tdf_helper.h share: text payloads to and from the container, and the
/// reporting of failures. Internal to platforms/source/trace; no state, any thread.
namespace EktTrace::ConfigFile {

/// The file types of the section classes.
inline constexpr std::uint32_t kTdfFileType = 0;
inline constexpr std::uint32_t kPlainFileType1 = 1;
inline constexpr std::uint32_t kPlainFileType2 = 2;
inline constexpr std::uint32_t kPlainFileType4 = 4;

inline constexpr char kFileTypeNotSupported[] = "File type is not supported";
inline constexpr char kBadTdfFile[] = "Bad TDF file";

/// A failure without a record in the debug log: puts the text into `errorText`. Always false.
bool SetError(std::string text, std::string& errorText);

/// A failure with a record: throws the text as the container does, for the operation to report.
[[noreturn]] void Fail(const char* text);

/// Call it in an operation's handler: the text of the exception being handled goes to `errorText`
/// and, with the place of the caller, to the debug log. Always false, so that the handler can
/// return it.
bool ReportException(std::string& errorText, const char* file = __builtin_FILE(),
                     int line = __builtin_LINE(),
                     const char* function = __builtin_FUNCTION()) noexcept;

/// Appends a section with the text as its payload. Throws as the container does.
void SaveSectionText(const std::string& fileName,
                     const Kz::Dvt::Trace::TdfFormat::SectionKind& kind, const std::string& text);

/// A section's payload up to its first zero byte. Throws as the container does, also when more data
/// came than the section contains.
std::string LoadSectionText(const std::string& fileName,
                            const Kz::Dvt::Trace::TdfFormat::SectionKind& kind);

}  // namespace EktTrace::ConfigFile
