#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "interfaces/qbt2_export.h"
#include "platforms/source/device/device_result.h"

/// The links from trace outputs to trace inputs, by name.
///
/// The search is breadth-first, so the first path to a name is a shortest one; of equally long
/// paths the one over the earlier added links wins. Every name is visited once, so cycles
/// terminate. One thread at a time.
namespace EktTrace {

/// Every name that a search reached, nearest first, and its path.
class QBT2_API TraceReach_t {
 public:
  struct Step_t {
    std::string_view name;    ///< borrowed from the topology or from the `source` of the search
    std::size_t predecessor;  ///< index of the previous step; the source (index 0) is its own
  };

  const std::vector<Step_t>& GetSteps() const { return steps_; }
  /// The names from the source to the step, both included.
  std::vector<std::string_view> PathTo(std::size_t step) const;

 private:
  friend class TraceTopology_t;
  std::vector<Step_t> steps_;
};

class QBT2_API TraceTopology_t final {
 public:
  /// Refuses an existing link. Cycles, even of one name, are accepted: real devices feed trace
  /// back.
  eDeviceResult AddLink(const std::string& source, const std::string& sink);

  /// Everything that trace of `source` can reach; the source is the first step. The result borrows
  /// names: it is valid until the next AddLink and as long as `source`.
  TraceReach_t Search(std::string_view source) const;

 private:
  struct Sinks_t {
    std::vector<std::string> ordered;
    std::set<std::string, std::less<>> known;
  };
  std::map<std::string, Sinks_t, std::less<>> links_;
};

}  // namespace EktTrace
