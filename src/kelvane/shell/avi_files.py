"""The program's animation files: a small AVI writer and reader (uncompressed DIB only).

The spec's animations (``AVI/FINDFILE.AVI``, ``AVI/SEARCH.AVI``,
``AVI/FILEMOVE.AVI`` under the program's directory) are real AVI files.
Instead of shipping binaries, the package draws them and writes them with
:func:`write_avi` when it installs its resources into the program's
directory (``shell.application``).  :func:`read_avi` reads any AVI whose
video stream is uncompressed DIB (8-bit with a palette, 24- or 32-bit) and
gives its frames as top-down RGB rows; ``shell.animation`` plays them.

No Qt here: the files are plain RIFF.
"""

from __future__ import annotations

import math
import os
import struct
from collections.abc import Callable, Iterator
from dataclasses import dataclass, field

FINDFILE = "FINDFILE.AVI"
SEARCH = "SEARCH.AVI"
FILEMOVE = "FILEMOVE.AVI"
AVI_DIRECTORY = "AVI"

SIZE = 32
FRAME_COUNT = 8
MICROSECONDS_PER_FRAME = 125_000  # 8 frames a second

AVIF_HASINDEX = 0x10
AVIIF_KEYFRAME = 0x10
BI_RGB = 0

Colour = tuple[int, int, int]  # (red, green, blue)


class AviError(ValueError):
    """Not an AVI file, or not one with an uncompressed DIB video stream."""


# --------------------------------------------------------------------------- writing


def _chunk(fourcc: bytes, data: bytes) -> bytes:
    padding = b"\0" if len(data) % 2 else b""
    return fourcc + struct.pack("<I", len(data)) + data + padding


def _list(kind: bytes, body: bytes) -> bytes:
    return b"LIST" + struct.pack("<I", len(body) + 4) + kind + body


def encode_avi(
    frames: list[bytes],
    width: int,
    height: int,
    microseconds_per_frame: int = MICROSECONDS_PER_FRAME,
) -> bytes:
    """An AVI of 24-bit uncompressed DIB frames.

    Each frame is given as top-down RGB rows (``width * 3`` bytes a row); the
    file stores them bottom-up in BGR order with rows padded to four bytes, as
    a DIB does.
    """
    if not frames:
        raise ValueError("An AVI needs at least one frame")
    stride = (width * 3 + 3) & ~3
    image_size = stride * height
    dibs = [_to_dib(frame, width, height, stride) for frame in frames]
    rate = 1_000_000
    avih = struct.pack(
        "<14I",
        microseconds_per_frame,
        image_size * rate // microseconds_per_frame,
        0,
        AVIF_HASINDEX,
        len(frames),
        0,
        1,
        image_size,
        width,
        height,
        0,
        0,
        0,
        0,
    )
    strh = struct.pack(
        "<4s4sIHHIIIIIIiI4h",
        b"vids",
        b"DIB ",
        0,
        0,
        0,
        0,
        microseconds_per_frame,
        rate,
        0,
        len(frames),
        image_size,
        -1,
        image_size,
        0,
        0,
        width,
        height,
    )
    strf = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, BI_RGB, image_size, 0, 0, 0, 0)
    header = _list(
        b"hdrl",
        _chunk(b"avih", avih) + _list(b"strl", _chunk(b"strh", strh) + _chunk(b"strf", strf)),
    )
    movi_body = b""
    index = b""
    for dib in dibs:
        offset = 4 + len(movi_body)  # from the "movi" fourcc
        index += struct.pack("<4sIII", b"00db", AVIIF_KEYFRAME, offset, len(dib))
        movi_body += _chunk(b"00db", dib)
    body = b"AVI " + header + _list(b"movi", movi_body) + _chunk(b"idx1", index)
    return b"RIFF" + struct.pack("<I", len(body)) + body


def _to_dib(frame: bytes, width: int, height: int, stride: int) -> bytes:
    row_bytes = width * 3
    if len(frame) != row_bytes * height:
        raise ValueError(
            f"A {width}x{height} frame has {row_bytes * height} bytes, not {len(frame)}"
        )
    rows = []
    for y in range(height - 1, -1, -1):
        row = bytearray(frame[y * row_bytes : (y + 1) * row_bytes])
        row[0::3], row[2::3] = row[2::3], row[0::3]  # RGB -> BGR
        rows.append(bytes(row) + b"\0" * (stride - row_bytes))
    return b"".join(rows)


def write_avi(path: str | os.PathLike[str], frames: list[bytes], width: int, height: int) -> None:
    """Write :func:`encode_avi`'s file to *path* (through a temporary name)."""
    data = encode_avi(frames, width, height)
    target = os.fspath(path)
    temporary = target + ".part"
    with open(temporary, "wb") as stream:
        stream.write(data)
    os.replace(temporary, target)


