#ifndef TESSARINE_INISTORE_H
#define TESSARINE_INISTORE_H

// What IniFileReader keeps of a file for its queries. Internal to the library: never installed.
//
// Layout:
// - Arena: the text of every decoded name and value, written once into chunks that go only with
//   the store. The first chunk lies inside the store, so the text of a small file needs no
//   allocation of its own; later chunks double up to 16 MB.
// - Text: a view of one text of the arena. Text whose characters are all below 256 takes one
//   byte per character, other text a wchar_t per character. The form follows from the
//   characters alone, so two equal texts have the same form and bytes.
// - Store: the sections in the order of their first key line (a deque, which never moves them),
//   and a NameIndex of their names. A Section holds its name, its properties (key and value) in
//   the order of their first appearance, and a NameIndex of its keys.
// - NameIndex: finds a name among the names of a list. Up to eight names are searched from the
//   start; a longer list is indexed by an open-addressing table of (hash, position) slots, so
//   the order of the table is never seen.
// - The look-ahead: a table of millions of names no longer fits the cache. The reader hands the
//   names of the lines it is about to read to the store, which starts to fetch the slots that
//   they will probe, in batches, so that the waits for memory overlap instead of adding up.
//
// The store's writes take a decoder, whose decodeIntoRoom(raw, arena) decodes raw file text into
// the arena's free room; the store then takes that room, or lets it go when the name is known.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <deque>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace Tessarine {
namespace Ini {

// A decoded name or value: one byte per character when every character is below 256, else one
// wchar_t per character.
class Text {
public:
    Text() = default;
    Text(void const* i_Data, size_t i_Length, bool i_Wide)
        : m_Data(i_Data), m_Form(i_Length << 1 | (i_Wide ? 1 : 0)) {}

    void const* data() const { return m_Data; }
    size_t length() const { return m_Form >> 1; }
    bool wide() const { return (m_Form & 1) != 0; }
    size_t bytes() const { return length() * (wide() ? sizeof(wchar_t) : 1); }
    // Equal forms and bytes: both texts are stored texts or decoded like them.
    bool operator==(Text const& i_Other) const {
        return m_Form == i_Other.m_Form &&
               (m_Form < 2 || std::memcmp(m_Data, i_Other.m_Data, bytes()) == 0);
    }
    // The same characters, and as many, as the caller's text.
    bool operator==(std::wstring_view i_Name) const;
    // Into a caller's string, whose capacity serves again.
    void copyTo(std::wstring& o_Text) const;
    std::wstring str() const {
        std::wstring text;
        copyTo(text);
        return text;
    }

private:
    void const* m_Data = nullptr;
    size_t m_Form = 0; // the length, shifted left by one, and the wide flag in bit 0
};

// FNV-1a over character values, so that a stored text and a caller's wide text of the same
// characters hash alike.
template <typename Character> uint32_t hashOf(Character const* i_Text, size_t i_Length) {
    uint64_t hash = 14695981039346656037ull;
    for (size_t i = 0; i < i_Length; ++i) {
        hash = (hash ^ static_cast<uint32_t>(i_Text[i])) * 1099511628211ull;
    }
    return static_cast<uint32_t>(hash ^ (hash >> 32));
}

inline uint32_t hashOf(Text i_Text) {
    return i_Text.wide()
               ? hashOf(static_cast<wchar_t const*>(i_Text.data()), i_Text.length())
               : hashOf(static_cast<unsigned char const*>(i_Text.data()), i_Text.length());
}

inline uint32_t hashOf(std::wstring_view i_Text) {
    return hashOf(i_Text.data(), i_Text.size());
}

// Memory for text that is released only with the store. room() shows where the next text will
// go, take() claims it: a decoded name that proves to be known already is simply not taken.
class Arena {
public:
    // The first text goes to i_First, which lives as long as the arena.
    template <size_t Size>
    explicit Arena(std::array<wchar_t, Size>& i_First)
        : m_Free(reinterpret_cast<char*>(i_First.data())), m_End(m_Free + sizeof i_First) {}
    ~Arena();
    Arena(Arena const&) = delete;
    Arena& operator=(Arena const&) = delete;

