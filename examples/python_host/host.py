#!/usr/bin/env python3
"""Runs a game that is a shared object, without a display, and saves what it shows and plays.

The game exports its init function as plain C; all else goes through the embedded* functions of kxcoreemb/host.h. Only
the standard library of Python is needed. Input is a list of words, "left@10-30" holds a key from frame 10 to frame 29,
"160,200@50-60" the pointer; without an end they last one frame:

    host.py apples.so --out frames --every 30 --input right@10-40 space@50 --wav sound.wav
"""
import argparse
import array
import ctypes
import os
import re
import struct
import sys
import wave
import zlib

# Virtual-key codes; letters and digits are their own upper-case characters.
KEYS = {"backspace": 8, "tab": 9, "return": 13, "shift": 16, "control": 17, "escape": 27, "space": 32,
        "left": 37, "up": 38, "right": 39, "down": 40, **{f"f{n}": 0x6F + n for n in range(1, 13)}}
SOUND_RATE_HZ = 32000
SOUND_BUFFER_SAMPLES = 2048
SOUND_BUFFER_BYTES = 8192  # room for 16-bit stereo

# long (*appInit)(void). Python must keep what it wraps alive for as long as the engine may call it.
INIT_FUNCTION = ctypes.CFUNCTYPE(ctypes.c_long)


class Engine:
    """The library with a game in it; leave it by close(). There is one engine in a process, not more."""

    def __init__(self, game_path, library_path=None, init_name="makeGame", width=320, height=240):
        # The library first: the game asks the loader for the same soname, and gets the one that is there. Without a
        # path of its own it comes with the game, as the library that the game was linked with.
        library = ctypes.CDLL(library_path) if library_path else None
        game = ctypes.CDLL(game_path)
        library = library or game  # looking a symbol up in the game looks into what it was linked with, too
        self.version = library.kxcGetVersion()
        self.width, self.height = width, height

        self._frame = library.embeddedFrame
        self._frame.restype = ctypes.c_void_p  # else a pointer would be cut to an int
        self._sound = library.embeddedSoundFrame
        self._sound.argtypes = [ctypes.c_void_p]
        self._sound_buffer = ctypes.create_string_buffer(SOUND_BUFFER_BYTES)
        self._deinit = library.embeddedDeinit
        self.key_down, self.key_up = library.embeddedKeyDown, library.embeddedKeyUp
        self.pointer_down, self.pointer_up = library.embeddedPointerDown, library.embeddedPointerUp

        self._make_game = INIT_FUNCTION((init_name, game))
        library.embeddedInit.argtypes = [ctypes.c_int, ctypes.c_int, INIT_FUNCTION, ctypes.c_void_p, ctypes.c_void_p]
        library.embeddedInit(width, height, self._make_game, None, None)

    def frame(self):
        """Runs one frame. Answers its pixels: an array of width x height numbers, R5 G6 B5, top row first."""
        pointer = self._frame()
        if not pointer:
            raise RuntimeError("the engine gave no frame")
        return array.array("H", ctypes.string_at(pointer, self.width * self.height * 2))  # the memory is the engine's

    def sound(self):
        """The next 64 ms of sound as bytes; none while the game has opened no output."""
        return self._sound_buffer.raw[:self._sound(self._sound_buffer)]

    def close(self):
        self._deinit()


class Input:
    """One word of the command line: a key or a place, and the frames where it goes down and up."""

    def __init__(self, word):
        match = re.fullmatch(r"(?:(\w+)|(\d+),(\d+))@(\d+)(?:-(\d+))?", word)
        key, x, y, begin, end = match.groups() if match else [None] * 5
        self.key = key and (KEYS.get(key.lower()) or (ord(key.upper()) if len(key) == 1 else None))
        if not match or key and not self.key:
            raise argparse.ArgumentTypeError(f"{word} is neither KEY@FRAME-FRAME nor X,Y@FRAME-FRAME; "
                                             f"keys are letters, digits, {', '.join(KEYS)}")
        self.place = None if key else (int(x), int(y))
        self.begin, self.end = int(begin), int(end or int(begin) + 1)

    def send(self, engine, frame):
        if frame == self.begin:
            engine.key_down(self.key) if self.key else engine.pointer_down(*self.place)
        if frame == self.end:
            engine.key_up(self.key) if self.key else engine.pointer_up(*self.place)


