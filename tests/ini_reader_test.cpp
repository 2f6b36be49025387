#include <Tessarine/IniFileReader.h>

#include "support/AllocationCounter.h"
#include "support/ScopedLocale.h"

#include <IniContent.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <locale>
#include <new>
#include <random>
#include <string>
#include <string_view>
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

// A reader's whole content through its queries, in the order of its positions.
using Content =
    std::vector<std::pair<std::wstring, std::vector<std::pair<std::wstring, std::wstring>>>>;

Content contentOf(IniFileReader& i_Reader) {
    Content content;
    for (auto const& section : TessarineSupport::readContent(i_Reader)) {
        auto& keys =
            content.emplace_back(section.m_Name, Content::value_type::second_type()).second;
        for (auto const& entry : section.m_Entries) {
            keys.emplace_back(entry.m_Key, entry.m_Value);
        }
    }
    return content;
}

// The content as "[section]key|value;key|value;[section]...". No input of the tests that use it
// holds a '|', so the split between key and value is unambiguous.
std::wstring dump(IniFileReader& i_Reader) {
    std::wstring out;
    for (auto const& [section, keys] : contentOf(i_Reader)) {
        out += L"[" + section + L"]";
        for (auto const& [key, value] : keys) {
            out += key + L"|" + value + L";";
        }
    }
    return out;
}

std::wstring read(std::string const& i_Bytes) {
    TempFile const file(i_Bytes);
    IniFileReader reader(file.wide().c_str());
    return dump(reader);
}

// The value of that name in a list of pairs, added at its end when the name is new.
template <typename List> auto& entry(List& io_List, std::wstring const& i_Name) {
    auto const at = std::find_if(io_List.begin(), io_List.end(),
                                 [&](auto const& i_Entry) { return i_Entry.first == i_Name; });
    return at != io_List.end() ? at->second
                               : io_List.emplace_back(i_Name, decltype(at->second)()).second;
}

// The format read the plain way, a byte at a time into lists, with the reader's unescape(): the
// model against which the reader's views, tables and hash indexes are checked.
Content modelOf(std::string const& i_Bytes, IniFileReader& i_Decoder) {
    auto const space = [](char i_Byte) {
        return std::isspace(static_cast<unsigned char>(i_Byte)) != 0;
    };
    auto const separator = [](char i_Byte) { return i_Byte == '=' || i_Byte == ':'; };
    auto const backslashesBefore = [](std::string const& i_Text, size_t i_End) {
        size_t count = 0;
        while (count < i_End && i_Text[i_End - 1 - count] == '\\') {
            ++count;
        }
        return count;
    };
    auto const trimmed = [&](std::string i_Row) {
        size_t start = 0;
        while (start < i_Row.size() && space(i_Row[start])) {
            ++start;
        }
        return i_Row.substr(start);
    };
    std::vector<std::string> rows;
    for (size_t at = 0; at < i_Bytes.size();) {
        size_t const end = std::min(i_Bytes.find('\n', at), i_Bytes.size());
        std::string row = i_Bytes.substr(at, end - at);
        row.erase(0, row.find_first_not_of('\r'));
        row.erase(row.find_last_not_of('\r') + 1);
        rows.push_back(row);
        at = end + 1;
    }
    Content content;
    std::string section;
    for (size_t r = 0; r < rows.size();) {
        std::string line = trimmed(rows[r++]);
        for (bool more = backslashesBefore(line, line.size()) % 2 == 1; more;) {
            line.pop_back();
            std::string const next = r < rows.size() ? trimmed(rows[r++]) : "";
            line += next;
            more = !next.empty() && backslashesBefore(next, next.size()) % 2 == 1;
        }
        if (line.empty() || std::string_view("#!;").find(line[0]) != std::string_view::npos) {
            continue;
        }
        if (line[0] == '[') {
            section = line.substr(1, line.find(']', 1) - 1);
            continue;
        }
        size_t key = 0;
        while (key < line.size() &&
               !(separator(line[key]) ? backslashesBefore(line, key) % 2 == 0 : space(line[key]))) {
            ++key;
        }
        size_t value = key;
        while (value < line.size() && space(line[value])) {
            ++value;
        }
        value += value < line.size() && separator(line[value]) ? 1 : 0;
        while (value < line.size() && space(line[value])) {
            ++value;
        }
        entry(entry(content, i_Decoder.unescape(section)),
              i_Decoder.unescape(line.substr(0, key))) = i_Decoder.unescape(line.substr(value));
    }
    return content;
}

