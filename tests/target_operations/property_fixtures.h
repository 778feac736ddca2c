#pragma once

#include "target_operations/operations.h"
#include "tests/support/live_blocks.h"

/// Shared by the tests of the property tree.
namespace property_tests {

using namespace TargetOperations;
using qbt2::test::FailingAllocations;
using qbt2::test::LiveBlocks;
using ReferenceCounting::Adopt;
using ReferenceCounting::ReferenceHandle;
using ReferenceCounting::Share;

inline NameAndDescription Named(const char* name) {
  return {name, "description"};
}

inline ReferenceHandle<Property> Node(const char* name) {
  return Adopt(new Property(Named(name)));
}

inline ReferenceHandle<BooleanProperty> Boolean(const char* name, bool value) {
  return Adopt(new BooleanProperty(Named(name), value));
}

/// Attaches a child that the caller keeps a reference to.
template <class Node>
ReferenceHandle<Node> Attach(Property& parent, ReferenceHandle<Node> child) {
  parent.AddChild(ReferenceHandle<Node>(child).Detach());
  return child;
}

/// The count of references, seen from outside.
template <class Object>
unsigned int CountOf(const Object& object) {
  object.AddRef();
  return object.Release() - 1;
}

/// A node that the host implements: not of the library's classes.
class HostProperty : public ReferenceCount, public virtual IProperty {
 public:
  const char* GetName() const override { return "host"; }
  const char* GetDescription() const override { return ""; }
  bool IsEditable() const override { return true; }
  bool IsDisabled() const override { return false; }
  unsigned int GetNumSubProperties() const override { return 0; }
  void GetSubProperties(IProperty** /*out*/) const override {}
  IProperty* GetParentProperty() const override { return nullptr; }
};

}  // namespace property_tests
