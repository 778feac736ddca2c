#include "platforms/source/trace/tdf_helper_section.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>
#include <vector>

#include "common/source/errors/error_code.h"
#include "common/source/logging/debug_log.h"
#include "platforms/source/trace/tdf_handler.h"

namespace EktTrace::ConfigFile {

using Kz::Dvt::Trace::TDFHandler;
using Kz::Dvt::Trace::TdfFormat::SectionKind;

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
  return false;  // no memory even for the message
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
  // A header may claim more than the file contains; no more than that is allocated. The extra byte
  // shows a file that grew between the two calls.
  length = std::min(length, FileSize(fileName.c_str()));
  std::vector<char> buffer(std::size_t{length} + 1);
  TDFHandler::LoadSectionData(fileName.c_str(), kind.name, kind.version, buffer.data(), length + 1,
                              got);
  if (got > length) return ReportError("Internal error.  Buffer was overrun.", errorText);
  text.assign(buffer.data());  // the last byte of the buffer is zero
  return true;
}

}  // namespace EktTrace::ConfigFile
