#!/bin/bash
# links.sh - whether the files and headings exist that the Markdown pages link to.
# usage: links.sh FOLDER-OF-THE-REPOSITORY
set -u
cd "$1" || exit 1
failures=0
# The headings of a page as links name them: lower case, blanks as "-", no punctuation.
anchors() {
    sed -n 's/^##* //p' "$1" | tr '[:upper:]' '[:lower:]' | sed 's/[^a-z0-9 _-]//g; s/ /-/g'
}
while read -r page; do
    folder=$(dirname "$page")
    while read -r link; do
        [[ $link == http* ]] && continue
        file=$folder/${link%%#*}
        [[ $link == \#* ]] && file=$page
        if [[ ! -e $file ]]; then
            echo "$page: there is no $link"
            ((++failures))
        elif [[ $link == *\#* ]] && ! anchors "$file" | grep -qxF -- "${link#*#}"; then
            echo "$page: $file has no heading ${link#*#}"
            ((++failures))
        fi
    done < <(grep -oE '\]\([^) ]+\)' "$page" | sed 's/^](//; s/)$//')
done < <(find README.md docs examples -name '*.md')
exit $((failures > 0))
