#include <Tessarine/IniFileReader.h>

#include "support/ScopedLocale.h"

#include <IniContent.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <locale>
#include <string>
#include <unistd.h>
#include <utility>

using Tessarine::IniFileReader;
using namespace std::string_literals;

namespace {

std::wstring widened(std::string const& i_Text) {
    return std::wstring(i_Text.begin(), i_Text.end());
}

// A file in the temporary directory that lives as long as the object.
struct TempFile {
    explicit TempFile(std::string const& i_Bytes, std::string const& i_Suffix = "")
        : path(::testing::TempDir() + "ini_test_XXXXXX" + i_Suffix) {
        close(mkstemps(path.data(), static_cast<int>(i_Suffix.size())));
        write(i_Bytes);
    }
    ~TempFile() { std::remove(path.c_str()); }
    TempFile(TempFile const&) = delete;

    void write(std::string const& i_Bytes) const {
        std::ofstream(path, std::ios::binary) << i_Bytes;
    }
    std::wstring wide() const { return widened(path); }

    std::string path;
};

// White space and the conversion of the path follow LC_CTYPE: tests run under "C".
class IniReader : public ::testing::Test {
    ScopedLocale const m_Locale{"C"};
};

// What the reader holds, one "[section]" line before the "key|value" lines of its keys, with a
// backslash, the bar and every character outside printable ASCII written as "\x<hex>;".
std::string listing(IniFileReader& i_Reader) {
    auto const visible = [](std::wstring const& i_Text) {
        std::string out;
        for (wchar_t const character : i_Text) {
            bool const plain =
                character >= 0x20 && character < 0x7F && character != L'\\' && character != L'|';
            char hex[16];
            std::snprintf(hex, sizeof hex, "\\x%X;", static_cast<unsigned>(character));
            out += plain ? std::string(1, static_cast<char>(character)) : hex;
        }
        return out;
    };
    std::string out;
    for (auto const& section : TessarineSupport::readContent(i_Reader)) {
        out += "[" + visible(section.m_Name) + "]\n";
        for (auto const& entry : section.m_Entries) {
            out += visible(entry.m_Key) + "|" + visible(entry.m_Value) + "\n";
        }
    }
    return out;
}

std::string read(std::string const& i_Bytes) {
    TempFile const file(i_Bytes);
    IniFileReader reader(file.wide().c_str());
    return listing(reader);
}

// The grammar's cases, a file each with the listing it must give: NAME.ini and NAME.expected.
class GrammarFile : public testing::TestWithParam<char const*> {
    ScopedLocale const m_Locale{"C"};
};

TEST_P(GrammarFile, GivesItsExpectedListing) {
    std::string const path = std::string(TESSARINE_GRAMMAR_DIR "/") + GetParam();
    std::ifstream expected(path + ".expected", std::ios::binary);
    ASSERT_TRUE(expected) << path << ".expected";
    IniFileReader reader(widened(path + ".ini").c_str());
    EXPECT_EQ(listing(reader), std::string(std::istreambuf_iterator<char>(expected), {}));
}

INSTANTIATE_TEST_SUITE_P(Grammar, GrammarFile,
                         testing::Values("keys", "headers", "continuations", "store", "empty"),
                         [](testing::TestParamInfo<char const*> const& i_Info) {
                             return std::string(i_Info.param);
                         });

// A character facet that the program brings widens every byte, as it does in unescape(). This one
// also widens bytes above 127 to their own values, as \u00XX decodes: the names are the same.
TEST_F(IniReader, BytesAreWidenedByTheFacetOfWcout) {
    struct Shouting : std::ctype<wchar_t> {
        using std::ctype<wchar_t>::do_widen;
        wchar_t do_widen(char i_Byte) const override {
            return static_cast<wchar_t>(std::toupper(static_cast<unsigned char>(i_Byte)));
        }
    };
    std::locale const previous = std::wcout.imbue(std::locale(std::wcout.getloc(), new Shouting));
    EXPECT_EQ(read("[s]\n1\xE9=v\n1\\u00e9=w\n"), "[S]\n1\\xE9;|W\n");
    std::wcout.imbue(previous);
}

// White space is what isspace() says in the LC_CTYPE of each load, also when the locale changes
// between loads on one thread: "spaced" counts the no-break space (0xA0) as white space.
TEST_F(IniReader, WhiteSpaceFollowsTheLocaleOfEachLoad) {
    std::string const text = "\xA0k\xA0=\xA0v\n";
    std::string const inC = read(text);
    EXPECT_NE(inC, "[]\nk|v\n");
    {
        ScopedLocale const spaced("spaced.ISO-8859-1");
        EXPECT_EQ(read(text), "[]\nk|v\n");
    }
    EXPECT_EQ(read(text), inC);
}

TEST_F(IniReader, UnescapeDecodesSequences) {
    // clang-format off
    std::pair<std::string, std::wstring> const cases[] = {
        {"", L""}, {"abc", L"abc"}, {"\\n", L"n"}, {"\\\\", L"\\"}, {"\\=", L"="},
        {"\\ ", L" "}, {"\\u0041", L"A"}, {"\\U0041", L"A"},
        {"\\U00000041", L"\0" L"0041"s}, {"\\u00e9", L"\xE9"},
        {"\\uD83D\\uDE00", L"\xD83D\xDE00"}, {"\\uFFFF", L"\xFFFF"}, {"\\u0000", L"\0"s},
        {"\\u41", L"\\u41"}, {"\\u", L"\\u"}, {"\\uzzzz", L"\0"s}, {"\\u12G4", L"\x1204"},
        {"\\\\u0041", L"\\u0041"}, {"\\\\\\u0041", L"\\A"}, {"a\\", L"a\\"},
        {"\\\\\\", L"\\\\"}, {"\\u123\\\\u0041", L"\x1230\\u0041"},
        {"\\\xE9\xE9", std::wstring(2, std::wcout.widen('\xE9'))}};
    // clang-format on
    IniFileReader reader(L"");
    for (auto const& [raw, decoded] : cases) {
        EXPECT_EQ(reader.unescape(raw), decoded) << "raw: " << raw;
    }
}

// The positions past both ends are walked by the fuzz target; here are the rest of the misses.
TEST_F(IniReader, QueriesOutsideTheStoreGiveEmptyAnswers) {
    TempFile const file("k=\n[s]\nx=1\n");
    IniFileReader reader(file.wide().c_str());
    EXPECT_EQ(reader.getKeyAt(L"s", -1), L"");
    EXPECT_EQ(reader.getKeyAt(L"none", 0), L"");
    EXPECT_EQ(reader.getKeyCount(L"none"), 0);
    std::wstring value = L"kept";
    EXPECT_EQ(reader.getProperty(L"s", L"y", value) + reader.getProperty(L"none", L"x", value), 0);
    EXPECT_EQ(value, L"kept");
    EXPECT_EQ(reader.getProperty(L"", L"k", value), 1);
    EXPECT_EQ(value, L"");
}

TEST_F(IniReader, FileThatCannotBeOpenedGivesAnEmptyStore) {
    for (wchar_t const* path : {L"/nonexistent-dir/none.ini", L""}) {
        IniFileReader reader(path);
        EXPECT_EQ(listing(reader), "");
        EXPECT_EQ(reader.load(), 0);
    }
}

TEST_F(IniReader, PathIsConvertedInTheCurrentLocale) {
    std::string const suffix = "-\xC3\xA9.ini";
    TempFile const file("k=v", suffix);
    std::wstring const path =
        widened(file.path.substr(0, file.path.size() - suffix.size())) + L"-\u00e9.ini";
    EXPECT_EQ(IniFileReader(path.c_str()).getSectionCount(), 0); // "C" cannot convert it
    ScopedLocale const utf8("C.UTF-8");
    EXPECT_EQ(IniFileReader(path.c_str()).getSectionCount(), 1);
}

TEST_F(IniReader, SecondLoadMergesAndNeverReadsAClosedStream) {
    TempFile const file("a=1\nb=2\n");
    IniFileReader reader(file.wide().c_str());
    file.write("b=3\nc=4\n");
    EXPECT_EQ(reader.load(), 1);
    EXPECT_EQ(listing(reader), "[]\na|1\nb|3\nc|4\n");
    std::remove(file.path.c_str());
    EXPECT_EQ(reader.load(), 0);
    EXPECT_EQ(listing(reader), "[]\na|1\nb|3\nc|4\n");
}

// Where a refill of the 1000-byte read buffer falls must not change what is read: a long row,
// a CR LF pair and a continuation split by a refill, and a file that ends at the buffer's end.
TEST_F(IniReader, RefillsAreInvisible) {
    for (size_t pad = 990; pad <= 1010; ++pad) {
        std::string const x(pad, 'x');
        EXPECT_EQ(read("k=" + x + "\\\r\n  y\r\nz=1\r\n"), "[]\nk|" + x + "y\nz|1\n") << pad;
    }
    std::string const row(998, 'v');
    EXPECT_EQ(read("k=" + row), "[]\nk|" + row + "\n");
}

// A text longer than the store's next chunk gets a chunk of its own, which must hold it to the
// last byte: a text of odd length, and one that an escape makes wide, at four bytes a character.
TEST_F(IniReader, LongTextsFitTheirChunks) {
    std::string const odd(5001, 'o'), wide(20001, 'w');
    EXPECT_EQ(read("o=" + odd + "\nw=\\u0100" + wide + "\n"),
              "[]\no|" + odd + "\nw|\\x100;" + wide + "\n");
}

// Enough names for the indexes to outgrow the cache, as keys of one section and as sections. A
// second load finds every name again: the positions stay and only the values change.
TEST_F(IniReader, LargeIndexesFindEveryName) {
    auto const content = [](std::string const& i_Prefix, bool i_Listing) {
        std::string keys = "[keys]\n", sections;
        for (int i = 0; i < 30000; ++i) {
            std::string const name = std::to_string(i), value = i_Prefix + name;
            keys += "k" + name + (i_Listing ? "|" : "=") + value + "\n";
            sections += "[s" + name + "]\nk" + (i_Listing ? "|" : "=") + value + "\n";
        }
        return keys + sections;
    };
    TempFile const file(content("", false));
    IniFileReader reader(file.wide().c_str());
    EXPECT_EQ(listing(reader), content("", true));
    file.write(content("v", false));
    reader.load();
    EXPECT_EQ(listing(reader), content("v", true));
}

} // namespace
