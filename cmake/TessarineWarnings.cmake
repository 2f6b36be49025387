# The warning set every target of this tree is built with: the main project's and the examples'
# when they build on their own against an installed package.
set(TESSARINE_WARNING_FLAGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wold-style-cast
    -Wundef -Wcast-qual -Wzero-as-null-pointer-constant -Wnon-virtual-dtor -Woverloaded-virtual)
