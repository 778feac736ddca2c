#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// What a pipeline reports while it runs, beside its rows.
namespace qbt2 {

/// Called on the thread that makes and runs the pipeline, in the order of the input. Every call has
/// an empty default. `file` is the capture's name for messages, valid during the call.
class RunObserver {
 public:
  virtual ~RunObserver() = default;
  /// Input bytes that cannot be trusted, from `offset` on.
  virtual void on_damage(std::string_view /*file*/, std::uint64_t /*offset*/,
                         std::string_view /*reason*/) {}
  /// A sample that gave no row although it should have.
  virtual void on_rejected_sample(std::string_view /*file*/, std::uint64_t /*offset*/,
                                  std::string_view /*reason*/) {}
  /// Further rejected samples, of which only the number is known.
  virtual void on_more_rejected_samples(std::uint64_t /*count*/) {}
  /// What a user should know and what is not damage. `file` may name the settings.
  virtual void on_notice(std::string_view /*file*/, std::string_view /*text*/) {}
  /// Bytes read so far, over all captures; `total` is 0 where it is not known.
  virtual void on_progress(std::uint64_t /*bytes*/, std::uint64_t /*total*/) {}
};

}  // namespace qbt2
