// Sorting by the locale: StringVector::sort against std::sort of std::wstring by wcscoll, and
// against a sort that collates through String::collate in every comparison.
#include <Tessarine/StringVector.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <random>
#include <string>
#include <vector>

using Tessarine::String;
using Tessarine::StringVector;

namespace {

constexpr std::size_t COUNT = 100000;

// Two kinds of text: mostly ASCII words with some accented and non-Latin letters, 4 to 24
// characters long, and ASCII lines of 100 to 200 letters, where converting every text to its
// multibyte form costs as much as the sort itself.
enum TextKind { WORDS, LINES };

std::vector<std::wstring> makeTexts(TextKind i_Kind) {
    std::mt19937 random(20261122);
    std::wstring const alphabet =
        i_Kind == WORDS ? L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 "
                          L"\u00E9\u00E8\u00FC\u00DF\u00C5\u0416\u03A9"
                        : L"abcdefghijklmnopqrstuvwxyz";
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    std::uniform_int_distribution<int> length = i_Kind == WORDS
                                                    ? std::uniform_int_distribution<int>(4, 24)
                                                    : std::uniform_int_distribution<int>(100, 200);
    std::vector<std::wstring> result(COUNT);
    for (std::wstring& text : result) {
        for (int n = length(random); n > 0; --n) {
            text += alphabet[pick(random)];
        }
    }
    return result;
}

std::vector<std::wstring> const& randomTexts(TextKind i_Kind) {
    static std::vector<std::wstring> const words = makeTexts(WORDS);
    static std::vector<std::wstring> const lines = makeTexts(LINES);
    return i_Kind == WORDS ? words : lines;
}

StringVector makeVector(TextKind i_Kind) {
    StringVector vector;
    for (std::wstring const& text : randomTexts(i_Kind)) {
        vector.addString(text.c_str());
    }
    return vector;
}

void StringVectorSort(benchmark::State& state, TextKind i_Kind) {
    StringVector const unsorted = makeVector(i_Kind);
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

void WstringWcscollSort(benchmark::State& state, TextKind i_Kind) {
    std::vector<std::wstring> texts;
    for (auto _ : state) {
        state.PauseTiming();
        texts = randomTexts(i_Kind);
        state.ResumeTiming();
        std::sort(texts.begin(), texts.end(), [](std::wstring const& a, std::wstring const& b) {
            return std::wcscoll(a.c_str(), b.c_str()) < 0;
        });
        benchmark::DoNotOptimize(texts.data());
    }
}

// What sorting costs when every comparison converts both texts again.
void CollateEachComparisonSort(benchmark::State& state, TextKind i_Kind) {
    StringVector const unsorted = makeVector(i_Kind);
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

BENCHMARK_CAPTURE(StringVectorSort, words, WORDS)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(WstringWcscollSort, words, WORDS)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(CollateEachComparisonSort, words, WORDS)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(StringVectorSort, lines, LINES)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(WstringWcscollSort, lines, LINES)->Unit(benchmark::kMillisecond);

} // namespace

// The locale is C.UTF-8 unless LC_ALL names another one (LC_ALL=en_US.UTF-8 string_bench):
// collation costs differ widely between locales.
int main(int argc, char** argv) {
    char const* const wanted = std::getenv("LC_ALL");
    char const* const locale = wanted != nullptr && *wanted != '\0' ? wanted : "C.UTF-8";
    if (std::setlocale(LC_ALL, locale) == nullptr) {
        std::fprintf(stderr, "locale %s is not installed\n", locale);
        return 1;
    }
    benchmark::AddCustomContext("locale", locale);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
