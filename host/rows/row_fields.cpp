#include "host/rows/row_fields.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "host/base/error.h"
#include "host/base/near_name.h"
#include "host/base/text_parts.h"

namespace qbt2 {
namespace {

// In the order of BuiltinField.
constexpr std::array<FieldDescription, kBuiltinFieldCount> kBuiltinFields{{
    {"capture", false, "1, 2, ... in the order given, where several captures go into one output"},
    {"offset", false, "byte of the input at which the message, or the sample, begins"},
    {"timestamp", false, "STP timestamp at the end of the message, in ticks"},
    {"time_ns", false, "the same in nanoseconds, where the rate of the timestamps is known"},
    {"probe", false, "low 8 bits of the STP master, by which the decoder knows it"},
    {"stp_master", false, "STP master in full; in a sample file, the probe"},
    {"master", true, "name of the master in the settings, else Unknown"},
    {"type", true, "always Value"},
    {"kind", true, "throughput, latency or transaction"},
    {"description", true, "the kind in words, with the sampling period in clock cycles"},
    {"address", false, "address of the transaction, 48 bits"},
}};
constexpr std::array<std::string_view, 4> kKindNames{"", "throughput", "latency", "transaction"};

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

[[noreturn]] void throw_unknown(const ColumnCatalogue& catalogue, std::string_view name) {
  std::vector<std::string_view> names;
  for (const FieldIndex field : all_fields(catalogue)) {
    names.push_back(field_name(catalogue, field));
  }
  throw Error(ErrorCode::kUsage,
              "unknown column '" + std::string(name) + "'" + nearest_hint(name, names));
}

FieldIndex find_field(const ColumnCatalogue& catalogue, std::string_view name) {
  if (name.empty()) throw Error(ErrorCode::kUsage, "empty name in the list of columns");
  const std::vector<FieldIndex> fields = all_fields(catalogue);
  auto found = std::find_if(fields.begin(), fields.end(),
                            [&](FieldIndex f) { return field_name(catalogue, f) == name; });
  if (found == fields.end()) {
    found = std::find_if(fields.begin(), fields.end(), [&](FieldIndex f) {
      return equal_ignoring_case(field_name(catalogue, f), name);
    });
  }
  if (found == fields.end()) throw_unknown(catalogue, name);
  return *found;
}

}  // namespace

const FieldDescription& describe_field(BuiltinField field) {
  return kBuiltinFields[static_cast<std::size_t>(field)];
}

std::string_view field_name(BuiltinField field) {
  return describe_field(field).name;
}

std::string_view kind_name(RowKind kind) {
  return kKindNames[static_cast<std::size_t>(kind)];
}

std::string_view field_name(const ColumnCatalogue& catalogue, FieldIndex field) {
  if (field < kBuiltinFieldCount) return field_name(static_cast<BuiltinField>(field));
  return catalogue.columns.at(field - kBuiltinFieldCount).key;
}

std::vector<FieldIndex> all_fields(const ColumnCatalogue& catalogue) {
  std::vector<FieldIndex> fields(kBuiltinFieldCount + catalogue.columns.size());
  std::iota(fields.begin(), fields.end(), FieldIndex{0});
  return fields;
}

std::vector<FieldIndex> default_fields(const ColumnCatalogue& catalogue, bool several_captures) {
  std::vector<FieldIndex> fields = all_fields(catalogue);
  if (!several_captures) std::erase(fields, static_cast<FieldIndex>(BuiltinField::kCapture));
  return fields;
}

std::vector<FieldIndex> parse_field_list(const ColumnCatalogue& catalogue, std::string_view list) {
  std::vector<FieldIndex> fields;
  for (const std::string_view name : split(list, ',')) {
    const FieldIndex field = find_field(catalogue, trimmed(name));
    if (std::find(fields.begin(), fields.end(), field) != fields.end()) {
      throw Error(ErrorCode::kUsage,
                  "column '" + std::string(field_name(catalogue, field)) + "' is named twice");
    }
    fields.push_back(field);
  }
  return fields;
}

ColumnMask parse_wanted_columns(const ColumnCatalogue& catalogue, std::string_view list) {
  if (list.empty()) return ColumnMask::all();
  ColumnMask wanted;
  for (const FieldIndex field : parse_field_list(catalogue, list)) {
    if (field >= kBuiltinFieldCount) wanted.set(field - kBuiltinFieldCount);
  }
  return wanted;
}

}  // namespace qbt2
