#include "tools/qbt2/commands/generate_command.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/base/error.h"
#include "host/base/output_file.h"
#include "host/base/text_parts.h"
#include "host/generate/damage_injector.h"
#include "host/generate/capture_generator.h"
#include "tools/qbt2/cli/numbers.h"

namespace qbt2::tool {
namespace {

constexpr std::uint64_t kLargestMaster = 0xFFFF;
constexpr const char* kDefaultMessages = "100k";
constexpr std::array<std::string_view, 3> kTimestampUses = {"every", "some", "none"};
constexpr std::array<std::string_view, 3> kCodings = {"natural", "gray", "delta"};

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
};

void refuse(bool contradiction, const std::string& text) {
  if (contradiction) throw Error(ErrorCode::kUsage, text);
}

/// The number of a name in its table; the parser lets no other name through.
template <typename Enum, std::size_t N>
Enum by_name(const std::array<std::string_view, N>& names, std::string_view name) {
  std::size_t i = 0;
  while (i + 1 < N && names[i] != name) ++i;
  return static_cast<Enum>(i);
}

template <typename Enum>
Enum by_name(int count, std::string_view (*name_of)(Enum), std::string_view name) {
  int i = 0;
  while (i + 1 < count && name_of(static_cast<Enum>(i)) != name) ++i;
  return static_cast<Enum>(i);
}

/// A number with an ending: k, M, G for powers of 1000, Ki, Mi, Gi for powers of 1024.
std::uint64_t parse_amount(const std::string& option, const std::string& text) {
  struct Ending {
    std::string_view text;
    std::uint64_t factor;
  };
  static constexpr std::array<Ending, 6> kEndings = {{{"Ki", std::uint64_t{1} << 10},
                                                      {"Mi", std::uint64_t{1} << 20},
                                                      {"Gi", std::uint64_t{1} << 30},
                                                      {"k", 1'000},
                                                      {"M", 1'000'000},
                                                      {"G", 1'000'000'000}}};
  for (const Ending& ending : kEndings) {
    if (!text.ends_with(ending.text)) continue;
    const std::string digits = text.substr(0, text.size() - ending.text.size());
    return parse_number(option, digits, UINT64_MAX / ending.factor) * ending.factor;
  }
  return parse_number(option, text);
}

/// Ids and ranges of ids: 5, 0x20-0x27.
std::vector<std::uint16_t> parse_masters(const std::vector<std::string>& items) {
  std::vector<std::uint16_t> masters;
  for (const std::string& item : items) {
    const std::size_t dash = item.find('-');
    const std::uint64_t first = parse_number("--masters", item.substr(0, dash), kLargestMaster);
    const std::uint64_t last =
        dash == std::string::npos
            ? first
            : parse_number("--masters", item.substr(dash + 1), kLargestMaster);
    refuse(last < first, "--masters: the range " + item + " ends before it begins");
    for (std::uint64_t id = first; id <= last; ++id) {
      masters.push_back(static_cast<std::uint16_t>(id));
    }
  }
  return masters;
}

TrafficMix parse_mix(const std::string& text) {
  const std::vector<std::string_view> weights = split(text, ':');
  refuse(weights.size() != 3, "--mix: '" + text + "' is not three weights such as 1:1:8");
  const auto weight = [&](std::size_t i) {
    return static_cast<std::uint32_t>(parse_number("--mix", weights[i], kMostMixWeight));
  };
  return {weight(0), weight(1), weight(2)};
}

GeneratorOptions to_options(const GenerateArguments& arguments) {
  GeneratorOptions options;
  options.traffic.seed = parse_number("--seed", arguments.seed);
  options.traffic.clock_hz = parse_number("--clock-hz", arguments.clock_hz);
  options.traffic.masters = parse_masters(arguments.masters);
  options.traffic.mix = parse_mix(arguments.mix);
  if (!arguments.messages.empty()) {
    options.messages = parse_amount("--messages", arguments.messages);
  }
  if (!arguments.size.empty()) options.bytes = parse_amount("--size", arguments.size);
  if (arguments.messages.empty() && arguments.size.empty()) {
    options.messages = parse_amount("--messages", kDefaultMessages);
  }
  options.format =
      by_name<CaptureFormat>(kCaptureFormatCount, capture_format_name, arguments.input);
  options.encoding.framing = by_name<Framing>(kFramingCount, framing_name, arguments.framing);
  options.encoding.timestamps = by_name<TimestampUse>(kTimestampUses, arguments.timestamps);
  options.encoding.coding = by_name<StpTimestampCoding>(kCodings, arguments.timestamp_coding);
  options.encoding.async_every = parse_amount("--async-every", arguments.async_every);
  options.frequency_packet = !arguments.no_freq;
  options.damaged_places =
      static_cast<std::uint32_t>(parse_number("--damage", arguments.damage, kMostDamagedPlaces));
  if (!arguments.atb_id.empty()) {
    options.atb_id =
        static_cast<std::uint8_t>(parse_number("--atb-id", arguments.atb_id, kLargestTraceId));
  }
  options.other_sources = static_cast<std::uint32_t>(
      parse_number("--other-sources", arguments.other_sources, kMostOtherSources));
  return options;
}

/// Options that have no meaning for the chosen container are a mistake, not a wish to pass over.
void check_given(const CLI::App& app, const GenerateArguments& arguments) {
  if (arguments.input == "samples") {
    for (const char* const option :
         {"--framing", "--timestamps", "--timestamp-coding", "--async-every", "--no-freq"}) {
      refuse(app.count(option) != 0,
             std::string(option) + " goes with STP, not with --input samples");
    }
  }
  if (arguments.input != "frames") {
    for (const char* const option : {"--atb-id", "--other-sources"}) {
      refuse(app.count(option) != 0, std::string(option) + " goes with --input frames");
    }
  }
}

/// Beside the capture, unless that is a stream or a device, which has no beside.
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

/// Ends the run when nobody reads the capture any more.
struct ReaderGone {};

int run_generate(const CLI::App& app, const GenerateArguments& arguments) {
  check_given(app, arguments);
  const GeneratorOptions options = to_options(arguments);
  CaptureGenerator generator(options);
  const std::string settings = settings_path(arguments);
  refuse(settings == arguments.output, "the capture and its settings are both to be " + settings);

  std::optional<OutputFile> settings_file;
  if (!settings.empty()) settings_file.emplace(settings);
  OutputFile capture(arguments.output);
  const auto put = [](OutputFile& file, std::string_view bytes) {
    if (!file.write(bytes)) throw ReaderGone();
  };
  try {
    if (settings_file) put(*settings_file, generator.settings());
    const GeneratorSummary summary = generator.run([&](std::span<const std::uint8_t> bytes) {
      put(capture, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    });
    if (settings_file) settings_file->commit();
    capture.commit();
    print_summary(summary, options.traffic.clock_hz);
  } catch (const ReaderGone&) {
    return kExitOk;
  }
  return kExitOk;
}

void add_options(CLI::App& app, GenerateArguments& a) {
  app.add_option("-o,--output", a.output, "The capture to write; - is standard output")->required();
  app.add_option("--settings", a.settings,
                 "Its settings, for --config (default: the capture's name and .cfg)");
  app.add_option("--messages", a.messages,
                 std::string("Messages to write; endings k, M, G, Ki, Mi, Gi (default: ") +
                     kDefaultMessages + ", or what --size takes)");
  app.add_option("--size", a.size, "Bytes to write, to the end of a message; endings as above");
  app.add_option("--seed", a.seed, "Equal seeds and options give equal captures")
      ->capture_default_str();
  app.add_option("--input", a.input, "What to write: stp, frames or samples")
      ->check(CLI::IsMember({"stp", "frames", "samples"}))
      ->capture_default_str();
  app.add_option("--framing", a.framing,
                 "How messages end: flag, marker-last, timestamp-last or marker-first")
      ->check(CLI::IsMember({"flag", "marker-last", "timestamp-last", "marker-first"}))
      ->capture_default_str();
  app.add_option("--masters", a.masters, "Ids and ranges of ids, such as 5,0x20-0x27,300")
      ->delimiter(',');
  app.add_option("--mix", a.mix, "Shares of throughput:latency:transaction messages")
      ->capture_default_str();
  app.add_option("--timestamps", a.timestamps, "Messages that carry their time: every, some, none")
      ->check(CLI::IsMember({"every", "some", "none"}))
      ->capture_default_str();
  app.add_option("--timestamp-coding", a.timestamp_coding, "natural, gray or delta")
      ->check(CLI::IsMember({"natural", "gray", "delta"}))
      ->capture_default_str();
  app.add_option("--clock-hz", a.clock_hz, "Rate of the bus clock and of the time stamps")
      ->capture_default_str();
  app.add_flag("--no-freq", a.no_freq, "Do not tell the rate in FREQ packets");
  app.add_option("--async-every", a.async_every,
                 "STP bytes from one synchronisation to the next; 0: only at the beginning")
      ->capture_default_str();
  app.add_option("--damage", a.damage, "Number of places to damage")->capture_default_str();
  app.add_option("--atb-id", a.atb_id, "Frames: id of the source (default: 0x10)");
  app.add_option("--other-sources", a.other_sources, "Frames: number of other sources between")
      ->capture_default_str();
}

}  // namespace

Command add_generate_command(CLI::App& root) {
  CLI::App* const app =
      root.add_subcommand("generate", "Write a synthetic capture and the settings that decode it");
  const auto arguments = std::make_shared<GenerateArguments>();
  add_options(*app, *arguments);
  return {app, [app, arguments] { return run_generate(*app, *arguments); }};
}

}  // namespace qbt2::tool
