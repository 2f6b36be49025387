#ifndef TESSARINE_FUZZ_INI_MODEL_H
#define TESSARINE_FUZZ_INI_MODEL_H

// The format read the plain way: a byte at a time, into lists searched from the front, with the
// reader's own unescape() for the decoding. It is slow and obviously right, and it is the oracle
// against which the reader's views, byte tables, arena and hash indexes are checked.

#include "IniContent.h"

#include <Tessarine/IniFileReader.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>
#include <vector>

namespace TessarineFuzz {

using TessarineSupport::IniSection;

inline bool isSpace(char i_Byte) {
    return std::isspace(static_cast<unsigned char>(i_Byte)) != 0;
}

inline size_t backslashesBefore(std::string const& i_Text, size_t i_End) {
    size_t count = 0;
    while (count < i_End && i_Text[i_End - 1 - count] == '\\') {
        ++count;
    }
    return count;
}

inline std::string trimmedFront(std::string const& i_Row) {
    size_t start = 0;
    while (start < i_Row.size() && isSpace(i_Row[start])) {
        ++start;
    }
    return i_Row.substr(start);
}

// The rows between line feeds, without the carriage returns at their ends.
inline std::vector<std::string> rowsOf(std::string const& i_Bytes) {
    std::vector<std::string> rows;
    for (size_t at = 0; at < i_Bytes.size();) {
        size_t const end = std::min(i_Bytes.find('\n', at), i_Bytes.size());
        std::string row = i_Bytes.substr(at, end - at);
        row.erase(row.find_last_not_of('\r') + 1);
        rows.push_back(row);
        at = end + 1;
    }
    return rows;
}

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
    std::vector<std::string> const rows = rowsOf(i_Bytes);
    std::string section;
    for (size_t r = 0; r < rows.size();) {
        std::string line = trimmedFront(rows[r++]);
        for (bool more = backslashesBefore(line, line.size()) % 2 == 1; more;) {
            line.pop_back();
            std::string const next = r < rows.size() ? trimmedFront(rows[r++]) : "";
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
        auto const separator = [](char i_Byte) { return i_Byte == '=' || i_Byte == ':'; };
        size_t key = 0;
        while (key < line.size() && !(separator(line[key]) ? backslashesBefore(line, key) % 2 == 0
                                                           : isSpace(line[key]))) {
            ++key;
        }
        size_t value = key;
        while (value < line.size() && isSpace(line[value])) {
            ++value;
        }
        value += value < line.size() && separator(line[value]) ? 1 : 0;
        while (value < line.size() && isSpace(line[value])) {
            ++value;
        }
        // The last key line of a name gives its value.
        named(named(sections, i_Decoder.unescape(section), &IniSection::m_Name).m_Entries,
              i_Decoder.unescape(line.substr(0, key)), &IniSection::Entry::m_Key)
            .m_Value = i_Decoder.unescape(line.substr(value));
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
