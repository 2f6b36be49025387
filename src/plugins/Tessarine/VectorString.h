#include "Tessarine/Constants.h"

#ifndef TESSARINE_VECTORSTRING_H
#define TESSARINE_VECTORSTRING_H

#include "Tessarine/String.h"
#include "Tessarine/StringVector.h"

namespace Tessarine {

/// A list of strings held as one text: the elements, escaped, joined by SEPARATOR, with the
/// number of elements beside it.
///
/// The text: one SEPARATOR between each two elements, none before the first or behind the
/// last; inside an element every SEPARATOR and every ESCAPE is preceded by one ESCAPE, and no
/// other character changes. An empty element contributes no characters, so a list without
/// elements and a list of one empty element have the same empty text and only length() tells
/// them apart; toVector() reads both as no element at all.
///
/// | Elements added with `+=` | Text     | length() | toVector() gives |
/// |--------------------------|----------|----------|------------------|
/// | none                     | empty    | 0        | nothing          |
/// | one empty element        | empty    | 1        | nothing          |
/// | `a`, then `b`            | `a,b`    | 2        | `a`, `b`         |
/// | `a,b`                    | `a\,b`   | 1        | `a,b`            |
/// | `a\b`                    | `a\\b`   | 1        | `a\b`            |
/// | `a`, then empty          | `a,`     | 2        | `a`, empty       |
///
/// Three ways of adding take their argument differently: `+=` takes one raw element and
/// escapes it; append(wchar_t const*) takes an escaped list text and adds its elements one by
/// one; append(VectorString const&) joins another list as it stands.
///
/// Cost: the text is one String, and every append to a String measures the whole text again.
/// Each element added (with `+=`, or by append(wchar_t const*), which adds element by element)
/// therefore costs time in the length of the text built so far, and building a list of many
/// thousand elements is quadratic in the length of its text. append(VectorString const&) joins
/// a whole list in one such step.
///
/// \code
/// Tessarine::VectorString list;
/// list += L"a,b";       // one element, stored as a\,b
/// list += L"c";         // the text a\,b,c and length() 2
/// std::unique_ptr<Tessarine::StringVector> elements(list.getVector()); // "a,b" and "c"
/// \endcode
///
/// Exhausted memory throws std::bad_alloc; the class has no result codes. Splitting a text into
/// a vector (toVector(), and so getVector() and append(wchar_t const*)) leaves out the elements
/// for which the vector's slot array cannot grow, with no exception and no code. After
/// std::bad_alloc, toVector() and append(wchar_t const*) keep what they had done so far.
///
/// Lists share nothing: different lists may serve different threads, one thread at a time
/// each.
class TESSARINE_API VectorString {
public:
    /// The comma that stands between two elements.
    static wchar_t const SEPARATOR;
    /// The backslash that makes the next character stand for itself.
    static wchar_t const ESCAPE;

    VectorString();
    /// The copy's text has the capacity of the source's text, not of its buffer.
    VectorString(VectorString const& i_Other);
    virtual ~VectorString();

    /// Takes the other's text and count; assigning a list to itself changes nothing.
    VectorString& operator=(VectorString const& i_Other);

    /// Adds one element, the raw text, escaping it. A null or empty text adds an empty element.
    ///
    /// The separator and the escaped element go into the text in one append. If memory runs
    /// out while the element is handled, the list still gains the element, as an empty one
    /// (its separator alone), and std::bad_alloc passes on; if even the separator cannot be
    /// appended then, the list stays as it was.
    VectorString& operator+=(wchar_t const* i_Element);
    /// Converts through String(char const*); a null or unconvertible text adds an empty
    /// element.
    VectorString& operator+=(char const* i_Element);

    /// Joins another list: a separator when this list has elements (also when the other is
    /// empty), then the other's text unchanged, and its count added to this one's. A list
    /// appended to itself does not change.
    VectorString& append(VectorString const& i_Other);
    /// Takes the text as an escaped list and adds its elements one by one, escaping them
    /// again. A null or empty text adds nothing; a lone ESCAPE at the end is dropped.
    VectorString& append(wchar_t const* i_Text);
    /// A null text changes nothing; otherwise converts through String(char const*) and
    /// appends the result as above, so an unconvertible text adds nothing.
    VectorString& append(char const* i_Text);

    /// The number of elements added, not the length of the text.
    int length() const;
    /// The escaped text, never null; valid until the list grows or dies.
    operator wchar_t const*() const;
    /// A new vector of the elements (see toVector()). The caller destroys it with delete.
    StringVector* getVector() const;
    /// Back to a list without elements; the text keeps its capacity.
    void reset();

    /// Splits an escaped list text into the vector, which is emptied with removeAll() first so
    /// that its Strings are reused. Null and empty text give no element; otherwise there is
    /// always one element more than unescaped separators. Any character behind an ESCAPE
    /// stands for itself. The text must not lie in one of the vector's own Strings.
    static void toVector(wchar_t const* i_Text, StringVector& o_Vector);

    /// Equality looks at the texts alone, never at the counts.
    ///@{
    bool operator==(VectorString const& i_Other) const;
    bool operator!=(VectorString const& i_Other) const;
    ///@}
    /// Order looks at the counts first: the list with fewer elements is the lesser, whatever
    /// the texts; at equal counts the texts decide by String::operator<.
    ///@{
    bool operator<(VectorString const& i_Other) const;
    bool operator>(VectorString const& i_Other) const;
    ///@}
    /// `<` or `==`: equal texts suffice, whatever the counts.
    bool operator<=(VectorString const& i_Other) const;
    /// `>` or `==`: equal texts suffice, whatever the counts.
    bool operator>=(VectorString const& i_Other) const;

    /// Comparisons with a wide text see the escaped text: the list of the one element `a,b`
    /// equals `a\,b`, not `a,b`.
    ///@{
    bool operator==(wchar_t const* i_Text) const;
    bool operator!=(wchar_t const* i_Text) const;
    bool operator<(wchar_t const* i_Text) const;
    bool operator<=(wchar_t const* i_Text) const;
    bool operator>(wchar_t const* i_Text) const;
    bool operator>=(wchar_t const* i_Text) const;
    ///@}

private:
    TESSARINE_LOCAL void addEmptyElement();

    String m_Value;
    int m_Count;
};

} // namespace Tessarine

#endif
