#include <Tessarine/IniFileReader.h>

#include "support/AllocationCounter.h"
#include "support/ScopedLocale.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <new>
#include <string>
#include <unistd.h>
#include <vector>

using Tessarine::IniFileReader;

namespace {

struct Entry {
    std::wstring section;
    std::wstring key;
    std::wstring value;
    bool operator==(Entry const& i_Other) const {
        return section == i_Other.section && key == i_Other.key && value == i_Other.value;
    }
};

std::ostream& operator<<(std::ostream& io_Out, std::wstring const& i_Text) {
    for (wchar_t const c : i_Text) {
        if (c >= 32 && c < 127) {
            io_Out << static_cast<char>(c);
        } else {
            io_Out << "\\x" << std::hex << static_cast<unsigned long>(c) << std::dec << ';';
        }
    }
    return io_Out;
}

std::ostream& operator<<(std::ostream& io_Out, Entry const& i_Entry) {
    io_Out << '[';
    operator<<(io_Out, i_Entry.section) << "] <";
    operator<<(io_Out, i_Entry.key) << "> = <";
    return operator<<(io_Out, i_Entry.value) << '>';
}

std::wstring widened(std::string const& i_Path) {
    return std::wstring(i_Path.begin(), i_Path.end());
}

// A file in the temporary directory that lives as long as the object.
class TempFile {
public:
    explicit TempFile(std::string const& i_Bytes, std::string const& i_Suffix = "") {
        char const* dir = std::getenv("TMPDIR");
        std::string pattern = std::string(dir != nullptr ? dir : "/tmp") + "/ini_test_XXXXXX";
        int const fd = mkstemp(pattern.data());
        EXPECT_GE(fd, 0);
        close(fd);
        m_Path = pattern + i_Suffix;
        if (!i_Suffix.empty()) {
            std::rename(pattern.c_str(), m_Path.c_str());
        }
        write(i_Bytes);
    }
    ~TempFile() { std::remove(m_Path.c_str()); }
    TempFile(TempFile const&) = delete;
    TempFile& operator=(TempFile const&) = delete;

