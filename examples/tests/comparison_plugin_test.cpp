// The comparison plug-in, driven through Tessarine::Plugin as a host drives it.

#include "ComparisonPlugin.h"
#include "ExamplePluginApi.h"

#include <Tessarine/Tessarine.h>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using Tessarine::Expression;
using TessarineExamples::ComparisonPlugin;

// The callbacks are plain function pointers, so what they record lives here.
std::vector<std::string> g_Events;
std::vector<std::string> g_Failures;
bool g_StopRequested = false;

void recordEvent(char const* i_Event, bool i_Failure) {
    (i_Failure ? g_Failures : g_Events).push_back(i_Event);
}

bool stopRequested() {
    return g_StopRequested;
}

class ComparisonPluginTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_Events.clear();
        g_Failures.clear();
        g_StopRequested = false;
        m_Plugin.setEventTrigger(recordEvent);
        m_Plugin.setInterruptSignaler(stopRequested);
        ASSERT_EQ(m_Plugin.initialize(), PLUGIN_OK);
    }

    void TearDown() override { m_Plugin.cleanup(); }

    Expression* lease(wchar_t const* i_Name) {
        Expression* expression = nullptr;
        EXPECT_EQ(m_Plugin.getExpression(i_Name, &expression), PLUGIN_OK);
        return expression;
    }

    /// Leases, evaluates on the two inputs, gives back; the result text or the failure code.
    std::wstring evaluate(wchar_t const* i_Name, wchar_t const* i_Left, wchar_t const* i_Right) {
        Expression* const expression = lease(i_Name);
        expression->setProperty(L"left", i_Left);
        expression->setProperty(L"right", i_Right);
        int32_t const result = expression->evaluate();
        std::wstring const answer =
            result == PLUGIN_OK ? expression->getResult() : L"code " + std::to_wstring(result);
        EXPECT_EQ(m_Plugin.disposeExpression(expression), PLUGIN_OK);
        return answer;
    }

    ComparisonPlugin m_Plugin;
};

TEST_F(ComparisonPluginTest, AdvertisesEachNameOnceAndLeasesIt) {
    ASSERT_EQ(m_Plugin.initialize(), PLUGIN_OK); // a second time, which must add nothing
    Tessarine::StringVector& names = m_Plugin.listExpressions();
    std::set<std::wstring> distinct;
    for (int index = 0; index < names.length(); ++index) {
        distinct.insert(static_cast<wchar_t const*>(names[index]));
        Expression* const expression = lease(names[index]);
        ASSERT_NE(expression, nullptr);
        EXPECT_EQ(names[index], expression->getName());
    }
    EXPECT_EQ(distinct.size(), static_cast<std::size_t>(names.length()));
}

TEST_F(ComparisonPluginTest, RefusesUnknownNamesAndSaysWhy) {
    for (wchar_t const* name : {L"VersionMore", L"textequals", L""}) {
        Expression* expression = nullptr;
        EXPECT_EQ(m_Plugin.getExpression(name, &expression), PLUGIN_ERROR_EXPRESSION_NOT_FOUND);
    }
    EXPECT_EQ(g_Failures.size(), 3u);
    EXPECT_EQ(g_Failures.front(), "no expression named 'VersionMore'");
}

struct VersionCase {
    wchar_t const* m_Left;
    wchar_t const* m_Right;
    int m_Order;
};

TEST_F(ComparisonPluginTest, OrdersVersionsPartByPartAndNumerically) {
    VersionCase const cases[] = {
        {L"1.9", L"1.10", -1}, {L"1.10.2", L"1.10.10", -1},
        {L"2", L"2.0.0", 0},   {L"1.0.1", L"1", 1},
        {L"10", L"9", 1},      {L"007", L"7", 0},
        {L"0.0.0.1", L"0", 1}, {L"3.1", L"3.2", -1},
        {L"4.0", L"4", 0},     {L"99999999999999999999", L"1", 1},
    };
    for (VersionCase const& test : cases) {
        SCOPED_TRACE(std::wstring(test.m_Left) + L" against " + test.m_Right);
        auto const expect = [](bool i_Holds) {
            return std::wstring(i_Holds ? PLUGIN_RESULT_TRUE : PLUGIN_RESULT_FALSE);
        };
        EXPECT_EQ(evaluate(L"VersionLess", test.m_Left, test.m_Right), expect(test.m_Order < 0));
        EXPECT_EQ(evaluate(L"VersionEquals", test.m_Left, test.m_Right), expect(test.m_Order == 0));
        EXPECT_EQ(evaluate(L"VersionAtLeast", test.m_Left, test.m_Right),
                  expect(test.m_Order >= 0));
    }
}

