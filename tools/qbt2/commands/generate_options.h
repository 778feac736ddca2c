#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "host/generate/capture_generator.h"

/// The options of `qbt2 generate`: as typed, and what they mean to the generator.
namespace qbt2::tool {

/// As typed; empty where not given and the default is not a word.
struct GenerateArguments {
  std::string output;
  std::string settings;
  std::string messages;
  std::string size;
  std::string seed = "1";
  std::string input = "stp";
  std::string framing = "flag";
  std::vector<std::string> masters;
  std::string mix = "1:1:8";
  std::string timestamps = "every";
  std::string timestamp_coding = "natural";
  std::string clock_hz = "200000000";
  bool no_freq = false;
  std::string async_every = "4096";
  std::string damage = "0";
  std::string atb_id;
  std::string other_sources = "0";
  bool force = false;

  void add_to(CLI::App& app);
  /// Throws Error(kUsage) for texts that are not numbers and for options that do not go with the
  /// chosen input format; `app` knows which were given.
  GeneratorOptions checked(const CLI::App& app) const;
};

}  // namespace qbt2::tool
