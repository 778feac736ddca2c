#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/format/row_formatter.h"
#include "host/rows/rendered_texts.h"

/// What CSV and JSON lines have in common: a row is a sequence of constant fragments with values
/// between them, and the fragments depend only on which fields the row has. Each combination of
/// fields (a shape; a capture has about three) gets its fragments once. What stays the same from
/// row to row of one probe and kind (probe, STP master, texts) is laid out once more, as passages
/// of text. To write a row is to copy both and turn the other numbers into digits. One thread;
/// memory is bounded.
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
  /// One value of a row and the fragment before it.
  struct Value {
    std::uint32_t fragment_begin = 0;
    std::uint32_t fragment_size = 0;
    std::size_t field = 0;  ///< the FieldIndex; in a kColumns step the column of the catalogue
  };
  enum class StepKind : std::uint8_t {
    kPassage,  ///< fields that a passage holds, fragments included
    kNumber,   ///< one of the other fields that all kinds of rows may have
    kColumns,  ///< columns of one width with fragments of one size
  };
  enum class FragmentSize : std::uint8_t { kOneChar, kShort, kLong };
  /// Consecutive values that are written alike.
  struct Step {
    StepKind kind = StepKind::kNumber;
    FragmentSize fragments = FragmentSize::kLong;
    std::uint8_t width = 0;  ///< of the columns, in bytes
    std::uint32_t first = 0;
    std::uint32_t end = 0;
  };
  struct Shape {
    Presence presence;
    std::string fragments;  ///< padded, so that copies may read past a fragment's end
    std::vector<Value> values;
    std::vector<Step> steps;
    std::uint32_t close_begin = 0;
    std::uint32_t close_size = 0;
    std::size_t max_bytes = 0;  ///< of a row, its passages not counted
  };
  /// The passages of one probe and kind, and what they were made of.
  struct Line {
    Presence presence;
    std::uint32_t master_text = 0;
    std::uint32_t type_text = 0;
    std::uint32_t description_text = 0;
    std::uint16_t stp_master = 0;
    std::uint8_t probe = 0;
    std::uint8_t shape = 0;  ///< in shapes_
    /// Of the first passage in passages_ and in passage_sizes_; the others follow it.
    std::uint32_t text_begin = 0;
    std::uint32_t sizes_begin = 0;
    std::size_t max_bytes = 0;  ///< of a row
  };
  /// Lines that one probe and kind keep at a time: masters may share a probe id.
  static constexpr std::size_t kWays = 4;
  static constexpr std::uint16_t kNoLine = 0;  ///< a line that no row has
  using Ways = std::array<std::uint16_t, kWays>;

  void use_batch(const RowBatch& rows, std::size_t capture);
  void forget_shapes();
  void forget_lines();
  static Presence presence_of(const RowHead& head);
  static bool is_line_of(const Line& line, const Presence& presence, const RowHead& head);
  const Line& line_of(const RowHead& head);
  const Line& make_line(Ways& ways, const Presence& presence, const RowHead& head);
  std::uint8_t shape_of(const Presence& presence);
  Shape make_shape(const Presence& presence) const;
  void add_value(Shape& shape, Value value) const;
  static bool has(const Presence& presence, FieldIndex field);
  std::optional<std::string> constant_value(const Presence& presence, FieldIndex field) const;
  void append_passage(const Shape& shape, const Step& step, const RowHead& head);
  char* write_number(char* at, std::size_t field, const RowHead& head) const;
  char* write_columns(char* at, const Shape& shape, const Step& step, std::size_t row) const;
  template <typename Number>
  char* write_columns_of(char* at, const Shape& shape, const Step& step, std::size_t row) const;
  char* write_row(char* at, const Line& line, const RowHead& head, std::size_t row) const;

  const ColumnCatalogue* catalogue_;
  std::vector<FieldIndex> fields_;
  std::vector<std::string> labels_;
  RowStyle style_;
  bool hex_addresses_;
  RenderedTexts texts_;
  std::uint64_t text_generation_ = 0;  ///< of the pool that the lines' texts are numbers of
  std::size_t capture_ = 0;            ///< of the current batch
  std::vector<Shape> shapes_;
  std::vector<Line> lines_;
  std::vector<Ways> ways_;  ///< by probe and kind: numbers of lines
  TextBuffer passages_;
  std::vector<std::uint32_t> passage_sizes_;
  std::size_t next_victim_ = 0;             ///< the way that is replaced next
  std::vector<const std::uint8_t*> cells_;  ///< by column: its first cell in the current batch
};

}  // namespace qbt2
