#include "host/device/device_description.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "host/base/strict_json.h"

namespace qbt2 {
namespace {

using EktTrace::DeviceBase_t;
using EktTrace::eDeviceResult;

constexpr std::string_view kMasterList = "masterid.proc";
constexpr std::string_view kTracerName = "MOD_QBTRACER0";

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
  node.check_members({"name", "global_name", "type", "scope", "trace_id", "property_lists"});
  EktTrace::ComponentInfo_t info;
  info.localName = node.required_member("name").name();
  if (node.has_member("global_name")) info.globalName = node.required_member("global_name").name();
  info.type = read_word(node, "type", EktTrace::eComponentOther, &EktTrace::FindComponentType);
  info.scope = read_word(node, "scope", EktTrace::eScopeDevice, &EktTrace::FindComponentScope);
  if (node.has_member("trace_id")) {
    info.traceId = static_cast<std::uint32_t>(node.required_member("trace_id").number(UINT32_MAX));
  }
  auto component = std::make_unique<EktTrace::Component_t>(std::move(info));
  read_property_lists(node, *component);
  check(node, device.AddComponent(std::move(component)));
}

void read_receiver(const JsonNode& node, DeviceBase_t& device) {
  node.check_members({"name", "type", "size_bytes"});
  const std::uint64_t size_bytes =
      node.has_member("size_bytes") ? node.required_member("size_bytes").number() : 0;
  check(node, device.AddTraceReceiver(std::make_unique<EktTrace::TraceReceiver_t>(
                  node.required_member("name").name(),
                  read_word(node, "type", EktTrace::eReceiverBuffer, &EktTrace::FindReceiverType),
                  size_bytes)));
}

void read_module_map(const JsonNode& node, DeviceBase_t& device) {
  node.check_members({"name", "modules"});
  auto map = std::make_unique<EktTrace::ModuleMap_t>(node.required_member("name").name());
  for (const JsonNode& module : elements_of(node, "modules")) {
    module.check_members({"name", "base", "size_bytes"});
    check(module,
          map->Add({module.required_member("name").name(), module.required_member("base").number(),
                    module.required_member("size_bytes").number()}));
  }
  check(node, device.AddModuleMap(std::move(map)));
}

void read_link(const JsonNode& node, DeviceBase_t& device) {
  node.check_members({"from", "to"});
  check(node, device.AddTraceLink(node.required_member("from").name(),
                                  node.required_member("to").name()));
}

void read_system_trace(const JsonNode& root, DeviceBase_t& device) {
  if (!root.has_member("system_trace")) return;
  const JsonNode node = root.required_member("system_trace");
  node.check_members({"type", "detail"});
  if (!device.SetSystemTraceInfo(node.required_member("type").signed_number(),
                                 node.required_member("detail").signed_number())) {
    node.fail("there is no such kind of system trace");
  }
}

/// Links come last: both their ends must be known.
void read_device(const JsonNode& root, DeviceBase_t& device) {
  for (const JsonNode& node : elements_of(root, "components")) read_component(node, device);
  for (const JsonNode& node : elements_of(root, "trace_receivers")) read_receiver(node, device);
  for (const JsonNode& node : elements_of(root, "links")) read_link(node, device);
  for (const JsonNode& node : elements_of(root, "module_maps")) read_module_map(node, device);
  for (const JsonNode& node : elements_of(root, "targets")) {
    node.check_members({"name"});
    check(node, device.AddTarget(
                    std::make_unique<EktTrace::Target_t>(node.required_member("name").name())));
  }
  read_system_trace(root, device);
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
  root.check_members({"version", "name", "information", "object_file", "system_trace", "components",
                      "trace_receivers", "links", "module_maps", "targets", "settings"});
  check_version(root);
  DeviceDescription description;
  description.device = std::make_unique<DeviceBase_t>(root.required_member("name").name());
  read_information(root, description);
  read_device(root, *description.device);
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
