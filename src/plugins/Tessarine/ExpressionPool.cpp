#include "Tessarine/ExpressionPool.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <utility>

namespace Tessarine {

ExpressionPool::ExpressionPool() = default;

ExpressionPool::~ExpressionPool() {
    for (ExpressionInfo* entry : m_Expressions) {
        delete entry;
    }
}

int32_t ExpressionPool::add(wchar_t const* i_Name, Expression* i_Expression, bool i_InUse) {
    if (i_Name == nullptr) {
        return PLUGIN_ERROR_INVALID_ARGUMENT;
    }
    int32_t const admitted = admit(i_Expression);
    if (admitted != PLUGIN_OK) {
        return admitted;
    }
    Reservation reservation = reserve(i_Name);
    enter(reservation, i_Expression, i_InUse);
    return PLUGIN_OK;
}

// Whether the instance may have an entry: it is not null and has none yet.
int32_t ExpressionPool::admit(Expression* i_Expression) {
    if (i_Expression == nullptr) {
        return PLUGIN_ERROR_INVALID_ARGUMENT;
    }
    return find(i_Expression) == m_Expressions.end() ? PLUGIN_OK : PLUGIN_ERROR_EXPRESSION_STATE;
}

// Everything an entry needs from the heap, taken before the instance exists (Plugin takes it
// before it calls the factory): the entry with its copy of the name, and a node of the set,
// taken from a set of its own. Running out of memory here leaves the pool untouched,
// and until enter() the reservation frees both by itself.
ExpressionPool::Reservation ExpressionPool::reserve(wchar_t const* i_Name) {
    Reservation reservation;
    reservation.m_Entry.reset(new ExpressionInfo{String(i_Name), nullptr, false});
    Entries staging;
    staging.insert(reservation.m_Entry.get());
    reservation.m_Node = staging.extract(staging.begin());
    return reservation;
}

// Moving a node between sets links it and allocates nothing, so entering cannot fail.
void ExpressionPool::enter(Reservation& io_Reservation, Expression* i_Expression,
                           bool i_InUse) noexcept {
    io_Reservation.m_Entry->m_Expression = i_Expression;
    io_Reservation.m_Entry->m_InUse = i_InUse;
    m_Expressions.insert(std::move(io_Reservation.m_Node));
    io_Reservation.m_Entry.release();
}

int32_t ExpressionPool::put(Expression* i_Expression) {
    if (i_Expression == nullptr) {
        return PLUGIN_ERROR_INVALID_ARGUMENT;
    }
    auto const found = find(i_Expression);
    if (found == m_Expressions.end()) {
        return PLUGIN_ERROR_EXPRESSION_NOT_FOUND;
    }
    if (!(*found)->m_InUse) {
        return PLUGIN_ERROR_EXPRESSION_STATE;
    }
    (*found)->m_InUse = false;
    return PLUGIN_OK;
}

int32_t ExpressionPool::remove(Expression** o_Expression) {
    if (o_Expression == nullptr) {
        return PLUGIN_ERROR_INVALID_ARGUMENT;
    }
    *o_Expression = nullptr;
    if (m_Expressions.empty()) {
        return PLUGIN_ERROR_EXPRESSION_NOT_FOUND;
    }
    ExpressionInfo* const first = *m_Expressions.begin();
    m_Expressions.erase(m_Expressions.begin());
    *o_Expression = first->m_Expression;
    delete first;
    return PLUGIN_OK;
}

int32_t ExpressionPool::get(wchar_t const* i_Name, Expression** o_Expression) {
    if (i_Name == nullptr || o_Expression == nullptr) {
        return PLUGIN_ERROR_INVALID_ARGUMENT;
    }
    *o_Expression = nullptr;
    auto const found = find(i_Name);
    if (found == m_Expressions.end()) {
        return PLUGIN_ERROR_EXPRESSION_NOT_FOUND;
    }
    *o_Expression = (*found)->m_Expression;
    (*found)->m_InUse = true;
    return PLUGIN_OK;
}

ExpressionPool::Entries::iterator ExpressionPool::find(wchar_t const* i_Name) {
    if (i_Name == nullptr) {
        return m_Expressions.end();
    }
    return std::find_if(m_Expressions.begin(), m_Expressions.end(),
                        [i_Name](ExpressionInfo const* i_Entry) {
                            return !i_Entry->m_InUse && std::wcscmp(i_Entry->m_Name, i_Name) == 0;
                        });
}

// add() enters no null instance, so null finds nothing without a test of its own.
ExpressionPool::Entries::iterator ExpressionPool::find(Expression* i_Expression) {
    return std::find_if(m_Expressions.begin(), m_Expressions.end(),
                        [i_Expression](ExpressionInfo const* i_Entry) {
                            return i_Entry->m_Expression == i_Expression;
                        });
}

} // namespace Tessarine
