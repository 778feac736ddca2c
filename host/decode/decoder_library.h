#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/base/error.h"
#include "host/rows/row_batch.h"
#include "interfaces/decoder_unit_if.h"

/// The decoder plug-in, loaded at run time and reached only through its two exported entry points
/// and the decoder-unit interface, as any host would.
namespace qbt2 {

/// The file looked for when none is named: found through the program's own search path, then the
/// system's.
inline constexpr const char* kDefaultPluginPath = "libqbt2decoder.so";

/// The id of the first catalogue column: clear of the shared positions (0 to 11) and, for a
/// catalogue of up to 153 columns, of the markers 0xFD and 0xFE.
inline constexpr std::uint32_t kFirstColumnId = 100;

/// Calls into the plug-in, which is foreign code: any exception other than DecodeError becomes
/// Error(kPlugin) that names the library. Inlined, as it is called for every sample.
template <typename Call>
[[gnu::always_inline]] inline auto call_plugin(const std::string& path, const Call& call) {
  try {
    return call();
  } catch (const Kz::Dvt::Trace::DecodeError&) {
    throw;
  } catch (const Error&) {
    throw;
  } catch (const std::exception& error) {
    throw Error(ErrorCode::kPlugin, path,
                std::string("the decoder plug-in failed: ") + error.what());
  } catch (...) {
    throw Error(ErrorCode::kPlugin, path,
                "the decoder plug-in threw an object that is not an exception");
  }
}

/// The loaded library. It stays loaded while any unit made by it lives. Units are created one at a
/// time, since the first one sets up process-wide state without a lock.
class DecoderLibrary {
 public:
  /// Throws Error(kPlugin) with the path tried and the loader's reason.
  explicit DecoderLibrary(const std::string& path = kDefaultPluginPath);

  const std::string& path() const { return path_; }

  struct UnitDeleter {
    std::string path;  ///< of the library, for messages
    std::shared_ptr<void> library;
    void (*destroy)(void*) = nullptr;
    void operator()(Kz::Dvt::Trace::CDecoderUnitIF* unit) const { destroy(unit); }
  };
  using Unit = std::unique_ptr<Kz::Dvt::Trace::CDecoderUnitIF, UnitDeleter>;

  /// A new unit, owned by the caller. Throws Error(kPlugin) when the library makes none.
  Unit create_unit() const;

 private:
  std::string path_;
  std::shared_ptr<void> handle_;
  void* (*create_)() = nullptr;
  void (*destroy_)(void*) = nullptr;
};

/// Numbers the unit's columns from kFirstColumnId on, enables them and reads their descriptions.
/// Throws Error(kPlugin) when the unit contradicts itself.
ColumnCatalogue read_catalogue(Kz::Dvt::Trace::CDecoderUnitIF& unit);

}  // namespace qbt2
