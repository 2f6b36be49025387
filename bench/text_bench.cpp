// Lists held as one text and named property sets, each beside the same work done by hand on
// the standard library's wide strings.
//
// Building a long list with VectorString::operator+= is quadratic, since every append to the
// underlying String measures the whole text again: its benchmark runs a single iteration.

#include <Tessarine/Configuration.h>
#include <Tessarine/VectorString.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

using Tessarine::Configuration;
using Tessarine::String;
using Tessarine::StringVector;
using Tessarine::VectorString;

namespace {

constexpr int ELEMENTS = 100000;

// Element texts of 5 to 9 characters; every tenth holds a separator and an escape.
std::vector<std::wstring> const& elements() {
    static std::vector<std::wstring> const texts = [] {
        std::vector<std::wstring> built;
        built.reserve(ELEMENTS);
        for (int index = 0; index < ELEMENTS; ++index) {
            std::wstring const number = std::to_wstring(index);
            built.push_back(index % 10 == 0 ? L"a,b\\" + number : L"item" + number);
        }
        return built;
    }();
    return texts;
}

void appendEscaped(std::wstring& io_Text, std::wstring const& i_Element) {
    for (wchar_t c : i_Element) {
        if (c == L',' || c == L'\\') {
            io_Text += L'\\';
        }
        io_Text += c;
    }
}

// The list text joined by hand: what VectorString builds, for comparison and as parse input.
std::wstring joinByHand() {
    std::wstring text;
    for (std::wstring const& element : elements()) {
        if (&element != &elements().front()) {
            text += L',';
        }
        appendEscaped(text, element);
    }
    return text;
}

std::wstring const& listText() {
    static std::wstring const text = joinByHand();
    return text;
}

void BM_ListBuild_VectorString(benchmark::State& state) {
    for (auto _ : state) {
        VectorString list;
        for (std::wstring const& element : elements()) {
            list += element.c_str();
        }
        if (listText() != static_cast<wchar_t const*>(list)) {
            state.SkipWithError("the list text differs from the one joined by hand");
        }
    }
}
BENCHMARK(BM_ListBuild_VectorString)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_ListBuild_WString(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(joinByHand().size());
    }
}
BENCHMARK(BM_ListBuild_WString)->Unit(benchmark::kMillisecond);

void BM_ListParse_VectorString(benchmark::State& state) {
    wchar_t const* const text = listText().c_str();
    StringVector parsed;
    for (auto _ : state) {
        VectorString::toVector(text, parsed);
        benchmark::DoNotOptimize(parsed.length());
    }
}
BENCHMARK(BM_ListParse_VectorString)->Unit(benchmark::kMillisecond);

void BM_ListParse_WString(benchmark::State& state) {
    std::wstring const& text = listText();
    std::vector<std::wstring> parsed;
    for (auto _ : state) {
        parsed.clear();
        std::wstring element;
        bool escaped = false;
        for (wchar_t c : text) {
            if (escaped) {
                element += c;
                escaped = false;
            } else if (c == L',') {
                parsed.push_back(element);
                element.clear();
            } else if (c == L'\\') {
                escaped = true;
            } else {
                element += c;
            }
        }
        parsed.push_back(element);
        benchmark::DoNotOptimize(parsed.data());
    }
}
BENCHMARK(BM_ListParse_WString)->Unit(benchmark::kMillisecond);

// ELEMENTS keys in a shuffled order, so that inserts do not always land at the end of a tree,
// with i_Distinct different texts among them: all different, or each set a hundred times.
std::vector<std::wstring> const& keys(int i_Distinct) {
    static std::map<int, std::vector<std::wstring>> built;
    std::vector<std::wstring>& texts = built[i_Distinct];
    if (texts.empty()) {
        texts.reserve(ELEMENTS);
        for (int index = 0; index < ELEMENTS; ++index) {
            texts.push_back(L"section.key" + std::to_wstring(index % i_Distinct));
        }
        std::shuffle(texts.begin(), texts.end(), std::mt19937(7));
    }
    return texts;
}

std::vector<String> const& stringKeys(int i_Distinct) {
    static std::map<int, std::vector<String>> built;
    std::vector<String>& texts = built[i_Distinct];
    if (texts.empty()) {
        texts.reserve(ELEMENTS);
        for (std::wstring const& key : keys(i_Distinct)) {
            texts.emplace_back(key.c_str());
        }
    }
    return texts;
}

String const VALUE = L"a value of some length";

Configuration* filledSet(wchar_t const* i_Name, int i_Distinct) {
    Configuration* set = nullptr;
    Configuration::get(i_Name, set);
    for (String const& key : stringKeys(i_Distinct)) {
        set->setProperty(key, VALUE);
    }
    return set;
}

std::multimap<std::wstring, std::wstring> filledMultimap(int i_Distinct) {
    std::multimap<std::wstring, std::wstring> properties;
    std::wstring const value(static_cast<wchar_t const*>(VALUE));
    for (std::wstring const& key : keys(i_Distinct)) {
        properties.emplace(key, value);
    }
    return properties;
}

// The argument is the number of different keys among the ELEMENTS set.
void PropertyArguments(benchmark::internal::Benchmark* i_Benchmark) {
    i_Benchmark->ArgName("keys")->Arg(ELEMENTS)->Arg(ELEMENTS / 100)->Unit(benchmark::kMillisecond);
}

// Filling includes tearing the set down again, on both sides.
void BM_SetProperty_Configuration(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(filledSet(L"bench set", static_cast<int>(state.range(0))));
        Configuration::cleanup(L"bench set");
    }
}
BENCHMARK(BM_SetProperty_Configuration)->Apply(PropertyArguments);

void BM_SetProperty_Multimap(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(filledMultimap(static_cast<int>(state.range(0))).size());
    }
}
BENCHMARK(BM_SetProperty_Multimap)->Apply(PropertyArguments);

// Each lookup gives the first value of its key.
void BM_GetProperty_Configuration(benchmark::State& state) {
    int const distinct = static_cast<int>(state.range(0));
    Configuration const* const set = filledSet(L"bench lookups", distinct);
    String value;
    for (auto _ : state) {
        for (String const& key : stringKeys(distinct)) {
            set->getProperty(key, value);
        }
        benchmark::DoNotOptimize(static_cast<wchar_t const*>(value));
    }
    Configuration::cleanup(L"bench lookups");
}
BENCHMARK(BM_GetProperty_Configuration)->Apply(PropertyArguments);

void BM_GetProperty_Multimap(benchmark::State& state) {
    int const distinct = static_cast<int>(state.range(0));
    std::multimap<std::wstring, std::wstring> const properties = filledMultimap(distinct);
    std::wstring value;
    for (auto _ : state) {
        for (std::wstring const& key : keys(distinct)) {
            auto const found = properties.lower_bound(key);
            if (found != properties.end() && found->first == key) {
                value = found->second;
            } else {
                value.clear();
            }
        }
        benchmark::DoNotOptimize(value.data());
    }
}
BENCHMARK(BM_GetProperty_Multimap)->Apply(PropertyArguments);

} // namespace

BENCHMARK_MAIN();
