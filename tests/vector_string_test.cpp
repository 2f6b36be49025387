#include <Tessarine/VectorString.h>

#include "support/Texts.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <utility>

using Tessarine::StringVector;
using Tessarine::VectorString;
using TessarineTest::Texts;
using TessarineTest::textsOf;

namespace {

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
        {{}, {L""}, "== < <= >="},         {{L""}, {}, "== <= > >="},
        {{L"a"}, {L"b"}, "!= < <="},       {{L"b"}, {L"a"}, "!= > >="},
        {{L"z"}, {L"a", L"a"}, "!= < <="}, {{L"a", L"b"}, {L"a,b"}, "!= > >="}};
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
