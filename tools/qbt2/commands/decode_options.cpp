#include "tools/qbt2/commands/decode_options.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include "host/base/error.h"
#include "host/base/trace_id.h"
#include "host/decode/decoder_library.h"
#include "tools/qbt2/cli/command.h"
#include "tools/qbt2/cli/numbers.h"
#include "tools/qbt2/cli/options.h"
#include "tools/qbt2/cli/terminal.h"

namespace qbt2::tool {
namespace {

constexpr std::uint64_t kMostThreads = 256;

/// Suffixes of output files, and the format that each stands for.
struct OutputSuffix {
  std::string_view suffix;
  std::string_view format;
};
constexpr std::array kOutputSuffixes{OutputSuffix{".csv", "csv"}, OutputSuffix{".jsonl", "jsonl"}};

template <typename Enum, int Count>
std::optional<Enum> by_name(std::string_view name, std::string_view (*name_of)(Enum)) {
  for (int i = 0; i < Count; ++i) {
    if (name == name_of(static_cast<Enum>(i))) return static_cast<Enum>(i);
  }
  return std::nullopt;  // "auto"; the parser lets no other word through
}

void refuse(bool contradiction, const std::string& text) {
  if (contradiction) throw Error(ErrorCode::kUsage, text);
}

void check_contradictions(const DecodeArguments& arguments) {
  const bool samples = arguments.input == "samples";
  refuse(!arguments.atb_id.empty() && (samples || arguments.input == "stp"),
         "--atb-id goes with --input frames, not with --input " + arguments.input);
  refuse(samples && arguments.framing != "auto",
         "--framing goes with STP, not with --input samples: samples are whole messages");
  refuse(samples && !arguments.clock_hz.empty(),
         "--clock-hz goes with STP, not with --input samples: samples have no timestamps");
  const std::string format = output_format(arguments);
  const bool none = format == "none";
  refuse(none && arguments.output != "-", "-o contradicts --format none, which writes nothing");
  refuse(none && !arguments.columns.empty(),
         "--columns contradicts --format none, which writes nothing");
  refuse(none && arguments.hex, "--hex contradicts --format none, which writes nothing");
  refuse(arguments.csv_safe && format != "csv",
         "--csv-safe goes with --format csv, not with --format " + format);
  refuse(std::count(arguments.captures.begin(), arguments.captures.end(), "-") > 1,
         "standard input (-) can be read only once");
}

unsigned parse_threads(const std::string& text) {
  if (text.empty()) return 0;  // one for each core
  return static_cast<unsigned>(parse_number("--threads", text, {.least = 1, .most = kMostThreads}));
}

}  // namespace

void DecodeArguments::add_to(CLI::App& app) {
  plugin = kDefaultPluginPath;
  app.add_option("CAPTURE", captures, "Captures to decode in this order; - is standard input")
      ->required();
  app.add_option("--input", input, "What the captures are: auto, samples, stp or frames")
      ->check(one_of({"auto", "samples", "stp", "frames"}))
      ->capture_default_str();
  app.add_option(
         "--atb-id", atb_id,
         "Frames: the source to decode, 1 to 0x6F (default: the setting ATBID, else the only one)")
      ->type_name(kNumberValue);
  app.add_option("--framing", framing,
                 "How a message ends: auto, flag, marker-first, marker-last or timestamp-last")
      ->check(one_of({"auto", "flag", "marker-first", "marker-last", "timestamp-last"}))
      ->capture_default_str();
  app.add_option("--config", config,
                 "Settings that name the masters: a .tdf, or lines of KEY=VALUE")
      ->type_name(kFileValue);
  app.add_option("--device", device, "Device description (JSON) that answers for the device model")
      ->type_name(kFileValue);
  app.add_option("--master", masters,
                 "Rows of these masters only: ids, ranges, lists, names (7 1,5,0x12 16-31 DMA1); "
                 "may be repeated")
      ->allow_extra_args(false);
  app.add_option("--clock-hz", clock_hz, "Rate of the STP timestamps where no FREQ packet gives it")
      ->type_name(kNumberValue);
  app.add_option(
         "--format", format,
         "How to write rows: table, csv, jsonl or none (count only) (default: by the suffix "
         "of -o, .csv or .jsonl, else table)")
      ->check(one_of({"table", "csv", "jsonl", "none"}));
  app.add_option("-o,--output", output, "Where to write rows; - is standard output")
      ->type_name(kFileValue)
      ->capture_default_str();
  app.add_option("--columns", columns,
                 "Fields to write, separated by commas (see qbt2 columns for their keys)");
  app.add_flag("--hex", hex, "Addresses as 0x... in CSV and JSON lines, as in the table");
  app.add_flag("--csv-safe", csv_safe,
               "CSV: a ' before texts that a spreadsheet would run as a formula");
  app.add_option("--limit", limit, "Stop after this many rows")->type_name(kNumberValue);
  app.add_flag("--stats", stats, "Print statistics of the run on standard error");
  app.add_option("--plugin", plugin, "The decoder plug-in to load")
      ->type_name(kFileValue)
      ->capture_default_str();
  app.add_option("--progress", progress, "Progress bar on standard error: auto, always or never")
      ->check(one_of({"auto", "always", "never"}))
      ->capture_default_str();
  app.add_option("--threads", threads, "Threads to decode with (default: one a core)")
      ->type_name(kNumberValue);
  check_values(app);
}

std::string output_format(const DecodeArguments& arguments) {
  if (!arguments.format.empty()) return arguments.format;
  const std::string suffix = std::filesystem::path(arguments.output).extension().string();
  const auto known =
      std::find_if(kOutputSuffixes.begin(), kOutputSuffixes.end(),
                   [&](const OutputSuffix& entry) { return entry.suffix == suffix; });
  return std::string(known == kOutputSuffixes.end() ? "table" : known->format);
}

DecodeRequest request_from(const DecodeArguments& arguments) {
  check_contradictions(arguments);
  DecodeRequest request;
  request.captures = arguments.captures;
  request.input = by_name<CaptureFormat, kCaptureFormatCount>(arguments.input, capture_format_name);
  request.framing = by_name<Framing, kFramingCount>(arguments.framing, framing_name);
  if (!arguments.atb_id.empty()) {
    request.source_id = static_cast<std::uint8_t>(
        parse_number("--atb-id", arguments.atb_id, {.most = kLargestTraceId}));
    refuse(request.source_id == 0, "--atb-id: 0 is the null trace ID (padding), not a source");
  }
  if (!arguments.clock_hz.empty()) {
    request.clock_hz = parse_number("--clock-hz", arguments.clock_hz, {.least = 1});
  }
  request.config = arguments.config;
  request.device = arguments.device;
  request.plugin = arguments.plugin;
  request.master_selection = arguments.masters;
  request.fields = arguments.columns;
  if (!arguments.limit.empty()) request.limit = parse_number("--limit", arguments.limit);
  request.threads = parse_threads(arguments.threads);
  return request;
}

}  // namespace qbt2::tool
