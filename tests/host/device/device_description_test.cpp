// Device descriptions: the example file is read completely, and every kind of bad file is refused
// with the file, the place and the reason.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "host/base/error.h"
#include "host/device/device_description.h"
#include "tests/support/test_folder.h"

namespace qbt2 {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

template <typename Read>
std::string error_of(Read read) {
  try {
    read();
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), ErrorCode::kInput);
    return error.what();
  }
  return "accepted";
}
std::string text_error(const std::string& text) {
  return error_of([&] { parse_device_description(text, "soc.json"); });
}

/// A description with `members` in addition to the two required ones.
std::string with(const std::string& members) {
  return R"({"version":1,"name":"SOC",)" + members + "}";
}

TEST(DeviceDescription, TheExampleIsCompleteAndRead) {
  const DeviceDescription soc = load_device_description(QBT2_SOURCE_DIR "/examples/soc.json");
  const EktTrace::DeviceBase_t& device = *soc.device;
  EXPECT_EQ(device.GetName(), "SOC");
  EXPECT_EQ(soc.first_number, 3);
  EXPECT_EQ(soc.second_number, 4);
  EXPECT_EQ(soc.object_file, "firmware/soc.elf");

  const auto* masters = device.GetComponent("MOD_QBTRACER0")->GetPropertyList("masterid.proc");
  ASSERT_NE(masters, nullptr);
  std::string text;
  for (const auto* entry : *masters) text += entry->GetName() + "=" + entry->GetValue() + " ";
  EXPECT_EQ(text, "DMA1=5 DISP=6 CPU_CLUSTER0=32 CPU_CLUSTER1=33 GPU=48 ETH=65 ISP=66 ");

  std::uint32_t trace_id = 0;
  EXPECT_TRUE(device.GetTraceId("STM0", trace_id));
  EXPECT_EQ(trace_id, 16U);
  EXPECT_EQ(soc.trace_id, 16);
  EXPECT_EQ(soc.settings.at("STM_Buffer_Wrapped").value, "1");
  EXPECT_EQ(soc.settings.at("STM_Buffer_Wrapped").kind, EktTrace::eSessionBoolean);
  EXPECT_EQ(soc.settings.at("ATBID").value, "16");
  EXPECT_EQ(soc.settings.at("Protocol").kind, EktTrace::eSessionText);
}

TEST(DeviceDescription, WhatMayBeLeftOutAndWrittenDifferently) {
  const DeviceDescription bare = parse_device_description(R"({"version":1,"name":"X"})", "x");
  EXPECT_TRUE(bare.device->GetComponents().empty());
  const DeviceDescription some =
      parse_device_description(with(R"("settings":{"a":-7,"b":18446744073709551615,"c":false,"d":"",
              "e":{"value":"-2147483648","kind":"signed32"},"f":{"value":4294967295,"kind":"unsigned32"},
              "comment":"x"},
              "components":[{"name":"\u00fc","comment":"not read","property_lists":{"none":[]}}])"),
                               "x");
  EXPECT_EQ(some.settings.at("a").value, "-7");
  EXPECT_EQ(some.settings.at("b").value, "18446744073709551615");
  EXPECT_EQ(some.settings.at("c").value, "0");
  EXPECT_EQ(some.settings.at("d").value, "");
  EXPECT_EQ(some.settings.at("e").kind, EktTrace::eSessionSigned32);
  EXPECT_EQ(some.settings.at("comment").value, "x");  // settings may have any name
  EXPECT_TRUE(some.device->GetComponent("\xC3\xBC")->GetPropertyList("none")->empty());
}

TEST(DeviceDescription, TheTracersOwnTraceIdOrTheOnlySystemTraceOnes) {
  const std::string stm = R"({"name":"STM0","type":"system-trace","trace_id":"0x10"})";
  const std::string core = R"({"name":"C","type":"core","trace_id":17})";
  const std::pair<std::string, std::optional<int>> cases[] = {
      {core, std::nullopt},
      {core + "," + stm, 16},
      {stm + R"(,{"name":"STM1","type":"system-trace"})", 16},
      {stm + R"(,{"name":"STM1","type":"system-trace","trace_id":18})", std::nullopt},
      {stm + R"(,{"name":"MOD_QBTRACER0","trace_id":111})", 111},
  };
  for (const auto& [components, id] : cases) {
    // Links and targets of older descriptions are not looked at.
    const auto device = parse_device_description(
        with(R"("links":[{}],"targets":1,"components":[)" + components + "]"), "x");
    EXPECT_EQ(device.trace_id.value_or(0), id.value_or(0)) << components;
  }
}

