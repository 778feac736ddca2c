#include "host/decode/decoder_library.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "host/base/error.h"
#include "host/base/input_file.h"

namespace qbt2 {
namespace {

using Kz::Dvt::Trace::CDecoderUnitIF;

std::string loader_reason() {
  const char* const reason = ::dlerror();
  return reason != nullptr ? reason : "no reason given";
}

/// The loader would wait for the writer of a pipe, and explains other files by its own terms. A
/// name without a slash is searched for by the loader and not checked.
void refuse_other_file(const std::string& path) {
  struct stat status {};
  if (path.find('/') == std::string::npos || ::stat(path.c_str(), &status) != 0) return;
  if (!S_ISREG(status.st_mode)) {
    throw Error(ErrorCode::kPlugin, path, "is not a decoder plug-in, not even a regular file");
  }
  constexpr std::string_view kElf =
      "\x7F"
      "ELF";
  InputFile file(path);
  if (!std::ranges::equal(file.peek(kElf.size()), kElf, {}, {},
                          [](char c) { return static_cast<std::uint8_t>(c); })) {
    throw Error(ErrorCode::kPlugin, path, "is not a decoder plug-in, not even a shared library");
  }
}

/// The loader looks into the current folder only for a name with a slash.
std::string local_file_hint(const std::string& path) {
  const bool is_local = path.find('/') == std::string::npos && ::access(path.c_str(), F_OK) == 0;
  return is_local ? "; the file of that name in this folder is ./" + path : "";
}

/// The loader searches for a plain name along the path of whoever calls dlopen, which need not be
/// this program: sanitizers call it themselves. So the folder of the plug-in library that this
/// program is linked with is searched too.
void* open_library(const std::string& path) {
  void* const found = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (found != nullptr || path.find('/') != std::string::npos) return found;
  Dl_info linked{};
  if (::dladdr(reinterpret_cast<const void*>(&CreateDecoderUnit), &linked) == 0) return nullptr;
  const std::string file = linked.dli_fname;
  return ::dlopen((file.substr(0, file.rfind('/') + 1) + path).c_str(), RTLD_NOW | RTLD_LOCAL);
}

template <typename Function>
Function* find_entry(void* handle, const std::string& path, const char* name) {
  void* const symbol = ::dlsym(handle, name);
  if (symbol == nullptr) {
    throw Error(
        ErrorCode::kPlugin, path,
        std::string("is not a decoder plug-in, entry point ") + name + ": " + loader_reason());
  }
  return reinterpret_cast<Function*>(symbol);
}

}  // namespace

DecoderLibrary::DecoderLibrary(const std::string& path) : path_(path) {
  refuse_other_file(path);
  void* const handle = call_plugin(path, [&path] { return open_library(path); });
  if (handle == nullptr) {
    throw Error(ErrorCode::kPlugin, path,
                "cannot load the decoder plug-in: " + loader_reason() + local_file_hint(path));
  }
  handle_ = std::shared_ptr<void>(handle, [](void* open) { ::dlclose(open); });
  create_ = find_entry<void*()>(handle, path, "CreateDecoderUnit");
  destroy_ = find_entry<void(void*)>(handle, path, "DestroyDecoderUnit");
}

DecoderLibrary::Unit DecoderLibrary::create_unit() const {
  void* const unit = call_plugin(path_, create_);
  if (unit == nullptr) throw Error(ErrorCode::kPlugin, path_, "did not create a decoder unit");
  return Unit(static_cast<CDecoderUnitIF*>(unit), UnitDeleter{path_, handle_, destroy_});
}

ColumnCatalogue read_catalogue(CDecoderUnitIF& unit) {
  std::vector<CDecoderUnitIF::SharedColumns> shared;
  std::uint32_t count = 0;
  unit.InitColumn(shared, kFirstColumnId, count);
  if (count != shared.size()) {
    throw Error(ErrorCode::kPlugin, "the decoder plug-in reports " + std::to_string(count) +
                                        " columns and returns " + std::to_string(shared.size()));
  }
  ColumnCatalogue catalogue;
  catalogue.first_id = kFirstColumnId;
  for (const auto& column : shared) {
    unit.AddColumn(column.columnId, true);
    ColumnDescription description;
    Kz::Dvt::Trace::eInput input{};
    std::uint32_t bits = 0;
    bool enabled = false;
    unit.GetColumnInfo(column.columnId, input, bits, enabled, description.name, description.key,
                       description.description);
    if (bits != 8 && bits != 16 && bits != 32 && bits != 64) {
      throw Error(ErrorCode::kPlugin, "the decoder plug-in's column '" + column.name + "' has " +
                                          std::to_string(bits) + " bits");
    }
    description.size_bytes = static_cast<std::uint8_t>(bits / 8);
    catalogue.columns.push_back(std::move(description));
  }
  return catalogue;
}

}  // namespace qbt2
