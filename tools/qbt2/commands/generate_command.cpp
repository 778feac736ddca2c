#include "tools/qbt2/commands/generate_command.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "host/base/error.h"
#include "host/base/output_file.h"
#include "host/generate/capture_generator.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/commands/generate_options.h"

namespace qbt2::tool {
namespace {

/// Next to the capture, unless that is a stream or a device: then none are written.
std::string settings_path(const GenerateArguments& arguments) {
  if (!arguments.settings.empty()) return arguments.settings;
  if (arguments.output == "-") return {};
  std::error_code ignored;
  const std::filesystem::file_status status = std::filesystem::status(arguments.output, ignored);
  const bool file = !std::filesystem::exists(status) || std::filesystem::is_regular_file(status);
  return file ? arguments.output + ".cfg" : std::string();
}

void print_summary(const GeneratorSummary& summary, std::uint64_t clock_hz) {
  const std::uint64_t microseconds = summary.last_tick / (clock_hz / 1'000'000);
  std::fprintf(
      stderr,
      "qbt2: %llu messages (%llu throughput, %llu latency, %llu transactions) of %llu.%03llu"
      " ms in %llu bytes, %u places damaged\n",
      static_cast<unsigned long long>(summary.messages),
      static_cast<unsigned long long>(summary.throughput),
      static_cast<unsigned long long>(summary.latency),
      static_cast<unsigned long long>(summary.transactions),
      static_cast<unsigned long long>(microseconds / 1'000),
      static_cast<unsigned long long>(microseconds % 1'000),
      static_cast<unsigned long long>(summary.bytes), summary.damaged_places);
}

void write_or_stop(OutputFile& file, std::string_view bytes) {
  if (!file.write(bytes)) throw ReaderGone();
}

int run_generate(const CLI::App& app, const GenerateArguments& arguments) try {
  const GeneratorOptions options = arguments.checked(app);
  CaptureGenerator generator(options);
  const std::string settings = settings_path(arguments);
  if (settings == arguments.output) {
    throw Error(ErrorCode::kUsage, "--settings",
                settings + " is the capture itself: give another name");
  }
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
} catch (const ReaderGone&) {
  return kExitOk;
}

}  // namespace

Command add_generate_command(CLI::App& root) {
  CLI::App* const app =
      root.add_subcommand("generate", "Write a synthetic capture and the settings to decode it");
  const auto arguments = std::make_shared<GenerateArguments>();
  arguments->add_to(*app);
  return {app, [app, arguments] { return run_generate(*app, *arguments); }};
}

}  // namespace qbt2::tool
