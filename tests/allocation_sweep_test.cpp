// Running out of memory anywhere in the public operations. Each scenario runs its operation
// with allocation 1 failing, then 2, and so on until the operation gets through without
// reaching the failure; after each run nothing may be left allocated, and the state must be
// the old one, the new one or the one documented for that failure.

#include <Tessarine/Tessarine.h>

#include "support/AllocationCounter.h"
#include "support/RecordingPlugin.h"
#include "support/ScopedLocale.h"
#include "support/Texts.h"

#include <IniContent.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

namespace {

using namespace Tessarine;
using TessarineTest::RecordingExpression;
using TessarineTest::RecordingPlugin;
using TessarineTest::Texts;
using TessarineTest::textsOf;

// One run of a scenario: the state before and after its operation, and whether the operation
// reached the allocation chosen to fail (none for 0).
struct Probe {
    explicit Probe(long i_FailAt) : m_FailAt(i_FailAt) {}

    long m_FailAt;
    Texts m_Old, m_After;
    bool m_Reached = false;

    template <typename Operation, typename State> void run(Operation i_Operation, State i_State) {
        m_Old = untracked(i_State);
        {
            TessarineTest::CountingAllocations const failing(m_FailAt);
            try {
                i_Operation();
            } catch (std::bad_alloc const&) {
            }
            m_Reached = m_FailAt != 0 && failing.count() >= m_FailAt;
        }
        m_After = untracked(i_State);
    }

