// Independent objects on different threads share nothing: four threads at once each work through
// readers, strings, vectors, lists, a plug-in and a property set of their own, and each must come
// to what one thread alone comes to. Registry calls, the locale and the first
// StringVector::operator[] are settled before the threads start, as the library asks. Under
// ThreadSanitizer (preset tsan) any data race between them fails the run as well.

#include <Tessarine/Configuration.h>
#include <Tessarine/IniFileReader.h>
#include <Tessarine/String.h>
#include <Tessarine/StringVector.h>
#include <Tessarine/VectorString.h>

#include "support/RecordingPlugin.h"
#include "support/ScopedLocale.h"

#include <IniContent.h>

#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <thread>

using Tessarine::String;
using Tessarine::StringVector;

namespace {

constexpr int ROUNDS = 100;

/// The properties file as a listing of sections, keys and values.
std::wstring readFile() {
    Tessarine::IniFileReader reader(L"" TESSARINE_THREADS_FILE);
    std::wstring listing;
    for (TessarineSupport::IniSection const& section : TessarineSupport::readContent(reader)) {
        listing += L"[" + section.m_Name + L"]";
        for (TessarineSupport::IniSection::Entry const& entry : section.m_Entries) {
            listing += entry.m_Key + L"=" + entry.m_Value + L";";
        }
    }
    return listing;
}

/// Strings converted, mapped, trimmed and ordered, sorted by the locale in a vector, joined into
/// a list and split again.
std::wstring workOnTexts(std::wstring const& i_Seed) {
    StringVector words;
    for (char const* word : {"  Grüße ", "zebra", "Äpfel,\\", "apple", " 42 "}) {
        String text(word);
        text += i_Seed.c_str();
        text.trim();
        text.toUpperCase();
        words.addString(text);
    }
    words.sort(false);
    Tessarine::VectorString list;
    for (int index = 0; index < words.length(); ++index) {
        list += static_cast<wchar_t const*>(words[index]);
    }
    StringVector* const parsed = list.getVector();
    std::wstring result = static_cast<wchar_t const*>(list);
    for (int index = 0; index < parsed->length(); ++index) {
        char* const multibyte = String::getMultibyteString((*parsed)[index]);
        result += L"|" + std::to_wstring(String::collate((*parsed)[index], words[0]) > 0) +
                  std::to_wstring(std::string(multibyte).size());
        std::free(multibyte);
    }
    delete parsed;
    return result;
}

/// A plug-in's lease cycle with the properties of its expressions.
std::wstring workOnPlugin() {
    TessarineTest::RecordingPlugin plugin;
    plugin.initialize();
    std::wstring result;
    for (int round = 0; round < 3; ++round) {
        Tessarine::Expression* expression = nullptr;
        plugin.getExpression(L"recording", &expression);
        expression->setProperty(L"round", std::to_wstring(round).c_str());
        result += static_cast<TessarineTest::RecordingExpression*>(expression)->dump();
        plugin.disposeExpression(expression);
    }
    plugin.cleanup();
    return result + std::to_wstring(plugin.m_Created) + std::to_wstring(plugin.m_Destroyed);
}

/// A property set, given to this thread alone, filled and read back.
std::wstring workOnConfiguration(Tessarine::Configuration& io_Set) {
    for (wchar_t const* value : {L"one", L"two", L"three"}) {
        io_Set.setProperty(L"key", value);
    }
    StringVector values;
    io_Set.getProperties(L"key", values);
    String first;
    io_Set.getProperty(L"key", first);
    return std::to_wstring(values.length()) + static_cast<wchar_t const*>(first);
}

std::wstring work(std::wstring const& i_Seed, Tessarine::Configuration& io_Set) {
    std::wstring result;
    for (int round = 0; round < ROUNDS; ++round) {
        result = readFile() + workOnTexts(i_Seed) + workOnPlugin() + workOnConfiguration(io_Set);
    }
    return result;
}

TEST(ThreadsTest, IndependentObjectsShareNothing) {
    ScopedLocale const locale("C.UTF-8");
    StringVector settle;
    settle.addString(L"x");
    (void)settle[0]; // builds the marker every vector shares, before any thread can race on it

    constexpr std::size_t THREADS = 4;
    std::array<Tessarine::Configuration*, THREADS + 1> sets{};
    std::array<std::wstring, THREADS + 1> names;
    for (std::size_t set = 0; set <= THREADS; ++set) {
        names[set] = L"threads_test." + std::to_wstring(set);
        ASSERT_EQ(Tessarine::Configuration::get(names[set].c_str(), sets[set]), PLUGIN_OK);
    }
    std::wstring const alone = work(L"é", *sets[THREADS]);

    std::array<std::wstring, THREADS> results;
    std::array<std::thread, THREADS> threads;
    for (std::size_t thread = 0; thread < THREADS; ++thread) {
        threads[thread] = std::thread([&, thread] { results[thread] = work(L"é", *sets[thread]); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::wstring const& result : results) {
        EXPECT_EQ(result, alone);
    }
    for (std::wstring const& name : names) {
        Tessarine::Configuration::cleanup(name.c_str());
    }
}

} // namespace
