#include "Tessarine/Constants.h"

#ifndef TESSARINE_CONFIGURATION_H
#define TESSARINE_CONFIGURATION_H

#include "Tessarine/String.h"
#include "Tessarine/StringVector.h"

#include <list>
#include <map>
#include <unordered_map>

namespace Tessarine {

/// A named set of properties shared by everything in the process.
///
/// Whoever asks get() for a name receives the one set of that name; the first request creates
/// it, empty, and cleanup() of the name destroys it, which invalidates every pointer that get()
/// handed out for it. A later get() of the name creates a new, empty set.
///
/// A key can hold several values: setProperty() always adds a new entry, behind the entries
/// already held under an equal key, so the values of a key stand in the order in which they
/// were set. Two keys are equal when their wide texts are (character values, not the locale).
/// Keys and values are copies; a set keeps no reference to what the caller passed.
///
/// \code
/// Tessarine::Configuration* settings = nullptr;
/// Tessarine::Configuration::get(L"updater", settings);
/// settings->setProperty(L"mirror", L"https://mirror.example.org");
/// Tessarine::String mirror;
/// if (settings->getProperty(L"mirror", mirror) == PLUGIN_OK) {
///     fetchFrom(mirror);
/// }
/// Tessarine::Configuration::cleanup(L"updater"); // settings is no longer valid
/// \endcode
///
/// Sets still in the registry when the library is unloaded are destroyed with it, so a host
/// that never calls cleanup() leaks nothing. Pointers to them must not be used after that.
///
/// Nothing here takes a lock: callers serialise every get() and cleanup() themselves, and use
/// one set from one thread at a time. Different sets may serve different threads.
class TESSARINE_API Configuration {
public:
    /// Writes the set of that name to `o_Configuration`, creating it on the first request.
    /// A null name gives PLUGIN_ERROR_INVALID_ARGUMENT, writes null and changes nothing.
    static int32_t get(wchar_t const* i_Name, Configuration*& o_Configuration);
    /// Destroys the set of that name. PLUGIN_OK also when there is none;
    /// PLUGIN_ERROR_INVALID_ARGUMENT for a null name.
    static int32_t cleanup(wchar_t const* i_Name);

    /// Adds a copy of the pair behind every entry with an equal key. Never replaces.
    int32_t setProperty(String const& i_Key, String const& i_Value);
    /// Writes the value set earliest under the key. When the key has no entry, writes the empty
    /// text and returns PLUGIN_ERROR_PROPERTY_NOT_FOUND.
    int32_t getProperty(String const& i_Key, String& o_Value) const;
    /// Resets the vector (its Strings and storage are released), then adds the values of the
    /// key in the order they were set. PLUGIN_OK also when the key has no entry. A value that
    /// the vector cannot take for want of memory is left out.
    int32_t getProperties(String const& i_Key, StringVector& o_Values) const;
    /// The number of values held under the key; 0 when there is none.
    int32_t getPropertiesCount(String const& i_Key) const;

    /// Every live set, by name.
    static std::map<String, Configuration*> m_Configurations;

private:
    friend struct RegistryReaper;

    TESSARINE_LOCAL Configuration();
    TESSARINE_LOCAL ~Configuration();
    Configuration(Configuration const&) = delete;
    Configuration& operator=(Configuration const&) = delete;

    // Nothing lists the keys of a set, so their order is never seen: a set finds a key by its
    // hash, in a step or two, where an ordered map would compare texts down a whole tree.
    struct KeyHash {
        TESSARINE_LOCAL std::size_t operator()(String const& i_Key) const;
    };
    struct KeyEqual {
        TESSARINE_LOCAL bool operator()(String const& i_Left, String const& i_Right) const;
    };
    // The values of one key in the order set. The first lives in the entry itself, so a key
    // that holds one value costs no more allocations than in a multimap.
    struct Values {
        explicit Values(String const& i_First) : m_First(i_First) {}
        String m_First;
        std::list<String> m_Later;
    };

    std::unordered_map<String, Values, KeyHash, KeyEqual> m_Properties;
};

} // namespace Tessarine

#endif
