#include "tools/qbt2/commands/decode_command.h"

#include <bitset>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/base/error.h"
#include "host/base/input_file.h"
#include "host/base/output_file.h"
#include "host/decode/decode_pool.h"
#include "host/decode/decode_statistics.h"
#include "host/decode/decoder_library.h"
#include "host/decode/decoder_setup.h"
#include "host/format/row_formatter.h"
#include "tools/qbt2/cli/terminal.h"
#include "tools/qbt2/commands/decode_options.h"

namespace qbt2::tool {
namespace {

struct Capture {
  std::unique_ptr<InputFile> file;
  std::unique_ptr<CaptureReader> reader;
};

/// One run of the command, from opened inputs to the last line on standard error.
class DecodeRun {
 public:
  explicit DecodeRun(const DecodeArguments& arguments)
      : arguments_(arguments), options_(DecodeOptions::from(arguments)) {}

  int run();

 private:
  void load_settings();
  void open_captures();
  CaptureFormat format_of(InputFile& file) const;
  CaptureOptions options_for(const InputFile& file);
  void make_pool();
  std::unique_ptr<RowFormatter> make_formatter(const ColumnCatalogue& catalogue) const;
  void decode_captures();
  void decode_capture(std::size_t index);
  void take_rows(DecodeJob& job);
  void write(std::string_view text);
  void write_header();
  void check_capture(const Capture& capture);
  void compare_masters();
  bool done() const { return pipe_closed_ || statistics_.decode.rows() >= options_.limit; }
  std::uint64_t rows_left() const { return options_.limit - statistics_.decode.rows(); }
  int exit_status() const;

