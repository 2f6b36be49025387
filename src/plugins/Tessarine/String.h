#include "Tessarine/Constants.h"

#ifndef TESSARINE_STRING_H
#define TESSARINE_STRING_H

namespace Tessarine {

/// The library's wide text value: a null-terminated wchar_t text in one heap buffer that the
/// object owns.
///
/// \code
/// Tessarine::String name("  r\xC3\xA9sum\xC3\xA9 ");   // converted in LC_CTYPE
/// name.trim().toUpperCase();                          // L"R\u00C9SUM\u00C9"
/// name += L".txt";
/// char* bytes = Tessarine::String::getMultibyteString(name);
/// std::puts(bytes);
/// std::free(bytes);
/// \endcode
///
/// The room a String has only grows: a String that once held a long text keeps it, so the
/// pointer that the conversion to `wchar_t const*` gives stays good until the String needs
/// more room or dies. Copies never share a buffer. The length is not stored: `length()` and
/// every append measure the text again, so building a long text by many appends is quadratic.
///
/// Multibyte text enters through the `char` forms of the constructor, of assignment and of `+=`
/// and leaves through getMultibyteString(); conversions, white-space tests and case mapping
/// follow the process's current LC_CTYPE, collate() its LC_COLLATE. Text that does not convert
/// counts as empty text, and a null pointer acts as empty text everywhere except in Compare()
/// and collate(), which say what they do with it.
///
/// Exhausted memory throws std::bad_alloc and leaves the String as it was.
///
/// Strings share nothing, so different Strings may serve different threads, one thread at a
/// time each. What they share is the process's: the locale, which must not change (setlocale)
/// while another thread converts, collates or maps case, and the conversion state of mbtowc,
/// which `+= char` uses, so no two threads may append single bytes at the same time.
class TESSARINE_API String {
public:
    String();
    /// Holds the one character; a zero character gives the empty text.
    String(wchar_t i_Character);
    /// A copy of the text; null or empty text gives the empty text.
    String(wchar_t const* i_Text);
    /// Converts through mbstowcs; a null or unconvertible text gives the empty text.
    String(char const* i_Text);
    /// Copies the source's whole buffer, so the copy has the source's capacity.
    String(String const& i_Other);
    virtual ~String();

    /// Replaces the text; the capacity grows when needed and never falls. A null text, a
    /// source without text and multibyte text that does not convert all give the empty text;
    /// assigning a String to itself changes nothing.
    ///@{
    String& operator=(String const& i_Other);
    String& operator=(wchar_t const* i_Text);
    String& operator=(char const* i_Text);
    ///@}

    /// A new String of both texts; neither operand changes.
    String operator+(String const& i_Other);
    /// Appends the text, growing to the exact size needed. A null or empty text, a zero
    /// character and a byte that does not convert in LC_CTYPE append nothing.
    ///@{
    String& operator+=(String const& i_Other);
    String& operator+=(wchar_t const* i_Text);
    String& operator+=(wchar_t i_Character);
    String& operator+=(char i_Character);
    ///@}

    /// Compares by Compare(): by character value, and a null text is always greater.
    ///@{
    bool operator==(String const& i_Other) const;
    bool operator==(wchar_t const* i_Text) const;
    bool operator!=(String const& i_Other) const;
    bool operator!=(wchar_t const* i_Text) const;
    bool operator<(String const& i_Other) const;
    bool operator<(wchar_t const* i_Text) const;
    bool operator<=(String const& i_Other) const;
    bool operator<=(wchar_t const* i_Text) const;
    bool operator>(String const& i_Other) const;
    bool operator>(wchar_t const* i_Text) const;
    bool operator>=(String const& i_Other) const;
    bool operator>=(wchar_t const* i_Text) const;
    ///@}

    /// Orders by character value (wcscmp). A null argument gives -1, whatever the text.
    int Compare(wchar_t const* i_Text) const;

    /// The number of characters before the terminator.
    unsigned int length() const;
    /// The buffer itself: valid until the String grows or dies, never null for a live String.
    operator wchar_t const*() const;

    /// Removes leading and trailing white space (iswspace) in place.
    String& trim();
    /// Maps every character with towlower() or towupper() in place.
    ///@{
    String& toLowerCase();
    String& toUpperCase();
    ///@}
    /// Overwrites every occurrence of the first character with the second, in place.
    String& replace(wchar_t i_From, wchar_t i_To);

    /// Parses a base-10 number with wcstol. With `i_WholeText` nothing may follow the digits.
    /// `o_Value` is written only when true is returned; overflow clamps and still succeeds.
    bool toLong(long& o_Value, bool i_WholeText);

    /// A new multibyte text in LC_CTYPE, never null; the caller releases it with free().
    /// Null and unconvertible text both give an empty text.
    static char* getMultibyteString(wchar_t const* i_Text);
    /// Orders by the locale (strcoll of the multibyte forms). A null left side gives 0 against
    /// null and -1 against anything else; a null right side counts as the empty text.
    ///@{
    static int collate(wchar_t const* i_Left, wchar_t const* i_Right);
    static int collate(String const& i_Left, String const& i_Right);
    ///@}

private:
    friend class Configuration;

    TESSARINE_LOCAL void Create(unsigned int i_Size);
    TESSARINE_LOCAL void Realloc(unsigned int i_Size);

    wchar_t* m_Buffer;
    unsigned int m_Size;
};

} // namespace Tessarine

#endif
