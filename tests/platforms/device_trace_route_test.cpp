// Trace routes: the receivers that trace of a component reaches, and the paths, on small
// topologies.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platforms/source/device/device_base.h"
#include "tests/support/debug_log_records.h"

namespace EktTrace {
namespace {

using ::testing::ElementsAre;
using ::testing::IsSupersetOf;

/// A device of components and receivers with the links "A>B C>D" in that order.
std::unique_ptr<DeviceBase_t> Device(const std::string& components, const std::string& receivers,
                                     const std::string& links) {
  auto device = std::make_unique<DeviceBase_t>("SOC");
  std::string word;
  for (std::istringstream in(components); in >> word;) {
    EXPECT_EQ(device->AddComponent(std::make_unique<Component_t>(
                  ComponentInfo_t{word, "", eComponentOther, eScopeDevice, std::nullopt})),
              eDeviceOk);
  }
  for (std::istringstream in(receivers); in >> word;) {
    EXPECT_EQ(device->AddTraceReceiver(std::make_unique<TraceReceiver_t>(word, eReceiverBuffer, 0)),
              eDeviceOk);
  }
  for (std::istringstream in(links); in >> word;) {
    const std::size_t arrow = word.find('>');
    EXPECT_EQ(device->AddTraceLink(word.substr(0, arrow), word.substr(arrow + 1)), eDeviceOk)
        << word;
  }
  return device;
}

std::vector<std::string> Texts(const std::vector<TraceRoute_t>& routes) {
  std::vector<std::string> texts;
  texts.reserve(routes.size());
  for (const TraceRoute_t& route : routes) texts.push_back(route.GetText());
  return texts;
}

TEST(TraceRoute, ShortestFirstAndEarlierLinksFirstAmongEquals) {
  // R is three links away by D, two by B and by C; T is one link further than R.
  const auto device = Device("A B C D E", "R S T", "A>D D>E E>R A>B A>C C>R B>R B>E E>T C>S");
  EXPECT_THAT(Texts(device->FindTraceRoutes("A")),
              ElementsAre("A -> B -> R", "A -> C -> S", "A -> D -> E -> T"));
  EXPECT_THAT(Texts(device->FindTraceRoutes("E")), ElementsAre("E -> R", "E -> T"));
  const TraceRoute_t* route = device->CreateTraceRoute("A", "R");
  ASSERT_NE(route, nullptr);
  EXPECT_EQ(route->GetText(), "A -> B -> R");
  EXPECT_EQ(&route->GetSource(), device->GetComponent("A"));
  EXPECT_EQ(&route->GetReceiver(), device->GetTraceReceiver("R"));
}

TEST(TraceRoute, CyclesEndTheSearchToo) {
  const auto device = Device("A B C LONE", "R S", "A>A A>B B>C C>A C>B C>R");
  EXPECT_THAT(Texts(device->FindTraceRoutes("A")), ElementsAre("A -> B -> C -> R"));
  EXPECT_THAT(Texts(device->FindTraceRoutes("LONE")), ElementsAre());
  EXPECT_TRUE(device->HasTraceRoute("B", "R"));

  const std::pair<const char*, const char*> none[] = {{"A", "S"}, {"LONE", "R"},   {"A", "C"},
                                                      {"R", "R"}, {"NOBODY", "R"}, {"A", "NOWHERE"},
                                                      {"", ""}};
  for (const auto& [source, receiver] : none) {
    EXPECT_FALSE(device->HasTraceRoute(source, receiver)) << source << " to " << receiver;
    EXPECT_EQ(device->CreateTraceRoute(source, receiver), nullptr) << source << " to " << receiver;
  }
  EXPECT_EQ(device->GetTraceRouteCount(), 0U);
}

TEST(TraceRoute, LinksNeedBothEndsAndAreUnique) {
  const auto device = Device("A B", "R", "A>B B>R");
  struct Case_t {
    const char* source;
    const char* sink;
    eDeviceResult result;
  };
  const Case_t cases[] = {{"A", "B", eDeviceDuplicateLink},
                          {"R", "A", eDeviceUnknownComponent},
                          {"X", "R", eDeviceUnknownComponent},
                          {"", "R", eDeviceUnknownComponent},
                          {"A", "X", eDeviceUnknownLinkEnd},
                          {"A", "", eDeviceUnknownLinkEnd},
                          {"B", "A", eDeviceOk}};
  for (const Case_t& c : cases) {
    EXPECT_EQ(device->AddTraceLink(c.source, c.sink), c.result) << c.source << ">" << c.sink;
  }
}

TEST(TraceRoute, AKeptRouteStaysWhenAShorterWayAppears) {
  const auto device = Device("A B", "R", "A>B B>R");
  const TraceRoute_t* kept = device->CreateTraceRoute("A", "R");
  ASSERT_NE(kept, nullptr);
  ASSERT_EQ(device->AddTraceLink("A", "R"), eDeviceOk);
  EXPECT_EQ(device->CreateTraceRoute("A", "R"), kept);
  EXPECT_EQ(kept->GetComponents().size(), 2U);
  EXPECT_THAT(Texts(device->FindTraceRoutes("A")), ElementsAre("A -> R"));
  device->DestroyTraceRoutes();
  EXPECT_EQ(device->GetTraceRouteCount(), 0U);
  EXPECT_EQ(device->CreateTraceRoute("A", "R")->GetText(), "A -> R");
}

TEST(TraceRoute, ALongChainIsWalkedWithoutRecursion) {
  DeviceBase_t device("SOC");
  constexpr int kLength = 20000;
  device.AddTraceReceiver(std::make_unique<TraceReceiver_t>("R", eReceiverProbe, 0));
  std::string last;
  for (int i = 0; i < kLength; ++i) {
    const std::string name = std::string("C").append(std::to_string(i));
    device.AddComponent(std::make_unique<Component_t>(
        ComponentInfo_t{name, "", eComponentOther, eScopeDevice, std::nullopt}));
    if (i > 0) device.AddTraceLink(last, name);
    last = name;
  }
  device.AddTraceLink(last, "R");
  const TraceRoute_t* route = device.CreateTraceRoute("C0", "R");
  ASSERT_NE(route, nullptr);
  EXPECT_EQ(route->GetComponents().size(), static_cast<std::size_t>(kLength));
}

TEST(DeviceLog, EveryQuestionLeavesItsRecords) {
  const auto device = Device("A", "R", "A>R");
  qbt2::test::DebugLogRecords log;
  std::uint32_t id = 0;
  const std::pair<const char*, std::function<void()>> questions[] = {
      {"GetComponent", [&] { device->GetComponent("A"); }},
      {"GetComponentByGlobalName", [&] { device->GetComponentByGlobalName("A"); }},
      {"GetComponents", [&] { device->GetComponents(); }},
      {"GetComponentsByType", [&] { device->GetComponentsByType(eComponentOther); }},
      {"GetComponentsByScope", [&] { device->GetComponentsByScope(eScopeDevice); }},
      {"GetTraceId", [&] { device->GetTraceId("A", id); }},
      {"GetModuleMap", [&] { device->GetModuleMap("A"); }},
      {"GetModuleMaps", [&] { device->GetModuleMaps(); }},
      {"GetTarget", [&] { device->GetTarget("A"); }},
      {"GetTargets", [&] { device->GetTargets(); }},
      {"SetTargetAdapter", [&] { device->SetTargetAdapter("A", nullptr); }},
      {"GetTraceReceiver", [&] { device->GetTraceReceiver("R"); }},
      {"GetTraceReceivers", [&] { device->GetTraceReceivers(); }},
      {"HasTraceRoute", [&] { device->HasTraceRoute("A", "R"); }},
      {"FindTraceRoutes", [&] { device->FindTraceRoutes("A"); }},
      {"GetTraceRouteCount", [&] { device->GetTraceRouteCount(); }},
      {"GetSystemTraceInfo", [&] { device->GetSystemTraceInfo(); }},
  };
  for (const auto& [name, ask] : questions) {
    ask();
    const std::string end = std::string(" ") + name + ": ";
    EXPECT_THAT(log.take(), ElementsAre("FE" + end, "FX" + end)) << name;
  }
}

TEST(DeviceLog, RecordsNameTheOperationAndItsResult) {
  qbt2::test::DebugLogRecords log;
  {
    const auto device = Device("A B", "R", "A>B B>R");
    device->CreateTraceRoute("A", "R");
    device->CreateTraceRoute("B", "R");
    device->GetTargetAdapter("CPU0");
  }
  EXPECT_THAT(
      log.take(),
      IsSupersetOf({"MP Created trace route A -> B -> R", "MP Destroying 2 trace routes",
                    "FX GetTargetAdapter: Returning target adapter (nil)", "FX ~DeviceBase_t: "}));
}

}  // namespace
}  // namespace EktTrace
