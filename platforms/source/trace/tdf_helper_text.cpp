#include "platforms/source/trace/tdf_helper_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <new>
#include <utility>
#include <vector>

#include "common/source/errors/error_code.h"
#include "common/source/logging/debug_log.h"
#include "platforms/source/trace/tdf_handler.h"
#include "platforms/source/trace/tdf_helper.h"

namespace EktTrace::ConfigFile {

using Kz::Dvt::Trace::TDFHandler;
using Kz::Dvt::Trace::TdfFormat::SectionKind;

namespace {

constexpr char kBlanks[] = " \t";

}  // namespace

void clean_string(std::string& text) {
  const std::size_t last = text.find_last_not_of(kBlanks);
  text.erase(last == std::string::npos ? 0 : last + 1);
  text.erase(0, text.find_first_not_of(kBlanks));  // npos only when nothing is left
}

bool SetError(std::string text, std::string& errorText) {
  errorText = std::move(text);
  return false;
}

bool ReportError(const char* text, std::string& errorText) {
  errorText = text;
  QBT2_DEBUG_LOG(LOG_ERROR, "%s", text);
  return false;
}

bool ReportException(std::string& errorText) noexcept try {
  try {
    throw;
  } catch (const Kz::Dvt::Hwdbg::hwDbgError& error) {
    return ReportError(error.GetErrorText(), errorText);
  } catch (const std::bad_alloc&) {
    return ReportError("Allocation failed", errorText);
  } catch (const std::exception& error) {
    return ReportError(error.what(), errorText);
  } catch (...) {
    return ReportError("Unknown exception", errorText);
  }
} catch (...) {
  return false;  // not even memory for the message: the result alone tells
}

void SaveSectionText(const std::string& fileName, const SectionKind& kind,
                     const std::string& text) {
  std::uint32_t headerOffset = 0;
  std::uint32_t sectionLength = 0;
  TDFHandler::SaveSectionHeader(fileName.c_str(), kind.name, kind.version, headerOffset);
  TDFHandler::SaveSectionData(fileName.c_str(), kind.name, headerOffset, text.data(), 1,
                              static_cast<std::uint32_t>(text.size()), sectionLength);
}

bool LoadSectionText(const std::string& fileName, const SectionKind& kind, std::string& text,
                     std::string& errorText) {
  std::uint32_t length = 0;
  std::uint32_t got = 0;
  TDFHandler::GetSectionDataLengthInBytes(fileName.c_str(), kind.name, kind.version, length);
  // A header may claim more than the file holds; no more than that is allocated. The byte more
  // shows a file that grew between the two calls.
  length = std::min(length, FileSize(fileName.c_str()));
  std::vector<char> buffer(std::size_t{length} + 1);
  TDFHandler::LoadSectionData(fileName.c_str(), kind.name, kind.version, buffer.data(), length + 1,
                              got);
  if (got > length) return ReportError("Internal error.  Buffer was overrun.", errorText);
  text.assign(buffer.data());  // the vector's zeros end it at the latest
  return true;
}

std::optional<std::uint32_t> ParseUnsigned(std::string_view text, int base) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  if (base == 16 && text.substr(0, 2) == "0x") text.remove_prefix(2);
  std::uint32_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (result.ec != std::errc()) return std::nullopt;
  return number;
}

std::string HexText(std::uint32_t number) {
  std::array<char, 8> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16);
  return "0x" + std::string(digits.data(), result.ptr);
}

}  // namespace EktTrace::ConfigFile
