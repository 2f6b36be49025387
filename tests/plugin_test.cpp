#include <Tessarine/Plugin.h>

#include "support/RecordingPlugin.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Tessarine::Expression;
using Tessarine::StringVector;
using TessarineTest::RecordingExpression;
using TessarineTest::RecordingPlugin;

namespace {

// A result code that the library does not define, as a concrete factory may give one.
constexpr int32_t REFUSED = 4711;

Expression* lease(RecordingPlugin& io_Plugin, wchar_t const* i_Name) {
    Expression* expression = nullptr;
    EXPECT_EQ(io_Plugin.getExpression(i_Name, &expression), PLUGIN_OK);
    return expression;
}

std::vector<std::wstring> texts(StringVector const& i_Vector) {
    std::vector<std::wstring> result;
    for (int i = 0; i < i_Vector.length(); ++i) {
        result.emplace_back(static_cast<wchar_t const*>(i_Vector[i]));
    }
    return result;
}

// ---- Leasing ----------------------------------------------------------------------------

TEST(LeaseTest, ReturnedInstanceIsReusedWithoutTheFactory) {
    RecordingPlugin plugin;
    Expression* const first = lease(plugin, L"x");
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 1);
    EXPECT_TRUE(plugin.m_PlacesWereNull);

    ASSERT_EQ(plugin.disposeExpression(first), PLUGIN_OK);
    EXPECT_EQ(lease(plugin, L"x"), first);
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 1);
}

TEST(LeaseTest, TwoLeasesOfOneNameGiveTwoLeasedInstances) {
    RecordingPlugin plugin;
    Expression* const one = lease(plugin, L"x");
    Expression* const two = lease(plugin, L"x");
    EXPECT_NE(one, two);
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 2);
    // Both entries are leased: each accepts one return, and only one.
    for (Expression* expression : {one, two}) {
        EXPECT_EQ(plugin.disposeExpression(expression), PLUGIN_OK);
        EXPECT_EQ(plugin.disposeExpression(expression), PLUGIN_ERROR_EXPRESSION_STATE);
    }
}

TEST(LeaseTest, ReusedInstanceStartsWithoutProperties) {
    RecordingPlugin plugin;
    Expression* const expression = lease(plugin, L"x");
    expression->setProperty(L"a", L"1");
    expression->setProperty(L"b", L"2");
    ASSERT_EQ(plugin.disposeExpression(expression), PLUGIN_OK);

    ASSERT_EQ(lease(plugin, L"x"), expression);
    EXPECT_EQ(expression->getProperty(L"a"), nullptr);
    EXPECT_EQ(expression->getProperty(L"b"), nullptr);
    auto const* recording = static_cast<RecordingExpression*>(expression);
    EXPECT_EQ(recording->m_Disposals, 1);
    EXPECT_EQ(recording->m_PropertiesAtDispose, 2U);
}

TEST(LeaseTest, RefusedNameGivesTheFactoryCodeAndIsAskedForAgain) {
    RecordingPlugin plugin;
    plugin.m_Factory = [](wchar_t const*, Expression**) { return REFUSED; };
    Expression* place = nullptr;
    EXPECT_EQ(plugin.getExpression(L"x", &place), REFUSED);
    EXPECT_EQ(place, nullptr);

    plugin.m_Factory = nullptr;
    EXPECT_NE(lease(plugin, L"x"), nullptr);
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 2);
}

