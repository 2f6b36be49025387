// A plug-in that keeps the contract, but for the one fault that BROKEN_FAULT names: each build
// of this file is a plug-in that `tessarine-plugin check` must fail, on one check.

#include <Tessarine/PluginEntry.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <unistd.h>

#define FAULT(name) (BROKEN_FAULT == BROKEN_##name)

// The faults, one number each; BROKEN_FAULT is one of them.
#define BROKEN_NONE 0
#define BROKEN_NULL_INSTANCE 1
#define BROKEN_REFUSED_NAME 2
#define BROKEN_SHARED_INSTANCE 3
#define BROKEN_LEAKING_DESTROY 4
#define BROKEN_LEAKING_EVALUATE 5
#define BROKEN_CRASH_EVALUATE 6
#define BROKEN_THROW_EVALUATE 7
#define BROKEN_CRASH_DISPOSE 8
#define BROKEN_THROW_DISPOSE 9
#define BROKEN_HANG 10
#define BROKEN_ABORT_UNLOAD 11
#define BROKEN_WRONG_MAJOR 12
#define BROKEN_MISSING_ENTRY 13
#define BROKEN_NULL_METADATA 14
#define BROKEN_TWICE_ADVERTISED 15
#define BROKEN_FAILING_INITIALIZE 16
#define BROKEN_LOST_PROPERTY 17
#define BROKEN_NULL_RESULT 18

namespace {

constexpr int32_t INTERRUPTED = -20001;

[[noreturn]] void crash(char const* i_Where) {
    // Said first, so that the checker has something of the plug-in's to show.
    std::printf("broken plug-in: crashing in %s\n", i_Where);
    std::fflush(stdout);
    std::raise(SIGSEGV);
    std::abort();
}

class Probe : public Tessarine::Expression {
public:
    wchar_t const* getName() override { return L"Probe"; }

    int32_t evaluate() override {
        if (FAULT(LEAKING_EVALUATE)) {
            m_Leaked = new int[4]; // the previous block is lost
        }
        if (FAULT(CRASH_EVALUATE)) {
            crash("evaluate");
        }
        if (FAULT(THROW_EVALUATE)) {
            throw std::runtime_error("evaluate broke");
        }
        // Hangs until the host's interrupt signaler, if it gave one, asks it to stop.
        while (FAULT(HANG)) {
            if (m_Stop != nullptr && m_Stop()) {
                return INTERRUPTED;
            }
            usleep(10000);
        }
        if (FAULT(LOST_PROPERTY)) {
            deleteProperties();
        }
        return PLUGIN_OK;
    }

    wchar_t const* getResult() override {
        return FAULT(NULL_RESULT) ? nullptr : PLUGIN_RESULT_TRUE;
    }

    void onDispose() override {
        if (FAULT(CRASH_DISPOSE)) {
            crash("onDispose");
        }
        if (FAULT(THROW_DISPOSE)) {
            throw std::logic_error("onDispose broke");
        }
    }

    Tessarine::Plugin::InterruptSignaler m_Stop = nullptr;

private:
    int* m_Leaked = nullptr;
};

class BrokenPlugin : public Tessarine::Plugin {
public:
    wchar_t const* getName() override { return L"broken"; }
    wchar_t const* getVersion() override { return L"1"; }
    wchar_t const* getDescription() override { return L"breaks the contract once"; }
    wchar_t const* getVendor() override { return FAULT(NULL_METADATA) ? nullptr : L"tests"; }

protected:
    int32_t onInitialize() override {
        if (FAULT(FAILING_INITIALIZE)) {
            return PLUGIN_ERROR_INVALID_ARGUMENT;
        }
        if (listExpressions().length() > 0) {
            return PLUGIN_OK;
        }
        addExpression(L"Probe");
        if (FAULT(TWICE_ADVERTISED)) {
            addExpression(L"Probe");
        }
        if (FAULT(REFUSED_NAME)) {
            addExpression(L"Refused");
        }
        return PLUGIN_OK;
    }

    void onCleanup() override {}

    int32_t createExpression(wchar_t const* i_Name, Tessarine::Expression** o_Expression) override {
        if (std::wstring(i_Name) != L"Probe") {
            return PLUGIN_ERROR_EXPRESSION_NOT_FOUND;
        }
        *o_Expression = FAULT(NULL_INSTANCE)     ? nullptr
                        : FAULT(SHARED_INSTANCE) ? &m_Shared
                                                 : new (std::nothrow) Probe;
        if (*o_Expression != nullptr) {
            static_cast<Probe*>(*o_Expression)->m_Stop = getInterruptSignaler();
        }
        return PLUGIN_OK;
    }

    void destroyExpression(Tessarine::Expression* i_Expression) override {
        if (!FAULT(LEAKING_DESTROY) && i_Expression != &m_Shared) {
            delete i_Expression;
        }
    }

private:
    Probe m_Shared;
};

#if FAULT(ABORT_UNLOAD)
struct AbortAtUnload {
    ~AbortAtUnload() { std::abort(); }
} g_AbortAtUnload;
#endif

} // namespace

#if FAULT(WRONG_MAJOR)
#undef TESSARINE_VERSION_MAJOR
#define TESSARINE_VERSION_MAJOR 99
#endif

#if FAULT(MISSING_ENTRY)
// The factory and the version, without the destroyer.
extern "C" TESSARINE_API Tessarine::Plugin* tessarine_create_plugin() noexcept {
    return new (std::nothrow) BrokenPlugin;
}
extern "C" TESSARINE_API int const tessarine_plugin_version_major = TESSARINE_VERSION_MAJOR;
#else
TESSARINE_PLUGIN(BrokenPlugin);
#endif
