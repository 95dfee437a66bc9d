# doxygen.sed - what Doxygen reads of a public header: sed -f docs/doxygen.sed HEADER
#
# The comment that begins a file is the file's description. A section "protected:" holds what only the library needs,
# unless the line says that it is for derived classes. Forbidden copies need no description. Lines keep their numbers.
1s|^// \([a-z_]*\.h\) - |/// @file \1 @brief |
2,/^#pragma once/{
    s|^//$|///|
    s|^// |/// |
    # code in it
    s|^///   *\([^ ]\)|///     \1|
}
s/^protected:$/private:/
s/.* = delete;$//
