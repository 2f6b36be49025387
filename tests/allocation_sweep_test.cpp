// Running out of memory anywhere in the public operations: no crash, no leak, and a state that
// is the old one, the new one or the one documented for the failure.

#include <Tessarine/Configuration.h>

#include "support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using Tessarine::Configuration;

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
