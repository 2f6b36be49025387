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

/// Everything a reader holds: every section, in the order of its first key line, every key and
/// its value.
inline std::vector<IniSection> readContent(Tessarine::IniFileReader& io_Reader) {
    std::vector<IniSection> sections(static_cast<std::size_t>(io_Reader.getSectionCount()));
    for (std::size_t index = 0; index < sections.size(); ++index) {
        IniSection& section = sections[index];
        section.m_Name = io_Reader.getSectionAt(static_cast<int>(index));
        int const keys = io_Reader.getKeyCount(section.m_Name);
        for (int key = 0; key < keys; ++key) {
            IniSection::Entry entry{io_Reader.getKeyAt(section.m_Name, key), {}};
            io_Reader.getProperty(section.m_Name, entry.m_Key, entry.m_Value);
            section.m_Entries.push_back(std::move(entry));
        }
    }
    return sections;
}

} // namespace TessarineSupport

#endif