    void write(std::string const& i_Bytes) const {
        std::FILE* file = std::fopen(m_Path.c_str(), "wb");
        ASSERT_NE(file, nullptr);
        std::fwrite(i_Bytes.data(), 1, i_Bytes.size(), file);
        std::fclose(file);
    }
    std::string const& path() const { return m_Path; }

private:
    std::string m_Path;
};

// Everything the reader holds, section by section and key by key, through its queries.
std::vector<Entry> contents(IniFileReader& i_Reader) {
    std::vector<Entry> entries;
    for (int s = 0; s < i_Reader.getSectionCount(); ++s) {
        std::wstring const section = i_Reader.getSectionAt(s);
        for (int k = 0; k < i_Reader.getKeyCount(section); ++k) {
            Entry entry{section, i_Reader.getKeyAt(section, k), L""};
            EXPECT_EQ(i_Reader.getProperty(section, entry.key, entry.value), 1);
            entries.push_back(entry);
        }
    }
    return entries;
}

std::vector<Entry> read(std::string const& i_Bytes) {
    TempFile const file(i_Bytes);
    IniFileReader reader(widened(file.path()).c_str());
    return contents(reader);
}

// White space and the conversion of the path follow LC_CTYPE: tests run under "C".
class IniReader : public ::testing::Test {
    ScopedLocale const m_Locale{"C"};
};

struct SyntaxCase {
    char const* name;
    std::string input;
    std::vector<Entry> expected;
};

void PrintTo(SyntaxCase const& i_Case, std::ostream* o_Out) {
    *o_Out << i_Case.name;
}

class IniSyntax : public IniReader, public ::testing::WithParamInterface<SyntaxCase> {};

TEST_P(IniSyntax, DeliversTheDecodedEntries) {
    EXPECT_EQ(read(GetParam().input), GetParam().expected);
}

std::vector<SyntaxCase> const syntaxCases = {
    {"Equals", "key=value", {{L"", L"key", L"value"}}},
    {"EqualsInBlanks", "key = value", {{L"", L"key", L"value"}}},
    {"Colon", "key:value", {{L"", L"key", L"value"}}},
    {"ColonInBlanks", "key : value", {{L"", L"key", L"value"}}},
    {"BlankOnly", "key value", {{L"", L"key", L"value"}}},
    {"KeyAlone", "key", {{L"", L"key", L""}}},
    {"EmptyValue", "key=", {{L"", L"key", L""}}},
    {"EmptyValueTrailingBlanks", "key =  ", {{L"", L"key", L""}}},
    {"EmptyKey", "=value", {{L"", L"", L"value"}}},
    {"SeparatorAlone", ":", {{L"", L"", L""}}},
    {"SecondEqualsIsValue", "a=b=c", {{L"", L"a", L"b=c"}}},
    {"BlankEndsKey", "a b=c", {{L"", L"a", L"b=c"}}},
    {"OnlyOneSeparator", "a = = b", {{L"", L"a", L"= b"}}},
    {"ColonThenEquals", "a:=b", {{L"", L"a", L"=b"}}},
    {"EscapedEquals", "a\\=b=c", {{L"", L"a=b", L"c"}}},
    {"EvenRunBeforeEquals", "a\\\\=b", {{L"", L"a\\", L"b"}}},
    {"OddRunBeforeEquals", "a\\\\\\=b=c", {{L"", L"a\\=b", L"c"}}},
    {"EscapedColon", "a\\:b c", {{L"", L"a:b", L"c"}}},
    {"BlankNotEscapable", "a\\ b=c", {{L"", L"a\\", L"b=c"}}},
    {"EscapedEqualsStartsValue", "key \\=x", {{L"", L"key", L"=x"}}},
    {"ValueKeepsTrailingBlanks", "key = value  ", {{L"", L"key", L"value  "}}},
    {"HashInsideKey", "a#b=c", {{L"", L"a#b", L"c"}}},
    {"NoTrailingComment", "a=b # c", {{L"", L"a", L"b # c"}}},
    {"EscapedHashKey", "\\#a=b", {{L"", L"#a", L"b"}}},
    {"CarriageReturnEndsKey", "a\rb\n", {{L"", L"a", L"b"}}},
    {"InnerCarriageReturnStays", "a=b\rc=d\n", {{L"", L"a", L"b\rc=d"}}},
    {"Comment", "#key=value", {}},
    {"IndentedComment", "  # x=1", {}},
    {"BangAndSemicolonComments", "!a=1\n;b=2", {}},
    {"Header", "[s]\nk=v", {{L"s", L"k", L"v"}}},
    {"IndentedHeader", "  [s]  \nk=v", {{L"s", L"k", L"v"}}},
    {"TextAfterHeaderIgnored", "[s]k=v", {}},
    {"KeyAfterHeaderIgnored", "[s] x=1\nk=v", {{L"s", L"k", L"v"}}},
    {"HeaderNotTrimmed", "[ s ]\nk=v", {{L" s ", L"k", L"v"}}},
    {"BackslashDoesNotProtectBracket", "[a\\]b]\nk=v", {{L"a\\", L"k", L"v"}}},
    {"BracketAlone", "[\nk=v", {{L"", L"k", L"v"}}},
    {"EmptyHeader", "[]\nk=v", {{L"", L"k", L"v"}}},
    {"UnclosedHeader", "[a\nk=v", {{L"a", L"k", L"v"}}},
    {"HeaderWithEquals", "[a=b]\nk=v", {{L"a=b", L"k", L"v"}}},
    {"EscapedBracketInHeader", "[a\\u005Db]\nk=v", {{L"a]b", L"k", L"v"}}},
    {"Continuation", "a=b\\\n   c", {{L"", L"a", L"bc"}}},
    {"TwoContinuations", "a=b\\\n c\\\n  d", {{L"", L"a", L"bcd"}}},
    {"OddRunKeepsTheRest", "a=b\\\\\\\nc", {{L"", L"a", L"b\\c"}}},
    {"ContinuationAtEndOfFile", "a=b\\", {{L"", L"a", L"b"}}},
    {"BackslashBlankContinuesNothing", "a=b\\ ", {{L"", L"a", L"b "}}},
    {"ContinuationOverCrLf", "a=b\\\r\nc", {{L"", L"a", L"bc"}}},
    {"HeaderOverTwoRows", "[s\\\nt]\nk=v", {{L"st", L"k", L"v"}}},
    {"RowsOfOneBackslash", "\\\n\\\na=b", {{L"", L"a", L"b"}}},
    {"OneBackslashThenEmptyRow", "\\\n\na=b", {{L"", L"a", L"b"}}},
    {"CarriageReturnsAroundRow", "\ra=b\r\r\n", {{L"", L"a", L"b"}}},
    {"EvenRunEndsLine", "a=b\\\\\nc=d", {{L"", L"a", L"b\\"}, {L"", L"c", L"d"}}},
    {"EmptyRowEndsContinuation", "a=b\\\n\nc=d", {{L"", L"a", L"b"}, {L"", L"c", L"d"}}},
    {"BlankRowEndsContinuation", "a=b\\\n  \nc=d", {{L"", L"a", L"b"}, {L"", L"c", L"d"}}},
    {"CommentSwallowsNextRow", "# x\\\na=b\nc=d", {{L"", L"c", L"d"}}},
    {"CommentSwallowsHeader", "# x\\\n[s]\nk=v", {{L"", L"k", L"v"}}},
    {"OtherWhiteSpace", "\v\fk\tv", {{L"", L"k", L"v"}}},
    {"BlankInKeyOnlyByEscape", "a\\u0020b=c", {{L"", L"a b", L"c"}}},
    {"EscapedLeadingBlankInValue", "a=\\ b", {{L"", L"a", L" b"}}},
    {"NulIsPlainText",
     std::string("a\0b=c\0", 6),
     {{L"", std::wstring(L"a\0b", 3), std::wstring(L"c\0", 2)}}},
    {"SectionsComeBack",
     "a=1\n[s]\nb=2\n[]\nc=3\n[s]\nd=4",
     {{L"", L"a", L"1"}, {L"", L"c", L"3"}, {L"s", L"b", L"2"}, {L"s", L"d", L"4"}}},
    {"EmptyFile", "", {}},
    {"NothingButSpaceAndComments", "\n\n \t\r\n\r\r\n# c\n; d\n", {}},
    {"EndsInHeader", "k=v\n[s]", {{L"", L"k", L"v"}}},
};

INSTANTIATE_TEST_SUITE_P(Lines, IniSyntax, ::testing::ValuesIn(syntaxCases),
                         [](auto const& i_Info) { return std::string(i_Info.param.name); });

struct UnescapeCase {
    std::string raw;
    std::wstring decoded;
};

TEST_F(IniReader, UnescapeDecodesSequences) {
    std::vector<UnescapeCase> const cases = {
        {"", L""},
        {"abc", L"abc"},
        {"\\n", L"n"},
        {"\\t", L"t"},
        {"\\x41", L"x41"},
        {"\\\\", L"\\"},
        {"\\=", L"="},
        {"\\:", L":"},
        {"\\#", L"#"},
        {"\\ ", L" "},
        {"\\u0041", L"A"},
        {"\\U0041", L"A"},
        {"\\u0041b", L"Ab"},
        {"\\U00000041", std::wstring(1, L'\0') + L"0041"},
        {"\\u00e9", std::wstring(1, wchar_t(0xE9))},
        {"\\u00E9", std::wstring(1, wchar_t(0xE9))},
        {"\\uD83D\\uDE00", {wchar_t(0xD83D), wchar_t(0xDE00)}},
        {"\\uFFFF", std::wstring(1, wchar_t(0xFFFF))},
        {"\\u0000", std::wstring(1, L'\0')},
        {"\\u41", L"\\u41"},
        {"\\u004", L"\\u004"},
        {"\\u", L"\\u"},
        {"\\u00zz", std::wstring(1, L'\0')},
        {"\\uzzzz", std::wstring(1, L'\0')},
        {"\\u12G4", std::wstring(1, wchar_t(0x1204))},
        {"\\\\u0041", L"\\u0041"},
        {"\\\\\\u0041", L"\\A"},
        {"\\\\\\\\u0041", L"\\\\u0041"},
        {"\\", L"\\"},
        {"a\\", L"a\\"},
        {"\\\\\\", L"\\\\"},
        {"\\u123\\\\u0041", std::wstring(1, wchar_t(0x1230)) + L"\\u0041"},
        {"\\\xE9\xE9", {std::wcout.widen('\xE9'), std::wcout.widen('\xE9')}},
    };
    IniFileReader reader(L"");
    for (auto const& c : cases) {
        EXPECT_EQ(reader.unescape(c.raw), c.decoded) << "raw: " << c.raw;
    }
}

TEST_F(IniReader, Hex2charReadsTwoDigits) {
    struct Case {
        char const* digits;
        unsigned value;
    };
    Case const cases[] = {{"00", 0},   {"41", 65}, {"ff", 255}, {"FF", 255}, {"fF", 255},
                          {"9a", 154}, {"g1", 1},  {"1g", 16},  {"gg", 0}};
    IniFileReader reader(L"");
    for (auto const& c : cases) {
        EXPECT_EQ(reader.hex2char(c.digits), c.value) << c.digits;
    }
    char const unterminated[2] = {'7', 'f'};
    EXPECT_EQ(reader.hex2char(unterminated), 127u);
}

TEST_F(IniReader, RepeatedKeysAndReopenedSectionsMerge) {
    TempFile const file("a=1\n[s]\nb=2\na=3\n[t]\n[s]\nc=4\nb=5\n");
    IniFileReader reader(widened(file.path()).c_str());
    EXPECT_EQ(contents(reader),
              (std::vector<Entry>{
                  {L"", L"a", L"1"}, {L"s", L"b", L"5"}, {L"s", L"a", L"3"}, {L"s", L"c", L"4"}}));
    EXPECT_EQ(reader.getKeyCount(L"t"), 0);
}

TEST_F(IniReader, SectionTakesItsPositionFromItsFirstKey) {
    EXPECT_EQ(read("[t]\n[u]\nk=1\n[t]\nk=2\n"),
              (std::vector<Entry>{{L"u", L"k", L"1"}, {L"t", L"k", L"2"}}));
}

TEST_F(IniReader, NamesAreIdentifiedByDecodedText) {
    TempFile const file("[a\\u0062]\nk=1\n[ab]\n\\k=2\nj=3\n");
    IniFileReader reader(widened(file.path()).c_str());
    EXPECT_EQ(contents(reader), (std::vector<Entry>{{L"ab", L"k", L"2"}, {L"ab", L"j", L"3"}}));
    EXPECT_EQ(reader.getKeyCount(L"a\\u0062"), 0);
}

TEST_F(IniReader, NulCharacterIsPartOfAName) {
    TempFile const file("[a]\nk=1\n[a\\u0000]\nk=2\n[a\\u0000b]\nk=3\n");
    IniFileReader reader(widened(file.path()).c_str());
    std::wstring value;
    EXPECT_EQ(reader.getSectionCount(), 3);
    EXPECT_EQ(reader.getProperty(std::wstring(L"a\0", 2), L"k", value), 1);
    EXPECT_EQ(value, L"2");
    EXPECT_EQ(reader.getProperty(std::wstring(L"a\0b", 3), L"k", value), 1);
    EXPECT_EQ(value, L"3");
    EXPECT_EQ(reader.getProperty(L"a", L"k", value), 1);
    EXPECT_EQ(value, L"1");
}

TEST_F(IniReader, QueriesOutsideTheStoreGiveEmptyAnswers) {
    TempFile const file("k=\n[s]\nx=1\n");
    IniFileReader reader(widened(file.path()).c_str());
    EXPECT_EQ(reader.getSectionAt(-1), L"");
    EXPECT_EQ(reader.getSectionAt(2), L"");
    EXPECT_EQ(reader.getKeyAt(L"s", -1), L"");
    EXPECT_EQ(reader.getKeyAt(L"s", 1), L"");
    EXPECT_EQ(reader.getKeyAt(L"none", 0), L"");
    EXPECT_EQ(reader.getKeyCount(L"none"), 0);

    std::wstring value = L"kept";
    EXPECT_EQ(reader.getProperty(L"s", L"y", value), 0);
    EXPECT_EQ(reader.getProperty(L"none", L"x", value), 0);
    EXPECT_EQ(value, L"kept");
    EXPECT_EQ(reader.getProperty(L"", L"k", value), 1);
    EXPECT_EQ(value, L"");
}

TEST_F(IniReader, FileThatCannotBeOpenedGivesAnEmptyStore) {
    std::wstring const missing = L"/nonexistent-dir/none.ini";
    for (std::wstring const& path : {missing, std::wstring()}) {
        IniFileReader reader(path.c_str());
        EXPECT_EQ(reader.getSectionCount(), 0);
        EXPECT_EQ(reader.getKeyCount(L""), 0);
        EXPECT_EQ(reader.load(), 0);
    }
}

TEST_F(IniReader, PathIsConvertedInTheCurrentLocale) {
    std::string const suffix = "-\xC3\xA9.ini";
    TempFile const file("k=v", suffix);
    std::wstring const path =
        widened(file.path().substr(0, file.path().size() - suffix.size())) + L"-\u00e9.ini";
    EXPECT_EQ(IniFileReader(path.c_str()).getSectionCount(), 0); // "C" cannot convert it
    ScopedLocale const utf8("C.UTF-8");
    EXPECT_EQ(IniFileReader(path.c_str()).getSectionCount(), 1);
}

TEST_F(IniReader, SecondLoadMergesAndNeverReadsAClosedStream) {
    TempFile const file("a=1\nb=2\n");
    IniFileReader reader(widened(file.path()).c_str());
    file.write("b=3\nc=4\n");
    EXPECT_EQ(reader.load(), 1);
    EXPECT_EQ(contents(reader),
              (std::vector<Entry>{{L"", L"a", L"1"}, {L"", L"b", L"3"}, {L"", L"c", L"4"}}));
    std::remove(file.path().c_str());
    EXPECT_EQ(reader.load(), 0);
    EXPECT_EQ(reader.getKeyCount(L""), 3);
}

#if TESSARINE_ALLOCATION_FAILURES
size_t openDescriptors() {
    auto const entries = std::filesystem::directory_iterator("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

// Whichever allocation of the constructor fails, the stream does not stay open behind it.
TEST_F(IniReader, FailedAllocationInTheConstructorReleasesTheStream) {
    TempFile const file("[s]\nk=v\nlong=" + std::string(3000, 'x') + "\n");
    std::wstring const path = widened(file.path());
    long allocations = 0;
    {
        TessarineTest::CountingAllocations const counting;
        IniFileReader const reader(path.c_str());
        allocations = counting.count();
    }
    size_t const before = openDescriptors();
    int failures = 0;
    for (long failAt = 1; failAt <= allocations; ++failAt) {
        try {
            TessarineTest::CountingAllocations const failing(failAt);
            IniFileReader const reader(path.c_str());
        } catch (std::bad_alloc const&) {
            ++failures;
        }
        EXPECT_EQ(openDescriptors(), before) << "allocation " << failAt;
    }
    EXPECT_GT(failures, 0);
}
#endif

// Where a refill of the 1000-byte read buffer falls must not change what is read: a long row,
// a CR LF pair and a continuation split by a refill, and files that end at the buffer's end.
TEST_F(IniReader, RefillsAreInvisible) {
    for (size_t pad = 990; pad <= 1010; ++pad) {
        std::string const x(pad, 'x');
        EXPECT_EQ(read("k=" + x + "\\\r\n  y\r\nz=1\r\n"),
                  (std::vector<Entry>{{L"", L"k", widened(x) + L"y"}, {L"", L"z", L"1"}}))
            << pad;
    }
    std::string const row(997, 'v');
    EXPECT_EQ(read("k=" + row + "\n"), (std::vector<Entry>{{L"", L"k", widened(row)}}));
    EXPECT_EQ(read("k=" + row + "v"), (std::vector<Entry>{{L"", L"k", widened(row) + L"v"}}));
    std::string const longRow(5000, 'w');
    EXPECT_EQ(read("[" + longRow + "]\n" + longRow + "=" + longRow),
              (std::vector<Entry>{{widened(longRow), widened(longRow), widened(longRow)}}));
}

TEST_F(IniReader, BytesAboveAsciiArePlainText) {
    wchar_t const e9 = std::wcout.widen('\xE9');
    wchar_t const a0 = std::wcout.widen('\xA0');
    EXPECT_EQ(read("\xA0k=\xE9\n"), (std::vector<Entry>{{L"", {a0, L'k'}, {e9}}}));
}

TEST_F(IniReader, ReadsARealisticFile) {
    char const* dir = std::getenv("TESSARINE_TEST_DATA");
    ASSERT_NE(dir, nullptr);
    IniFileReader reader(widened(std::string(dir) + "/ini/plugin.ini").c_str());
    EXPECT_EQ(contents(reader),
              (std::vector<Entry>{{L"", L"name", L"Sample plug-in"},
                                  {L"", L"version", L"1.2"},
                                  {L"paths", L"data", L"/var/lib/sample"},
                                  {L"paths", L"search", L"/usr/lib/a:/usr/lib/b"},
                                  {L"paths", L"C:\\temp", L"windows = yes"},
                                  {L"messages", L"greeting", L"Gr\u00fc\u00dfe, world"},
                                  {L"messages", L"long", L"one two three"},
                                  {L"messages", L"empty", L""}}));
}

} // namespace
