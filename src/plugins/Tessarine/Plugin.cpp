#include "Tessarine/Plugin.h"

// glibc's handler behind assert(). It is declared here because <assert.h> hides it when NDEBUG
// is set, and these checks must stop the process in every build type.
extern "C" [[noreturn]] void __assert_fail(char const* i_Assertion, char const* i_File,
                                           unsigned int i_Line, char const* i_Function) noexcept;

namespace Tessarine {

namespace {

// What a failed check reports. The texts are part of the library's behaviour and are matched
// as they stand, so they are fixed here instead of following the layout of this file.
struct Check {
    char const* m_Condition;
    unsigned int m_Line;
    char const* m_Function;
};

constexpr char const* CHECK_SOURCE = "../../../src/plugins/Tessarine/Plugin";

constexpr Check NAME_GIVEN = {"i_Name != __null", 94,
                              "void Tessarine::Plugin::addExpression(const wchar_t*)"};
constexpr Check EXPRESSION_GIVEN = {"expression != __null", 108,
                                    "void Tessarine::Plugin::destroyExpressions()"};

void require(bool i_Holds, Check const& i_Check) {
    if (!i_Holds) {
        __assert_fail(i_Check.m_Condition, CHECK_SOURCE, i_Check.m_Line, i_Check.m_Function);
    }
}

} // namespace

Plugin::Plugin() : m_InterruptSignaler(nullptr), m_EventTrigger(nullptr) {}

Plugin::~Plugin() = default;

int32_t Plugin::initialize() {
    return onInitialize();
}

void Plugin::cleanup() {
    onCleanup();
    destroyExpressions();
}

int32_t Plugin::getExpression(wchar_t const* i_Name, Expression** o_Expression) {
    if (i_Name == nullptr || o_Expression == nullptr) {
        return PLUGIN_ERROR_INVALID_ARGUMENT;
    }
    if (m_Pool.get(i_Name, o_Expression) == PLUGIN_OK) {
        return PLUGIN_OK;
    }
    // No free instance of the name (the pool left the place null): the factory alone decides
    // whether it knows the name. The pool's entry is taken first: were memory to run out once
    // the instance exists, it would be in no entry, and cleanup() could never destroy it.
    ExpressionPool::Reservation reservation = ExpressionPool::reserve(i_Name);
    int32_t const created = createExpression(i_Name, o_Expression);
    if (created != PLUGIN_OK) {
        return created;
    }
    int32_t const admitted = m_Pool.admit(*o_Expression);
    if (admitted == PLUGIN_OK) {
        m_Pool.enter(reservation, *o_Expression, true);
    }
    return admitted;
}

int32_t Plugin::disposeExpression(Expression* i_Expression) {
    if (i_Expression == nullptr) {
        return PLUGIN_ERROR_INVALID_ARGUMENT;
    }
    i_Expression->dispose();
    return m_Pool.put(i_Expression);
}

void Plugin::destroyExpressions() {
    Expression* expression = nullptr;
    while (m_Pool.remove(&expression) == PLUGIN_OK) {
        // The pool takes no null instance, so a removed entry always yields one.
        require(expression != nullptr, EXPRESSION_GIVEN);
        destroyExpression(expression);
    }
}

int32_t Plugin::addExpression(wchar_t const* i_Name) {
    require(i_Name != nullptr, NAME_GIVEN);
    return m_ExpressionNames.addString(i_Name);
}

StringVector& Plugin::listExpressions() {
    return m_ExpressionNames;
}

void Plugin::setInterruptSignaler(InterruptSignaler i_Signaler) {
    m_InterruptSignaler = i_Signaler;
}

Plugin::InterruptSignaler Plugin::getInterruptSignaler() {
    return m_InterruptSignaler;
}

void Plugin::setEventTrigger(EventTrigger i_Trigger) {
    m_EventTrigger = i_Trigger;
}

Plugin::EventTrigger Plugin::getEventTrigger() {
    return m_EventTrigger;
}

} // namespace Tessarine