# --------------------------------------------------------------------------- reading


@dataclass
class AviClip:
    """An AVI's video: frames as top-down RGB rows (``width * 3`` bytes a row)."""

    width: int
    height: int
    microseconds_per_frame: int
    frames: list[bytes] = field(default_factory=list)

    @property
    def frame_interval_ms(self) -> int:
        return (
            max(1, round(self.microseconds_per_frame / 1000))
            if self.microseconds_per_frame
            else 100
        )


def _chunks(data: bytes, start: int, end: int) -> Iterator[tuple[bytes, int, int]]:
    """(fourcc, data start, data size) of the chunks between *start* and *end*."""
    position = start
    while position + 8 <= end:
        fourcc = data[position : position + 4]
        (size,) = struct.unpack_from("<I", data, position + 4)
        body = position + 8
        if body + size > end:
            raise AviError("A chunk runs past the end of its list")
        yield fourcc, body, size
        position = body + size + (size & 1)


def read_avi(path: str | os.PathLike[str]) -> AviClip:
    with open(path, "rb") as stream:
        return parse_avi(stream.read())


def parse_avi(data: bytes) -> AviClip:
    if len(data) < 12 or data[:4] != b"RIFF" or data[8:12] != b"AVI ":
        raise AviError("Not an AVI file")
    (riff_size,) = struct.unpack_from("<I", data, 4)
    end = min(len(data), 8 + riff_size)
    state: dict[str, object] = {"micro": 0, "format": None, "video": None, "stream": -1}
    frames: list[bytes] = []
    stream_number = -1

    def walk(start: int, stop: int) -> None:
        nonlocal stream_number
        for fourcc, body, size in _chunks(data, start, stop):
            if fourcc in (b"LIST", b"RIFF"):
                kind = data[body : body + 4]
                if kind == b"strl":
                    stream_number += 1
                walk(body + 4, body + size)
            elif fourcc == b"avih" and size >= 4:
                state["micro"] = struct.unpack_from("<I", data, body)[0]
            elif fourcc == b"strh" and size >= 8:
                if data[body : body + 4] == b"vids" and state["video"] is None:
                    state["video"] = stream_number
            elif fourcc == b"strf" and stream_number == state["video"] and state["format"] is None:
                state["format"] = _bitmap_format(data, body, size)
            elif (
                fourcc[2:4] in (b"db", b"dc")
                and fourcc[:2].isdigit()
                and int(fourcc[:2]) == state["video"]
            ):
                frames.append(data[body : body + size])

    walk(12, end)
    layout = state["format"]
    if not isinstance(layout, _BitmapFormat):
        raise AviError("The AVI has no video stream format")
    micro = state["micro"]
    clip = AviClip(layout.width, abs(layout.height), micro if isinstance(micro, int) else 0)
    for dib in frames:
        if dib:  # an empty chunk repeats the previous frame
            clip.frames.append(layout.to_rgb(dib))
        elif clip.frames:
            clip.frames.append(clip.frames[-1])
    if not clip.frames:
        raise AviError("The AVI has no frames")
    return clip


@dataclass(frozen=True)
class _BitmapFormat:
    width: int
    height: int  # negative: top-down rows
    bit_count: int
    palette: tuple[Colour, ...]

    def to_rgb(self, dib: bytes) -> bytes:
        width, height = self.width, abs(self.height)
        stride = (width * self.bit_count + 31) // 32 * 4
        if len(dib) < stride * height:
            raise AviError("A frame is shorter than its image")
        rows = []
        order = range(height) if self.height < 0 else range(height - 1, -1, -1)
        for y in order:
            line = dib[y * stride : y * stride + stride]
            if self.bit_count == 24:
                row = bytearray(line[: width * 3])
                row[0::3], row[2::3] = row[2::3], row[0::3]
            elif self.bit_count == 32:
                pixels = line[: width * 4]
                row = bytearray(width * 3)
                row[0::3], row[1::3], row[2::3] = pixels[2::4], pixels[1::4], pixels[0::4]
            else:  # 8-bit with a palette
                row = bytearray()
                black = (0, 0, 0)
                for value in line[:width]:
                    row.extend(self.palette[value] if value < len(self.palette) else black)
            rows.append(bytes(row))
        return b"".join(rows)


