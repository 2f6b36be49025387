#ifndef TESSARINE_EXAMPLES_COMPARISON_PLUGIN_H
#define TESSARINE_EXAMPLES_COMPARISON_PLUGIN_H

#include <Tessarine/Plugin.h>

#include <string>

namespace TessarineExamples {

/// A plug-in of comparisons that answer PLUGIN_RESULT_TRUE or PLUGIN_RESULT_FALSE: text
/// equality (exact or ignoring case), containment, membership in an escaped list, and the order
/// of dotted version numbers. Each expression compares its properties `left` and `right`.
///
/// The plug-in owns its expressions: createExpression() makes them with new, and only
/// destroyExpression() deletes them, when the host calls cleanup(). Between the two the library
/// leases and reuses them.
///
/// It reports through the host's event trigger (creation, destruction, and every failure with
/// its reason, marked as failure) and asks the host's interrupt signaler between the steps of
/// long comparisons. Both callbacks are optional.
class ComparisonPlugin : public Tessarine::Plugin {
public:
    wchar_t const* getName() override;
    wchar_t const* getVersion() override;
    wchar_t const* getDescription() override;
    wchar_t const* getVendor() override;

    /// True when the host installed an interrupt signaler and it asks to stop.
    bool interruptRequested();
    /// Passes an event to the host's event trigger, if it installed one.
    void report(std::string const& i_Event, bool i_Failure);

protected:
    int32_t onInitialize() override;
    void onCleanup() override;
    int32_t createExpression(wchar_t const* i_Name, Tessarine::Expression** o_Expression) override;
    void destroyExpression(Tessarine::Expression* i_Expression) override;
};

} // namespace TessarineExamples

#endif
