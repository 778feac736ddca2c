#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/// What the tool says on standard error, and what it knows of the terminal.
namespace qbt2::tool {

/// Columns of the terminal that standard output is, 0 when it is none.
std::size_t terminal_columns();
bool standard_output_is_terminal();
bool standard_error_is_terminal();

/// One line that shows how far a run is, redrawn in place. Draws nothing unless switched on.
class ProgressBar {
 public:
  /// `total_bytes` is 0 when it is not known.
  ProgressBar(bool enabled, std::uint64_t total_bytes);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Cheap: draws ten times a second at most.
  void update(std::uint64_t bytes_done);
  /// Wipes the line, so that other text can stand there.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  void draw(std::uint64_t bytes_done, Clock::time_point now);

  bool enabled_;
  bool drawn_ = false;
  std::uint64_t total_bytes_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point last_ = start_;
};

/// Lines about the input, each beginning with the file's name. Of each kind of trouble only the
/// first lines are shown; the rest is counted.
class Reporter {
 public:
  explicit Reporter(ProgressBar& progress) : progress_(progress) {}

  /// "qbt2: FILE: byte N: reason", at most kLinesOfAKind of each `kind`.
  void trouble(std::string_view kind, std::string_view file, std::uint64_t offset,
               std::string_view reason);
  /// Counts `lines` of trouble of which nothing is known but their number.
  void trouble_unseen(std::string_view kind, std::uint64_t lines);
  /// "qbt2: FILE: text", always shown.
  void notice(std::string_view file, std::string_view text);
  /// One line for each kind of trouble that was cut off.
  void summarise();

  static constexpr std::uint64_t kLinesOfAKind = 20;

 private:
  struct Lines {
    std::uint64_t shown = 0;
    std::uint64_t hidden = 0;
  };
  Lines& lines_of(std::string_view kind);

  ProgressBar& progress_;
  std::map<std::string, Lines, std::less<>> lines_of_kind_;
};

}  // namespace qbt2::tool