def _bitmap_format(data: bytes, body: int, size: int) -> _BitmapFormat:
    if size < 40:
        raise AviError("The video format is not a BITMAPINFOHEADER")
    header_size, width, height, _planes, bit_count, compression = struct.unpack_from(
        "<IiiHHI", data, body
    )
    colours_used = struct.unpack_from("<I", data, body + 32)[0]
    if compression != BI_RGB:
        raise AviError("Only uncompressed (DIB) AVI files can be played")
    if bit_count not in (8, 24, 32) or width <= 0 or height == 0:
        raise AviError(f"Unsupported frame layout: {width}x{height}, {bit_count} bits")
    palette: list[Colour] = []
    if bit_count == 8:
        count = colours_used or 256
        start = body + header_size
        for i in range(min(count, 256)):
            at = start + 4 * i
            if at + 4 > body + size:
                break
            blue, green, red = data[at], data[at + 1], data[at + 2]
            palette.append((red, green, blue))
    return _BitmapFormat(width, height, bit_count, tuple(palette))


# --------------------------------------------------------------------------- the drawings


class _Canvas:
    def __init__(self, background: Colour = (255, 255, 255)) -> None:
        self.pixels = [[background] * SIZE for _ in range(SIZE)]

    def put(self, x: int, y: int, colour: Colour) -> None:
        if 0 <= x < SIZE and 0 <= y < SIZE:
            self.pixels[y][x] = colour

    def rectangle(self, x0: int, y0: int, x1: int, y1: int, fill: Colour, edge: Colour) -> None:
        for y in range(y0, y1 + 1):
            for x in range(x0, x1 + 1):
                border = x in (x0, x1) or y in (y0, y1)
                self.put(x, y, edge if border else fill)

    def ring(self, cx: float, cy: float, radius: float, width: float, colour: Colour) -> None:
        for y in range(SIZE):
            for x in range(SIZE):
                if abs(math.hypot(x - cx, y - cy) - radius) <= width / 2:
                    self.put(x, y, colour)

    def line(self, x0: float, y0: float, x1: float, y1: float, colour: Colour) -> None:
        steps = int(max(abs(x1 - x0), abs(y1 - y0))) + 1
        for i in range(steps + 1):
            t = i / steps
            x, y = round(x0 + (x1 - x0) * t), round(y0 + (y1 - y0) * t)
            for dx, dy in ((0, 0), (1, 0), (0, 1)):
                self.put(x + dx, y + dy, colour)

    def rgb(self) -> bytes:
        return b"".join(bytes(channel for pixel in row for channel in pixel) for row in self.pixels)


PAPER = (255, 255, 240)
INK = (0, 0, 128)
FOLDER = (230, 190, 60)
GLASS = (40, 40, 40)
LENS = (120, 200, 255)


def _page(canvas: _Canvas, x: int, y: int) -> None:
    canvas.rectangle(x, y, x + 11, y + 14, PAPER, INK)
    for line_y in range(y + 3, y + 12, 3):
        canvas.line(x + 2, line_y, x + 8, line_y, INK)


def _magnifier(canvas: _Canvas, cx: float, cy: float) -> None:
    for radius in (1.0, 2.0, 3.0):
        canvas.ring(cx, cy, radius, 1.2, LENS)
    canvas.ring(cx, cy, 5, 1.6, GLASS)
    canvas.line(cx + 4, cy + 4, cx + 8, cy + 8, GLASS)


def _find_file_frame(number: int) -> bytes:
    canvas = _Canvas()
    _page(canvas, 10, 8)
    angle = 2 * math.pi * number / FRAME_COUNT
    _magnifier(canvas, 15 + 7 * math.cos(angle), 14 + 6 * math.sin(angle))
    return canvas.rgb()


def _search_frame(number: int) -> bytes:
    canvas = _Canvas()
    canvas.rectangle(1, 18, 30, 29, FOLDER, INK)
    sweep = number if number < FRAME_COUNT // 2 else FRAME_COUNT - 1 - number
    _magnifier(canvas, 7 + sweep * 6, 11)
    return canvas.rgb()


def _file_move_frame(number: int) -> bytes:
    canvas = _Canvas()
    canvas.rectangle(0, 20, 9, 30, FOLDER, INK)
    canvas.rectangle(22, 20, 31, 30, FOLDER, INK)
    x = 1 + number * 19 // (FRAME_COUNT - 1)
    lift = round(8 * math.sin(math.pi * number / (FRAME_COUNT - 1)))
    _page(canvas, x, 10 - lift)
    return canvas.rgb()


DRAWINGS: dict[str, Callable[[int], bytes]] = {
    FINDFILE: _find_file_frame,
    SEARCH: _search_frame,
    FILEMOVE: _file_move_frame,
}


def animation_frames(name: str) -> list[bytes]:
    """The frames of one of the program's animations, as top-down RGB rows."""
    draw = DRAWINGS[name]
    return [draw(number) for number in range(FRAME_COUNT)]


def write_program_animation(directory: str | os.PathLike[str], name: str) -> None:
    """Write the animation *name* into *directory* (which must exist)."""
    write_avi(os.path.join(os.fspath(directory), name), animation_frames(name), SIZE, SIZE)
