#include "IniListing.h"

#include "Text.h"

#include <cstdint>

namespace TessarineTools {
namespace {

void appendJsonCharacter(std::string& io_Out, std::uint32_t i_Code) {
    if (i_Code == '"' || i_Code == '\\') {
        io_Out += '\\';
        io_Out += static_cast<char>(i_Code);
    } else if (i_Code >= 0x20 && i_Code < 0x7F) {
        io_Out += static_cast<char>(i_Code);
    } else {
        io_Out += TessarineExamples::utf16Escape(i_Code <= 0x10FFFF ? i_Code : 0xFFFD);
    }
}

} // namespace

std::vector<IniSection> readSections(Tessarine::IniFileReader& io_Reader) {
    std::vector<IniSection> sections;
    for (int index = 0; index < io_Reader.getSectionCount(); ++index) {
        IniSection section{io_Reader.getSectionAt(index), {}};
        for (int key = 0; key < io_Reader.getKeyCount(section.m_Name); ++key) {
            IniSection::Entry entry{io_Reader.getKeyAt(section.m_Name, key), {}};
            io_Reader.getProperty(section.m_Name, entry.m_Key, entry.m_Value);
            section.m_Entries.push_back(std::move(entry));
        }
        sections.push_back(std::move(section));
    }
    return sections;
}

void writeListing(std::ostream& o_Out, std::vector<IniSection> const& i_Sections) {
    using TessarineExamples::displayText;
    char const* separator = "";
    for (IniSection const& section : i_Sections) {
        o_Out << separator << '[' << displayText(section.m_Name) << "]\n";
        for (IniSection::Entry const& entry : section.m_Entries) {
            o_Out << displayText(entry.m_Key) << " = " << displayText(entry.m_Value) << '\n';
        }
        separator = "\n";
    }
}

std::string jsonString(std::wstring const& i_Text) {
    std::string quoted = "\"";
    for (wchar_t const character : i_Text) {
        appendJsonCharacter(quoted, static_cast<std::uint32_t>(character));
    }
    return quoted + '"';
}

void writeJson(std::ostream& o_Out, std::wstring const& i_File,
               std::vector<IniSection> const& i_Sections) {
    o_Out << "{\"file\": " << jsonString(i_File) << ", \"sections\": [";
    char const* sectionSeparator = "";
    for (IniSection const& section : i_Sections) {
        o_Out << sectionSeparator << "\n  {\"name\": " << jsonString(section.m_Name)
              << ", \"keys\": [";
        char const* keySeparator = "";
        for (IniSection::Entry const& entry : section.m_Entries) {
            o_Out << keySeparator << "\n    {\"key\": " << jsonString(entry.m_Key)
                  << ", \"value\": " << jsonString(entry.m_Value) << '}';
            keySeparator = ",";
        }
        o_Out << "]}";
        sectionSeparator = ",";
    }
    o_Out << "]}\n";
}

} // namespace TessarineTools
