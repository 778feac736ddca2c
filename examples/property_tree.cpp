// The first ten minutes with the property tree: build one, hand it around, read and change it by
// name of its interfaces, and let go of it. Links the shared library, as a host does.
#include <cstdio>
#include <vector>

#include "target_operations/operations.h"

using namespace TargetOperations;
using ReferenceCounting::Adopt;
using ReferenceCounting::Query;
using ReferenceCounting::ReferenceHandle;

namespace {

// Construct gives the node with one reference, which is ours; AddChild takes it over. So a tree is
// built without a single AddRef or Release.
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

// A list of children holds one reference each, which handles give back.
std::vector<ReferenceHandle<IProperty>> ChildrenOf(IProperty& node) {
  std::vector<IProperty*> children;
  Property::GetSubProperties(&node, children);
  std::vector<ReferenceHandle<IProperty>> owned;
  owned.reserve(children.size());
  for (IProperty* const child : children) owned.push_back(Adopt(child));
  return owned;
}

// What a node is, it tells through its interfaces: an empty handle means it is not of that kind.
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

  // A group of switches follows its switch; a value that breaks a rule is ignored without a word.
  Query<IBooleanProperty>(children[0].Get())->SetValue(true);
  Query<IStringProperty>(children[2].Get())->SetValue("everything");
  Print(*settings, 0);

  // The casts by plain name do the same for hosts that load the library by hand.
  const auto mode = Adopt(CastString(children[2].Get()));
  mode->SetValue("transactions");
  std::printf("%s halts the CPU: %s\n", mode->GetValue(), mode->IsHaltCPU() ? "yes" : "no");

  // A deep copy is a tree of its own, with one difference: its integers have a range.
  const auto copy = Adopt(mode->Clone());
  std::printf("%s, copied: %s\n", copy->GetName(), Query<IStringProperty>(copy.Get())->GetValue());

  // Release answers the count before: 1 would have been the last one.
  const unsigned int added = mode->AddRef();
  const unsigned int before = mode->Release();
  std::printf("references: %u, then %u before the release\n", added, before);
  return 0;  // the handles let go; a node that is held outlives its parents
}
