# doxygen_pages.sed - what Doxygen reads of a page: links that lead out of the HTML become text, and those to a heading
# lead to its page. Pictures stay.
s/\([^!]\|^\)\[\([^]]*\)\]([^):]*\/[^)]*)/\1\2/g
s/\.md#[a-z0-9-]*)/.md)/g