TEST(DeviceDescription, ErrorsNamePlaceAndReason) {
  const std::string deep(100000, '[');
  const std::pair<std::string, std::string> cases[] = {
      {"[]", "soc.json: $: must be an object, is array"},
      {R"({"name":"SOC"})", "$: the member \"version\" is missing"},
      {R"({"version":2,"name":"SOC"})", "$.version: only version 1 is known"},
      {R"({"version":1,"name":""})", "$.name: is empty"},
      {R"({"version":1,"name":"A\nB"})", "$.name: has a control character"},
      {R"({"version":1,"name":null})", "$.name: must be a text, is null"},
      {with(R"("colour":1)"), "$.colour: unknown member"},
      {with(R"("a b\n":1)"), R"($["a b\n"]: unknown member)"},
      {with(R"("information":{"first":1})"), "$.information: the member \"second\" is missing"},
      {with(R"("information":{"first":1.5,"second":2})"), "$.information.first: must be a whole"},
      {with(R"("information":{"first":2147483648,"second":2})"), "$.information.first: must be a"},
      {with(R"("information":{"first":-2147483649,"second":2})"), "$.information.first: must be a"},
      {with(R"("information":{"first":18446744073709551615,"second":2})"),
       "$.information.first: mu"},
      {with(R"("components":{})"), "$.components: must be an array, is object"},
      {with(R"("components":[{"name":"A"},{"name":"A"}])"), "$.components[1]: the name is taken"},
      {with(R"("components":[{"name":"A","type":"tracer"}])"),
       "$.components[0].type: unknown type"},
      {with(R"("components":[{"name":"A","trace_id":112}])"), "$.components[0]: a trace id is"},
      {with(R"("components":[{"name":"A","trace_id":-1}])"),
       "$.components[0].trace_id: must be a wh"},
      {with(R"("components":[{"name":"A","trace_id":1e300}])"),
       "$.components[0].trace_id: must be"},
      {with(R"("components":[{"name":"A","trace_id":"0x"}])"),
       "$.components[0].trace_id: is not a"},
      {with(R"("components":[{"name":"A","trace_id":4294967312}])"),
       "trace_id: must be a whole numb"},
      {with(R"("components":[{"name":"A","property_lists":{"l":[{"name":"n"}]}}])"),
       "$.components[0].property_lists.l[0]: the member \"value\" is missing"},
      {with(R"("components":[{"name":"A","property_lists":{"":[]}}])"),
       R"($.components[0].property_lists[""]: the name is empty)"},
      {with(R"("settings":{"#A":"1"})"), R"($.settings["#A"]: a settings file cannot hold)"},
      {with(R"("settings":{"A":"1\n2"})"), "$.settings.A: has a control character"},
      {with(R"("settings":{"A":1.0})"), "$.settings.A: must be a text, a whole number"},
      {with(R"("settings":{"A":{"value":"1","kind":"int"}})"),
       "$.settings.A.kind: must be boolean"},
      {with(R"("settings":{"A":{"value":"yes","kind":"boolean"}})"),
       "$.settings.A.value: is not a value of"},
      {with(R"("settings":{"A":{"value":"0x10","kind":"unsigned32"}})"),
       "A.value: is not a value of"},
      {with(R"("settings":{"A":{"value":4294967296,"kind":"unsigned32"}})"),
       "A.value: is not a value of"},
      // broken JSON
      {"", "soc.json: is empty"},
      {"{", "unexpected end of input"},
      {R"({"version":1,"name":"A","name":"B"})", "soc.json: $.name: this member appears twice"},
      {with(R"("components":[{},{"a":{"x":1,"x":2}}])"),
       "$.components[1].a.x: this member appears twice"},
      {with("\"a\":" + deep), "nested deeper than 32 levels"},
      {with("\"a\":\"\xC3\x28\""), "soc.json: byte 32: "},
      {std::string("\xFF\xFE{\0", 4), "soc.json: byte 0: "},
      {with("\"a\":1e999"), "number overflow"},
      {R"({"version":1,"name":"SOC"} x)", "soc.json: byte 27: "},
      {R"({"version":01})", "soc.json: byte 12: "},
  };
  for (const auto& [text, reason] : cases) {
    EXPECT_THAT(text_error(text), HasSubstr(reason)) << text.substr(0, 60);
  }
}

TEST(DeviceDescription, IsRefusedWhereverItIsCut) {
  const std::string whole =
      with(R"("components":[{"name":"A","trace_id":"0x10"}],"settings":{"a":1})");
  ASSERT_EQ(text_error(whole), "accepted");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_NE(text_error(whole.substr(0, length)), "accepted") << length;
  }
}

TEST(DeviceDescription, FilesThatCannotBeReadAreNamed) {
  const test::TestFolder folder;
  const std::string huge = folder.put("huge", std::string((std::size_t{16} << 20) + 1, ' '));
  const std::pair<std::string, std::string> cases[] = {
      {folder.at("missing"), "No such file"}, {folder.path(), "is a directory"},
      {huge, "larger than 16777216 bytes"},   {"/dev/null", "is empty"},
      {"/dev/zero", "larger than"},
  };
  for (const auto& [path, reason] : cases) {
    const std::string error = error_of([&] { load_device_description(path); });
    EXPECT_THAT(error, AllOf(HasSubstr(path + ": "), HasSubstr(reason)));
  }
}

}  // namespace
}  // namespace qbt2
