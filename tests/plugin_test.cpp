#include <Tessarine/Plugin.h>

#include "support/RecordingPlugin.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <string>

using Tessarine::Expression;
using TessarineTest::RecordingExpression;
using TessarineTest::RecordingPlugin;
using TessarineTest::Texts;
using TessarineTest::textsOf;

namespace {

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
