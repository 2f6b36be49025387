#include "ComparisonPlugin.h"

#include "Comparisons.h"
#include "Text.h"

namespace TessarineExamples {

using TessarineSupport::displayText;

wchar_t const* ComparisonPlugin::getName() {
    return L"comparisons";
}

wchar_t const* ComparisonPlugin::getVersion() {
    return L"1.0.0";
}

wchar_t const* ComparisonPlugin::getDescription() {
    return L"Compares texts, lists and version numbers given as the properties left and right";
}

wchar_t const* ComparisonPlugin::getVendor() {
    return L"Tessarine examples";
}

bool ComparisonPlugin::interruptRequested() {
    InterruptSignaler const signaler = getInterruptSignaler();
    return signaler != nullptr && signaler();
}

void ComparisonPlugin::report(std::string const& i_Event, bool i_Failure) {
    EventTrigger const trigger = getEventTrigger();
    if (trigger != nullptr) {
        trigger(i_Event.c_str(), i_Failure);
    }
}

int32_t ComparisonPlugin::onInitialize() {
    // The library keeps no record of initialisation, so a second initialize() must not
    // advertise every name a second time.
    if (listExpressions().length() > 0) {
        return PLUGIN_OK;
    }
    for (wchar_t const* const name : comparisonNames()) {
        int32_t const result = addExpression(name);
        if (result != PLUGIN_OK) {
            return result;
        }
    }
    return PLUGIN_OK;
}

void ComparisonPlugin::onCleanup() {
    report("cleanup", false);
}

int32_t ComparisonPlugin::createExpression(wchar_t const* i_Name,
                                           Tessarine::Expression** o_Expression) {
    *o_Expression = makeComparison(*this, i_Name);
    if (*o_Expression == nullptr) {
        report("no expression named '" + displayText(i_Name) + "'", true);
        return PLUGIN_ERROR_EXPRESSION_NOT_FOUND;
    }
    report("created " + displayText(i_Name), false);
    return PLUGIN_OK;
}

void ComparisonPlugin::destroyExpression(Tessarine::Expression* i_Expression) {
    report("destroyed " + displayText(i_Expression->getName()), false);
    delete i_Expression;
}

} // namespace TessarineExamples
