// The slot numbers of every interface and class, and the way to a virtual base, as hosts without
// our headers use them. This executable links the shared library only, as a host does.
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <new>
#include <vector>

#include "target_operations/operations.h"

namespace {

using namespace TargetOperations;
using ReferenceCounting::Adopt;
using ReferenceCounting::IReferenceCount;
using ReferenceCounting::Query;

const NameAndDescription kName("n", "d");

/// The first word of a pointer to a virtual member function is its offset in the table, plus 1.
template <class Member>
std::size_t SlotOf(Member member) {
  std::size_t word = 0;
  std::memcpy(&word, &member, sizeof word);
  return (word - 1) / sizeof(void*);
}

/// The members take the slots from `first` on, one after the other.
template <class... Members>
void ExpectSlots(std::size_t first, Members... members) {
  const std::array<std::size_t, sizeof...(Members)> slots{SlotOf(members)...};
  for (std::size_t i = 0; i < slots.size(); ++i) {
    EXPECT_EQ(slots.at(i), first + i) << "member " << i << " of those from slot " << first;
  }
}

TEST(PropertySlots, Interfaces) {
  ExpectSlots(0, &IReferenceCount::AddRef, &IReferenceCount::Release,
              &IReferenceCount::QueryInterface);
  using P = IProperty;
  ExpectSlots(5, &P::GetName, &P::GetDescription, &P::IsEditable, &P::IsDisabled,
              &P::GetNumSubProperties, &P::GetSubProperties, &P::GetParentProperty);
  ExpectSlots(12, &IAttachableProperty::AddChild);
  ExpectSlots(12, &IBooleanProperty::GetValue, &IBooleanProperty::SetValue);
  using I = IIntegerProperty;
  ExpectSlots(12, &I::GetValue, &I::SetValue, &I::HasAllowedValues, &I::GetAllowedValues,
              &I::HasAllowedRange, &I::GetDisplaySuggestion);
  using S = IStringProperty;
  ExpectSlots(12, &S::GetValue, &S::SetValue, &S::HasAllowedValues, &S::GetAllowedValues);
  using L = ILocationProperty;
  ExpectSlots(12, &L::GetValue, &L::SetValue, &L::NumAllowedPages, &L::GetAllowedPages,
              &L::GetCookie, &L::SetCookie);
  ExpectSlots(18, &ILocationProperty2::GetValue64, &ILocationProperty2::SetValue64);
}

TEST(PropertySlots, Classes) {
  using P = Property;
  ExpectSlots(0, &P::AddRef, &P::Release, &P::QueryInterface);
  ExpectSlots(
      5, static_cast<void (P::*)(IProperty*)>(&P::AddChild), &P::GetName, &P::GetDescription,
      &P::IsEditable, &P::IsDisabled, &P::IsHaltCPU, &P::GetNumSubProperties,
      static_cast<void (P::*)(IProperty**) const>(&P::GetSubProperties), &P::GetParentProperty,
      &P::AddKeyName, &P::SetEditable, &P::SetCategory, &P::SetEnumValue, &P::SetChildKey,
      &P::SetSameLevelKey, &P::SetDisabled, &P::SetHaltCPU, &P::IsKeyName, &P::GetKeyNumber,
      &P::GetCategory, &P::GetEnumValue, &P::GetChildKey, &P::GetSameLevelKey, &P::SetParent,
      &P::Clone, static_cast<void (P::*)(std::vector<IProperty*>&) const>(&P::GetSubProperties),
      &P::RemoveAllSubProperties, &P::RemoveAllKeys, &P::SetName, &P::SetDescription,
      &P::SetReplacable, &P::IsReplacable, &P::IsEqual, &P::UpdateSelf, &P::DisableAllLevel);
  using B = BooleanProperty;
  ExpectSlots(40, &B::GetValue, &B::SetValue, &B::SetValueNoUpdate);
  using I = IntegerProperty;
  ExpectSlots(40, &I::GetValue, &I::SetValue, &I::HasAllowedValues, &I::GetAllowedValues,
              &I::HasAllowedRange, &I::SetDisplaySuggestion, &I::GetDisplaySuggestion,
              &I::AddAllowedValue, &I::SetAllowedRange);
  using S = StringProperty;
  ExpectSlots(40, &S::GetValue, &S::SetValue, &S::HasAllowedValues, &S::GetAllowedValues,
              &S::AddAllowedValues, &S::AddAllowedAttributes, &S::GetAllowedAttributes,
              &S::UpdateChildKey, &S::DisableAllowed, &S::IsDisabledAllowed,
              &S::SetReplacableAllowed, &S::IsReplacableAllowed, &S::ClearAllAllowed);
  using L = LocationProperty;
  ExpectSlots(40, &L::GetValue, &L::SetValue, &L::NumAllowedPages, &L::GetAllowedPages,
              &L::SetCookie, &L::GetCookie, &L::SetPage);
  using L2 = LocationProperty2;
  ExpectSlots(40, &L2::GetValue, &L2::SetValue, &L2::GetValue64, &L2::SetValue64,
              &L2::NumAllowedPages, &L2::GetAllowedPages, &L2::SetCookie, &L2::GetCookie,
              &L2::SetPage);
}

/// Calls slot `slot` of the table that the object's first word points to.
template <class Result, class... Args>
Result CallSlot(void* object, std::size_t slot, Args... args) {
  void* const* const table = *static_cast<void* const* const*>(object);
  return reinterpret_cast<Result (*)(void*, Args...)>(table[slot])(object, args...);
}

/// The base whose distance stands `words` words before slot 0.
void* BaseOf(void* object, std::ptrdiff_t words) {
  const std::ptrdiff_t* const table = *static_cast<const std::ptrdiff_t* const*>(object);
  return static_cast<char*>(object) + table[-words];
}

TEST(PropertySlots, BasesAreReachedThroughTheTable) {
  struct {
    IProperty* node;
    unsigned int id;
  } const cases[] = {
      {Property::Construct(kName), 0},
      {BooleanProperty::Construct(kName, true), 1},
      {IntegerProperty::Construct(kName, 1, false), 4},
      {LocationProperty::Construct(kName, 1), 5},
      {StringProperty::Construct(kName, ""), 8},
      {LocationProperty2::Construct(kName, 1), 15},
  };
  for (const auto& c : cases) {
    const auto node = Adopt(c.node);
    void* const interface = node->QueryInterface(static_cast<ReferenceCounting::_ClassID>(c.id));
    EXPECT_STREQ(CallSlot<const char*>(BaseOf(interface, 15), 5), "n") << c.id;
    void* const counted = BaseOf(interface, 7);
    EXPECT_EQ(CallSlot<void*>(counted, 2, c.id), interface) << c.id;
    EXPECT_EQ(CallSlot<unsigned int>(counted, 1), 3U) << c.id;
    EXPECT_EQ(CallSlot<unsigned int>(counted, 1), 2U) << c.id;
  }
  const auto wide = Adopt(LocationProperty2::Construct(kName, 0x900000007, 3, 0xC0));
  void* const location = BaseOf(Query<ILocationProperty2>(wide.Get()).Get(), 22);
  unsigned int page = 0;
  EXPECT_EQ(CallSlot<unsigned int>(location, 12, &page), 7U);
  EXPECT_EQ(page, 3U);
  EXPECT_EQ(CallSlot<unsigned int>(location, 16), 0xC0U);
}

struct HostNode : Property {
  explicit HostNode(int& deaths) : Property(kName), m_deaths(deaths) {}
  ~HostNode() override { ++m_deaths; }
  int& m_deaths;
};

TEST(PropertySlots, DestructorTakesSlotsThreeAndFour) {
  int deaths = 0;
  alignas(HostNode) std::array<std::byte, sizeof(HostNode)> storage;
  CallSlot<void>(new (storage.data()) HostNode(deaths), 3);
  EXPECT_EQ(deaths, 1);
  // Through the interface, whose entries are thunks; the address sanitizer sees a missing free.
  CallSlot<void>(static_cast<IProperty*>(new HostNode(deaths)), 4);
  EXPECT_EQ(deaths, 2);
}

}  // namespace
