#include "Tessarine/Constants.h"

#ifndef TESSARINE_EXPRESSION_H
#define TESSARINE_EXPRESSION_H

#include "Tessarine/String.h"

#include <utility>
#include <vector>

namespace Tessarine {

/// Base of the objects a plug-in hands out by name.
///
/// The library gives an expression a list of name/value properties and the dispose() step that
/// readies it for its next lease; everything else belongs to the concrete subclass. Instances
/// are created and destroyed by the concrete plug-in (Plugin::createExpression and
/// Plugin::destroyExpression); pools and hosts only point at them. Plugin shows a lease from
/// the host's side.
///
/// Properties keep the order in which their names were first set, and names are unique by
/// exact character comparison (so "a" and "A" are two properties, and "" is a valid name).
/// Lookups are linear walks: an expression is expected to carry a handful of properties.
class TESSARINE_API Expression {
public:
    Expression();
    /// Destroys the properties. Does not call onDispose().
    virtual ~Expression();

    Expression(Expression const&) = delete;
    Expression& operator=(Expression const&) = delete;

    /// The name the instance is offered under.
    virtual wchar_t const* getName() = 0;
    /// Runs the expression on its properties; a result code.
    virtual int32_t evaluate() = 0;
    /// Text of the last evaluation, e.g. PLUGIN_RESULT_TRUE.
    virtual wchar_t const* getResult() = 0;

    /// Lets the concrete expression forget per-lease state. Called by dispose() while the
    /// properties are still there.
    virtual void onDispose() = 0;

    /// Readies the instance for its next lease: onDispose(), then deleteProperties().
    void dispose();

    /// The value of the named property, or null for a null name or an unknown one. The
    /// pointer leads into the value itself and stays good until the next change of the
    /// properties; a property with an empty value gives an empty text, never null.
    wchar_t const* getProperty(wchar_t const* i_Name);
    /// Sets the value of an existing property in place, or appends a new one. A null name is
    /// ignored; a null value stores the empty text (it does not delete the property).
    /// Exhausted memory throws std::bad_alloc and leaves the properties as they were.
    void setProperty(wchar_t const* i_Name, wchar_t const* i_Value);
    /// Removes every property; the storage is kept for the next lease.
    void deleteProperties();
    /// Empties every value; names, their order and their number stay.
    void resetPropertyValues();

protected:
    /// A property: its name, then its value.
    using Property = std::pair<String, String>;

    /// In the order in which the names were first set. Concrete expressions may walk it; it
    /// grows through setProperty() only, to capacities 1, 2, 4, 8 and so on.
    std::vector<Property> m_Properties;
};

} // namespace Tessarine

#endif
