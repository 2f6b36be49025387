#include "Tessarine/Expression.h"

#include <algorithm>

namespace Tessarine {

namespace {

// The pair whose name equals the given one exactly, or the end.
template <typename Properties> auto findByName(Properties& i_Properties, wchar_t const* i_Name) {
    return std::find_if(i_Properties.begin(), i_Properties.end(),
                        [i_Name](auto const& i_Property) { return i_Property.first == i_Name; });
}

// Appends a copy, doubling a full array (1, 2, 4, 8, ...). A larger array is filled on the side
// and swapped in only when complete, so running out of memory leaves the list as it was, its
// capacity included.
template <typename Properties>
void append(Properties& io_Properties, typename Properties::value_type const& i_Property) {
    if (io_Properties.size() < io_Properties.capacity()) {
        io_Properties.push_back(i_Property);
        return;
    }
    Properties grown;
    grown.reserve(std::max<std::size_t>(1, 2 * io_Properties.capacity()));
    grown.insert(grown.end(), io_Properties.begin(), io_Properties.end());
    grown.push_back(i_Property);
    io_Properties.swap(grown);
}

} // namespace

Expression::Expression() = default;

Expression::~Expression() = default;

void Expression::dispose() {
    onDispose();
    deleteProperties();
}

wchar_t const* Expression::getProperty(wchar_t const* i_Name) {
    if (i_Name == nullptr) {
        return nullptr;
    }
    auto const found = findByName(m_Properties, i_Name);
    return found == m_Properties.end() ? nullptr : static_cast<wchar_t const*>(found->second);
}

void Expression::setProperty(wchar_t const* i_Name, wchar_t const* i_Value) {
    if (i_Name == nullptr) {
        return;
    }
    // Both texts are copied before the list is touched: a caller may pass a value it read from
    // this very list, and a String cannot be assigned a text that lies in its own buffer.
    Property property(i_Name, i_Value);
    auto const found = findByName(m_Properties, i_Name);
    if (found != m_Properties.end()) {
        found->second = property.second;
        return;
    }
    append(m_Properties, property);
}

void Expression::deleteProperties() {
    m_Properties.clear();
}

void Expression::resetPropertyValues() {
    for (Property& property : m_Properties) {
        property.second = L"";
    }
}

} // namespace Tessarine
