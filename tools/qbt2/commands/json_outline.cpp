#include "tools/qbt2/commands/json_outline.h"
#include "tools/qbt2/cli/options.h"

#include <algorithm>

namespace qbt2::tool {
namespace {

std::string scalar_text(const Json& value) {
  return value.is_string() ? shown(value.get_ref<const std::string&>()) : json_text(value);
}

bool is_flat(const Json& value) {
  return !value.is_structured() ||
         (value.is_array() && std::none_of(value.begin(), value.end(), [](const Json& element) {
            return element.is_structured();
          }));
}

bool is_flat_object(const Json& value) {
  return value.is_object() && std::all_of(value.begin(), value.end(), is_flat);
}

bool follows(const Json& value, const Json& before) {
  return value.is_number_unsigned() && before.is_number_unsigned() &&
         value.get<std::uint64_t>() == before.get<std::uint64_t>() + 1;
}

/// A list of scalars: "0-3, 7".
std::string list_text(const Json& list) {
  std::string text;
  for (std::size_t first = 0; first < list.size();) {
    std::size_t last = first;
    while (last + 1 < list.size() && follows(list[last + 1], list[last])) ++last;
    text.append(first == 0 ? "" : ", ").append(scalar_text(list[first]));
    if (last > first) text.append("-").append(scalar_text(list[last]));
    first = last + 1;
  }
  return text.empty() ? "none" : text;
}

std::string flat_text(const Json& value) {
  return value.is_array() ? list_text(value) : scalar_text(value);
}

/// A flat object in one line: "master 5, channels 0-3".
std::string one_line(const Json& object) {
  std::string text;
  for (const auto& [name, value] : object.items()) {
    text.append(text.empty() ? "" : ", ").append(shown(name)).append(" ").append(flat_text(value));
  }
  return text;
}

void append_members(const Json& object, const std::string& indent, std::string& text);

void append_list(const Json& list, const std::string& indent, std::string& text) {
  for (const Json& element : list) {
    if (is_flat_object(element)) {
      text.append(indent).append(one_line(element)).append("\n");
    } else {
      append_members(element, indent, text);
    }
  }
}

void append_members(const Json& object, const std::string& indent, std::string& text) {
  for (const auto& [name, value] : object.items()) {
    text.append(indent).append(shown(name)).append(":");
    if (is_flat(value)) {
      text.append(" ").append(flat_text(value)).append("\n");
      continue;
    }
    text.append("\n");
    if (value.is_array()) {
      append_list(value, indent + "  ", text);
    } else {
      append_members(value, indent + "  ", text);
    }
  }
}

}  // namespace

std::string outline(const Json& object) {
  std::string text;
  append_members(object, "", text);
  return text;
}

}  // namespace qbt2::tool
