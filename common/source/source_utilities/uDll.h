#pragma once

#include <string>

/// A shared library, loaded by name and unloaded by the destructor unless released. One thread at a
/// time uses an object. A missing library is an ordinary event: nothing throws, GetError() returns
/// the loader's message.
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

  /// Unloads the current library and loads exactly `name`, by the system loader's search. Flags of
  /// -1 mean the constructor's.
  [[nodiscard]] bool Load(const char* name, int flags = kDefaultFlags);
  /// Tries `name` as given, then "lib" + name + ".so", then name + ".so"; if `name` has a
  /// directory, the prefix goes to its last part. If all fail, GetError() returns the messages of
  /// all.
  [[nodiscard]] bool FindAndLoad(const char* name, int flags = kDefaultFlags);
  [[nodiscard]] bool IsLoaded() const { return handle_ != nullptr; }

  /// The address of a symbol, valid while the library is loaded; null if there is none.
  [[nodiscard]] void* GetSymbol(const char* name);
  /// The same as a pointer to function: GetFunction<void* (*)()>("Create").
  template <typename Function>
  [[nodiscard]] Function GetFunction(const char* name) {
    return reinterpret_cast<Function>(GetSymbol(name));
  }

  /// Unloads the library, if any.
  void Unload();
  /// Keeps the library loaded after the end of this object. The caller owns the returned handle.
  void* Release();

  /// Why the last Load(), FindAndLoad() or GetSymbol() failed; empty if it succeeded.
  [[nodiscard]] const std::string& GetError() const { return error_; }

 private:
  [[nodiscard]] bool TryLoad(const std::string& name, int flags);
  void AddError(const std::string& text);

  void* handle_ = nullptr;
  int flags_;
  std::string error_;
};

}  // namespace KZ_DVT
