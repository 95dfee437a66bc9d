#!/bin/sh
# usage: test.sh SVG_VIEWER FOLDER - draws shapes.svg, looks at some of its pixels, and feeds it what is no drawing.
set -eu
viewer=$1 folder=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "$*" >&2; exit 1; }

"$viewer" "$folder/shapes.svg" --headless --size 200 --out "$work/shapes.png" 2>"$work/log"
[ "$(grep -c '<text> is skipped' "$work/log")" = 1 ] || fail "one warning for both texts: $(cat "$work/log")"

if command -v convert >/dev/null; then
    # pixel X Y EXPECTED - of the 100 x 100 drawing, as red green blue alpha of 0..255; each may be 12 off
    pixel() {
        convert "$work/shapes.png" -depth 8 -crop "1x1+$(($1 * 2))+$(($2 * 2))" RGBA:- | od -An -tu1 |
            awk -v x="$1" -v y="$2" -v e="$3" '{ split(e, c); for (i = 1; i <= 4; ++i) if ($i - c[i] > 12 || c[i] - $i > 12)
                { print "pixel " x ", " y ": " $0 " instead of " e; exit 1 } }' || exit 1
    }
    pixel 12 12 "0 255 0 255"
    pixel 0 0 "255 255 255 0"
    pixel 37 12 "128 0 128 255"
    pixel 62 12 "10 0 245 255"
    pixel 87 12 "255 165 0 128"
    pixel 12 37 "128 128 128 255"
    pixel 37 37 "128 128 128 255"
    pixel 30 37 "255 255 255 0"
    pixel 62 37 "255 255 255 0"
    pixel 55 37 "128 128 128 255"
    pixel 87 37 "128 128 128 255"
    pixel 12 62 "255 0 0 128"
    pixel 37 62 "255 255 255 0"
    pixel 28 62 "0 0 255 255"
    pixel 62 60 "0 128 128 255"
fi

for broken in "$folder/broken.svg" "$folder/nothing.svg" "$0"; do
    if "$viewer" "$broken" --headless --out "$work/broken.png" 2>"$work/log"; then
        fail "$broken is no drawing"
    fi
    grep -q "$(basename "$broken"): ." "$work/log" || fail "no message for $broken"
done
