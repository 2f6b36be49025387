#include "Host.h"

#include "ExampleResults.h"
#include "HostError.h"
#include "IniContent.h"
#include "PluginLibrary.h"
#include "ReadableFile.h"
#include "Text.h"

#include <Tessarine/Configuration.h>
#include <Tessarine/IniFileReader.h>
#include <Tessarine/String.h>
#include <Tessarine/StringVector.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <vector>

namespace TessarineExamples {
namespace {

using Tessarine::Configuration;
using Tessarine::String;
using TessarineSupport::displayText;
using Libraries = std::vector<std::unique_ptr<PluginLibrary>>;

// The two callbacks are plain function pointers without a context argument, so what they share
// with the host lives here. The host runs on one thread; the signal handler only sets a flag.
volatile std::sig_atomic_t g_Interrupted = 0;
bool g_Verbose = false;

void onInterruptSignal(int) {
    g_Interrupted = 1;
}

bool interruptSignaler() {
    return g_Interrupted != 0;
}

/// Hears the failure that a plug-in reports during one call into it, so that the host's message
/// can say why the call failed. Declare one right before the call and ask it right after: the
/// event trigger reaches the listener of the running call through s_Current, which a listener
/// sets for its own lifetime only.
class FailureListener {
public:
    FailureListener() { s_Current = this; }
    ~FailureListener() { s_Current = nullptr; }
    FailureListener(FailureListener const&) = delete;
    FailureListener& operator=(FailureListener const&) = delete;

    static void hear(char const* i_Failure) {
        if (s_Current != nullptr) {
            s_Current->m_Failure = i_Failure;
        }
    }

    /// The result code, with the failure heard during the call if there was one.
    std::string describe(int32_t i_Result) const {
        std::string text = "code " + std::to_string(i_Result);
        return m_Failure.empty() ? text : text + " (" + m_Failure + ")";
    }

private:
    static inline FailureListener* s_Current = nullptr;
    std::string m_Failure;
};

void eventTrigger(char const* i_Event, bool i_Failure) {
    if (i_Failure) {
        FailureListener::hear(i_Event);
    }
    if (g_Verbose) {
        std::cerr << (i_Failure ? "plug-in failure: " : "plug-in event: ") << i_Event << '\n';
    }
}

constexpr wchar_t const* EXPRESSION_KEY = L"expression";
constexpr wchar_t const* SET_PREFIX = L"example-host:";

/// A section of the file as it was recorded: its keys in file order, since a Configuration
/// cannot list its keys, and the name of the set that holds its values.
struct RecordedSection {
    std::wstring m_Name;
    std::vector<std::wstring> m_Keys;
    String m_SetName;
};

/// The Configuration sets of this run. They are destroyed when the run ends, however it ends:
/// a set lives until the cleanup() of its name, whoever still points at it.
class RecordedSets {
public:
    RecordedSets() = default;
    RecordedSets(RecordedSets const&) = delete;
    RecordedSets& operator=(RecordedSets const&) = delete;

    ~RecordedSets() {
        for (String const& name : m_Names) {
            Configuration::cleanup(name);
        }
    }

    Configuration& create(String const& i_Name) {
        m_Names.push_back(i_Name);
        return named(i_Name);
    }

