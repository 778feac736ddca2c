// Operations on whole property trees, wide ones (all nodes under one root) and deep ones (a chain).
// Time should grow linearly with the number of nodes in both. Up to about 100,000 nodes the time
// per node still rises, as the tree outgrows the caches; beyond it is constant, as the largest size
// shows.
#include <benchmark/benchmark.h>

#include "target_operations/operations.h"

namespace {

using namespace TargetOperations;
using ReferenceCounting::Adopt;
using ReferenceCounting::ReferenceHandle;

enum class Shape { kWide, kDeep };

const NameAndDescription kName("name", "description");

template <class Node, class Make>
ReferenceHandle<Node> Tree(Shape shape, std::int64_t nodes, Make make) {
  auto root = Adopt<Node>(make());
  Node* parent = root.Get();
  for (std::int64_t i = 1; i < nodes; ++i) {
    Node* const child = make();
    parent->AddChild(child);
    if (shape == Shape::kDeep) parent = child;
  }
  return root;
}

ReferenceHandle<Property> PlainTree(Shape shape, std::int64_t nodes) {
  return Tree<Property>(shape, nodes, [] { return new Property(kName); });
}

ReferenceHandle<BooleanProperty> BooleanTree(Shape shape, std::int64_t nodes) {
  return Tree<BooleanProperty>(shape, nodes, [] { return new BooleanProperty(kName, false); });
}

void Clone(benchmark::State& state, Shape shape) {
  const auto root = PlainTree(shape, state.range(0));
  while (state.KeepRunning()) {
    auto copy = Adopt(root->Clone());
    state.PauseTiming();
    copy = nullptr;
    state.ResumeTiming();
  }
  state.SetComplexityN(state.range(0));
}

void Destroy(benchmark::State& state, Shape shape) {
  while (state.KeepRunning()) {
    state.PauseTiming();
    auto root = PlainTree(shape, state.range(0));
    state.ResumeTiming();
    root = nullptr;
  }
  state.SetComplexityN(state.range(0));
}

void IsEqual(benchmark::State& state, Shape shape) {
  const auto left = PlainTree(shape, state.range(0));
  const auto right = PlainTree(shape, state.range(0));
  while (state.KeepRunning()) {
    if (!left->IsEqual(*right)) state.SkipWithError("trees differ");
  }
  state.SetComplexityN(state.range(0));
}

void DisableAllLevel(benchmark::State& state, Shape shape) {
  const auto root = PlainTree(shape, state.range(0));
  while (state.KeepRunning()) root->DisableAllLevel(true);
  state.SetComplexityN(state.range(0));
}

/// On and off again: every node changes twice.
void BooleanSetValue(benchmark::State& state, Shape shape) {
  const auto root = BooleanTree(shape, state.range(0));
  while (state.KeepRunning()) {
    root->SetValue(true);
    root->SetValue(false);
  }
  state.SetComplexityN(state.range(0));
}

void BooleanUpdateSubProperties(benchmark::State& state, Shape shape) {
  const auto root = BooleanTree(shape, state.range(0));
  while (state.KeepRunning()) root->UpdateSubProperties();
  state.SetComplexityN(state.range(0));
}

#define QBT2_TREE_BENCHMARK(operation)             \
  BENCHMARK_CAPTURE(operation, wide, Shape::kWide) \
      ->RangeMultiplier(10)                        \
      ->Range(1'000, 1'000'000)                    \
      ->Unit(benchmark::kMicrosecond)              \
      ->Complexity();                              \
  BENCHMARK_CAPTURE(operation, deep, Shape::kDeep) \
      ->RangeMultiplier(10)                        \
      ->Range(1'000, 1'000'000)                    \
      ->Unit(benchmark::kMicrosecond)              \
      ->Complexity()

QBT2_TREE_BENCHMARK(Clone);
QBT2_TREE_BENCHMARK(Destroy);
QBT2_TREE_BENCHMARK(IsEqual);
QBT2_TREE_BENCHMARK(DisableAllLevel);
QBT2_TREE_BENCHMARK(BooleanSetValue);
QBT2_TREE_BENCHMARK(BooleanUpdateSubProperties);

}  // namespace

BENCHMARK_MAIN();
