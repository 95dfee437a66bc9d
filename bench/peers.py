#!/usr/bin/env python3
"""Other libraries that draw, mix and send the same scenes as our benchmarks: how they are built, run and read.

Their programs are no part of this project. They lie in the folder that KXC_PEERS names, or in ../shared/peers beside the
checkout; without them the table shows our own figures alone.

    peers.py --packages    prints the Debian packages that they need; nothing where there are no peers
"""
import os
import re
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SOURCES = os.path.abspath(os.environ.get("KXC_PEERS") or os.path.join(ROOT, "..", "shared", "peers"))
BUILT = os.path.join(ROOT, "build", "peers")
VECTOR_DATA, VECTOR_PICTURES = (os.path.join(SOURCES, "vector", *names) for names in (("data",), ("ref", "cairo")))

PACKAGES = """libsdl2-dev libpixman-1-dev libopenal-dev libsdl2-mixer-dev zlib1g-dev libdeflate-dev libphysfs-dev libzip-dev
    libosmesa6-dev libgl1-mesa-dri libirrlicht-dev xvfb xauth libenet-dev libagg-dev libcairo2-dev libpng-dev
    pkg-config""".split()


def built(folder, *names):
    return os.path.join(BUILT, folder, *names)


def output(*command, **environment):
    """What it prints, its errors aside; "" when it fails."""
    os.makedirs(BUILT, exist_ok=True)
    done = subprocess.run(command, env={**os.environ, **environment}, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True, cwd=BUILT)
    return done.stdout if done.returncode == 0 else ""


class Peer:
    """A folder of peers. measure() answers (name, figure) pairs; the names are those of goals.py."""

    def __init__(self, folder, names, measure, build=None, once=False):
        self.folder, self.names, self.measure, self.once = folder, names, measure, once
        self._build = build or [["sh", os.path.join(SOURCES, folder, "run.sh")]]

    def build(self):
        """Answers whether there is something to run; tells what went wrong."""
        if not os.path.isdir(os.path.join(SOURCES, self.folder)):
            return False
        out = built(self.folder)
        os.makedirs(out, exist_ok=True)
        for command in self._build:
            done = subprocess.run(command, env={**os.environ, "BUILD": out, "NORUN": "1"}, capture_output=True, text=True)
            if done.returncode:
                print(f"no peers from {self.folder}:\n{done.stderr[-2000:]}", file=sys.stderr)
                return False
        return True


def compiled(name, library):
    return ["g++", "-O2", "-std=c++17", os.path.join(SOURCES, "gl", f"{name}.cpp"), "-o", built("gl", name), library]


def pixels():
    for line in output(built("pixels", "pixels"), SDL_VIDEODRIVER="dummy").splitlines():
        scene, engine, figure = line.split()[:3] if len(line.split()) == 5 else ("", "", "")
        name = {"pixman": "pixman", "sdl": "SDL", "sdl(straight)": "SDL"}.get(engine)
        if name:
            yield f"{name} {scene}", float(figure)


def rendering(text, name):
    for scene, mpixels, mtriangles in re.findall(r"\bt256 +(S\w+) .* ([\d.]+) Mpixel/s +([\d.]+) Mtri/s", text):
        yield f"{name} {scene}", float(mtriangles if scene.startswith("S5") else mpixels)


def gl():
    llvmpipe = output(built("gl", "peer_osmesa"), "16", "256", "llvmpipe", GALLIUM_DRIVER="llvmpipe", LP_NUM_THREADS="0")
    yield from rendering(llvmpipe, "llvmpipe")
    yield from rendering(output("xvfb-run", "-a", "-s", "-screen 0 800x600x24", built("gl", "peer_irrlicht"), "software", "256"),
                         "Irrlicht")


def vector():
    for name, program, *options in (("AGG", "bench_agg"), ("AGG-565", "bench_agg16"), ("cairo", "bench_cairo"),
                                    ("cairo-565", "bench_cairo", "--16", "1")):
        text = output(built("vector", program), VECTOR_DATA, "--runs", "3", *options)
        for scene, figure in re.findall(r"^\S+ +(V.+?) +min +([\d.]+) ms", text, re.M):
            yield f"{name} {scene}", float(figure)


def audio():
    text = output(built("audio", "audio"))
    for name, pattern in (("SDL_mixer", "SDL_mixer"), ("OpenAL", "openal-soft")):
        for voices, figure in re.findall(rf"^{pattern}.*? +(\d+) +([\d.]+) ", text, re.M):
            yield f"{name} {voices}", float(figure)


def files():
    text = output(built("files", "files"), built("files", "scene"))
    for name, pattern in (("PhysFS", "physfs zip"), ("libzip", "libzip")):
        line = re.search(rf"^{pattern} +(.*)", text, re.M)
        if line:
            opening, hit, miss, _, small, large = map(float, line[1].split()[:6])
            yield from ((f"{name} open", opening * 1000), (f"{name} hit", hit), (f"{name} miss", miss),
                        (f"{name} small", small), (f"{name} large", large))


def net():
    figure = re.search(r"([\d.]+) us CPU/datagram", output(built("net", "netbench"), "flood", "100000", "1"))
    if figure:
        yield "ENet datagram", float(figure[1])


def latencies():
    """Messages through a proxy that loses some, in real time; seeds and losses side by side, since they hardly compute."""
    runs, port = [], 47100
    for name, *options in (("1", "--loss", "1"), ("5", "--loss", "5"), ("20", "--loss", "20"),
                           ("dark", "--blackout", "5000:6000")):
        for seed in range(1, 9):
            proxy = subprocess.Popen(
                [built("net", "lossy_proxy"), "--listen", str(port), "--to", f"127.0.0.1:{port + 1}", "--delay", "20",
                 "--seconds", "120", "--seed", str(seed), *options], stdout=subprocess.DEVNULL)
            runs.append((name, port, proxy))
            port += 2
    time.sleep(0.3)  # until they listen
    ends = [subprocess.Popen([built("net", "netbench"), "paced", str(port), str(port + 1), "900", "60", "60"],
                             stdout=subprocess.PIPE, text=True) for _, port, _ in runs]
    found = {}
    for (name, _, proxy), end in zip(runs, ends):
        text = end.communicate()[0]
        proxy.terminate()
        proxy.wait()
        figure = re.search(r"p99 ([\d.]+) max ([\d.]+)", text)
        if figure:
            found.setdefault(name, []).append(float(figure[2 if name == "dark" else 1]))
    for name, figures in found.items():
        yield f"ENet {'max' if name == 'dark' else 'p99'} at {name}", statistics.median(figures)


PEERS = [
    Peer("pixels", "pixman SDL", pixels),
    Peer("gl", "llvmpipe Irrlicht", gl, [compiled("peer_osmesa", "-lOSMesa"), compiled("peer_irrlicht", "-lIrrlicht")]),
    Peer("vector", "AGG AGG-565 cairo cairo-565", vector,
         [["sh", os.path.join(SOURCES, "vector", "build.sh"), built("vector")]]),
    Peer("audio", "SDL_mixer OpenAL", audio),
    # Their set of files is made anew: ours is of what the system has today.
    Peer("files", "PhysFS libzip", files,
         [["rm", "-rf", built("files", "scene")], ["sh", os.path.join(SOURCES, "files", "run.sh")]]),
    Peer("net", "ENet", net),
    Peer("net", "ENet", latencies, once=True),
]

if __name__ == "__main__" and sys.argv[1:] == ["--packages"] and os.path.isdir(SOURCES):
    print(*PACKAGES, sep="\n")
