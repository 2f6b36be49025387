// Allocations of the plug-in frame: leasing from the pool allocates nothing, and running out
// of memory leaves properties and pool as they were.

#include <Tessarine/Plugin.h>

#include "support/AllocationCounter.h"
#include "support/RecordingPlugin.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>

namespace {

using Tessarine::Expression;
using TessarineTest::CountingAllocations;
using TessarineTest::RecordingExpression;
using TessarineTest::RecordingPlugin;

TEST(LeaseAllocationTest, PooledLeaseCycleAndCleanupAllocateNothing) {
    RecordingPlugin plugin;
    // A round leases and returns each name; the first round fills the pool, the others reuse it.
    auto const allocationsOfARound = [&plugin] {
        CountingAllocations counting;
        for (wchar_t const* name : {L"a", L"b", L"c", L"d"}) {
            Expression* expression = nullptr;
            EXPECT_EQ(plugin.getExpression(name, &expression), PLUGIN_OK);
            EXPECT_EQ(plugin.disposeExpression(expression), PLUGIN_OK);
        }
        return counting.count();
    };
    ASSERT_GT(allocationsOfARound(), 0) << "allocations are not being counted";
    for (int round = 0; round < 25; ++round) {
        ASSERT_EQ(allocationsOfARound(), 0);
    }
    CountingAllocations counting;
    plugin.cleanup(); // the pool's removals
    EXPECT_EQ(counting.count(), 0);
}

// Makes allocations fail on purpose; not possible where AddressSanitizer owns the allocator.
struct OutOfMemoryTest : testing::Test {
    void SetUp() override {
        if (!TESSARINE_ALLOCATION_FAILURES) {
            GTEST_SKIP() << "AddressSanitizer owns malloc, so no allocation can be made to fail";
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

TEST_F(OutOfMemoryTest, LeavesPropertiesAndPoolAsTheyWere) {
    RecordingExpression expression;
    expression.setProperty(L"a", L"1");
    expression.setProperty(L"b", L"2");
    int failures = failEachAllocation([&] { expression.setProperty(L"c", L"3"); },
                                      [&] {
                                          EXPECT_EQ(expression.dump(), L"a=1;b=2;");
                                          EXPECT_EQ(expression.propertyCapacity(), 2U);
                                      });
    EXPECT_GT(failures, 2) << "the two texts and the larger array each need memory";
    EXPECT_EQ(expression.dump(), L"a=1;b=2;c=3;");

    // Whatever allocation fails, no new instance is left outside the pool, where cleanup()
    // would never reach it.
    RecordingPlugin plugin;
    Expression* place = nullptr;
    failures = failEachAllocation([&] { ASSERT_EQ(plugin.getExpression(L"x", &place), PLUGIN_OK); },
                                  [&] {
                                      plugin.cleanup();
                                      EXPECT_TRUE(plugin.m_Live.empty());
                                  });
    EXPECT_GT(failures, 0);
}

} // namespace
