#include "common/source/source_utilities/uDll.h"

#include <dlfcn.h>

#include <utility>

namespace KZ_DVT {
namespace {

const char* LoaderError() {
  const char* text = ::dlerror();
  return text != nullptr ? text : "unknown error of the loader";
}

}  // namespace

uDll::uDll(const char* name, int flags)
    : flags_(flags != kDefaultFlags ? flags : RTLD_NOW | RTLD_LOCAL) {
  if (name != nullptr) {
    static_cast<void>(Load(name));  // see IsLoaded() and GetError()
  }
}

uDll::~uDll() {
  Unload();
}

bool uDll::Load(const char* name, int flags) {
  Unload();
  error_.clear();
  // The loader takes an empty name as the program itself.
  if (name == nullptr || *name == '\0') {
    error_ = "no library name given";
    return false;
  }
  return TryLoad(name, flags);
}

bool uDll::FindAndLoad(const char* name, int flags) {
  if (Load(name, flags) || name == nullptr || *name == '\0') return IsLoaded();
  const std::string whole = name;
  const std::size_t last_part = whole.rfind('/') + 1;  // npos + 1 is 0: all of it
  const std::string with_prefix = std::string(whole).insert(last_part, "lib") + ".so";
  if (!TryLoad(with_prefix, flags) && !TryLoad(whole + ".so", flags)) return false;
  error_.clear();
  return true;
}

bool uDll::TryLoad(const std::string& name, int flags) {
  handle_ = ::dlopen(name.c_str(), flags != kDefaultFlags ? flags : flags_);
  if (handle_ == nullptr) AddError(LoaderError());
  return IsLoaded();
}

void uDll::AddError(const std::string& text) {
  if (!error_.empty()) error_ += "; ";
  error_ += text;
}

void* uDll::GetSymbol(const char* name) {
  error_.clear();
  if (!IsLoaded() || name == nullptr) {
    error_ = IsLoaded() ? "no symbol name given" : "no library is loaded";
    return nullptr;
  }
  ::dlerror();
  void* symbol = ::dlsym(handle_, name);
  if (symbol == nullptr) error_ = LoaderError();
  return symbol;
}

void uDll::Unload() {
  if (void* handle = std::exchange(handle_, nullptr)) ::dlclose(handle);
}

void* uDll::Release() {
  return std::exchange(handle_, nullptr);
}

}  // namespace KZ_DVT