def rgb_table():
    """The three bytes of every R5 G6 B5 pixel, each channel widened by its own upper bits: white stays white."""
    five = [value << 3 | value >> 2 for value in range(32)]
    six = [value << 2 | value >> 4 for value in range(64)]
    return [bytes((five[pixel >> 11], six[pixel >> 5 & 63], five[pixel & 31])) for pixel in range(0x10000)]


def write_png(path, pixels, width, table):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    height = len(pixels) // width
    rows = b"".join(b"\0" + b"".join(map(table.__getitem__, pixels[y * width:(y + 1) * width])) for y in range(height))
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)  # 8 bits a channel, RGB
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) +
                   chunk(b"IEND", b""))


def write_wav(path, data):
    with wave.open(path, "wb") as file:
        file.setnchannels(2)
        file.setsampwidth(2)
        file.setframerate(SOUND_RATE_HZ)
        file.writeframes(data)


def play(engine, options):
    """Answers how many frames differed from the one before, how many were saved, and the sound."""
    table = rgb_table() if options.out else None
    previous, changed, saved, sound, sounding = None, 0, 0, bytearray(), bool(options.wav)
    for frame in range(options.frames):
        for item in options.input:
            item.send(engine, frame)
        pixels = engine.frame()
        changed += previous is not None and pixels != previous
        previous = pixels
        if options.out and frame % options.every == 0:
            write_png(os.path.join(options.out, f"frame{frame:04}.png"), pixels, engine.width, table)
            saved += 1
        # As much sound as time has passed, in whole buffers.
        while sounding and len(sound) // 4 * options.rate < (frame + 1) * SOUND_RATE_HZ:
            buffer = engine.sound()
            if len(buffer) != SOUND_BUFFER_SAMPLES * 4:
                raise RuntimeError("the game has opened no sound output of 16-bit stereo samples; leave out --wav")
            sound += buffer
    return changed, saved, sound


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("game", help="the game, a shared object that is linked with libkxcoreemb.so")
    parser.add_argument("--library", help="libkxcoreemb.so; by default the one that the game was linked with")
    parser.add_argument("--init", default="makeGame", help="its init function, extern \"C\" (default: %(default)s)")
    parser.add_argument("--size", default="320x240", help="of the screen (default: %(default)s)")
    parser.add_argument("--frames", type=int, default=100, help="how many to run (default: %(default)s)")
    parser.add_argument("--rate", type=int, default=30, help="frames a second, for the sound (default: %(default)s)")
    parser.add_argument("--input", type=Input, nargs="*", default=[], metavar="WORD", help="keys and pointer, see above")
    parser.add_argument("--out", metavar="FOLDER", help="save frames there, as PNG files")
    parser.add_argument("--every", type=int, default=1, metavar="N", help="save each N-th frame (default: %(default)s)")
    parser.add_argument("--wav", metavar="FILE", help="save the sound")
    options = parser.parse_args()
    size = re.fullmatch(r"(\d{1,4})x(\d{1,4})", options.size)
    if not size or min(map(int, size.groups())) < 1 or min(options.frames, options.rate, options.every) < 1:
        parser.error("--size is WIDTHxHEIGHT, and it, --frames, --rate and --every are at least 1")

    try:
        if options.out:
            os.makedirs(options.out, exist_ok=True)
        # A path without a folder would be looked for among the system's libraries.
        library = options.library and os.path.abspath(options.library)
        engine = Engine(os.path.abspath(options.game), library, options.init, *map(int, size.groups()))
        changed, saved, sound = play(engine, options)
        engine.close()
        if options.wav:
            write_wav(options.wav, sound)
    except (OSError, AttributeError, RuntimeError) as error:  # AttributeError: a function that is not there
        print(f"host.py: {error}", file=sys.stderr)
        return 1
    print(f"kxcoreemb {engine.version}: {options.frames} frames of {options.size}, {changed} unlike the one before, "
          f"{saved} saved, {len(sound) / 4 / SOUND_RATE_HZ:.2f} s of sound")
    return 0


if __name__ == "__main__":
    sys.exit(main())
