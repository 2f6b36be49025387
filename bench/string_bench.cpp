// Sorting by the locale: StringVector::sort against std::sort of std::wstring by wcscoll, and
// against a sort that collates through String::collate in every comparison.
#include <Tessarine/StringVector.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <random>
#include <string>
#include <vector>

using Tessarine::String;
using Tessarine::StringVector;

namespace {

constexpr std::size_t COUNT = 100000;

// Mostly ASCII words with some accented and non-Latin letters, 4 to 24 characters long.
std::vector<std::wstring> const& randomTexts() {
    static std::vector<std::wstring> const texts = [] {
        std::mt19937 random(20261122);
        std::wstring const alphabet =
            L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 "
            L"\u00E9\u00E8\u00FC\u00DF\u00C5\u0416\u03A9";
        std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
        std::uniform_int_distribution<int> length(4, 24);
        std::vector<std::wstring> result(COUNT);
        for (std::wstring& text : result) {
            for (int n = length(random); n > 0; --n) {
                text += alphabet[pick(random)];
            }
        }
        return result;
    }();
    return texts;
}

StringVector makeVector() {
    StringVector vector;
    for (std::wstring const& text : randomTexts()) {
        vector.addString(text.c_str());
    }
    return vector;
}

void StringVectorSort(benchmark::State& state) {
    StringVector const unsorted = makeVector();
    StringVector vector;
    for (auto _ : state) {
        state.PauseTiming();
        // Built afresh, like the baseline's copy, so both sort texts laid out in list order.
        vector.reset();
        vector = unsorted;
        state.ResumeTiming();
        vector.sort(false);
    }
}

void WstringWcscollSort(benchmark::State& state) {
    std::vector<std::wstring> texts;
    for (auto _ : state) {
        state.PauseTiming();
        texts = randomTexts();
        state.ResumeTiming();
        std::sort(texts.begin(), texts.end(), [](std::wstring const& a, std::wstring const& b) {
            return std::wcscoll(a.c_str(), b.c_str()) < 0;
        });
        benchmark::DoNotOptimize(texts.data());
    }
}

// What sorting costs when every comparison converts both texts again.
void CollateEachComparisonSort(benchmark::State& state) {
    StringVector const unsorted = makeVector();
    std::vector<String const*> strings;
    for (auto _ : state) {
        state.PauseTiming();
        strings.clear();
        for (int i = 0; i < unsorted.length(); ++i) {
            strings.push_back(&unsorted[i]);
        }
        state.ResumeTiming();
        std::sort(strings.begin(), strings.end(),
                  [](String const* a, String const* b) { return String::collate(*a, *b) < 0; });
        benchmark::DoNotOptimize(strings.data());
    }
}

BENCHMARK(StringVectorSort)->Unit(benchmark::kMillisecond);
BENCHMARK(WstringWcscollSort)->Unit(benchmark::kMillisecond);
BENCHMARK(CollateEachComparisonSort)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) {
        std::fputs("locale C.UTF-8 is not installed\n", stderr);
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
