#include <Tessarine/Configuration.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Tessarine::Configuration;
using Tessarine::String;
using Tessarine::StringVector;

namespace {

std::vector<std::wstring> valuesOf(Configuration const& i_Set, wchar_t const* i_Key) {
    StringVector values;
    EXPECT_EQ(i_Set.getProperties(i_Key, values), PLUGIN_OK);
    std::vector<std::wstring> texts;
    for (int index = 0; index < values.length(); ++index) {
        texts.emplace_back(static_cast<wchar_t const*>(values[index]));
    }
    return texts;
}

bool isRegistered(wchar_t const* i_Name) {
    return Configuration::m_Configurations.count(String(i_Name)) == 1;
}

// Every test works on a set of its own and leaves the registry as it found it.
class ConfigurationTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(Configuration::get(L"test set", m_Set), PLUGIN_OK); }
    void TearDown() override { EXPECT_EQ(Configuration::cleanup(L"test set"), PLUGIN_OK); }

    Configuration* m_Set = nullptr;
};

TEST_F(ConfigurationTest, EqualNamesGiveTheSameSet) {
    std::wstring const sameText = L"test set";
    Configuration* again = nullptr;
    ASSERT_EQ(Configuration::get(sameText.c_str(), again), PLUGIN_OK);
    EXPECT_EQ(again, m_Set);

    Configuration* unnamed = nullptr;
    ASSERT_EQ(Configuration::get(L"", unnamed), PLUGIN_OK);
    EXPECT_NE(unnamed, nullptr);
    EXPECT_NE(unnamed, m_Set);
    EXPECT_TRUE(isRegistered(L""));
    EXPECT_EQ(Configuration::cleanup(L""), PLUGIN_OK);
    EXPECT_FALSE(isRegistered(L""));
}

TEST_F(ConfigurationTest, NullNamesAreRefusedWithoutChange) {
    size_t const registered = Configuration::m_Configurations.size();
    Configuration* out = m_Set;
    EXPECT_EQ(Configuration::get(nullptr, out), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(Configuration::cleanup(nullptr), PLUGIN_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(Configuration::m_Configurations.size(), registered);
    EXPECT_TRUE(isRegistered(L"test set"));
}

TEST_F(ConfigurationTest, CleanupEndsTheSetAndGetStartsAFreshOne) {
    m_Set->setProperty(L"k", L"v");
    EXPECT_EQ(Configuration::cleanup(L"test set"), PLUGIN_OK);
    EXPECT_FALSE(isRegistered(L"test set"));
    EXPECT_EQ(Configuration::cleanup(L"test set"), PLUGIN_OK);
    EXPECT_EQ(Configuration::cleanup(L"never created"), PLUGIN_OK);

    ASSERT_EQ(Configuration::get(L"test set", m_Set), PLUGIN_OK);
    EXPECT_EQ(m_Set->getPropertiesCount(L"k"), 0);
}

// Values of one key keep the order in which they were set, also among neighbouring keys
// that sort just before and after it.
TEST_F(ConfigurationTest, ValuesOfAKeyStandInTheOrderSet) {
    wchar_t const* const settings[][2] = {
        {L"k", L"a"}, {L"j", L"x"}, {L"k", L"b"}, {L"kk", L"y"}, {L"", L"z"}, {L"k", L"a"},
    };
    for (auto const& setting : settings) {
        EXPECT_EQ(m_Set->setProperty(setting[0], setting[1]), PLUGIN_OK);
    }
    EXPECT_EQ(m_Set->getPropertiesCount(L"k"), 3);
    EXPECT_EQ(valuesOf(*m_Set, L"k"), (std::vector<std::wstring>{L"a", L"b", L"a"}));
    EXPECT_EQ(valuesOf(*m_Set, L""), (std::vector<std::wstring>{L"z"}));

    m_Set->setProperty(L"k", L"c");
    String value = L"stale";
    EXPECT_EQ(m_Set->getProperty(L"k", value), PLUGIN_OK);
    EXPECT_STREQ(value, L"a");
}

TEST_F(ConfigurationTest, MissingKeysEmptyTheOutputs) {
    m_Set->setProperty(L"empty", L"");

    String value = L"stale";
    EXPECT_EQ(m_Set->getProperty(L"missing", value), PLUGIN_ERROR_PROPERTY_NOT_FOUND);
    EXPECT_STREQ(value, L"");
    value = L"stale";
    EXPECT_EQ(m_Set->getProperty(L"empty", value), PLUGIN_OK);
    EXPECT_STREQ(value, L"");

    StringVector values;
    values.addString(L"stale");
    EXPECT_EQ(m_Set->getProperties(L"missing", values), PLUGIN_OK);
    EXPECT_EQ(values.length(), 0);
    EXPECT_EQ(m_Set->getPropertiesCount(L"missing"), 0);
}

TEST_F(ConfigurationTest, PropertiesAreCopies) {
    String key = L"key";
    String value = L"value";
    m_Set->setProperty(key, value);
    key = L"changed";
    value = L"changed";

    String stored;
    EXPECT_EQ(m_Set->getProperty(L"key", stored), PLUGIN_OK);
    EXPECT_STREQ(stored, L"value");
}

// On purpose without cleanup: the registry destroys the set when the library is unloaded,
// and LeakSanitizer fails this test if it does not.
TEST(ConfigurationRegistryTest, SetsLeftAtExitAreReleased) {
    Configuration* left = nullptr;
    ASSERT_EQ(Configuration::get(L"left at exit", left), PLUGIN_OK);
    for (wchar_t const* value : {L"one", L"two", L"three"}) {
        left->setProperty(L"key", value);
    }
    EXPECT_TRUE(isRegistered(L"left at exit"));
}

} // namespace
