#include "platforms/source/trace/tdf_walker.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platforms/source/trace/stdio_file.h"
#include "platforms/source/trace/tdf_format.h"

namespace Kz::Dvt::Trace {

using namespace TdfFormat;

namespace {

std::string Count(std::uint64_t number, const char* what) {
  return std::to_string(number) + " " + what;
}

}  // namespace

TdfCursor::TdfCursor(std::FILE* stream) : m_stream(stream) {
  if (!Tell(stream, m_next) || !FindEnd(stream, m_end)) {
    m_end = m_next;  // no sections in a stream that cannot seek
  }
}

bool TdfCursor::Stop(TdfFault& fault, eTdfFault kind, std::string reason) {
  fault = {kind, m_next, std::move(reason)};
  m_next = m_end;
  return false;
}

bool TdfCursor::Next(TdfSectionInfo& section, TdfFault& fault) {
  if (m_next >= m_end || !ReadHeader(section, fault)) return false;
  section.payloadOffset = section.offset + kSectionHeaderSize + section.name.size();
  const std::uint64_t claimed = section.length - kSectionHeaderSize - section.name.size();
  section.payloadLength = std::min(claimed, m_end - section.payloadOffset);
  if (section.payloadLength < claimed) {
    Stop(fault, eTdfFault::PayloadCut,
         "the file ends after " + Count(section.payloadLength, "of ") +
             Count(claimed, "bytes of the section's data"));
    return true;
  }
  m_next += section.length;
  return true;
}

bool TdfCursor::ReadHeader(TdfSectionInfo& section, TdfFault& fault) {
  const std::uint64_t remaining = m_end - m_next;
  if (remaining < kSectionHeaderSize) {
    return Stop(fault, eTdfFault::HeaderCut,
                "the file ends after " + Count(remaining, "of ") +
                    Count(kSectionHeaderSize, "bytes of a section's header"));
  }
  std::uint32_t length = 0;
  std::uint32_t nameLength = 0;
  if (!SeekTo(m_stream, m_next) || !ReadWord(m_stream, length) ||
      !ReadWord(m_stream, section.version) || !ReadWord(m_stream, nameLength)) {
    return Stop(fault, eTdfFault::ReadError, "a section's header cannot be read");
  }
  if (length == 0) return Stop(fault, eTdfFault::LengthZero, "a section's length is 0");
  if (length > kMaxSectionLength) {
    return Stop(fault, eTdfFault::LengthTooLarge,
                "a section's length is " + Count(length, "bytes, above the limit of ") +
                    std::to_string(kMaxSectionLength));
  }
  if (nameLength > kMaxNameLength) {
    return Stop(fault, eTdfFault::NameTooLong,
                "a section's name is " + Count(nameLength, "bytes long, above the limit of ") +
                    std::to_string(kMaxNameLength));
  }
  if (length < kSectionHeaderSize + nameLength) {
    return Stop(fault, eTdfFault::LengthTooShort,
                "a section's length is " + Count(length, "bytes, less than its own header of ") +
                    Count(kSectionHeaderSize + nameLength, "bytes"));
  }
  if (remaining < kSectionHeaderSize + nameLength) {
    return Stop(fault, eTdfFault::HeaderCut, "the file ends inside a section's name");
  }
  section.name.resize(nameLength);
  if (std::fread(section.name.data(), 1, nameLength, m_stream) != nameLength) {
    return Stop(fault, eTdfFault::ReadError, "a section's name cannot be read");
  }
  section.offset = m_next;
  section.length = length;
  return true;
}

std::vector<TdfSectionInfo> ListSections(std::FILE* stream, TdfFault& fault) {
  fault = {};
  std::vector<TdfSectionInfo> sections;
  std::uint32_t identifier = 0;
  if (!SeekTo(stream, 0) || !ReadWord(stream, identifier) || identifier != kIdentifierWord) {
    fault = {eTdfFault::NoIdentifier, 0,
             "the file does not start with \"" + std::string(kIdentifierText) + "\""};
    return sections;
  }
  TdfCursor cursor(stream);
  TdfSectionInfo section;
  while (cursor.Next(section, fault)) {
    if (sections.size() == kMaxListedSections) {
      fault = {eTdfFault::TooManySections, section.offset,
               "more than " + Count(kMaxListedSections, "sections")};
      break;
    }
    sections.push_back(section);
  }
  return sections;
}

std::vector<TdfSectionInfo> ListSections(const std::string& path, TdfFault& fault) {
  const StdioFile file = OpenForReading(path.c_str());
  if (!file) {
    fault = {eTdfFault::CannotOpen, 0, std::strerror(errno)};
    return {};
  }
  return ListSections(file.get(), fault);
}

}  // namespace Kz::Dvt::Trace
