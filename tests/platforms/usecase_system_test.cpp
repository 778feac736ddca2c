#include "platforms/source/trace/usecase_system.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "interfaces/job_manager_if.h"
#include "platforms/source/trace/system_trace_maps.h"
#include "target_operations/operations.h"

namespace {

using namespace TargetOperations;
using ReferenceCounting::Adopt;
using ReferenceCounting::ReferenceHandle;

constexpr unsigned int kGroup = 0x80850000;
constexpr unsigned int kFlag = 0x80850004;

/// Finds the properties that a test puts in, under any root, and records each look-up.
class FakeJobManager : public JobManagerInterface {
 public:
  IProperty* FindProperty(const IProperty* root, std::uint32_t id) override {
    m_lookups.emplace_back(root, id);
    const auto found = m_properties.find(id);
    return found != m_properties.end() ? found->second.Get() : nullptr;
  }
  void Put(unsigned int id, IProperty* property) { m_properties[id] = Adopt(property); }
  [[nodiscard]] IProperty* At(unsigned int id) { return m_properties[id].Get(); }
  void ExpectNoReferencesLeft() {
    for (const auto& [id, property] : m_properties) {
      property->AddRef();
      EXPECT_EQ(property->Release(), 2U) << std::hex << id;
    }
  }

  using Lookups = std::vector<std::pair<const IProperty*, unsigned int>>;
  Lookups m_lookups;

 private:
  std::map<unsigned int, ReferenceHandle<IProperty>> m_properties;
};

class UsecaseSystem : public testing::Test {
 protected:
  UsecaseSystem() {
    m_jobs.Put(kGroup, BooleanProperty::Construct(kName, true));
    m_jobs.Put(0x80850001, LocationProperty::Construct(kName, 0x11111111));
    m_jobs.Put(0x80850002, LocationProperty2::Construct(kName, 0x922222222));
    m_jobs.Put(0x80850003, LocationProperty::Construct(kName, 3));
    m_jobs.Put(kFlag, BooleanProperty::Construct(kName, true));
    m_jobs.Put(1, IntegerProperty::Construct(kName, 0x123456789ABCDEF0, false));
    m_jobs.Put(2, StringProperty::Construct(kName, "text"));
  }
  ~UsecaseSystem() override { m_jobs.ExpectNoReferencesLeft(); }

  struct Settings {
    bool flag = false;
    unsigned int first = 7, second = 8;
  };
  Settings Read(const IProperty* root, JobManagerInterface* jobs) {
    Settings settings;
    EktTrace::SysUcGetAddressSettings(root, settings.flag, settings.first, 0, settings.second, 0,
                                      jobs);
    return settings;
  }

