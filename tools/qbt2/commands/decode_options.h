#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/capture/open_capture.h"

/// The options of `qbt2 decode`: as typed, and as meant.
namespace qbt2::tool {

/// What stands on the command line.
struct DecodeArguments {
  std::vector<std::string> captures;
  std::string input = "auto";
  std::string atb_id;
  std::string framing = "auto";
  std::string config;
  std::string device;
  std::vector<std::string> masters;
  std::string clock_hz;
  std::string format = "table";
  std::string output = "-";
  std::string columns;
  std::string limit;
  bool stats = false;
  std::string plugin;
  std::string progress = "auto";
  std::string threads;

  void add_to(CLI::App& app);
};

/// The same, checked: numbers are numbers, and no option contradicts another.
struct DecodeOptions {
  std::optional<CaptureFormat> input;  ///< empty: find out
  CaptureOptions capture;
  std::uint64_t limit = UINT64_MAX;
  unsigned threads = 1;
  bool show_progress = false;
  bool rows_on_terminal = false;  ///< rows and a progress bar would share the screen

  /// Throws Error(kUsage).
  static DecodeOptions from(const DecodeArguments& arguments);
};

}  // namespace qbt2::tool
