// `tessarine-plugin new`: a plug-in project that builds and passes its check as written.

#include "Commands.h"

#include <cctype>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace TessarinePluginTool {

namespace {

constexpr char const* CMAKE_TEMPLATE =
    R"(# The @NAME@ plug-in, for hosts built on the Tessarine library.
cmake_minimum_required(VERSION 3.25)
project(@NAME@ LANGUAGES CXX)

find_package(Tessarine 1.1 REQUIRED)

tessarine_add_plugin(@NAME@ @CLASS@.cpp)

# `ctest` checks the built plug-in against the contract that hosts rely on.
enable_testing()
if(TARGET Tessarine::tessarine-plugin)
    add_test(NAME @NAME@.check COMMAND Tessarine::tessarine-plugin check $<TARGET_FILE:@NAME@>)
else()
    message(WARNING "Tessarine is installed without tessarine-plugin: nothing checks the plug-in")
endif()
)";

constexpr char const* SOURCE_TEMPLATE =
    R"(// The @NAME@ plug-in: one expression, Greeting, whose result is "hello, " and the value of its
// property `who` ("world" when it is not set).

#include <Tessarine/PluginEntry.h>

#include <new>
#include <string>

namespace {

class Greeting : public Tessarine::Expression {
public:
    wchar_t const* getName() override { return L"Greeting"; }

    int32_t evaluate() override {
        wchar_t const* const who = getProperty(L"who");
        m_Result = L"hello, ";
        m_Result += who != nullptr ? who : L"world";
        return PLUGIN_OK;
    }

    wchar_t const* getResult() override { return m_Result.c_str(); }

    // The host gave the instance back: the library clears its properties and hands it out
    // again on the next lease.
    void onDispose() override { m_Result.clear(); }

private:
    std::wstring m_Result;
};

class @CLASS@ : public Tessarine::Plugin {
public:
    wchar_t const* getName() override { return L"@NAME@"; }
    wchar_t const* getVersion() override { return L"0.1.0"; }
    wchar_t const* getDescription() override { return L"Greets whom the property who names"; }
    wchar_t const* getVendor() override { return L"unknown"; }

protected:
    int32_t onInitialize() override {
        // initialize() may come again after cleanup(): each name is advertised once.
        return listExpressions().length() > 0 ? PLUGIN_OK : addExpression(L"Greeting");
    }

    void onCleanup() override {}

    int32_t createExpression(wchar_t const* i_Name, Tessarine::Expression** o_Expression) override {
        if (std::wstring(i_Name) != L"Greeting") {
            return PLUGIN_ERROR_EXPRESSION_NOT_FOUND;
        }
        *o_Expression = new (std::nothrow) Greeting;
        return *o_Expression != nullptr ? PLUGIN_OK : PLUGIN_ERROR_OUT_OF_MEMORY;
    }

    // Expressions are destroyed by the shared object that made them.
    void destroyExpression(Tessarine::Expression* i_Expression) override { delete i_Expression; }
};

} // namespace

TESSARINE_PLUGIN(@CLASS@);
)";

/// A name that serves as a CMake target, a file name and, made into words, a C++ class name.
void requireName(std::string const& i_Name) {
    bool valid = !i_Name.empty() && std::isalpha(static_cast<unsigned char>(i_Name[0]));
    for (char const character : i_Name) {
        valid = valid && (std::isalnum(static_cast<unsigned char>(character)) || character == '-' ||
                          character == '_');
    }
    if (!valid) {
        throw UsageError("the name '" + i_Name +
                         "' must start with a letter and hold only letters, digits, - and _");
    }
}

/// "my-plug_in" gives "MyPlugInPlugin".
std::string className(std::string const& i_Name) {
    std::string name;
    bool upper = true;
    for (char const character : i_Name) {
        if (character == '-' || character == '_') {
            upper = true;
            continue;
        }
        auto const byte = static_cast<unsigned char>(character);
        name += static_cast<char>(upper ? std::toupper(byte) : byte);
        upper = false;
    }
    return name + "Plugin";
}

std::string filled(std::string i_Template, std::string const& i_Name, std::string const& i_Class) {
    for (auto const& [mark, value] :
         {std::pair{"@NAME@", &i_Name}, std::pair{"@CLASS@", &i_Class}}) {
        for (std::size_t at = i_Template.find(mark); at != std::string::npos;
             at = i_Template.find(mark, at + value->size())) {
            i_Template.replace(at, std::string(mark).size(), *value);
        }
    }
    return i_Template;
}

} // namespace

int makeProject(std::string const& i_Name, std::string const& i_Directory) {
    requireName(i_Name);
    std::string const name = className(i_Name);
    std::filesystem::path const directory(i_Directory);
    std::pair<std::filesystem::path, char const*> const files[] = {
        {directory / "CMakeLists.txt", CMAKE_TEMPLATE},
        {directory / (name + ".cpp"), SOURCE_TEMPLATE},
    };
    for (auto const& [path, text] : files) {
        if (std::filesystem::exists(path)) {
            std::cerr << "tessarine-plugin: " << path.string() << " exists already\n";
            return 2;
        }
    }
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    for (auto const& [path, text] : files) {
        std::ofstream out(path);
        out << filled(text, i_Name, name);
        if (error || !out.flush()) {
            std::cerr << "tessarine-plugin: cannot write " << path.string() << '\n';
            return 2;
        }
        std::cout << path.string() << '\n';
    }
    return 0;
}

} // namespace TessarinePluginTool
