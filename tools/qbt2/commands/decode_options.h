#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "host/decode/decode_request.h"

/// The options of `qbt2 decode`, as typed and as a request.
namespace qbt2::tool {

/// The command line.
struct DecodeArguments {
  std::vector<std::string> captures;
  std::string input = "auto";
  std::string atb_id;
  std::string framing = "auto";
  std::string config;
  std::string device;
  std::vector<std::string> masters;
  std::string clock_hz;
  std::string format;  ///< as typed; empty: output_format() chooses
  std::string output = "-";
  std::string columns;
  bool hex = false;
  bool csv_safe = false;
  std::string limit;
  bool stats = false;
  std::string plugin;
  std::string progress = "auto";
  std::string threads;

  void add_to(CLI::App& app);
};

/// How rows are written: what --format says, else what the suffix of -o stands for, else a table.
std::string output_format(const DecodeArguments& arguments);

/// What the arguments ask for, checked: numbers are numbers, and no option contradicts another.
/// Throws Error(kUsage).
DecodeRequest request_from(const DecodeArguments& arguments);

}  // namespace qbt2::tool
