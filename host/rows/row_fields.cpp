#include "host/rows/row_fields.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include "host/base/error.h"
#include "host/base/text_parts.h"

namespace qbt2 {
namespace {

constexpr std::array<std::string_view, kBuiltinFieldCount> kBuiltinNames{
    "offset", "timestamp", "time_ns", "probe", "master", "type", "kind", "description", "address"};
constexpr std::array<std::string_view, 4> kKindNames{"", "throughput", "latency", "transaction"};

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

/// Single-character edits that turn one name into the other, ignoring case.
std::size_t edit_distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> line(b.size() + 1);
  std::iota(line.begin(), line.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(line[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
      diagonal = line[j + 1];
      line[j + 1] = std::min({replaced, diagonal + 1, line[j] + 1});
    }
  }
  return line.back();
}

[[noreturn]] void throw_unknown(const ColumnCatalogue& catalogue, std::string_view name) {
  constexpr std::size_t kLongestName = 64;  // a longer one is not a typing error
  std::string text = "unknown column '" + std::string(name) + "'";
  if (name.size() <= kLongestName) {
    const std::vector<FieldIndex> fields = all_fields(catalogue);
    const auto distance = [&](FieldIndex f) {
      return edit_distance(name, field_name(catalogue, f));
    };
    const FieldIndex nearest =
        *std::min_element(fields.begin(), fields.end(),
                          [&](FieldIndex a, FieldIndex b) { return distance(a) < distance(b); });
    text += "; the nearest is '" + std::string(field_name(catalogue, nearest)) + "'";
  }
  throw Error(ErrorCode::kUsage, text);
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

std::string_view field_name(BuiltinField field) {
  return kBuiltinNames[static_cast<std::size_t>(field)];
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
