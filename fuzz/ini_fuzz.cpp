// Feeds arbitrary bytes to IniFileReader as a properties file, then walks the whole store
// through the queries and checks that it is consistent. Any crash, leak, sanitizer report or
// broken invariant is a finding.
#include "IniContent.h"

#include <Tessarine/IniFileReader.h>

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
/// a value, and the positions past either end give the empty string.
void walk(Tessarine::IniFileReader& io_Reader) {
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
    Tessarine::IniFileReader reader(path.c_str());
    walk(reader);
    // The decoder on its own, on text the scanner would have cut into pieces.
    reader.unescape(std::string(reinterpret_cast<char const*>(i_Data), i_Size));
    return 0;
}
