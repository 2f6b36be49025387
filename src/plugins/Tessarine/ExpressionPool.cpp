#include "Tessarine/ExpressionPool.h"

#include <algorithm>
#include <cwchar>
#include <memory>

namespace Tessarine {

ExpressionPool::ExpressionPool() = default;

ExpressionPool::~ExpressionPool() {
    for (ExpressionInfo* entry : m_Expressions) {
        delete entry;
    }
}

int32_t ExpressionPool::add(wchar_t const* i_Name, Expression* i_Expression, bool i_InUse) {
    if (i_Name == nullptr || i_Expression == nullptr) {
        return PLUGIN_ERROR_INVALID_ARGUMENT;
    }
    if (find(i_Expression) != m_Expressions.end()) {
        return PLUGIN_ERROR_EXPRESSION_STATE;
    }
    // The entry stays with the smart pointer until the set holds it, so running out of memory
    // in the insertion leaves the pool as it was.
    std::unique_ptr<ExpressionInfo> entry(
        new ExpressionInfo{String(i_Name), i_Expression, i_InUse});
    m_Expressions.insert(entry.get());
    entry.release();
    return PLUGIN_OK;
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