TEST(LeaseTest, NullArgumentsAreRefusedBeforeAnythingHappens) {
    RecordingPlugin plugin;
    RecordingExpression sentinel(L"s");
    Expression* place = &sentinel;
    EXPECT_EQ(plugin.getExpression(nullptr, &place), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(plugin.getExpression(L"x", nullptr), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(place, &sentinel);
    EXPECT_EQ(plugin.disposeExpression(nullptr), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 0);
    EXPECT_EQ(plugin.m_Calls.m_OnDispose, 0);
}

// Factories that fail getExpression: what a factory returns and leaves in the place, and the
// result the host gets then. The place reaches the host as the factory left it. The plug-in
// already has one leased "x"; a failed lease must leave that the only entry.
enum class Left { NOTHING, FOREIGN, LEASED };

struct FactoryFailure {
    char const* m_Case;
    int32_t m_FactoryResult;
    Left m_Left;
    int32_t m_Expected;
};

class FactoryFailureTest : public testing::TestWithParam<FactoryFailure> {};

TEST_P(FactoryFailureTest, PassesTheFailureOnAndLeavesThePoolAlone) {
    RecordingPlugin plugin;
    RecordingExpression foreign(L"f");
    Expression* const leased = lease(plugin, L"x");
    Expression* const left = GetParam().m_Left == Left::FOREIGN  ? &foreign
                             : GetParam().m_Left == Left::LEASED ? leased
                                                                 : nullptr;
    int32_t const result = GetParam().m_FactoryResult;
    plugin.m_Factory = [left, result](wchar_t const*, Expression** o_Expression) {
        *o_Expression = left;
        return result;
    };

    Expression* place = nullptr;
    EXPECT_EQ(plugin.getExpression(L"x", &place), GetParam().m_Expected);
    EXPECT_EQ(place, left);

    // The pool still holds "x" once, leased; the foreign instance is in no entry.
    plugin.m_Factory = nullptr;
    EXPECT_EQ(plugin.disposeExpression(&foreign), PLUGIN_ERROR_EXPRESSION_NOT_FOUND);
    EXPECT_EQ(plugin.disposeExpression(leased), PLUGIN_OK);
    EXPECT_EQ(lease(plugin, L"x"), leased);
    plugin.destroyExpressions();
    EXPECT_EQ(plugin.m_Calls.m_DestroyExpression, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Lease, FactoryFailureTest,
    testing::Values(FactoryFailure{"NonZeroWithEmptyPlace", REFUSED, Left::NOTHING, REFUSED},
                    FactoryFailure{"NonZeroWithAnInstanceInThePlace", REFUSED, Left::FOREIGN,
                                   REFUSED},
                    FactoryFailure{"ZeroWithEmptyPlace", PLUGIN_OK, Left::NOTHING,
                                   PLUGIN_ERROR_INVALID_ARGUMENT},
                    FactoryFailure{"ZeroWithAnInstanceThePoolHolds", PLUGIN_OK, Left::LEASED,
                                   PLUGIN_ERROR_EXPRESSION_STATE}),
    [](testing::TestParamInfo<FactoryFailure> const& i_Info) { return i_Info.param.m_Case; });

// disposeExpression disposes before it asks the pool, so every instance it is given is
// disposed, whether the pool takes it back or not.
struct DisposeFailure {
    char const* m_Case;
    bool m_FromThePool;
    int m_EarlierReturns;
    int32_t m_Expected;
};

class DisposeFailureTest : public testing::TestWithParam<DisposeFailure> {};

TEST_P(DisposeFailureTest, DisposesAndReports) {
    RecordingPlugin plugin;
    RecordingExpression foreign(L"f");
    RecordingExpression* const expression =
        GetParam().m_FromThePool ? static_cast<RecordingExpression*>(lease(plugin, L"x"))
                                 : &foreign;
    for (int i = 0; i < GetParam().m_EarlierReturns; ++i) {
        ASSERT_EQ(plugin.disposeExpression(expression), PLUGIN_OK);
    }
    expression->setProperty(L"a", L"1");

    EXPECT_EQ(plugin.disposeExpression(expression), GetParam().m_Expected);
    EXPECT_EQ(expression->m_Disposals, GetParam().m_EarlierReturns + 1);
    EXPECT_EQ(expression->getProperty(L"a"), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Lease, DisposeFailureTest,
    testing::Values(DisposeFailure{"Foreign", false, 0, PLUGIN_ERROR_EXPRESSION_NOT_FOUND},
                    DisposeFailure{"AlreadyReturned", true, 1, PLUGIN_ERROR_EXPRESSION_STATE}),
    [](testing::TestParamInfo<DisposeFailure> const& i_Info) { return i_Info.param.m_Case; });

// ---- Start and stop ---------------------------------------------------------------------

TEST(LifecycleTest, InitializeGivesWhatOnInitializeGave) {
    for (int32_t result : {PLUGIN_OK, REFUSED}) {
        RecordingPlugin plugin;
        plugin.m_InitializeResult = result;
        EXPECT_EQ(plugin.initialize(), result);
        EXPECT_EQ(plugin.m_Calls.m_OnInitialize, 1);
    }
}

TEST(LifecycleTest, CleanupDestroysLeasedAndFreeInstancesAfterOnCleanupWithoutDisposing) {
    RecordingPlugin plugin;
    Expression* const leased = lease(plugin, L"x");
    Expression* const free = lease(plugin, L"y");
    ASSERT_EQ(plugin.disposeExpression(free), PLUGIN_OK);
    int const disposals = plugin.m_Calls.m_OnDispose;

    plugin.cleanup();
    EXPECT_EQ(plugin.m_Calls.m_OnCleanup, 1);
    EXPECT_EQ(plugin.m_DestroyedAtCleanup, 0) << "onCleanup runs while the pool is whole";
    EXPECT_EQ(plugin.m_Calls.m_DestroyExpression, 2);
    EXPECT_EQ(plugin.m_Calls.m_OnDispose, disposals);
    EXPECT_FALSE(plugin.isAlive(leased));
    EXPECT_FALSE(plugin.isAlive(free));
}

TEST(LifecycleTest, PluginStaysUsableAfterCleanup) {
    RecordingPlugin plugin;
    lease(plugin, L"x");
    plugin.cleanup();
    plugin.cleanup();
    EXPECT_EQ(plugin.m_Calls.m_OnCleanup, 2);
    EXPECT_EQ(plugin.m_Calls.m_DestroyExpression, 1);

    lease(plugin, L"x");
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 2);
}

TEST(LifecycleTest, DestroyExpressionsAloneSkipsOnCleanup) {
    RecordingPlugin plugin;
    lease(plugin, L"x");
    plugin.destroyExpressions();
    EXPECT_EQ(plugin.m_Calls.m_OnCleanup, 0);
    EXPECT_EQ(plugin.m_Calls.m_DestroyExpression, 1);
}

bool signaler() {
    return true;
}
void trigger(char const*, bool) {}

TEST(LifecycleTest, CallbacksStartNullAndComeBackAsStored) {
    RecordingPlugin plugin;
    EXPECT_EQ(plugin.getInterruptSignaler(), nullptr);
    EXPECT_EQ(plugin.getEventTrigger(), nullptr);

    plugin.setInterruptSignaler(&signaler);
    plugin.setEventTrigger(&trigger);
    EXPECT_EQ(plugin.getInterruptSignaler(), &signaler);
    EXPECT_EQ(plugin.getEventTrigger(), &trigger);

    plugin.setInterruptSignaler(nullptr);
    plugin.setEventTrigger(nullptr);
    EXPECT_EQ(plugin.getInterruptSignaler(), nullptr);
    EXPECT_EQ(plugin.getEventTrigger(), nullptr);
}

// ---- Advertised names -------------------------------------------------------------------

TEST(AdvertisedNamesTest, ListsEveryAddedNameInOrderDuplicatesIncluded) {
    RecordingPlugin plugin;
    EXPECT_EQ(plugin.listExpressions().length(), 0);
    for (wchar_t const* name : {L"b", L"a", L"b", L""}) {
        EXPECT_EQ(plugin.addExpression(name), PLUGIN_OK);
    }
    EXPECT_EQ(texts(plugin.listExpressions()), (std::vector<std::wstring>{L"b", L"a", L"b", L""}));
}

TEST(AdvertisedNamesTest, ListIsThePluginsOwnSoChangesShowThrough) {
    RecordingPlugin plugin;
    plugin.addExpression(L"a");
    plugin.addExpression(L"c");
    plugin.addExpression(L"b");
    EXPECT_EQ(&plugin.listExpressions(), &plugin.listExpressions());

    plugin.listExpressions().sort(true);
    plugin.listExpressions().addString(L"z");
    EXPECT_EQ(texts(plugin.listExpressions()), (std::vector<std::wstring>{L"c", L"b", L"a", L"z"}));
}

TEST(AdvertisedNamesTest, LeasingIgnoresTheListAndCleanupKeepsIt) {
    RecordingPlugin plugin;
    plugin.addExpression(L"a");
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 0);

    lease(plugin, L"never advertised");
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 1);
    plugin.cleanup();
    EXPECT_EQ(texts(plugin.listExpressions()), (std::vector<std::wstring>{L"a"}));
}

TEST(AdvertisedNamesDeathTest, NullNameStopsTheProcess) {
    RecordingPlugin plugin;
    EXPECT_DEATH(plugin.addExpression(nullptr),
                 "\\.\\./\\.\\./\\.\\./src/plugins/Tessarine/Plugin:94: "
                 "void Tessarine::Plugin::addExpression\\(const wchar_t\\*\\): "
                 "Assertion `i_Name != __null' failed");
}

} // namespace
