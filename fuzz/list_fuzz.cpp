// Checks VectorString's escaped list text both ways. The input's wide text, cut at its NULs, is a
// list of elements (an element cannot hold a NUL: += takes a terminated text): built with +=,
// its text must be the elements escaped and joined, and toVector must give them back. Each piece
// is also taken as a list text: toVector, then += of the elements (append does both), must give a
// text that reads back as the same elements, after which the text no longer changes. Joining two
// lists with append must give the elements of both.
#include "WideInput.h"

#include <Tessarine/StringVector.h>
#include <Tessarine/VectorString.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using TessarineFuzz::check;
using Elements = std::vector<std::wstring>;

Elements parsed(wchar_t const* i_Text) {
    Tessarine::StringVector vector;
    Tessarine::VectorString::toVector(i_Text, vector);
    Elements elements;
    for (int index = 0; index < vector.length(); ++index) {
        elements.emplace_back(static_cast<wchar_t const*>(vector[index]));
    }
    return elements;
}

/// The list text as a plain rule makes it: a backslash before each comma and backslash of an
/// element, a comma between each two.
std::wstring joined(Elements const& i_Elements) {
    std::wstring text;
    for (size_t index = 0; index < i_Elements.size(); ++index) {
        if (index > 0) {
            text += L',';
        }
        for (wchar_t const character : i_Elements[index]) {
            if (character == L',' || character == L'\\') {
                text += L'\\';
            }
            text += character;
        }
    }
    return text;
}

Tessarine::VectorString listOf(Elements const& i_Elements) {
    Tessarine::VectorString list;
    for (std::wstring const& element : i_Elements) {
        list += element.c_str();
    }
    return list;
}

/// What toVector reads from the text of a list of these elements: all of them, but none for a
/// single empty element, whose text is as empty as that of no element at all.
Elements readBack(Elements const& i_Elements) {
    return i_Elements == Elements{L""} ? Elements{} : i_Elements;
}

void checkBuilt(Elements const& i_Elements) {
    Tessarine::VectorString const list = listOf(i_Elements);
    check(list.length() == static_cast<int>(i_Elements.size()));
    check(std::wstring(list) == joined(i_Elements));
    check(parsed(list) == readBack(i_Elements));
    Tessarine::StringVector* const vector = list.getVector();
    check(vector->length() == static_cast<int>(readBack(i_Elements).size()));
    delete vector;
}

void checkParsed(std::wstring const& i_Text) {
    Elements const elements = parsed(i_Text.c_str());
    Tessarine::VectorString list;
    list.append(i_Text.c_str());
    check(list.length() == static_cast<int>(elements.size()));
    check(std::wstring(list) == joined(elements));
    check(parsed(list) == readBack(elements));
    Tessarine::VectorString again;
    again.append(static_cast<wchar_t const*>(list));
    check(again == list);
}

void checkJoined(std::wstring const& i_Left, std::wstring const& i_Right) {
    if (i_Left.empty() || i_Right.empty()) {
        return; // an empty text holds no element, yet append adds a separator for it
    }
    Tessarine::VectorString left;
    left.append(i_Left.c_str());
    Tessarine::VectorString right;
    right.append(i_Right.c_str());
    Elements both = parsed(i_Left.c_str());
    for (std::wstring const& element : parsed(i_Right.c_str())) {
        both.push_back(element);
    }
    left.append(right);
    check(left.length() == static_cast<int>(both.size()));
    check(parsed(left) == both);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* i_Data, size_t i_Size) {
    Elements const pieces = TessarineFuzz::nulSeparated(TessarineFuzz::wideInput(i_Data, i_Size));
    checkBuilt(pieces);
    for (std::wstring const& piece : pieces) {
        checkParsed(piece);
    }
    checkJoined(pieces.front(), pieces.back());
    return 0;
}
