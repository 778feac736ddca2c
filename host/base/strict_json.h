#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// JSON files read strictly: what the parser alone accepts silently (two members of one name, deep
/// nesting) is an error, and every error names the file, the place and the reason. Checks of the
/// content name places the same way. Internal to the host library. Nothing here is shared between
/// threads.
namespace qbt2 {

constexpr std::size_t kMaxJsonBytes = std::size_t{16} << 20;
constexpr std::size_t kMaxJsonDepth = 32;

/// The whole file. Throws Error(kInput) when it cannot be read, is a directory, or is larger than
/// kMaxJsonBytes.
std::string read_json_file(const std::string& path);

/// Throws Error(kInput) for what is not UTF-8, not JSON, nested deeper than kMaxJsonDepth, or has
/// two members of one name. `file` is the name for messages.
nlohmann::json parse_strict_json(std::string_view text, const std::string& file);

/// One value of a document together with its place, for example `$.components[2].name`. The typed
/// readers throw Error(kInput) with file, place and reason. Borrows the document and the file
/// name.
class JsonNode {
 public:
  JsonNode(const nlohmann::json& value, const std::string& file) : JsonNode(value, file, "$") {}

  const nlohmann::json& value() const { return *value_; }
  const std::string& path() const { return path_; }
  [[noreturn]] void fail(const std::string& reason) const;

  /// A value of an object; required_member fails when it is missing, has_member tells whether it
  /// exists.
  bool has_member(const std::string& key) const;
  JsonNode required_member(const std::string& key) const;
  /// Members in byte order of their names; elements in the document's order.
  std::vector<std::pair<std::string, JsonNode>> members() const;
  std::vector<JsonNode> elements() const;
  /// Fails for an object with a member of another name: a misspelt key must not go unnoticed. A
  /// member "comment" is always allowed and never read.
  void check_members(std::initializer_list<std::string_view> allowed) const;

  /// A text without control characters.
  const std::string& line() const;
  /// The same, not empty.
  const std::string& name() const;
  /// A whole number from 0 to `max`, or a text that holds one in decimal or 0x hexadecimal, because
  /// JSON has no hexadecimal numbers.
  std::uint64_t number(std::uint64_t max = UINT64_MAX) const;
  /// A whole number that fits a signed 32-bit integer.
  int signed_number() const;

 private:
  JsonNode(const nlohmann::json& value, const std::string& file, std::string path)
      : value_(&value), file_(&file), path_(std::move(path)) {}
  void require(bool condition, const char* wanted) const;

  const nlohmann::json* value_;
  const std::string* file_;
  std::string path_;
};

}  // namespace qbt2
