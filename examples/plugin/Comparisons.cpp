#include "Comparisons.h"

#include "ComparisonPlugin.h"
#include "ExampleResults.h"
#include "Text.h"

#include <Tessarine/String.h>
#include <Tessarine/StringVector.h>
#include <Tessarine/VectorString.h>

#include <algorithm>
#include <cwchar>
#include <string>

namespace TessarineExamples {
namespace {

using Tessarine::String;
using TessarineSupport::displayText;

/// What every comparison shares: it reads the properties `left` and `right`, decides, and
/// keeps PLUGIN_RESULT_TRUE or PLUGIN_RESULT_FALSE as its result until it is disposed. A
/// failed evaluation leaves the empty result and tells the host why through the plug-in.
class Comparison : public Tessarine::Expression {
public:
    Comparison(ComparisonPlugin& i_Plugin, wchar_t const* i_Name)
        : m_Plugin(i_Plugin), m_Name(i_Name), m_Result(L"") {}

    wchar_t const* getName() override { return m_Name; }

    int32_t evaluate() override {
        m_Result = L"";
        wchar_t const* const left = getProperty(L"left");
        wchar_t const* const right = getProperty(L"right");
        if (left == nullptr || right == nullptr) {
            return fail(PLUGIN_ERROR_PROPERTY_NOT_FOUND, "needs the properties left and right");
        }
        bool holds = false;
        int32_t const result = compare(left, right, holds);
        if (result == PLUGIN_OK) {
            m_Result = holds ? PLUGIN_RESULT_TRUE : PLUGIN_RESULT_FALSE;
        }
        return result;
    }

    wchar_t const* getResult() override { return m_Result; }

    // The next lease must not see this lease's answer; the library removes the properties.
    void onDispose() override { m_Result = L""; }

protected:
    /// Decides the comparison. Anything but PLUGIN_OK leaves the result empty.
    virtual int32_t compare(wchar_t const* i_Left, wchar_t const* i_Right, bool& o_Holds) = 0;

    int32_t fail(int32_t i_Result, std::string const& i_Reason) {
        m_Plugin.report(displayText(m_Name) + ": " + i_Reason, true);
        return i_Result;
    }

    /// Long comparisons ask between their steps; the answer ends the evaluation.
    bool interrupted() { return m_Plugin.interruptRequested(); }

    int32_t failInterrupted() { return fail(EXAMPLE_ERROR_INTERRUPTED, "interrupted"); }

private:
    ComparisonPlugin& m_Plugin;
    wchar_t const* const m_Name;
    wchar_t const* m_Result;
};

using TextTest = bool (*)(wchar_t const* i_Left, wchar_t const* i_Right);

bool equalText(wchar_t const* i_Left, wchar_t const* i_Right) {
    return String(i_Left) == i_Right;
}

// Case follows the locale that the host has set, as String::toLowerCase does.
bool equalIgnoringCase(wchar_t const* i_Left, wchar_t const* i_Right) {
    String left(i_Left);
    String right(i_Right);
    return left.toLowerCase() == right.toLowerCase();
}

bool containsText(wchar_t const* i_Left, wchar_t const* i_Right) {
    return std::wcsstr(i_Left, i_Right) != nullptr;
}

/// A comparison of two texts in one step.
class TextComparison : public Comparison {
public:
    TextComparison(ComparisonPlugin& i_Plugin, wchar_t const* i_Name, TextTest i_Test)
        : Comparison(i_Plugin, i_Name), m_Test(i_Test) {}

protected:
    int32_t compare(wchar_t const* i_Left, wchar_t const* i_Right, bool& o_Holds) override {
        o_Holds = m_Test(i_Left, i_Right);
        return PLUGIN_OK;
    }

private:
    TextTest const m_Test;
};

/// Whether `left` is one of the elements of `right`, an escaped list as VectorString writes
/// it: elements separated by commas, a comma or backslash inside an element preceded by a
/// backslash. An empty `right` is the empty list.
class ListComparison : public Comparison {
public:
    using Comparison::Comparison;

protected:
    int32_t compare(wchar_t const* i_Left, wchar_t const* i_Right, bool& o_Holds) override {
        Tessarine::StringVector elements;
        Tessarine::VectorString::toVector(i_Right, elements);
        o_Holds = false;
        for (int index = 0; index < elements.length() && !o_Holds; ++index) {
            if (interrupted()) {
                return failInterrupted();
            }
            o_Holds = elements[index] == i_Left;
        }
        return PLUGIN_OK;
    }
};

/// Splits a version number such as 1.10.2 into its numbers. Only digits and single dots
/// between them are accepted: no sign, no blank, no empty part.
bool parseVersion(wchar_t const* i_Text, std::vector<long>& o_Parts) {
    String part;
    for (wchar_t const* cursor = i_Text;; ++cursor) {
        if (*cursor == L'.' || *cursor == L'\0') {
            long value = 0;
            if (!part.toLong(value, true)) {
                return false;
            }
            o_Parts.push_back(value);
            if (*cursor == L'\0') {
                return true;
            }
            part = L"";
        } else if (*cursor >= L'0' && *cursor <= L'9') {
            part += *cursor;
        } else {
            return false;
        }
    }
}

using OrderTest = bool (*)(int i_Order);

bool sameOrder(int i_Order) {
    return i_Order == 0;
}
bool lessOrder(int i_Order) {
    return i_Order < 0;
}
bool notLessOrder(int i_Order) {
    return i_Order >= 0;
}

/// Orders two version numbers part by part, numerically, so that 1.10 follows 1.9. Missing
/// parts count as 0, so 2, 2.0 and 2.0.0 are the same version.
class VersionComparison : public Comparison {
public:
    VersionComparison(ComparisonPlugin& i_Plugin, wchar_t const* i_Name, OrderTest i_Test)
        : Comparison(i_Plugin, i_Name), m_Test(i_Test) {}

protected:
    int32_t compare(wchar_t const* i_Left, wchar_t const* i_Right, bool& o_Holds) override {
        std::vector<long> left;
        std::vector<long> right;
        if (!parseVersion(i_Left, left)) {
            return notAVersion(i_Left);
        }
        if (!parseVersion(i_Right, right)) {
            return notAVersion(i_Right);
        }
        int order = 0;
        std::size_t const parts = std::max(left.size(), right.size());
        for (std::size_t index = 0; index < parts && order == 0; ++index) {
            if (interrupted()) {
                return failInterrupted();
            }
            order = compareParts(partAt(left, index), partAt(right, index));
        }
        o_Holds = m_Test(order);
        return PLUGIN_OK;
    }

private:
    static long partAt(std::vector<long> const& i_Parts, std::size_t i_Index) {
        return i_Index < i_Parts.size() ? i_Parts[i_Index] : 0;
    }

