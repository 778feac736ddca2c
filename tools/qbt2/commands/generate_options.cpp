#include "tools/qbt2/commands/generate_options.h"

#include <array>
#include <cstdint>
#include <string_view>

#include "host/base/error.h"
#include "host/base/text_parts.h"
#include "host/base/trace_id.h"
#include "host/generate/damage_injector.h"
#include "tools/qbt2/cli/numbers.h"
#include "tools/qbt2/cli/options.h"

namespace qbt2::tool {
namespace {

constexpr std::uint64_t kLargestMaster = 0xFFFF;
constexpr const char* kDefaultMessages = "100k";
constexpr std::array<std::string_view, 3> kTimestampUses = {"every", "some", "none"};
constexpr std::array<std::string_view, 3> kCodings = {"natural", "gray", "delta"};

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

/// Ids and ranges of ids: 5, 0x20-0x27.
std::vector<std::uint16_t> parse_masters(const std::vector<std::string>& items) {
  std::vector<std::uint16_t> masters;
  for (const std::string& item : items) {
    const std::size_t dash = item.find('-');
    const std::uint64_t first =
        parse_number("--masters", item.substr(0, dash), {.most = kLargestMaster});
    const std::uint64_t last =
        dash == std::string::npos
            ? first
            : parse_number("--masters", item.substr(dash + 1), {.most = kLargestMaster});
    refuse(last < first, "--masters: the range " + item + " ends before it begins");
    for (std::uint64_t id = first; id <= last; ++id) {
      masters.push_back(static_cast<std::uint16_t>(id));
    }
  }
  return masters;
}

TrafficMix parse_mix(const std::string& text) {
  const std::vector<std::string_view> weights = split(text, ':');
  refuse(weights.size() != 3, "--mix: '" + text + "' is not three weights, such as 1:1:8");
  const auto weight = [&](std::size_t i) {
    return static_cast<std::uint32_t>(parse_number("--mix", weights[i], {.most = kMostMixWeight}));
  };
  return {weight(0), weight(1), weight(2)};
}

/// Options that have no meaning for the chosen input format are refused, not ignored.
void check_given(const CLI::App& app, std::string_view input) {
  if (input == "samples") {
    for (const char* const option :
         {"--framing", "--timestamps", "--timestamp-coding", "--async-every", "--no-freq"}) {
      refuse(app.count(option) != 0,
             std::string(option) + " has no meaning with --input samples: leave it out");
    }
  }
  if (input != "frames") {
    for (const char* const option : {"--atb-id", "--other-sources"}) {
      refuse(app.count(option) != 0, std::string(option) + " needs --input frames");
    }
  }
}

}  // namespace

GeneratorOptions GenerateArguments::checked(const CLI::App& app) const {
  check_given(app, input);
  GeneratorOptions options;
  options.traffic.seed = parse_number("--seed", seed);
  options.traffic.clock_hz = parse_number("--clock-hz", clock_hz);
  options.traffic.masters = parse_masters(masters);
  options.traffic.mix = parse_mix(mix);
  if (!messages.empty()) {
    options.messages = parse_number("--messages", messages);
  }
  if (!size.empty()) options.bytes = parse_number("--size", size);
  if (messages.empty() && size.empty()) {
    options.messages = parse_number("--messages", kDefaultMessages);
  }
  options.format = by_name<CaptureFormat>(kCaptureFormatCount, capture_format_name, input);
  options.encoding.framing = by_name<Framing>(kFramingCount, framing_name, framing);
  options.encoding.timestamps = by_name<TimestampUse>(kTimestampUses, timestamps);
  options.encoding.coding = by_name<StpTimestampCoding>(kCodings, timestamp_coding);
  options.encoding.async_every = parse_number("--async-every", async_every);
  options.frequency_packet = !no_freq;
  options.damaged_places =
      static_cast<std::uint32_t>(parse_number("--damage", damage, {.most = kMostDamagedPlaces}));
  if (!atb_id.empty()) {
    options.atb_id =
        static_cast<std::uint8_t>(parse_number("--atb-id", atb_id, {.most = kLargestTraceId}));
  }
  options.other_sources = static_cast<std::uint32_t>(
      parse_number("--other-sources", other_sources, {.most = kMostOtherSources}));
  return options;
}

void GenerateArguments::add_to(CLI::App& app) {
  app.add_option("-o,--output", output, "The capture to write; - is standard output")
      ->type_name(kFileValue)
      ->required();
  app.add_option(
         "--settings", settings,
         "The settings to decode it with --config (default: the capture's name with .cfg appended)")
      ->type_name(kFileValue);
  app.add_option("--messages", messages,
                 std::string("Messages to write (default: ") + kDefaultMessages +
                     ", or as many as --size needs)")
      ->type_name(kNumberValue);
  app.add_option("--size", size, "Bytes to write, rounded up to a whole message")
      ->type_name(kNumberValue);
  app.add_option("--seed", seed, "Equal seeds and options give equal captures")
      ->type_name(kNumberValue)
      ->capture_default_str();
  app.add_option("--input", input, "Format of the capture: stp, frames or samples")
      ->check(one_of({"stp", "frames", "samples"}))
      ->capture_default_str();
  app.add_option("--framing", framing,
                 "How messages end: flag, marker-last, timestamp-last or marker-first")
      ->check(one_of({"flag", "marker-last", "timestamp-last", "marker-first"}))
      ->capture_default_str();
  app.add_option("--masters", masters, "STP master ids and ranges of ids, such as 5,0x20-0x27,300")
      ->delimiter(',');
  app.add_option("--mix", mix, "Shares of throughput:latency:transaction messages")
      ->capture_default_str();
  app.add_option("--timestamps", timestamps, "Messages with a timestamp: every, some or none")
      ->check(one_of({"every", "some", "none"}))
      ->capture_default_str();
  app.add_option("--timestamp-coding", timestamp_coding,
                 "Coding of the timestamps: natural, gray or delta")
      ->check(one_of({"natural", "gray", "delta"}))
      ->capture_default_str();
  app.add_option("--clock-hz", clock_hz, "Rate of the bus clock and of the timestamps")
      ->type_name(kNumberValue)
      ->capture_default_str();
  app.add_flag("--no-freq", no_freq, "Write no FREQ packets");
  app.add_option("--async-every", async_every,
                 "STP bytes from one ASYNC packet to the next; 0: only at the beginning")
      ->type_name(kNumberValue)
      ->capture_default_str();
  app.add_option("--damage", damage, "Number of places to damage")
      ->type_name(kNumberValue)
      ->capture_default_str();
  app.add_option("--atb-id", atb_id, "Frames: trace ID of the source, 1 to 0x6F (default: 0x10)")
      ->type_name(kNumberValue);
  app.add_option("--other-sources", other_sources, "Frames: number of other trace sources")
      ->type_name(kNumberValue)
      ->capture_default_str();
  app.add_flag("--force", force, "Replace an existing capture and its settings");
  check_values(app);
}

}  // namespace qbt2::tool
