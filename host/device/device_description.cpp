#include "host/device/device_description.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "host/base/strict_json.h"
#include "host/base/trace_id.h"

namespace qbt2 {
namespace {

using EktTrace::DeviceBase_t;
using EktTrace::eDeviceResult;

void check(const JsonNode& node, eDeviceResult result) {
  if (result != EktTrace::eDeviceOk) node.fail(EktTrace::DeviceResultText(result));
}

/// The elements of an optional array.
std::vector<JsonNode> elements_of(const JsonNode& parent, const std::string& key) {
  return parent.has_member(key) ? parent.required_member(key).elements() : std::vector<JsonNode>{};
}

std::vector<std::pair<std::string, JsonNode>> members_of(const JsonNode& parent,
                                                         const std::string& key) {
  using Members = std::vector<std::pair<std::string, JsonNode>>;
  return parent.has_member(key) ? parent.required_member(key).members() : Members{};
}

void read_property_lists(const JsonNode& node, EktTrace::Component_t& component) {
  for (const auto& [list, entries] : members_of(node, "property_lists")) {
    check(entries, component.AddPropertyList(list));
    for (const JsonNode& entry : entries.elements()) {
      entry.check_members({"name", "value"});
      check(entry, component.AddPropertyEntry(list, entry.required_member("name").line(),
                                              value_text(entry.required_member("value"))));
    }
  }
}

/// The value of a member with a fixed set of names, for example a component's type.
template <class Kind>
Kind read_word(const JsonNode& parent, const std::string& key, Kind absent,
               std::optional<Kind> (*find)(std::string_view)) {
  if (!parent.has_member(key)) return absent;
  const JsonNode node = parent.required_member(key);
  const std::optional<Kind> found = find(node.name());
  if (!found) node.fail("unknown " + key + " \"" + node.name() + "\"");
  return *found;
}

void read_component(const JsonNode& node, DeviceBase_t& device) {
  // The last two are accepted for the sake of older descriptions and never read.
  node.check_members({"name", "type", "trace_id", "property_lists", "global_name", "scope"});
  EktTrace::ComponentInfo_t info;
  info.localName = node.required_member("name").name();
  info.type = read_word(node, "type", EktTrace::eComponentOther, &EktTrace::FindComponentType);
  if (node.has_member("trace_id")) {
    info.traceId = static_cast<std::uint32_t>(node.required_member("trace_id").number(UINT32_MAX));
  }
  auto component = std::make_unique<EktTrace::Component_t>(std::move(info));
  read_property_lists(node, *component);
  check(node, device.AddComponent(std::move(component)));
}

std::optional<std::uint8_t> find_trace_id(const DeviceBase_t& device) {
  std::vector<std::uint32_t> ids;
  for (const auto* component : device.GetComponentsByType(EktTrace::eComponentSystemTrace)) {
    if (component->GetTraceId()) ids.push_back(*component->GetTraceId());
  }
  std::uint32_t id = ids.size() == 1 ? ids.front() : kNullTraceId;
  device.GetTraceId(std::string(kTracerName), id);
  // The device model accepts the IDs of sources only, 1 to kLargestTraceId.
  if (id == kNullTraceId) return std::nullopt;
  return static_cast<std::uint8_t>(id);
}

void read_information(const JsonNode& root, DeviceDescription& description) {
  if (root.has_member("object_file")) {
    description.object_file = root.required_member("object_file").line();
  }
  if (!root.has_member("information")) return;
  const JsonNode node = root.required_member("information");
  node.check_members({"first", "second"});
  description.first_number = node.required_member("first").signed_number();
  description.second_number = node.required_member("second").signed_number();
}

void check_version(const JsonNode& root) {
  const JsonNode node = root.required_member("version");
  if (node.number() != 1) node.fail("only version 1 is known");
}

}  // namespace

DeviceDescription load_device_description(const std::string& path) {
  return parse_device_description(read_json_file(path), path);
}

DeviceDescription parse_device_description(std::string_view text, const std::string& file) {
  const nlohmann::json document = parse_strict_json(text, file);
  const JsonNode root(document, file);
  // Those of the second line are accepted for the sake of older descriptions and never read.
  root.check_members({"version", "name", "information", "object_file", "components", "settings",
                      "system_trace", "trace_receivers", "links", "module_maps", "targets"});
  check_version(root);
  DeviceDescription description;
  description.device = std::make_unique<DeviceBase_t>(root.required_member("name").name());
  read_information(root, description);
  for (const JsonNode& node : elements_of(root, "components")) {
    read_component(node, *description.device);
  }
  description.trace_id = find_trace_id(*description.device);
  for (const auto& [name, node] : members_of(root, "settings")) {
    description.settings.emplace(name, read_described_setting(name, node));
  }
  return description;
}

DeviceDescription default_device_description() {
  EktTrace::ComponentInfo_t info;
  info.localName = kTracerName;
  info.type = EktTrace::eComponentBusTracer;
  auto tracer = std::make_unique<EktTrace::Component_t>(std::move(info));
  tracer->AddPropertyList(std::string(kMasterList));
  DeviceDescription description;
  description.device = std::make_unique<DeviceBase_t>("SOC");
  description.device->AddComponent(std::move(tracer));
  return description;
}

}  // namespace qbt2
