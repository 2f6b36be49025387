// The smallest program on the library, and the one that the README builds with pkg-config:
//
//   g++ -std=c++17 minimal.cpp $(pkg-config --cflags --libs tessarine)
//
// It keeps a list, as one escaped text, in a process-wide property set, reads it back and
// splits it again. The exit status says whether the list came back whole.

#include <Tessarine/Tessarine.h>

#include <cstdlib>
#include <iostream>
#include <memory>

int main() {
    using namespace Tessarine;

    VectorString channels;
    channels += L"stable";
    channels += L"beta, with a comma";

    Configuration* settings = nullptr;
    Configuration::get(L"minimal", settings);
    settings->setProperty(L"channels", static_cast<wchar_t const*>(channels));

    String stored;
    settings->getProperty(L"channels", stored);
    StringVector elements;
    VectorString::toVector(stored, elements);
    for (int index = 0; index < elements.length(); ++index) {
        std::unique_ptr<char, decltype(&std::free)> text(
            String::getMultibyteString(elements[index]), &std::free);
        std::cout << "channel " << index << ": " << text.get() << '\n';
    }
    Configuration::cleanup(L"minimal");
    return elements.length() == channels.length() ? EXIT_SUCCESS : EXIT_FAILURE;
}
