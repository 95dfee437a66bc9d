#!/usr/bin/env bash
# installed.sh BUILD_FOLDER SOURCE_FOLDER - what a user does: installs, moves the folder elsewhere, copies the template out
# of it and builds that, against the shared and the static library, by CMake and by pkg-config.
set -euo pipefail
build=$1 source=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
fail() { echo "FAIL: $*" >&2; exit 1; }
# quietly COMMAND... - what it printed is shown when it fails
quietly() { "$@" >log 2>&1 || { cat log; fail "$*"; }; }

quietly cmake --install "$build" --prefix "$folder/installed first"
mv "installed first" moved
if grep -rlE "$build|$source|installed first" moved/lib* moved/include; then fail "these know where they were built"; fi
for program in moved/bin/*; do
    "$program" --help >/dev/null || fail "$program does not start"
    [[ -s moved/share/man/man1/${program##*/}.1 ]] || fail "no manual for $program"
done

quietly bash "$source/tests/docs/links.sh" moved/share/doc/kxcoreemb

cp -r moved/share/doc/kxcoreemb/examples/template game
version=$(sed -nE 's/#define KXC_VERSION_[A-Z]+ ([0-9]+).*/\1/p' moved/include/kxcoreemb/version.h | paste -sd.)
libdir=$(dirname "$(find moved -name libkxcoreemb.a)")
export CMAKE_GENERATOR=Ninja PKG_CONFIG_PATH=$folder/$libdir/pkgconfig
[[ $(pkg-config --modversion kxcoreemb) == "$version" ]] || fail "pkg-config has another version than version.h"

# built PROGRAM WITH_SHARED_LIBRARY - plays it, and looks at what it is linked with
built() {
    quietly "$1" --headless
    local soname=libkxcoreemb.so.${version%.*}
    [[ $(objdump -p "$1" | grep -c "NEEDED *$soname\$") == "$2" ]] || fail "$1: wrong libraries"
}
for static in OFF ON; do
    quietly cmake -S game -B by_cmake_$static -DMY_GAME_STATIC=$static -DCMAKE_PREFIX_PATH="$folder/moved"
    quietly cmake --build by_cmake_$static
    built by_cmake_$static/my_game $([[ $static == ON ]] && echo 0 || echo 1)
done
compile=(g++ -std=c++17 -Wall -Wextra -Wpedantic -Wshadow -Werror game/main.cpp)
quietly "${compile[@]}" $(pkg-config --cflags --libs kxcoreemb) -o by_pkg_config
LD_LIBRARY_PATH=$libdir built ./by_pkg_config 1
quietly "${compile[@]}" $(pkg-config --cflags --libs kxcoreemb-static) -Wl,--gc-sections -o by_pkg_config_static
built ./by_pkg_config_static 0
