#ifndef TESSARINE_FUZZ_INI_MODEL_H
#define TESSARINE_FUZZ_INI_MODEL_H

// The format read the plain way: the logical lines of the tools' own grammar, into lists searched
// from the front, with the reader's own unescape() for the decoding. It is slow and obviously
// right, and it is the oracle against which the reader's views, byte tables, arena and hash
// indexes are checked.

#include "IniContent.h"
#include "IniGrammar.h"

#include <Tessarine/IniFileReader.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace TessarineFuzz {

using TessarineSupport::IniSection;

// The element of that name, added at the end when the name is new: the first key line that a
// name appears on fixes its place.
template <typename List, typename Name, typename Field>
auto& named(List& io_List, Name const& i_Name, Field i_Field) {
    auto const at = std::find_if(io_List.begin(), io_List.end(), [&](auto const& i_Element) {
        return i_Element.*i_Field == i_Name;
    });
    if (at != io_List.end()) {
        return *at;
    }
    auto& added = io_List.emplace_back();
    added.*i_Field = i_Name;
    return added;
}

// Sections and keys as the format defines them, in the reader's own shape.
inline std::vector<IniSection> modelOf(std::string const& i_Bytes,
                                       Tessarine::IniFileReader& i_Decoder) {
    std::vector<IniSection> sections;
    std::string_view section;
    std::vector<TessarineSupport::IniLine> const lines = TessarineSupport::iniLines(i_Bytes);
    for (TessarineSupport::IniLine const& line : lines) {
        switch (TessarineSupport::iniLineKind(line.m_Text)) {
        case TessarineSupport::IniLineKind::Header:
            section = TessarineSupport::iniHeaderName(line.m_Text);
            break;
        case TessarineSupport::IniLineKind::Key: {
            auto const [key, value] = TessarineSupport::splitKeyLine(line.m_Text);
            // The last key line of a name gives its value.
            named(named(sections, i_Decoder.unescape(std::string(section)), &IniSection::m_Name)
                      .m_Entries,
                  i_Decoder.unescape(std::string(key)), &IniSection::Entry::m_Key)
                .m_Value = i_Decoder.unescape(std::string(value));
            break;
        }
        default:
            break;
        }
    }
    return sections;
}

// Whether two contents hold the same sections, keys and values in the same order.
inline bool sameContent(std::vector<IniSection> const& i_Left,
                        std::vector<IniSection> const& i_Right) {
    auto const sameEntry = [](IniSection::Entry const& i_A, IniSection::Entry const& i_B) {
        return i_A.m_Key == i_B.m_Key && i_A.m_Value == i_B.m_Value;
    };
    auto const sameSection = [&](IniSection const& i_A, IniSection const& i_B) {
        return i_A.m_Name == i_B.m_Name &&
               std::equal(i_A.m_Entries.begin(), i_A.m_Entries.end(), i_B.m_Entries.begin(),
                          i_B.m_Entries.end(), sameEntry);
    };
    return std::equal(i_Left.begin(), i_Left.end(), i_Right.begin(), i_Right.end(), sameSection);
}

} // namespace TessarineFuzz

#endif