TEST_F(ComparisonPluginTest, RefusesWhatIsNoVersionNumber) {
    for (wchar_t const* text : {L"", L"1.", L".1", L"1..2", L"1.x", L"-1", L" 1", L"1 ", L"v1"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(evaluate(L"VersionLess", text, L"1"), L"code -101");
        EXPECT_EQ(evaluate(L"VersionLess", L"1", text), L"code -101");
    }
    ASSERT_FALSE(g_Failures.empty());
    EXPECT_EQ(g_Failures.back(), "VersionLess: 'v1' is not a version number");
}

TEST_F(ComparisonPluginTest, ComparesTexts) {
    EXPECT_EQ(evaluate(L"TextEquals", L"Caf\u00e9", L"Caf\u00e9"), PLUGIN_RESULT_TRUE);
    EXPECT_EQ(evaluate(L"TextEquals", L"Case", L"case"), PLUGIN_RESULT_FALSE);
    EXPECT_EQ(evaluate(L"TextEquals", L"", L""), PLUGIN_RESULT_TRUE);
    EXPECT_EQ(evaluate(L"TextEqualsIgnoreCase", L"MiXeD", L"mixed"), PLUGIN_RESULT_TRUE);
    EXPECT_EQ(evaluate(L"TextEqualsIgnoreCase", L"mixed", L"mixer"), PLUGIN_RESULT_FALSE);
    EXPECT_EQ(evaluate(L"TextContains", L"a needle in hay", L"needle"), PLUGIN_RESULT_TRUE);
    EXPECT_EQ(evaluate(L"TextContains", L"needle", L"a needle in hay"), PLUGIN_RESULT_FALSE);
    EXPECT_EQ(evaluate(L"TextContains", L"anything", L""), PLUGIN_RESULT_TRUE);
}

TEST_F(ComparisonPluginTest, FindsTextInAnEscapedList) {
    EXPECT_EQ(evaluate(L"TextInList", L"beta", L"stable,beta,nightly"), PLUGIN_RESULT_TRUE);
    EXPECT_EQ(evaluate(L"TextInList", L"b,c", L"a,b\\,c"), PLUGIN_RESULT_TRUE);
    EXPECT_EQ(evaluate(L"TextInList", L"b", L"a,b\\,c"), PLUGIN_RESULT_FALSE);
    EXPECT_EQ(evaluate(L"TextInList", L"", L"a,,b"), PLUGIN_RESULT_TRUE);
    EXPECT_EQ(evaluate(L"TextInList", L"", L""), PLUGIN_RESULT_FALSE);
}

TEST_F(ComparisonPluginTest, NeedsBothInputs) {
    Expression* const expression = lease(L"TextEquals");
    expression->setProperty(L"left", L"x");
    EXPECT_EQ(expression->evaluate(), PLUGIN_ERROR_PROPERTY_NOT_FOUND);
    EXPECT_STREQ(expression->getResult(), L"");
    EXPECT_EQ(g_Failures.back(), "TextEquals: needs the properties left and right");
}

TEST_F(ComparisonPluginTest, StopsLongComparisonsWhenTheHostAsks) {
    g_StopRequested = true;
    EXPECT_EQ(evaluate(L"VersionLess", L"1.2", L"1.3"),
              L"code " + std::to_wstring(TessarineExamples::EXAMPLE_ERROR_INTERRUPTED));
    EXPECT_EQ(evaluate(L"TextInList", L"a", L"a,b"),
              L"code " + std::to_wstring(TessarineExamples::EXAMPLE_ERROR_INTERRUPTED));
    EXPECT_EQ(g_Failures.back(), "TextInList: interrupted");
}

TEST_F(ComparisonPluginTest, WorksWithoutCallbacks) {
    m_Plugin.setEventTrigger(nullptr);
    m_Plugin.setInterruptSignaler(nullptr);
    EXPECT_EQ(evaluate(L"VersionLess", L"1", L"2"), PLUGIN_RESULT_TRUE);
    EXPECT_EQ(evaluate(L"VersionLess", L"x", L"2"), L"code -101");
    EXPECT_TRUE(g_Events.empty());
}

} // namespace
