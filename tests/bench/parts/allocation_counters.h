#pragma once

#include <benchmark/benchmark.h>

#include "bench/parts/allocations.h"

namespace bench {

/** While it lives, a benchmark's iterations are to run: it reports what each of them allocates. */
class AllocationCounters {
 public:
  explicit AllocationCounters(benchmark::State& state) : state_(state), before_(allocationsSoFar()) {}
  AllocationCounters(const AllocationCounters&) = delete;
  AllocationCounters& operator=(const AllocationCounters&) = delete;
  ~AllocationCounters() {
    const Allocations after = allocationsSoFar();
    report("allocations", after.calls - before_.calls);
    report("bytes", after.bytes - before_.bytes);
  }

 private:
  void report(const char* name, std::uint64_t amount) {
    state_.counters[name] =
        benchmark::Counter(static_cast<double>(amount), benchmark::Counter::kAvgIterations);
  }

  benchmark::State& state_;
  Allocations before_;
};

}  // namespace bench
