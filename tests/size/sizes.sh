#!/bin/sh
# usage: sizes.sh LIBRARY SMALL_GAME - prints what the library weighs, and fails where that is more than it may be.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0

# weigh BYTES MOST GOAL WHAT
weigh() {
    verdict=ok
    [ "$1" -lt "$2" ] || { verdict="TOO LARGE"; failed=1; }
    printf '%9d bytes (at most %9d; goal %7d)  %s: %s\n' "$1" "$2" "$3" "$4" "$verdict"
}

strip -o "$folder/library" "$1"
weigh "$(stat -c %s "$folder/library")" 1000000 600000 "the stripped shared library"
strip -o "$folder/game" "$2"
weigh "$(stat -c %s "$folder/game")" 250000 250000 "a stripped static game: core, surfaces, one filler"
allocated=$("$2" --headless)
variables=$(size -A "$folder/game" | awk '$1 == ".data" || $1 == ".bss" { sum += $2 } END { print sum }')
weigh $((allocated + variables)) 256000 256000 "memory of the core before the game allocates"
exit $failed
