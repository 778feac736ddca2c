#include "platforms/source/device/component.h"

#include <cstddef>
#include <utility>

namespace EktTrace {
namespace {

template <class Kind>
struct KindText_t {
  Kind kind;
  std::string_view text;
};

constexpr KindText_t<eComponentType> kTypes[] = {
    {eComponentOther, "other"},          {eComponentCore, "core"},
    {eComponentBusTracer, "bus-tracer"}, {eComponentSystemTrace, "system-trace"},
    {eComponentFunnel, "funnel"},        {eComponentReplicator, "replicator"},
    {eComponentBridge, "bridge"},
};

constexpr KindText_t<eComponentScope> kScopes[] = {
    {eScopeDevice, "device"},
    {eScopeSubsystem, "subsystem"},
    {eScopeCore, "core"},
};

template <class Kind, std::size_t N>
std::optional<Kind> FindKind(const KindText_t<Kind> (&table)[N], std::string_view text) {
  for (const auto& row : table) {
    if (row.text == text) return row.kind;
  }
  return std::nullopt;
}

}  // namespace

std::optional<eComponentType> FindComponentType(std::string_view text) {
  return FindKind(kTypes, text);
}

std::optional<eComponentScope> FindComponentScope(std::string_view text) {
  return FindKind(kScopes, text);
}

Component_t::Component_t(ComponentInfo_t info) : info_(std::move(info)) {}

Component_t::~Component_t() = default;

eDeviceResult Component_t::AddPropertyList(const std::string& list) {
  if (list.empty()) return eDeviceEmptyName;
  return propertyLists_.try_emplace(list).second ? eDeviceOk : eDeviceDuplicateName;
}

eDeviceResult Component_t::AddPropertyEntry(const std::string& list, const std::string& name,
                                            const std::string& value) {
  if (list.empty()) return eDeviceEmptyName;
  PropertyList_t& target = propertyLists_[list];
  target.view.push_back(&target.entries.emplace_back(name, value));
  return eDeviceOk;
}

const std::vector<const IPropertyEntry_t*>* Component_t::GetPropertyList(
    const std::string& name) const {
  const auto found = propertyLists_.find(name);
  return found == propertyLists_.end() ? nullptr : &found->second.view;
}

}  // namespace EktTrace
