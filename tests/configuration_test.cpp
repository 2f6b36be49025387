#include <Tessarine/Configuration.h>

#include "support/Texts.h"

#include <gtest/gtest.h>

using Tessarine::Configuration;
using Tessarine::String;
using Tessarine::StringVector;
using TessarineTest::Texts;

namespace {

// The values of the key through getProperties, checked against the other two readers:
// getProperty gives the first of them (or empty text and "not found"), the count their number.
Texts valuesOf(Configuration const& i_Set, wchar_t const* i_Key) {
    StringVector values;
    values.addString(L"stale");
    EXPECT_EQ(i_Set.getProperties(i_Key, values), PLUGIN_OK);
    Texts const texts = TessarineTest::textsOf(values);
    String first = L"stale";
    EXPECT_EQ(i_Set.getProperty(i_Key, first),
              texts.empty() ? PLUGIN_ERROR_PROPERTY_NOT_FOUND : PLUGIN_OK);
    EXPECT_EQ(std::wstring(first), texts.empty() ? L"" : texts[0]);
    EXPECT_EQ(i_Set.getPropertiesCount(i_Key), static_cast<int>(texts.size()));
    return texts;
}

TEST(ConfigurationTest, OneSetPerNameUntilItsCleanup) {
    Configuration *set = nullptr, *other = nullptr;
    ASSERT_EQ(Configuration::get(L"a set", set), PLUGIN_OK);
    ASSERT_EQ(Configuration::get(std::wstring(L"a set").c_str(), other), PLUGIN_OK);
    EXPECT_EQ(other, set);
    ASSERT_EQ(Configuration::get(L"", other), PLUGIN_OK);
    EXPECT_NE(other, set);
    EXPECT_EQ(Configuration::get(nullptr, other), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(Configuration::cleanup(nullptr), PLUGIN_ERROR_INVALID_ARGUMENT);
    set->setProperty(L"k", L"v");
    for (wchar_t const* name : {L"a set", L"a set", L"", L"never created"}) {
        EXPECT_EQ(Configuration::cleanup(name), PLUGIN_OK) << name;
    }
    EXPECT_EQ(Configuration::m_Configurations.count(L"a set") +
                  Configuration::m_Configurations.count(L""),
              0U);
    ASSERT_EQ(Configuration::get(L"a set", set), PLUGIN_OK);
    EXPECT_EQ(valuesOf(*set, L"k"), Texts{}) << "a set made again starts empty";
    EXPECT_EQ(Configuration::cleanup(L"a set"), PLUGIN_OK);
}

// Values of one key stand in the order set, also among keys that sort just before and after
// it. The set stays in the registry on purpose: it is destroyed when the library is unloaded,
// and LeakSanitizer fails the test if it is not.
TEST(ConfigurationTest, ValuesOfAKeyStandInTheOrderSet) {
    Configuration* set = nullptr;
    ASSERT_EQ(Configuration::get(L"left at exit", set), PLUGIN_OK);
    std::pair<wchar_t const*, wchar_t const*> const settings[] = {
        {L"k", L"a"},  {L"j", L"x"}, {L"kk", L"y"}, {L"k", L"b"},
        {L"kk", L"w"}, {L"", L"z"},  {L"k", L"a"},  {L"empty", L""}};
    for (auto const& [key, value] : settings) {
        EXPECT_EQ(set->setProperty(key, value), PLUGIN_OK);
    }
    std::pair<wchar_t const*, Texts> const expected[] = {{L"k", {L"a", L"b", L"a"}},
                                                         {L"kk", {L"y", L"w"}},
                                                         {L"", {L"z"}},
                                                         {L"empty", {L""}},
                                                         {L"missing", {}}};
    for (auto const& [key, values] : expected) {
        EXPECT_EQ(valuesOf(*set, key), values) << '"' << key << '"';
    }
}

} // namespace
