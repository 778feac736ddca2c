// The slot numbers of every interface and class, as a host without our headers uses them. This
// executable links the shared library only, as a host does.
#include "tests/target_operations/property_slots.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <new>
#include <string>
#include <vector>

#include "target_operations/operations.h"

namespace {

using namespace TargetOperations;
using ReferenceCounting::Adopt;
using ReferenceCounting::Query;

const NameAndDescription kName("n", "d");

// EXPECT_STREQ tells null (all well) from the step that failed.
#define EXPECT_SLOTS(call) EXPECT_STREQ(nullptr, call)

TEST(PropertySlots, InterfacesOfANode) {
  const auto parent = Adopt(Property::Construct(kName));
  IProperty* const node = Property::Construct(kName);
  IProperty* const child = Property::Construct(kName);
  Property::AddChild(parent.Get(), node);
  Property::AddChild(node, child);
  EXPECT_SLOTS(slots_iproperty(node, child, parent.Get()));
  const auto attachable = Query<IAttachableProperty>(node);
  attachable->Release();
  EXPECT_SLOTS(slots_iattachable(attachable.Get(), Property::Construct(kName)));
  attachable->AddRef();
}

// The node's own interface is released first: the C side expects one reference.
template <class Interface>
ReferenceCounting::ReferenceHandle<Interface> As(IProperty* node) {
  auto handle = Query<Interface>(node);
  node->Release();
  return handle;
}

TEST(PropertySlots, TypedInterfaces) {
  EXPECT_SLOTS(
      slots_iboolean(As<IBooleanProperty>(BooleanProperty::Construct(kName, false)).Get()));
  EXPECT_SLOTS(
      slots_iinteger(As<IIntegerProperty>(IntegerProperty::Construct(kName, 1, false)).Get()));
  EXPECT_SLOTS(slots_istring(
      As<IStringProperty>(StringProperty::Construct(kName, "A", {"A", "B"}, {})).Get()));
  EXPECT_SLOTS(
      slots_ilocation(As<ILocationProperty>(LocationProperty::Construct(kName, 1, 3, 0xC0)).Get()));
  EXPECT_SLOTS(slots_ilocation2(
      As<ILocationProperty2>(LocationProperty2::Construct(kName, 1, 3, 0xC0)).Get()));
}

TEST(PropertySlots, Classes) {
  const auto node = Adopt(new Property(kName));
  const auto parent = Adopt(new Property(kName));
  const auto unequal = Adopt(new Property(NameAndDescription("other", "")));
  const PropertyKey key("k", 7);
  std::vector<IProperty*> children;
  IProperty* const child = Property::Construct(kName);
  EXPECT_SLOTS(slots_property(node.Get(), child, parent.Get(),
                              static_cast<IProperty*>(parent.Get()), const_cast<PropertyKey*>(&key),
                              &children, unequal.Get()));
  EXPECT_EQ(children, std::vector<IProperty*>{child});

  EXPECT_SLOTS(slots_boolean(Adopt(new BooleanProperty(kName, false)).Get()));
  std::vector<unsigned long> none;
  EXPECT_SLOTS(slots_integer(Adopt(new IntegerProperty(kName, 1, none, false)).Get()));
  ValueAttribute attribute("key", 1, 2, false, "");
  std::vector<ValueAttribute> attributes;
  EXPECT_SLOTS(
      slots_string(Adopt(new StringProperty(kName, "", {}, {})).Get(), &attribute, &attributes));
  EXPECT_EQ(attributes, std::vector<ValueAttribute>{ValueAttribute("key", 1, 2, false, "")});
  EXPECT_SLOTS(slots_location(Adopt(new LocationProperty(kName, 1, 2, 3)).Get()));
  EXPECT_SLOTS(slots_location2(Adopt(new LocationProperty2(kName, 1, 2, 3)).Get()));
}

struct HostNode : Property {
  explicit HostNode(int& deaths) : Property(kName), m_deaths(deaths) {}
  ~HostNode() override { ++m_deaths; }
  int& m_deaths;
};

TEST(PropertySlots, DestructorTakesSlotsThreeAndFour) {
  int deaths = 0;
  alignas(HostNode) std::array<std::byte, sizeof(HostNode)> storage;
  slots_destroy(new (storage.data()) HostNode(deaths), 3);
  EXPECT_EQ(deaths, 1);
  // Through the interface, whose entries are thunks; the address sanitizer sees a missing free.
  slots_destroy(static_cast<IProperty*>(new HostNode(deaths)), 4);
  EXPECT_EQ(deaths, 2);
}

}  // namespace
