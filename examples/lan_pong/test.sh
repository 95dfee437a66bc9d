#!/bin/sh
# Two players without a display find each other, once by looking and once by address, and agree on the score.
# usage: test.sh PATH/TO/lan_pong
pong=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
port=$((20000 + $$ % 20000))

play() { # play NAME HOST_OPTIONS -- GUEST_OPTIONS
    name=$1; shift
    "$pong" --headless --frames 200 $1 >"$work/one" & first=$!
    "$pong" --headless --frames 200 $2 >"$work/two" || { cat "$work/one" "$work/two"; echo "$name: one player failed"; exit 1; }
    wait $first || { cat "$work/one" "$work/two"; echo "$name: one player failed"; exit 1; }
    cat "$work/one" "$work/two"
    sort "$work/one" "$work/two" | cut -d: -f1 | tr '\n' ' ' | grep -q '^GUEST HOST $' || { echo "$name: no host and guest"; exit 1; }
    scores=$(sed 's/.*score \([0-9:]*\),.*/\1/' "$work/one" "$work/two" | sort -u)
    case $scores in
    *[!0-9:]* | 0:0) echo "$name: scores differ, or nobody scored: $scores"; exit 1 ;;
    esac
}
play "by looking" "--advertise-port $port" "--advertise-port $port"
play "by address" "--port $((port + 1)) --advertise-port $((port + 2))" "--host 127.0.0.1 --port $((port + 1))"
