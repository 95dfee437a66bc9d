#!/bin/sh
# usage: readme_shows.sh README SOURCE - whether the first C++ block of the README is the source, line by line
awk '/^```cpp$/ { shown = 1; next } /^```$/ && shown { exit } shown' "$1" | diff - "$2"
