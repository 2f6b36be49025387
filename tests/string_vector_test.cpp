#include <Tessarine/StringVector.h>

#include <gtest/gtest.h>

#include "support/AllocationCounter.h"
#include "support/ScopedLocale.h"

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <initializer_list>
#include <new>
#include <random>
#include <string>
#include <vector>

using Tessarine::String;
using Tessarine::StringVector;
using TessarineTest::CountingAllocations;

namespace {


constexpr wchar_t MARKER[] = L"!!OUT OF BOUNDS!!";

void fill(StringVector& o_Vector, std::initializer_list<wchar_t const*> i_Texts) {
    for (wchar_t const* text : i_Texts) {
        ASSERT_EQ(o_Vector.addString(text), PLUGIN_OK);
    }
}

std::vector<std::wstring> texts(StringVector const& i_Vector) {
    std::vector<std::wstring> result;
    for (int i = 0; i < i_Vector.length(); ++i) {
        result.emplace_back(static_cast<wchar_t const*>(i_Vector[i]));
    }
    return result;
}

std::vector<String const*> addresses(StringVector const& i_Vector) {
    std::vector<String const*> result;
    for (int i = 0; i < i_Vector.length(); ++i) {
        result.push_back(&i_Vector[i]);
    }
    return result;
}

using Texts = std::vector<std::wstring>;

TEST(StringVectorTest, IndexPastTheEndGivesTheMarker) {
    StringVector v;
    EXPECT_EQ(v.length(), 0);
    EXPECT_EQ(std::wstring(v[0]), MARKER);
    fill(v, {L"a", nullptr});
    EXPECT_EQ(texts(v), (Texts{L"a", L""})) << "a null text adds an empty String";
    EXPECT_EQ(std::wstring(v[2]), MARKER);
    EXPECT_EQ(&v[2], &StringVector()[0]) << "one marker serves every vector";
}

TEST(StringVectorTest, RemoveAllKeepsStringsForReuse) {
    StringVector v;
    fill(v, {L"first", L"second", L"third"});
    String const& first = v[0];
    v.removeAll();
    EXPECT_EQ(v.length(), 0);
    EXPECT_EQ(std::wstring(v[0]), MARKER);

    fill(v, {L"new"});
    EXPECT_EQ(&v[0], &first);
    EXPECT_EQ(std::wstring(first), L"new");
    v.reset(); // the two spare Strings must be released too (checked by LeakSanitizer)
    EXPECT_EQ(v.length(), 0);
    fill(v, {L"again"});
    EXPECT_EQ(texts(v), Texts{L"again"});
}

TEST(StringVectorTest, RemoveStringChecksTheIndexAgainstTheCount) {
    StringVector v;
    for (int index : {0, 1, 5}) {
        EXPECT_EQ(v.removeString(index), PLUGIN_ERROR_INDEX_OUT_OF_RANGE) << index;
    }
    fill(v, {L"a", L"b", L"c"});
    EXPECT_EQ(v.removeString(3), PLUGIN_ERROR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(v.removeString(1), PLUGIN_OK);
    EXPECT_EQ(texts(v), (Texts{L"a", L"c"}));
    fill(v, {L"d", L"e"}); // a full vector: removing its last slot moves nothing
    EXPECT_EQ(v.removeString(3), PLUGIN_OK);
    fill(v, {L"f", L"g"});
    EXPECT_EQ(texts(v), (Texts{L"a", L"c", L"d", L"f", L"g"}));
}

TEST(StringVectorTest, RemoveStringMovesSpareStringsDown) {
    StringVector v;
    fill(v, {L"a", L"b", L"c", L"d"});
    std::vector<String const*> const original = addresses(v);
    v.removeAll();
    fill(v, {L"x", L"y"});
    ASSERT_EQ(v.removeString(0), PLUGIN_OK);
    EXPECT_EQ(texts(v), Texts{L"y"});

    // The spares that sat in slots 2 and 3 now sit in 1 and 2; slot 3 is empty again.
    fill(v, {L"p", L"q", L"r"});
    EXPECT_EQ(texts(v), (Texts{L"y", L"p", L"q", L"r"}));
    EXPECT_EQ(&v[1], original[2]);
    EXPECT_EQ(&v[2], original[3]);
    EXPECT_NE(&v[3], original[2]);
    EXPECT_NE(&v[3], original[3]);
}

TEST(StringVectorTest, AddingAnElementOfTheSameVectorSurvivesGrowth) {
    StringVector v;
    fill(v, {L"one", L"two", L"three", L"four"});
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(v.addString(v[i]), PLUGIN_OK);
    }
    EXPECT_EQ(texts(v),
              (Texts{L"one", L"two", L"three", L"four", L"one", L"two", L"three", L"four"}));
}

TEST(StringVectorTest, AssignmentRefillsTheTargetsOwnStrings) {
    StringVector source;
    fill(source, {L"s1", L"s2"});
    StringVector target;
    fill(target, {L"t1", L"t2", L"t3"});
    std::vector<String const*> const before = addresses(target);

    target = source;
    EXPECT_EQ(texts(target), (Texts{L"s1", L"s2"}));
    EXPECT_EQ(&target[0], before[0]);
    EXPECT_EQ(&target[1], before[1]);
    EXPECT_NE(&target[0], &source[0]);

    StringVector& alias = target;
    target = alias;
    EXPECT_EQ(texts(target), (Texts{L"s1", L"s2"}));
    EXPECT_EQ(addresses(target), (std::vector<String const*>{before[0], before[1]}));

    target = StringVector();
    EXPECT_EQ(target.length(), 0);
    fill(target, {L"reused"});
    EXPECT_EQ(&target[0], before[0]);
}

TEST(StringVectorTest, CopyTakesOnlyTheLiveStrings) {
    StringVector source;
    fill(source, {L"stale", L"stale", L"stale", L"stale", L"stale"});
    source.removeAll();
    fill(source, {L"a", L"b"});

    StringVector const copy(source);
    EXPECT_EQ(texts(copy), (Texts{L"a", L"b"}));
    EXPECT_EQ(std::wstring(copy[2]), MARKER);
    EXPECT_NE(&copy[0], &source[0]);
}

TEST(StringVectorTest, FailedGrowthLeavesTheVectorAsItWas) {
    StringVector v;
    fill(v, {L"kept"});
    EXPECT_EQ(v.resizeBuffer((1 << 30) + 1), PLUGIN_ERROR_OUT_OF_MEMORY);
    if (!TESSARINE_ALLOCATION_FAILURES) {
        GTEST_SKIP() << "allocations cannot be made to fail under AddressSanitizer";
    }
    {
        CountingAllocations const failing(1); // the slot array
        EXPECT_EQ(v.addString(L"lost"), PLUGIN_ERROR_OUT_OF_MEMORY);
    }
    EXPECT_EQ(texts(v), Texts{L"kept"});

    ASSERT_EQ(v.resizeBuffer(2), PLUGIN_OK);
    for (long failAt : {1L, 2L, 3L}) { // the new String, its first buffer, the text's growth
        {
            CountingAllocations const failing(failAt);
            EXPECT_THROW(v.addString(L"lost text"), std::bad_alloc) << failAt;
        }
        EXPECT_EQ(texts(v), Texts{L"kept"}) << failAt;
    }
    fill(v, {L"added"});
    EXPECT_EQ(texts(v), (Texts{L"kept", L"added"}));
}

// Random texts of mixed scripts, with repeats and text that has no multibyte form.
std::vector<std::wstring> randomTexts(std::size_t i_Count, unsigned int i_Seed) {
    std::mt19937 random(i_Seed);
    std::wstring const alphabet = L"aAbBzZ09 -_\u00E9\u00C9\u00DF\u0416\u4E2D\U0001F600";
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    std::uniform_int_distribution<int> length(0, 6);
    std::vector<std::wstring> result;
    for (std::size_t i = 0; i < i_Count; ++i) {
        std::wstring text;
        for (int n = length(random); n > 0; --n) {
            text += alphabet[pick(random)];
        }
        if (i % 17 == 0) {
            text += static_cast<wchar_t>(0xD800 + i % 64);
        }
        result.push_back(text);
        if (i % 11 == 0) {
            result.push_back(text);
        }
    }
    return result;
}

TEST(StringVectorTest, SortGivesExactlyTheCollateOrder) {
    ScopedLocale const locale("C.UTF-8");
    for (bool descending : {false, true}) {
        SCOPED_TRACE(descending ? "descending" : "ascending");
        StringVector v;
        for (std::wstring const& text : randomTexts(500, descending ? 2u : 1u)) {
            ASSERT_EQ(v.addString(text.c_str()), PLUGIN_OK);
        }
        std::vector<String const*> expected = addresses(v);
        std::sort(expected.begin(), expected.end(), [&](String const* a, String const* b) {
            return descending ? String::collate(*b, *a) < 0 : String::collate(*a, *b) < 0;
        });
        v.sort(descending);
        EXPECT_EQ(addresses(v), expected);
    }
}

TEST(StringVectorTest, SortBothWaysReversesAndLeavesSparesAlone) {
    ScopedLocale const locale("C.UTF-8");
    StringVector v;
    fill(v, {L"spare", L"spare", L"spare", L"spare"});
    std::vector<String const*> const original = addresses(v);
    v.removeAll();
    fill(v, {L"b", L"\u00E9", L"a"});

    v.sort(false);
    EXPECT_EQ(texts(v), (Texts{L"a", L"b", L"\u00E9"}));
    v.sort(true);
    EXPECT_EQ(texts(v), (Texts{L"\u00E9", L"b", L"a"}));
    fill(v, {L"last"});
    EXPECT_EQ(&v[3], original[3]);

    StringVector single;
    single.sort(false);
    fill(single, {L"only"});
    single.sort(true);
    EXPECT_EQ(texts(single), Texts{L"only"});
}

} // namespace
