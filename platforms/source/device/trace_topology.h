#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platforms/source/device/device_result.h"

/// Which trace output leads to which input, by name. Knows nothing of what the names stand for.
///
/// The search is breadth-first, so the first path to a name is a shortest one; of equally long
/// paths the one over the earlier added links wins. Every name is visited once, so cycles end. One
/// thread at a time.
namespace EktTrace {

/// Everything that a search reached, nearest first, and how.
class TraceReach_t {
 public:
  struct Step_t {
    std::string_view name;    ///< borrowed from the topology or from the asked-for source
    std::size_t predecessor;  ///< index of the step before; of the source (index 0), itself
  };

  const std::vector<Step_t>& GetSteps() const { return steps_; }
  /// The names from the source to the step, both included.
  std::vector<std::string_view> PathTo(std::size_t step) const;

 private:
  friend class TraceTopology_t;
  std::vector<Step_t> steps_;
};

class TraceTopology_t final {
 public:
  /// Refuses a link that is there already. Cycles, also of one name, are accepted: real devices
  /// feed trace back.
  eDeviceResult AddLink(const std::string& source, const std::string& sink);

  /// All that trace of `source` can reach; the source itself is the first step. The result borrows
  /// names and is good until the next AddLink and as long as the text behind `source`.
  TraceReach_t Search(std::string_view source) const;

 private:
  struct Sinks_t {
    std::vector<std::string> ordered;
    std::set<std::string, std::less<>> known;
  };
  std::map<std::string, Sinks_t, std::less<>> links_;
};

}  // namespace EktTrace
