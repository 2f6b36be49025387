// The string types: String, the vector of Strings, and the list held as one escaped text.

#include <Tessarine/String.h>
#include <Tessarine/StringVector.h>
#include <Tessarine/VectorString.h>

#include "support/ScopedLocale.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cwchar>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

using Tessarine::String;
using Tessarine::StringVector;
using Tessarine::VectorString;
using TessarineTest::Texts;
using TessarineTest::textsOf;

namespace {

// ---- String ------------------------------------------------------------------------------

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
    // clang-format off
    std::tuple<char const*, std::variant<wchar_t const*, char const*, wchar_t, String>,
               wchar_t const*, unsigned> const cases[] = {
        {"DefaultString", none, L"", 1}, {"Character", L'a', L"a", 1}, {"Nul", L'\0', L"", 1},
        {"NullWide", NO_WIDE, L"", 1}, {"EmptyWide", L"", L"", 1}, {"Wide", L"hello", L"hello", 5},
        {"NullBytes", NO_BYTES, L"", 1}, {"EmptyBytes", "", L"", 1},
        {"Utf8", "h\xC3\xA9!", L"h\u00E9!", 3}, {"NoUtf8", "a\xFF", L"", 1},
        {"StringWithRoomToSpare", shortened, L"a", 20}};
    // clang-format on
    for (auto const& [name, source, expected, room] : cases) {
        SCOPED_TRACE(name);
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
    struct Change {
        char const* m_Name;
        void (*m_Apply)(String&);
        wchar_t const* m_Result;
    };
    Change const cases[] = {
        {"AppendNull", [](String& s) { s += NO_WIDE; }, L"full"},
        {"AppendNul", [](String& s) { s += L'\0'; }, L"full"},
        {"AppendNoCharacter", [](String& s) { s += '\xFF'; }, L"full"},
        {"ReplaceNul", [](String& s) { s.replace(L'\0', L'?'); }, L"full"},
        {"AssignItself", [](String& s) { s = std::as_const(s); }, L"full"},
        {"AppendNarrow", [](String& s) { s += 'b'; }, L"fullb"},
        {"AppendItself", [](String& s) { s += s; }, L"fullfull"},
        {"AppendOwnTail", [](String& s) { s += static_cast<wchar_t const*>(s) + 2; }, L"fullll"},
        {"Concatenate", [](String& s) { s = s + String(L"!") + s; }, L"full!full"},
        {"AssignTemporary", [](String& s) { s = String(s) += L'!'; }, L"full!"},
        {"AssignOwnTail", [](String& s) { s = static_cast<wchar_t const*>(s) + 2; }, L"ll"},
        {"AssignLonger", [](String& s) { s = L"a longer text"; }, L"a longer text"},
        {"UpperCase", [](String& s) { s.toUpperCase(); }, L"FULL"},
        {"LowerCase", [](String& s) { (s = L"MiXed 1").toLowerCase(); }, L"mixed 1"},
        {"ReplaceEnds", [](String& s) { s.replace(L'u', L'-').replace(L'l', L'\0'); }, L"f-"},
        {"TrimNothing", [](String& s) { s.trim(); }, L"full"},
        {"TrimAllBlank", [](String& s) { (s = L" \t\n ").trim(); }, L""},
        {"TrimBothEnds", [](String& s) { (s = L"\t a b \n").trim(); }, L"a b"}};
    for (Change const& c : cases) {
        auto const& [name, change, result] = c;
        SCOPED_TRACE(name);
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

// ---- StringVector ------------------------------------------------------------------------

using Addresses = std::vector<String const*>;

constexpr wchar_t MARKER[] = L"!!OUT OF BOUNDS!!";

void fill(StringVector& o_Vector, std::initializer_list<wchar_t const*> i_Texts) {
    for (wchar_t const* text : i_Texts) {
        ASSERT_EQ(o_Vector.addString(text), PLUGIN_OK);
    }
}

Addresses addresses(StringVector const& i_Vector) {
    Addresses result;
    for (int i = 0; i < i_Vector.length(); ++i) {
        result.push_back(&i_Vector[i]);
    }
    return result;
}

// Past the end stands one shared marker; removing shifts the later Strings down, spares too.
TEST(StringVectorTest, RemovingShiftsTheRestAndPastTheEndIsTheMarker) {
    StringVector v;
    EXPECT_EQ(std::wstring(v[0]), MARKER);
    EXPECT_EQ(v.removeString(0), PLUGIN_ERROR_INDEX_OUT_OF_RANGE);
    fill(v, {L"a", L"b", L"c", nullptr});
    EXPECT_EQ(&v[4], &StringVector()[0]);
    Addresses const original = addresses(v);
    ASSERT_EQ(v.removeString(0), PLUGIN_OK);
    EXPECT_EQ(v.removeString(3), PLUGIN_ERROR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(addresses(v), (Addresses{original[1], original[2], original[3]}));
    fill(v, {L"e"}); // the fourth slot needs a new String
    ASSERT_EQ(v.removeString(3), PLUGIN_OK) << "the last slot of a full vector";
    fill(v, {L"e", L"f"});
    EXPECT_EQ(textsOf(v), (Texts{L"b", L"c", L"", L"e", L"f"}));
    EXPECT_EQ(v.resizeBuffer((1 << 30) + 1), PLUGIN_ERROR_OUT_OF_MEMORY) << "beyond an int";
    EXPECT_EQ(textsOf(v), (Texts{L"b", L"c", L"", L"e", L"f"}));
}

// Emptied, a vector keeps its Strings behind the live ones as spares, in order, and adding
// reuses them; sorting moves the live ones only.
TEST(StringVectorTest, EmptiedVectorsReuseTheirStrings) {
    StringVector v;
    fill(v, {L"a", L"b", L"c"});
    Addresses const original = addresses(v);
    v.removeAll();
    EXPECT_EQ(std::wstring(v[0]), MARKER);
    fill(v, {L"y", L"x"});
    v.sort(false); // the spare c would come first
    EXPECT_EQ(addresses(v), (Addresses{original[1], original[0]}));
    EXPECT_EQ(v.removeString(2), PLUGIN_ERROR_INDEX_OUT_OF_RANGE) << "a spare is no element";
    v.reset(); // LeakSanitizer checks that the spares go too
    fill(v, {L"again"});
    ASSERT_EQ(v.addString(v[0]), PLUGIN_OK) << "its own String, while the slots grow";
    EXPECT_EQ(textsOf(v), (Texts{L"again", L"again"}));
}

// A copy takes the live Strings only; assignment, of an empty vector too, refills the target's
// own Strings.
TEST(StringVectorTest, CopiesTakeTheLiveStringsAndAssignmentReusesTheTargets) {
    StringVector source;
    fill(source, {L"x", L"y", L"spare"});
    ASSERT_EQ(source.removeString(2), PLUGIN_OK);
    EXPECT_EQ(textsOf(StringVector(source)), (Texts{L"x", L"y"}));
    StringVector target;
    fill(target, {L"t1", L"t2", L"t3"});
    Addresses const before = addresses(target);
    target = source;
    target = std::as_const(target);
    EXPECT_EQ(textsOf(target), (Texts{L"x", L"y"}));
    EXPECT_EQ(addresses(target), (Addresses{before[0], before[1]}));
    target = StringVector();
    fill(target, {L"reused"});
    EXPECT_EQ(addresses(target), Addresses{before[0]});
}

// Random texts, with repeats, end in collate order and the same Strings stay: texts that all
// keep their order when converted (ASCII in C; any scalar value in UTF-8), sets with one that
// does not (a surrogate, which does not convert; a letter that C cannot convert), and a locale
// whose collation is not the order of the characters.
TEST(StringVectorTest, SortGivesTheCollateOrderBothWays) {
    std::pair<char const*, std::wstring> const rows[] = {
        {"C.UTF-8", L"aAbBzZ09 -_\u00E9\u00C9\u00DF\u0416\u4E2D\U0001F600\U0010FFFF"},
        {"C.UTF-8", L"aAbBzZ09 -_\u00E9\u0416\U0001F600\xD800"},
        {"C", L"aAbBzZ09 -_~\x7F"},
        {"C", L"aAbBzZ09 -_\u00E9"},
        {"en_US.UTF-8", L"aAbBzZ09 -_\u00E9\u00C9\u0416\u4E2D\U0001F600"}};
    std::mt19937 random(20260314);
    for (auto const& [name, alphabet] : rows) {
        ScopedLocale const locale(name);
        StringVector v;
        v.sort(false);
        for (int i = 0; i < 500; ++i) {
            std::wstring text;
            for (auto n = random() % 5; n > 0; --n) {
                text += alphabet[random() % alphabet.size()];
            }
            ASSERT_EQ(v.addString(text.c_str()), PLUGIN_OK);
        }
        Addresses const live = addresses(v);
        auto const less = [](String const* a, String const* b) {
            return String::collate(*a, *b) < 0;
        };
        for (bool descending : {false, true}) {
            v.sort(descending);
            Addresses const after = addresses(v);
            EXPECT_TRUE(descending ? std::is_sorted(after.rbegin(), after.rend(), less)
                                   : std::is_sorted(after.begin(), after.end(), less))
                << name << ' ' << alphabet.size() << " letters, descending " << descending;
            EXPECT_TRUE(std::is_permutation(after.begin(), after.end(), live.begin(), live.end()));
        }
    }
}

// ---- VectorString ------------------------------------------------------------------------

Texts elementsOf(VectorString const& i_List) {
    return textsOf(*std::unique_ptr<StringVector>(i_List.getVector()));
}

VectorString listOf(Texts const& i_Elements) {
    VectorString list;
    for (std::wstring const& element : i_Elements) {
        list += element.c_str();
    }
    return list;
}

// The list counts the elements, and its text reads back as them, except that the empty text
// of a list of one empty element reads as no element.
void expectHolds(VectorString const& i_List, Texts const& i_Elements) {
    EXPECT_EQ(i_List.length(), static_cast<int>(i_Elements.size()));
    bool const readsAsNone = i_Elements.size() == 1 && i_Elements[0].empty();
    EXPECT_EQ(elementsOf(i_List), readsAsNone ? Texts{} : i_Elements);
}

// toVector empties the vector first; append adds the elements it reads, as += would.
TEST(VectorStringTest, TextsParseIntoTheirElements) {
    std::pair<wchar_t const*, Texts> const cases[] = {
        {nullptr, {}},           {L"", {}},
        {L",", {L"", L""}},      {L"a,", {L"a", L""}},
        {L"a\\,b", {L"a,b"}},    {L"a\\\\b", {L"a\\b"}},
        {L"a\\", {L"a"}},        {L"\\", {L""}},
        {L"\\x,y", {L"x", L"y"}}};
    for (auto const& [text, elements] : cases) {
        StringVector vector;
        vector.addString(L"stale");
        VectorString::toVector(text, vector);
        EXPECT_EQ(textsOf(vector), elements) << text;
        VectorString const appended = VectorString().append(text);
        EXPECT_EQ(std::wstring(appended), std::wstring(listOf(elements))) << text;
        EXPECT_EQ(appended.length(), static_cast<int>(elements.size())) << text;
    }
}

TEST(VectorStringTest, ElementsGiveTheEscapedText) {
    std::pair<Texts, wchar_t const*> const cases[] = {
        {{}, L""}, {{L""}, L""}, {{L"", L"a"}, L",a"}, {{L",\\", L"b"}, L"\\,\\\\,b"}};
    for (auto const& [elements, text] : cases) {
        VectorString const list = listOf(elements);
        EXPECT_EQ(std::wstring(list), text);
        expectHolds(list, elements);
    }
    VectorString odd; // null and narrow elements, a narrow list text
    odd += static_cast<wchar_t const*>(nullptr);
    (odd += "a,b") += static_cast<char const*>(nullptr);
    EXPECT_EQ(std::wstring(odd.append("c,d")), L",a\\,b,,c,d");
    expectHolds(odd, {L"", L"a,b", L"", L"c", L"d"});
}

// The operators that hold between the two, in the order == != < <= > >=.
template <typename Right> std::string holding(VectorString const& i_Left, Right const& i_Right) {
    std::string const all = std::string(i_Left == i_Right ? " ==" : "") +
                            (i_Left != i_Right ? " !=" : "") + ((i_Left < i_Right) ? " <" : "") +
                            (i_Left <= i_Right ? " <=" : "") + ((i_Left > i_Right) ? " >" : "") +
                            (i_Left >= i_Right ? " >=" : "");
    return all.substr(1);
}

// Between lists the counts decide < and > first, while == looks at the texts alone; a wide
// text is compared with the escaped text.
TEST(VectorStringTest, ComparisonsLookAtTheCountFirst) {
    std::tuple<Texts, Texts, char const*> const lists[] = {
        {{}, {L""}, "== < <= >="},
        {{L""}, {}, "== <= > >="},
        {{L"a"}, {L"b"}, "!= < <="},
        {{L"b"}, {L"a"}, "!= > >="},
        {{L"z"}, {L"a", L"a"}, "!= < <="},
        {{L"a", L"b"}, {L"a,b"}, "!= > >="},
        {{L"a", L"b"}, {L"a", L"b"}, "== <= >="}};
    for (auto const& [left, right, expected] : lists) {
        EXPECT_EQ(holding(listOf(left), listOf(right)), expected)
            << testing::PrintToString(left) << " against " << testing::PrintToString(right);
    }
    std::pair<wchar_t const*, char const*> const texts[] = {
        {L"a\\,b", "== <= >="}, {L"a,b", "!= > >="}, {L"b", "!= < <="}, {nullptr, "!= < <="}};
    for (auto const& [text, expected] : texts) {
        EXPECT_EQ(holding(listOf({L"a,b"}), text), expected) << text;
    }
}

// Copies and assignments take text and count; appending a list to itself changes nothing, and
// appending an empty list adds a separator when there are elements (after reset, there are
// none).
TEST(VectorStringTest, WholeListsCopyAppendAndReset) {
    VectorString list = listOf({L"a", L"b"}), assigned = listOf({L"x"});
    assigned = list;
    list.append(list);
    VectorString copy(list);
    for (VectorString const* same : {&list, &assigned, &copy}) {
        expectHolds(*same, {L"a", L"b"});
    }
    EXPECT_EQ(std::wstring(list.append(VectorString())), L"a,b,");
    EXPECT_EQ(list.length(), 2);
    list.reset();
    EXPECT_EQ(std::wstring(list.append(VectorString()) += L"d"), L"d");
    EXPECT_EQ(list.length(), 1);
}

} // namespace
