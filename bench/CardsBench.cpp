// Measures scans, the plug-in's worker, the topology and a property list: the total time, and the
// part of it spent in the card library.
#include <benchmark/benchmark.h>

#include <stdexcept>

#include "bench/CardHost.h"
#include "bench/LibraryTime.h"

namespace CorvaneBench {
namespace {

// The part of the measured time that a benchmark reports.
using Part = double TimeSplit::*;
constexpr Part kPlugin = &TimeSplit::m_Total;
constexpr Part kLibrary = &TimeSplit::m_InLibrary;

class InitializedHost : public CardHost {
 public:
  explicit InitializedHost(benchmark::State& state) : CardHost(static_cast<int>(state.range(0))) {
    Create();
    Initialize();
  }
};

// Fails if cards are missing, because their absence would make the benchmark appear fast.
void RequireObjects(const std::vector<PI::CObject>& objects, std::int64_t cards) {
  const auto expected = static_cast<std::size_t>(1 + 2 * cards);
  if (objects.size() != expected) throw std::runtime_error("the plug-in missed a card");
}

void Scan(benchmark::State& state, Part part) {
  CardHost host(static_cast<int>(state.range(0)));
  for ([[maybe_unused]] auto _ : state) {
    host.Create();
    state.SetIterationTime(MeasureTime([&] { host.Initialize(); }).*part);
    RequireObjects(host.Topology(), state.range(0));
    host.Stop();
  }
}

void Watch(benchmark::State& state, Part part) {
  InitializedHost host(state);
  host.AssignAdapterNumbers();
  host.AdvanceSeconds(60);
  for ([[maybe_unused]] auto _ : state) {
    state.SetIterationTime(MeasureTime([&] { host.AdvanceSeconds(15); }).*part);
  }
}

void Topology(benchmark::State& state, Part part) {
  InitializedHost host(state);
  RequireObjects(host.Topology(), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    state.SetIterationTime(MeasureTime([&] { benchmark::DoNotOptimize(host.Topology()); }).*part);
  }
}

void TopologyCopy(benchmark::State& state) {
  InitializedHost host(state);
  const std::vector<PI::CObject> objects = host.Topology();
  RequireObjects(objects, state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    std::vector<PI::CObject> copy = objects;
    benchmark::DoNotOptimize(copy.data());
  }
}

void Listing(benchmark::State& state, Part part) {
  InitializedHost host(state);
  const std::uint64_t adapter = host.FirstAdapterId();
  for ([[maybe_unused]] auto _ : state) {
    const auto list = [&] { benchmark::DoNotOptimize(host.Properties(adapter)); };
    state.SetIterationTime(MeasureTime(list).*part);
  }
}

void CardArgs(benchmark::internal::Benchmark* row) {
  row->Arg(1)->Arg(8)->Arg(64);
}
void TimedArgs(benchmark::internal::Benchmark* row) {
  CardArgs(row);
  row->UseManualTime();
}

BENCHMARK_CAPTURE(Scan, plugin, kPlugin)->Apply(TimedArgs)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Scan, library, kLibrary)->Apply(TimedArgs)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Watch, plugin, kPlugin)->Apply(TimedArgs)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Watch, library, kLibrary)->Apply(TimedArgs)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Topology, plugin, kPlugin)->Apply(TimedArgs)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Topology, library, kLibrary)->Apply(TimedArgs)->Unit(benchmark::kMicrosecond);
BENCHMARK(TopologyCopy)->Name("Topology/copy")->Apply(CardArgs)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Listing, plugin, kPlugin)->Arg(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Listing, library, kLibrary)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace CorvaneBench