// Text of the pieces that the format gives a meaning, of plain, high and NUL bytes, and of rows
// with one of a hundred keys or section names, so that sections grow long and many.
std::string randomFile(std::mt19937& io_Random) {
    static std::string const pieces[] = {
        "a",  "b",       "k",       "7",       "=",    ":",    " ",    "\t",   "\v", "\\",
        "\\", "\r",      "\n",      "\n",      "\n",   "\r\n", "[",    "]",    "#",  ";",
        "!",  "\\u00e9", "\\u0000", "\\U0041", "\xE9", "\xA0", "\x85", "\xFF", "\0"s};
    std::string file;
    for (size_t count = io_Random() % 1500; count > 0; --count) {
        size_t const piece = io_Random() % (std::size(pieces) + 11);
        std::string const name = std::to_string(io_Random() % 100);
        file += piece < std::size(pieces)    ? pieces[piece]
                : piece == std::size(pieces) ? "\n[s" + name + "]\n"
                                             : "\nn" + name + "=";
    }
    return file;
}

// White space and the conversion of the path follow LC_CTYPE: tests run under "C".
class IniReader : public ::testing::Test {
    ScopedLocale const m_Locale{"C"};
};

struct FileCase {
    char const* name;
    std::string bytes;
    std::wstring contents;
};

