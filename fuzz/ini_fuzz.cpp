// Feeds arbitrary bytes to IniFileReader as a properties file, then walks the whole store
// through the queries and checks that it is consistent. Any crash, leak, sanitizer report or
// broken invariant is a finding.
#include <Tessarine/IniFileReader.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

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

void walk(Tessarine::IniFileReader& io_Reader) {
    int const sections = io_Reader.getSectionCount();
    check(io_Reader.getSectionAt(-1).empty() && io_Reader.getSectionAt(sections).empty());
    for (int s = 0; s < sections; ++s) {
        std::wstring const section = io_Reader.getSectionAt(s);
        int const keys = io_Reader.getKeyCount(section);
        check(keys > 0); // a section exists only because of a key line
        check(io_Reader.getKeyAt(section, keys).empty());
        for (int k = 0; k < keys; ++k) {
            std::wstring value;
            check(io_Reader.getProperty(section, io_Reader.getKeyAt(section, k), value) == 1);
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
