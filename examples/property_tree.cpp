// The property tree in ten minutes: build a tree, read and change it through its interfaces, copy
// and release it. Links the shared library, as a host does.
#include <cstdio>
#include <vector>

#include "target_operations/operations.h"

using namespace TargetOperations;
using ReferenceCounting::Adopt;
using ReferenceCounting::Query;
using ReferenceCounting::ReferenceHandle;

namespace {

// Construct returns a node with one reference, which is ours until AddChild takes it over: a tree
// is built without AddRef or Release.
ReferenceHandle<IProperty> BuildSettings() {
  auto root = Adopt(Property::Construct({"Tracer", "Settings of one bus tracer"}));
  IProperty* const filters = BooleanProperty::Construct({"Filters", "All filters at once"}, false);
  Property::AddChild(root.Get(), filters);
  Property::AddChild(filters, BooleanProperty::Construct({"Reads", "Pass reads"}, false));
  Property::AddChild(filters, BooleanProperty::Construct({"Writes", "Pass writes"}, false));
  Property::AddChild(root.Get(), IntegerProperty::Construct({"Period", "Cycles"}, 100, false));
  Property::AddChild(
      root.Get(), StringProperty::Construct(
                      {"Mode", "What is traced"}, "statistics", {"statistics", "transactions"},
                      {ValueAttribute("", 0, 0, false, ""), ValueAttribute("", 1, 0, true, "")}));
  return root;
}

// A list of children has one reference each, which the handles release.
std::vector<ReferenceHandle<IProperty>> ChildrenOf(IProperty& node) {
  std::vector<IProperty*> children;
  Property::GetSubProperties(&node, children);
  std::vector<ReferenceHandle<IProperty>> owned;
  owned.reserve(children.size());
  for (IProperty* const child : children) owned.push_back(Adopt(child));
  return owned;
}

// The kind of a node shows in its interfaces: an empty handle means another kind.
void Print(IProperty& node, int depth) {
  std::printf("%*s%s", 2 * depth, "", node.GetName());
  if (const auto boolean = Query<IBooleanProperty>(&node)) {
    std::printf(" = %s", boolean->GetValue() ? "on" : "off");
  } else if (const auto integer = Query<IIntegerProperty>(&node)) {
    std::printf(" = %lu", integer->GetValue());
  } else if (const auto string = Query<IStringProperty>(&node)) {
    std::printf(" = %s", string->GetValue());
  }
  std::printf("\n");
  for (const auto& child : ChildrenOf(node)) Print(*child, depth + 1);
}

}  // namespace

int main() {
  const auto settings = BuildSettings();
  const auto children = ChildrenOf(*settings);

  // Setting a group sets its switches; a value that breaks a rule is silently ignored.
  Query<IBooleanProperty>(children[0].Get())->SetValue(true);
  Query<IStringProperty>(children[2].Get())->SetValue("everything");
  Print(*settings, 0);

  // The casts under plain names are for hosts that load the library with dlopen.
  const auto mode = Adopt(CastString(children[2].Get()));
  mode->SetValue("transactions");
  std::printf("%s halts the CPU: %s\n", mode->GetValue(), mode->IsHaltCPU() ? "yes" : "no");

  // A deep copy is independent of its source.
  const auto copy = Adopt(mode->Clone());
  std::printf("%s, copied: %s\n", copy->GetName(), Query<IStringProperty>(copy.Get())->GetValue());

  // Release returns the count before: 1 would have been the last reference.
  const unsigned int added = mode->AddRef();
  const unsigned int before = mode->Release();
  std::printf("references: %u, then %u before the release\n", added, before);
  return 0;  // the handles release everything
}