std::vector<FileCase> const fileCases = {
    // Key lines: where the key ends and what separates it from the value.
    {"Equals", "key=value", L"[]key|value;"},
    {"EqualsInBlanks", "key = value", L"[]key|value;"},
    {"Colon", "key:value", L"[]key|value;"},
    {"ColonInBlanks", "key : value", L"[]key|value;"},
    {"BlankOnly", "key value", L"[]key|value;"},
    {"KeyAlone", "key", L"[]key|;"},
    {"EmptyValue", "key=", L"[]key|;"},
    {"EmptyValueTrailingBlanks", "key =  ", L"[]key|;"},
    {"EmptyKey", "=value", L"[]|value;"},
    {"SeparatorAlone", ":", L"[]|;"},
    {"SecondEqualsIsValue", "a=b=c", L"[]a|b=c;"},
    {"BlankEndsKey", "a b=c", L"[]a|b=c;"},
    {"OnlyOneSeparator", "a = = b", L"[]a|= b;"},
    {"ColonThenEquals", "a:=b", L"[]a|=b;"},
    {"EscapedEquals", "a\\=b=c", L"[]a=b|c;"},
    {"EvenRunBeforeEquals", "a\\\\=b", L"[]a\\|b;"},
    {"OddRunBeforeEquals", "a\\\\\\=b=c", L"[]a\\=b|c;"},
    {"EscapedColon", "a\\:b c", L"[]a:b|c;"},
    {"BlankNotEscapable", "a\\ b=c", L"[]a\\|b=c;"},
    {"EscapedEqualsStartsValue", "key \\=x", L"[]key|=x;"},
    {"ValueKeepsTrailingBlanks", "key = value  ", L"[]key|value  ;"},
    {"HashInsideKey", "a#b=c", L"[]a#b|c;"},
    {"NoTrailingComment", "a=b # c", L"[]a|b # c;"},
    {"EscapedHashKey", "\\#a=b", L"[]#a|b;"},
    {"CarriageReturnEndsKey", "a\rb\n", L"[]a|b;"},
    {"InnerCarriageReturnStays", "a=b\rc=d\n", L"[]a|b\rc=d;"},
    {"OtherWhiteSpace", "\v\fk\tv", L"[]k|v;"},
    {"BlankInKeyOnlyByEscape", "a\\u0020b=c", L"[]a b|c;"},
    {"EscapedLeadingBlankInValue", "a=\\ b", L"[]a| b;"},
    {"NulIsPlainText", "a\0b=c\0"s, L"[]a\0b|c\0;"s},
    // Comments and section headers.
    {"Comment", "#key=value", L""},
    {"IndentedComment", "  # x=1", L""},
    {"BangAndSemicolonComments", "!a=1\n;b=2", L""},
    {"Header", "[s]\nk=v", L"[s]k|v;"},
    {"IndentedHeader", "  [s]  \nk=v", L"[s]k|v;"},
    {"TextAfterHeaderIgnored", "[s]k=v", L""},
    {"KeyAfterHeaderIgnored", "[s] x=1\nk=v", L"[s]k|v;"},
    {"HeaderNotTrimmed", "[ s ]\nk=v", L"[ s ]k|v;"},
    {"BackslashDoesNotProtectBracket", "[a\\]b]\nk=v", L"[a\\]k|v;"},
    {"BracketAlone", "[\nk=v", L"[]k|v;"},
    {"EmptyHeader", "[]\nk=v", L"[]k|v;"},
    {"UnclosedHeader", "[a\nk=v", L"[a]k|v;"},
    {"HeaderWithEquals", "[a=b]\nk=v", L"[a=b]k|v;"},
    {"EscapedBracketInHeader", "[a\\u005Db]\nk=v", L"[a]b]k|v;"},
    {"EndsInHeader", "k=v\n[s]", L"[]k|v;"},
    {"EmptyFile", "", L""},
    {"NothingButSpaceAndComments", "\n\n \t\r\n\r\r\n# c\n; d\n", L""},
    // Rows and continuations.
    {"Continuation", "a=b\\\n   c", L"[]a|bc;"},
    {"TwoContinuations", "a=b\\\n c\\\n  d", L"[]a|bcd;"},
    {"OddRunKeepsTheRest", "a=b\\\\\\\nc", L"[]a|b\\c;"},
    {"ContinuationAtEndOfFile", "a=b\\", L"[]a|b;"},
    {"BackslashBlankContinuesNothing", "a=b\\ ", L"[]a|b ;"},
    {"ContinuationOverCrLf", "a=b\\\r\nc", L"[]a|bc;"},
    {"HeaderOverTwoRows", "[s\\\nt]\nk=v", L"[st]k|v;"},
    {"RowsOfOneBackslash", "\\\n\\\na=b", L"[]a|b;"},
    {"OneBackslashThenEmptyRow", "\\\n\na=b", L"[]a|b;"},
    {"CarriageReturnsAroundRow", "\ra=b\r\r\n", L"[]a|b;"},
    {"EvenRunEndsLine", "a=b\\\\\nc=d", L"[]a|b\\;c|d;"},
    {"EmptyRowEndsContinuation", "a=b\\\n\nc=d", L"[]a|b;c|d;"},
    {"BlankRowEndsContinuation", "a=b\\\n  \nc=d", L"[]a|b;c|d;"},
    {"CommentSwallowsNextRow", "# x\\\na=b\nc=d", L"[]c|d;"},
    {"CommentSwallowsHeader", "# x\\\n[s]\nk=v", L"[]k|v;"},
    // The store: sections by their first key line, keys by first appearance, last value wins;
    // names are identified by their decoded text, NUL included.
    {"SectionsComeBack", "a=1\n[s]\nb=2\n[]\nc=3\n[s]\nd=4", L"[]a|1;c|3;[s]b|2;d|4;"},
    {"RepeatedKeys", "a=1\n[s]\nb=2\na=3\n[t]\n[s]\nc=4\nb=5\n", L"[]a|1;[s]b|5;a|3;c|4;"},
    {"PositionOfFirstKey", "[t]\n[u]\nk=1\n[t]\nk=2\n", L"[u]k|1;[t]k|2;"},
    {"DecodedNames", "[a\\u0062]\nk=1\n[ab]\n\\k=2\nj=3\n", L"[ab]k|2;j|3;"},
    {"NulInNames", "[a]\nk=1\n[a\\u0000]\nk=2\n[a\\u0000b]\nk=3", L"[a]k|1;[a\0]k|2;[a\0b]k|3;"s},
};

