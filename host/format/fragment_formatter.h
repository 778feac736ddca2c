#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/format/row_formatter.h"
#include "host/rows/rendered_texts.h"

/// What CSV and JSON lines have in common: a row is a sequence of constant fragments with values
/// between them, and the fragments depend only on which fields the row has. Each combination of
/// fields (a shape; a capture has about three) gets its fragments once; to write a row is to copy
/// them and turn numbers into digits. One thread.
namespace qbt2 {

/// The constant text around the values of a row.
struct RowStyle {
  std::string_view open;
  std::string_view separator;
  std::string_view close;
  std::string_view quote;  ///< around a hexadecimal number
  bool keeps_absent;       ///< a field without a value keeps its place between separators
  TextRenderer render;     ///< how texts are quoted
  TextRenderer label;      ///< what the name of a field becomes before its value; null: nothing
};

class FragmentFormatter : public RowFormatter {
 public:
  void header(TextBuffer& /*out*/) override {}
  void append(const RowBatch& rows, std::size_t capture, TextBuffer& out) final;
  void footer(TextBuffer& /*out*/) override {}

 protected:
  /// Writes the fields of the options, or all where they name none. The catalogue must outlive the
  /// formatter.
  FragmentFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options,
                    const RowStyle& style);

  const ColumnCatalogue& catalogue() const { return *catalogue_; }
  const std::vector<FieldIndex>& fields() const { return fields_; }
  const RowStyle& style() const { return style_; }

 private:
  /// What the fragments depend on.
  struct Presence {
    ColumnMask columns;
    RowKind kind = RowKind::kUnknown;
    std::uint8_t flags = 0;
    bool operator==(const Presence&) const = default;
  };
  /// One fragment and the value after it.
  struct Step {
    std::uint32_t fragment_begin = 0;
    std::uint32_t fragment_size = 0;
    FieldIndex field = 0;
    std::uint16_t column = 0;      ///< of the catalogue, if the field is one
    std::uint8_t value_bytes = 0;  ///< of the column; 0: the field is not a column
  };
  struct Shape {
    Presence presence;
    std::string fragments;  ///< padded, so that copies may read past a fragment's end
    std::vector<Step> steps;
    std::uint32_t close_begin = 0;
    std::uint32_t close_size = 0;
    std::size_t max_bytes = 0;  ///< of a row, its texts not counted
  };

  void use_capture(std::size_t capture);
  static Presence presence_of(const RowHead& head);
  const Shape& shape_of(const RowHead& head);
  Shape make_shape(const Presence& presence) const;
  static bool has(const Presence& presence, FieldIndex field);
  std::optional<std::string> constant_value(const Presence& presence, FieldIndex field) const;
  std::size_t text_bytes(const RowHead& head);
  char* write_value(char* at, FieldIndex field, const RowHead& head);
  char* write_row(char* at, const Shape& shape, const RowHead& head, std::size_t row);

  const ColumnCatalogue* catalogue_;
  std::vector<FieldIndex> fields_;
  std::vector<std::string> labels_;
  RowStyle style_;
  bool hex_addresses_;
  RenderedTexts texts_;
  std::size_t capture_ = 0;  ///< of the current batch
  std::vector<Shape> shapes_;
  std::size_t last_shape_ = 0;
  std::vector<const std::uint8_t*> cells_;  ///< by column: its first cell in the current batch
};

}  // namespace qbt2
