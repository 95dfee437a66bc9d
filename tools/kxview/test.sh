#!/bin/sh
# usage: test.sh KXVIEW PICTURES - writes a picture as PNG and as BMP, and is refused what is no picture
set -eu
kxview=$1 pictures=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
fail() { echo "$*"; exit 1; }

"$kxview" --out "$folder/a.png" "$pictures/tga24_plain.tga"
[ "$(head -c 8 "$folder/a.png" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] || fail "not a PNG file"
"$kxview" --out "$folder/a.bmp" "$pictures/pcx8_runs.pcx"
[ "$(wc -c <"$folder/a.bmp")" -eq $((54 + 64 * 3 * 6)) ] || fail "not a BMP file of 64 x 6 pixels"
[ "$(tail -c 3 "$folder/a.bmp" | od -An -tx1 | tr -d ' ')" = 0000ff ] || fail "the top right pixel is not red"
for refused in "$pictures/pcx24_refused.pcx" "$pictures/make.sh" "$folder/missing.tga"; do
    if "$kxview" --info "$refused" 2>"$folder/message"; then fail "$refused was accepted"; fi
    grep -q "no picture" "$folder/message" || fail "no reason for $refused"
done
if "$kxview" --out "$folder/no/such/folder.png" "$pictures/tga24_plain.tga" 2>/dev/null; then fail "wrote nowhere"; fi
