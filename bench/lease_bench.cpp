// The cost of leasing a pooled expression and handing it back, against the number of instances
// in the pool. The pool walks its entries to find a name, so the cycle grows with the pool;
// it should never allocate ("allocs/cycle").

#include "../tests/support/AllocationCounter.h"
#include "../tests/support/RecordingPlugin.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

using Tessarine::Expression;
using TessarineTest::RecordingPlugin;

// One instance under each name, all free, as a host leaves them after its first requests.
std::vector<std::wstring> fillPool(RecordingPlugin& io_Plugin, int i_Count) {
    std::vector<std::wstring> names;
    std::vector<Expression*> leased(static_cast<std::size_t>(i_Count), nullptr);
    for (int i = 0; i < i_Count; ++i) {
        names.push_back(L"expression-" + std::to_wstring(i));
        io_Plugin.getExpression(names.back().c_str(), &leased[static_cast<std::size_t>(i)]);
    }
    for (Expression* expression : leased) {
        io_Plugin.disposeExpression(expression);
    }
    return names;
}

// Leases every name in turn, so the walk covers the pool on average half-way.
void leaseCycle(benchmark::State& io_State) {
    RecordingPlugin plugin;
    std::vector<std::wstring> const names = fillPool(plugin, static_cast<int>(io_State.range(0)));
    std::size_t next = 0;
    long allocations = 0;
    for (auto _ : io_State) {
        // Counting per cycle keeps the benchmark's own bookkeeping out of the tally.
        TessarineTest::CountingAllocations counting;
        Expression* expression = nullptr;
        plugin.getExpression(names[next].c_str(), &expression);
        plugin.disposeExpression(expression);
        benchmark::DoNotOptimize(expression);
        next = next + 1 == names.size() ? 0 : next + 1;
        allocations += counting.count();
    }
    io_State.counters["allocs/cycle"] = benchmark::Counter(
        static_cast<double>(allocations) / static_cast<double>(io_State.iterations()));
    if (plugin.m_Created != io_State.range(0)) {
        io_State.SkipWithError("a lease reached the factory");
    }
    plugin.cleanup();
}

} // namespace

BENCHMARK(leaseCycle)->ArgName("pooled")->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Arg(8000);

BENCHMARK_MAIN();
