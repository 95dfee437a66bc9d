#!/bin/sh
# reference.sh - whether every public class, operation and page goes into the API reference without a warning.
# usage: reference.sh FOLDER-OF-THE-REPOSITORY. Leaves with 77 (skipped) where Doxygen is missing.
command -v doxygen >/dev/null || { echo "skipped: doxygen is not installed"; exit 77; }
cd "$1" || exit 1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
{ cat docs/Doxyfile; echo "OUTPUT_DIRECTORY = $folder"; } | doxygen -
