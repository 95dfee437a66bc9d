#!/usr/bin/env python3
"""test.py LIBRARY GAME - runs host.py as a user would, and looks at the files that it writes."""
import os
import struct
import subprocess
import sys
import tempfile
import unittest
import wave
import zlib

FOLDER = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, FOLDER)
sys.dont_write_bytecode = True
import host

LIBRARY, GAME = sys.argv[1:]
WIDTH, HEIGHT, BASKET_ROW = 320, 240, 212
SKIN = (0x80, 0x50, 0x20)  # of the basket


def run(*arguments):
    return subprocess.run([sys.executable, os.path.join(FOLDER, "host.py"), *arguments], capture_output=True, text=True)


def read_png(path):
    """A function from (x, y) to (r, g, b), after a look at the checksums; no row is filtered, as host.py writes them."""
    with open(path, "rb") as file:
        data = file.read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    at, packed = 8, b""
    while at < len(data):
        length, kind = struct.unpack_from(">I4s", data, at)
        content = data[at + 8:at + 8 + length]
        assert struct.unpack_from(">I", data, at + 8 + length)[0] == zlib.crc32(kind + content)
        if kind == b"IHDR":
            assert struct.unpack(">IIBBBBB", content) == (WIDTH, HEIGHT, 8, 2, 0, 0, 0)
        packed += content if kind == b"IDAT" else b""
        at += 12 + length
    rows = zlib.decompress(packed)
    size = 1 + WIDTH * 3
    assert len(rows) == size * HEIGHT and not any(rows[::size])
    return lambda x, y: rows[y * size + 1 + x * 3:y * size + 4 + x * 3]


def like(pixel, color):
    return all(abs(a - b) <= 8 for a, b in zip(pixel, color))


def basket(picture):
    columns = [x for x in range(WIDTH) if like(picture(x, BASKET_ROW), SKIN)]
    return (columns[0] + columns[-1] + 1) // 2


class PythonHost(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def test_frames_follow_keys_and_pointer_and_the_wav_file_has_the_chime(self):
        sound = os.path.join(self.folder, "sound.wav")
        done = run(GAME, "--library", LIBRARY, "--out", self.folder, "--every", "10", "--frames", "81", "--wav", sound,
                   "--input", "right@10-40", "77,200@45-46")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertRegex(done.stdout, "81 frames of 320x240, 80 unlike the one before, 9 saved, 2.[67]")
        pictures = [read_png(os.path.join(self.folder, f"frame{n:04}.png")) for n in range(0, 81, 10)]
        # 4 pixels a frame from frame 10 to 39; the first saved frame that the key moves is the one it goes down before.
        self.assertEqual([basket(picture) for picture in pictures], [160, 164, 204, 244, 280, 77, 77, 77, 77])
        for picture in pictures:
            self.assertTrue(like(picture(0, 239), (0x40, 0xA0, 0x30)), "the ground")
            self.assertTrue(like(picture(WIDTH - 1, 0), (0x30, 0x70, 0xC0)), "the sky")
        # The first apple falls into the basket in frame 67, and is counted in the corner.
        red = [picture(8, 8)[0] > 2 * picture(8, 8)[2] for picture in pictures]
        self.assertEqual(red, [False] * 7 + [True] * 2)

        with wave.open(sound) as file:
            self.assertEqual(file.getparams()[:3], (2, 2, 32000))
            samples = struct.unpack(f"<{file.getnframes() * 2}h", file.readframes(file.getnframes()))
        self.assertEqual(len(samples) // 2, 43 * 2048)  # 81 frames at 30 a second, in whole buffers
        caught = 67 * 32000 // 30
        self.assertFalse(any(samples[:caught * 2]))
        left, right = (max(map(abs, samples[caught * 2 + side::2])) for side in (0, 1))
        self.assertGreater(left, 2 * right)
        self.assertGreater(right, 500)

    def test_the_game_brings_its_library_and_may_end_the_process(self):
        done = run(GAME, "--frames", "5")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("5 frames", done.stdout)
        self.assertEqual(run(GAME, "--frames", "5", "--input", "escape@2").stdout, "")

    def test_what_is_wrong_is_told(self):
        for arguments, words in (([self.folder + "/none.so"], "none.so"), ([GAME, "--library", "/none.so"], "/none.so"),
                                 ([GAME, "--init", "noGame"], "noGame"), ([GAME, "--input", "hyper@3"], "hyper@3"),
                                 ([GAME, "--size", "0x5"], "--size"), ([GAME, "--out", GAME], GAME)):
            done = run(*arguments)
            self.assertGreater(done.returncode, 0, arguments)
            self.assertIn(words, done.stderr)
            self.assertNotIn("Traceback", done.stderr)

    def test_channels_widen_to_whole_bytes(self):
        table = host.rgb_table()
        self.assertEqual([table[pixel].hex() for pixel in (0, 0xFFFF, 0xF800, 0x07E0, 0x001F, 0x8410)],
                         ["000000", "ffffff", "ff0000", "00ff00", "0000ff", "848284"])


unittest.main(argv=sys.argv[:1])
