#include <Tessarine/Expression.h>
#include <Tessarine/ExpressionPool.h>

#include "support/RecordingPlugin.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using Tessarine::Expression;
using Tessarine::ExpressionPool;
using TessarineTest::RecordingExpression;

namespace {

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

} // namespace
