#include <Tessarine/StringVector.h>

#include <gtest/gtest.h>

#include "support/ScopedLocale.h"
#include "support/Texts.h"

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

using Tessarine::String;
using Tessarine::StringVector;

namespace {

using TessarineTest::Texts;
using TessarineTest::textsOf;
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

// Past the end stands one shared marker. Removed Strings stay behind the live ones as spares,
// in order, and adding reuses them; copies take the live strings only, and assignment (of an
// empty vector too) reuses the target's Strings.
TEST(StringVectorTest, RemovedStringsStayForReuse) {
    StringVector v;
    EXPECT_EQ(std::wstring(v[0]), MARKER);
    EXPECT_EQ(v.removeString(0), PLUGIN_ERROR_INDEX_OUT_OF_RANGE);
    fill(v, {L"a", L"b", L"c", nullptr});
    EXPECT_EQ(textsOf(v), (Texts{L"a", L"b", L"c", L""}));
    EXPECT_EQ(&v[4], &StringVector()[0]);
    Addresses const original = addresses(v);
    v.removeAll();
    EXPECT_EQ(std::wstring(v[0]), MARKER);
    fill(v, {L"y", L"x"});
    EXPECT_EQ(addresses(v), (Addresses{original[0], original[1]}));
    v.sort(false); // the live Strings only: the spares c and d would come first
    EXPECT_EQ(addresses(v), (Addresses{original[1], original[0]}));
    EXPECT_EQ(v.removeString(2), PLUGIN_ERROR_INDEX_OUT_OF_RANGE) << "a spare is no element";
    StringVector const copy(v);
    EXPECT_EQ(textsOf(copy), (Texts{L"x", L"y"}));
    StringVector target; // assignment refills the target's own Strings
    fill(target, {L"t1", L"t2", L"t3"});
    Addresses const before = addresses(target);
    target = v;
    target = std::as_const(target);
    EXPECT_EQ(textsOf(target), (Texts{L"x", L"y"}));
    EXPECT_EQ(addresses(target), (Addresses{before[0], before[1]}));
    target = StringVector();
    EXPECT_EQ(target.length(), 0);
    fill(target, {L"reused"});
    EXPECT_EQ(&target[0], before[0]);

    // The spares of slots 2 and 3 move down with the rest; slot 3 needs a new String.
    ASSERT_EQ(v.removeString(0), PLUGIN_OK);
    fill(v, {L"p", L"q", L"r"});
    EXPECT_EQ(textsOf(v), (Texts{L"y", L"p", L"q", L"r"}));
    EXPECT_EQ((Addresses{&v[1], &v[2]}), (Addresses{original[2], original[3]}));
    ASSERT_EQ(v.removeString(3), PLUGIN_OK) << "the last slot of a full vector";
    EXPECT_EQ(textsOf(v), (Texts{L"y", L"p", L"q"}));

    EXPECT_EQ(v.resizeBuffer((1 << 30) + 1), PLUGIN_ERROR_OUT_OF_MEMORY) << "beyond an int";
    EXPECT_EQ(textsOf(v), (Texts{L"y", L"p", L"q"}));
    v.reset(); // LeakSanitizer checks that the spares go too
    fill(v, {L"again"});
    ASSERT_EQ(v.addString(v[0]), PLUGIN_OK) << "its own String, while the slots grow";
    EXPECT_EQ(textsOf(v), (Texts{L"again", L"again"}));
}

// Random texts of mixed scripts, with repeats and text that has no multibyte form, end in
// collate order, and the same Strings stay.
TEST(StringVectorTest, SortGivesTheCollateOrderBothWays) {
    ScopedLocale const locale("C.UTF-8");
    std::mt19937 random(20260314);
    std::wstring const alphabet = L"aAbBzZ09 -_\u00E9\u00C9\u00DF\u0416\u4E2D\U0001F600\xD800";
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
    auto const less = [](String const* a, String const* b) { return String::collate(*a, *b) < 0; };
    for (bool descending : {false, true}) {
        v.sort(descending);
        Addresses const after = addresses(v);
        EXPECT_TRUE(descending ? std::is_sorted(after.rbegin(), after.rend(), less)
                               : std::is_sorted(after.begin(), after.end(), less));
        EXPECT_TRUE(std::is_permutation(after.begin(), after.end(), live.begin(), live.end()));
    }
}

} // namespace
