#include <Tessarine/Plugin.h>

#include "support/RecordingPlugin.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using Tessarine::Expression;
using Tessarine::Plugin;
using TessarineTest::RecordingExpression;
using TessarineTest::RecordingPlugin;

namespace {

using Names = TessarineTest::Texts;
using Outcome = std::pair<int32_t, Expression*>;

// A result code that the library does not define, as a concrete factory may give one.
constexpr int32_t REFUSED = 4711;

RecordingExpression* lease(RecordingPlugin& io_Plugin, wchar_t const* i_Name) {
    Expression* expression = nullptr;
    EXPECT_EQ(io_Plugin.getExpression(i_Name, &expression), PLUGIN_OK);
    return static_cast<RecordingExpression*>(expression);
}

Names advertised(RecordingPlugin& i_Plugin) {
    return TessarineTest::textsOf(i_Plugin.listExpressions());
}

// ---- Leasing ----------------------------------------------------------------------------

TEST(LeaseTest, ReturnedInstanceIsReusedWithoutTheFactoryAndWithoutProperties) {
    RecordingPlugin plugin;
    RecordingExpression* const first = lease(plugin, L"x");
    EXPECT_NE(lease(plugin, L"x"), first) << "a leased instance is handed out once";
    first->setProperty(L"a", L"1");
    first->setProperty(L"b", L"2");
    ASSERT_EQ(plugin.disposeExpression(first), PLUGIN_OK);
    EXPECT_EQ(plugin.m_Calls.m_OnDispose, 1);
    EXPECT_EQ(first->m_PropertiesAtDispose, 2U) << "onDispose runs before the properties go";

    EXPECT_EQ(lease(plugin, L"x"), first);
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 2);
    EXPECT_EQ(first->dump(), L"");
}

