#!/usr/bin/env bash
# test.sh KXCFL - what users and hostile archives may do to kxcfl.
set -euo pipefail
kxcfl=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
fail() { echo "FAIL: $*" >&2; exit 1; }
# expect STATUS COMMAND... - runs it, keeps what it prints in out
expect() { local status=0; "${@:2}" >out 2>&1 || status=$?; [[ $status == "$1" ]] || { cat out; fail "${*:2} gave $status, not $1"; }; }

mkdir -p in/sub/deep in/empty
seq 1 5000 >in/numbers.txt
head -c 3000 /dev/urandom >in/sub/random
printf x >"in/sub/deep/with space"
: >in/sub/nothing
ln -s ../numbers.txt in/sub/link
ln -s . in/loop # packed as nothing: it would lead round in circles

for filter in none zlib best; do
    expect 0 "$kxcfl" create --filter $filter $filter.cfl in
    expect 0 "$kxcfl" test $filter.cfl
    expect 0 "$kxcfl" extract -C out_$filter $filter.cfl
    rm -f in/loop
    diff -r -x empty in out_$filter/in || fail "$filter changed the files"
    ln -s . in/loop
done
expect 0 "$kxcfl" list best.cfl
grep -Eq '^ +23893 +[0-9]+ +[0-9]+%  ZLIB +in/numbers.txt$' out || fail "list: numbers.txt"
grep -Eq '^ +3000 +3000 +100%  None +in/sub/random$' out || fail "list: random"
grep -Eq ' 5 entries$' out || fail "list: total"
cmp <("$kxcfl" cat best.cfl in/numbers.txt) in/numbers.txt || fail cat
expect 0 "$kxcfl" list best.cfl '*/deep/*'
grep -q ' 1 entry$' out || fail "patterns"

# Names start where -C says; the archive leaves itself out; the same files make the same archive.
expect 0 "$kxcfl" create -C in in/a.cfl .
expect 0 "$kxcfl" create -C in in/a.cfl .
expect 0 "$kxcfl" list in/a.cfl
grep -q ' numbers.txt$' out && ! grep -q a.cfl out || fail "-C"
expect 0 "$kxcfl" create -C in b.cfl sub numbers.txt
cmp in/a.cfl b.cfl || fail "not reproducible"

# What fails says so, and leaves nothing behind.
cp best.cfl kept.cfl
expect 1 "$kxcfl" create kept.cfl in "no such file"
expect 1 "$kxcfl" create kept.cfl ../outside
expect 1 "$kxcfl" create kept.cfl in/empty
cmp best.cfl kept.cfl && [[ ! -e kept.cfl.part ]] || fail "a failed create touched the archive"
expect 1 "$kxcfl" create /dev/full/x.cfl in
expect 1 "$kxcfl" list "no such archive"
expect 1 "$kxcfl" list in/numbers.txt
expect 1 "$kxcfl" cat best.cfl "no such entry"
for usage in "" "frob x" "create x" "create --filter lzma x y" "cat x" "list --filter none x" "create -C" "list"; do
    expect 2 "$kxcfl" $usage
done
expect 0 "$kxcfl" --help
head -c 400 best.cfl >cut.cfl
expect 1 "$kxcfl" test cut.cfl
# One byte of a stored stream: only that entry is bad.
printf '\x55' | dd of=best.cfl bs=1 seek=60 conv=notrunc status=none
expect 1 "$kxcfl" test best.cfl
grep -q 'numbers.txt: damaged' out && grep -q '1 of 5' out || fail "test did not find the damage"
expect 1 "$kxcfl" extract -C partly best.cfl
cmp partly/in/sub/random in/sub/random || fail "good entries must be extracted beside a bad one"

# An archive whose names lead elsewhere, of the same lengths as harmless ones.
mkdir -p evil/dirdir jail
for name in aaa/evil1 bbbbbbbb dirdir/file1 trap/file2; do mkdir -p "evil/$(dirname $name)"; echo evil >"evil/$name"; done
expect 0 "$kxcfl" create --filter none -C evil evil.cfl aaa bbbbbbbb dirdir trap
sed -i -e 's|aaa/evil1|../aevil1|' -e 's|bbbbbbbb|/tmp/bbb|' -e 's|dirdir/file1|dir/../../f1|' evil.cfl
mkdir elsewhere && ln -s ../elsewhere jail/trap
expect 1 "$kxcfl" extract -C jail evil.cfl
[[ $(grep -c refused out) == 4 ]] || { cat out; fail "not everything was refused"; }
[[ -z $(ls elsewhere) && ! -e aevil1 && ! -e /tmp/bbb && ! -e f1 ]] || fail "something left the folder"
rm jail/trap && mkdir jail/trap && ln -s ../../elsewhere/file jail/trap/file2
expect 1 "$kxcfl" extract -C jail evil.cfl trap/file2
[[ -z $(ls elsewhere) ]] || fail "a link in the file's place was followed"
echo good
