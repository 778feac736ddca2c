#include "host/base/strict_json.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <set>

#include "host/base/error.h"
#include "host/base/input_file.h"
#include "host/base/parse_number.h"

namespace qbt2 {
namespace {

using Json = nlohmann::json;

std::string member_path(const std::string& parent, const std::string& key) {
  const bool plain = !key.empty() && std::all_of(key.begin(), key.end(), [](unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  });
  return plain ? parent + "." + key : parent + "[" + Json(key).dump() + "]";
}

std::string element_path(const std::string& parent, std::size_t index) {
  return parent + "[" + std::to_string(index) + "]";
}

/// The parser's message without its bracketed code. It quotes the input, so every byte that is not
/// printable ASCII is replaced.
std::string parser_reason(const std::string& what) {
  const std::size_t code_end = what.find("] ");
  std::string reason = code_end == std::string::npos ? what : what.substr(code_end + 2);
  std::replace_if(
      reason.begin(), reason.end(), [](unsigned char c) { return c < 0x20 || c > 0x7E; }, '?');
  return reason;
}

/// First pass over a document, without building it: finds the first error.
class StrictChecker final : public nlohmann::json_sax<Json> {
 public:
  const std::string& reason() const { return reason_; }
  std::size_t offset() const { return offset_; }

  bool null() override { return next(); }
  bool boolean(bool /*value*/) override { return next(); }
  bool number_integer(number_integer_t /*value*/) override { return next(); }
  bool number_unsigned(number_unsigned_t /*value*/) override { return next(); }
  bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return next(); }
  bool string(string_t& /*value*/) override { return next(); }
  bool binary(binary_t& /*value*/) override { return next(); }
  bool start_object(std::size_t /*size*/) override { return open(true); }
  bool start_array(std::size_t /*size*/) override { return open(false); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(string_t& name) override {
    Level& level = levels_.back();
    level.key = name;
    if (level.keys.insert(name).second) return true;
    reason_ = path() + ": this member appears twice";
    return false;
  }

  bool parse_error(std::size_t position, const std::string& /*token*/,
                   const Json::exception& error) override {
    offset_ = position;
    reason_ = parser_reason(error.what());
    return false;
  }

 private:
  struct Level {
    bool is_object;
    std::size_t index = 0;
    std::string key = {};
    std::set<std::string> keys = {};
  };

  bool open(bool is_object) {
    if (levels_.size() == kMaxJsonDepth) {
      reason_ = path() + ": nested deeper than " + std::to_string(kMaxJsonDepth) + " levels";
      return false;
    }
    levels_.push_back({is_object});
    return true;
  }
  bool close() {
    levels_.pop_back();
    return next();
  }
  /// A value has ended: the array around it, if any, continues with its next element.
  bool next() {
    if (!levels_.empty()) ++levels_.back().index;
    return true;
  }
  std::string path() const {
    std::string text = "$";
    for (const Level& level : levels_) {
      text = level.is_object ? member_path(text, level.key) : element_path(text, level.index);
    }
    return text;
  }

  std::vector<Level> levels_;
  std::string reason_;
  std::size_t offset_ = 0;
};

}  // namespace

std::string read_json_file(const std::string& path) {
  InputFile file(path == "-" ? "./-" : path);  // "-" would be standard input
  std::optional<std::string> text = read_up_to(file, kMaxJsonBytes);
  if (text) return *std::move(text);
  throw Error(ErrorCode::kInput, path, "larger than " + std::to_string(kMaxJsonBytes) + " bytes");
}

Json parse_strict_json(std::string_view text, const std::string& file) {
  if (text.empty()) throw Error(ErrorCode::kInput, file, "is empty");
  StrictChecker checker;
  if (!Json::sax_parse(text, &checker)) {
    if (checker.offset() == 0) throw Error(ErrorCode::kInput, file, checker.reason());
    // The parser counts the bytes it has read; the offset is that of the last one.
    throw Error(ErrorCode::kInput, file, checker.offset() - 1, checker.reason());
  }
  return Json::parse(text);
}

void JsonNode::fail(const std::string& reason) const {
  throw Error(ErrorCode::kInput, *file_, path_ + ": " + reason);
}

void JsonNode::require(bool condition, const char* wanted) const {
  if (!condition) fail(std::string("must be ") + wanted + ", is " + value_->type_name());
}

bool JsonNode::has_member(const std::string& key) const {
  require(value_->is_object(), "an object");
  return value_->contains(key);
}

JsonNode JsonNode::required_member(const std::string& key) const {
  if (!has_member(key)) fail("the member \"" + key + "\" is missing");
  return {value_->at(key), *file_, member_path(path_, key)};
}

std::vector<std::pair<std::string, JsonNode>> JsonNode::members() const {
  require(value_->is_object(), "an object");
  std::vector<std::pair<std::string, JsonNode>> all;
  all.reserve(value_->size());
  for (const auto& [key, value] : value_->items()) {
    all.emplace_back(key, JsonNode(value, *file_, member_path(path_, key)));
  }
  return all;
}

std::vector<JsonNode> JsonNode::elements() const {
  require(value_->is_array(), "an array");
  std::vector<JsonNode> all;
  all.reserve(value_->size());
  for (std::size_t i = 0; i < value_->size(); ++i) {
    all.push_back(JsonNode((*value_)[i], *file_, element_path(path_, i)));
  }
  return all;
}

void JsonNode::check_members(std::initializer_list<std::string_view> allowed) const {
  require(value_->is_object(), "an object");
  for (const auto& [key, value] : value_->items()) {
    if (key == "comment") continue;
    if (std::find(allowed.begin(), allowed.end(), key) == allowed.end()) {
      JsonNode(value, *file_, member_path(path_, key)).fail("unknown member");
    }
  }
}

const std::string& JsonNode::line() const {
  require(value_->is_string(), "a text");
  const auto& text = value_->get_ref<const std::string&>();
  const bool control =
      std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
  if (control) fail("has a control character");
  return text;
}

const std::string& JsonNode::name() const {
  const std::string& text = line();
  if (text.empty()) fail("is empty");
  return text;
}

std::uint64_t JsonNode::number(std::uint64_t max) const {
  std::uint64_t number = 0;
  if (value_->is_number_unsigned()) {
    number = value_->get<std::uint64_t>();
  } else if (value_->is_string()) {
    const auto parsed = parse_decimal_or_hex(line());
    if (!parsed) fail("is not a decimal or 0x hexadecimal number");
    number = *parsed;
  } else if (value_->is_number()) {
    fail("must be a whole number from 0 to " + std::to_string(max));
  } else {
    require(false, "a number");
  }
  if (number > max) fail("must be a whole number from 0 to " + std::to_string(max));
  return number;
}

int JsonNode::signed_number() const {
  require(value_->is_number(), "a number");
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  // An unsigned value that does not fit would turn negative when read as a signed one.
  const bool too_large =
      value_->is_number_unsigned() && value_->get<std::uint64_t>() > std::uint64_t{kMax};
  const auto number = value_->is_number_integer() && !too_large ? value_->get<std::int64_t>()
                                                                : std::int64_t{kMax} + 1;
  if (number < kMin || number > kMax) fail("must be a whole number of 32 bits with sign");
  return static_cast<int>(number);
}

}  // namespace qbt2
