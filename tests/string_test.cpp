#include <Tessarine/String.h>

#include <gtest/gtest.h>

#include "support/ScopedLocale.h"

#include <array>
#include <climits>
#include <cwchar>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <variant>

using Tessarine::String;

namespace {

// A wide character that no multibyte form can hold (a lone UTF-16 surrogate).
constexpr wchar_t UNCONVERTIBLE[] = {static_cast<wchar_t>(0xD800), L'\0'};
constexpr wchar_t LONG_TEXT[] = L"twenty characters ok";
constexpr wchar_t const* NO_WIDE = nullptr;
constexpr char const* NO_BYTES = nullptr;

// True when the String holds at least i_Characters characters' worth of capacity: emptied and
// refilled that far, it must not need to grow, so its buffer stays where it is.
bool hasRoomFor(String& io_String, unsigned int i_Characters) {
    wchar_t const* const before = io_String;
    io_String = L"";
    io_String += std::wstring(i_Characters, L'x').c_str();
    return static_cast<wchar_t const*>(io_String) == before;
}

// Built from a source, a String has its text and room for it (a copy: all the source's room);
// assigned to a String that held a long text, the source gives its text and the room stays.
TEST(StringTest, BuildingAndAssigningGiveTheTextAndNeverLessRoom) {
    ScopedLocale const locale("C.UTF-8");
    String const none;
    String shortened(LONG_TEXT);
    shortened = L"a";
    std::tuple<std::variant<wchar_t const*, char const*, wchar_t, String>, wchar_t const*,
               unsigned> const cases[] = {
        {none, L"", 1},     {L'a', L"a", 1},      {L'\0', L"", 1},
        {NO_WIDE, L"", 1},  {L"", L"", 1},        {L"hello", L"hello", 5},
        {NO_BYTES, L"", 1}, {"", L"", 1},         {"h\xC3\xA9!", L"h\u00E9!", 3},
        {"a\xFF", L"", 1},  {shortened, L"a", 20}};
    for (auto const& c : cases) {
        auto const& [source, expected, room] = c;
        SCOPED_TRACE(&c - cases);
        String built = std::visit([](auto const& i_Source) { return String(i_Source); }, source);
        EXPECT_EQ(std::wstring(built), expected);
        EXPECT_EQ(built.length(), std::wcslen(expected));
        EXPECT_TRUE(hasRoomFor(built, room));

        String assigned(LONG_TEXT);
        std::visit([&](auto const& i_Source) { assigned = i_Source; }, source);
        EXPECT_EQ(std::wstring(assigned), expected);
        EXPECT_TRUE(hasRoomFor(assigned, 20));
    }
}

// A change that leaves the text as it was must not touch the buffer at all. Texts taken from
// the String's own buffer must arrive whole, however the copy overlaps it.
TEST(StringTest, ChangesTakeTheirOwnTextAndTouchNothingWhenNothingChanges) {
    ScopedLocale const locale("C.UTF-8");
    std::pair<std::function<void(String&)>, wchar_t const*> const cases[] = {
        {[](String& s) { s += NO_WIDE; }, L"full"},
        {[](String& s) { s += L'\0'; }, L"full"},
        {[](String& s) { s += '\xFF'; }, L"full"},
        {[](String& s) { s.replace(L'\0', L'?'); }, L"full"},
        {[](String& s) { s = std::as_const(s); }, L"full"},
        {[](String& s) { s += 'b'; }, L"fullb"},
        {[](String& s) { s += s; }, L"fullfull"},
        {[](String& s) { s += static_cast<wchar_t const*>(s) + 2; }, L"fullll"},
        {[](String& s) { s = s + String(L"!") + s; }, L"full!full"},
        {[](String& s) { s = String(s) += L'!'; }, L"full!"},
        {[](String& s) { s = static_cast<wchar_t const*>(s) + 2; }, L"ll"},
        {[](String& s) { s = L"a longer text"; }, L"a longer text"},
        {[](String& s) { s.toUpperCase(); }, L"FULL"},
        {[](String& s) { (s = L"MiXed 1").toLowerCase(); }, L"mixed 1"},
        {[](String& s) { s.replace(L'u', L'-').replace(L'l', L'\0'); }, L"f-"}};
    for (auto const& c : cases) {
        auto const& [change, result] = c;
        SCOPED_TRACE(&c - cases);
        String s(L"full");
        wchar_t const* const buffer = s;
        change(s);
        EXPECT_EQ(std::wstring(s), result);
        EXPECT_TRUE(std::wcscmp(result, L"full") != 0 || static_cast<wchar_t const*>(s) == buffer);
    }
}

// All six operators agree with the sign that Compare is expected to give.
template <typename Right> void expectOperators(String const& i_Left, Right i_Right, int i_Sign) {
    EXPECT_EQ((std::array{i_Left == i_Right, i_Left != i_Right, (i_Left < i_Right),
                          i_Left <= i_Right, (i_Left > i_Right), i_Left >= i_Right}),
              (std::array{i_Sign == 0, i_Sign != 0, (i_Sign < 0), i_Sign <= 0, (i_Sign > 0),
                          i_Sign >= 0}));
}

// Character values decide Compare and its operators, where a null right side ranks below
// every text; the locale decides collate, where a null right side counts as the empty text,
// as does text without a multibyte form, and a null left side is below everything but null.
TEST(StringTest, CompareAndCollateOrderTheirOwnWay) {
    ScopedLocale const locale("C.UTF-8");
    std::tuple<wchar_t const*, wchar_t const*, int, int> const cases[] = {
        {L"", nullptr, -1, 0},       {L"abc", nullptr, -1, 1}, {nullptr, nullptr, -1, 0},
        {nullptr, L"", 0, -1},       {nullptr, L"x", -1, -1},  {L"abc", L"abc", 0, 0},
        {L"abc", L"abd", -1, -1},    {L"ab", L"abc", -1, -1},  {L"b", L"a", 1, 1},
        {L"Z", L"a", -1, -1},        {L"\u00E9", L"f", 1, 1},  {UNCONVERTIBLE, L"", 1, 0},
        {L"a", UNCONVERTIBLE, -1, 1}};
    auto const sign = [](int i_Value) { return (i_Value > 0) - (i_Value < 0); };
    for (auto const& [left, right, compare, collate] : cases) {
        SCOPED_TRACE(testing::Message() << left << " vs " << right);
        EXPECT_EQ(sign(String(left).Compare(right)), compare);
        expectOperators(String(left), right, compare);
        if (right != nullptr) {
            expectOperators(String(left), String(right), compare);
        }
        EXPECT_EQ(sign(String::collate(left, right)), collate);
    }
    EXPECT_LT(String::collate(String(L"a"), String(L"b")), 0);
}

TEST(StringTest, TrimDropsWhiteSpaceAtBothEnds) {
    std::pair<wchar_t const*, wchar_t const*> const trims[] = {
        {L"", L""}, {L"a", L"a"}, {L" \t\n ", L""}, {L"  ab", L"ab"}, {L" a b \t", L"a b"}};
    for (auto const& [input, expected] : trims) {
        EXPECT_EQ(std::wstring(String(input).trim()), expected) << '"' << input << '"';
    }
}

// Base 10 only; the value is written on success alone, and overflow clamps but succeeds.
TEST(StringTest, ToLongParsesBaseTenAndWritesOnlyOnSuccess) {
    constexpr long NO = 999, MAX = LONG_MAX, MIN = LONG_MIN; // NO: false, the value untouched
    constexpr wchar_t BIG[] = L"99999999999999999999999", MINUS_BIG[] = L"-99999999999999999999999";
    // The text, its value when nothing may follow the number and when something may.
    std::tuple<wchar_t const*, long, long> const cases[] = {
        {L"", NO, NO},      {L" \t", NO, NO},     {L"  42", 42, 42}, {L"42 ", NO, 42},
        {L"12abc", NO, 12}, {L"abc", NO, NO},     {L"-7", -7, -7},   {L"0x10", NO, 0},
        {BIG, MAX, MAX},    {MINUS_BIG, MIN, MIN}};
    for (auto const& [text, wholeValue, prefixValue] : cases) {
        for (bool const whole : {true, false}) {
            SCOPED_TRACE(testing::Message() << '"' << text << (whole ? "\" whole" : "\" prefix"));
            long value = NO;
            long const expected = whole ? wholeValue : prefixValue;
            EXPECT_EQ(String(text).toLong(value, whole), expected != NO);
            EXPECT_EQ(value, expected);
        }
    }
}

} // namespace
