#include "platforms/source/trace/tdf_handler.h"

#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <tuple>

#include "common/source/errors/error_code.h"
#include "platforms/source/trace/tdf_walker.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/tdf_bytes.h"
#include "tests/support/test_folder.h"

namespace {

using namespace qbt2::test;
using Kz::Dvt::Hwdbg::hwDbgError;
using Kz::Dvt::Trace::eTdfFault;
using Kz::Dvt::Trace::ListSections;
using Kz::Dvt::Trace::TdfFault;
using Kz::Dvt::Trace::TDFHandler;

class TdfHandler : public testing::Test {
 protected:
  /// The text of the error that the call throws; empty if it throws none.
  static std::string Failure(const std::function<void()>& call) {
    try {
      call();
    } catch (const hwDbgError& error) {
      EXPECT_EQ(error.GetSeverity(), 2u);
      return error.GetErrorText();
    }
    return "";
  }

  static std::string Load(const std::string& path, const char* name, std::uint32_t version,
                          std::uint32_t bufferSize = 4096) {
    std::string buffer(bufferSize, '?');
    std::uint32_t got = 99;
    TDFHandler::LoadSectionData(path.c_str(), name, version, buffer.data(), bufferSize, got);
    return buffer.substr(0, got);
  }

  void Save(const std::string& path, const char* name, std::uint32_t version,
            const std::string& payload) {
    TDFHandler::SaveSectionHeader(path.c_str(), name, version, offset_);
    TDFHandler::SaveSectionData(path.c_str(), name, offset_, payload.data(), 1,
                                static_cast<std::uint32_t>(payload.size()), length_);
  }