  const DecodeArguments& arguments_;
  DecodeOptions options_;
  std::vector<Capture> captures_;
  std::unique_ptr<ProgressBar> progress_;
  std::unique_ptr<Reporter> reporter_;
  std::unique_ptr<DecoderLibrary> library_;
  std::unique_ptr<DecoderSetup> setup_;  // outlives the units in the pool
  ColumnCatalogue catalogue_;
  std::unique_ptr<RowFormatter> formatter_;  // for what stands before and behind the rows
  std::unique_ptr<DecodePool> pool_;
  std::unique_ptr<OutputFile> output_;
  DecodeStatistics statistics_;
  std::uint64_t bytes_before_ = 0;  // of the captures already done, for the progress bar
  bool header_written_ = false;
  bool pipe_closed_ = false;
  bool has_samples_ = false;
  bool nothing_found_ = false;
};

int DecodeRun::run() {
  const auto start = std::chrono::steady_clock::now();
  load_settings();
  open_captures();
  make_pool();
  if (arguments_.format != "none") output_ = std::make_unique<OutputFile>(arguments_.output);
  decode_captures();
  if (!done()) compare_masters();
  if (!pipe_closed_) reporter_->summarise();
  if (output_ && !pipe_closed_) output_->commit();
  statistics_.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (arguments_.stats) std::fputs(statistics_.to_text().c_str(), stderr);
  return exit_status();
}

void DecodeRun::load_settings() {
  setup_ = std::make_unique<DecoderSetup>(arguments_.config, arguments_.device);
  if (!options_.capture.source_id) options_.capture.source_id = setup_->atb_id();
}

void DecodeRun::open_captures() {
  std::uint64_t total_bytes = 0;
  bool all_sizes_known = true;
  for (const std::string& path : arguments_.captures) {
    captures_.push_back({std::make_unique<InputFile>(path), nullptr});
    total_bytes += captures_.back().file->size_bytes();
    all_sizes_known &= captures_.back().file->is_regular();
  }
  progress_ =
      std::make_unique<ProgressBar>(options_.show_progress, all_sizes_known ? total_bytes : 0);
  reporter_ = std::make_unique<Reporter>(*progress_);
  for (Capture& capture : captures_) {
    const CaptureFormat format = format_of(*capture.file);
    has_samples_ |= format == CaptureFormat::kSamples;
    capture.reader = make_capture_reader(*capture.file, format, options_for(*capture.file));
  }
}

CaptureFormat DecodeRun::format_of(InputFile& file) const {
  if (options_.input) return *options_.input;
  const auto first_bytes = file.peek(kDetectionBytes);
  const auto format = detect_capture_format(first_bytes);
  if (format) return *format;
  if (first_bytes.empty()) return CaptureFormat::kStp;  // told to be empty later on
  throw Error(
      ErrorCode::kInput, file.name(), 0,
      "is no capture that can be recognised (neither samples, nor STP with an ASYNC packet, "
      "nor formatter frames); choose with --input");
}

CaptureOptions DecodeRun::options_for(const InputFile& file) {
  CaptureOptions options = options_.capture;
  options.on_damage = [this, &file](std::uint64_t offset, std::string_view reason) {
    reporter_->trouble("damage", file.name(), offset, reason);
  };
  options.on_notice = [this, &file](std::string_view text) {
    reporter_->notice(file.name(), text);
  };
  return options;
}

std::unique_ptr<RowFormatter> DecodeRun::make_formatter(const ColumnCatalogue& catalogue) const {
  if (arguments_.format == "none") return nullptr;
  FormatOptions options;
  if (!arguments_.columns.empty()) options.fields = parse_field_list(catalogue, arguments_.columns);
  if (arguments_.output == "-") options.terminal_columns = terminal_columns();
  return make_row_formatter(arguments_.format, catalogue, options);
}

void DecodeRun::make_pool() {
  library_ = std::make_unique<DecoderLibrary>(arguments_.plugin);
  std::vector<DecoderLibrary::Unit> units;
  for (unsigned i = 0; i < options_.threads; ++i) {
    units.push_back(library_->create_unit());
    catalogue_ = read_catalogue(*units.back());
    setup_->apply(*units.back());
  }
  std::vector<std::unique_ptr<DecodeWorker>> workers;
  workers.reserve(units.size());
  for (DecoderLibrary::Unit& unit : units) {
    workers.push_back(
        std::make_unique<DecodeWorker>(std::move(unit), catalogue_, make_formatter(catalogue_)));
  }
  formatter_ = make_formatter(catalogue_);
  pool_ =
      std::make_unique<DecodePool>(std::move(workers), [this](DecodeJob& job) { take_rows(job); });
}

void DecodeRun::decode_captures() {
  for (std::size_t i = 0; i < captures_.size() && !done(); ++i) decode_capture(i);
  pool_->finish();
  write_header();
  TextBuffer text;
  if (formatter_) formatter_->footer(text);
  write(text.view());
}

void DecodeRun::decode_capture(std::size_t index) {
  Capture& capture = captures_[index];
  while (!done()) {
    DecodeJob& job = pool_->next_job();
    if (done()) break;
    job.input = index;
    if (!capture.reader->next(job.samples)) break;
    progress_->update(bytes_before_ + capture.reader->position());
    pool_->submit(rows_left());
  }
  bytes_before_ += capture.reader->position();
  statistics_.capture += capture.reader->counts();
  if (!done()) check_capture(capture);
}

/// Called for each job in the order of the input.
void DecodeRun::take_rows(DecodeJob& job) {
  const std::string& file = captures_[job.input].file->name();
  statistics_.decode += job.counts;
  for (const SampleRejection& rejection : job.rejections) {
    reporter_->trouble("rejected samples", file, rejection.offset,
                       "master " + std::to_string(rejection.master) + ": " + rejection.reason);
  }
  reporter_->trouble_unseen("rejected samples",
                            job.counts.samples_rejected - job.rejections.size());
  if (job.text.view().empty()) return;
  write_header();
  write(job.text.view());
}

/// Not before the first row, so that on a terminal the line about the framing stands above the
/// table and not inside it.
void DecodeRun::write_header() {
  if (header_written_ || !formatter_) return;
  header_written_ = true;
  TextBuffer text;
  formatter_->header(text);
  write(text.view());
}

void DecodeRun::write(std::string_view text) {
  if (!output_ || pipe_closed_ || text.empty()) return;
  if (options_.rows_on_terminal) progress_->clear();
  pipe_closed_ = !output_->write(text);
}

/// Tells what no row and no damage tells: that a capture held nothing to decode.
void DecodeRun::check_capture(const Capture& capture) {
  const CaptureCounts counts = capture.reader->counts();
  const std::string& file = capture.file->name();
  if (counts.bytes == 0) {
    reporter_->notice(file, "is empty");
    nothing_found_ = true;
  } else if (counts.stp_bytes == 0 && counts.assembly.messages == 0) {
    nothing_found_ = true;  // frames without the source; their reader has told so
  } else if (counts.stp_bytes != 0 && counts.stp_async_packets == 0) {
    reporter_->notice(file, "holds no ASYNC packet: nothing in it can be decoded");
    nothing_found_ = true;
  }
  if (counts.assembly.messages == 0 && counts.assembly.words != 0) {
    reporter_->notice(file, std::to_string(counts.assembly.words) +
                                " words, but no complete message; another --framing may fit");
  }
  if (counts.assembly.source_errors != 0) {
    reporter_->notice(file, "the source lost trace (MERR and GERR packets: " +
                                std::to_string(counts.assembly.source_errors) + ")");
  }
}

/// What in the settings does not fit the captures, or cannot be used at all.
void DecodeRun::compare_masters() {
  if (!setup_->has_settings()) return;
  const std::string& file = arguments_.config.empty() ? arguments_.device : arguments_.config;
  for (const std::string& warning : setup_->warnings()) reporter_->notice(file, warning);
  // Samples know only the low 8 bits of a master's id; the decoder looks at no more of any.
  const std::bitset<65536>& seen = statistics_.capture.assembly.masters;
  const std::uint32_t known_bits = has_samples_ ? 0xFF : 0xFFFF'FFFF;
  std::map<std::uint32_t, std::uint32_t> configured;
  std::map<std::uint32_t, std::uint32_t> by_probe;
  for (const std::uint32_t id : setup_->master_ids()) {
    configured.emplace(id & known_bits, id);
    by_probe.emplace(id & 0xFF, id);
    if ((id & known_bits) >= seen.size() || !seen.test(id & known_bits)) {
      reporter_->notice(file, "master " + std::to_string(id) + " has settings but no traffic");
    }
  }
  for (std::uint32_t id = 0; id < seen.size(); ++id) {
    if (!seen.test(id) || configured.contains(id)) continue;
    std::string text = "master " + std::to_string(id) + " has traffic but no settings";
    if (const auto same = by_probe.find(id & 0xFF); same != by_probe.end()) {
      text += "; its rows go by master " + std::to_string(same->second) +
              ", which has the same low 8 bits";
    }
    reporter_->notice(file, text);
  }
}

int DecodeRun::exit_status() const {
  if (pipe_closed_) return kExitOk;
  const bool damaged = statistics_.capture.damages != 0 || statistics_.decode.samples_rejected != 0;
  return damaged || nothing_found_ ? kExitDamaged : kExitOk;
}

}  // namespace

Command add_decode_command(CLI::App& root) {
  CLI::App* const app = root.add_subcommand("decode", "Decode captures into rows of bus traffic");
  const auto arguments = std::make_shared<DecodeArguments>();
  arguments->add_to(*app);
  return {app, [arguments] { return DecodeRun(*arguments).run(); }};
}

}  // namespace qbt2::tool
