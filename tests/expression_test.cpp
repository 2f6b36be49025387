#include <Tessarine/Expression.h>
#include <Tessarine/ExpressionPool.h>

#include "support/RecordingPlugin.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

using Tessarine::Expression;
using Tessarine::ExpressionPool;
using TessarineTest::RecordingExpression;

namespace {

using Names = std::vector<std::wstring>;

// ---- Properties -------------------------------------------------------------------------

// One step of a property script: set (name, value), reset the values, or delete them all.
struct Step {
    enum Kind { SET, RESET, DELETE } m_Kind;
    wchar_t const* m_Name;
    wchar_t const* m_Value;
};

Step set(wchar_t const* i_Name, wchar_t const* i_Value) {
    return {Step::SET, i_Name, i_Value};
}
constexpr Step RESET{Step::RESET, nullptr, nullptr};
constexpr Step DELETE{Step::DELETE, nullptr, nullptr};

// What getProperty gives for a name afterwards; nullopt stands for null.
struct Lookup {
    wchar_t const* m_Name;
    std::optional<std::wstring> m_Value;
};

struct PropertyScript {
    char const* m_Case;
    std::vector<Step> m_Steps;
    Names m_Order;
    std::vector<Lookup> m_Lookups;
};

void run(Expression& io_Expression, Step const& i_Step) {
    switch (i_Step.m_Kind) {
    case Step::SET:
        io_Expression.setProperty(i_Step.m_Name, i_Step.m_Value);
        break;
    case Step::RESET:
        io_Expression.resetPropertyValues();
        break;
    case Step::DELETE:
        io_Expression.deleteProperties();
        break;
    }
}

std::optional<std::wstring> lookup(Expression& i_Expression, wchar_t const* i_Name) {
    wchar_t const* value = i_Expression.getProperty(i_Name);
    return value == nullptr ? std::nullopt : std::optional<std::wstring>(value);
}

class PropertyScriptTest : public testing::TestWithParam<PropertyScript> {};

TEST_P(PropertyScriptTest, LeavesOrderAndValues) {
    RecordingExpression expression(L"x");
    for (Step const& step : GetParam().m_Steps) {
        run(expression, step);
    }
    EXPECT_EQ(expression.propertyNames(), GetParam().m_Order);
    for (Lookup const& expected : GetParam().m_Lookups) {
        EXPECT_EQ(lookup(expression, expected.m_Name), expected.m_Value)
            << "name " << testing::PrintToString(std::wstring(expected.m_Name));
    }
    EXPECT_EQ(expression.getProperty(nullptr), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Properties, PropertyScriptTest,
    testing::Values(
        PropertyScript{"New", {}, {}, {{L"a", std::nullopt}, {L"", std::nullopt}}},
        PropertyScript{"SecondSettingKeepsThePlace",
                       {set(L"a", L"1"), set(L"b", L"2"), set(L"c", L"3"), set(L"a", L"4")},
                       {L"a", L"b", L"c"},
                       {{L"a", L"4"}, {L"b", L"2"}, {L"c", L"3"}}},
        PropertyScript{
            "NullNameIsIgnored", {set(L"a", L"1"), set(nullptr, L"2")}, {L"a"}, {{L"a", L"1"}}},
        PropertyScript{"NullValueEmptiesAndKeepsThePair",
                       {set(L"a", L"1"), set(L"b", L"2"), set(L"a", nullptr)},
                       {L"a", L"b"},
                       {{L"a", L""}, {L"b", L"2"}}},
        PropertyScript{"NullValueOnANewName", {set(L"a", nullptr)}, {L"a"}, {{L"a", L""}}},
        PropertyScript{"CaseMakesTwoNames",
                       {set(L"a", L"1"), set(L"A", L"2")},
                       {L"a", L"A"},
                       {{L"a", L"1"}, {L"A", L"2"}}},
        PropertyScript{
            "EmptyNameIsAName", {set(L"", L"v")}, {L""}, {{L"", L"v"}, {L" ", std::nullopt}}},
        PropertyScript{"ResetEmptiesEveryValue",
                       {set(L"a", L"1"), set(L"b", L"2"), RESET},
                       {L"a", L"b"},
                       {{L"a", L""}, {L"b", L""}, {L"c", std::nullopt}}},
        PropertyScript{"DeleteStartsANewOrder",
                       {set(L"a", L"1"), set(L"b", L"2"), DELETE, set(L"b", L"3"), set(L"a", L"4")},
                       {L"b", L"a"},
                       {{L"a", L"4"}, {L"b", L"3"}}},
        PropertyScript{
            "DeleteForgetsEveryName", {set(L"a", L"1"), DELETE}, {}, {{L"a", std::nullopt}}}),
    [](testing::TestParamInfo<PropertyScript> const& i_Info) { return i_Info.param.m_Case; });

TEST(PropertyStorageTest, GrowsByDoublingAndKeepsItsStorage) {
    RecordingExpression expression(L"x");
    EXPECT_EQ(expression.propertyCapacity(), 0U);
    std::vector<std::size_t> capacities;
    for (wchar_t const* name : {L"a", L"b", L"c", L"d", L"e"}) {
        expression.setProperty(name, L"v");
        capacities.push_back(expression.propertyCapacity());
    }
    EXPECT_EQ(capacities, (std::vector<std::size_t>{1, 2, 4, 4, 8}));

    expression.setProperty(L"a", L"a much longer value than before");
    EXPECT_EQ(expression.propertyCapacity(), 8U);
    expression.deleteProperties();
    EXPECT_EQ(expression.propertyCount(), 0U);
    EXPECT_EQ(expression.propertyCapacity(), 8U);
}

TEST(PropertyStorageTest, ValueTakenFromTheListSurvivesGrowthAndReassignment) {
    RecordingExpression expression(L"x");
    expression.setProperty(L"a", L"first");
    // Capacity 1 is full: the new pair moves the old one while its text is being copied.
    expression.setProperty(L"b", expression.getProperty(L"a"));
    expression.setProperty(L"a", expression.getProperty(L"a"));
    EXPECT_EQ(lookup(expression, L"a"), L"first");
    EXPECT_EQ(lookup(expression, L"b"), L"first");
}

// ---- Pool -------------------------------------------------------------------------------

using Entry = std::tuple<std::wstring, Expression*, bool>;

// The pool's entries in its own order, for before/after comparisons.
std::vector<Entry> entries(ExpressionPool const& i_Pool) {
    std::vector<Entry> result;
    for (ExpressionPool::ExpressionInfo const* entry : i_Pool.m_Expressions) {
        result.emplace_back(static_cast<wchar_t const*>(entry->m_Name), entry->m_Expression,
                            entry->m_InUse);
    }
    return result;
}

// A pool with a free entry "a" and a leased entry "b", or an empty one, and an instance that
// stands in no entry.
struct PoolScene {
    explicit PoolScene(bool i_Populated) {
        if (i_Populated) {
            EXPECT_EQ(m_Pool.add(L"a", &m_Free, false), PLUGIN_OK);
            EXPECT_EQ(m_Pool.add(L"b", &m_Leased, true), PLUGIN_OK);
        }
    }

    RecordingExpression m_Free{L"a"};
    RecordingExpression m_Leased{L"b"};
    RecordingExpression m_Foreign{L"c"};
    ExpressionPool m_Pool;
};

// What becomes of the place an operation was given.
enum class Place { UNUSED, NOT_WRITTEN, NULLED };

struct PoolFailure {
    char const* m_Case;
    bool m_Populated;
    std::function<int32_t(PoolScene&, Expression**)> m_Call;
    int32_t m_Expected;
    Place m_Place;
};

class PoolFailureTest : public testing::TestWithParam<PoolFailure> {};

TEST_P(PoolFailureTest, ReportsAndChangesNothing) {
    PoolScene scene(GetParam().m_Populated);
    std::vector<Entry> const before = entries(scene.m_Pool);
    Expression* place = &scene.m_Foreign;

    EXPECT_EQ(GetParam().m_Call(scene, &place), GetParam().m_Expected);

    EXPECT_EQ(entries(scene.m_Pool), before);
    if (GetParam().m_Place == Place::NOT_WRITTEN) {
        EXPECT_EQ(place, &scene.m_Foreign);
    } else if (GetParam().m_Place == Place::NULLED) {
        EXPECT_EQ(place, nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Pool, PoolFailureTest,
    testing::Values(
        PoolFailure{
            "AddNullName", true,
            [](PoolScene& s, Expression**) { return s.m_Pool.add(nullptr, &s.m_Foreign, false); },
            PLUGIN_ERROR_INVALID_ARGUMENT, Place::UNUSED},
        PoolFailure{"AddNullInstance", true,
                    [](PoolScene& s, Expression**) { return s.m_Pool.add(L"c", nullptr, false); },
                    PLUGIN_ERROR_INVALID_ARGUMENT, Place::UNUSED},
        PoolFailure{"AddFreeInstanceUnderAnotherName", true,
                    [](PoolScene& s, Expression**) { return s.m_Pool.add(L"z", &s.m_Free, true); },
                    PLUGIN_ERROR_EXPRESSION_STATE, Place::UNUSED},
        PoolFailure{
            "AddLeasedInstanceUnderItsName", true,
            [](PoolScene& s, Expression**) { return s.m_Pool.add(L"b", &s.m_Leased, false); },
            PLUGIN_ERROR_EXPRESSION_STATE, Place::UNUSED},
        PoolFailure{"PutNull", true,
                    [](PoolScene& s, Expression**) { return s.m_Pool.put(nullptr); },
                    PLUGIN_ERROR_INVALID_ARGUMENT, Place::UNUSED},
        PoolFailure{"PutForeign", true,
                    [](PoolScene& s, Expression**) { return s.m_Pool.put(&s.m_Foreign); },
                    PLUGIN_ERROR_EXPRESSION_NOT_FOUND, Place::UNUSED},
        PoolFailure{"PutFree", true,
                    [](PoolScene& s, Expression**) { return s.m_Pool.put(&s.m_Free); },
                    PLUGIN_ERROR_EXPRESSION_STATE, Place::UNUSED},
        PoolFailure{"GetNullName", true,
                    [](PoolScene& s, Expression** o) { return s.m_Pool.get(nullptr, o); },
                    PLUGIN_ERROR_INVALID_ARGUMENT, Place::NOT_WRITTEN},
        PoolFailure{"GetNullPlace", true,
                    [](PoolScene& s, Expression**) { return s.m_Pool.get(L"a", nullptr); },
                    PLUGIN_ERROR_INVALID_ARGUMENT, Place::NOT_WRITTEN},
        PoolFailure{"GetNameWhoseEntriesAreLeased", true,
                    [](PoolScene& s, Expression** o) { return s.m_Pool.get(L"b", o); },
                    PLUGIN_ERROR_EXPRESSION_NOT_FOUND, Place::NULLED},
        PoolFailure{"GetUnknownName", true,
                    [](PoolScene& s, Expression** o) { return s.m_Pool.get(L"A", o); },
                    PLUGIN_ERROR_EXPRESSION_NOT_FOUND, Place::NULLED},
        PoolFailure{"GetOnEmptyPool", false,
                    [](PoolScene& s, Expression** o) { return s.m_Pool.get(L"a", o); },
                    PLUGIN_ERROR_EXPRESSION_NOT_FOUND, Place::NULLED},
        PoolFailure{"RemoveNullPlace", true,
                    [](PoolScene& s, Expression**) { return s.m_Pool.remove(nullptr); },
                    PLUGIN_ERROR_INVALID_ARGUMENT, Place::NOT_WRITTEN},
        PoolFailure{"RemoveFromEmptyPool", false,
                    [](PoolScene& s, Expression** o) { return s.m_Pool.remove(o); },
                    PLUGIN_ERROR_EXPRESSION_NOT_FOUND, Place::NULLED}),
    [](testing::TestParamInfo<PoolFailure> const& i_Info) { return i_Info.param.m_Case; });

TEST(PoolTest, LeasesEntriesOfOneNameFromTheFirstAndThenReportsNone) {
    RecordingExpression one(L"n");
    RecordingExpression two(L"n");
    ExpressionPool pool;
    ASSERT_EQ(pool.add(L"n", &one, false), PLUGIN_OK);
    ASSERT_EQ(pool.add(L"n", &two, false), PLUGIN_OK);
    Expression* const first = (*pool.m_Expressions.begin())->m_Expression;

    Expression* leased[3] = {};
    EXPECT_EQ(pool.get(L"n", &leased[0]), PLUGIN_OK);
    EXPECT_EQ(pool.get(L"n", &leased[1]), PLUGIN_OK);
    EXPECT_EQ(pool.get(L"n", &leased[2]), PLUGIN_ERROR_EXPRESSION_NOT_FOUND);

    EXPECT_EQ(leased[0], first);
    EXPECT_EQ((std::set<Expression*>{leased[0], leased[1]}), (std::set<Expression*>{&one, &two}));
    EXPECT_EQ(leased[2], nullptr);
}

TEST(PoolTest, LeasedEntryIsFoundOnlyAfterItsPut) {
    RecordingExpression expression(L"n");
    ExpressionPool pool;
    ASSERT_EQ(pool.add(L"n", &expression, true), PLUGIN_OK);
    Expression* place = nullptr;
    EXPECT_EQ(pool.get(L"n", &place), PLUGIN_ERROR_EXPRESSION_NOT_FOUND);

    EXPECT_EQ(pool.put(&expression), PLUGIN_OK);
    EXPECT_EQ(pool.put(&expression), PLUGIN_ERROR_EXPRESSION_STATE);
    EXPECT_EQ(pool.get(L"n", &place), PLUGIN_OK);
    EXPECT_EQ(place, &expression);
    EXPECT_TRUE((*pool.find(&expression))->m_InUse);
}

TEST(PoolTest, RemoveYieldsEveryInstanceOnceLeasedOrFreeUntilEmpty) {
    PoolScene scene(true);
    std::multiset<Expression*> removed;
    Expression* place = nullptr;
    while (scene.m_Pool.remove(&place) == PLUGIN_OK) {
        removed.insert(place);
    }
    EXPECT_EQ(removed, (std::multiset<Expression*>{&scene.m_Free, &scene.m_Leased}));
    EXPECT_EQ(place, nullptr);
    EXPECT_TRUE(scene.m_Pool.m_Expressions.empty());
}

TEST(PoolTest, RemovedInstanceIsForgotten) {
    RecordingExpression expression(L"n");
    ExpressionPool pool;
    ASSERT_EQ(pool.add(L"n", &expression, true), PLUGIN_OK);
    Expression* place = nullptr;
    ASSERT_EQ(pool.remove(&place), PLUGIN_OK);

    EXPECT_EQ(pool.put(&expression), PLUGIN_ERROR_EXPRESSION_NOT_FOUND);
    EXPECT_EQ(pool.add(L"m", &expression, false), PLUGIN_OK);
}

TEST(PoolTest, DestroyingThePoolLeavesTheInstancesAlone) {
    // Heap instances: a pool that freed them would make their own deletion a double free.
    auto free = std::make_unique<RecordingExpression>(L"a");
    auto leased = std::make_unique<RecordingExpression>(L"b");
    {
        ExpressionPool pool;
        ASSERT_EQ(pool.add(L"a", free.get(), false), PLUGIN_OK);
        ASSERT_EQ(pool.add(L"b", leased.get(), true), PLUGIN_OK);
    }
    free->setProperty(L"still", L"here");
    EXPECT_EQ(lookup(*free, L"still"), L"here");
    EXPECT_EQ(free->m_Disposals + leased->m_Disposals, 0);
}

} // namespace
