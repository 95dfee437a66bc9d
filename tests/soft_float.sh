#!/bin/sh
# usage: soft_float.sh SOURCE_FOLDER - compiles what a device without floating point runs per frame for 32-bit ARM, and
# looks for calls of the routines that stand in for it. Leaves with 77 (skipped) where that compiler is missing.
#
# What may use floating point: building the tables of the mathematics, once, when the core starts.
set -eu
compiler=arm-linux-gnueabi-g++
command -v $compiler >/dev/null || { echo "skipped: $compiler is not installed (Debian: g++-arm-linux-gnueabi)"; exit 77; }
cd "$1"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0
for source in src/math/*.cpp src/audio/mix_*.cpp src/surfaces/*.cpp src/gl/*.cpp src/gl/*/*.cpp src/vector/*.cpp; do
    case $source in
    src/math/math_tables.cpp | *_avx2.cpp) continue ;;
    esac
    $compiler -std=c++17 -O1 -fno-exceptions -Iinclude -Isrc -c "$source" -o "$folder/object.o"
    calls=$(${compiler%g++}nm -u "$folder/object.o" | grep -E '__aeabi_([fd]|[a-z0-9]+2[fd]$)' || true)
    if [ -n "$calls" ]; then
        echo "$source uses floating point:" $calls
        failed=1
    fi
done
exit $failed
