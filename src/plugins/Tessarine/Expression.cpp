#include "Tessarine/Expression.h"

#include <algorithm>

namespace Tessarine {

namespace {

// The pair whose name equals the given one exactly, or the end.
template <typename Properties> auto findByName(Properties& i_Properties, wchar_t const* i_Name) {
    return std::find_if(i_Properties.begin(), i_Properties.end(),
                        [i_Name](auto const& i_Property) { return i_Property.first == i_Name; });
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
    // Both texts are copied before the list is touched: a caller may pass a value it read
    // from this very list, and growing the list or assigning into it would pull the text away.
    Property property(i_Name, i_Value);
    auto const found = findByName(m_Properties, i_Name);
    if (found != m_Properties.end()) {
        found->second = property.second;
        return;
    }
    // Doubling by hand keeps the growth the same with every standard library. Both steps leave
    // the list as it was if memory runs out.
    if (m_Properties.size() == m_Properties.capacity()) {
        m_Properties.reserve(std::max<std::size_t>(1, 2 * m_Properties.capacity()));
    }
    m_Properties.push_back(property);
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
