"""What the library is to reach: a list of goals, each with our figure, what it is held against, and two limits.

A goal names figures by text: "pixels memcpyRows16" is the benchmark memcpyRows16 of the program bench_pixels, a third word
one of its counters, a star the worst of many benchmarks; "cairo V1 tiger 512" is what the peer of that name reports
(peers.py). The unit tells which figure of a benchmark is meant, and whether more is better.
"""
import dataclasses

MORE_IS_BETTER = {"Mpixel/s", "Mtri/s", "MB/s", "SSIM", "share"}


@dataclasses.dataclass
class Goal:
    subject: str
    scene: str
    unit: str
    ours: str
    reference: str  # "" where the limits are for our figure alone
    must: float     # None: there is only the goal
    goal: float     # None: there is only the must
    limits: str     # of what: "ratio" ours / reference, "value" ours, "beyond" ours - reference

    @property
    def more_is_better(self):
        return self.unit in MORE_IS_BETTER


def against(subject, scene, unit, ours, *references):
    """Goals with several references for one figure of ours: (reference, must, goal) each."""
    return [Goal(subject, scene, unit, ours, reference, must, goal, "ratio") for reference, must, goal in references]


def alone(subject, scene, unit, ours, must, goal, beside=""):
    """A goal for our figure itself; what is beside it is only shown."""
    return [Goal(subject, scene, unit, ours, beside, must, goal, "value")]


def pixels(scene, ours, *references):
    return against("pixels", scene, "Mpixel/s", ours, *references)


def rendered(scene, ours, peer, must, goal, unit="Mpixel/s"):
    ours = f"gl_scenes scene/{ours} {'pixels' if unit == 'Mpixel/s' else 'triangles'}"
    return against("3D", scene, unit, ours, (f"llvmpipe {peer}", must, goal))


def drawn(scene, ours, *references):
    return against("vector", scene, "ms", f"vector {ours}", *references)


def mixed(scene, ours, *references):
    return against("sound", scene, "ns/voice", f"audio mix/{ours} ns/voice/sample", *references)


PREMUL, HIGH, X888 = 10, 8, 2  # surface formats: PREMUL8888, 55X5, X888

