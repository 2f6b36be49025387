#include "Tessarine/IniStore.h"

namespace Tessarine {
namespace Ini {

// ---- Texts -------------------------------------------------------------------------------

bool Text::operator==(std::wstring_view i_Name) const {
    if (i_Name.size() != length()) {
        return false;
    }
    if (wide()) {
        return i_Name.empty() ||
               std::wmemcmp(static_cast<wchar_t const*>(m_Data), i_Name.data(), length()) == 0;
    }
    auto const* const bytes = static_cast<unsigned char const*>(m_Data);
    return std::equal(i_Name.begin(), i_Name.end(), bytes,
                      [](wchar_t i_Wide, unsigned char i_Byte) {
                          return i_Wide == static_cast<wchar_t>(i_Byte);
                      });
}

void Text::copyTo(std::wstring& o_Text) const {
    if (wide()) {
        o_Text.assign(static_cast<wchar_t const*>(m_Data), length());
        return;
    }
    auto const* const bytes = static_cast<unsigned char const*>(m_Data);
    o_Text.resize(length());
    std::copy(bytes, bytes + length(), o_Text.begin());
}

// ---- The arena ---------------------------------------------------------------------------

namespace {

constexpr size_t MOST_GROWTH = size_t(1) << 24;

} // namespace

Arena::~Arena() {
    while (m_Chunks != nullptr) {
        Chunk* const next = m_Chunks->m_Next;
        ::operator delete(m_Chunks);
        m_Chunks = next;
    }
}

// A new chunk; what was left of the old one is not used again. Chunks double up to MOST_GROWTH,
// so a large file takes few of them and a small one little memory.
void Arena::grow(size_t i_Bytes) {
    size_t const size = (std::max(i_Bytes, m_NextSize) + 3) / 4 * 4;
    auto* const chunk = static_cast<Chunk*>(::operator new(sizeof(Chunk) + size));
    chunk->m_Next = m_Chunks;
    m_Chunks = chunk;
    m_Free = reinterpret_cast<char*>(chunk + 1);
    m_End = m_Free + size;
    m_NextSize = std::min(m_NextSize * 2, MOST_GROWTH);
}

// ---- The indexes -------------------------------------------------------------------------

// Fetches the first four slots of the probe: about half the probes go on past the first slot,
// and four slots take at most two cache lines. A prefetch changes nothing that the compiler can
// see, so a function that does nothing else counts as free of effects and its calls are dropped;
// the empty asm statement is an effect that it must keep.
void NameIndex::warm(uint32_t i_Hash) const {
    size_t const mask = m_Slots.size() - 1;
    __builtin_prefetch(&m_Slots[i_Hash & mask]);
    __builtin_prefetch(&m_Slots[(i_Hash + 3) & mask]);
    __asm__ volatile("" ::: "memory");
}

Property const* Section::find(std::wstring_view i_Key) const {
    uint32_t const at =
        m_Index.find(i_Key, m_Properties.size(), [this](uint32_t i_At) { return keyAt(i_At); });
    return at == NameIndex::NONE ? nullptr : &m_Properties[at];
}

// ---- The store ---------------------------------------------------------------------------

Section const* Store::find(std::wstring_view i_Name) const {
    uint32_t const at = m_Index.find(i_Name, m_Sections.size(),
                                     [this](uint32_t i_At) { return m_Sections[i_At].m_Name; });
    return at == NameIndex::NONE ? nullptr : &m_Sections[at];
}

// ---- The look-ahead ----------------------------------------------------------------------

// The index that the names of header lines, or of key lines, will probe, when it is too large
// for the cache; else null.
NameIndex const* Store::expectedIndex(bool i_Header) const {
    if (!i_Header && m_Sections.empty()) {
        return nullptr;
    }
    NameIndex const& index = i_Header ? m_Index : m_Sections[m_Receiving].m_Index;
    return index.large() ? &index : nullptr;
}

bool Store::expects(bool i_Header) const {
    return expectedIndex(i_Header) != nullptr;
}

void Store::expect(bool i_Header, std::string_view i_Name) {
    NameIndex const* const index = expectedIndex(i_Header);
    if (index == nullptr) {
        return;
    }
    auto const* const bytes = reinterpret_cast<unsigned char const*>(i_Name.data());
    m_Expected[m_ExpectedCount++] = {index, hashOf(bytes, i_Name.size())};
    if (m_ExpectedCount == m_Expected.size()) {
        fetchExpected();
    }
}

void Store::fetchExpected() {
    for (size_t i = 0; i < m_ExpectedCount; ++i) {
        m_Expected[i].m_Index->warm(m_Expected[i].m_Hash);
    }
    m_ExpectedCount = 0;
}

} // namespace Ini
} // namespace Tessarine