    // Free room for i_Length characters.
    template <typename Character> Character* room(size_t i_Length) {
        m_Free += (alignof(Character) - reinterpret_cast<uintptr_t>(m_Free) % alignof(Character)) %
                  alignof(Character);
        if (static_cast<size_t>(m_End - m_Free) / sizeof(Character) < i_Length) {
            grow(i_Length * sizeof(Character));
        }
        return reinterpret_cast<Character*>(m_Free);
    }
    void take(size_t i_Bytes) { m_Free += i_Bytes; }

private:
    struct alignas(std::max_align_t) Chunk {
        Chunk* m_Next;
    };

    void grow(size_t i_Bytes);

    Chunk* m_Chunks = nullptr;
    char* m_Free = nullptr;
    char* m_End = nullptr;
    size_t m_NextSize = 4096;
};

// Finds a name among the names of a list, given as i_NameAt(position) for the positions below
// i_Count. Up to LINEAR_LIMIT names are searched from the start; a longer list is indexed by an
// open-addressing table of positions by hash.
class NameIndex {
public:
    static constexpr uint32_t NONE = UINT32_MAX;

    // The position of i_Name, or NONE.
    template <typename Name, typename NameAt>
    uint32_t find(Name const& i_Name, size_t i_Count, NameAt const& i_NameAt) const {
        if (m_Slots.empty()) {
            for (uint32_t position = 0; position < i_Count; ++position) {
                if (i_NameAt(position) == i_Name) {
                    return position;
                }
            }
            return NONE;
        }
        uint32_t const hash = hashOf(i_Name);
        size_t const mask = m_Slots.size() - 1;
        for (size_t at = hash & mask;; at = (at + 1) & mask) {
            Slot const& slot = m_Slots[at];
            if (slot.m_Position == NONE) {
                return NONE;
            }
            // Different names can share a hash.
            if (slot.m_Hash == hash && i_NameAt(slot.m_Position) == i_Name) {
                return slot.m_Position;
            }
        }
    }

    // Makes room for the name at position i_Count, so that add() cannot fail. A list of more
    // names than a position can count is treated as memory running out.
    template <typename NameAt> void reserveFor(size_t i_Count, NameAt const& i_NameAt) {
        if (i_Count >= NONE) {
            throw std::bad_alloc();
        }
        if (i_Count < LINEAR_LIMIT || (i_Count + 1) * 4 <= m_Slots.size() * 3) {
            return;
        }
        std::vector<Slot> slots(std::max<size_t>(4 * LINEAR_LIMIT, 2 * m_Slots.size()),
                                Slot{0, NONE});
        if (m_Slots.empty()) {
            for (uint32_t position = 0; position < i_Count; ++position) {
                place(slots, {hashOf(i_NameAt(position)), position});
            }
        }
        for (Slot const& slot : m_Slots) {
            if (slot.m_Position != NONE) {
                place(slots, slot);
            }
        }
        m_Slots.swap(slots);
    }

    void add(Text i_Name, uint32_t i_Position) {
        if (!m_Slots.empty()) {
            place(m_Slots, {hashOf(i_Name), i_Position});
        }
    }

    // Whether the table is too large for the cache to hold, so that a probe will wait for memory.
    bool large() const { return m_Slots.size() >= LARGE_SLOTS; }
    // Starts to fetch the first slots of a probe for a name of that hash, without waiting.
    void warm(uint32_t i_Hash) const;

private:
    static constexpr size_t LINEAR_LIMIT = 8;
    // Half a megabyte of slots.
    static constexpr size_t LARGE_SLOTS = size_t(1) << 16;

    struct Slot {
        uint32_t m_Hash;
        uint32_t m_Position;
    };

    static void place(std::vector<Slot>& io_Slots, Slot i_Slot) {
        size_t const mask = io_Slots.size() - 1;
        size_t at = i_Slot.m_Hash & mask;
        while (io_Slots[at].m_Position != NONE) {
            at = (at + 1) & mask;
        }
        io_Slots[at] = i_Slot;
    }

    std::vector<Slot> m_Slots;
};

struct Property {
    Text m_Key;
    Text m_Value;
};

struct Section {
    Text m_Name;
    // In the order of their first appearance.
    std::vector<Property> m_Properties;
    NameIndex m_Index;

    Text keyAt(uint32_t i_Position) const { return m_Properties[i_Position].m_Key; }

