#ifndef TESSARINE_EXAMPLES_COMPARISONS_H
#define TESSARINE_EXAMPLES_COMPARISONS_H

#include <Tessarine/Expression.h>

#include <vector>

namespace TessarineExamples {

class ComparisonPlugin;

/// The names of the comparisons, in the order in which the plug-in advertises them.
std::vector<wchar_t const*> const& comparisonNames();

/// A new comparison of that name, owned by the caller, or null when there is none by that
/// name. Names are matched exactly, case included.
Tessarine::Expression* makeComparison(ComparisonPlugin& i_Plugin, wchar_t const* i_Name);

} // namespace TessarineExamples

#endif
