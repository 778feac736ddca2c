// The decoder unit as its interface shows it: slots, master ids, columns.

#include <cstring>
#include <set>

#include "decoder_test_support.h"

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

TEST_F(InterfaceTest, ColumnsAreHandedOverInOrder) {
  std::vector<CDecoderUnitIF::SharedColumns> shared{{"host's own", 1, true}};
  std::uint32_t count = 99;
  unit_->InitColumn(shared, 100, count);
  ASSERT_EQ(count, 45U);
  ASSERT_EQ(shared.size(), 46U) << "appended to, not replaced";
  for (std::uint32_t k = 0; k < 45; ++k) {
    EXPECT_EQ(shared[k + 1].columnId, 100 + k);
    EXPECT_FALSE(shared[k + 1].flag);
  }
  EXPECT_EQ(shared[1].name, "Byte Transactions");
  EXPECT_EQ(shared[10].name, "Route ID");
  EXPECT_EQ(shared[45].name, "Raw QBT2 MSG5");
}

TEST_F(InterfaceTest, ColumnDescriptions) {
  struct {
    std::uint32_t k, bits;
    std::string name, key, description;
  } const cases[] = {
      {0, 32, "Byte Transactions", "Bytes",
       "Number of byte transactions recorded per sampling window."},
      {1, 32, "Matched", "Matched_",
       "Number of byte transactions recorded per sampling window that have matched filtering "
       "criteria."},
      {2, 32, "Avg. Length", "AvgLength",
       "Average tranaction length (Total transactions / total matched transactions)"},
      {4, 32, "Matched Transactions", "Matched",
       "Total number of matched transactions recorded per sampling window."},
      {5, 16, "Max Wait", "MaxWait", "Maximum wait"},
      {9, 16, "Route ID", "RouteID", "route ID (0x0 - 0xFFF)"},
      {14, 8, "LSIZE", "LSIZE_", "the line size wrap qualifier for the transaction (0x0 - 0x7)"},
      {16, 8, "PRIVID", "PRIVID_", "the (secure) privilege ID of the transaction (0x0 - 0x0FF)"},
      {31, 8, "Order ID", "ORDERID",
       "the extended initiator identifier used for ordering for a specific route ID (0x0 - 0xF)"},
      {35, 8, "Virtual ID", "VIRTID", "the virtual master ID for the transaction (0x0 - 0xFFF)"},
      {38, 16, "Channel ID", "CHANNELID", "the value of the Channel ID Bus (0x0 - 0xFFF)"},
      {42, 32, "Raw QBT2 MSG3", "RawQBT2_3", "Decoded STPV2 data."},
  };
  for (const auto& c : cases) {
    const ColumnAnswer a = Ask(100 + c.k);
    EXPECT_EQ(a.name, c.name);
    EXPECT_EQ(a.key, c.key);
    EXPECT_EQ(a.description, c.description);
    EXPECT_EQ(a.bits, c.bits) << c.name;
    EXPECT_EQ(static_cast<int>(a.input), 140) << c.name;
    EXPECT_FALSE(a.enabled) << c.name;
  }
}

// 28 columns of one byte, 4 of two and 13 of four; no name and no key twice.
TEST_F(InterfaceTest, ColumnTotals) {
  std::map<std::uint32_t, int> columnsOfBits;
  std::set<std::string> names, keys;
  for (std::uint32_t k = 0; k < 45; ++k) {
    const ColumnAnswer a = Ask(100 + k);
    ++columnsOfBits[a.bits];
    names.insert(a.name);
    keys.insert(a.key);
  }
  EXPECT_EQ(columnsOfBits, (std::map<std::uint32_t, int>{{8, 28}, {16, 4}, {32, 13}}));
  EXPECT_EQ(names.size(), 45U);
  EXPECT_EQ(keys.size(), 45U);
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
  EXPECT_EQ(Decode(Sample(1, {1, 2}))[74], 'n') << "the description's last character";
  EXPECT_EQ(Decode(Sample(1, {1, 2}))[75], 0xD0) << "its low byte goes to the rows";
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

/// The first word of a pointer to a virtual member function is its offset in the table, plus 1.
template <class Member>
std::size_t SlotOf(Member member) {
  std::size_t word = 0;
  std::memcpy(&word, &member, sizeof word);
  return (word - 1) / sizeof(void*);
}

template <class... Members>
void ExpectSlotsFromZero(Members... members) {
  const std::size_t slots[] = {SlotOf(members)...};
  for (std::size_t i = 0; i < std::size(slots); ++i) {
    EXPECT_EQ(slots[i], i);
  }
}

TEST_F(InterfaceTest, SlotOrder) {
  using U = CDecoderUnitIF;
  ExpectSlotsFromZero(&U::SetDeviceConfigManager, &U::SetDeviceIdentifier,
                      &U::GetFunctionInformation, &U::GetMasterIds, &U::SetMasterIds, &U::GetInfo,
                      &U::InitColumn, &U::GetColumnInfo, &U::AddColumn, &U::ProcessSamples,
                      &U::DataReset, &U::Init, &U::GetTimestampAdjustmentNeeded,
                      &U::AdjustTimestamp, &U::SetAdjustedTimestamp);
  // Behind them the destructor's two; the second frees, which the leak checker would miss.
  CDecoderUnitIF* unit = unit_.release();
  auto* const* table = *reinterpret_cast<void* const* const*>(unit);
  reinterpret_cast<void (*)(CDecoderUnitIF*)>(table[16])(unit);
}

}  // namespace
}  // namespace decoder_test
