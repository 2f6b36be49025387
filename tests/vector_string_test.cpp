#include <Tessarine/VectorString.h>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

using Tessarine::StringVector;
using Tessarine::VectorString;

namespace {

using Texts = std::vector<std::wstring>;

std::wstring textOf(VectorString const& i_List) {
    return static_cast<wchar_t const*>(i_List);
}

Texts textsOf(StringVector const& i_Vector) {
    Texts texts;
    for (int index = 0; index < i_Vector.length(); ++index) {
        texts.emplace_back(static_cast<wchar_t const*>(i_Vector[index]));
    }
    return texts;
}

Texts parsed(wchar_t const* i_Text) {
    StringVector vector;
    VectorString::toVector(i_Text, vector);
    return textsOf(vector);
}

// Each element is added with +=; a null pointer stands for a null element.
VectorString listOf(std::vector<wchar_t const*> const& i_Elements) {
    VectorString list;
    for (wchar_t const* element : i_Elements) {
        list += element;
    }
    return list;
}

Texts elementsOf(VectorString const& i_List) {
    std::unique_ptr<StringVector> vector(i_List.getVector());
    return textsOf(*vector);
}

struct BuildCase {
    std::vector<wchar_t const*> added;
    wchar_t const* text;
    int length;
    Texts parsed;
};

TEST(VectorStringTest, ElementsAddedOneByOneGiveTheEscapedText) {
    BuildCase const cases[] = {
        {{}, L"", 0, {}},
        {{L""}, L"", 1, {}},
        {{nullptr}, L"", 1, {}},
        {{L"", nullptr}, L",", 2, {L"", L""}},
        {{L"a"}, L"a", 1, {L"a"}},
        {{L"a", L"b"}, L"a,b", 2, {L"a", L"b"}},
        {{L"a,b"}, L"a\\,b", 1, {L"a,b"}},
        {{L"a\\b"}, L"a\\\\b", 1, {L"a\\b"}},
        {{L"a", L""}, L"a,", 2, {L"a", L""}},
        {{L"", L"a"}, L",a", 2, {L"", L"a"}},
        {{L",", L"\\", L",\\,"}, L"\\,,\\\\,\\,\\\\\\,", 3, {L",", L"\\", L",\\,"}},
    };
    for (BuildCase const& c : cases) {
        SCOPED_TRACE(c.text);
        VectorString list = listOf(c.added);
        EXPECT_EQ(textOf(list), c.text);
        EXPECT_EQ(list.length(), c.length);
        EXPECT_EQ(elementsOf(list), c.parsed);
    }
}

TEST(VectorStringTest, NarrowElementsAreConvertedAndEscaped) {
    VectorString list;
    list += "a,b";
    list += static_cast<char const*>(nullptr);
    EXPECT_EQ(textOf(list), L"a\\,b,");
    EXPECT_EQ(list.length(), 2);
}

TEST(VectorStringTest, ToVectorSplitsAtUnescapedSeparators) {
    struct {
        wchar_t const* text;
        Texts elements;
    } const cases[] = {
        {nullptr, {}},
        {L"", {}},
        {L"a,", {L"a", L""}},
        {L",", {L"", L""}},
        {L",,", {L"", L"", L""}},
        {L"a\\", {L"a"}},
        {L"\\", {L""}},
        {L"\\x", {L"x"}},
        {L"\\\\", {L"\\"}},
        {L"\\,", {L","}},
        {L"a\\,b,c\\\\,", {L"a,b", L"c\\", L""}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text == nullptr ? L"(null)" : c.text);
        EXPECT_EQ(parsed(c.text), c.elements);
    }
}

TEST(VectorStringTest, ToVectorLeavesOnlyTheParsedElements) {
    StringVector vector;
    for (wchar_t const* stale : {L"one", L"two", L"three"}) {
        vector.addString(stale);
    }
    VectorString::toVector(L"x,y", vector);
    EXPECT_EQ(textsOf(vector), (Texts{L"x", L"y"}));
    VectorString::toVector(nullptr, vector);
    EXPECT_EQ(vector.length(), 0);
}

// Random lists over an alphabet rich in separators and escapes: whatever is added with +=
// comes back from toVector, and survives both ways of appending.
TEST(VectorStringTest, RandomListsRoundTrip) {
    std::mt19937 random(20261122);
    std::wstring const alphabet = L"ab,\\ \u00e9";
    auto randomElements = [&] {
        Texts elements(1 + random() % 6);
        for (std::wstring& element : elements) {
            for (unsigned size = random() % 7; size > 0; --size) {
                element += alphabet[random() % alphabet.size()];
            }
        }
        return elements;
    };
    auto build = [](Texts const& i_Elements) {
        VectorString list;
        for (std::wstring const& element : i_Elements) {
            list += element.c_str();
        }
        return list;
    };
    for (int round = 0; round < 3000; ++round) {
        Texts const first = randomElements();
        Texts const second = randomElements();
        VectorString list = build(first);
        SCOPED_TRACE(textOf(list));
        // One empty element is the one list whose text reads back as no element.
        bool const readsAsEmpty = first.size() == 1 && first[0].empty();
        EXPECT_EQ(elementsOf(list), readsAsEmpty ? Texts{} : first);

        VectorString reparsed;
        reparsed.append(static_cast<wchar_t const*>(list));
        EXPECT_EQ(textOf(reparsed), textOf(list));
        EXPECT_EQ(reparsed.length(), readsAsEmpty ? 0 : list.length());

        Texts joined = first;
        joined.insert(joined.end(), second.begin(), second.end());
        list.append(build(second));
        EXPECT_EQ(list.length(), static_cast<int>(joined.size()));
        EXPECT_EQ(elementsOf(list), joined);
    }
}

TEST(VectorStringTest, AppendTextTakesAnEscapedList) {
    struct {
        wchar_t const* appended;
        wchar_t const* text;
        int length;
    } const cases[] = {
        {nullptr, L"", 0},   {L"", L"", 0},           {L"\\x", L"x", 1}, {L"a\\", L"a", 1},
        {L"a,b", L"a,b", 2}, {L"a\\,b", L"a\\,b", 1}, {L",", L",", 2},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        VectorString list;
        list.append(c.appended);
        EXPECT_EQ(textOf(list), c.text);
        EXPECT_EQ(list.length(), c.length);
    }
    VectorString list;
    list.append(static_cast<char const*>(nullptr)).append("a,b");
    EXPECT_EQ(list.length(), 2);
}

TEST(VectorStringTest, AppendListJoinsTheTextsAsTheyStand) {
    struct {
        std::vector<wchar_t const*> target, appended;
        wchar_t const* text;
        int length;
    } const cases[] = {
        {{L"x"}, {}, L"x,", 1},
        {{}, {}, L"", 0},
        {{}, {L"a", L"b"}, L"a,b", 2},
        {{L"a"}, {L"b,", L"c"}, L"a,b\\,,c", 3},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        VectorString list = listOf(c.target);
        list.append(listOf(c.appended));
        EXPECT_EQ(textOf(list), c.text);
        EXPECT_EQ(list.length(), c.length);
    }
    // The separator added for an empty list shows as a second element.
    EXPECT_EQ(elementsOf(listOf({L"x"}).append(VectorString())), (Texts{L"x", L""}));

    VectorString self = listOf({L"a", L"b"});
    self.append(self);
    EXPECT_EQ(textOf(self), L"a,b");
    EXPECT_EQ(self.length(), 2);
}

struct Ordering {
    bool eq, ne, lt, le, gt, ge;
};

template <typename Right>
void expectOrdering(VectorString const& i_Left, Right const& i_Right, Ordering const& i_Expected) {
    EXPECT_EQ(i_Left == i_Right, i_Expected.eq);
    EXPECT_EQ(i_Left != i_Right, i_Expected.ne);
    EXPECT_EQ(i_Left < i_Right, i_Expected.lt);
    EXPECT_EQ(i_Left <= i_Right, i_Expected.le);
    EXPECT_EQ(i_Left > i_Right, i_Expected.gt);
    EXPECT_EQ(i_Left >= i_Right, i_Expected.ge);
}

// The counts decide < and > first, while == looks at the texts alone.
TEST(VectorStringTest, ListsCompareByCountThenText) {
    struct {
        std::vector<wchar_t const*> left, right;
        Ordering expected;
    } const cases[] = {
        {{}, {L""}, {true, false, true, true, false, true}},
        {{L""}, {}, {true, false, false, true, true, true}},
        {{L"a"}, {L"a"}, {true, false, false, true, false, true}},
        {{L"a"}, {L"b"}, {false, true, true, true, false, false}},
        {{L"b"}, {L"a"}, {false, true, false, false, true, true}},
        {{L"z"}, {L"a", L"a"}, {false, true, true, true, false, false}},
        {{L"a", L"b"}, {L"a,b"}, {false, true, false, false, true, true}},
    };
    for (auto const& c : cases) {
        VectorString const left = listOf(c.left);
        VectorString const right = listOf(c.right);
        SCOPED_TRACE(textOf(left) + L" against " + textOf(right));
        expectOrdering(left, right, c.expected);
    }
}

TEST(VectorStringTest, WideTextsCompareWithTheEscapedText) {
    struct {
        wchar_t const* text;
        Ordering expected;
    } const cases[] = {
        {L"a\\,b", {true, false, false, true, false, true}},
        {L"a,b", {false, true, false, false, true, true}},
        {L"b", {false, true, true, true, false, false}},
        {nullptr, {false, true, true, true, false, false}},
    };
    VectorString const list = listOf({L"a,b"});
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text == nullptr ? L"(null)" : c.text);
        expectOrdering(list, c.text, c.expected);
    }
}

TEST(VectorStringTest, CopiesAreIndependentAndResetStartsOver) {
    VectorString original = listOf({L"a", L"b"});
    VectorString copy(original);
    copy += L"c";
    EXPECT_EQ(textOf(original), L"a,b");
    EXPECT_EQ(textOf(copy), L"a,b,c");

    VectorString assigned = listOf({L"x"});
    assigned = original;
    VectorString const& itself = assigned;
    assigned = itself;
    EXPECT_EQ(textOf(assigned), L"a,b");
    EXPECT_EQ(assigned.length(), 2);

    original.reset();
    EXPECT_EQ(original.length(), 0);
    ASSERT_NE(static_cast<wchar_t const*>(original), nullptr);
    EXPECT_EQ(textOf(original), L"");
    original += L"d";
    EXPECT_EQ(textOf(original), L"d");
}

} // namespace
