#ifndef TESSARINE_TESTS_RECORDINGPLUGIN_H
#define TESSARINE_TESTS_RECORDINGPLUGIN_H

// A plug-in and an expression for tests and examples: they count the calls of every pure
// operation, so a test can tell what the library did on its way through the frame. Counting
// allocates nothing, so they also serve where allocations are measured.

#include <Tessarine/Expression.h>
#include <Tessarine/Plugin.h>

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace TessarineTest {

/// Calls of the pure operations of one plug-in and of the expressions it created.
struct CallCounts {
    int m_OnInitialize = 0;
    int m_OnCleanup = 0;
    int m_CreateExpression = 0;
    int m_DestroyExpression = 0;
    int m_OnDispose = 0;
};

/// Evaluates to PLUGIN_RESULT_TRUE while it has a property "value", PLUGIN_RESULT_FALSE otherwise.
class RecordingExpression : public Tessarine::Expression {
public:
    /// `i_Counts` (may be null) also receives the onDispose() calls, for the plug-in's tally.
    explicit RecordingExpression(std::wstring i_Name, CallCounts* i_Counts = nullptr)
        : m_Name(std::move(i_Name)), m_Counts(i_Counts) {}

    wchar_t const* getName() override { return m_Name.c_str(); }
    int32_t evaluate() override {
        m_Result = getProperty(L"value") != nullptr ? PLUGIN_RESULT_TRUE : PLUGIN_RESULT_FALSE;
        return PLUGIN_OK;
    }
    wchar_t const* getResult() override { return m_Result; }
    void onDispose() override {
        ++m_Disposals;
        m_PropertiesAtDispose = m_Properties.size();
        if (m_Counts != nullptr) {
            ++m_Counts->m_OnDispose;
        }
    }

    /// The property names in the order the expression keeps them.
    std::vector<std::wstring> propertyNames() const {
        std::vector<std::wstring> names;
        for (Property const& property : m_Properties) {
            names.emplace_back(static_cast<wchar_t const*>(property.first));
        }
        return names;
    }
    std::size_t propertyCount() const { return m_Properties.size(); }
    std::size_t propertyCapacity() const { return m_Properties.capacity(); }

    int m_Disposals = 0;
    /// How many properties onDispose() saw the last time it ran.
    std::size_t m_PropertiesAtDispose = 0;

private:
    std::wstring m_Name;
    CallCounts* m_Counts;
    wchar_t const* m_Result = PLUGIN_RESULT_FALSE;
};

/// Creates a RecordingExpression for any name unless `m_Factory` says otherwise, and deletes
/// in destroyExpression() what it created. Instances still alive when the plug-in dies (leased
/// or pooled without a cleanup()) are deleted then, so tests need not clean up.
class RecordingPlugin : public Tessarine::Plugin {
public:
    /// Stands in for the default factory while set; its result is what createExpression gives.
    using Factory = std::function<int32_t(wchar_t const*, Tessarine::Expression**)>;

    ~RecordingPlugin() override {
        for (Tessarine::Expression* expression : m_Live) {
            delete expression;
        }
    }

    wchar_t const* getName() override { return L"recording"; }
    wchar_t const* getVersion() override { return L"1.0"; }
    wchar_t const* getDescription() override { return L"Counts the calls of the frame"; }
    wchar_t const* getVendor() override { return L"Tessarine tests"; }

    /// Whether this plug-in created the instance and has not destroyed it yet.
    bool isAlive(Tessarine::Expression const* i_Expression) const {
        return m_Live.count(i_Expression) != 0;
    }

    CallCounts m_Calls;
    /// What onInitialize() returns.
    int32_t m_InitializeResult = PLUGIN_OK;
    Factory m_Factory;
    /// False once createExpression() found a place that was not null.
    bool m_PlacesWereNull = true;
    /// The destroyExpression() count when onCleanup() last ran.
    int m_DestroyedAtCleanup = -1;

protected:
    int32_t onInitialize() override {
        ++m_Calls.m_OnInitialize;
        return m_InitializeResult;
    }
    void onCleanup() override {
        ++m_Calls.m_OnCleanup;
        m_DestroyedAtCleanup = m_Calls.m_DestroyExpression;
    }
    int32_t createExpression(wchar_t const* i_Name, Tessarine::Expression** o_Expression) override {
        ++m_Calls.m_CreateExpression;
        m_PlacesWereNull = m_PlacesWereNull && *o_Expression == nullptr;
        if (m_Factory) {
            return m_Factory(i_Name, o_Expression);
        }
        auto* expression = new RecordingExpression(i_Name, &m_Calls);
        m_Live.insert(expression);
        *o_Expression = expression;
        return PLUGIN_OK;
    }
    void destroyExpression(Tessarine::Expression* i_Expression) override {
        ++m_Calls.m_DestroyExpression;
        if (m_Live.erase(i_Expression) != 0) {
            delete i_Expression;
        }
    }

private:
    std::set<Tessarine::Expression*, std::less<>> m_Live;
};

} // namespace TessarineTest

#endif
