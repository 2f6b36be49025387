// The plug-in frame: an expression's properties, the pool of instances, and the plug-in that
// leases them to the host.

#include <Tessarine/Expression.h>
#include <Tessarine/ExpressionPool.h>
#include <Tessarine/Plugin.h>

#include "support/RecordingPlugin.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

using Tessarine::Expression;
using Tessarine::ExpressionPool;
using TessarineTest::RecordingExpression;
using TessarineTest::RecordingPlugin;
using TessarineTest::Texts;
using TessarineTest::textsOf;

namespace {

// ---- Expression and pool -----------------------------------------------------------------

TEST(PropertyTest, KeepTheOrderOfFirstSettingUnderExactNames) {
    RecordingExpression expression;
    EXPECT_EQ(expression.getProperty(L""), nullptr);
    // A null name is ignored; a null value stores the empty text, on a new name or an old one.
    std::pair<wchar_t const*, wchar_t const*> const settings[] = {
        {L"a", L"1"}, {L"b", L"2"}, {L"c", L"3"},    {L"a", L"4"},   {nullptr, L"5"},
        {L"A", L"6"}, {L"", L"7"},  {L"d", nullptr}, {L"b", nullptr}};
    for (auto const& [name, value] : settings) {
        expression.setProperty(name, value);
    }
    EXPECT_EQ(expression.dump(), L"a=4;b=;c=3;A=6;=7;d=;");
    for (wchar_t const* absent : {L"aa", L" ", L"e", static_cast<wchar_t const*>(nullptr)}) {
        EXPECT_EQ(expression.getProperty(absent), nullptr);
    }

    expression.resetPropertyValues();
    EXPECT_EQ(expression.dump(), L"a=;b=;c=;A=;=;d=;");

    expression.deleteProperties();
    EXPECT_EQ(expression.getProperty(L"a"), nullptr);
    expression.setProperty(L"c", L"8");
    expression.setProperty(L"a", L"9");
    EXPECT_EQ(expression.dump(), L"c=8;a=9;");
}

// Each value lies in the very list that the call may have to grow.
TEST(PropertyTest, TakesValuesFromItsOwnList) {
    RecordingExpression expression;
    expression.setProperty(L"a", L"first");
    for (wchar_t const* name : {L"b", L"c", L"d", L"e", L"a"}) {
        expression.setProperty(name, expression.getProperty(L"a"));
    }
    EXPECT_EQ(expression.dump(), L"a=first;b=first;c=first;d=first;e=first;");
}

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

// Leasing, giving back and removing through the frame are tested with Plugin; here are the
// pool's own refusals, each of which leaves the place as said and every pool as it was.
TEST(PoolTest, RefusalsChangeNothing) {
    RecordingExpression free;
    RecordingExpression leased;
    RecordingExpression foreign;
    ExpressionPool pool;
    ExpressionPool empty;
    ASSERT_EQ(pool.add(L"n", &free, false), PLUGIN_OK);
    ASSERT_EQ(pool.add(L"b", &leased, true), PLUGIN_OK);
    std::vector<Entry> const before = entries(pool);
    Expression* place = &foreign;
    // Whether a call gave the result, nulled the place or left it, and left both pools alone.
    auto const refused = [&](int32_t i_Result, int32_t i_Expected, bool i_PlaceNulled = false) {
        bool const placeRight = place == (i_PlaceNulled ? nullptr : &foreign);
        bool const poolsRight = entries(pool) == before && empty.m_Expressions.empty();
        place = &foreign;
        return testing::AssertionResult(i_Result == i_Expected && placeRight && poolsRight)
               << "result " << i_Result << ", place right " << placeRight << ", pools right "
               << poolsRight;
    };
    EXPECT_TRUE(refused(pool.add(nullptr, &foreign, false), PLUGIN_ERROR_INVALID_ARGUMENT));
    EXPECT_TRUE(refused(pool.add(L"c", nullptr, false), PLUGIN_ERROR_INVALID_ARGUMENT));
    EXPECT_TRUE(refused(pool.add(L"z", &free, true), PLUGIN_ERROR_EXPRESSION_STATE));
    EXPECT_TRUE(refused(pool.add(L"b", &leased, false), PLUGIN_ERROR_EXPRESSION_STATE));
    EXPECT_TRUE(refused(pool.put(nullptr), PLUGIN_ERROR_INVALID_ARGUMENT));
    EXPECT_TRUE(refused(pool.put(&free), PLUGIN_ERROR_EXPRESSION_STATE));
    EXPECT_TRUE(refused(pool.get(nullptr, &place), PLUGIN_ERROR_INVALID_ARGUMENT));
    EXPECT_TRUE(refused(pool.get(L"n", nullptr), PLUGIN_ERROR_INVALID_ARGUMENT));
    EXPECT_TRUE(refused(pool.get(L"b", &place), PLUGIN_ERROR_EXPRESSION_NOT_FOUND, true));
    EXPECT_TRUE(refused(pool.get(L"N", &place), PLUGIN_ERROR_EXPRESSION_NOT_FOUND, true));
    EXPECT_TRUE(refused(pool.remove(nullptr), PLUGIN_ERROR_INVALID_ARGUMENT));
    EXPECT_TRUE(refused(empty.remove(&place), PLUGIN_ERROR_EXPRESSION_NOT_FOUND, true));
    EXPECT_EQ(pool.find(static_cast<wchar_t const*>(nullptr)), pool.m_Expressions.end());
}

// ---- Plugin -------------------------------------------------------------------------------

// A result code that the library does not define, as a concrete factory may give one.
constexpr int32_t REFUSED = 4711;

RecordingExpression* lease(RecordingPlugin& io_Plugin, wchar_t const* i_Name) {
    Expression* expression = nullptr;
    EXPECT_EQ(io_Plugin.getExpression(i_Name, &expression), PLUGIN_OK);
    return static_cast<RecordingExpression*>(expression);
}

TEST(LeaseTest, ReturnedInstanceIsReusedWithoutTheFactoryAndWithoutProperties) {
    RecordingPlugin plugin;
    RecordingExpression* const first = lease(plugin, L"x");
    EXPECT_NE(lease(plugin, L"x"), first) << "a leased instance is handed out once";
    first->setProperty(L"a", L"1");
    first->setProperty(L"b", L"2");
    ASSERT_EQ(plugin.disposeExpression(first), PLUGIN_OK);
    EXPECT_EQ(first->m_PropertiesAtDispose, 2U) << "onDispose runs before the properties go";
    EXPECT_EQ(lease(plugin, L"x"), first);
    EXPECT_EQ(plugin.m_Created, 2);
    EXPECT_EQ(first->dump(), L"");
}

// What the host gets when the factory is asked for "x" and answers with a result and a place.
struct FactoryCase {
    char const* m_Name;
    int32_t m_Result;
    bool m_GivesLeased; // the place holds an instance already leased instead of null
    int32_t m_Expected;
};

TEST(LeaseTest, FailedLeasesReportAndLeaveThePoolAlone) {
    RecordingPlugin plugin;
    RecordingExpression* const x = lease(plugin, L"x");
    RecordingExpression* const y = lease(plugin, L"y");
    ASSERT_EQ(plugin.disposeExpression(y), PLUGIN_OK);
    Expression* place = y;
    EXPECT_EQ(plugin.getExpression(nullptr, &place), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(plugin.getExpression(L"x", nullptr), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(place, y);
    FactoryCase const cases[] = {
        {"RefusedWithNull", REFUSED, false, REFUSED},
        {"RefusedWithAnInstance", REFUSED, true, REFUSED},
        {"SucceededWithNull", PLUGIN_OK, false, PLUGIN_ERROR_INVALID_ARGUMENT},
        {"SucceededWithALeasedInstance", PLUGIN_OK, true, PLUGIN_ERROR_EXPRESSION_STATE}};
    for (FactoryCase const& c : cases) {
        Expression* const given = c.m_GivesLeased ? x : nullptr;
        plugin.m_Factory = [&](wchar_t const*, Expression** o_Expression) {
            *o_Expression = given;
            return c.m_Result;
        };
        EXPECT_EQ(plugin.getExpression(L"x", &place), c.m_Expected) << c.m_Name;
        EXPECT_EQ(place, given) << c.m_Name << ": the host sees what the factory left";
    }
    EXPECT_TRUE(plugin.m_PlacesWereNull) << "the factory always finds the place null";

    // An instance given back is disposed before the pool is asked, so also when it refuses.
    RecordingExpression foreign(&plugin.m_Disposals);
    foreign.setProperty(L"p", L"1");
    EXPECT_EQ(plugin.disposeExpression(nullptr), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(plugin.disposeExpression(&foreign), PLUGIN_ERROR_EXPRESSION_NOT_FOUND);
    EXPECT_EQ(foreign.dump(), L"");
    EXPECT_EQ(plugin.disposeExpression(y), PLUGIN_ERROR_EXPRESSION_STATE);
    EXPECT_EQ(plugin.m_Disposals, 3);

    // Through all of it "y" stayed free, "x" leased, and nothing else entered the pool.
    plugin.m_Factory = nullptr;
    EXPECT_EQ(lease(plugin, L"y"), y);
    EXPECT_EQ(plugin.disposeExpression(x), PLUGIN_OK);
    plugin.destroyExpressions();
    EXPECT_EQ(plugin.m_Destroyed, 2);
}

TEST(LifecycleTest, CleanupDestroysLeasedAndFreeInstancesAfterOnCleanupWithoutDisposing) {
    RecordingPlugin plugin;
    plugin.m_InitializeResult = REFUSED;
    EXPECT_EQ(plugin.initialize(), REFUSED);
    lease(plugin, L"x");
    ASSERT_EQ(plugin.disposeExpression(lease(plugin, L"y")), PLUGIN_OK);
    plugin.cleanup();
    EXPECT_EQ(plugin.m_DestroyedAtCleanup, 0) << "onCleanup runs while the pool is whole";
    EXPECT_EQ(plugin.m_Destroyed, 2);
    EXPECT_EQ(plugin.m_Disposals, 1) << "cleanup disposes nothing";
    EXPECT_TRUE(plugin.m_Live.empty());

    // The plug-in stays usable; destroyExpressions alone skips onCleanup.
    lease(plugin, L"x");
    plugin.destroyExpressions();
    EXPECT_EQ(plugin.m_Cleanups, 1);
    EXPECT_EQ(plugin.m_Destroyed, 3);
}

TEST(AdvertisedNamesTest, ListsEveryAddedNameInOrderAndIsThePluginsOwn) {
    RecordingPlugin plugin;
    for (wchar_t const* name : {L"b", L"a", L"b", L""}) {
        EXPECT_EQ(plugin.addExpression(name), PLUGIN_OK);
    }
    plugin.listExpressions().addString(L"z");
    EXPECT_EQ(textsOf(plugin.listExpressions()), (Texts{L"b", L"a", L"b", L"", L"z"}));
}

TEST(AdvertisedNamesDeathTest, NullNameStopsTheProcess) {
    RecordingPlugin plugin;
    EXPECT_DEATH(plugin.addExpression(nullptr),
                 "\\.\\./\\.\\./\\.\\./src/plugins/Tessarine/Plugin:94: "
                 "void Tessarine::Plugin::addExpression\\(const wchar_t\\*\\): "
                 "Assertion `i_Name != __null' failed");
}

} // namespace
