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

using Kz::Dvt::Hwdbg::hwDbgError;
using Kz::Dvt::Trace::TDFHandler;
using Kz::Dvt::Trace::TdfFormat::SectionKind;

namespace {

/// Call it in a handler.
std::string TextOfException() {
  try {
    throw;
  } catch (const hwDbgError& error) {
    return error.GetErrorText();
  } catch (const std::bad_alloc&) {
    return "Allocation failed";
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "Unknown exception";
  }
}

}  // namespace

bool SetError(std::string text, std::string& errorText) {
  errorText = std::move(text);
  return false;
}

void Fail(const char* text) {
  throw hwDbgError(text, hwDbgError::eError);
}

bool ReportException(std::string& errorText, const char* file, int line,
                     const char* function) noexcept try {
  errorText = TextOfException();
  if (debug_log_wants(LOG_ERROR)) {
    debug_log_msg(LOG_ERROR, file, line, function, "%s", errorText.c_str());
  }
  return false;
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

std::string LoadSectionText(const std::string& fileName, const SectionKind& kind) {
  std::uint32_t length = 0;
  std::uint32_t got = 0;
  TDFHandler::GetSectionDataLengthInBytes(fileName.c_str(), kind.name, kind.version, length);
  // A header may claim more than the file contains; no more than that is allocated. The extra byte
  // shows a file that grew between the two calls.
  length = std::min(length, FileSize(fileName.c_str()));
  std::vector<char> buffer(std::size_t{length} + 1);
  TDFHandler::LoadSectionData(fileName.c_str(), kind.name, kind.version, buffer.data(), length + 1,
                              got);
  if (got > length) Fail("Internal error.  Buffer was overrun.");
  return buffer.data();  // the last byte of the buffer is zero
}

}  // namespace EktTrace::ConfigFile
