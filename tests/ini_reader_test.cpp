#include <Tessarine/IniFileReader.h>

#include "support/ScopedLocale.h"

#include <IniContent.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <locale>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

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

// The content as "[section]key|value;key|value;[section]...". No input of the tests that use it
// holds a '|', so the split between key and value is unambiguous.
std::wstring dump(IniFileReader& i_Reader) {
    std::wstring out;
    for (auto const& section : TessarineSupport::readContent(i_Reader)) {
        out += L"[" + section.m_Name + L"]";
        for (auto const& entry : section.m_Entries) {
            out += entry.m_Key + L"|" + entry.m_Value + L";";
        }
    }
    return out;
}

std::wstring read(std::string const& i_Bytes) {
    TempFile const file(i_Bytes);
    IniFileReader reader(file.wide().c_str());
    return dump(reader);
}

// White space and the conversion of the path follow LC_CTYPE: tests run under "C".
class IniReader : public ::testing::Test {
    ScopedLocale const m_Locale{"C"};
};

struct FileCase {
    char const* m_Name;
    std::string m_Bytes;
    std::wstring m_Contents;
};

std::vector<FileCase> const FILE_CASES = {
    // Key lines: where the key ends and what separates it from the value.
    {"Equals", "key=value", L"[]key|value;"},
    {"ColonInBlanks", "key : value", L"[]key|value;"},
    {"BlankOnly", "key value", L"[]key|value;"},
    {"KeyAlone", "key", L"[]key|;"},
    {"EmptyKey", "=value", L"[]|value;"},
    {"OnlyOneSeparator", "a = = b", L"[]a|= b;"},
    {"EvenRunBeforeEquals", "a\\\\=b", L"[]a\\|b;"},
    {"OddRunBeforeEquals", "a\\\\\\=b=c", L"[]a\\=b|c;"},
    {"BlankNotEscapable", "a\\ b=c", L"[]a\\|b=c;"},
    {"EscapedEqualsStartsValue", "key \\=x", L"[]key|=x;"},
    {"ValueKeepsTrailingBlanks", "key = value  ", L"[]key|value  ;"},
    {"NoTrailingComment", "a=b # c", L"[]a|b # c;"},
    {"CarriageReturnEndsKey", "a\rb\n", L"[]a|b;"},
    {"InnerCarriageReturnStays", "a=b\rc=d\n", L"[]a|b\rc=d;"},
    {"OtherWhiteSpace", "\v\fk\tv", L"[]k|v;"},
    {"NulIsPlainText", "a\0b=c\0"s, L"[]a\0b|c\0;"s},
    // Comments and section headers.
    {"Comments", "#a=1\n  !b=2\n;c=3", L""},
    {"IndentedHeader", "  [s]  \nk=v", L"[s]k|v;"},
    {"TextAfterHeaderIgnored", "[s]k=v", L""},
    {"HeaderNotTrimmed", "[ s ]\nk=v", L"[ s ]k|v;"},
    {"BackslashDoesNotProtectBracket", "[a\\]b]\nk=v", L"[a\\]k|v;"},
    {"BracketAlone", "[\nk=v", L"[]k|v;"},
    {"UnclosedHeader", "[a\nk=v", L"[a]k|v;"},
    {"EscapedBracketInHeader", "[a\\u005Db]\nk=v", L"[a]b]k|v;"},
    {"EndsInHeader", "k=v\n[s]", L"[]k|v;"},
    {"EmptyFile", "", L""},
    // Rows and continuations.
    {"TwoContinuations", "a=b\\\n c\\\n  d", L"[]a|bcd;"},
    {"OddRunKeepsTheRest", "a=b\\\\\\\nc", L"[]a|b\\c;"},
    {"EvenRunEndsLine", "a=b\\\\\nc=d", L"[]a|b\\;c|d;"},
    {"ContinuationAtEndOfFile", "a=b\\", L"[]a|b;"},
    {"BackslashBlankContinuesNothing", "a=b\\ ", L"[]a|b ;"},
    {"ContinuationOverCrLf", "a=b\\\r\nc", L"[]a|bc;"},
    {"HeaderOverTwoRows", "[s\\\nt]\nk=v", L"[st]k|v;"},
    {"CommentSwallowsNextRow", "# x\\\na=b\nc=d", L"[]c|d;"},
    // The store: sections by their first key line, keys by first appearance, last value wins;
    // names are identified by their decoded text, NUL included.
    {"SectionsComeBack", "a=1\n[s]\nb=2\n[]\nc=3\n[s]\nd=4", L"[]a|1;c|3;[s]b|2;d|4;"},
    {"RepeatedKeys", "a=1\n[s]\nb=2\na=3\n[t]\n[s]\nc=4\nb=5\n", L"[]a|1;[s]b|5;a|3;c|4;"},
    {"PositionOfFirstKey", "[t]\n[u]\nk=1\n[t]\nk=2\n", L"[u]k|1;[t]k|2;"},
    {"DecodedNames", "[a\\u0062]\nk=1\n[ab]\n\\k=2\nj=3\n", L"[ab]k|2;j|3;"},
    {"FirstCharacterAbove255", "k=\\u0100", L"[]k|\x100;"},
    // "beah" and "cu1r" share their hash, and ten keys are found through the hash index.
    {"HashCollision", "a=1\nb=1\nc=1\nd=1\ne=1\nf=1\ng=1\nh=1\nbeah=1\ncu1r=2",
     L"[]a|1;b|1;c|1;d|1;e|1;f|1;g|1;h|1;beah|1;cu1r|2;"},
    {"NulInNames", "[a]\nk=1\n[a\\u0000]\nk=2\n[a\\u0000b]\nk=3", L"[a]k|1;[a\0]k|2;[a\0b]k|3;"s},
};

void PrintTo(FileCase const& i_Case, std::ostream* o_Stream) {
    *o_Stream << i_Case.m_Name;
}

class IniFile : public testing::TestWithParam<FileCase> {
    ScopedLocale const m_Locale{"C"};
};

TEST_P(IniFile, GivesItsDecodedContents) {
    EXPECT_EQ(read(GetParam().m_Bytes), GetParam().m_Contents);
}

INSTANTIATE_TEST_SUITE_P(Grammar, IniFile, testing::ValuesIn(FILE_CASES),
                         [](testing::TestParamInfo<FileCase> const& i_Info) {
                             return std::string(i_Info.param.m_Name);
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
    EXPECT_EQ(read("[s]\n1\xE9=v\n1\\u00e9=w\n"), L"[S]1\xE9|W;");
    std::wcout.imbue(previous);
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
        EXPECT_EQ(dump(reader), L"");
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
    EXPECT_EQ(dump(reader), L"[]a|1;b|3;c|4;");
    std::remove(file.path.c_str());
    EXPECT_EQ(reader.load(), 0);
    EXPECT_EQ(dump(reader), L"[]a|1;b|3;c|4;");
}

// Where a refill of the 1000-byte read buffer falls must not change what is read: a long row,
// a CR LF pair and a continuation split by a refill, and a file that ends at the buffer's end.
TEST_F(IniReader, RefillsAreInvisible) {
    for (size_t pad = 990; pad <= 1010; ++pad) {
        std::string const x(pad, 'x');
        EXPECT_EQ(read("k=" + x + "\\\r\n  y\r\nz=1\r\n"), L"[]k|" + widened(x) + L"y;z|1;") << pad;
    }
    std::string const row(998, 'v');
    EXPECT_EQ(read("k=" + row), L"[]k|" + widened(row) + L";");
}

} // namespace
