#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Facts for people: a label and a value in each line, the values below each other, and tables.
/// Texts must be safe for a terminal (shown()). Widths are in characters. One thread.
namespace qbt2::tool {

class FactLines {
 public:
  /// Lines are kept within `columns` where their parts permit it.
  explicit FactLines(std::size_t columns) : columns_(columns) {}

  /// A value that is never broken, such as a file's name.
  void fact(std::string_view label, std::string_view value);
  /// A value of items with commas between them, broken only there.
  void items(std::string_view label, const std::vector<std::string>& items);
  /// A value that is broken at blanks where the line is full.
  void wrapped(std::string_view label, std::string_view value);
  /// Rows after an empty line, the first of them the titles, all equally long. Cells are aligned to
  /// the right; the last one of a row, a name, to the left, and cut in the middle where the line
  /// is full.
  void table(const std::vector<std::vector<std::string>>& rows);
  /// An empty line, and a sentence that is broken at blanks.
  void remark(std::string_view text);
  void gap() { text_ += '\n'; }

  const std::string& text() const { return text_; }

 private:
  void begin(std::string_view label);
  /// Appends what stays together, in a new line where this one is full. `line_start` is the column
  /// where lines begin, `at` the column so far.
  void append_piece(std::string_view piece, std::size_t line_start, std::size_t& at);
  void append_words(std::string_view text, std::size_t line_start);

  std::size_t columns_;
  std::string text_;
};

}  // namespace qbt2::tool
