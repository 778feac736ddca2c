#include "platforms/source/trace/tdf_helper_trace_header.h"

#include <array>
#include <cstdio>
#include <utility>

#include <sys/stat.h>

#include "common/source/errors/error_code.h"
#include "common/source/logging/debug_log.h"
#include "platforms/source/trace/stdio_file.h"
#include "platforms/source/trace/tdf_format.h"
#include "platforms/source/trace/tdf_handler.h"
#include "platforms/source/trace/tdf_helper_section.h"

namespace EktTrace::ConfigFile {

using namespace Kz::Dvt::Trace::TdfFormat;
using Kz::Dvt::Trace::StdioFile;
using Kz::Dvt::Trace::TDFHandler;

// The library itself uses the constants of tdf_format.h, which need no construction: code that runs
// before main() may use the section classes whatever the order of static initialisation.
const std::string KzTrace_t::SectionName = kTraceHeader.name;

namespace {

constexpr std::uint32_t kNewestFormat = 20;
constexpr char kFileSignature[] = "TraceDataFile";
constexpr char kComponentName[] = "TraceKZ";

/// With these two numbers the record ends in headerValue8.
constexpr std::uint32_t kHeaderValue2WithValue8 = 470;
constexpr std::uint32_t kHeaderValue3WithValue8 = 38;

using KzTraceData_t = KzTrace_t::KzTraceData_t;

/// The seven numbers in the order of the file, which differs from that of KzTraceData_t.
constexpr std::array<std::uint32_t KzTraceData_t::*, 7> kHeaderValues = {
    &KzTraceData_t::headerValue1, &KzTraceData_t::headerValue7, &KzTraceData_t::headerValue2,
    &KzTraceData_t::headerValue3, &KzTraceData_t::headerValue4, &KzTraceData_t::headerValue5,
    &KzTraceData_t::headerValue6};

/// Thrown by RecordReader at the end of the file and at a text that is too long; caught in Load.
struct EndOfRecord {};

class RecordReader {
 public:
  explicit RecordReader(std::FILE* stream) : m_stream(stream) {}

  std::uint32_t Word() {
    std::uint32_t word = 0;
    Bytes(&word, sizeof word);
    return word;
  }
  std::uint64_t LongWord() {
    std::uint64_t word = 0;
    Bytes(&word, sizeof word);
    return word;
  }
  std::string Text() {
    const std::uint32_t length = Word();
    if (length > kMaxTraceHeaderText) throw EndOfRecord();
    std::string text(length, '\0');
    Bytes(text.data(), length);
    return text;
  }
  void SkipWords(int count) {
    for (int i = 0; i < count; ++i) {
      static_cast<void>(Word());
    }
  }
  void SkipTexts(int count) {
    for (int i = 0; i < count; ++i) {
      static_cast<void>(Text());
    }
  }
  /// A list of the older formats: a count, then that many items. Each item takes bytes of the file,
  /// so the end of the file bounds the loop, whatever the count.
  template <typename SkipItem>
  void SkipList(SkipItem skipItem) {
    for (std::uint32_t count = Word(); count > 0; --count) {
      skipItem();
    }
  }

 private:
  void Bytes(void* target, std::size_t size) {
    if (std::fread(target, 1, size, m_stream) != size) throw EndOfRecord();
  }

