#!/usr/bin/env python3
"""Plays echo_game on a virtual display: real keys, a real mouse, the pixels that the display shows.

Usage: xvfb_test.py path/to/echo_game. Exit code 77: Xvfb, xdotool or import (ImageMagick) is missing.
Everything waits for what the game prints, never for a time to pass, so that a slow machine is only slower.
"""
import ctypes
import os
import queue
import shutil
import struct
import subprocess
import sys
import tempfile
import threading

WIDTH, HEIGHT, MARGIN = 121, 83, 20
TIMEOUT_S = 20  # for one answer

# xdotool's key (a number is the keyboard's own code), virtual-key code, character or None
KEYS = [(chr(c), c - 32, c) for c in range(ord("a"), ord("z") + 1)]
KEYS += [(chr(c), c, c) for c in range(ord("0"), ord("9") + 1)]
KEYS += [("F%d" % n, 0x6F + n, None) for n in range(1, 13)]
KEYS += [
    ("Return", 13, 13), ("BackSpace", 8, 8), ("Tab", 9, 9), ("Escape", 27, 27), ("space", 32, 32),
    ("Left", 37, None), ("Up", 38, None), ("Right", 39, None), ("Down", 40, None), ("Prior", 33, None),
    ("Next", 34, None), ("End", 35, None), ("Home", 36, None), ("Insert", 45, None), ("Delete", 46, None),
    ("Shift_L", 16, None), ("62", 16, None), ("Control_L", 17, None), ("105", 17, None),
    ("Alt_L", 18, None), ("108", 18, None), ("Super_L", 91, None), ("134", 92, None), ("Menu", 93, None), ("Pause", 19, None),
    ("Print", 44, None), ("Scroll_Lock", 145, None), ("Caps_Lock", 20, None), ("Caps_Lock", 20, None),
    ("semicolon", 0xBA, ord(";")), ("equal", 0xBB, ord("=")), ("comma", 0xBC, ord(",")), ("minus", 0xBD, ord("-")),
    ("period", 0xBE, ord(".")), ("slash", 0xBF, ord("/")), ("grave", 0xC0, ord("`")), ("bracketleft", 0xDB, ord("[")),
    ("backslash", 0xDC, ord("\\")), ("bracketright", 0xDD, ord("]")), ("apostrophe", 0xDE, ord("'")),
    ("KP_Enter", 13, 13), ("KP_Divide", 0x6F, ord("/")), ("KP_Multiply", 0x6A, ord("*")),
    ("KP_Subtract", 0x6D, ord("-")), ("KP_Add", 0x6B, ord("+")),
]
# The keypad's 7 8 9, 4 5 6, 1 2 3, 0 and point, by the codes of a PC keyboard under X
KEYPAD = ["79", "80", "81", "83", "84", "85", "87", "88", "89", "90", "91"]
KEYPAD_NAVIGATION = [36, 38, 33, 37, 12, 39, 35, 40, 34, 45, 46]
KEYPAD_DIGITS = [103, 104, 105, 100, 101, 102, 97, 98, 99, 96, 110]
KEYPAD_TEXT = "789456123" "0."


class Game:
    def __init__(self, program, environment, directory):
        self.process = subprocess.Popen([program], stdout=subprocess.PIPE, env=environment, cwd=directory, text=True)
        self.lines = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.put(line.strip())
        self.lines.put(None)

    def next(self):
        line = self.lines.get(timeout=TIMEOUT_S)
        if line is None:
            raise AssertionError("the game ended with %s" % self.process.wait())
        return line

    def expect(self, *wanted):
        got = []
        for line in wanted:
            try:
                got.append(self.next())
            except queue.Empty:
                got.append("(nothing)")
            if got[-1] != line:
                raise AssertionError("expected %s, got %s" % (wanted[max(0, len(got) - 4):len(got) + 2], got[-4:]))

    def until(self, wanted):
        while self.next() != wanted:
            pass


def key_lines(key, character):
    return ["down %d" % key] + (["char %d" % character] if character else []) + ["up %d" % key]


def model_pixel(x, y):
    return (x * 2081 + y * 4129) & 0xFFFF


def check_window(environment, window):
    width, height = WIDTH + 2 * MARGIN, HEIGHT + 2 * MARGIN
    rgb = subprocess.run(["import", "-silent", "-window", window, "-depth", "8", "rgb:-"], env=environment, check=True,
                         stdout=subprocess.PIPE, timeout=TIMEOUT_S).stdout
    assert len(rgb) == width * height * 3, "the window shows %d bytes" % len(rgb)
    wide = 0
    greys = {(value << 11 | value << 6 | value) & 0xFFFF for value in range(40)}  # the texture's
    for y in range(height):
        for x in range(width):
            red, green, blue = rgb[(y * width + x) * 3:][:3]
            got = (red >> 3) << 11 | (green >> 2) << 5 | blue >> 3
            if MARGIN <= x < MARGIN + WIDTH and MARGIN <= y < MARGIN + HEIGHT:
                wanted = model_pixel(x - MARGIN, y - MARGIN)
                assert got == wanted, "pixel %d, %d shows %04x, not %04x" % (x, y, got, wanted)
                wide = max(wide, red, green, blue)
            else:
                assert got in greys, "border pixel %d, %d is %04x" % (x, y, got)
    assert wide >= 248


