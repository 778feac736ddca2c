#include "host/pieces/stp_stitcher.h"

#include <algorithm>
#include <utility>

namespace qbt2 {
namespace {

/// Where no message is carried over, the timestamps have become the same in so many bytes, or they
/// hardly will: the second reading is then not worth its time.
constexpr std::size_t kAgreementBytes = std::size_t{4} << 10;

/// The beginning is read in steps that grow with it, so that both are short.
std::size_t next_step(std::size_t done, std::size_t size) {
  constexpr std::size_t kFirstStep = 64;
  return std::min(kFirstStep + done / 2, size - done);
}

}  // namespace

StpStitcher::Readers::Readers(const CaptureOptions& options, Framing framing)
    : all(options, framing), guessed(options, framing) {}

StpStitcher::StpStitcher(const CaptureOptions& options)
    : options_(options), first_(options, nullptr) {}

void StpStitcher::prepare(StpPiece& piece) const {
  piece.is_read = false;
  piece.wants_read = piece.cut && readers_;
  if (!piece.wants_read) return;
  const ResumableReader& all = readers_->all;
  piece.framing = framing_;
  piece.guess.reader = StpReader::after_async(*piece.cut, piece.shared, all.reader().timestamp());
  piece.guess.assembly.time = all.assembler().time();
}

void StpStitcher::stitch(StpPiece& piece, SampleBatch& samples) {
  piece.beginning.clear();
  piece.replaced = 0;
  if (!is_usable(piece)) return read_whole(piece, samples);
  const bool agreed = read_beginning(piece);
  report(piece);
  counts_ += readers_->all.take_counts();
  const StpReadCounts guessed = readers_->guessed.take_counts();
  if (agreed) {
    counts_ += piece.counts;
    counts_ -= guessed;
    readers_->all.restore(piece.end);
    piece.replaced = guessed_samples_.heads.size();
  } else {
    // All of it was read from the true state.
    std::swap(samples, piece.beginning);
    piece.beginning.clear();
  }
}

/// Not where the assembler might have to forget a source.
bool StpStitcher::is_usable(const StpPiece& piece) {
  return piece.is_read &&
         readers_->all.assembler().source_count() + piece.end.assembly.sources.size() <=
             kMostSources;
}

void StpStitcher::read_whole(StpPiece& piece, SampleBatch& samples) {
  samples.clear();
  if (!readers_) {
    bytes_read_here_ += piece.bytes.size();
    first_.push(piece.bytes, samples);
    return settle_framing();
  }
  readers_->all.set_on_damage(options_.on_damage);
  read(readers_->all, piece.bytes, samples);
  readers_->all.set_on_damage({});
  counts_ += readers_->all.take_counts();
}

void StpStitcher::settle_framing() {
  const auto framing = first_.settled_framing();
  if (!framing) return;
  framing_ = *framing;
  readers_.emplace(options_, framing_);
  counts_ = readers_->all.take_over(first_);
}

void StpStitcher::read(ResumableReader& reader, std::span<const std::uint8_t> bytes,
                       SampleBatch& samples) {
  reader.push(bytes, samples);
  bytes_read_here_ += bytes.size();
}

/// Reads from the true state until the guess has led to the same one, and from the guess as far.
/// False where it does not: then the whole piece was read from the true state.
bool StpStitcher::read_beginning(StpPiece& piece) {
  auto& [all, guessed] = *readers_;
  guessed_samples_.clear();
  guessed.assembler().forget_sources();
  guessed.restore(piece.guess);
  note_open_messages();
  const std::span<const std::uint8_t> bytes(piece.bytes);
  std::size_t done = 0;
  while (carries_message(piece) && done < bytes.size()) {
    const std::size_t step = next_step(done, bytes.size());
    read(all, bytes.subspan(done, step), piece.beginning);
    done += step;
  }
  if (!carried_.empty()) return false;
  const std::size_t most = done + kAgreementBytes;
  read(guessed, bytes.first(done), guessed_samples_);
  while (!states_agree()) {
    if (done == bytes.size() || done >= most) {
      read(all, bytes.subspan(done), piece.beginning);
      return false;
    }
    const std::size_t step = next_step(done, bytes.size());
    read(all, bytes.subspan(done, step), piece.beginning);
    read(guessed, bytes.subspan(done, step), guessed_samples_);
    done += step;
  }
  return true;
}

/// Where no message is carried over, the open ones are the same: whatever ends or drops a message
/// does so in both states, and begins the next one in both.
bool StpStitcher::states_agree() {
  return readers_->all.reader().continues_like(readers_->guessed.reader()) &&
         readers_->all.assembler().time() == readers_->guessed.assembler().time();
}

bool StpStitcher::carries_message(const StpPiece& piece) {
  const std::uint64_t begin = *piece.cut / 2;
  while (!carried_.empty() &&
         !readers_->all.assembler().has_message_before(carried_.back(), begin)) {
    carried_.pop_back();
  }
  return !carried_.empty();
}

void StpStitcher::note_open_messages() {
  carried_.clear();
  if (readers_->all.assembler().open_messages() == 0) return;
  readers_->all.assembler().save(scratch_);
  for (const MessageSource& source : scratch_.open) carried_.push_back(source.key);
}

/// Damage does not depend on the state in which the piece begins.
void StpStitcher::report(const StpPiece& piece) const {
  if (!options_.on_damage) return;
  for (const StpPiece::Damage& damage : piece.damages) {
    options_.on_damage(damage.offset, damage.reason);
  }
}

void StpStitcher::finish(SampleBatch& samples) {
  if (!readers_) return first_.finish(samples);
  readers_->all.set_on_damage(options_.on_damage);
  readers_->all.finish(samples);
  counts_ += readers_->all.take_counts();
  counts_.assembly.masters |= readers_->all.assembler().counts().masters;
  (void)first_.report_no_message(counts_.assembly);
}

void StpStitcher::add_to(CaptureCounts& counts) const {
  if (!readers_) return first_.add_to(counts);
  counts.stp_bytes += readers_->all.reader().stream_bytes();
  counts_.add_to(counts);
}

}  // namespace qbt2
