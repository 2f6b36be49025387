#include "Tessarine/Constants.h"

#ifndef TESSARINE_STRINGVECTOR_H
#define TESSARINE_STRINGVECTOR_H

#include "Tessarine/String.h"

namespace Tessarine {

/// A growable array of owned String objects, held by pointer so that a String never moves
/// when the array grows or is sorted.
///
/// \code
/// Tessarine::StringVector names;
/// names.addString(L"beta");
/// names.addString(L"alpha");
/// names.sort(false); // in the locale's order: alpha, beta
/// for (int i = 0; i < names.length(); ++i) {
///     show(names[i]);
/// }
/// \endcode
///
/// The slot array grows to the next power of two (1, 2, 4, 8, ...). Emptying with removeAll()
/// keeps every String for reuse: the next addString() assigns into the String already in the
/// slot, so refilling a vector allocates nothing once it is large enough. reset() destroys
/// everything. Indexes must not be negative; only an index at or above length() is caught.
///
/// A slot array that cannot grow is reported by addString() alone, as
/// PLUGIN_ERROR_OUT_OF_MEMORY. Copying and assignment do not look at that code: they leave out
/// the strings they had no slot for, with no exception and no code. A String that cannot be
/// made throws std::bad_alloc, and a copy or assignment keeps the strings it made until then.
///
/// Different vectors may serve different threads, one thread at a time each, with one
/// exception: the first operator[] of the process, on whatever vector, builds the shared
/// out-of-bounds marker and must not run beside another operator[].
class TESSARINE_API StringVector {
public:
    StringVector();
    /// Copies only the live strings: the copy's capacity follows from the source's count.
    StringVector(StringVector const& i_Other);
    ~StringVector();

    /// Refills this vector with copies of the other's live strings, reusing its own Strings.
    StringVector& operator=(StringVector const& i_Other);

    /// Adds a copy of the text at the end; a null text adds an empty String.
    /// PLUGIN_ERROR_OUT_OF_MEMORY when the slot array cannot grow (nothing changes then).
    ///@{
    int addString(wchar_t const* i_Text);
    int addString(String const& i_Text);
    ///@}
    /// Destroys one String and closes the gap; spare Strings move down with the rest.
    int removeString(int i_Index);
    /// Sets the count to 0 and keeps every String for reuse.
    void removeAll();
    /// Destroys every String, live or spare, and frees the slot array.
    void reset();
    /// Sorts the live strings in the order of String::collate, descending when asked.
    /// Not stable: strings that collate as equal may change places. Each text is converted to
    /// the multibyte form once per sort, not once per comparison; where strcoll compares bytes
    /// (C, C.UTF-8) and every text converts in order, none is converted at all.
    void sort(bool i_Descending);

    /// The String at the index, or a shared marker with the text "!!OUT OF BOUNDS!!" for an
    /// index at or above length(). The marker is built at the first call of the process, which
    /// must therefore not run beside another call in another thread.
    String const& operator[](int i_Index) const;

    /// Makes room for at least that many slots (the next power of two).
    int resizeBuffer(int i_Wanted);
    /// The number of live strings; readers walk the vector by index from 0 below it.
    int length() const;

private:
    String** m_Strings;
    int m_Capacity;
    int m_Count;
};

} // namespace Tessarine

#endif
