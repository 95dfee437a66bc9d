# doxygen.sed - what Doxygen reads of a public header: sed -f docs/doxygen.sed HEADER
#
# The comment that begins a file is the file's description. A section "protected:" holds what only the library needs,
# unless the line says that it is for derived classes. Forbidden copies need no description. Paragraphs that begin with
# a word and several blanks (Units, Ownership ...) become a list, tables stay as they are. Lines keep their numbers.
1s|^// \([a-z_]*\.h\) - |/// @file \1 @brief |
2,/^#pragma once/{
    s|^//$|///|
    s|^// |/// |
    s|^///   *\([^ ]\)|///     \1|
}
s|^\( *\)/// \([A-Z][a-z]*\)   *\([^ ]\)|\1/// - **\2**: \3|
s|^///   \([^ ]\)|///     \1|
s/^protected:$/private:/
s/.* = delete;$//
