#ifndef TESSARINE_TESTS_TEXTS_H
#define TESSARINE_TESTS_TEXTS_H

#include <Tessarine/StringVector.h>

#include <string>
#include <vector>

namespace TessarineTest {

using Texts = std::vector<std::wstring>;

/// The live strings of the vector, in order.
inline Texts textsOf(Tessarine::StringVector const& i_Vector) {
    Texts texts;
    for (int index = 0; index < i_Vector.length(); ++index) {
        texts.emplace_back(static_cast<wchar_t const*>(i_Vector[index]));
    }
    return texts;
}

} // namespace TessarineTest

#endif
