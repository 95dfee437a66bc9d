#!/bin/bash
# test.sh - what kxmem says of traces that fit, do not fit, and make no sense.
# usage: test.sh KXMEM
set -u
kxmem=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failures=0
# expect NAME EXIT_CODE REGEX ARGUMENTS...: runs kxmem on standard input
expect() {
    local name=$1 code=$2 regex=$3 output
    shift 3
    output=$("$kxmem" "$@" - 2>&1)
    local got=$?
    if [[ $got != "$code" ]] || ! grep -qE "$regex" <<<"$output"; then
        echo "$name: exit code $got, expected $code and /$regex/:"
        echo "$output"
        ((++failures))
    fi
}
# 100 and 50 words beside a hole of 26: 1024 - 4 x (101 + 51) bytes free, in two pieces
expect "a hole" 0 '^ +5 +2 +608 +416 +312 +25.0%$' -p 1024 <<<$'# two\na 1 400\na 2 100\n\na 3 200\nr 1 398\nf 2'
[[ $(head -c 2 memmap0001.bmp) == BM ]] || { echo "no picture"; ((++failures)); }
expect "from the top" 0 '^ +2 +2 +48 +976 +976 +0.0%$' -p 1024 <<<$'t 0x7f10 20\nt b 20'
expect "too small a pool" 1 '^kxmem: -:2: 900 bytes do not fit' -p 1024 <<<$'a 1 200\na 2 900'
expect "its own pool" 0 'a pool of 3524 bytes' <<<$'a 1 1000\na 2 1000\nf 1'
expect "a second block of one name" 1 ':2: block 7 is still there' <<<$'a 7 1\na 7 1'
expect "a block freed twice" 1 ':3: block 7 is not there' <<<$'a 7 1\nf 7\nf 7'
for line in 'x 1 2' 'a 1' 'f 1 2' 'a 1 2 3' 'a 1 -2' 'a 1 0' 'a 1 99999999999' 'r 1 5' 'a 3 b'; do
    expect "$line" 1 '^kxmem: -:1: ' <<<"$line"
done
expect "nothing" 1 'no operations' </dev/null
"$kxmem" nowhere 2>&1 | grep -q 'No such file' || { echo "a missing file"; ((++failures)); }
exit $((failures > 0))
