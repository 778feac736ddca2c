#pragma once

#include <string>

/// A shared library, loaded by name and unloaded at the end of its life unless released. One thread
/// at a time uses an object. A library that is not there is an ordinary event: nothing throws, the
/// loader's words are kept in GetError().
namespace KZ_DVT {

class uDll {
 public:
  /// Loads `name` unless it is null; see IsLoaded(). `flags` are those of dlopen; -1 means
  /// RTLD_NOW | RTLD_LOCAL.
  explicit uDll(const char* name = nullptr, int flags = kDefaultFlags);
  ~uDll();
  uDll(const uDll&) = delete;
  uDll& operator=(const uDll&) = delete;

  static constexpr int kDefaultFlags = -1;

  /// Loads exactly `name`, searched for as the system's loader does, in place of a library that is
  /// loaded. `flags` of -1 are those of the constructor.
  [[nodiscard]] bool Load(const char* name, int flags = kDefaultFlags);
  /// Tries `name` as given, then "lib" + name + ".so", then name + ".so"; with a directory in
  /// `name`, the prefix goes to its last part. GetError() then holds every attempt's failure.
  [[nodiscard]] bool FindAndLoad(const char* name, int flags = kDefaultFlags);
  [[nodiscard]] bool IsLoaded() const { return handle_ != nullptr; }

  /// The address of a symbol, valid while the library is loaded; null when there is none.
  [[nodiscard]] void* GetSymbol(const char* name);
  /// The same as a pointer to function: GetFunction<void* (*)()>("Create").
  template <typename Function>
  [[nodiscard]] Function GetFunction(const char* name) {
    return reinterpret_cast<Function>(GetSymbol(name));
  }

  /// Unloads; does nothing when nothing is loaded.
  void Unload();
  /// Lets the library stay loaded when this object ends. The handle is the caller's from then on.
  void* Release();

  /// Why the last Load(), FindAndLoad() or GetSymbol() failed; empty when it did not.
  [[nodiscard]] const std::string& GetError() const { return error_; }

 private:
  [[nodiscard]] bool TryLoad(const std::string& name, int flags);
  void AddError(const std::string& text);

  void* handle_ = nullptr;
  int flags_;
  std::string error_;
};

}  // namespace KZ_DVT
