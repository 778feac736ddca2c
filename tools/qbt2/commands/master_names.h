#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "host/decode/decoder_setup.h"

/// What settings say of the masters in a capture. Plain data; one thread.
namespace qbt2::tool {

class MasterNames {
 public:
  /// No settings: no names.
  MasterNames() = default;
  explicit MasterNames(DecoderSetup& setup);

  bool has_settings() const { return has_settings_; }
  /// The source of formatter frames that the settings choose.
  std::optional<std::uint8_t> source_id() const { return source_id_; }
  /// The name of an STP master; empty where the settings do not name it.
  std::string_view of_master(std::uint32_t id) const { return find(of_master_, id); }
  /// The name in the rows of a probe: of masters that share one, the first gives it.
  std::string_view of_probe(std::uint32_t id) const { return find(of_probe_, id); }

 private:
  using Names = std::map<std::uint32_t, std::string>;
  static std::string_view find(const Names& names, std::uint32_t id) {
    const auto found = names.find(id);
    return found == names.end() ? std::string_view() : found->second;
  }

  bool has_settings_ = false;
  std::optional<std::uint8_t> source_id_;
  Names of_master_;
  Names of_probe_;
};

}  // namespace qbt2::tool
