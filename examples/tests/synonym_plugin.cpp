// A second plug-in for the host's tests. It makes one expression, `Same`, a synonym of
// TextEquals, and advertises nothing: a host finds it only by asking each plug-in in turn, and
// asks it last for the names that another plug-in advertises.

#include "ComparisonPlugin.h"

#include <Tessarine/PluginEntry.h>

#include <string_view>

namespace {

class SynonymPlugin : public TessarineExamples::ComparisonPlugin {
protected:
    int32_t onInitialize() override { return PLUGIN_OK; }

    // Any other name is asked for under the empty one, which no comparison has: refused with a
    // failure report, which the host's tests count.
    int32_t createExpression(wchar_t const* i_Name, Tessarine::Expression** o_Expression) override {
        bool const same = std::wstring_view(i_Name) == L"Same";
        return ComparisonPlugin::createExpression(same ? L"TextEquals" : L"", o_Expression);
    }
};

} // namespace

TESSARINE_PLUGIN(SynonymPlugin);
