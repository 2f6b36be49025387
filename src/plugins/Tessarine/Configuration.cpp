#include "Tessarine/Configuration.h"

#include <cwchar>
#include <string_view>

namespace Tessarine {

std::map<String, Configuration*> Configuration::m_Configurations;

// Defined behind the registry in this file, so it is destroyed before it when the library is
// unloaded: the sets that nobody cleaned up go with the registry instead of leaking. Memory may
// be exhausted by then, so this allocates nothing (no name is built to look a set up) and
// throws nothing; the registry's own destructor then frees the entries and names.
struct RegistryReaper {
    ~RegistryReaper() {
        for (auto& entry : Configuration::m_Configurations) {
            delete entry.second;
            entry.second = nullptr;
        }
    }
};

namespace {

RegistryReaper registryReaper;

} // namespace

// The keys of a set, and the keys it is asked for, are live Strings, whose texts are never null.
inline std::size_t Configuration::KeyHash::operator()(String const& i_Key) const {
    return std::hash<std::wstring_view>()(std::wstring_view(i_Key.m_Buffer));
}

inline bool Configuration::KeyEqual::operator()(String const& i_Left, String const& i_Right) const {
    return std::wcscmp(i_Left.m_Buffer, i_Right.m_Buffer) == 0;
}

Configuration::Configuration() = default;

Configuration::~Configuration() = default;

int32_t Configuration::get(wchar_t const* i_Name, Configuration*& o_Configuration) {
    o_Configuration = nullptr;
    if (i_Name == nullptr) {
        return PLUGIN_ERROR_INVALID_ARGUMENT;
    }
    String name(i_Name);
    auto entry = m_Configurations.lower_bound(name);
    if (entry == m_Configurations.end() || name < entry->first) {
        Configuration* created = new Configuration();
        try {
            entry = m_Configurations.emplace_hint(entry, name, created);
        } catch (...) {
            delete created;
            throw;
        }
    }
    o_Configuration = entry->second;
    return PLUGIN_OK;
}

int32_t Configuration::cleanup(wchar_t const* i_Name) {
    if (i_Name == nullptr) {
        return PLUGIN_ERROR_INVALID_ARGUMENT;
    }
    auto entry = m_Configurations.find(String(i_Name));
    if (entry != m_Configurations.end()) {
        delete entry->second;
        m_Configurations.erase(entry);
    }
    return PLUGIN_OK;
}

int32_t Configuration::setProperty(String const& i_Key, String const& i_Value) {
    auto const [entry, isNew] = m_Properties.try_emplace(i_Key, i_Value);
    if (!isNew) {
        entry->second.m_Later.push_back(i_Value);
    }
    return PLUGIN_OK;
}

int32_t Configuration::getProperty(String const& i_Key, String& o_Value) const {
    auto const entry = m_Properties.find(i_Key);
    if (entry == m_Properties.end()) {
        o_Value = L"";
        return PLUGIN_ERROR_PROPERTY_NOT_FOUND;
    }
    o_Value = entry->second.m_First;
    return PLUGIN_OK;
}

int32_t Configuration::getProperties(String const& i_Key, StringVector& o_Values) const {
    o_Values.reset();
    auto const entry = m_Properties.find(i_Key);
    if (entry == m_Properties.end()) {
        return PLUGIN_OK;
    }
    // A value the vector cannot grow for is dropped; the call still succeeds.
    o_Values.addString(entry->second.m_First);
    for (String const& value : entry->second.m_Later) {
        o_Values.addString(value);
    }
    return PLUGIN_OK;
}

int32_t Configuration::getPropertiesCount(String const& i_Key) const {
    auto const entry = m_Properties.find(i_Key);
    return entry == m_Properties.end() ? 0 : 1 + static_cast<int32_t>(entry->second.m_Later.size());
}

} // namespace Tessarine