TEST_F(IniReader, FilesGiveTheirDecodedContents) {
    for (auto const& [name, bytes, contents] : fileCases) {
        EXPECT_EQ(read(bytes), contents) << name;
    }
}

TEST_F(IniReader, RandomFilesReadAsTheModelReadsThem) {
    std::mt19937 random(2024);
    TempFile const file("");
    for (char const* locale : {"C", "C.UTF-8"}) {
        ScopedLocale const scoped(locale);
        for (int round = 0; round < 200; ++round) {
            std::string const bytes = randomFile(random);
            file.write(bytes);
            IniFileReader reader(file.wide().c_str());
            ASSERT_EQ(contentOf(reader), modelOf(bytes, reader))
                << locale << ": " << ::testing::PrintToString(bytes);
        }
    }
}

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
    std::pair<std::string, std::wstring> const cases[] = {
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
        {"\\U00000041", L"\0"
                        L"0041"s},
        {"\\u00e9", L"\xE9"},
        {"\\u00E9", L"\xE9"},
        {"\\uD83D\\uDE00", L"\xD83D\xDE00"},
        {"\\uFFFF", L"\xFFFF"},
        {"\\u0000", L"\0"s},
        {"\\u41", L"\\u41"},
        {"\\u004", L"\\u004"},
        {"\\u", L"\\u"},
        {"\\u00zz", L"\0"s},
        {"\\uzzzz", L"\0"s},
        {"\\u12G4", L"\x1204"},
        {"\\\\u0041", L"\\u0041"},
        {"\\\\\\u0041", L"\\A"},
        {"\\\\\\\\u0041", L"\\\\u0041"},
        {"\\", L"\\"},
        {"a\\", L"a\\"},
        {"\\\\\\", L"\\\\"},
        {"\\u123\\\\u0041", L"\x1230\\u0041"},
        {"\\\xE9\xE9", std::wstring(2, std::wcout.widen('\xE9'))},
    };
    IniFileReader reader(L"");
    for (auto const& [raw, decoded] : cases) {
        EXPECT_EQ(reader.unescape(raw), decoded) << "raw: " << raw;
    }
}

TEST_F(IniReader, Hex2charReadsTwoDigits) {
    std::pair<char const*, unsigned> const cases[] = {{"00", 0},   {"41", 65},  {"ff", 255},
                                                      {"FF", 255}, {"fF", 255}, {"9a", 154},
                                                      {"g1", 1},   {"1g", 16},  {"gg", 0}};
    IniFileReader reader(L"");
    for (auto const& [digits, value] : cases) {
        EXPECT_EQ(reader.hex2char(digits), value) << digits;
    }
    char const unterminated[2] = {'7', 'f'};
    EXPECT_EQ(reader.hex2char(unterminated), 127u);
}

TEST_F(IniReader, BytesAboveAsciiArePlainText) {
    std::wstring const key(1, std::wcout.widen('\xA0')), value(1, std::wcout.widen('\xE9'));
    EXPECT_EQ(read("\xA0k=\xE9\n"), L"[]" + key + L"k|" + value + L";");
}

