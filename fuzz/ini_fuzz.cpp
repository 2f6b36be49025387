// Feeds arbitrary bytes to IniFileReader as a properties file, under the C locale and under
// C.UTF-8, walks the whole store through the queries, checks that it is consistent and that it
// holds what the plain model of the format reads from the same bytes. Any crash, leak,
// sanitizer report, broken invariant or difference from the model is a finding.
#include "IniContent.h"
#include "IniModel.h"

#include <Tessarine/IniFileReader.h>

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::string g_Path;

void removeTempFile() {
    std::remove(g_Path.c_str());
}

void check(bool i_Condition) {
    if (!i_Condition) {
        __builtin_trap();
    }
}

void writeInput(uint8_t const* i_Data, size_t i_Size) {
    std::FILE* file = std::fopen(g_Path.c_str(), "wb");
    check(file != nullptr);
    check(std::fwrite(i_Data, 1, i_Size, file) == i_Size);
    std::fclose(file);
}

/// Reads the whole store and checks it against the queries: every section has a key, every key
/// a value, and the positions past either end give the empty string. Gives the store.
std::vector<TessarineSupport::IniSection> walk(Tessarine::IniFileReader& io_Reader) {
    std::vector<TessarineSupport::IniSection> const sections =
        TessarineSupport::readContent(io_Reader);
    check(io_Reader.getSectionAt(-1).empty());
    check(io_Reader.getSectionAt(static_cast<int>(sections.size())).empty());
    for (TessarineSupport::IniSection const& section : sections) {
        check(!section.m_Entries.empty()); // a section exists only because of a key line
        check(
            io_Reader.getKeyAt(section.m_Name, static_cast<int>(section.m_Entries.size())).empty());
        for (TessarineSupport::IniSection::Entry const& entry : section.m_Entries) {
            std::wstring value;
            check(io_Reader.getProperty(section.m_Name, entry.m_Key, value) == 1);
        }
    }
    return sections;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    char const* dir = std::getenv("TMPDIR");
    g_Path = std::string(dir != nullptr ? dir : "/tmp") + "/ini_fuzz_XXXXXX";
    int const fd = mkstemp(g_Path.data());
    check(fd >= 0);
    close(fd);
    std::atexit(removeTempFile);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* i_Data, size_t i_Size) {
    writeInput(i_Data, i_Size);
    std::wstring const path(g_Path.begin(), g_Path.end());
    std::string const bytes(reinterpret_cast<char const*>(i_Data), i_Size);
    // White space follows LC_CTYPE, and the reader samples it at every load.
    for (char const* locale : {"C", "C.UTF-8"}) {
        check(std::setlocale(LC_ALL, locale) != nullptr);
        Tessarine::IniFileReader reader(path.c_str());
        check(TessarineFuzz::sameContent(walk(reader), TessarineFuzz::modelOf(bytes, reader)));
    }
    // The decoder on its own, on text the scanner would have cut into pieces.
    Tessarine::IniFileReader(L"").unescape(bytes);
    return 0;
}
