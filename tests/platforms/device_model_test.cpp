// The device model as a host builds and queries it: names, property lists, module maps, trace ids,
// system trace kinds and refused additions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "platforms/source/device/device_base.h"
#include "platforms/source/device/device_identifier.h"

namespace EktTrace {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::unique_ptr<Component_t> Component(const std::string& local, const std::string& global,
                                       std::optional<std::uint32_t> traceId = std::nullopt,
                                       eComponentType type = eComponentOther,
                                       eComponentScope scope = eScopeDevice) {
  return std::make_unique<Component_t>(ComponentInfo_t{local, global, type, scope, traceId});
}

std::vector<std::string> Names(const std::vector<const Component_t*>& components) {
  std::vector<std::string> names;
  names.reserve(components.size());
  for (const Component_t* component : components) names.push_back(component->GetName());
  return names;
}

TEST(DeviceModel, FindsComponentsByEachOfTheirProperties) {
  DeviceBase_t device("SOC");
  device.AddComponent(Component("QBT_B", "SOC/QBT_B", {}, eComponentBusTracer, eScopeSubsystem));
  device.AddComponent(Component("STM", "SOC/STM", {}, eComponentSystemTrace));
  device.AddComponent(Component("QBT_A", "", {}, eComponentBusTracer));

  ASSERT_NE(device.GetComponent("STM"), nullptr);
  EXPECT_EQ(device.GetComponent("STM")->GetGlobalName(), "SOC/STM");
  EXPECT_EQ(device.GetComponentByGlobalName("SOC/STM"), device.GetComponent("STM"));
  // Local and global names are separate, and no component has the empty global name.
  for (const char* unknown : {"", "stm", "SOC/STM", "STM "}) {
    EXPECT_EQ(device.GetComponent(unknown), nullptr) << '"' << unknown << '"';
  }
  EXPECT_EQ(device.GetComponentByGlobalName("STM"), nullptr);
  EXPECT_EQ(device.GetComponentByGlobalName(""), nullptr);
  EXPECT_THAT(Names(device.GetComponentsByType(eComponentBusTracer)),
              ElementsAre("QBT_B", "QBT_A"));
  EXPECT_THAT(Names(device.GetComponentsByScope(eScopeDevice)), ElementsAre("STM", "QBT_A"));
  EXPECT_THAT(device.GetComponentsByType(eComponentFunnel), IsEmpty());
}

TEST(DeviceModel, RefusesWhatWouldBeAmbiguousAndStaysAsItWas) {
  DeviceBase_t device("SOC");
  ASSERT_EQ(device.AddTraceReceiver(std::make_unique<TraceReceiver_t>("ETB", eReceiverBuffer, 0)),
            eDeviceOk);
  ASSERT_EQ(device.AddComponent(Component("STM", "SOC/STM", 0x6F)), eDeviceOk);
  const Component_t* first = device.GetComponent("STM");
  std::uint32_t id = 99;
  EXPECT_FALSE(device.GetTraceId("ETB", id));
  EXPECT_EQ(id, 99U);

  struct Refused_t {
    const char* local;
    const char* global;
    std::optional<std::uint32_t> traceId;
    eDeviceResult why;
  };
  const Refused_t cases[] = {
      {"", "x", std::nullopt, eDeviceEmptyName},
      {"STM", "other", std::nullopt, eDeviceDuplicateName},
      {"ETB", "", std::nullopt, eDeviceDuplicateName},
      {"NEW", "SOC/STM", std::nullopt, eDeviceDuplicateGlobalName},
      {"NEW", "", 0x00, eDeviceInvalidTraceId},
      {"NEW", "", 0x70, eDeviceInvalidTraceId},
      {"NEW", "", 0x110, eDeviceInvalidTraceId},
  };
  for (const Refused_t& c : cases) {
    EXPECT_EQ(device.AddComponent(Component(c.local, c.global, c.traceId)), c.why)
        << c.local << " / " << c.global;
  }
  EXPECT_EQ(device.AddTraceReceiver(std::make_unique<TraceReceiver_t>("STM", eReceiverProbe, 0)),
            eDeviceDuplicateName);
  EXPECT_EQ(device.AddTarget(std::make_unique<Target_t>("")), eDeviceEmptyName);
  DeviceIdentifier_t identifier;
  for (const eDeviceResult result :
       {device.AddComponent(nullptr), device.AddModuleMap(nullptr), device.AddTarget(nullptr),
        device.AddTraceReceiver(nullptr), identifier.AddDevice(nullptr)}) {
    EXPECT_EQ(result, eDeviceNullObject);
  }
  EXPECT_EQ(identifier.AddDevice(std::make_unique<DeviceBase_t>("SOC")), eDeviceOk);
  EXPECT_EQ(identifier.AddDevice(std::make_unique<DeviceBase_t>("SOC")), eDeviceDuplicateName);
  EXPECT_EQ(identifier.AddDevice(std::make_unique<DeviceBase_t>("")), eDeviceEmptyName);

  EXPECT_THAT(device.GetComponents(), ElementsAre(first));
  EXPECT_EQ(device.GetComponentByGlobalName("other"), nullptr);
  EXPECT_EQ(device.GetComponentByGlobalName("x"), nullptr);
  EXPECT_EQ(device.GetTraceReceivers().size(), 1U);
}

TEST(DeviceModel, PropertyListsKeepOrderAndRepeatsAndStayBorrowable) {
  Component_t tracer({"MOD_QBTRACER0", "", eComponentBusTracer, eScopeDevice, std::nullopt});
  EXPECT_EQ(tracer.GetPropertyList("masterid.proc"), nullptr);
  EXPECT_EQ(tracer.AddPropertyEntry("", "DMA", "1"), eDeviceEmptyName);
  EXPECT_EQ(tracer.AddPropertyEntry("masterid.proc", "DMA", "0x07"), eDeviceOk);
  const std::vector<const IPropertyEntry_t*>* list = tracer.GetPropertyList("masterid.proc");
  ASSERT_NE(list, nullptr);
  const IPropertyEntry_t* first = list->front();
  for (int i = 0; i < 1000; ++i) {
    tracer.AddPropertyEntry("masterid.proc", "CPU", std::to_string(i));
  }
  tracer.AddPropertyEntry("other", "x", "y");

  EXPECT_EQ(tracer.GetPropertyList("masterid.proc"), list);
  ASSERT_EQ(list->size(), 1001U);
  EXPECT_EQ(list->front(), first);
  EXPECT_EQ(first->GetName(), "DMA");
  EXPECT_EQ(first->GetValue(), "0x07");
  EXPECT_EQ(list->back()->GetValue(), "999");
  EXPECT_EQ(tracer.AddPropertyList("other"), eDeviceDuplicateName);
}

TEST(DeviceModel, ModuleMapsAnswerByNameAndByAddress) {
  constexpr std::uint64_t kTop = std::numeric_limits<std::uint64_t>::max();
  ModuleMap_t map("SOC_BUS");
  struct Case_t {
    ModuleRange_t range;
    eDeviceResult result;
  };
  const Case_t cases[] = {
      {{"SRAM", 0x1000, 0x1000}, eDeviceOk},
      {{"BELOW", 0x0FFF, 1}, eDeviceOk},
      {{"ABOVE", 0x2000, 1}, eDeviceOk},
      {{"TOP", kTop - 3, 4}, eDeviceOk},
      {{"", 0, 1}, eDeviceEmptyName},
      {{"SRAM", 0x9000, 1}, eDeviceDuplicateName},
      {{"NONE", 0x9000, 0}, eDeviceInvalidRange},
      {{"PAST", kTop - 2, 4}, eDeviceInvalidRange},
      {{"ALL", 0, kTop}, eDeviceOverlappingRange},
      {{"SAME", 0x1000, 1}, eDeviceOverlappingRange},
      {{"TAIL", 0x1FFF, 1}, eDeviceOverlappingRange},
      {{"INTO", 0x0FFE, 2}, eDeviceOverlappingRange},
  };
  for (const Case_t& c : cases) EXPECT_EQ(map.Add(c.range), c.result) << c.range.name;

  const std::pair<std::uint64_t, const char*> addresses[] = {
      {0, nullptr},      {0x0FFE, nullptr}, {0x0FFF, "BELOW"}, {0x1000, "SRAM"},
      {0x1FFF, "SRAM"},  {0x2000, "ABOVE"}, {0x2001, nullptr}, {kTop - 4, nullptr},
      {kTop - 3, "TOP"}, {kTop, "TOP"},
  };
  for (const auto& [address, name] : addresses) {
    const ModuleRange_t* module = map.FindModuleAt(address);
    EXPECT_EQ(module == nullptr ? "" : module->name, name == nullptr ? "" : name) << address;
  }
  ASSERT_NE(map.FindModule("SRAM"), nullptr);
  EXPECT_EQ(map.FindModule("SRAM")->base, 0x1000U);
  EXPECT_EQ(map.FindModule("PAST"), nullptr);
}

TEST(DeviceModel, SystemTraceKindIsAPairOfTableIndices) {
  DeviceBase_t device("SOC");
  EXPECT_FALSE(device.GetSystemTraceInfo().has_value());
  // Five types and twelve details; the last type is a code, not an index.
  const std::tuple<std::int32_t, std::int32_t, bool> cases[] = {
      {0, 0, true},   {4, 11, true},  {3, 3, true},
      {5, 0, false},  {-1, 0, false}, {0, 12, false},
      {0, -1, false}, {11, 4, false}, {static_cast<std::int32_t>(0xC000000C), 3, false}};
  for (const auto& [type, detail, accepted] : cases) {
    EXPECT_EQ(device.SetSystemTraceInfo(type, detail), accepted) << type << " " << detail;
  }
  ASSERT_TRUE(device.GetSystemTraceInfo().has_value());
  EXPECT_EQ(device.GetSystemTraceInfo()->type, 3);
  EXPECT_EQ(device.GetSystemTraceInfo()->detail, 3);
}

}  // namespace
}  // namespace EktTrace
