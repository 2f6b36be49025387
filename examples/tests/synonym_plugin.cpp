// A second plug-in for the host's tests. Besides the comparisons it leases `Same`, a synonym of
// TextEquals, which it does not advertise: only a host that asks each plug-in in turn finds it.

#include "ComparisonPlugin.h"

#include <new>
#include <string_view>

namespace {

class SynonymPlugin : public TessarineExamples::ComparisonPlugin {
protected:
    int32_t createExpression(wchar_t const* i_Name, Tessarine::Expression** o_Expression) override {
        bool const same = std::wstring_view(i_Name) == L"Same";
        return ComparisonPlugin::createExpression(same ? L"TextEquals" : i_Name, o_Expression);
    }
};

} // namespace

// The entry points as a plug-in from outside this tree writes them (docs/writing-a-plugin.md).
extern "C" __attribute__((visibility("default"))) Tessarine::Plugin*
tessarine_example_create_plugin() {
    return new (std::nothrow) SynonymPlugin; // null when it cannot be made: nothing may throw here
}

extern "C" __attribute__((visibility("default"))) void
tessarine_example_destroy_plugin(Tessarine::Plugin* i_Plugin) {
    delete i_Plugin; // deleted by the shared object that made it
}
