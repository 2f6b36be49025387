#include "PluginLibrary.h"

#include "HostError.h"

#include <Tessarine/Constants.h>
#include <Tessarine/String.h>

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <dlfcn.h>
#include <filesystem>
#include <system_error>

namespace TessarineExamples {
namespace {

std::string multibyte(wchar_t const* i_Text) {
    std::unique_ptr<char, decltype(&std::free)> text(Tessarine::String::getMultibyteString(i_Text),
                                                     &std::free);
    return text.get();
}

bool endsWith(std::string const& i_Text, std::string const& i_End) {
    return i_Text.size() >= i_End.size() &&
           i_Text.compare(i_Text.size() - i_End.size(), i_End.size(), i_End) == 0;
}

std::vector<std::string> pluginFileNames(std::string const& i_Directory,
                                         std::string const& i_Extension) {
    std::error_code error;
    std::filesystem::directory_iterator entries(i_Directory, error);
    if (error) {
        throw HostError("cannot open plug-in directory " + i_Directory + ": " + error.message());
    }
    std::vector<std::string> names;
    for (std::filesystem::directory_entry const& entry : entries) {
        std::string name = entry.path().filename().string();
        if (endsWith(name, i_Extension)) {
            names.push_back(std::move(name));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

void PluginLibrary::Unloader::operator()(void* i_Handle) const {
    dlclose(i_Handle);
}

PluginLibrary::PluginLibrary(std::string const& i_Path)
    : m_Path(i_Path), m_Handle(dlopen(i_Path.c_str(), RTLD_NOW | RTLD_LOCAL)), m_Destroy(nullptr),
      m_Plugin(nullptr) {
    if (!m_Handle) {
        throw HostError("cannot load plug-in " + m_Path + ": " + dlerror());
    }
    using namespace Tessarine;
    auto const major =
        reinterpret_cast<PluginVersionMajorPointer>(entryPoint(PLUGIN_VERSION_MAJOR_SYMBOL));
    if (*major != TESSARINE_VERSION_MAJOR) {
        throw HostError("plug-in " + m_Path + " was built for Tessarine " + std::to_string(*major) +
                        ", not " + std::to_string(TESSARINE_VERSION_MAJOR));
    }
    auto const create = reinterpret_cast<CreatePluginFunction>(entryPoint(CREATE_PLUGIN_SYMBOL));
    m_Destroy = reinterpret_cast<DestroyPluginFunction>(entryPoint(DESTROY_PLUGIN_SYMBOL));
    m_Plugin = create();
    if (m_Plugin == nullptr) {
        throw HostError("plug-in " + m_Path + " made no plug-in");
    }
}

PluginLibrary::~PluginLibrary() {
    if (m_Plugin != nullptr) {
        m_Plugin->cleanup();
        m_Destroy(m_Plugin);
    }
}

void* PluginLibrary::entryPoint(char const* i_Symbol) {
    void* const address = dlsym(m_Handle.get(), i_Symbol);
    if (address == nullptr) {
        throw HostError(m_Path + " is no Tessarine plug-in: it does not export " + i_Symbol);
    }
    return address;
}

std::vector<std::unique_ptr<PluginLibrary>> loadPlugins(std::string const& i_Directory) {
    std::string const extension = multibyte(PLUGIN_EXTENSION);
    std::vector<std::string> const names = pluginFileNames(i_Directory, extension);
    if (names.empty()) {
        throw HostError("no plug-in (*" + extension + ") in " + i_Directory);
    }
    std::string const separator = multibyte(std::wstring(1, PLUGIN_PATH_SEPARATOR).c_str());
    std::vector<std::unique_ptr<PluginLibrary>> libraries;
    for (std::string const& name : names) {
        libraries.push_back(std::make_unique<PluginLibrary>(i_Directory + separator + name));
    }
    return libraries;
}

} // namespace TessarineExamples
