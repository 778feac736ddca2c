#include "host/device/described_setting.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "host/base/parse_number.h"

namespace qbt2 {
namespace {

using EktTrace::eSessionPropertyKind;

struct KindName {
  std::string_view name;
  eSessionPropertyKind kind;
};
constexpr std::array<KindName, 6> kKinds{{
    {"boolean", EktTrace::eSessionBoolean},
    {"signed32", EktTrace::eSessionSigned32},
    {"unsigned32", EktTrace::eSessionUnsigned32},
    {"signed64", EktTrace::eSessionSigned64},
    {"unsigned64", EktTrace::eSessionUnsigned64},
    {"text", EktTrace::eSessionText},
}};

/// Whether the configuration manager can convert the text; it reads plain decimal.
bool suits_kind(const std::string& text, eSessionPropertyKind kind) {
  switch (kind) {
    case EktTrace::eSessionBoolean:
      return text == "0" || text == "1";
    case EktTrace::eSessionSigned32:
      return bool{parse_decimal<std::int32_t>(text)};
    case EktTrace::eSessionUnsigned32:
      return bool{parse_decimal<std::uint32_t>(text)};
    case EktTrace::eSessionSigned64:
      return bool{parse_decimal<std::int64_t>(text)};
    case EktTrace::eSessionUnsigned64:
      return bool{parse_decimal<std::uint64_t>(text)};
    case EktTrace::eSessionText:
      return true;
  }
  return false;
}

eSessionPropertyKind read_kind(const JsonNode& node) {
  for (const KindName& row : kKinds) {
    if (row.name == node.name()) return row.kind;
  }
  node.fail("must be boolean, signed32, unsigned32, signed64, unsigned64 or text");
}

/// Whether a line of a settings file can hold the name: blanks around it would be trimmed, '='
/// would end it, and '#' or '{' would make the line no setting.
bool is_setting_name(const std::string& name) {
  if (name.empty() || name.front() == '#' || name.front() == '{') return false;
  if (name.front() == ' ' || name.back() == ' ') return false;
  return std::none_of(name.begin(), name.end(),
                      [](unsigned char c) { return c == '=' || c < 0x20 || c == 0x7F; });
}

}  // namespace

std::string value_text(const JsonNode& node) {
  if (node.value().is_boolean()) return node.value().get<bool>() ? "1" : "0";
  if (node.value().is_number_integer()) return node.value().dump();
  if (!node.value().is_string()) node.fail("must be a text, a whole number, true or false");
  return node.line();
}

DescribedSetting read_described_setting(const std::string& name, const JsonNode& node) {
  if (!is_setting_name(name)) node.fail("a settings file cannot hold this name");
  if (!node.value().is_object()) return {value_text(node), EktTrace::eSessionText};
  node.check_members({"value", "kind"});
  const JsonNode value = node.required_member("value");
  DescribedSetting setting{value_text(value), EktTrace::eSessionText};
  if (node.has_member("kind")) setting.kind = read_kind(node.required_member("kind"));
  if (!suits_kind(setting.value, setting.kind)) value.fail("is not a value of the setting's kind");
  return setting;
}

}  // namespace qbt2
