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

/// Puts the text into `errorText`; ReportError also writes it to the debug log, for the failures
/// that are logged. Always false.
bool SetError(std::string text, std::string& errorText);
bool ReportError(const char* text, std::string& errorText);

/// Call it in a handler: reports the text of the exception being handled. Always false, so that the
/// handler can return it.
bool ReportException(std::string& errorText) noexcept;

/// Appends a section with the text as its payload. Throws as the container does.
void SaveSectionText(const std::string& fileName,
                     const Kz::Dvt::Trace::TdfFormat::SectionKind& kind, const std::string& text);

/// A section's payload up to its first zero byte. False with `errorText` filled when more data came
/// than the section contains; throws as the container does.
bool LoadSectionText(const std::string& fileName,
                     const Kz::Dvt::Trace::TdfFormat::SectionKind& kind, std::string& text,
                     std::string& errorText);

}  // namespace EktTrace::ConfigFile