  const NameAndDescription kName{"n", "d"};
  ReferenceHandle<IProperty> m_root = Adopt(Property::Construct(kName));
  FakeJobManager m_jobs;
};

TEST_F(UsecaseSystem, AddressSettings) {
  const Settings settings = Read(m_root.Get(), &m_jobs);
  EXPECT_TRUE(settings.flag);
  EXPECT_EQ(settings.first, 0x11111111U);
  EXPECT_EQ(settings.second, 0x22222222U);
  // The addresses are looked up under the group; two results are not used.
  const IProperty* const root = m_root.Get();
  const IProperty* const group = m_jobs.At(kGroup);
  const FakeJobManager::Lookups expected{
      {root, kGroup},      {root, kGroup},      {group, 0x80850001}, {group, 0x80850003},
      {group, 0x80850002}, {group, 0x80850002}, {root, kFlag}};
  EXPECT_EQ(m_jobs.m_lookups, expected);
}

TEST_F(UsecaseSystem, AddressSettingsSwitchedOffOrAbsent) {
  for (IProperty* const group :
       {BooleanProperty::Construct(kName, false), StringProperty::Construct(kName, "")}) {
    m_jobs.Put(kGroup, group);
    const Settings settings = Read(m_root.Get(), &m_jobs);
    EXPECT_FALSE(settings.flag);
    EXPECT_EQ(settings.first, 7U);
    EXPECT_EQ(settings.second, 8U);
  }
  EXPECT_EQ(Read(nullptr, &m_jobs).first, 7U);
  EXPECT_EQ(Read(m_root.Get(), nullptr).first, 7U);
}

TEST_F(UsecaseSystem, AddressSettingsWithoutFlagOrAddress) {
  m_jobs.Put(kFlag, StringProperty::Construct(kName, "true"));
  m_jobs.Put(0x80850001, IntegerProperty::Construct(kName, 5, false));
  const Settings settings = Read(m_root.Get(), &m_jobs);
  EXPECT_FALSE(settings.flag);
  EXPECT_EQ(settings.first, 0U) << "an integer is not a location";
  EXPECT_EQ(settings.second, 0x22222222U);
}

TEST_F(UsecaseSystem, IntegersAreCutToTheWidth) {
  unsigned char byte = 1;
  unsigned short half = 1;
  unsigned int word = 1;
  EktTrace::usecase_system_get_integer_8(*m_root, &m_jobs, &byte, 1);
  EktTrace::usecase_system_get_integer_16(*m_root, &m_jobs, &half, 1);
  EktTrace::usecase_system_get_integer_32(*m_root, &m_jobs, &word, 1);
  EXPECT_EQ(byte, 0xF0U);
  EXPECT_EQ(half, 0xDEF0U);
  EXPECT_EQ(word, 0x9ABCDEF0U);
}

/// A host's integer, whose query finds nothing.
struct UnqueriedInteger : IntegerProperty {
  UnqueriedInteger() : IntegerProperty({"n", "d"}, 5, s_none, false) {}
  void* QueryInterface(ReferenceCounting::_ClassID /*id*/) override { return nullptr; }
  static inline std::vector<unsigned long> s_none;
};

TEST_F(UsecaseSystem, IntegersAreFoundWithoutAQuery) {
  m_jobs.Put(1, new UnqueriedInteger);
  unsigned int word = 1;
  EktTrace::usecase_system_get_integer_32(*m_root, &m_jobs, &word, 1);
  EXPECT_EQ(word, 5U);
}

TEST_F(UsecaseSystem, AbsentOrOtherKindsLeaveTheOutputAlone) {
  for (const unsigned int id : {2U, 99U}) {
    unsigned int word = 5;
    bool flag = true;
    EktTrace::usecase_system_get_integer_32(*m_root, &m_jobs, &word, id);
    EktTrace::usecase_system_get_boolean(*m_root, &m_jobs, &flag, id);
    EXPECT_EQ(word, 5U) << id;
    EXPECT_TRUE(flag) << id;
    EXPECT_EQ(EktTrace::SysUcGetAddressValue(m_root.Get(), id, &m_jobs), 0U) << id;
  }
  unsigned int word = 5;
  EktTrace::usecase_system_get_integer_32(*m_root, nullptr, &word, 1);
  EktTrace::usecase_system_get_integer_32(*m_root, &m_jobs, nullptr, 1);
  EktTrace::usecase_system_get_boolean(*m_root, &m_jobs, nullptr, kFlag);
  EXPECT_EQ(word, 5U);
  bool flag = false;
  EktTrace::usecase_system_get_boolean(*m_root, &m_jobs, &flag, kFlag);
  EXPECT_TRUE(flag);
}

TEST(SystemTraceMaps, RepeatedNamesAndTheJumpOfCodes) {
  const auto& details = EktTrace::system_trace_type_detail_map;
  const std::pair<std::size_t, std::uint32_t> cases[] = {
      {0, 0x81BADBAD}, {3, 0x81000002}, {9, 0x81000008}, {10, 0x81000020}, {11, 0x81000021}};
  for (const auto& [row, code] : cases) EXPECT_EQ(details[row].code, code) << row;
  EXPECT_EQ(details[3].name, details[10].name);
  EXPECT_EQ(details[4].name, details[11].name);
  EXPECT_EQ(EktTrace::system_trace_type_map[3].name, "QB Tracer 2");
}

}  // namespace
