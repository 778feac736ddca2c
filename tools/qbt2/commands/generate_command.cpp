#include "tools/qbt2/commands/generate_command.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/base/error.h"
#include "host/base/number_text.h"
#include "host/base/output_file.h"
#include "host/generate/capture_generator.h"
#include "tools/qbt2/cli/help.h"
#include "tools/qbt2/cli/message.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/commands/generate_options.h"

namespace qbt2::tool {
namespace {

namespace fs = std::filesystem;

/// Next to the capture, unless that is a stream or a device: then none are written.
std::string settings_path(const GenerateArguments& arguments) {
  if (!arguments.settings.empty()) return arguments.settings;
  if (arguments.output == "-") return {};
  std::error_code ignored;
  const fs::file_status status = fs::status(arguments.output, ignored);
  const bool file = !fs::exists(status) || fs::is_regular_file(status);
  return file ? arguments.output + ".cfg" : std::string();
}

void print_summary(const GeneratorSummary& summary, std::uint64_t clock_hz) {
  const std::uint64_t microseconds = summary.last_tick / (clock_hz / 1'000'000);
  const std::string thousandths = std::to_string(1'000 + microseconds % 1'000).substr(1);
  print_message(counted(summary.messages, "message") + " (" + std::to_string(summary.throughput) +
                " throughput, " + std::to_string(summary.latency) + " latency, " +
                counted(summary.transactions, "transaction") + ") of " +
                std::to_string(microseconds / 1'000) + "." + thousandths + " ms in " +
                counted(summary.bytes, "byte") + ", " + counted(summary.damaged_places, "place") +
                " damaged");
}

/// A capture that took hours, and settings that were only implied, are not replaced in passing.
void check_outputs(const GenerateArguments& arguments, const std::string& settings) {
  std::error_code ignored;
  if (!settings.empty() &&
      fs::weakly_canonical(settings, ignored) == fs::weakly_canonical(arguments.output, ignored)) {
    throw Error(ErrorCode::kUsage, "--settings",
                settings + " is the capture itself: give another name");
  }
  if (arguments.force) return;
  std::vector<std::string> kept;
  if (!names_open_stream(arguments.output)) kept.push_back(arguments.output);
  if (arguments.settings.empty() && !settings.empty()) kept.push_back(settings);
  for (const std::string& path : kept) {
    if (!fs::is_regular_file(path, ignored)) continue;
    throw Error(ErrorCode::kUsage, path, "already exists: --force replaces it");
  }
}

void write_or_stop(OutputFile& file, std::string_view bytes) {
  if (!file.write(bytes)) throw ReaderGone();
}

int run_generate(const CLI::App& app, const GenerateArguments& arguments) {
  const GeneratorOptions options = arguments.checked(app);
  CaptureGenerator generator(options);
  const std::string settings = settings_path(arguments);
  check_outputs(arguments, settings);
  std::optional<OutputFile> settings_file;
  if (!settings.empty()) settings_file.emplace(settings);
  OutputFile capture(arguments.output);
  if (settings_file) write_or_stop(*settings_file, generator.settings());
  const GeneratorSummary summary = generator.run([&](std::span<const std::uint8_t> bytes) {
    write_or_stop(capture, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  });
  if (settings_file) settings_file->commit();
  capture.commit();
  print_summary(summary, options.traffic.clock_hz);
  return kExitOk;
}

}  // namespace

Command add_generate_command(CLI::App& root) {
  CLI::App* const app =
      root.add_subcommand("generate", "Write a synthetic capture and the settings to decode it");
  const auto arguments = std::make_shared<GenerateArguments>();
  arguments->add_to(*app);
  end_help(*app,
           {"qbt2 generate -o soc.stp --messages 100k",
            "qbt2 generate -o frames.stp --input frames --size 2Mi --damage 3"},
           {kExitOk, kExitFailed});
  return {app, [app, arguments] { return run_generate(*app, *arguments); }};
}

}  // namespace qbt2::tool
