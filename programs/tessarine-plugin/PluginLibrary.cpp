#include "PluginLibrary.h"

#include "Child.h"

#include <dlfcn.h>

namespace TessarinePluginTool {

namespace {

std::string loadablePath(std::string const& i_Path) {
    return i_Path.find('/') == std::string::npos ? "./" + i_Path : i_Path;
}

} // namespace

PluginLibrary::PluginLibrary(std::string const& i_Path)
    : m_Path(i_Path), m_Handle(dlopen(loadablePath(i_Path).c_str(), RTLD_NOW | RTLD_LOCAL)),
      m_VersionMajor(0), m_Create(nullptr), m_Destroy(nullptr) {
    if (m_Handle == nullptr) {
        throw LoadError(dlerror());
    }
    // The version first: the other two entry points may have other types in another major
    // version, and must not be called before it is known to match.
    m_VersionMajor = *reinterpret_cast<Tessarine::PluginVersionMajorPointer>(
        entryPoint(Tessarine::PLUGIN_VERSION_MAJOR_SYMBOL));
    if (m_VersionMajor != TESSARINE_VERSION_MAJOR) {
        throw EntryError("built for Tessarine " + std::to_string(m_VersionMajor) +
                         ", this tool loads plug-ins for Tessarine " +
                         std::to_string(TESSARINE_VERSION_MAJOR));
    }
    m_Create = reinterpret_cast<Tessarine::CreatePluginFunction>(
        entryPoint(Tessarine::CREATE_PLUGIN_SYMBOL));
    m_Destroy = reinterpret_cast<Tessarine::DestroyPluginFunction>(
        entryPoint(Tessarine::DESTROY_PLUGIN_SYMBOL));
}

Tessarine::Plugin& PluginLibrary::create() {
    Tessarine::Plugin* const plugin = m_Create();
    if (plugin == nullptr) {
        throw EntryError(std::string(Tessarine::CREATE_PLUGIN_SYMBOL) + " made no plug-in");
    }
    return *plugin;
}

void PluginLibrary::unload() {
    if (dlclose(m_Handle) != 0) {
        throw LoadError(dlerror());
    }
    m_Handle = nullptr;
}

std::vector<std::wstring> advertised(Tessarine::Plugin& io_Plugin) {
    Tessarine::StringVector const& names = io_Plugin.listExpressions();
    std::vector<std::wstring> result;
    for (int index = 0; index < names.length(); ++index) {
        result.emplace_back(static_cast<wchar_t const*>(names[index]));
    }
    return result;
}

void initialize(Tessarine::Plugin& io_Plugin) {
    int32_t const result = io_Plugin.initialize();
    if (result != PLUGIN_OK) {
        throw Failure("initialize() returned code " + std::to_string(result));
    }
}

void* PluginLibrary::entryPoint(char const* i_Symbol) {
    void* const address = dlsym(m_Handle, i_Symbol);
    if (address == nullptr) {
        throw EntryError("no Tessarine plug-in: " + m_Path + " does not export " + i_Symbol);
    }
    return address;
}

} // namespace TessarinePluginTool