    // The property of that key, or null.
    Property const* find(std::wstring_view i_Key) const;
};

// Makes room for one more element the way push_back would, so that a push_back after it cannot
// fail: a name then enters its index and its list of positions together or not at all.
template <typename Element> void reserveOneMore(std::vector<Element>& io_List) {
    if (io_List.size() == io_List.capacity()) {
        io_List.reserve(std::max<size_t>(1, 2 * io_List.size()));
    }
}

class Store {
public:
    Store() = default;
    Store(Store const&) = delete;
    Store& operator=(Store const&) = delete;

    // The position of the section of that name; the section is added when there is none.
    template <typename Decoder>
    size_t sectionNamed(std::string_view i_Raw, Decoder const& i_Decoder) {
        Text const name = i_Decoder.decodeIntoRoom(i_Raw, m_Arena);
        auto const nameAt = [this](uint32_t i_At) { return m_Sections[i_At].m_Name; };
        uint32_t const at = m_Index.find(name, m_Sections.size(), nameAt);
        if (at != NameIndex::NONE) {
            return at;
        }
        m_Arena.take(name.bytes());
        // A failed push_back adds nothing, and the index has its room already, so that the name
        // enters both or neither.
        m_Index.reserveFor(m_Sections.size(), nameAt);
        m_Sections.push_back(Section{name, {}, {}});
        m_Index.add(name, static_cast<uint32_t>(m_Sections.size() - 1));
        return m_Sections.size() - 1;
    }

    template <typename Decoder>
    void setProperty(size_t i_Section, std::string_view i_Key, std::string_view i_Value,
                     Decoder const& i_Decoder) {
        m_Receiving = i_Section;
        Section& section = m_Sections[i_Section];
        std::vector<Property>& properties = section.m_Properties;
        Text const key = i_Decoder.decodeIntoRoom(i_Key, m_Arena);
        auto const keyAt = [&section](uint32_t i_At) { return section.keyAt(i_At); };
        uint32_t const at = section.m_Index.find(key, properties.size(), keyAt);
        if (at != NameIndex::NONE) {
            properties[at].m_Value = keep(i_Value, i_Decoder);
            return;
        }
        m_Arena.take(key.bytes());
        Text const value = keep(i_Value, i_Decoder);
        reserveOneMore(properties);
        section.m_Index.reserveFor(properties.size(), keyAt);
        properties.push_back({key, value});
        section.m_Index.add(key, static_cast<uint32_t>(properties.size() - 1));
    }

    // The section of that name, or null.
    Section const* find(std::wstring_view i_Name) const;

    std::deque<Section> const& sections() const { return m_Sections; }

    // The look-ahead. expects() tells whether names of header lines (i_Header) or of key lines
    // are wanted: only those whose index is too large for the cache. expect() takes the raw
    // name of a line to come, and key lines are taken to go to the section that received the
    // last key: a wrong guess costs a fetch and nothing else, and a name that decodes to its own
    // bytes hashes as those bytes. The hashes of a batch come first and its fetches after them,
    // so that the fetches go out together; fetchExpected() sends those of a batch begun.
    bool expects(bool i_Header) const;
    void expect(bool i_Header, std::string_view i_Name);
    void fetchExpected();

private:
    template <typename Decoder> Text keep(std::string_view i_Raw, Decoder const& i_Decoder) {
        Text const text = i_Decoder.decodeIntoRoom(i_Raw, m_Arena);
        m_Arena.take(text.bytes());
        return text;
    }

    NameIndex const* expectedIndex(bool i_Header) const;

    // Room for the text of a small file, so that it needs no allocation of its own.
    std::array<wchar_t, 256> m_FirstText;
    // Declared before the views of its text, so that it outlives them.
    Arena m_Arena{m_FirstText};
    // In the order of their first key line.
    std::deque<Section> m_Sections;
    NameIndex m_Index;
    // The section that received the last key line.
    size_t m_Receiving = 0;
    // The hashes of the look-ahead's batch, with the index that each is for; left uninitialised,
    // as only the first m_ExpectedCount are ever read.
    struct Expected {
        NameIndex const* m_Index;
        uint32_t m_Hash;
    };
    std::array<Expected, 64> m_Expected;
    size_t m_ExpectedCount = 0;
};

} // namespace Ini
} // namespace Tessarine

#endif