  std::FILE* m_stream;
};

void SkipOldLists(RecordReader& reader) {
  reader.SkipList([&] {
    reader.SkipTexts(1);
    reader.SkipWords(2);
    reader.SkipList([&] {
      reader.SkipWords(1);
      reader.SkipTexts(1);
    });
  });
  reader.SkipList([&] { reader.SkipWords(3); });
  reader.SkipList([&] {
    reader.SkipWords(1);
    reader.SkipList([&] {
      reader.SkipWords(5);
      reader.SkipTexts(3);
    });
  });
  reader.SkipList([&] {
    reader.SkipWords(4);
    reader.SkipTexts(1);
  });
}

/// headerValue3 has no default in version 1 and keeps its value.
void SetVersion1Defaults(KzTraceData_t& data) {
  data.connectionName = "D90xx PRB770 Emulator/CPU_1";
  data.headerValue1 = 6416;
  data.headerValue2 = 0;
  data.headerValue4 = 0;
  data.headerValue5 = 0;
  data.headerValue6 = 2;
  data.headerValue7 = 0;
}

void ReadRecord(RecordReader& reader, std::uint32_t version, KzTraceData_t& data) {
  if (version == 1) {
    SetVersion1Defaults(data);
  } else {
    if (version >= 4) data.deviceText = reader.Text();
    data.connectionName = reader.Text();
    for (const auto member : kHeaderValues) {
      data.*member = reader.Word();
    }
  }
  data.headerText3 = reader.Text();
  reader.SkipWords(1);  // the timestamp
  data.headerText4 = reader.Text();
  SkipOldLists(reader);
  if (data.headerValue2 == kHeaderValue2WithValue8 &&
      data.headerValue3 == kHeaderValue3WithValue8) {
    data.headerValue8 = version > 2 ? reader.LongWord() : 0;
  }
}

/// Reads everything before the record. Null, or what is wrong with it.
const char* ReadPreamble(RecordReader& reader, std::uint32_t& version) {
  std::uint32_t headerSize = reader.Word();
  const bool isTdf = headerSize == kIdentifierWord;
  if (isTdf) headerSize = reader.Word();
  if (headerSize == 0) return "Display header size in binary trace file is invalid (zero).";
  version = reader.Word();
  if (version < 1 || version > kNewestFormat) {
    return "File type is correct, but this format version is not supported.";
  }
  if (!isTdf && reader.Text() != kFileSignature) return "File signature is incorrect.";
  if (reader.Text() != kComponentName) return "Wrong component name.";
  return nullptr;
}

/// The text after the last '.', its case unchanged; empty without one.
std::string ExtensionOf(const std::string& fileName) {
  const std::size_t dot = fileName.rfind('.');
  return dot == std::string::npos ? std::string() : fileName.substr(dot + 1);
}

std::uint32_t ModificationTime(const std::string& fileName) {
  struct stat status = {};
  if (fileName.empty() || stat(fileName.c_str(), &status) != 0) return 0;
  return static_cast<std::uint32_t>(status.st_mtime);
}

template <typename Word>
void AppendWord(std::string& payload, Word word) {
  payload.append(reinterpret_cast<const char*>(&word), sizeof word);
}

void AppendText(std::string& payload, const std::string& text) {
  AppendWord(payload, static_cast<std::uint32_t>(text.size()));
  payload += text;
}

std::string BuildRecord(const KzTraceData_t& data, std::uint32_t timestamp) {
  std::string payload;
  AppendText(payload, data.deviceText);
  AppendText(payload, data.connectionName);
  for (const auto member : kHeaderValues) {
    AppendWord(payload, data.*member);
  }
  AppendText(payload, data.headerText3);
  AppendWord(payload, timestamp);
  AppendText(payload, data.headerText4);
  for (int list = 0; list < 4; ++list) {
    AppendWord(payload, std::uint32_t{0});
  }
  AppendWord(payload, data.headerValue8);
  return payload;
}

void SaveRecord(const std::string& fileName, const KzTraceData_t& data) {
  const char* const path = fileName.c_str();
  std::uint32_t headerOffset = 0;
  std::uint32_t sectionLength = 0;
  TDFHandler::CreateTDFFile(path);
  TDFHandler::SaveSectionHeader(path, kTraceHeader.name, kTraceHeader.version, headerOffset);
  const std::string payload = BuildRecord(data, ModificationTime(fileName));
  TDFHandler::SaveSectionData(path, kTraceHeader.name, headerOffset, payload.data(), 1,
                              static_cast<std::uint32_t>(payload.size()), sectionLength);
}

}  // namespace

KzTrace_t::KzTrace_t(std::string fileName, std::uint32_t fileType)
    : m_fileName(std::move(fileName)), m_fileType(fileType) {}

bool KzTrace_t::Save(const KzTraceData_t& data, std::string& errorText) try {
  if (BuildRecord(data, 0).size() > kTraceHeaderBufferSize) {
    return SetError("Trace file header is larger than 10240 bytes.", errorText);
  }
  try {
    SaveRecord(m_fileName, data);
  } catch (const Kz::Dvt::Hwdbg::hwDbgError& error) {
    errorText = error.GetErrorText();
    QBT2_DEBUG_LOG(LOG_ERROR, "Error saving Binary Trace file: %s", errorText.c_str());
    return false;
  }
  return true;
} catch (...) {
  return ReportException(errorText);
}

bool KzTrace_t::Load(KzTraceData_t& data, std::string& errorText) try {
  if (m_fileType != kTdfFileType) return SetError("File type not supported", errorText);
  if (ExtensionOf(m_fileName) != kExtension) return SetError("File extension is wrong", errorText);
  const StdioFile file = Kz::Dvt::Trace::OpenForReading(m_fileName.c_str());
  if (!file) {
    // Deliberately without the file name: other tools compare the whole text.
    return SetError("Failure opening binary trace file: ", errorText);
  }
  RecordReader reader(file.get());
  std::uint32_t version = 0;
  if (const char* const fault = ReadPreamble(reader, version)) return SetError(fault, errorText);
  ReadRecord(reader, version, data);
  return true;
} catch (const EndOfRecord&) {
  return false;
} catch (...) {
  return ReportException(errorText);
}

}  // namespace EktTrace::ConfigFile