  const TestFolder folder_;
  std::uint32_t offset_ = 99;  // outputs of the last Save
  std::uint32_t length_ = 99;
};

TEST_F(TdfHandler, WritersProduceTheFormat) {
  const std::string path = folder_.at("a.tdf");
  TDFHandler::CreateTDFFile(path.c_str());
  EXPECT_EQ(read_file(path), "TDF2");

  std::uint32_t offset = 99;
  std::uint32_t length = 99;
  TDFHandler::SaveSectionHeader(path.c_str(), "KZDecode", 1, offset);
  EXPECT_EQ(offset, 4u);
  EXPECT_EQ(read_file(path), "TDF2" + section("KZDecode", 1, ""));

  TDFHandler::SaveSectionData(path.c_str(), nullptr, offset, "0123456789", 1, 10, length);
  EXPECT_EQ(length, 30u);
  TDFHandler::SaveSectionData(path.c_str(), "any", offset, "abcdef", 3, 2, length);
  EXPECT_EQ(length, 36u);
  TDFHandler::SaveSectionHeader(path.c_str(), nullptr, 7, offset);
  EXPECT_EQ(offset, 40u);
  EXPECT_EQ(read_file(path),
            "TDF2" + section("KZDecode", 1, "0123456789abcdef") + section("", 7, ""));

  TDFHandler::CreateTDFFile(path.c_str());
  EXPECT_EQ(read_file(path), "TDF2");
}

TEST_F(TdfHandler, ReadersTakeTheFirstSectionOfNameAndVersion) {
  const std::string path =
      folder_.put("a.tdf", "TDF2" + section("S", 1, "one") + section("S", 2, "second") +
                               section("S", 2, "third") + section("", 3, "no name"));
  EXPECT_EQ(Load(path, "S", 1), "one");
  EXPECT_EQ(Load(path, "S", 2), "second");
  EXPECT_EQ(Load(path, "S", 2, 4), "seco");
  EXPECT_EQ(Load(path, nullptr, 3), "no name");

  std::uint32_t length = 0;
  std::uint32_t position = 0;
  TDFHandler::GetSectionDataLengthInBytes(path.c_str(), "S", 2, length);
  EXPECT_EQ(length, 6u);
  TDFHandler::GetSectionDataPosition(path.c_str(), "S", 2, position, length);
  EXPECT_EQ(position, 4u + 16 + 13);
  EXPECT_EQ(length, 6u);

  EXPECT_EQ(Failure([&] { Load(path, "S", 3); }), "S section cannot be located in the file.");
  EXPECT_EQ(Failure([&] { Load(path, "s", 1); }), "s section cannot be located in the file.");
}

TEST_F(TdfHandler, FailuresCarryTheirTexts) {
  const std::string good = folder_.put("good.tdf", "TDF2" + section("S", 1, "data"));
  const std::string bad = folder_.put("bad.tdf", "TDF1" + section("S", 1, "data"));
  const std::string plain = folder_.put("good.txt", "TDF2" + section("S", 1, "data"));
  std::filesystem::create_directory(folder_.at("folder.tdf"));
  const std::string folder = folder_.at("folder.tdf");
  const std::string missing = folder_.at("missing.tdf");
  std::uint32_t a = 0;
  std::uint32_t b = 0;
  char buffer[8];
  const auto create = [&](const char* p) { return [=] { TDFHandler::CreateTDFFile(p); }; };
  const auto header = [&](const std::string& p) {
    return [&, p] { TDFHandler::SaveSectionHeader(p.c_str(), "S", 1, a); };
  };
  const auto data = [&](const std::string& p, std::uint32_t offset, const void* bytes) {
    return [&, p, offset, bytes] {
      TDFHandler::SaveSectionData(p.c_str(), "S", offset, bytes, 1, 1, a);
    };
  };
  const auto size = [&](const std::string& p, const char* name) {
    return [&, p, name] { TDFHandler::GetSectionDataLengthInBytes(p.c_str(), name, 1, a); };
  };
  const auto load = [&](const std::string& p, void* to, std::uint32_t bytes) {
    return [&, p, to, bytes] { TDFHandler::LoadSectionData(p.c_str(), "S", 1, to, bytes, a); };
  };
  const auto position = [&](const std::string& p, const char* name) {
    return [&, p, name] { TDFHandler::GetSectionDataPosition(p.c_str(), name, 1, a, b); };
  };
  const std::string folderless = folder_.at("no/such.tdf");
  const std::tuple<const char*, std::function<void()>, const char*> cases[] = {
      {"create null", create(nullptr), "Null file name to create TDF."},
      {"create .txt", create(plain.c_str()), "TDF file extension must be .tdf."},
      {"create in no folder", create(folderless.c_str()),
       "Could not create TDF file as specified."},
      {"header missing", header(missing), "File name passed to save file is not valid."},
      {"header folder", header(folder), "Could not open TDF file as specified."},
      {"data missing", data(missing, 4, "x"), "File name passed to save file is not valid."},
      {"data offset 3", data(good, 3, "x"), "Section header offset to save data is not valid."},
      {"data null", data(good, 4, nullptr), "No data to write TDF."},
      {"data folder", data(folder, 4, "x"), "Could not open TDF file as specified."},
      {"data after the end", data(good, 400, "x"),
       "Write I/O error - unable to determine section length."},
      {"data at no section", data(good, 16, "x"),  // the bytes there are "Sdat"
       "Section header offset to save data is not valid."},
      {"size empty name", size("", "S"), "File name passed to load file is not valid."},
      {"size folder", size(folder, "S"), "Invalid TDF format."},
      {"size bad", size(bad, "S"), "Invalid TDF format."},
      {"size .txt is fine", size(plain, "S"), ""},
      {"size of none", size(good, "T"), "Section size cannot be located in the file."},
      {"load missing", load(missing, buffer, 8), "File name passed to load is not valid."},
      {"load .txt", load(plain, buffer, 8), "TDF file extension must be .tdf."},
      {"load null", load(good, nullptr, 8), "No buffer allocated to load section data."},
      {"load 0", load(good, buffer, 0), "No buffer allocated to load section data."},
      {"load bad", load(bad, buffer, 8), "Invalid TDF format."},
      {"position missing", position(missing, "S"), "File name passed to load is not valid."},
      {"position .txt", position(plain, "S"), "TDF file extension must be .tdf."},
      {"position bad", position(bad, "S"), "Invalid TDF format."},
      {"position of none", position(good, "T"), "T section cannot be located in the file."},
  };
  for (const auto& [what, call, text] : cases) {
    a = 99;
    EXPECT_EQ(Failure(call), text) << what;
    if (const char first = what[0]; first == 'h' || first == 'd' || first == 'l') {
      EXPECT_EQ(a, 0u) << what;  // the outputs of header, data and load
    }
  }
  EXPECT_EQ(read_file(good), "TDF2" + section("S", 1, "data"));
}

TEST_F(TdfHandler, ExtensionsAndIdentifiers) {
  const std::tuple<const char*, const char*, bool> names[] = {
      {"a.tdf", "tdf", true}, {"a.TdF", "tdf", true},    {".tdf", "tdf", true},
      {"tdf", "tdf", false},  {"atdf", "tdf", false},    {"a.tdf2", "tdf", false},
      {"", "tdf", false},     {"a.xtdf", "tdf", false},  {"a.", "", true},
      {nullptr, "x", false},  {"a.tdf", nullptr, false},
  };
  for (const auto& [path, extension, has] : names) {
    EXPECT_EQ(TDFHandler::HasExtension(path, extension), has) << (path ? path : "null");
  }
  EXPECT_TRUE(TDFHandler::ISTDF(folder_.put("a.tdf", "TDF2").c_str()));
  EXPECT_FALSE(TDFHandler::ISTDF(folder_.put("a.txt", "TDF2").c_str()));
  EXPECT_FALSE(TDFHandler::ISTDF(folder_.put("b.tdf", "TDF").c_str()));
  EXPECT_FALSE(TDFHandler::ISTDF(nullptr));
  EXPECT_FALSE(TDFHandler::IsFileAvailable(nullptr));
}

TEST_F(TdfHandler, FileSizeOfEveryKindOfFile) {
  EXPECT_EQ(FileSize(folder_.put("a", "12345").c_str()), 5u);
  EXPECT_EQ(FileSize(folder_.put("empty", "").c_str()), 0u);
  EXPECT_EQ(FileSize(folder_.at("missing").c_str()), 0u);
  EXPECT_EQ(FileSize(folder_.path().c_str()), 0u);
  EXPECT_EQ(FileSize(nullptr), 0u);
  const std::string huge = folder_.put("huge.tdf", "TDF2" + section("S", 1, "data"));
  std::filesystem::resize_file(huge, (std::uint64_t{1} << 32) + 100);  // sparse
  EXPECT_EQ(FileSize(huge.c_str()), 0xFFFFFFFFu);
  EXPECT_EQ(Load(huge, "S", 1), "data");
  EXPECT_EQ(Failure([&] { Save(huge, "T", 1, "x"); }),
            "TDF file is too large for another section.");
}

// Each invalid section follows a good one, which must stay readable.
TEST_F(TdfHandler, WalkStopsAtAnInvalidSection) {
  const std::string good = section("good", 1, "data");  // 20 bytes
  const std::string wanted = section("S", 1, "never");
  const struct {
    const char* what;
    std::string bytes;
    eTdfFault fault;
  } cases[] = {
      {"length 0", le32(0) + le32(1) + counted("S") + wanted, eTdfFault::LengthZero},
      {"length of the fixed header only", le32(12) + le32(1) + counted("S") + wanted,
       eTdfFault::LengthTooShort},
      {"length 11", le32(11) + le32(1) + counted("") + wanted, eTdfFault::LengthTooShort},
      {"length over the limit", le32(0x8000001) + le32(1) + counted("S"),
       eTdfFault::LengthTooLarge},
      {"length that would wrap", le32(0xFFFFFFF0) + le32(1) + counted("X") + wanted,
       eTdfFault::LengthTooLarge},
      {"name over the limit", le32(5000) + le32(1) + counted(std::string(4096, 'n')) + wanted,
       eTdfFault::NameTooLong},
      {"name length that would wrap", le32(20) + le32(1) + le32(0xFFFFFFFF) + wanted,
       eTdfFault::NameTooLong},
      {"name cut", le32(100) + le32(1) + le32(50) + "S", eTdfFault::HeaderCut},
      {"header cut", le32(13) + le32(1) + "\x01", eTdfFault::HeaderCut},
      {"payload cut", le32(100) + le32(2) + counted("S") + "bytes", eTdfFault::PayloadCut},
  };
  for (const auto& c : cases) {
    const std::string path = folder_.put("a.tdf", "TDF2" + good + c.bytes);
    TdfFault fault;
    const auto sections = ListSections(path, fault);
    EXPECT_EQ(fault.kind, c.fault) << c.what << ": " << fault.reason;
    EXPECT_EQ(fault.offset, 24u) << c.what;
    EXPECT_EQ(sections.size(), c.fault == eTdfFault::PayloadCut ? 2u : 1u) << c.what;
    EXPECT_EQ(Failure([&] { Load(path, "S", 1); }), "S section cannot be located in the file.")
        << c.what;
    EXPECT_EQ(Load(path, "good", 1), "data") << c.what;
  }
  const std::string longest(4095, 'n');
  EXPECT_EQ(Load(folder_.put("a.tdf", "TDF2" + section(longest, 1, "x")), longest.c_str(), 1), "x");
}

TEST_F(TdfHandler, CutPayloadIsReadToTheEndOfTheFile) {
  const std::string path =
      folder_.put("a.tdf", "TDF2" + le32(0x8000000) + le32(1) + counted("S") + "12345");
  std::uint32_t length = 0;
  TDFHandler::GetSectionDataLengthInBytes(path.c_str(), "S", 1, length);
  EXPECT_EQ(length, 0x8000000u - 13) << "as the header has it";
  EXPECT_EQ(Load(path, "S", 1), "12345");
}

TEST_F(TdfHandler, WalkerListsSectionsAndRejectsOtherFiles) {
  const std::string name("a\0b", 3);
  const std::string path =
      folder_.put("a.tdf", "TDF2" + section("", 4, "") + section(name, 3, "xy"));
  TdfFault fault;
  const auto sections = ListSections(path, fault);
  EXPECT_FALSE(fault) << fault.reason;
  ASSERT_EQ(sections.size(), 2u);
  EXPECT_EQ(sections[1].name, name);
  EXPECT_EQ(sections[1].offset, 16u);
  EXPECT_EQ(sections[1].payloadOffset, 31u);

  EXPECT_TRUE(ListSections(folder_.at("missing.tdf"), fault).empty());
  EXPECT_EQ(fault.kind, eTdfFault::CannotOpen);
  EXPECT_TRUE(ListSections(folder_.path(), fault).empty());
  EXPECT_EQ(fault.kind, eTdfFault::NoIdentifier);
}

TEST_F(TdfHandler, ReadErrorsAreFailures) {
  // A write to a stream for reading sets its error flag, a stream for writing cannot be read.
  const std::string path = folder_.put("a.tdf", section("S", 1, "data"));
  std::FILE* const readable = std::fopen(path.c_str(), "rb");
  EXPECT_EQ(std::fputc('x', readable), EOF);
  EXPECT_FALSE(TDFHandler::SeekSectionData(readable, "S", 1, length_));
  EXPECT_EQ(length_, 0u);
  std::fclose(readable);
  std::FILE* const unreadable = std::fopen(path.c_str(), "wb");
  std::fputs("the size of a section's header", unreadable);
  std::rewind(unreadable);
  Kz::Dvt::Trace::TdfSectionInfo section_info;
  TdfFault fault;
  EXPECT_FALSE(Kz::Dvt::Trace::TdfCursor(unreadable).Next(section_info, fault));
  EXPECT_EQ(fault.kind, eTdfFault::ReadError);
  std::fclose(unreadable);

  // The system cannot copy the file into memory without access. What stdio has buffered already,
  // a block at most, must fit before it.
  struct stat status = {};
  stat(path.c_str(), &status);
  const auto block = static_cast<std::size_t>(std::max(sysconf(_SC_PAGESIZE), status.st_blksize));
  folder_.put("a.tdf", "TDF2" + section("S", 1, std::string(4 * block, 'x')));
  void* const memory =
      mmap(nullptr, 4 * block, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  ASSERT_EQ(mprotect(static_cast<char*>(memory) + block, 3 * block, PROT_NONE), 0);
  std::uint32_t got = 99;
  EXPECT_EQ(Failure([&] {
              TDFHandler::LoadSectionData(path.c_str(), "S", 1, memory,
                                          static_cast<std::uint32_t>(4 * block), got);
            }),
            "Read I/O error - section data corrupted.");
  EXPECT_EQ(got, 0u);
  munmap(memory, 4 * block);
}

// For every byte at which the disk can be full: the step that writes there fails, and the earlier
// section stays readable.
TEST_F(TdfHandler, FullDiskFailsTheStepThatWrites) {
  const std::string before = "TDF2" + section("old", 1, "kept");  // 23 bytes
  const std::string payload(10, 'p');
  const std::size_t start = before.size();
  for (std::size_t limit = start; limit <= start + 12 + 1 + 10; ++limit) {
    const std::string path = folder_.put("a.tdf", before);
    std::string failure;
    offset_ = length_ = 0;
    {
      const FileSizeLimit full(limit);
      failure = Failure([&] { Save(path, "S", 1, payload); });
    }
    const std::size_t room = limit - start;
    const char* expected = room < 4    ? "Write error -  TDF section header size."
                           : room < 13 ? "Write error -  TDF section name and version."
                           : room < 23 ? "Write I/O error - unable to write section data."
                                       : "";
    EXPECT_EQ(failure, expected) << limit;
    EXPECT_EQ(offset_, start) << limit << ": known before the first write";
    EXPECT_EQ(length_, room < 23 ? 0u : 23u) << limit;
    EXPECT_EQ(Load(path, "old", 1), "kept") << limit;
  }
  std::filesystem::create_symlink("/dev/full", folder_.at("x.tdf"));
  EXPECT_EQ(Failure([&] { TDFHandler::CreateTDFFile(folder_.at("x.tdf").c_str()); }),
            "Write error -  TDF file identifier.");
  EXPECT_EQ(Failure([&] { Save(folder_.at("x.tdf"), "S", 1, payload); }),
            "Write error -  TDF section header size.");
}

}  // namespace
