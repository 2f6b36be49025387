#ifndef TESSARINE_SUPPORT_INI_CONTENT_H
#define TESSARINE_SUPPORT_INI_CONTENT_H

#include <Tessarine/IniFileReader.h>

#include <string>
#include <utility>
#include <vector>

namespace TessarineSupport {

/// One section as a reader holds it: its keys in the order of their first appearance, each with
/// its last value.
struct IniSection {
    struct Entry {
        std::wstring m_Key;
        std::wstring m_Value;
    };
    std::wstring m_Name;
    std::vector<Entry> m_Entries;
};

/// Walks everything a reader holds without keeping a copy: i_OnSection(name) for every section,
/// in the order of its first key line, then i_OnEntry(section, key, value) for each of its keys.
template <typename OnSection, typename OnEntry>
void visitContent(Tessarine::IniFileReader& io_Reader, OnSection i_OnSection, OnEntry i_OnEntry) {
    int const sections = io_Reader.getSectionCount();
    std::wstring value;
    for (int index = 0; index < sections; ++index) {
        std::wstring const name = io_Reader.getSectionAt(index);
        i_OnSection(name);
        int const keys = io_Reader.getKeyCount(name);
        for (int key = 0; key < keys; ++key) {
            std::wstring const keyName = io_Reader.getKeyAt(name, key);
            io_Reader.getProperty(name, keyName, value);
            i_OnEntry(name, keyName, value);
        }
    }
}

/// Everything a reader holds, copied: every section, in the order of its first key line, every
/// key and its value.
inline std::vector<IniSection> readContent(Tessarine::IniFileReader& io_Reader) {
    std::vector<IniSection> sections;
    visitContent(
        io_Reader,
        [&sections](std::wstring const& i_Name) {
            sections.push_back({i_Name, {}});
        },
        [&sections](std::wstring const&, std::wstring const& i_Key, std::wstring const& i_Value) {
            sections.back().m_Entries.push_back({i_Key, i_Value});
        });
    return sections;
}

} // namespace TessarineSupport

#endif