    static Configuration& named(String const& i_Name) {
        Configuration* set = nullptr;
        Configuration::get(i_Name, set);
        return *set;
    }

private:
    std::vector<String> m_Names;
};

/// Reads the file and copies every section into a set of its own. The reader, and with it the
/// open file, ends here: from now on the values live in the sets.
std::vector<RecordedSection> recordFile(std::string const& i_File, RecordedSets& io_Sets) {
    String const path(i_File.c_str());
    if (path.length() == 0) {
        throw HostError("cannot open " + i_File + ": the name does not convert in this locale");
    }
    Tessarine::IniFileReader reader(path);
    std::vector<RecordedSection> sections;
    for (TessarineSupport::IniSection const& content : TessarineSupport::readContent(reader)) {
        RecordedSection section{content.m_Name, {}, SET_PREFIX};
        section.m_SetName += content.m_Name.c_str();
        Configuration& set = io_Sets.create(section.m_SetName);
        for (TessarineSupport::IniSection::Entry const& entry : content.m_Entries) {
            section.m_Keys.push_back(entry.m_Key);
            set.setProperty(entry.m_Key.c_str(), entry.m_Value.c_str());
        }
        sections.push_back(std::move(section));
    }
    return sections;
}

void attach(PluginLibrary& io_Library) {
    Tessarine::Plugin& plugin = io_Library.plugin();
    plugin.setInterruptSignaler(interruptSignaler);
    plugin.setEventTrigger(eventTrigger);
    FailureListener failure;
    int32_t const result = plugin.initialize();
    if (result != PLUGIN_OK) {
        throw HostError("plug-in " + io_Library.path() +
                        " failed to initialise: " + failure.describe(result));
    }
}

bool advertises(Tessarine::Plugin& io_Plugin, String const& i_Name) {
    Tessarine::StringVector& offered = io_Plugin.listExpressions();
    for (int index = 0; index < offered.length(); ++index) {
        if (offered[index] == i_Name) {
            return true;
        }
    }
    return false;
}

/// The plug-ins in the order in which they are asked for the name: those that advertise it
/// first, then the others, each in the order of loading. Advertising decides only the order,
/// since a factory may make names that its plug-in does not list.
std::vector<Tessarine::Plugin*> askingOrder(Libraries& io_Libraries, String const& i_Name) {
    std::vector<Tessarine::Plugin*> plugins;
    for (std::unique_ptr<PluginLibrary>& library : io_Libraries) {
        plugins.push_back(&library->plugin());
    }
    std::stable_partition(plugins.begin(), plugins.end(), [&i_Name](Tessarine::Plugin* i_Plugin) {
        return advertises(*i_Plugin, i_Name);
    });
    return plugins;
}

/// An expression on lease: taken in the constructor from the first plug-in that leases the
/// name, and handed back to it in the destructor, so that it returns to that plug-in's pool on
/// every way out.
class Lease {
public:
    Lease(Libraries& io_Libraries, String const& i_Name, std::string const& i_Where) {
        std::string refusals;
        for (Tessarine::Plugin* plugin : askingOrder(io_Libraries, i_Name)) {
            FailureListener failure;
            Tessarine::Expression* expression = nullptr;
            int32_t const result = plugin->getExpression(i_Name, &expression);
            // The place may hold something after a failure; only the result counts.
            if (result == PLUGIN_OK) {
                m_Plugin = plugin;
                m_Expression = expression;
                return;
            }
            refusals += "; " + displayText(plugin->getName()) + ": " + failure.describe(result);
        }
        throw HostError(i_Where + ": no plug-in leases expression '" + displayText(i_Name) + "'" +
                        refusals);
    }
    ~Lease() { m_Plugin->disposeExpression(m_Expression); }

    Lease(Lease const&) = delete;
    Lease& operator=(Lease const&) = delete;

    Tessarine::Expression* operator->() const { return m_Expression; }

private:
    Tessarine::Plugin* m_Plugin = nullptr;
    Tessarine::Expression* m_Expression = nullptr;
};

std::string evaluateSection(Libraries& io_Libraries, RecordedSection const& i_Section,
                            std::string const& i_File) {
    std::string const where = i_File + " [" + displayText(i_Section.m_Name) + "]";
    Configuration& set = RecordedSets::named(i_Section.m_SetName);
    String name;
    if (set.getProperty(EXPRESSION_KEY, name) != PLUGIN_OK) {
        throw HostError(where + ": names no expression (key '" + displayText(EXPRESSION_KEY) +
                        "')");
    }
    Lease lease(io_Libraries, name, where);
    std::string inputs;
    for (std::wstring const& key : i_Section.m_Keys) {
        if (key == EXPRESSION_KEY) {
            continue;
        }
        String value;
        set.getProperty(key.c_str(), value);
        lease->setProperty(key.c_str(), value);
        inputs += (inputs.empty() ? "" : ", ") + displayText(key) + "=" + displayText(value);
    }
    FailureListener failure;
    int32_t const result = lease->evaluate();
    if (result == EXAMPLE_ERROR_INTERRUPTED) {
        throw HostError("interrupted", 130);
    }
    if (result != PLUGIN_OK) {
        throw HostError(where + ": " + displayText(name) + " failed with " +
                        failure.describe(result));
    }
    return "[" + displayText(i_Section.m_Name) + "] " + displayText(lease->getName()) + "(" +
           inputs + ") = " + displayText(lease->getResult());
}

} // namespace

void installInterruptHandler() {
    std::signal(SIGINT, onInterruptSignal);
}

void runHost(HostOptions const& i_Options, std::ostream& o_Out) {
    std::string const& file = i_Options.m_File;
    std::string const reason = unreadableReason(file.c_str());
    if (!reason.empty()) {
        throw HostError("cannot open " + file + ": " + reason);
    }
    g_Verbose = i_Options.m_Verbose;
    // Declared in this order so that the plug-ins, with their expressions, go before the sets.
    RecordedSets sets;
    std::vector<RecordedSection> const sections = recordFile(file, sets);
    if (sections.empty()) {
        throw HostError(file + " asks for no expression: it has no key line");
    }
    Libraries libraries = loadPlugins(i_Options.m_PluginDirectory);
    for (std::unique_ptr<PluginLibrary>& library : libraries) {
        attach(*library);
    }
    for (RecordedSection const& section : sections) {
        o_Out << evaluateSection(libraries, section, file) << std::endl;
    }
}

} // namespace TessarineExamples
