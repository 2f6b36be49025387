// Allocations of the plug-in frame: leasing from the pool allocates nothing, and running out
// of memory leaves properties and pool as they were.

#include <Tessarine/Expression.h>
#include <Tessarine/ExpressionPool.h>
#include <Tessarine/Plugin.h>

#include "support/AllocationCounter.h"
#include "support/RecordingPlugin.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>
#include <vector>

namespace {

using Tessarine::Expression;
using Tessarine::ExpressionPool;
using TessarineTest::CountingAllocations;
using TessarineTest::RecordingExpression;
using TessarineTest::RecordingPlugin;

// Makes allocations fail on purpose; not possible where AddressSanitizer owns the allocator.
class OutOfMemoryTest : public testing::Test {
protected:
    void SetUp() override {
        if (!TESSARINE_ALLOCATION_FAILURES) {
            GTEST_SKIP() << "AddressSanitizer owns malloc, so an allocation cannot be made to "
                            "fail here";
        }
    }

    // Runs `i_Action` with its first, second, ... allocation failing until it gets through
    // without a failure, and lets `i_Unchanged` check the state after every std::bad_alloc.
    // Gives the number of failures injected.
    static int failEachAllocation(std::function<void()> const& i_Action,
                                  std::function<void()> const& i_Unchanged) {
        for (long failAt = 1;; ++failAt) {
            try {
                CountingAllocations counting(failAt);
                i_Action();
                return static_cast<int>(failAt - 1);
            } catch (std::bad_alloc const&) {
                i_Unchanged();
            }
        }
    }
};

TEST(LeaseAllocationTest, PooledLeaseCycleAllocatesNothing) {
    RecordingPlugin plugin;
    // Several names and a second instance of one of them that stays leased, so that the
    // pool's walk has entries to pass over.
    std::vector<std::wstring> const names = {L"alpha", L"beta", L"gamma", L"delta", L"epsilon"};
    std::vector<Expression*> warmUp;
    {
        CountingAllocations counting;
        for (std::wstring const& name : names) {
            warmUp.push_back(nullptr);
            ASSERT_EQ(plugin.getExpression(name.c_str(), &warmUp.back()), PLUGIN_OK);
        }
        Expression* second = nullptr;
        ASSERT_EQ(plugin.getExpression(L"gamma", &second), PLUGIN_OK);
        ASSERT_GT(counting.count(), 0) << "allocations are not being counted";
    }
    for (Expression* expression : warmUp) {
        ASSERT_EQ(plugin.disposeExpression(expression), PLUGIN_OK);
    }

    CountingAllocations counting;
    for (int cycle = 0; cycle < 100; ++cycle) {
        Expression* expression = nullptr;
        if (plugin.getExpression(names[cycle % names.size()].c_str(), &expression) != PLUGIN_OK ||
            plugin.disposeExpression(expression) != PLUGIN_OK) {
            ADD_FAILURE() << "cycle " << cycle << " failed";
            break;
        }
    }
    EXPECT_EQ(counting.count(), 0);
    EXPECT_EQ(plugin.m_Calls.m_CreateExpression, 6);
}

TEST(LeaseAllocationTest, PoolLookupsAndRemovalAllocateNothing) {
    RecordingExpression one(L"n");
    RecordingExpression two(L"m");
    ExpressionPool pool;
    ASSERT_EQ(pool.add(L"n", &one, false), PLUGIN_OK);
    ASSERT_EQ(pool.add(L"m", &two, true), PLUGIN_OK);

    CountingAllocations counting;
    Expression* place = nullptr;
    EXPECT_EQ(pool.find(L"n"), pool.find(&one));
    EXPECT_EQ(pool.get(L"n", &place), PLUGIN_OK);
    EXPECT_EQ(pool.get(L"absent", &place), PLUGIN_ERROR_EXPRESSION_NOT_FOUND);
    EXPECT_EQ(pool.put(&one), PLUGIN_OK);
    EXPECT_EQ(pool.remove(&place), PLUGIN_OK);
    EXPECT_EQ(counting.count(), 0);
}

TEST_F(OutOfMemoryTest, FailedAppendLeavesThePropertiesAsTheyWere) {
    RecordingExpression expression(L"x");
    expression.setProperty(L"a", L"1");
    expression.setProperty(L"b", L"2");
    ASSERT_EQ(expression.propertyCapacity(), 2U);

    int const failures = failEachAllocation(
        [&] { expression.setProperty(L"c", L"3"); },
        [&] {
            EXPECT_EQ(expression.propertyNames(), (std::vector<std::wstring>{L"a", L"b"}));
            EXPECT_EQ(expression.propertyCapacity(), 2U);
            EXPECT_EQ(std::wstring(expression.getProperty(L"b")), L"2");
        });
    EXPECT_GT(failures, 2) << "the two texts and the larger array each need memory";
    EXPECT_EQ(expression.propertyNames(), (std::vector<std::wstring>{L"a", L"b", L"c"}));
}

TEST_F(OutOfMemoryTest, FailedLeaseLeavesTheNewInstanceOutOfThePool) {
    RecordingPlugin plugin;
    RecordingExpression made(L"x");
    plugin.m_Factory = [&made](wchar_t const*, Expression** o_Expression) {
        *o_Expression = &made;
        return PLUGIN_OK;
    };
    Expression* place = nullptr;
    int const failures = failEachAllocation(
        [&] { ASSERT_EQ(plugin.getExpression(L"x", &place), PLUGIN_OK); },
        [&] {
            EXPECT_EQ(place, &made);
            EXPECT_EQ(plugin.disposeExpression(&made), PLUGIN_ERROR_EXPRESSION_NOT_FOUND);
        });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(plugin.disposeExpression(&made), PLUGIN_OK);
}

} // namespace
