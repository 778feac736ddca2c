#include "host/tdf/section_text_check.h"

#include <algorithm>
#include <array>
#include <set>
#include <vector>

#include "host/base/number_text.h"
#include "host/base/parse_number.h"
#include "host/base/text_parts.h"
#include "host/base/trace_id.h"
#include "host/base/use_case_setting.h"
#include "host/tdf/usecase_check.h"

namespace qbt2 {
namespace {

constexpr std::size_t kMostKeys = 1'000'000;
constexpr std::uint64_t kLargestKind = 7;  // data types and data formats

/// Reports what is wrong with the lines of one text.
class LineChecker {
 public:
  explicit LineChecker(const FindingSink& sink) : sink_(sink) {}

  void fault(const TextLine& line, const std::string& text) const {
    sink_({FindingSeverity::kFault, line.offset, at(line) + text});
  }
  void note(const TextLine& line, const std::string& text) const {
    sink_({FindingSeverity::kNote, line.offset, at(line) + text});
  }
  /// Whether this is the first line for this key; a fault if it is not.
  bool is_first(const TextLine& line) {
    if (keys_.size() == kMostKeys) return true;  // more than any device has; memory stays bounded
    if (keys_.insert(std::string(line.key())).second) return true;
    fault(line, excerpt(line.key()) + " is set again; the last line wins");
    return false;
  }

 private:
  static std::string at(const TextLine& line) {
    return "line " + std::to_string(line.number) + ": ";
  }

  const FindingSink& sink_;
  std::set<std::string> keys_;
};

void check_setting(const TextLine& line, LineChecker& lines) {
  if (line.text.front() == '{') {
    return lines.note(line, "opens a use-case block, which readers ignore");
  }
  if (!line.has_equals()) return lines.fault(line, "has no '=', so the name becomes its own value");
  if (line.key().empty()) return lines.fault(line, "has no name and is ignored");
  if (line.value().empty()) return lines.fault(line, "has no value and is ignored");
  if (line.value().back() == '\r') {
    return lines.fault(line, "ends in a carriage return, which becomes part of the value");
  }
  lines.is_first(line);
  if (!has_use_case_prefix(line.key())) return;
  const std::string name(line.key());
  if (use_case_master(name) && usecase_line_fault(line.value()).empty()) {
    const std::string remark = usecase_line_remark(line.value());
    if (!remark.empty()) lines.note(line, name + ": " + remark);
    return;
  }
  for (const std::string& fault : check_usecase_settings({{name, std::string(line.value())}})) {
    lines.fault(line, fault);
  }
}

std::string quoted(std::string_view text) {
  return std::string("'").append(excerpt(text)).append("'");
}

std::string decoder_value_fault(std::string_view key, std::string_view value) {
  if (key == "DECODER") return {};  // may be empty
  const bool is_id = key == "ATBID";
  const std::uint64_t limit = is_id ? kLargestTraceId : kLargestKind;
  // The library reads the id with automatic base, and the other two as decimal.
  if (is_id ? parse_decimal_or_hex(value, limit) : parse_decimal(value, limit)) return {};
  return std::string(key)
      .append(is_id ? " is not a number from 0 to " : " is not a decimal number from 0 to ")
      .append(std::to_string(limit));
}

void check_decoder_line(const TextLine& line, LineChecker& lines) {
  constexpr std::array<std::string_view, 4> kKeys = {"DECODER", "DATA_TYPE", "DATA_FORMAT",
                                                     "ATBID"};
  if (!line.has_equals()) return lines.fault(line, "is not KEY=VALUE");
  if (std::find(kKeys.begin(), kKeys.end(), line.key()) == kKeys.end()) {
    return lines.fault(line, quoted(line.key()) + " is not a key of decoder information");
  }
  lines.is_first(line);
  const std::string fault = decoder_value_fault(line.key(), line.value());
  if (!fault.empty()) lines.fault(line, fault);
}

/// The fields of one record: t a text, n a number (0x hexadecimal or decimal), e an empty field.
struct DeviceKeyword {
  std::string_view name;
  std::string_view fields;  ///< empty where the value is one text; "," a list of numbers
};
constexpr std::array<DeviceKeyword, 8> kDeviceKeywords = {{{"EMU", ""},
                                                           {"PORT", ""},
                                                           {"DEVICEID", ","},
                                                           {"DEVICEMAP", "tn"},
                                                           {"DEVINFO", "ntt"},
                                                           {"OUTFILES", "tt"},
                                                           {"TRACEID", "nt"},
                                                           {"PROCMAP", "tne"}}};

std::string record_fault(std::string_view record, std::string_view kinds) {
  const std::string shown = "the record " + quoted(record) + " ";
  const std::size_t count = part_count(record, '$');  // before the parts: they may be millions
  if (count != kinds.size()) {
    return shown + "has " + counted(count, "field") + " instead of " + std::to_string(kinds.size());
  }
  const std::vector<std::string_view> fields = split(record, '$');
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (kinds[i] == 'n' && !parse_decimal_or_hex(trimmed(fields[i]), UINT32_MAX)) {
      return shown + "has a field that is not a number";
    }
    if (kinds[i] == 'e' && !fields[i].empty()) return shown + "does not end in an empty field";
  }
  return {};
}

void check_records(const TextLine& line, std::string_view kinds, const LineChecker& lines) {
  std::string_view value = line.value();
  if (value.empty()) return;
  if (value.back() != '~') return lines.fault(line, "the last record does not end in '~'");
  value.remove_suffix(1);
  for_each_part(value, '~', [&](std::string_view record) {
    const std::string fault = record_fault(record, kinds);
    if (!fault.empty()) lines.fault(line, fault);
  });
}

void check_device_ids(const TextLine& line, const LineChecker& lines) {
  if (line.value().empty()) return;
  for_each_part(line.value(), ',', [&](std::string_view item) {
    if (parse_decimal_or_hex(trimmed(item), UINT32_MAX)) return;
    lines.fault(line, "the device id " + quoted(item) + " is not a number");
  });
}

void check_device_line(const TextLine& line, LineChecker& lines) {
  if (!line.has_equals()) return lines.fault(line, "is not KEYWORD=VALUE");
  const auto* keyword =
      std::find_if(kDeviceKeywords.begin(), kDeviceKeywords.end(),
                   [&](const DeviceKeyword& known) { return known.name == line.key(); });
  if (keyword == kDeviceKeywords.end()) {
    return lines.fault(line, quoted(line.key()) + " is not a keyword of a device identifier");
  }
  if (line.text.back() == '\r') return lines.fault(line, "ends in a carriage return");
  lines.is_first(line);
  if (keyword->fields == ",") return check_device_ids(line, lines);
  if (!keyword->fields.empty()) check_records(line, keyword->fields, lines);
}

using CheckLine = void (*)(const TextLine& line, LineChecker& lines);

void check_lines(std::string_view text, const FindingSink& sink, bool comments, CheckLine check) {
  LineChecker lines(sink);
  for_each_line(text, [&](const TextLine& line) {
    if (line.text.empty() || (comments && line.text.front() == '#')) return;
    check(line, lines);
  });
}

}  // namespace

void check_settings_text(std::string_view text, const FindingSink& sink) {
  check_lines(text, sink, true, check_setting);
}

void check_decoder_text(std::string_view text, const FindingSink& sink) {
  check_lines(text, sink, true, check_decoder_line);
}

void check_device_text(std::string_view text, const FindingSink& sink) {
  check_lines(text, sink, false, check_device_line);  // the only text without comments
}

}  // namespace qbt2