    // The probe's own texts stay out of the balance of blocks, which is the scenario's.
    template <typename State> static Texts untracked(State& i_State) {
        bool const tracking = std::exchange(TessarineTest::g_AllocationWatch.m_Tracking, false);
        Texts texts = i_State();
        TessarineTest::g_AllocationWatch.m_Tracking = tracking;
        return texts;
    }
};

// Whether a state other than the old and the new one is what the operation documents for
// running out of memory, given the old, the new and the state found.
using Documented = bool (*)(Texts const& i_Old, Texts const& i_New, Texts const& i_After);

// The new texts with some missing: a vector refilled although its slot array could not always
// grow, work that stopped early, or a reader whose fopen itself ran out of memory.
bool someDropped(Texts const&, Texts const& i_New, Texts const& i_After) {
    auto next = i_New.begin();
    for (std::wstring const& text : i_After) {
        next = std::find(next, i_New.end(), text);
        if (next == i_New.end()) {
            return false;
        }
        ++next;
    }
    return true;
}

// A vector that could not grow for the text: the old texts, and the code that says so.
bool refusedWithCode(Texts const& i_Old, Texts const&, Texts const& i_After) {
    Texts refused = i_Old;
    refused.back() = std::to_wstring(PLUGIN_ERROR_OUT_OF_MEMORY);
    return i_After == refused;
}

// A list (its elements, then its count) that kept what it had added so far: the old elements,
// some of the new ones, the one that failed perhaps as an empty element, and a count that
// agrees with the elements.
bool keptSoFar(Texts const& i_Old, Texts const& i_New, Texts const& i_After) {
    Texts elements(i_After.begin(), i_After.end() - 1);
    if (!elements.empty() && elements.back().empty()) {
        elements.pop_back();
    }
    return i_After.back() == std::to_wstring(i_After.size() - 1) &&
           elements.size() >= i_Old.size() - 1 &&
           std::equal(i_Old.begin(), i_Old.end() - 1, elements.begin()) &&
           someDropped({}, i_New, elements);
}

// A reader that merged part of a file: every value its names find is also in its lists.
bool partlyMerged(Texts const&, Texts const&, Texts const& i_After) {
    return std::all_of(i_After.begin(), i_After.end(), [&](std::wstring const& i_Text) {
        return i_Text[0] != L'?' ||
               std::find(i_After.begin(), i_After.end(), i_Text.substr(1)) != i_After.end();
    });
}

std::wstring const NONE = L"<none>";

Texts operator+(Texts i_Texts, std::wstring const& i_Text) {
    i_Texts.push_back(i_Text);
    return i_Texts;
}

Texts stateOf(String const& i_String) {
    return {static_cast<wchar_t const*>(i_String)};
}

// The elements, then the count.
Texts stateOf(VectorString const& i_List) {
    return textsOf(*std::unique_ptr<StringVector>(i_List.getVector())) +
           std::to_wstring(i_List.length());
}

// "section/key=value" for each key the reader lists, then "?section/key=value" for each pair
// of names in i_Probes that it finds.
Texts stateOf(IniFileReader& i_Reader, Texts const& i_Probes = {}) {
    Texts state;
    for (auto const& section : TessarineSupport::readContent(i_Reader)) {
        for (auto const& entry : section.m_Entries) {
            state.push_back(section.m_Name + L'/' + entry.m_Key + L'=' + entry.m_Value);
        }
    }
    for (std::size_t p = 0; p + 1 < i_Probes.size(); p += 2) {
        std::wstring value;
        if (i_Reader.getProperty(i_Probes[p], i_Probes[p + 1], value) != 0) {
            state.push_back(L"?" + i_Probes[p] + L'/' + i_Probes[p + 1] + L'=' + value);
        }
    }
    return state;
}

StringVector vectorOf(std::initializer_list<wchar_t const*> i_Texts) {
    StringVector vector;
    for (wchar_t const* text : i_Texts) {
        vector.addString(text);
    }
    return vector;
}

// Gives the file these bytes and gives its path.
std::wstring fileOf(std::string const& i_Bytes) {
    std::string const path = testing::TempDir() + "allocation_sweep.ini";
    std::ofstream(path, std::ios::binary) << i_Bytes;
    return std::wstring(path.begin(), path.end());
}

// A property set for one scenario, gone with it.
struct SweptSet {
    SweptSet() { Configuration::get(L"swept", m_Set); }
    ~SweptSet() { Configuration::cleanup(L"swept"); }
    Configuration* operator->() const { return m_Set; }
    Texts values() const {
        StringVector values;
        m_Set->getProperties(L"k", values);
        return textsOf(values);
    }
    Configuration* m_Set = nullptr;
};

struct Scenario {
    char const* m_Name;
    void (*m_Run)(Probe&);
    Documented m_Documented = nullptr;
    bool m_Allocates = true;
};

// A scenario's run: its set-up, then its operation between two looks at the state. Commas
// part the three, semicolons the statements of a set-up.
#define RUN(setup, operation, state)                                                               \
    [](Probe& p) {                                                                                 \
        setup;                                                                                     \
        p.run([&] { operation; }, [&] { return state; });                                          \
    }

// clang-format off
Scenario const SCENARIOS[] = {
    {"StringFromMultibyte", RUN(std::optional<String> s, s.emplace("h\xC3\xA9llo"),
                                s ? stateOf(*s) : Texts{NONE})},
    {"StringAssign", RUN(String s(L"ab"), s = "a longer t\xC3\xA9xt", stateOf(s))},
    {"StringAppend", RUN(String s(L"full"), s = s + String(L"!") + s, stateOf(s))},
    {"VectorAdd", RUN(StringVector v = vectorOf({L"a", L"b", L"c", L"d"}); int result = 0,
                      result = v.addString(L"a longer one"), textsOf(v) + std::to_wstring(result)),
     refusedWithCode},
    {"VectorCopy", RUN(StringVector const source = vectorOf({L"x", L"y", L"z"});
                       std::optional<StringVector> copy,
                       copy.emplace(source), copy ? textsOf(*copy) : Texts{NONE}),
     someDropped},
    {"VectorSort", RUN(StringVector v = vectorOf({L"c", L"\u00E9", L"a"}),
                       v.sort(false), textsOf(v))},
    {"VectorSortConverting", RUN(StringVector v = vectorOf({L"c", L"\xD800", L"\u00E9", L"a"}),
                                 v.sort(false), textsOf(v))},
    {"ListAdd", RUN(VectorString list; list += L"a", list += L"b,c", stateOf(list)), keptSoFar},
    {"ListAppendText", RUN(VectorString list; list += L"a",
                           list.append(L"b,c\\,d,e"), stateOf(list)),
     keptSoFar},
    {"ListParse", RUN(StringVector v = vectorOf({L"stale"}),
                      VectorString::toVector(L"a,b\\,c,,d", v), textsOf(v)),
     someDropped},
    {"ExpressionSetProperty", RUN(RecordingExpression e; e.setProperty(L"a", L"1"),
                                  e.setProperty(L"b", L"2"), Texts{e.dump()})},
    {"LeaseNew", RUN(RecordingPlugin plugin; Expression* e = nullptr; int result = 1,
                     result = plugin.getExpression(L"x", &e),
                     Texts{std::to_wstring(result)} + std::to_wstring(plugin.m_Live.size()))},
    {"Dispose", RUN(RecordingPlugin plugin; Expression* e = nullptr;
                    plugin.getExpression(L"x", &e); e->setProperty(L"p", L"1"),
                    plugin.disposeExpression(e),
                    Texts{static_cast<RecordingExpression*>(e)->dump()}),
     nullptr, false},
    {"Cleanup", RUN(RecordingPlugin plugin; Expression* e = nullptr;
                    plugin.getExpression(L"x", &e); plugin.getExpression(L"y", &e),
                    plugin.cleanup(), Texts{std::to_wstring(plugin.m_Live.size())}),
     nullptr, false},
    {"RegistryGet", RUN(std::optional<SweptSet> set, set.emplace(),
                        Texts{std::to_wstring(Configuration::m_Configurations.count(L"swept"))})},
    {"RegistryGetAgain", RUN(SweptSet set; Configuration* again = nullptr,
                             Configuration::get(L"swept", again),
                             Texts{again == set.m_Set ? L"the same set" : L"another"})},
    {"ConfigurationSet", RUN(SweptSet set; set->setProperty(L"k", L"a"),
                             set->setProperty(L"k", L"a longer one"),
                             set.values())},
    {"ConfigurationGet", RUN(SweptSet set; set->setProperty(L"k", L"a longer value"); String value,
                             set->getProperty(L"k", value), stateOf(value))},
    {"ReaderLoad", RUN(std::wstring const path = fileOf("[s]\nk = v\nother = \\u00e9\n");
                       std::optional<IniFileReader> reader,
                       reader.emplace(path.c_str()), reader ? stateOf(*reader) : Texts{NONE}),
     someDropped},
    {"ReaderReload", RUN(IniFileReader reader(fileOf("[alpha]\na = 1\n").c_str());
                         // a line of two rows, and a row longer than the read buffer
                         fileOf("[gamma]\ng1 = x\\\n  y\n[alpha]\na = 2\nb = " + std::string(1500, '3') + "\n"),
                         reader.load(),
                         stateOf(reader, {L"gamma", L"g1", L"alpha", L"a", L"alpha", L"b"})),
     partlyMerged},
};
// clang-format on

#undef RUN

void PrintTo(Scenario const& i_Scenario, std::ostream* o_Stream) {
    *o_Stream << i_Scenario.m_Name;
}

class AllocationSweep : public testing::TestWithParam<Scenario> {};

TEST_P(AllocationSweep, EndsInTheOldTheNewOrTheDocumentedState) {
    if (!TESSARINE_ALLOCATION_FAILURES) {
        GTEST_SKIP() << "AddressSanitizer owns malloc, so no allocation can be made to fail; "
                        "its leak checker covers the runs without failures";
    }
    ScopedLocale const locale("C.UTF-8");
    Scenario const& scenario = GetParam();
    // A first run without a failure gives the new state, and makes the allocations that happen
    // once per process (the locale's tables, the out-of-bounds marker) before counting starts.
    Probe clean(0);
    scenario.m_Run(clean);
    // How many runs with a failure ended in the old, the new and the documented state.
    int ended[3] = {0, 0, 0};
    int points = 0;
    auto const openFiles = [] {
        auto const entries = std::filesystem::directory_iterator("/proc/self/fd");
        return std::distance(begin(entries), end(entries));
    };
    auto const filesBefore = openFiles();
    for (long failAt = 1;; ++failAt) {
        Probe probe(failAt);
        long live = 0;
        {
            TessarineTest::TrackingBlocks const tracking;
            scenario.m_Run(probe);
            live = tracking.live();
        }
        EXPECT_EQ(live, 0) << "blocks left behind with allocation " << failAt << " failing";
        EXPECT_EQ(openFiles(), filesBefore) << "a file left open with allocation " << failAt;
        if (!probe.m_Reached) {
            break;
        }
        ++points;
        int const end = probe.m_After == probe.m_Old ? 0 : probe.m_After == clean.m_After ? 1 : 2;
        ++ended[end];
        EXPECT_TRUE(end < 2 || (scenario.m_Documented != nullptr &&
                                scenario.m_Documented(probe.m_Old, clean.m_After, probe.m_After)))
            << "allocation " << failAt << " failing left " << testing::PrintToString(probe.m_After)
            << ", neither " << testing::PrintToString(probe.m_Old) << " nor "
            << testing::PrintToString(clean.m_After);
    }
    EXPECT_EQ(points > 0, scenario.m_Allocates) << points << " failure points";
    std::printf("[ sweep    ] %s: %d failure points, ended old %d, new %d, documented %d\n",
                scenario.m_Name, points, ended[0], ended[1], ended[2]);
}

INSTANTIATE_TEST_SUITE_P(PublicOperations, AllocationSweep, testing::ValuesIn(SCENARIOS),
                         [](testing::TestParamInfo<Scenario> const& i_Info) {
                             return std::string(i_Info.param.m_Name);
                         });

// The sets nobody cleaned up are destroyed when the library goes, perhaps with memory long
// exhausted: that must neither allocate nor throw.
TEST(ExhaustedAtExitTest, RemainingSetsGoWithoutAnAbort) {
    if (!TESSARINE_ALLOCATION_FAILURES) {
        GTEST_SKIP() << "AddressSanitizer owns malloc, so no allocation can be made to fail";
    }
    EXPECT_EXIT(
        {
            Configuration* set = nullptr;
            Configuration::get(L"left behind", set);
            set->setProperty(L"k", L"v");
            TessarineTest::CountingAllocations const exhausted(1, true);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
