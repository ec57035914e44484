// Micro-benchmarks of the base helpers on the hot path of history loading.
#include "base/datetime.h"
#include "base/fields.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

const std::string kTickLine = "Lookup0,H,2026-11-20 09:30:00.123456,123.45,100,1234567,123.44,"
                              "123.46,9300017,C,11,01,1,20,";

void BM_SplitTickLine(benchmark::State& state) {
    std::vector<std::string_view> fields;
    for (auto _ : state) {
        SplitFields(kTickLine, fields);
        benchmark::DoNotOptimize(fields.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SplitTickLine);

void BM_DateTimeFromFields(benchmark::State& state) {
    int second = 0;
    for (auto _ : state) {
        CDateTime value(2026, 11, 20, 9, 30, second);
        second = (second + 1) % 60;
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_DateTimeFromFields);

} // namespace
