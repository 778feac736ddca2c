#include "platforms/source/device/trace_topology.h"

#include <algorithm>
#include <unordered_set>

namespace EktTrace {

std::vector<std::string_view> TraceReach_t::PathTo(std::size_t step) const {
  std::vector<std::string_view> path;
  for (; step != 0; step = steps_[step].predecessor) path.push_back(steps_[step].name);
  path.push_back(steps_.front().name);
  std::reverse(path.begin(), path.end());
  return path;
}

eDeviceResult TraceTopology_t::AddLink(const std::string& source, const std::string& sink) {
  if (source.empty() || sink.empty()) return eDeviceEmptyName;
  Sinks_t& sinks = links_[source];
  if (!sinks.known.insert(sink).second) return eDeviceDuplicateLink;
  sinks.ordered.push_back(sink);
  return eDeviceOk;
}

TraceReach_t TraceTopology_t::Search(std::string_view source) const {
  TraceReach_t reach;
  std::vector<TraceReach_t::Step_t>& steps = reach.steps_;
  std::unordered_set<std::string_view> seen{source};
  steps.push_back({source, 0});
  for (std::size_t current = 0; current < steps.size(); ++current) {
    const auto sinks = links_.find(steps[current].name);
    if (sinks == links_.end()) continue;
    for (const std::string& sink : sinks->second.ordered) {
      if (seen.insert(sink).second) steps.push_back({sink, current});
    }
  }
  return reach;
}

}  // namespace EktTrace