    static int compareParts(long i_Left, long i_Right) {
        return (i_Left > i_Right) - (i_Left < i_Right);
    }

    int32_t notAVersion(wchar_t const* i_Text) {
        return fail(PLUGIN_ERROR_INVALID_ARGUMENT,
                    "'" + displayText(i_Text) + "' is not a version number");
    }

    OrderTest const m_Test;
};

template <TextTest Test>
Tessarine::Expression* makeText(ComparisonPlugin& i_Plugin, wchar_t const* i_Name) {
    return new TextComparison(i_Plugin, i_Name, Test);
}

template <OrderTest Test>
Tessarine::Expression* makeVersion(ComparisonPlugin& i_Plugin, wchar_t const* i_Name) {
    return new VersionComparison(i_Plugin, i_Name, Test);
}

Tessarine::Expression* makeList(ComparisonPlugin& i_Plugin, wchar_t const* i_Name) {
    return new ListComparison(i_Plugin, i_Name);
}

struct Offer {
    wchar_t const* m_Name;
    Tessarine::Expression* (*m_Make)(ComparisonPlugin&, wchar_t const*);
};

// The one place that names the comparisons: what is advertised is what can be made.
constexpr Offer OFFERS[] = {
    {L"TextEquals", makeText<equalText>},
    {L"TextEqualsIgnoreCase", makeText<equalIgnoringCase>},
    {L"TextContains", makeText<containsText>},
    {L"TextInList", makeList},
    {L"VersionEquals", makeVersion<sameOrder>},
    {L"VersionLess", makeVersion<lessOrder>},
    {L"VersionAtLeast", makeVersion<notLessOrder>},
};

} // namespace

std::vector<wchar_t const*> const& comparisonNames() {
    static std::vector<wchar_t const*> const names = [] {
        std::vector<wchar_t const*> list;
        for (Offer const& offer : OFFERS) {
            list.push_back(offer.m_Name);
        }
        return list;
    }();
    return names;
}

Tessarine::Expression* makeComparison(ComparisonPlugin& i_Plugin, wchar_t const* i_Name) {
    for (Offer const& offer : OFFERS) {
        if (std::wcscmp(offer.m_Name, i_Name) == 0) {
            return offer.m_Make(i_Plugin, offer.m_Name);
        }
    }
    return nullptr;
}

} // namespace TessarineExamples
