#include <Tessarine/String.h>

#include <gtest/gtest.h>

#include "support/AllocationCounter.h"
#include "support/ScopedLocale.h"

#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>

using Tessarine::String;
using TessarineTest::CountingAllocations;

namespace {


// A wide character that no multibyte form can hold (a lone UTF-16 surrogate).
constexpr wchar_t UNCONVERTIBLE[] = {static_cast<wchar_t>(0xD800), L'\0'};

std::wstring text(String const& i_String) {
    return static_cast<wchar_t const*>(i_String);
}

// True when the String holds at least i_Characters characters' worth of capacity: emptied and
// refilled that far, it must not need to grow, so its buffer stays where it is.
bool hasRoomFor(String& io_String, unsigned int i_Characters) {
    wchar_t const* const before = io_String;
    io_String = L"";
    io_String += std::wstring(i_Characters, L'x').c_str();
    return static_cast<wchar_t const*>(io_String) == before;
}

String grownThenShortened() {
    String s(L"twenty characters ok");
    s = L"a";
    return s;
}

struct ConstructionCase {
    char const* m_Name;
    std::function<String()> m_Make;
    wchar_t const* m_Text;
    unsigned int m_Room;
};

TEST(StringTest, ConstructorsGiveTheirTextAndCapacity) {
    ScopedLocale const locale("C.UTF-8");
    String const grown = grownThenShortened();
    ConstructionCase const cases[] = {
        {"default", [] { return String(); }, L"", 1},
        {"character", [] { return String(L'a'); }, L"a", 1},
        {"zero character", [] { return String(L'\0'); }, L"", 1},
        {"null wide", [] { return String(static_cast<wchar_t const*>(nullptr)); }, L"", 1},
        {"empty wide", [] { return String(L""); }, L"", 1},
        {"wide text", [] { return String(L"hello"); }, L"hello", 5},
        {"null multibyte", [] { return String(static_cast<char const*>(nullptr)); }, L"", 1},
        {"empty multibyte", [] { return String(""); }, L"", 1},
        {"multibyte text", [] { return String("h\xC3\xA9!"); }, L"h\u00E9!", 3},
        {"invalid multibyte", [] { return String("a\xFF"); }, L"", 1},
        {"copy keeps the source's capacity", [&] { return String(grown); }, L"a", 20},
    };
    for (ConstructionCase const& c : cases) {
        SCOPED_TRACE(c.m_Name);
        String s = c.m_Make();
        ASSERT_NE(static_cast<wchar_t const*>(s), nullptr);
        EXPECT_EQ(text(s), c.m_Text);
        EXPECT_EQ(s.length(), std::wcslen(c.m_Text));
        EXPECT_TRUE(hasRoomFor(s, c.m_Room));
    }
}

TEST(StringTest, AssignmentReplacesTheTextAndNeverGivesCapacityBack) {
    ScopedLocale const locale("C.UTF-8");
    String s(L"twenty characters ok");
    s = static_cast<wchar_t const*>(nullptr);
    EXPECT_EQ(text(s), L"");
    EXPECT_TRUE(hasRoomFor(s, 20));

    s = "h\xC3\xA9";
    EXPECT_EQ(text(s), L"h\u00E9");
    s = "\xFF";
    EXPECT_EQ(text(s), L"") << "unconvertible text replaces the old one with nothing";
    s = String(L"copied");
    EXPECT_EQ(text(s), L"copied");
    String& alias = s;
    wchar_t const* const buffer = s;
    s = alias;
    EXPECT_EQ(text(s), L"copied");
    EXPECT_EQ(static_cast<wchar_t const*>(s), buffer);
}

TEST(StringTest, FailedGrowthLeavesTheStringAsItWas) {
    if (!TESSARINE_ALLOCATION_FAILURES) {
        GTEST_SKIP() << "allocations cannot be made to fail under AddressSanitizer";
    }
    String s(L"short");
    wchar_t const* const buffer = s;
    std::function<void()> const grows[] = {
        [&] { s += L" and a much longer tail"; },
        [&] { s += s; },
        [&] { s = L"a text longer than before"; },
        [&] { static_cast<void>(String(s)); },
    };
    for (auto const& grow : grows) {
        {
            CountingAllocations const failing(1);
            EXPECT_THROW(grow(), std::bad_alloc);
        }
        EXPECT_EQ(text(s), L"short");
        EXPECT_EQ(static_cast<wchar_t const*>(s), buffer);
    }
}

TEST(StringTest, AppendingCharactersAndOwnText) {
    String s(L'a');
    s += 'b';
    s += L'c';
    s += s;
    EXPECT_EQ(text(s), L"abcabc");
    s += static_cast<wchar_t const*>(s) + 3;
    EXPECT_EQ(text(s), L"abcabcabc");

    String const twice = s + s;
    EXPECT_EQ(text(twice), L"abcabcabcabcabcabc");
    EXPECT_EQ(text(s), L"abcabcabc");
}

TEST(StringTest, AppendingNothingTouchesNoStorage) {
    ScopedLocale const locale("C.UTF-8");
    std::function<void(String&)> const appends[] = {
        [](String& s) { s += static_cast<wchar_t const*>(nullptr); },
        [](String& s) { s += L""; },
        [](String& s) { s += L'\0'; },
        [](String& s) { s += '\0'; },
        [](String& s) { s += '\xFF'; },
        [](String& s) { s += String(); },
    };
    for (auto const& append : appends) {
        String s(L"full");
        wchar_t const* const buffer = s;
        append(s);
        EXPECT_EQ(text(s), L"full");
        EXPECT_EQ(static_cast<wchar_t const*>(s), buffer);
    }
}

struct ComparisonCase {
    wchar_t const* m_Left;
    wchar_t const* m_Right;
    int m_Sign;
};

template <typename Right>
void expectOperatorsAgree(String const& i_Left, Right const& i_Right, int i_Sign) {
    EXPECT_EQ(i_Left == i_Right, i_Sign == 0);
    EXPECT_EQ(i_Left != i_Right, i_Sign != 0);
    EXPECT_EQ(i_Left < i_Right, i_Sign < 0);
    EXPECT_EQ(i_Left <= i_Right, i_Sign <= 0);
    EXPECT_EQ(i_Left > i_Right, i_Sign > 0);
    EXPECT_EQ(i_Left >= i_Right, i_Sign >= 0);
}

TEST(StringTest, ComparisonsFollowCharacterValuesAndRankNullBelow) {
    ComparisonCase const cases[] = {
        {L"", nullptr, -1},  {L"abc", nullptr, -1}, {L"", L"", 0},
        {L"abc", L"abc", 0}, {L"abc", L"abd", -1},  {L"ab", L"abc", -1},
        {L"b", L"a", 1},     {L"Z", L"a", -1},      {L"\u00E9", L"f", 1},
    };
    for (ComparisonCase const& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << c.m_Left << "\" vs "
                                        << (c.m_Right != nullptr ? c.m_Right : L"null"));
        String const left(c.m_Left);
        int const result = left.Compare(c.m_Right);
        EXPECT_EQ((result > 0) - (result < 0), c.m_Sign);
        expectOperatorsAgree(left, c.m_Right, c.m_Sign);
        if (c.m_Right != nullptr) {
            expectOperatorsAgree(left, String(c.m_Right), c.m_Sign);
        }
    }
}

