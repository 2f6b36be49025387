#include "Tessarine/VectorString.h"

#include <cwchar>
#include <memory>
#include <new>
#include <string>

namespace Tessarine {

wchar_t const VectorString::SEPARATOR = L',';
wchar_t const VectorString::ESCAPE = L'\\';

namespace {

// The element as it goes into the list text, behind its separator when one is due.
std::wstring escapedElement(wchar_t const* i_Element, bool i_WithSeparator) {
    std::wstring piece;
    piece.reserve(2 * std::wcslen(i_Element) + 1);
    if (i_WithSeparator) {
        piece += VectorString::SEPARATOR;
    }
    for (wchar_t const* c = i_Element; *c != L'\0'; ++c) {
        if (*c == VectorString::SEPARATOR || *c == VectorString::ESCAPE) {
            piece += VectorString::ESCAPE;
        }
        piece += *c;
    }
    return piece;
}

} // namespace

VectorString::VectorString() : m_Count(0) {}

// Assigning instead of copying gives the copy a buffer sized to the text, not the source's
// whole capacity.
VectorString::VectorString(VectorString const& i_Other) : m_Count(i_Other.m_Count) {
    m_Value = i_Other.m_Value;
}

VectorString::~VectorString() = default;

VectorString& VectorString::operator=(VectorString const& i_Other) {
    // Safe for the object itself: String's assignment leaves its own text alone.
    m_Value = i_Other.m_Value;
    m_Count = i_Other.m_Count;
    return *this;
}

void VectorString::addEmptyElement() {
    if (m_Count > 0) {
        m_Value += SEPARATOR;
    }
    ++m_Count;
}

VectorString& VectorString::operator+=(wchar_t const* i_Element) {
    if (i_Element == nullptr || *i_Element == L'\0') {
        addEmptyElement();
        return *this;
    }
    // Separator and element go in with one append, since each append to the String measures
    // the whole text again.
    try {
        m_Value += escapedElement(i_Element, m_Count > 0).c_str();
    } catch (std::bad_alloc const&) {
        // The list still gains the element, as an empty one, before the failure passes on.
        addEmptyElement();
        throw;
    }
    ++m_Count;
    return *this;
}

VectorString& VectorString::operator+=(char const* i_Element) {
    String converted(i_Element);
    return *this += static_cast<wchar_t const*>(converted);
}

VectorString& VectorString::append(VectorString const& i_Other) {
    if (this == &i_Other) {
        return *this;
    }
    // Separator and text go in with one append: running out of memory then leaves the list as
    // it was, not with a separator that no element follows.
    std::wstring piece;
    if (m_Count > 0) {
        piece = SEPARATOR;
    }
    piece += i_Other.m_Value;
    m_Value += piece.c_str();
    m_Count += i_Other.m_Count;
    return *this;
}

VectorString& VectorString::append(wchar_t const* i_Text) {
    if (i_Text == nullptr) {
        return *this;
    }
    StringVector elements;
    toVector(i_Text, elements);
    for (int index = 0; index < elements.length(); ++index) {
        *this += static_cast<wchar_t const*>(elements[index]);
    }
    return *this;
}

// A null text converts to the empty one, which holds no element.
VectorString& VectorString::append(char const* i_Text) {
    String converted(i_Text);
    return append(static_cast<wchar_t const*>(converted));
}

int VectorString::length() const {
    return m_Count;
}

VectorString::operator wchar_t const*() const {
    return m_Value;
}

StringVector* VectorString::getVector() const {
    std::unique_ptr<StringVector> elements(new StringVector());
    toVector(m_Value, *elements);
    return elements.release();
}

void VectorString::reset() {
    m_Count = 0;
    m_Value = L"";
}

void VectorString::toVector(wchar_t const* i_Text, StringVector& o_Vector) {
    o_Vector.removeAll();
    if (i_Text == nullptr || *i_Text == L'\0') {
        return;
    }
    // Each element is gathered here and handed to the vector whole; the buffer keeps its
    // capacity from one element to the next.
    std::wstring element;
    bool escaped = false;
    for (wchar_t const* c = i_Text; *c != L'\0'; ++c) {
        if (escaped) {
            element += *c;
            escaped = false;
        } else if (*c == SEPARATOR) {
            o_Vector.addString(element.c_str());
            element.clear();
        } else if (*c == ESCAPE) {
            escaped = true;
        } else {
            element += *c;
        }
    }
    o_Vector.addString(element.c_str());
}

bool VectorString::operator==(VectorString const& i_Other) const {
    return m_Value == i_Other.m_Value;
}

bool VectorString::operator!=(VectorString const& i_Other) const {
    return m_Value != i_Other.m_Value;
}

bool VectorString::operator<(VectorString const& i_Other) const {
    if (m_Count != i_Other.m_Count) {
        return m_Count < i_Other.m_Count;
    }
    return m_Value < i_Other.m_Value;
}

bool VectorString::operator>(VectorString const& i_Other) const {
    if (m_Count != i_Other.m_Count) {
        return m_Count > i_Other.m_Count;
    }
    return m_Value > i_Other.m_Value;
}

bool VectorString::operator<=(VectorString const& i_Other) const {
    return *this < i_Other || *this == i_Other;
}

bool VectorString::operator>=(VectorString const& i_Other) const {
    return *this > i_Other || *this == i_Other;
}

bool VectorString::operator==(wchar_t const* i_Text) const {
    return m_Value == i_Text;
}

bool VectorString::operator!=(wchar_t const* i_Text) const {
    return m_Value != i_Text;
}

bool VectorString::operator<(wchar_t const* i_Text) const {
    return m_Value < i_Text;
}

bool VectorString::operator<=(wchar_t const* i_Text) const {
    return m_Value <= i_Text;
}

bool VectorString::operator>(wchar_t const* i_Text) const {
    return m_Value > i_Text;
}

bool VectorString::operator>=(wchar_t const* i_Text) const {
    return m_Value >= i_Text;
}

} // namespace Tessarine
