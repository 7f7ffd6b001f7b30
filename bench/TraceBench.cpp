// Measures a trace line whose level is off.
#include <benchmark/benchmark.h>

#include <string>

#include "Corvane/Src/Trace.h"
#include "hostkit/Tracing.h"

namespace CorvaneBench {
namespace {

void TraceOff(benchmark::State& state) {
  HostKit::SetTraceMask(0);
  const std::string name = "card0";
  unsigned int number = 0;
  for ([[maybe_unused]] auto _ : state) {
    TRACE(NAMESPACE_Corvane::TRACE_RESULT, "%s = %d", name, number);
    benchmark::DoNotOptimize(++number);
  }
}

void EmptyLoop(benchmark::State& state) {
  unsigned int number = 0;
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(++number);
}

BENCHMARK(TraceOff)->Name("Trace/off");
BENCHMARK(EmptyLoop)->Name("Trace/empty-loop");

}  // namespace
}  // namespace CorvaneBench
