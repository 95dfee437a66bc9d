#!/bin/sh
# usage: test.sh PLAYER [sdl2] - plays WAV files made by sox, and has sox measure what comes out: rendered without a
# device and, with sdl2, through SDL's disk driver. Leaves with 77 (skipped) where sox is missing.
set -eu
player=$1 device=${2:-}
command -v sox >/dev/null || { echo "skipped: sox is not installed"; exit 77; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

fail() { echo "failed: $*"; exit 1; }
# measure FILE SIDE FROM LENGTH WHAT - of a part of a raw file, in seconds
measure() {
    sox -r 32000 -e signed -b 16 -c 2 "$1" -n remix "$2" trim "$3" "$4" stat 2>&1 | sed -n "s/^$5: *//p"
}
# within VALUE LEAST MOST
within() { awk "BEGIN { exit !($1 >= $2 && $1 <= $3) }" || fail "$1 is not within $2 .. $3 ($4)"; }

# Every kind of file is a tone of 440 Hz, whether it is held in memory or streamed.
for kind in "8000 8 1 1" "11025 8 2 1" "22050 16 1 1" "44100 16 2 3" "96000 16 2 2"; do
    set -- $kind
    sox -n -r "$1" -b "$2" -c "$3" tone.wav synth "$4" sine 440 gain -6
    "$player" --pan 0 --out tone.raw tone.wav >/dev/null
    within "$(measure tone.raw 1 0.3 0.5 'Rough   frequency')" 435 445 "$kind" # 8 bits are noisy
    within "$(measure tone.raw 1 0.3 0.5 'RMS     amplitude')" 0.34 0.36 "$kind"
    within "$(measure tone.raw 2 0.3 0.5 'RMS     amplitude')" 0 "$([ "$3" = 2 ] && echo 0.36 || echo 0)" "$kind, right"
done

# Options: speed is pitch, panning places, volume scales, a loop goes on.
sox -n -r 32000 -b 16 -c 1 tone.wav synth 0.5 sine 500 gain -6
"$player" --pan 0.75 --volume 0.5 --speed 1.5 --loop --seconds 3 --out tone.raw tone.wav >/dev/null
within "$(measure tone.raw 2 2 1 'Rough   frequency')" 747 753 "speed"
within "$(measure tone.raw 1 2 1 'RMS     amplitude')" 0.0435 0.0450 "left at 0.75"
within "$(measure tone.raw 2 2 1 'RMS     amplitude')" 0.1310 0.1350 "right at 0.75"
# Two files, one after the other; silence behind them.
"$player" --pan 0 --out two.raw tone.wav tone.wav >/dev/null
within "$(measure two.raw 1 0.75 0.25 'RMS     amplitude')" 0.34 0.36 "the second file"
within "$(measure two.raw 1 -0.005 0.005 'Maximum amplitude')" 0 0 "after the end"

# What is wrong with a file is told.
head -c 1000 tone.wav >short.wav
"$player" --out x.raw short.wav 2>message && fail "a truncated file was played"
grep -q 'short.wav: its chunk "data" should have 32000 bytes, but the file ends after 956' message || fail "$(cat message)"
sox -n -r 8000 -e mu-law mu.wav synth 0.1 sine 440
"$player" --out x.raw mu.wav 2>message && fail "a compressed file was played"
grep -q 'save it as PCM' message || fail "$(cat message)"

# The device plays what is rendered without it, sample by sample: no gap, no block twice.
if [ "$device" = sdl2 ]; then
    sox -n -r 22050 -b 16 -c 1 long.wav synth 20 sine 440 gain -6
    "$player" --out rendered.raw long.wav >/dev/null
    SDL_VIDEODRIVER=dummy SDL_AUDIODRIVER=disk SDL_DISKAUDIOFILE=played.raw SDL_DISKAUDIODELAY=4 \
        "$player" long.wav >/dev/null 2>&1
    # Both begin with silence, of which the device may have had more buffers.
    for f in rendered played; do
        sox -r 32000 -e signed -b 16 -c 2 "$f.raw" -t raw "$f.cut" silence 1 1s 0.0001%
    done
    cmp -n 2500000 rendered.cut played.cut || fail "the device was given other samples"
fi