def check_screenshot(path):
    row = (WIDTH * 3 + 3) // 4 * 4
    wanted = b"BM" + struct.pack("<IIIIiiHHIIIIII", 54 + row * HEIGHT, 0, 54, 40, WIDTH, HEIGHT, 1, 24, 0, 0, 2834, 2834,
                                 0, 0)
    for y in range(HEIGHT - 1, -1, -1):
        pixels = b""
        for x in range(WIDTH):
            p = model_pixel(x, y)
            pixels += bytes(((p & 0x1F) << 3, (p & 0x7E0) >> 3, (p & 0xF800) >> 8))
        wanted += pixels.ljust(row, b"\0")
    with open(path, "rb") as file:
        assert file.read() == wanted, "%s differs" % path


class ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                ("format", ctypes.c_int), ("data", ctypes.c_long * 5), ("union_padding", ctypes.c_long * 24)]


def ask_to_close(display_name, window):
    """Sends what a window manager sends when its close button is clicked; there is none on this display."""
    x11 = ctypes.CDLL("libX11.so.6")
    x11.XOpenDisplay.restype = ctypes.c_void_p
    x11.XInternAtom.restype = ctypes.c_ulong
    display = ctypes.c_void_p(x11.XOpenDisplay(display_name.encode()))
    client_message = 33
    event = ClientMessage(client_message, 0, 1, display, window, x11.XInternAtom(display, b"WM_PROTOCOLS", 0), 32)
    event.data[0] = x11.XInternAtom(display, b"WM_DELETE_WINDOW", 0)
    x11.XSendEvent(display, ctypes.c_ulong(window), 0, ctypes.c_long(0), ctypes.byref(event))
    x11.XCloseDisplay(display)


def play(program, environment, directory):
    def xdotool(*arguments):
        return subprocess.run(["xdotool", *map(str, arguments)], env=environment, check=True, stdout=subprocess.PIPE,
                              text=True, timeout=TIMEOUT_S).stdout.strip()

    game = Game(program, environment, directory)
    try:
        game.until("running")
        window = xdotool("search", "--sync", "--name", "^Echo$").split()[0]
        xdotool("windowmove", "--sync", window, 100, 60)
        left, top = 100 + MARGIN, 60 + MARGIN
        xdotool("mousemove", left, top, "windowfocus", "--sync", window)
        xdotool("key", "q")
        game.until("up 81")

        batch = [key for key in KEYS if key[0] != "F12"]
        xdotool("key", *[name for name, _, _ in batch])
        for name, key, character in batch:
            game.expect(*key_lines(key, character))
        xdotool("key", *KEYPAD)
        for key in KEYPAD_NAVIGATION:
            game.expect(*key_lines(key, None))
        xdotool("key", "Num_Lock", *KEYPAD, "Num_Lock")
        game.expect(*key_lines(144, None))
        for key, character in zip(KEYPAD_DIGITS, KEYPAD_TEXT):
            game.expect(*key_lines(key, ord(character)))
        game.expect(*key_lines(144, None))
        xdotool("keydown", "shift", "key", "a", "keyup", "shift", "keydown", "ctrl", "key", "c", "keyup", "ctrl")
        game.expect("down 16", "down 65", "char 65", "up 65", "up 16")
        game.expect("down 17", "down 67", "char 3", "up 67", "up 17")

        xdotool("mousemove", left + 7, top + 9, "mousedown", 1, "mousemove", left + 120, top + 82, "mouseup", 1)
        game.expect("pointer down 7 9", "pointer move 120 82", "pointer up 120 82")
        # Outside the screen, and even outside the window, nothing arrives; back inside the drag goes on. The keys tell
        # that the game has seen the move before them: positions in one burst may be merged.
        xdotool("mousemove", left + 3, top + 4, "mousedown", 1)
        game.expect("pointer down 3 4")
        for x, y in ((left + WIDTH, top), (left + WIDTH + 60, top), (0, 0)):
            xdotool("mousemove", x, y, "key", "q")
            game.expect(*key_lines(81, 113))
        xdotool("mousemove", left, top, "mouseup", 1)
        game.expect("pointer move 0 0", "pointer up 0 0")
        xdotool("mousemove", left - 1, top, "click", 1, "mousemove", left, top, "click", 3, "click", 2)
        game.expect(*key_lines(506, None))
        xdotool("click", 4, "click", 5)
        game.expect(*key_lines(513, None), *key_lines(512, None))

        xdotool("mousemove", 0, 0)
        check_window(environment, window)
        for number in (1, 2):
            xdotool("key", "F12")
            game.expect(*key_lines(123, None))
            check_screenshot(os.path.join(directory, "ss%04d.bmp" % number))

        ask_to_close(environment["DISPLAY"], int(window))
        game.until("event 4 2")
        game.expect("deinit")
        code = game.process.wait(TIMEOUT_S)
        assert code == 0, "closing the window ended the game with %d" % code
    finally:
        game.process.kill()
        game.process.wait()


def main():
    if not all(map(shutil.which, ("Xvfb", "xdotool", "import"))):
        print("skipped: needs Xvfb, xdotool and import")
        return 77
    program = os.path.abspath(sys.argv[1])
    read_end, write_end = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "640x480x24", "-nolisten", "tcp"],
                              pass_fds=[write_end], stderr=subprocess.DEVNULL)
    os.close(write_end)
    try:
        with os.fdopen(read_end) as pipe, tempfile.TemporaryDirectory() as directory:
            environment = dict(os.environ, DISPLAY=":" + pipe.readline().strip(), SDL_VIDEODRIVER="x11")
            play(program, environment, directory)
    finally:
        server.terminate()
        server.wait()
    return 0


if __name__ == "__main__":
    sys.exit(main())
