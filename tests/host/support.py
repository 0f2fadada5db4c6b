"""What the host tests share: running the program, and small data sets made from nothing."""
import ctypes
import ctypes.util
import json
import os
import pathlib
import shutil
import signal
import struct
import subprocess
import tempfile
import unittest
import zlib

PROGRAM = os.environ["TELVAR_PROGRAM"]
LIBRARY = os.environ["TELVAR_LIBRARY"]


def png(width, height, value, bits=8, channels=1):
    """PNG bytes; value(x, y) is a sample or a tuple of them."""
    rows = bytearray()
    for y in range(height):
        rows.append(0)
        for x in range(width):
            samples = value(x, y)
            for sample in samples if isinstance(samples, tuple) else (samples,) * channels:
                rows += struct.pack(">H" if bits == 16 else ">B", sample)

    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

    colour = {1: 0, 3: 2, 4: 6}[channels]
    header = struct.pack(">IIBBBBB", width, height, bits, colour, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(bytes(rows)))
            + chunk(b"IEND", b""))


def xxh64(data):
    """XXH64 with seed 0, as state files use it."""
    library = ctypes.CDLL(ctypes.util.find_library("xxhash") or "libxxhash.so.0")
    library.XXH64.restype = ctypes.c_uint64
    return library.XXH64(data, ctypes.c_size_t(len(data)), ctypes.c_uint64(0))


def flat(value, side=12):
    """A gray image of one brightness, told from others of it by its first pixel."""
    return png(side, side, lambda x, y: value + (1 if x == 0 else 0))


class Result:
    def __init__(self, done):
        self.code = done.returncode
        self.out = done.stdout.decode("utf-8")
        self.err = done.stderr.decode("utf-8")

    def __str__(self):
        return f"exit {self.code}\n{self.out}\n{self.err}"


class HostTest(unittest.TestCase):
    """A scratch folder whose name has a space and letters beyond ASCII, and helpers."""

    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="telvar tést 試 "))
        self.addCleanup(shutil.rmtree, self.scratch, ignore_errors=True)

    def arguments(self, *args):
        library = ["--library", LIBRARY] if LIBRARY and not {"check", "inspect", "convert", "merge"}.intersection(args[:1]) else []
        return [PROGRAM, *map(str, args), *library]

    def run_host(self, *args, env=None, stdin=None):
        return Result(subprocess.run(self.arguments(*args), capture_output=True, input=stdin, timeout=600,
                                     env={**os.environ, **(env or {})}))

    def ok(self, *args, **more):
        """Runs with --json, expects success and gives the object."""
        done = self.run_host(*args, "--json", **more)
        self.assertEqual(done.code, 0, str(done))
        return json.loads(done.out)

    def start(self, *args):
        """In a session of its own, with SIGINT as a terminal would deliver it."""
        def before():
            signal.signal(signal.SIGINT, signal.SIG_DFL)
        return subprocess.Popen(self.arguments(*args), stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                preexec_fn=before, start_new_session=True)

    def file(self, name, content):
        path = self.scratch / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode("utf-8"))
        return path

    def files(self):
        return sorted(str(p.relative_to(self.scratch)) for p in self.scratch.rglob("*"))

    # Data sets.

    def brightness_set(self, name="brightness", dark=(20, 24, 28), light=(200, 204, 208)):
        for value in dark:
            self.file(f"{name}/dark é/{value}.png", flat(value))
        for value in light:
            self.file(f"{name}/light/{value}.png", flat(value))
        return self.scratch / name

    def bright_set(self, name="spots"):
        """Images with a bright square and its mask; in the third the mask is wider than the square."""
        for i, (square, mask) in enumerate([(4, 4), (6, 6), (4, 6)]):
            self.file(f"{name}/images/{i}.png",
                      png(20, 16, lambda x, y: 200 if x < square and y < 4 else 30 + i))
            self.file(f"{name}/masks/spot/{i}.png", png(20, 16, lambda x, y: 255 if x < mask and y < 4 else 0))
        return self.scratch / name

    def text_set(self, name="texts", truth=("AB", "ÇD"), shown="ABÇD", **more):
        """A page with a dark dot per character on a 20 x 30 grid; `shown` are the dots that are there."""
        marks = [(15 + 20 * k, 15 + 30 * row, c) for row, line in enumerate(truth) for k, c in enumerate(line)]
        dark = {(x, y) for x, y, c in marks if c in shown}
        self.file(f"{name}/page.png", png(60, 60, lambda x, y: 0 if (x, y) in dark else 255))
        image = {"file": "page.png", "text": list(truth), **more,
                 "characters": [{"x": x, "y": y, "category": c} for x, y, c in marks]}
        self.file(f"{name}/labels.json", json.dumps({"size": [20, 30], "images": [image]}))
        return self.scratch / name

    def train(self, tool, data, name="state.telvar", *more):
        state = self.scratch / name
        self.ok("train", "--tool", tool, "--data", data, "--state", state, *more)
        return state
