#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/rows/row_batch.h"

/// The names of a row's fields in machine-readable outputs, and a user's choice among them. Pure
/// functions, any thread.
namespace qbt2 {

/// The fields before the catalogue's columns, in their fixed order.
enum class BuiltinField {
  kCapture,
  kOffset,
  kTimestamp,
  kTimeNs,
  kProbe,
  kStpMaster,
  kMaster,
  kType,
  kKind,
  kDescription,
  kAddress,
};
inline constexpr std::size_t kBuiltinFieldCount = 11;

/// A field before the catalogue's columns, for a person.
struct FieldDescription {
  std::string_view name;
  bool is_text = false;  ///< else a number
  std::string_view description;
};
const FieldDescription& describe_field(BuiltinField field);

/// "capture", "offset", "timestamp", "time_ns", "probe", "stp_master", "master", "type", "kind",
/// "description", "address".
std::string_view field_name(BuiltinField field);
/// "throughput", "latency", "transaction"; empty for kUnknown.
std::string_view kind_name(RowKind kind);

/// A number f below kBuiltinFieldCount is that BuiltinField, any other is the catalogue column
/// f - kBuiltinFieldCount.
using FieldIndex = std::size_t;
std::string_view field_name(const ColumnCatalogue& catalogue, FieldIndex field);
/// All fields in their fixed order.
std::vector<FieldIndex> all_fields(const ColumnCatalogue& catalogue);
/// Those that rows are written with where the user names none: `capture` only where the rows of
/// several captures go into one output.
std::vector<FieldIndex> default_fields(const ColumnCatalogue& catalogue, bool several_captures);
/// The fields that a comma-separated list names, in the list's order. Throws Error(kUsage) naming
/// the unknown name and, where one is near, the nearest known one.
std::vector<FieldIndex> parse_field_list(const ColumnCatalogue& catalogue, std::string_view list);
/// The catalogue columns among the fields that the list names; all for an empty list. Throws as
/// parse_field_list does.
ColumnMask parse_wanted_columns(const ColumnCatalogue& catalogue, std::string_view list);

}  // namespace qbt2
