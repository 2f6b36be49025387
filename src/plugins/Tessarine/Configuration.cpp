#include "Tessarine/Configuration.h"

#include <cwchar>

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

// String::operator< without a call across the library for every step of a search: the keys
// of a set, and the keys it is asked for, are live Strings, whose texts are never null.
inline bool Configuration::KeyOrder::operator()(String const& i_Left, String const& i_Right) const {
    return std::wcscmp(i_Left.m_Buffer, i_Right.m_Buffer) < 0;
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
    // A multimap places a new entry behind those with an equal key.
    m_Properties.emplace(i_Key, i_Value);
    return PLUGIN_OK;
}

int32_t Configuration::getProperty(String const& i_Key, String& o_Value) const {
    // lower_bound, not find: find may land on any of the equal keys, not the earliest.
    auto first = m_Properties.lower_bound(i_Key);
    if (first == m_Properties.end() || m_Properties.key_comp()(i_Key, first->first)) {
        o_Value = L"";
        return PLUGIN_ERROR_PROPERTY_NOT_FOUND;
    }
    o_Value = first->second;
    return PLUGIN_OK;
}

int32_t Configuration::getProperties(String const& i_Key, StringVector& o_Values) const {
    o_Values.reset();
    auto range = m_Properties.equal_range(i_Key);
    for (auto entry = range.first; entry != range.second; ++entry) {
        // A value the vector cannot grow for is dropped; the call still succeeds.
        o_Values.addString(entry->second);
    }
    return PLUGIN_OK;
}

int32_t Configuration::getPropertiesCount(String const& i_Key) const {
    return static_cast<int32_t>(m_Properties.count(i_Key));
}

} // namespace Tessarine