TEST_F(IniReader, QueriesOutsideTheStoreGiveEmptyAnswers) {
    TempFile const file("k=\n[s]\nx=1\n");
    IniFileReader reader(file.wide().c_str());
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

#if TESSARINE_ALLOCATION_FAILURES
// Whichever allocation of the constructor fails, the stream does not stay open behind it.
TEST_F(IniReader, FailedAllocationInTheConstructorReleasesTheStream) {
    TempFile const file("[s]\nk=v\nlong=" + std::string(3000, 'x') + "\n");
    std::wstring const path = file.wide();
    auto const openFiles = [] {
        auto const entries = std::filesystem::directory_iterator("/proc/self/fd");
        return std::distance(begin(entries), end(entries));
    };
    long const allocations = [&] {
        TessarineTest::CountingAllocations const counting;
        IniFileReader const reader(path.c_str());
        return counting.count();
    }();
    auto const before = openFiles();
    int failures = 0;
    for (long failAt = 1; failAt <= allocations; ++failAt) {
        try {
            TessarineTest::CountingAllocations const failing(failAt);
            IniFileReader const reader(path.c_str());
        } catch (std::bad_alloc const&) {
            ++failures;
        }
        EXPECT_EQ(openFiles(), before) << "allocation " << failAt;
    }
    EXPECT_GT(failures, 0);
}
#endif

// A reload cut short by a failed allocation may have stored part of the file, but every name it
// stored is both countable and findable, so the next reload completes the store.
TEST_F(IniReader, FailedReloadLeavesNoNameHalfStored) {
#if TESSARINE_ALLOCATION_FAILURES
    TempFile const file("[alpha]\na=1\n");
    bool done = false;
    for (long failAt = 1; !done; ++failAt) {
        IniFileReader reader(file.wide().c_str());
        file.write("[gamma]\ng1=x\n[alpha]\na=2\nb=3\n");
        try {
            TessarineTest::CountingAllocations const counting(failAt);
            reader.load();
            done = counting.count() < failAt;
        } catch (std::bad_alloc const&) {
        }
        reader.load();
        EXPECT_EQ(dump(reader), L"[alpha]a|2;b|3;[gamma]g1|x;") << "allocation " << failAt;
        file.write("[alpha]\na=1\n");
    }
#else
    GTEST_SKIP() << "AddressSanitizer owns the allocator, so no allocation can be made to fail";
#endif
}

// Where a refill of the 1000-byte read buffer falls must not change what is read: a long row,
// a CR LF pair and a continuation split by a refill, and files that end at the buffer's end.
TEST_F(IniReader, RefillsAreInvisible) {
    for (size_t pad = 990; pad <= 1010; ++pad) {
        std::string const x(pad, 'x');
        EXPECT_EQ(read("k=" + x + "\\\r\n  y\r\nz=1\r\n"), L"[]k|" + widened(x) + L"y;z|1;") << pad;
    }
    std::string const row(997, 'v');
    EXPECT_EQ(read("k=" + row + "\n"), L"[]k|" + widened(row) + L";");
    EXPECT_EQ(read("k=" + row + "v"), L"[]k|" + widened(row) + L"v;");
    std::wstring const w(5000, L'w');
    std::string const longRow(5000, 'w');
    EXPECT_EQ(read("[" + longRow + "]\n" + longRow + "=" + longRow),
              L"[" + w + L"]" + w + L"|" + w + L";");
}

// A key line costs the same however long the header above it: the old code compared the header
// with the previous one on every key line and took minutes here (the test's time limit fails it).
TEST_F(IniReader, LongHeaderDoesNotSlowItsKeys) {
    std::string const name(1 << 24, 's');
    std::string text = "[" + name + "]\n";
    for (int line = 0; line < 1 << 18; ++line) {
        text += "k=v\n";
    }
    TempFile const file(text + "k=last");
    IniFileReader reader(file.wide().c_str());
    std::wstring value;
    EXPECT_EQ(reader.getProperty(widened(name), L"k", value), 1);
    EXPECT_EQ(value, L"last");
}

TEST_F(IniReader, ReadsARealisticFile) {
    char const* dir = std::getenv("TESSARINE_TEST_DATA");
    ASSERT_NE(dir, nullptr);
    IniFileReader reader(widened(std::string(dir) + "/ini/plugin.ini").c_str());
    EXPECT_EQ(dump(reader),
              L"[]name|Sample plug-in;version|1.2;"
              L"[paths]data|/var/lib/sample;search|/usr/lib/a:/usr/lib/b;"
              L"C:\\temp|windows = yes;"
              L"[messages]greeting|Gr\u00fc\u00dfe, world;long|one two three;empty|;");
}

} // namespace
