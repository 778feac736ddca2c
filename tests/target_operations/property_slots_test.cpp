// The virtual tables, as a host in another language uses them: the slot of every operation, the
// distance to each base, and calls through both. The numbers are those of
// docs/inside/property-tree.md. This executable links the shared library only, as a host does.
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <new>
#include <typeinfo>
#include <vector>

#include "target_operations/operations.h"
#include "tests/support/virtual_slots.h"

namespace {

using namespace TargetOperations;
using qbt2::test::expect_slots;
using ReferenceCounting::Adopt;
using ReferenceCounting::IReferenceCount;
using ReferenceCounting::Query;

const NameAndDescription kName("n", "d");

TEST(PropertySlots, Interfaces) {
  expect_slots(0, &IReferenceCount::AddRef, &IReferenceCount::Release,
               &IReferenceCount::QueryInterface);
  expect_slots(5, &IProperty::GetName, &IProperty::GetDescription, &IProperty::IsEditable,
               &IProperty::IsDisabled, &IProperty::GetNumSubProperties,
               &IProperty::GetSubProperties, &IProperty::GetParentProperty);
  expect_slots(12, &IAttachableProperty::AddChild);
  expect_slots(12, &IBooleanProperty::GetValue, &IBooleanProperty::SetValue);
  expect_slots(12, &IIntegerProperty::GetValue, &IIntegerProperty::SetValue,
               &IIntegerProperty::HasAllowedValues, &IIntegerProperty::GetAllowedValues,
               &IIntegerProperty::HasAllowedRange, &IIntegerProperty::GetDisplaySuggestion);
  expect_slots(12, &IStringProperty::GetValue, &IStringProperty::SetValue,
               &IStringProperty::HasAllowedValues, &IStringProperty::GetAllowedValues);
  expect_slots(12, &ILocationProperty::GetValue, &ILocationProperty::SetValue,
               &ILocationProperty::NumAllowedPages, &ILocationProperty::GetAllowedPages,
               &ILocationProperty::GetCookie, &ILocationProperty::SetCookie);
  expect_slots(18, &ILocationProperty2::GetValue64, &ILocationProperty2::SetValue64);
}

TEST(PropertySlots, Classes) {
  using P = Property;
  void (P::*const add_child)(IProperty*) = &P::AddChild;
  void (P::*const children_to_array)(IProperty**) const = &P::GetSubProperties;
  void (P::*const children_to_vector)(std::vector<IProperty*>&) const = &P::GetSubProperties;
  expect_slots<P>(5, add_child, &P::GetName, &P::GetDescription, &P::IsEditable, &P::IsDisabled,
                  &P::IsHaltCPU, &P::GetNumSubProperties, children_to_array, &P::GetParentProperty,
                  &P::AddKeyName, &P::SetEditable, &P::SetCategory, &P::SetEnumValue,
                  &P::SetChildKey, &P::SetSameLevelKey, &P::SetDisabled, &P::SetHaltCPU,
                  &P::IsKeyName, &P::GetKeyNumber, &P::GetCategory, &P::GetEnumValue,
                  &P::GetChildKey, &P::GetSameLevelKey, &P::SetParent, &P::Clone,
                  children_to_vector, &P::RemoveAllSubProperties, &P::RemoveAllKeys, &P::SetName,
                  &P::SetDescription, &P::SetReplacable, &P::IsReplacable, &P::IsEqual,
                  &P::UpdateSelf, &P::DisableAllLevel);
  using B = BooleanProperty;
  expect_slots(40, &B::GetValue, &B::SetValue, &B::SetValueNoUpdate);
  using I = IntegerProperty;
  expect_slots(40, &I::GetValue, &I::SetValue, &I::HasAllowedValues, &I::GetAllowedValues,
               &I::HasAllowedRange, &I::SetDisplaySuggestion, &I::GetDisplaySuggestion,
               &I::AddAllowedValue, &I::SetAllowedRange);
  using S = StringProperty;
  expect_slots(40, &S::GetValue, &S::SetValue, &S::HasAllowedValues, &S::GetAllowedValues,
               &S::AddAllowedValues, &S::AddAllowedAttributes, &S::GetAllowedAttributes,
               &S::UpdateChildKey, &S::DisableAllowed, &S::IsDisabledAllowed,
               &S::SetReplacableAllowed, &S::IsReplacableAllowed, &S::ClearAllAllowed);
  using L = LocationProperty;
  expect_slots(40, &L::GetValue, &L::SetValue, &L::NumAllowedPages, &L::GetAllowedPages,
               &L::SetCookie, &L::GetCookie, &L::SetPage);
  using L2 = LocationProperty2;
  expect_slots(40, &L2::GetValue, &L2::SetValue, &L2::GetValue64, &L2::SetValue64,
               &L2::NumAllowedPages, &L2::GetAllowedPages, &L2::SetCookie, &L2::GetCookie,
               &L2::SetPage);
}

/// The base of an object whose distance is `word` words before slot 0 of the object's table.
void* BaseOf(void* object, std::ptrdiff_t word) {
  const auto* const table = *static_cast<const std::ptrdiff_t* const*>(object);
  return static_cast<std::byte*>(object) + table[-word];
}

/// Calls through the table of the object.
template <class Result, class... Arguments>
Result Call(void* object, std::size_t slot, Arguments... arguments) {
  using Function = Result (*)(void*, Arguments...);
  return (*static_cast<Function* const*>(object))[slot](object, arguments...);
}

/// The distances to the bases, and a call of each, for an object that offers the interface.
template <class Interface>
void ExpectBases(IProperty* created) {
  const auto owner = Adopt(created);
  const auto typed = Query<Interface>(created);
  void* const object = typed.Get();
  void* const counter = BaseOf(object, 7);
  EXPECT_EQ(counter, static_cast<IReferenceCount*>(created)) << typeid(Interface).name();
  EXPECT_EQ(BaseOf(object, 15), created) << typeid(Interface).name();
  EXPECT_STREQ(Call<const char*>(BaseOf(object, 15), 5), "n");
  EXPECT_EQ(Call<void*>(counter, 2, +ReferenceCounting::ClassIdOf<Interface>::value), object);
  EXPECT_EQ(Call<unsigned int>(counter, 1), 3U);
}

TEST(PropertySlots, DistancesToTheBases) {
  ExpectBases<IAttachableProperty>(Property::Construct(kName));
  ExpectBases<IBooleanProperty>(BooleanProperty::Construct(kName, true));
  ExpectBases<IIntegerProperty>(IntegerProperty::Construct(kName, 1, false));
  ExpectBases<IStringProperty>(StringProperty::Construct(kName, ""));
  ExpectBases<ILocationProperty>(LocationProperty::Construct(kName, 1));
  ExpectBases<ILocationProperty2>(LocationProperty2::Construct(kName, 1));
  const auto node = Adopt(LocationProperty2::Construct(kName, 0x123456789, 3, 0));
  const auto location2 = Query<ILocationProperty2>(node.Get());
  EXPECT_EQ(BaseOf(node.Get(), 7), static_cast<IReferenceCount*>(node.Get()));
  unsigned int page = 0;
  EXPECT_EQ(Call<unsigned long>(location2.Get(), 18, &page), 0x123456789U);
  EXPECT_EQ(page, 3U);
  void* const location = BaseOf(location2.Get(), 22);
  EXPECT_EQ(location, static_cast<ILocationProperty*>(location2.Get()));
  EXPECT_EQ(Call<unsigned int>(location, 12, &page), 0x23456789U);
}

struct HostNode : Property {
  explicit HostNode(int& destroyed) : Property(kName), m_destroyed(destroyed) {}
  ~HostNode() override { ++m_destroyed; }
  int& m_destroyed;
};

TEST(PropertySlots, DestructorTakesSlotsThreeAndFour) {
  int destroyed = 0;
  alignas(HostNode) std::array<std::byte, sizeof(HostNode)> storage;
  Call<void>(new (storage.data()) HostNode(destroyed), 3);
  EXPECT_EQ(destroyed, 1);
  // Through the interface, whose entries are thunks; the address sanitizer sees a missing free.
  Call<void>(static_cast<IProperty*>(new HostNode(destroyed)), 4);
  EXPECT_EQ(destroyed, 2);
}

}  // namespace
