#!/bin/sh
# usage: update.sh PROGRAM - writes golden_values.inc anew from what the program (build/release/tests/golden/test_golden)
# makes now. Look at what changed before it is committed: every line that differs is a picture or a sound that differs.
set -eu
values=$(dirname "$0")/golden_values.inc
new=$(KXC_PRINT_GOLDEN=1 "$1" | grep '^GOLDEN')
{
    grep '^//' "$values"
    echo "$new"
} >"$values.new"
mv "$values.new" "$values"
