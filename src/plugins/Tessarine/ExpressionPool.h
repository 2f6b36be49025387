#include "Tessarine/Constants.h"

#ifndef TESSARINE_EXPRESSIONPOOL_H
#define TESSARINE_EXPRESSIONPOOL_H

#include "Tessarine/Expression.h"
#include "Tessarine/String.h"

#include <functional>
#include <memory>
#include <set>

namespace Tessarine {

/// A plug-in's store of expression instances, so that an instance handed back can be leased
/// again under the same name instead of being created anew.
///
/// Each entry records the name the instance joined under and whether it is out on lease. The
/// pool never creates, disposes or destroys an Expression: it holds pointers and owns only its
/// entries. An instance stands in at most one entry; several entries may share a name, and any
/// free one of them serves a lease.
///
/// There is no index by name: lookups walk the entries from the first, which suits the few
/// instances per plug-in that leasing produces. get(), put(), remove() and both find()
/// operations allocate nothing.
class TESSARINE_API ExpressionPool {
public:
    /// One entry of the pool.
    struct ExpressionInfo {
        /// The entry's own copy of the name given to add().
        String m_Name;
        /// The instance; never null, not owned.
        Expression* m_Expression;
        /// True while the instance is leased.
        bool m_InUse;
    };

    /// Entries keyed by their own address. The order serves only to give every walk the same
    /// sequence; it follows neither the names nor the time of insertion.
    using Entries = std::set<ExpressionInfo*, std::less<ExpressionInfo*>>;

    ExpressionPool();
    /// Frees every entry, leased or free. The instances are left alone.
    virtual ~ExpressionPool();

    ExpressionPool(ExpressionPool const&) = delete;
    ExpressionPool& operator=(ExpressionPool const&) = delete;

    /// Enters the instance under the name, leased if `i_InUse`.
    /// PLUGIN_ERROR_INVALID_ARGUMENT for a null name or instance, PLUGIN_ERROR_EXPRESSION_STATE
    /// if the instance already stands in an entry (under whatever name); nothing changes then.
    int32_t add(wchar_t const* i_Name, Expression* i_Expression, bool i_InUse);
    /// Hands a leased instance back, so that its entry is free again.
    /// PLUGIN_ERROR_INVALID_ARGUMENT for null, PLUGIN_ERROR_EXPRESSION_NOT_FOUND for an
    /// instance in no entry, PLUGIN_ERROR_EXPRESSION_STATE if its entry is already free.
    int32_t put(Expression* i_Expression);
    /// Takes the first entry out, leased or free, and yields its instance in `*o_Expression`;
    /// the instance is then the caller's alone. PLUGIN_ERROR_INVALID_ARGUMENT for a null
    /// `o_Expression`; otherwise `*o_Expression` is set to null first and
    /// PLUGIN_ERROR_EXPRESSION_NOT_FOUND tells that the pool is empty.
    int32_t remove(Expression** o_Expression);
    /// Leases the first free entry of the name and yields its instance in `*o_Expression`.
    /// PLUGIN_ERROR_INVALID_ARGUMENT for a null name or `o_Expression` (nothing is written);
    /// otherwise `*o_Expression` is set to null first and PLUGIN_ERROR_EXPRESSION_NOT_FOUND
    /// tells that no entry of the name is free.
    int32_t get(wchar_t const* i_Name, Expression** o_Expression);

    /// The first free entry of the name, or the end of m_Expressions; null finds nothing.
    Entries::iterator find(wchar_t const* i_Name);
    /// The entry of the instance, leased or free, or the end of m_Expressions; null finds
    /// nothing.
    Entries::iterator find(Expression* i_Expression);

    /// The entries, owned by the pool. Open for reading the results of find(); only the pool's
    /// own operations change it.
    Entries m_Expressions;

private:
    friend class Plugin;

    struct Reservation {
        std::unique_ptr<ExpressionInfo> m_Entry;
        Entries::node_type m_Node;
    };

    TESSARINE_LOCAL int32_t admit(Expression* i_Expression);
    TESSARINE_LOCAL static Reservation reserve(wchar_t const* i_Name);
    TESSARINE_LOCAL void enter(Reservation& io_Reservation, Expression* i_Expression,
                               bool i_InUse) noexcept;
};

} // namespace Tessarine

#endif
