#ifndef TESSARINE_TESTS_RECORDINGPLUGIN_H
#define TESSARINE_TESTS_RECORDINGPLUGIN_H

// A plug-in and an expression for tests and benchmarks: they count the calls of the pure
// operations, so a test can tell what the library did on its way through the frame. Counting
// allocates nothing, so they also serve where allocations are measured.

#include <Tessarine/Expression.h>
#include <Tessarine/Plugin.h>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace TessarineTest {

/// An expression that records what its onDispose() saw.
class RecordingExpression : public Tessarine::Expression {
public:
    /// `i_Disposals` (may be null) counts the onDispose() calls, for the plug-in's tally.
    explicit RecordingExpression(int* i_Disposals = nullptr) : m_Disposals(i_Disposals) {}

    wchar_t const* getName() override { return L"recording"; }
    int32_t evaluate() override { return PLUGIN_OK; }
    wchar_t const* getResult() override { return PLUGIN_RESULT_TRUE; }
    void onDispose() override {
        if (m_Disposals != nullptr) {
            ++*m_Disposals;
        }
        m_PropertiesAtDispose = m_Properties.size();
    }

    /// Every property in the order the expression keeps them, as "name=value;", the value as
    /// getProperty() gives it.
    std::wstring dump() {
        std::wstring text;
        for (Property const& property : m_Properties) {
            wchar_t const* const value = getProperty(property.first);
            text +=
                std::wstring(property.first) + L"=" + (value != nullptr ? value : L"<null>") + L";";
        }
        return text;
    }

    std::size_t m_PropertiesAtDispose = 0;

private:
    int* m_Disposals;
};

/// Creates a RecordingExpression for any name unless `m_Factory` says otherwise, and deletes
/// in destroyExpression() what it created. Instances still alive when the plug-in dies (leased
/// or pooled without a cleanup()) go with it, so tests need not clean up.
class RecordingPlugin : public Tessarine::Plugin {
public:
    wchar_t const* getName() override { return L"recording"; }
    wchar_t const* getVersion() override { return L"1.0"; }
    wchar_t const* getDescription() override { return L"Counts the calls of the frame"; }
    wchar_t const* getVendor() override { return L"Tessarine tests"; }

    int m_Created = 0;
    int m_Destroyed = 0;
    int m_Cleanups = 0;
    int m_Disposals = 0;
    /// What onInitialize() returns.
    int32_t m_InitializeResult = PLUGIN_OK;
    /// Stands in for the default factory while set; its result is what createExpression gives.
    std::function<int32_t(wchar_t const*, Tessarine::Expression**)> m_Factory;
    /// False once createExpression() found a place that was not null.
    bool m_PlacesWereNull = true;
    /// The m_Destroyed count when onCleanup() last ran.
    int m_DestroyedAtCleanup = -1;
    /// The instances this plug-in created and has not destroyed yet, owned until then.
    std::map<Tessarine::Expression*, std::unique_ptr<Tessarine::Expression>> m_Live;

protected:
    int32_t onInitialize() override { return m_InitializeResult; }
    void onCleanup() override {
        ++m_Cleanups;
        m_DestroyedAtCleanup = m_Destroyed;
    }
    int32_t createExpression(wchar_t const* i_Name, Tessarine::Expression** o_Expression) override {
        ++m_Created;
        m_PlacesWereNull = m_PlacesWereNull && *o_Expression == nullptr;
        if (m_Factory) {
            return m_Factory(i_Name, o_Expression);
        }
        auto expression = std::make_unique<RecordingExpression>(&m_Disposals);
        *o_Expression = expression.get();
        m_Live.emplace(*o_Expression, std::move(expression));
        return PLUGIN_OK;
    }
    void destroyExpression(Tessarine::Expression* i_Expression) override {
        ++m_Destroyed;
        m_Live.erase(i_Expression);
    }
};

} // namespace TessarineTest

#endif