TEST(StringTest, TrimRemovesOuterWhiteSpaceOnly) {
    std::pair<wchar_t const*, wchar_t const*> const cases[] = {
        {L"", L""},       {L"a", L"a"},      {L" ", L""},        {L" \t\n ", L""},
        {L"  ab", L"ab"}, {L"ab \t", L"ab"}, {L" a b ", L"a b"}, {L"\ta\n", L"a"},
    };
    for (auto const& [input, expected] : cases) {
        String s(input);
        EXPECT_EQ(text(s.trim()), expected) << '"' << input << '"';
    }
}

TEST(StringTest, CaseMappingAndReplaceWorkInPlace) {
    String s(L"MiXed 1");
    EXPECT_EQ(text(s.toLowerCase()), L"mixed 1");
    EXPECT_EQ(text(s.toUpperCase()), L"MIXED 1");
    EXPECT_EQ(text(s.replace(L'X', L'-')), L"MI-ED 1");
    EXPECT_EQ(text(s.replace(L'\0', L'?')), L"MI-ED 1");

    String empty;
    EXPECT_EQ(text(empty.toLowerCase().toUpperCase().replace(L'a', L'b')), L"");

    // A zero replacement cuts the text, and every later occurrence is overwritten as well.
    String cut(L"abab");
    wchar_t const* const buffer = cut.replace(L'b', L'\0');
    EXPECT_EQ(text(cut), L"a");
    EXPECT_EQ(buffer[2], L'a');
    EXPECT_EQ(buffer[3], L'\0');
}

