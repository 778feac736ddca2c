// The decoder unit as its interface shows it: slots, master ids, columns.

#include "tests/decoder/decoder_test_support.h"
#include "tests/support/golden_columns.h"
#include "tests/support/live_blocks.h"
#include "tests/support/virtual_slots.h"

namespace decoder_test {
namespace {

using Kz::Dvt::Trace::eInput;

struct ColumnAnswer {
  eInput input = static_cast<eInput>(7);
  std::uint32_t bits = 7;
  bool enabled = true;
  std::string name = "-", key = "-", description = "-";
};

class InterfaceTest : public DecoderTest {
 protected:
  ColumnAnswer Ask(std::uint32_t id) {
    ColumnAnswer a;
    unit_->GetColumnInfo(id, a.input, a.bits, a.enabled, a.name, a.key, a.description);
    return a;
  }
};

TEST_F(InterfaceTest, ColumnsInCatalogueOrder) {
  std::vector<CDecoderUnitIF::SharedColumns> shared{{"the host's", 1, true}};
  std::uint32_t count = 99;
  unit_->InitColumn(shared, 100, count);
  EXPECT_EQ(count, 45U);
  ASSERT_EQ(shared.size(), 46U) << "appended, not replaced";
  std::string columns = "\n";
  for (std::uint32_t k = 0; k < 45; ++k) {
    const ColumnAnswer a = Ask(100 + k);
    columns += a.key + '|' + std::to_string(a.bits) + '|' + a.name + '|' + a.description + '\n';
    EXPECT_EQ(static_cast<int>(a.input), 140) << a.name;
    EXPECT_FALSE(a.enabled) << a.name;
    EXPECT_EQ(shared[k + 1].name, a.name);
    EXPECT_EQ(shared[k + 1].columnId, 100 + k);
    EXPECT_FALSE(shared[k + 1].flag) << a.name;
  }
  EXPECT_EQ(columns, qbt2::test::kGoldenColumns);
}

TEST_F(InterfaceTest, EnablingAColumnIsReportedAndNothingElse) {
  const Bytes before = Decode(Sample(1, {1, 2}));
  unit_->AddColumn(109, true);
  unit_->AddColumn(4711, true);
  for (std::uint32_t k = 0; k < 45; ++k) {
    EXPECT_EQ(Ask(100 + k).enabled, k == 9) << k;
  }
  EXPECT_EQ(Decode(Sample(1, {1, 2})), before);
  unit_->AddColumn(109, false);
  EXPECT_FALSE(Ask(109).enabled);
}

TEST_F(InterfaceTest, UnknownAndUnnumberedColumns) {
  const ColumnAnswer unknown = Ask(145);
  EXPECT_EQ(unknown.bits, 7U);
  EXPECT_EQ(unknown.name + unknown.key + unknown.description, "---");
  EXPECT_TRUE(unknown.enabled);
  unit_ = std::make_unique<StpQBTracer2Decoder>();
  const ColumnAnswer unnumbered = Ask(0xBAD0BAD0);
  EXPECT_EQ(unnumbered.name, "Byte Transactions");
  EXPECT_EQ(unnumbered.bits, 32U);
  unit_->AddColumn(0xBAD0BAD0, true);
  EXPECT_EQ(Decode(Sample(1, {1, 2}))[74], 'n') << "the description's last character";
  EXPECT_EQ(Decode(Sample(1, {1, 2}))[75], 0xD0) << "the low byte of its id";
  NumberColumns(100);
  EXPECT_TRUE(Ask(100).enabled && Ask(144).enabled) << "they all had the id";
}

TEST_F(InterfaceTest, MasterIds) {
  std::vector<std::uint32_t> ids{9};
  unit_->SetMasterIds({3, 5});
  unit_->GetMasterIds(ids);
  EXPECT_EQ(ids, (std::vector<std::uint32_t>{3, 5}));
  unit_->SetMasterIds(Peer().MasterIds());
  unit_->GetMasterIds(ids);
  EXPECT_TRUE(ids.empty()) << "the decoder's own list is emptied before the copy";
}

TEST_F(InterfaceTest, FixedAnswers) {
  CDecoderUnitIF& unit = *unit_;
  auto type = static_cast<Kz::Dvt::Trace::eFunctionType>(7);
  unit.GetFunctionInformation(type);
  EXPECT_EQ(static_cast<int>(type), 0);
  ConfigPropertyValue value;
  value.type = Kz::Dvt::Trace::eConfigPropertyText;
  value.text = "mine";
  value.value.unsignedValue = 7;
  unit.GetInfo("ClockRate", value);
  EXPECT_EQ(value.type, Kz::Dvt::Trace::eConfigPropertyText);
  EXPECT_EQ(value.text, "mine");
  EXPECT_EQ(value.value.unsignedValue, 7U);
  bool needed = true;
  unit.GetTimestampAdjustmentNeeded(needed);
  EXPECT_FALSE(needed);
  std::uint32_t adjusted = 7;
  unit.AdjustTimestamp(nullptr, adjusted);
  EXPECT_EQ(adjusted, 0U);
}

/// Its members are not to be destroyed with it.
struct ObservedUnit : StpQBTracer2Decoder {
  explicit ObservedUnit(bool& destroyed) : destroyed_(destroyed) {}
  ~ObservedUnit() override { destroyed_ = true; }
  bool& destroyed_;
};

TEST_F(InterfaceTest, DestroyingAUnitFreesItsStorageOnly) {
  bool destroyed = false;
  const std::size_t before = qbt2::test::LiveBlocks();
  auto* unit = new ObservedUnit(destroyed);
  const std::size_t members = qbt2::test::LiveBlocks() - before - 1;
  DestroyDecoderUnit(static_cast<CDecoderUnitIF*>(unit));
  EXPECT_FALSE(destroyed);
  EXPECT_EQ(qbt2::test::LiveBlocks() - before, members - 1) << "all but the prepared rows";
}

TEST_F(InterfaceTest, SlotOrder) {
  using U = CDecoderUnitIF;
  qbt2::test::expect_slots(
      0, &U::SetDeviceConfigManager, &U::SetDeviceIdentifier, &U::GetFunctionInformation,
      &U::GetMasterIds, &U::SetMasterIds, &U::GetInfo, &U::InitColumn, &U::GetColumnInfo,
      &U::AddColumn, &U::ProcessSamples, &U::DataReset, &U::Init, &U::GetTimestampAdjustmentNeeded,
      &U::AdjustTimestamp, &U::SetAdjustedTimestamp);
  // After them the two of the destructor; the second one frees the unit.
  CDecoderUnitIF* unit = unit_.release();
  auto* const* table = *reinterpret_cast<void* const* const*>(unit);
  reinterpret_cast<void (*)(CDecoderUnitIF*)>(table[16])(unit);
}

}  // namespace
}  // namespace decoder_test
