#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tools/qbt2/cli/printer.h"

/// JSON for scripts. Text that is not UTF-8 is written with U+FFFD for what is broken, and all
/// control characters are escaped, also those that JSON would allow: DEL and C1.
namespace qbt2::tool {

using Json = nlohmann::ordered_json;

std::string json_text(const Json& value, int indent = -1);

/// One JSON object: the file's name, an array written item by item, one per line, and members that
/// are known only after the items.
class JsonList {
 public:
  JsonList(Printer& printer, std::string_view file, std::string_view list) : printer_(printer) {
    printer_.print("{\"file\":" + json_text(Json(file)) + "," + json_text(Json(list)) + ":[");
  }
  void item(const Json& value) {
    begin_item();
    printer_.print(json_text(value));
  }
  /// The line break before an item that the caller prints, because it may be too large to hold as
  /// one value.
  void begin_item() {
    printer_.print(is_first_ ? "\n" : ",\n");
    is_first_ = false;
  }
  /// `tail` is an object; its members follow the array.
  void finish(const Json& tail) {
    const std::string members = json_text(tail);
    printer_.print("\n]" + (tail.empty() ? "" : "," + members.substr(1, members.size() - 2)) +
                   "}\n");
  }

 private:
  Printer& printer_;
  bool is_first_ = true;
};

}  // namespace qbt2::tool