GOALS = [
    # 300 sprites of 64 x 64 on 640 x 480
    *pixels("copy 16 bits", "pixels drawSprites/copy16", ("pixman copy16", 1.0, None), ("pixels memcpyRows16", None, 0.8)),
    *pixels("colour key 16 bits", "pixels drawSprites/keyed16", ("SDL keyed16", 3, 6)),
    *pixels("alpha 55X5", "pixels drawSprites/alpha16", ("SDL alpha16", 1.2, 2)),
    *pixels("add 55X5", "pixels drawSprites/add16", ("pixman add16", 3, 8)),
    *pixels("PREMUL8888 over X888", "pixels drawSprites/over32", ("SDL over32", 1.0, None), ("pixman over32", None, 0.9)),
    *pixels("PREMUL8888 over 16 bits", "pixels drawSprites/over32to16", ("pixman over32to16", 1.0, 1.5)),
    *pixels("8888 to 565", "pixels convertPicture/8888to565", ("pixman conv8888to565", 0.4, 0.9)),
    *pixels("565 to 8888", "pixels convertPicture/565to8888", ("pixman conv565to8888", 0.9, 1.5)),
    *pixels("8888 to PREMUL8888", "pixels convertPicture/premultiply", ("SDL premul", 3, 8)),
    *pixels("nearest 2x 16 bits", "pixels doubleSize/nearest16", ("pixman near2x16", 0.6, 1.2)),
    *pixels("fill 16 bits", "pixels fillRectangles/opaque16", ("pixman fill16", 0.8, 1)),
    *pixels("translucent fill 16 bits", "pixels fillRectangles/translucent16", ("pixman tfill16", 1.5, 3)),
    *pixels("translucent fill 32 bits", "pixels fillRectangles/translucent32",
            ("SDL tfill32", 2.5, None), ("pixman tfill32", None, 0.8)),
    *alone("pixels", "slowest pair of formats", "Mpixel/s", "pixels drawPair/* slowest", 50, None),
    *pixels("RLE sprites keyed", "sprites drawEncoded/keyed16",
            ("SDL rlekey16", 0.7, 1.0), ("pixels drawSprites/keyed16", 1.0, None)),
    *pixels("RLE sprites soft, 55X5", "sprites drawEncoded/soft16", ("SDL rlealpha16", 1.0, 1.5)),
    *pixels("bilinear 2x 32 bits", "sprites doubleBilinear/32", ("SDL bilin2x32", 0.3, 1)),
    *pixels("bilinear 2x 16 bits", "sprites doubleBilinear/16", ("pixman bilin2x16", 2, 6)),
    *alone("pixels", "half size 16 bits", "Mpixel/s", "sprites average/half16", 200, 500),
    *alone("pixels", "half size 32 bits", "Mpixel/s", "sprites average/half32", 200, 500),

    # 640 x 480, 16 bits
    *rendered("texture x Gouraud, perspective", "S1", "S1", 1.2, 2.5),
    *rendered("texture, perspective", "S1P", "S1P", 2.5, 3.0),
    *rendered("texture x Gouraud", "S2", "S2", 1.2, 2.5),
    *against("3D", "texture x Gouraud", "Mpixel/s", "gl_scenes scene/S2 pixels", ("Irrlicht S2", 1.0, None)),
    *rendered("Gouraud", "S3", "S3", 1.3, 3.0),
    *rendered("texture with alpha, perspective", "S4", "S4", 1.6, 3.0),
    *rendered("20,000 lit triangles", "S5", "S5", 2.0, 2.75, "Mtri/s"),
    *rendered("20,000 lit, textured", "S5T", "S5T", 1.6, 2.0, "Mtri/s"),
    *against("3D", "clear", "MB/s", "gl_scenes S6/clear", ("gl_scenes S6/memset", 0.8, 0.9)),
    *against("3D", "present", "MB/s", "gl_scenes S6/present", ("gl_scenes S6/memcpy", 0.8, 0.9)),
    *alone("3D", "a triangle without its pixels", "cycles", "gl_fillers setup/* triangles", 500, None),

    # 512 x 512, PREMUL8888 unless said; pictures are compared with finely sampled ones
    *drawn("tiger", f"drawings/tiger/{PREMUL}/512", ("AGG V1 tiger 512", 1.25, 0.8)),
    *drawn("300 icons of 32", f"drawings/icons/{PREMUL}/32", ("AGG V2 icons 32", 1.25, 0.9)),
    *drawn("300 icons of 256", f"drawings/icons/{PREMUL}/256", ("AGG V2 icons 256", 1.1, 0.8)),
    *drawn("10,000 triangles", f"polygons/triangles/{PREMUL}", ("AGG V3 triangles", 1.0, 0.6)),
    *drawn("1000 stroked curves", f"strokedCubics/{PREMUL}", ("AGG V4 stroked cubics", 1.4, 0.8)),
    *drawn("linear gradients", f"gradientCircles/linear/{PREMUL}", ("AGG V5 linear circles", 1.0, 0.5)),
    *drawn("radial gradients", f"gradientCircles/radial/{PREMUL}", ("AGG V5 radial circles", 1.4, 0.8)),
    *drawn("rectangles", f"polygons/rectangles/{PREMUL}", ("cairo V6 rects opaque", 1.6, 1.0)),
    *drawn("rectangles, half opaque", f"polygons/rectanglesHalf/{PREMUL}",
           ("AGG V6b rects alpha 128", 1.0, None), ("cairo V6b rects alpha 128", None, 1.0)),
    *drawn("tiger, 55X5", f"drawings/tiger/{HIGH}/512", ("AGG-565 V1 tiger 512", 1.25, 0.7)),
    *drawn("10,000 triangles, 55X5", f"polygons/triangles/{HIGH}", ("AGG-565 V3 triangles", 1.25, 0.7)),
    *drawn("1000 stroked curves, 55X5", f"strokedCubics/{HIGH}", ("AGG-565 V4 stroked cubics", 1.25, 0.7)),
    *drawn("rectangles, 55X5", f"polygons/rectangles/{HIGH}", ("cairo-565 V6 rects opaque", 1.6, 1.0)),
    *drawn("rectangles, half opaque, 55X5", f"polygons/rectanglesHalf/{HIGH}", ("AGG-565 V6b rects alpha 128", 0.6, 0.35)),
    *alone("vector", "tiger: mean error", "MAE", f"picture {X888} tiger mae", 1.7, None),
    *alone("vector", "tiger: similarity", "SSIM", f"picture {X888} tiger ssim", 0.986, None),
    *alone("vector", "icons: mean error", "MAE", f"picture {X888} icons mae", 1.0, None),
    *alone("vector", "icons: similarity", "SSIM", f"picture {X888} icons ssim", 0.994, None),
    *alone("vector", "icons: the worst", "SSIM", f"picture {X888} icons worst", 0.985, None),
    *alone("vector", "tiger, 55X5: mean error", "MAE", f"picture {HIGH} tiger mae", 2.4, None),
    *alone("vector", "tiger, 55X5: similarity", "SSIM", f"picture {HIGH} tiger ssim", 0.984, None),
    *alone("vector", "icons, 55X5: mean error", "MAE", f"picture {HIGH} icons mae", 2.8, None),
    *alone("vector", "icons, 55X5: similarity", "SSIM", f"picture {HIGH} icons ssim", 0.989, None),

    # 16-bit mono at 22050 Hz into 32000 Hz stereo, linear interpolation, unless said
    *mixed("32 voices", "mono16/32", ("SDL_mixer 32", 0.8, None), ("OpenAL 32", None, 1.6)),
    *mixed("128 voices", "mono16/128", ("SDL_mixer 128", 0.8, None), ("OpenAL 128", None, 1.6)),
    *mixed("8 voices, each", "mono16/8", ("audio mix/mono16/128 ns/voice/sample", 1.2, 1.0)),
    *mixed("nearest sample", "mono16_nearest/128", ("audio mix/mono16/128 ns/voice/sample", 0.7, 0.5)),
    *mixed("8 bits mono", "mono8/128", ("audio mix/mono16/128 ns/voice/sample", 1.5, 1.2)),
    *mixed("16 bits stereo", "stereo16/128", ("audio mix/mono16/128 ns/voice/sample", 1.5, 1.2)),
    *mixed("8 bits stereo", "stereo8/128", ("audio mix/mono16/128 ns/voice/sample", 1.5, 1.2)),
    *against("sound", "a pass without voices", "ns", "audio silence", ("audio silenceByMemset", 2, 1.2)),
    *against("sound", "longest play() beside 256 voices", "us", "audio playBesideTheMixer_median longest_us",
             ("audio playBesideTheMixer_median pass_us", 2, 1)),

    # messages of 64 bytes, 60 a second each way; latency with 20 ms each way
    *against("network", "CPU for a datagram", "us/datagram", "net datagramsBothEnds",
             ("ENet datagram", 1.0, None), ("net bareSocketCalls", 1.4, 1.2)),
    Goal("network", "an idle run with 10 clients", "us", "net idleRun/10", "net emptyReceive", 1, 0.3, "beyond"),
    *alone("network", "datagrams for a message", "datagrams", "net latency/0 datagramsPerMessage", 1.05, 1.0),
    *alone("network", "bytes for a message", "bytes", "net latency/0 bytesPerMessage", 80, 79),
    *against("network", "p99 latency, 1 % loss", "ms", "net latency/1 p99", ("ENet p99 at 1", 1.0, 0.8)),
    *against("network", "p99 latency, 5 % loss", "ms", "net latency/5 p99", ("ENet p99 at 5", 0.6, 0.5)),
    *against("network", "p99 latency, 20 % loss", "ms", "net latency/20 p99", ("ENet p99 at 20", 0.2, 0.15)),
    *alone("network", "delivered, 20 % loss", "share", "net latency/20 delivered", 1, 1),
    *against("network", "recovery from 1 s of darkness", "ms", "net latency/-1 max", ("ENet max at dark", 0.9, 0.7)),
    *alone("network", "a client without messages", "bytes", "net clientMemory bytes", 1024, None),
    *alone("network", "allocations once warm", "calls", "net datagramsBothEnds allocations", 0, None),

    # 1000 small and 20 large files, zlib level 6
    *against("archives", "open", "us", "files openAndMerge/plainDirectory", ("libzip open", 0.5, 0.2)),
    *against("archives", "open 10,000 entries", "us", "files openMany/10000", ("files openMany/1000", 15, None)),
    *against("archives", "find a name", "ns/name", "files lookUp/hit", ("PhysFS hit", 0.5, None), ("libzip hit", None, 1.5)),
    *against("archives", "miss a name", "ns/name", "files lookUp/miss", ("PhysFS miss", 0.5, None), ("libzip miss", None, 1.5)),
    *against("archives", "read small entries", "MB/s", "files readEntries/small",
             ("PhysFS small", 0.85, 1.2), ("files readByZlib/smallReopened", 0.95, None)),
    *against("archives", "read large entries", "MB/s", "files readEntries/large", ("files readByZlib/large", 0.95, 1.0)),
    *against("archives", "list 10,000 names", "us", "files listMany/10000", ("files listMany/1000", 15, None)),

    *alone("heap", "up to 72 bytes", "ns", "memory heap/small ns/operation", 60, 30, "memory library/small ns/operation"),
    *alone("heap", "16 to 4096 bytes", "ns", "memory heap/mixed ns/operation", 350, 100, "memory library/mixed ns/operation"),
    *alone("heap", "longest operation", "us", "memory worst<Ours> longest_us", 200, 100, "memory worst<Library> longest_us"),
    *alone("heap", "merging all free blocks, 8 MB", "us", "memory merging", 200, 100),

    *alone("size", "shared library", "bytes", "size the stripped shared library", 1000000, 600000),
    *alone("size", "static game", "bytes", "size a stripped static game: core, surfaces, one filler", 250000, None),
    *alone("size", "memory before the game's own", "bytes", "size memory of the core before the game allocates", 256000, None),
]