struct ToLongCase {
    wchar_t const* m_Text;
    bool m_WholeText;
    bool m_Result;
    long m_Value;
};

TEST(StringTest, ToLongParsesBaseTenAndWritesOnlyOnSuccess) {
    constexpr long UNTOUCHED = 999;
    ToLongCase const cases[] = {
        {L"", true, false, UNTOUCHED},
        {L"", false, false, UNTOUCHED},
        {L" \t", true, false, UNTOUCHED},
        {L" \t", false, false, UNTOUCHED},
        {L"  42", true, true, 42},
        {L"42 ", true, false, UNTOUCHED},
        {L"42 ", false, true, 42},
        {L"12abc", true, false, UNTOUCHED},
        {L"12abc", false, true, 12},
        {L"abc", false, false, UNTOUCHED},
        {L"-7", true, true, -7},
        {L"0x10", false, true, 0},
        {L"0x10", true, false, UNTOUCHED},
        {L"99999999999999999999999", true, true, LONG_MAX},
        {L"-99999999999999999999999", true, true, LONG_MIN},
    };
    for (ToLongCase const& c : cases) {
        String s(c.m_Text);
        long value = UNTOUCHED;
        EXPECT_EQ(s.toLong(value, c.m_WholeText), c.m_Result)
            << '"' << c.m_Text << "\" whole=" << c.m_WholeText;
        EXPECT_EQ(value, c.m_Value) << '"' << c.m_Text << "\" whole=" << c.m_WholeText;
    }
}

TEST(StringTest, MultibyteFormIsAlwaysAFreshText) {
    ScopedLocale const locale("C.UTF-8");
    std::pair<wchar_t const*, char const*> const cases[] = {
        {nullptr, ""},
        {L"", ""},
        {L"h\u00E9", "h\xC3\xA9"},
        {UNCONVERTIBLE, ""},
    };
    for (auto const& [input, expected] : cases) {
        char* const converted = String::getMultibyteString(input);
        ASSERT_NE(converted, nullptr);
        EXPECT_STREQ(converted, expected);
        std::free(converted);
    }
}

TEST(StringTest, CollateFollowsTheLocaleWithItsOwnNullRules) {
    ScopedLocale const locale("C.UTF-8");
    ComparisonCase const cases[] = {
        {nullptr, nullptr, 0},    {nullptr, L"", -1},    {nullptr, L"x", -1},
        {L"", nullptr, 0},        {L"a", nullptr, 1},    {L"a", L"b", -1},
        {L"b", L"a", 1},          {L"same", L"same", 0}, {UNCONVERTIBLE, L"", 0},
        {L"a", UNCONVERTIBLE, 1}, {L"\u00E9", L"e", 1},
    };
    for (ComparisonCase const& c : cases) {
        int const result = String::collate(c.m_Left, c.m_Right);
        EXPECT_EQ((result > 0) - (result < 0), c.m_Sign)
            << (c.m_Left != nullptr ? c.m_Left : L"null") << " vs "
            << (c.m_Right != nullptr ? c.m_Right : L"null");
    }
    EXPECT_LT(String::collate(String(L"a"), String(L"b")), 0);
}

} // namespace
