"""State files: what a trained tool needs to be used again, in one checksummed file.

The program `telvar` reads and writes the same files; docs/host.md gives their layout.
"""

import json
import os
import struct
import tempfile
from dataclasses import dataclass
from typing import Optional, Tuple, Union

from telvar._native import xxh64
from telvar.about import About, is_about
from telvar.records import Data

__all__ = ["State", "StateError", "read_state", "write_state"]

Path = Union[str, "os.PathLike[str]"]

_MAGIC = b"TLVSTATE"
_VERSIONS = (1, 2)
_FIELDS = struct.Struct("<8sIIffQQQQ")
_CHECKSUM = struct.Struct("<Q")
_HEADER = _FIELDS.size + _CHECKSUM.size
_TAIL = struct.Struct("<QQ")
_LARGEST_SIZE = 1e6  # pixels
_TOOLS = {1: "ocr", 2: "classifier", 3: "segmenter"}


class StateError(Exception):
    """The file is no state file, is damaged, of another version, or of another tool; the text names the file."""


@dataclass(frozen=True)
class State:
    """What a state file holds."""

    #: "ocr", "classifier" or "segmenter".
    tool: str
    data: Data
    #: Nominal width and height of a character, region pixels; None when unknown, and for the other tools.
    size: Optional[Tuple[float, float]] = None
    #: What the file says of itself, see `telvar.about`; None when it says nothing.
    about: Optional[About] = None


def read_state(path: Path) -> State:
    """Reads a state file and checks all of it. Raises OSError and StateError."""
    with open(path, "rb") as file:
        version, tool, size, lengths, checksums = _parse_header(file.read(_HEADER), path)
        rest = os.fstat(file.fileno()).st_size - _HEADER
        fits = rest == sum(lengths) if version == 1 else rest >= sum(lengths) + _TAIL.size
        if not fits:
            raise StateError(f"{path}: damaged state file: {rest} bytes follow the header, which announces "
                             f"{lengths[0]} + {lengths[1]}" + (" and a description" if version > 1 else ""))
        parts = [file.read(length) for length in lengths]
        about = _read_about(file.read(), path) if version > 1 else None
    for part, checksum, name in zip(parts, checksums, ("artifact", "train cache")):
        if xxh64(part) != checksum:
            raise StateError(f"{path}: damaged state file: the {name}'s checksum is wrong")
    return State(tool, Data(*parts), size, about)


def write_state(path: Path, state: State) -> None:
    """Writes a state file, whole or not at all; replaces what is there. Raises OSError, and ValueError for a tool or
    size that a state file cannot have."""
    tools = [number for number, name in _TOOLS.items() if name == state.tool]
    if not tools:
        raise ValueError(f"state.tool must be one of {', '.join(_TOOLS.values())}, not {state.tool!r}")
    width, height = state.size or (0, 0)
    if not _is_size(state.tool, width, height):
        raise ValueError(f"state.size of a {state.tool} state cannot be {state.size!r}")
    artifact, cache = state.data.artifact, state.data.train_cache
    about = b"" if state.about is None else json.dumps(state.about, ensure_ascii=False).encode("utf-8")
    fields = _FIELDS.pack(_MAGIC, 2 if about else 1, tools[0], width, height, len(artifact), xxh64(artifact), len(cache),
                          xxh64(cache))
    _replace(path, fields + _CHECKSUM.pack(xxh64(fields)) + artifact + cache
             + (_TAIL.pack(len(about), xxh64(about)) + about if about else b""))


def read_state_of(tool: str, path: Path) -> State:
    """Reads the state file of a certain tool."""
    state = read_state(path)
    if state.tool != tool:
        raise StateError(f"{path}: state file of the tool {state.tool}, not {tool}")
    return state


def _parse_header(
    header: bytes, path: Path
) -> Tuple[int, str, Optional[Tuple[float, float]], Tuple[int, int], Tuple[int, int]]:
    if header[: len(_MAGIC)] != _MAGIC:
        raise StateError(f"{path}: is no telvar state file (wrong magic)")
    if len(header) < _HEADER:
        raise StateError(f"{path}: damaged state file: the header is cut off ({len(header)} of {_HEADER} bytes)")
    if _CHECKSUM.unpack_from(header, _FIELDS.size)[0] != xxh64(header[: _FIELDS.size]):
        raise StateError(f"{path}: damaged state file: the header's checksum is wrong")
    _, version, tool, width, height, artifact, artifact_sum, cache, cache_sum = _FIELDS.unpack_from(header)
    if version not in _VERSIONS:
        raise StateError(f"{path}: state file of format version {version}; this package reads versions 1 and 2")
    if tool not in _TOOLS:
        raise StateError(f"{path}: state file of an unknown tool ({tool})")
    if not _is_size(_TOOLS[tool], width, height):
        raise StateError(f"{path}: damaged state file: the character size of {width} x {height} is invalid")
    size = (width, height) if width > 0 and height > 0 else None
    return version, _TOOLS[tool], size, (artifact, cache), (artifact_sum, cache_sum)


def _read_about(tail: bytes, path: Path) -> About:
    length, checksum = _TAIL.unpack_from(tail)
    text = tail[_TAIL.size:]
    if length != len(text):
        raise StateError(f"{path}: damaged state file: the description has {len(text)} bytes, not {length}")
    if xxh64(text) != checksum:
        raise StateError(f"{path}: damaged state file: the description's checksum is wrong")
    about: About = {}
    try:
        about = json.loads(text)
    except ValueError:
        pass
    if not is_about(about):
        raise StateError(f"{path}: damaged state file: the description is not of its form")
    return about


def _is_size(tool: str, width: float, height: float) -> bool:
    if tool != "ocr":
        return width == 0 and height == 0
    # False for what is no number.
    return 0 <= width <= _LARGEST_SIZE and 0 <= height <= _LARGEST_SIZE


def _replace(path: Path, content: bytes) -> None:
    """Writes beside the place, flushes and renames; what is replaced leaves its permissions."""
    folder, name = os.path.split(os.path.abspath(path))
    handle, temporary = tempfile.mkstemp(prefix=f".{name}.", dir=folder)
    try:
        with os.fdopen(handle, "wb") as file:
            file.write(content)
            file.flush()
            os.fchmod(file.fileno(), _permissions(path))
            os.fsync(file.fileno())
        os.replace(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise


def _permissions(path: Path) -> int:
    try:
        return os.stat(path).st_mode & 0o777
    except FileNotFoundError:
        mask = os.umask(0)
        os.umask(mask)
        return 0o666 & ~mask