TEST(LeaseTest, FailuresReportAndLeaveThePoolAlone) {
    RecordingPlugin plugin;
    RecordingExpression foreign(&plugin.m_Calls);
    RecordingExpression* const x = lease(plugin, L"x");
    RecordingExpression* const y = lease(plugin, L"y");
    ASSERT_EQ(plugin.disposeExpression(y), PLUGIN_OK);

    // Leases "x", which has no free instance, from a factory that gives `i_Result` and leaves
    // `i_Left` in the place; the result and the place as the host gets them.
    Expression* place = &foreign;
    auto const leaseFrom = [&](int32_t i_Result, Expression* i_Left) {
        plugin.m_Factory = [=](wchar_t const*, Expression** o_Expression) {
            *o_Expression = i_Left;
            return i_Result;
        };
        int32_t const result = plugin.getExpression(L"x", &place);
        return Outcome(result, place);
    };
    EXPECT_EQ(plugin.getExpression(nullptr, &place), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(plugin.getExpression(L"x", nullptr), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(place, &foreign);
    EXPECT_EQ(leaseFrom(REFUSED, nullptr), Outcome(REFUSED, nullptr));
    EXPECT_EQ(leaseFrom(REFUSED, &foreign), Outcome(REFUSED, &foreign));
    EXPECT_EQ(leaseFrom(PLUGIN_OK, nullptr), Outcome(PLUGIN_ERROR_INVALID_ARGUMENT, nullptr));
    EXPECT_EQ(leaseFrom(PLUGIN_OK, x), Outcome(PLUGIN_ERROR_EXPRESSION_STATE, x));
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 6) << "every failed lease asks the factory";
    EXPECT_TRUE(plugin.m_PlacesWereNull) << "the factory always finds the place null";

    // An instance given back is disposed before the pool is asked, so also when it refuses.
    foreign.setProperty(L"p", L"1");
    EXPECT_EQ(plugin.disposeExpression(nullptr), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(plugin.disposeExpression(&foreign), PLUGIN_ERROR_EXPRESSION_NOT_FOUND);
    EXPECT_EQ(foreign.dump(), L"");
    EXPECT_EQ(plugin.disposeExpression(y), PLUGIN_ERROR_EXPRESSION_STATE);
    EXPECT_EQ(plugin.m_Calls.m_OnDispose, 3);

    // Through all of it "y" stayed free, "x" leased, and nothing else entered the pool.
    plugin.m_Factory = nullptr;
    EXPECT_EQ(lease(plugin, L"y"), y);
    EXPECT_EQ(plugin.disposeExpression(x), PLUGIN_OK);
    plugin.destroyExpressions();
    EXPECT_EQ(plugin.m_Calls.m_DestroyExpression, 2);
}

// ---- Start and stop ---------------------------------------------------------------------

TEST(LifecycleTest, InitializeAndCallbacksPassValuesThrough) {
    RecordingPlugin plugin;
    plugin.m_InitializeResult = REFUSED;
    EXPECT_EQ(plugin.initialize(), REFUSED);

    Plugin::InterruptSignaler const signaler = [] { return true; };
    Plugin::EventTrigger const trigger = [](char const*, bool) {};
    EXPECT_EQ(plugin.getInterruptSignaler(), nullptr);
    EXPECT_EQ(plugin.getEventTrigger(), nullptr);
    for (bool const set : {true, false}) {
        plugin.setInterruptSignaler(set ? signaler : nullptr);
        plugin.setEventTrigger(set ? trigger : nullptr);
        EXPECT_EQ(plugin.getInterruptSignaler(), set ? signaler : nullptr);
        EXPECT_EQ(plugin.getEventTrigger(), set ? trigger : nullptr);
    }
}

TEST(LifecycleTest, CleanupDestroysLeasedAndFreeInstancesAfterOnCleanupWithoutDisposing) {
    RecordingPlugin plugin;
    plugin.addExpression(L"a");
    lease(plugin, L"x");
    ASSERT_EQ(plugin.disposeExpression(lease(plugin, L"y")), PLUGIN_OK);

    plugin.cleanup();
    EXPECT_EQ(plugin.m_Calls.m_OnCleanup, 1);
    EXPECT_EQ(plugin.m_DestroyedAtCleanup, 0) << "onCleanup runs while the pool is whole";
    EXPECT_EQ(plugin.m_Calls.m_DestroyExpression, 2);
    EXPECT_EQ(plugin.m_Calls.m_OnDispose, 1);
    EXPECT_TRUE(plugin.m_Live.empty());

    // The plug-in stays usable, and keeps its advertised names; a second cleanup finds nothing.
    lease(plugin, L"x");
    plugin.destroyExpressions();
    EXPECT_EQ(plugin.m_Calls.m_OnCleanup, 1) << "destroyExpressions alone skips onCleanup";
    plugin.cleanup();
    EXPECT_EQ(plugin.m_Calls.m_OnCleanup, 2);
    EXPECT_EQ(plugin.m_Calls.m_DestroyExpression, 3);
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 3);
    EXPECT_EQ(advertised(plugin), Names{L"a"});
}

// ---- Advertised names -------------------------------------------------------------------

TEST(AdvertisedNamesTest, ListsEveryAddedNameInOrderAndIsThePluginsOwn) {
    RecordingPlugin plugin;
    for (wchar_t const* name : {L"b", L"a", L"b", L""}) {
        EXPECT_EQ(plugin.addExpression(name), PLUGIN_OK);
    }
    EXPECT_EQ(advertised(plugin), (Names{L"b", L"a", L"b", L""}));

    plugin.listExpressions().sort(true);
    plugin.listExpressions().addString(L"z");
    EXPECT_EQ(advertised(plugin), (Names{L"b", L"b", L"a", L"", L"z"}));
}

TEST(AdvertisedNamesDeathTest, NullNameStopsTheProcess) {
    RecordingPlugin plugin;
    EXPECT_DEATH(plugin.addExpression(nullptr),
                 "\\.\\./\\.\\./\\.\\./src/plugins/Tessarine/Plugin:94: "
                 "void Tessarine::Plugin::addExpression\\(const wchar_t\\*\\): "
                 "Assertion `i_Name != __null' failed");
}

} // namespace
