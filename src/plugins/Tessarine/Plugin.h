#include "Tessarine/Constants.h"

#ifndef TESSARINE_PLUGIN_H
#define TESSARINE_PLUGIN_H

#include "Tessarine/Expression.h"
#include "Tessarine/ExpressionPool.h"
#include "Tessarine/StringVector.h"

namespace Tessarine {

/// Base class of every plug-in.
///
/// A concrete plug-in supplies the pure operations; the host drives it through the non-virtual
/// entry points, which wrap the library's own steps around those operations. Expressions are
/// leased by name: a request is met from the pool when a free instance of the name exists and
/// from createExpression() otherwise, a returned instance is disposed and kept for the next
/// request, and cleanup() hands every instance to destroyExpression().
///
/// What passes between host and plug-in beyond that is agreed between the two, not by the
/// library: the texts of getName() and its neighbours, what Expression::getName(),
/// Expression::evaluate() and Expression::getResult() mean, and the meaning of the two
/// callbacks. The library stores and hands these on and never interprets them.
///
/// \code
/// Tessarine::Expression* expression = nullptr;
/// if (plugin.getExpression(L"VersionLess", &expression) == PLUGIN_OK) {
///     expression->setProperty(L"left", L"1.9");
///     expression->setProperty(L"right", L"1.10");
///     if (expression->evaluate() == PLUGIN_OK) {
///         show(expression->getResult());
///     }
///     plugin.disposeExpression(expression); // kept for the next lease of VersionLess
/// }
/// plugin.cleanup(); // destroys every instance; the destructor would not
/// \endcode
///
/// The destructor frees the pool's entries but not the instances in them: a plug-in that still
/// holds instances goes through cleanup() before it is destroyed.
///
/// Cost: the pool has no index by name, so getExpression() and disposeExpression() walk all the
/// instances the plug-in holds. A lease and its disposal take about 10 microseconds with 1000
/// instances held and about 0.1 milliseconds with 8000 (bench/lease_bench). Served from the
/// pool, they allocate nothing.
///
/// One call at a time on a plug-in and on the expressions it leased; different plug-ins may
/// serve different threads.
class TESSARINE_API Plugin {
public:
    /// Asked by long-running work whether it should stop. Stored for plug-ins, never called.
    using InterruptSignaler = bool (*)();
    /// Reports an event by name. Stored for plug-ins, never called.
    using EventTrigger = void (*)(char const*, bool);

    /// An empty pool, no advertised names, both callbacks null.
    Plugin();
    /// Calls no pure operation and destroys no Expression.
    virtual ~Plugin();

    Plugin(Plugin const&) = delete;
    Plugin& operator=(Plugin const&) = delete;

    /// The plug-in's name, version, description and vendor, for the host. The library never
    /// calls them.
    ///@{
    virtual wchar_t const* getName() = 0;
    virtual wchar_t const* getVersion() = 0;
    virtual wchar_t const* getDescription() = 0;
    virtual wchar_t const* getVendor() = 0;
    ///@}

    /// Returns what onInitialize() returned.
    int32_t initialize();
    /// onCleanup(), then destroyExpressions(). The plug-in stays usable afterwards.
    void cleanup();

    /// Leases an instance of the name into `*o_Expression`: a free one from the pool, else a new
    /// one from createExpression(), entered as leased. PLUGIN_ERROR_INVALID_ARGUMENT for a null
    /// name or `o_Expression` (nothing is written then). A factory's non-zero result is passed
    /// on unchanged, with `*o_Expression` as the factory left it; a factory that yields null or
    /// an instance the pool already holds gets the pool's refusal. Go by the result, not by
    /// `*o_Expression`.
    /// Exhausted memory throws std::bad_alloc before the factory is called, so no instance is
    /// ever made that the pool could not take.
    int32_t getExpression(wchar_t const* i_Name, Expression** o_Expression);
    /// Disposes the instance (even one the pool does not know), then frees its entry for the
    /// next lease. PLUGIN_ERROR_INVALID_ARGUMENT for null, otherwise the result of
    /// ExpressionPool::put.
    int32_t disposeExpression(Expression* i_Expression);
    /// Takes every instance out of the pool, leased or free, and hands it to
    /// destroyExpression() without disposing it.
    void destroyExpressions();

    /// Advertises a name; the result of StringVector::addString. The name must not be null:
    /// a null name stops the process.
    int32_t addExpression(wchar_t const* i_Name);
    /// The plug-in's own list of advertised names, not a copy: changes made through it show
    /// in the next call. Leasing neither reads nor writes it.
    StringVector& listExpressions();

    /// Stores and hands out the host's callbacks; both start at null, and null is stored like
    /// any other value. The library never calls them.
    ///@{
    void setInterruptSignaler(InterruptSignaler i_Signaler);
    InterruptSignaler getInterruptSignaler();
    void setEventTrigger(EventTrigger i_Trigger);
    EventTrigger getEventTrigger();
    ///@}

protected:
    /// Called by initialize(), which returns its result.
    virtual int32_t onInitialize() = 0;
    /// Runs while every instance is still in the pool.
    virtual void onCleanup() = 0;
    /// The factory. Finds `*o_Expression` null. Zero means `*o_Expression` holds a new instance
    /// that is in no entry of this plug-in's pool; any other value is passed to the host.
    virtual int32_t createExpression(wchar_t const* i_Name, Expression** o_Expression) = 0;
    /// Takes the instance over for good; it has already left the pool.
    virtual void destroyExpression(Expression* i_Expression) = 0;

private:
    ExpressionPool m_Pool;
    StringVector m_ExpressionNames;
    InterruptSignaler m_InterruptSignaler;
    EventTrigger m_EventTrigger;
};

} // namespace Tessarine

#endif
