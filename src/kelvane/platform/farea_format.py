"""The layout of the board's area record file ``Mwork/Farea.dat``.

board-format.md is binding: fixed 2048-byte records, no header, each field a
length-prefixed string (one length byte, then N bytes of which the first L are
the text, the rest zero when written), then the CD disc number (16-bit signed,
little-endian) and 301 reserved zero bytes.
"""

from __future__ import annotations

import os
import struct
from dataclasses import dataclass, field, fields
from pathlib import Path

from kelvane.platform.code_pages import DEFAULT_CODE_PAGE, code_page

RECORD_SIZE = 2048
ALT_PATH_COUNT = 10


@dataclass(frozen=True)
class FieldLayout:
    name: str  # attribute name of AreaRecord
    label: str  # the name shown to the operator
    offset: int
    capacity: int  # N of string[N]


TITLE = FieldLayout("title", "Title", 0, 60)
FILE_PATH = FieldLayout("path", "File path", 61, 127)
ALT_PATHS = tuple(
    FieldLayout(f"alt{i}", f"Additional path {i}", 189 + (i - 1) * 128, 127)
    for i in range(1, ALT_PATH_COUNT + 1)
)
FILES_LIST = FieldLayout("files_list", "Files List path", 1469, 127)
INDEX = FieldLayout("index", "Index path", 1597, 127)
PRIVATE = FieldLayout("private", "Private", 1725, 3)
CDROM = FieldLayout("cdrom", "CD-ROM", 1729, 3)
ALIAS = FieldLayout("alias", "Alias", 1733, 3)
OFFLINE = FieldLayout("offline", "Offline", 1737, 3)
MASTER = FieldLayout("master", "Master index", 1741, 3)
DISC_OFFSET = 1745
RESERVED_OFFSET = 1747

FLAG_FIELDS = (PRIVATE, CDROM, ALIAS, OFFLINE, MASTER)
STRING_FIELDS = (TITLE, FILE_PATH, *ALT_PATHS, FILES_LIST, INDEX, *FLAG_FIELDS)


class FareaError(Exception):
    """A damaged or unreadable ``Farea.dat`` (the library's failing status)."""


class FieldTooLong(ValueError):
    """Text longer than its field: refused, never cut."""

    def __init__(self, layout: FieldLayout, length: int) -> None:
        super().__init__(
            f"{layout.label} is {length} characters long; the field holds at most {layout.capacity}"
        )
        self.layout = layout


class FieldNotEncodable(ValueError):
    """Text holding a character that the board's code page cannot store: refused."""

    def __init__(self, layout: FieldLayout, character: str, page: str) -> None:
        super().__init__(
            f"{layout.label} holds {character!r} (U+{ord(character):04X}), "
            f"which the code page {page} cannot store"
        )
        self.layout = layout


@dataclass
class AreaRecord:
    """One area record, its strings decoded."""

    title: str = ""
    path: str = ""
    alt: list[str] = field(default_factory=lambda: [""] * ALT_PATH_COUNT)
    files_list: str = ""
    index: str = ""
    private: str = "No"
    cdrom: str = "No"
    alias: str = "No"
    offline: str = "No"
    master: str = "No"
    disc: int = 0

    def text_of(self, layout: FieldLayout) -> str:
        if layout.name.startswith("alt"):
            return self.alt[int(layout.name[3:]) - 1]
        value = getattr(self, layout.name)
        assert isinstance(value, str)
        return value


def decode_record(data: bytes, number: int, page: str = DEFAULT_CODE_PAGE) -> AreaRecord:
    """Decode one 2048-byte record; a length byte over its field is damage."""
    codec = code_page(page)

    def text(layout: FieldLayout) -> str:
        length = data[layout.offset]
        if length > layout.capacity:
            raise FareaError(
                f"Farea.dat is damaged: record {number}, field {layout.label}, "
                f"holds a length of {length} where at most {layout.capacity} fits"
            )
        start = layout.offset + 1
        return codec.decode(data[start : start + length])

    (disc,) = struct.unpack_from("<h", data, DISC_OFFSET)
    return AreaRecord(
        title=text(TITLE),
        path=text(FILE_PATH),
        alt=[text(layout) for layout in ALT_PATHS],
        files_list=text(FILES_LIST),
        index=text(INDEX),
        private=text(PRIVATE),
        cdrom=text(CDROM),
        alias=text(ALIAS),
        offline=text(OFFLINE),
        master=text(MASTER),
        disc=disc,
    )


def encode_record(record: AreaRecord, page: str = DEFAULT_CODE_PAGE) -> bytes:
    """Encode *record*; raise :class:`FieldTooLong` for text that does not fit."""
    codec = code_page(page)
    buffer = bytearray(RECORD_SIZE)
    for layout in STRING_FIELDS:
        value = record.text_of(layout)
        try:
            encoded = codec.encode(value, errors="strict")
        except UnicodeEncodeError as error:
            raise FieldNotEncodable(layout, value[error.start], codec.name) from error
        if len(encoded) > layout.capacity:
            raise FieldTooLong(layout, len(encoded))
        buffer[layout.offset] = len(encoded)
        buffer[layout.offset + 1 : layout.offset + 1 + len(encoded)] = encoded
    if not -32768 <= record.disc <= 32767:
        raise ValueError(f"CD disc number {record.disc} is outside -32768..32767")
    struct.pack_into("<h", buffer, DISC_OFFSET, record.disc)
    return bytes(buffer)


def check_fits(record: AreaRecord, page: str = DEFAULT_CODE_PAGE) -> None:
    encode_record(record, page)


def find_farea_file(main_node_path: str) -> Path | None:
    """``<main node>/Mwork/Farea.dat`` whatever the case of its two names.

    The exact spelling wins, then the first in sorted order (board-format.md).
    """
    if not main_node_path or "\0" in main_node_path:
        return None  # a NUL names no file; os.listdir would raise ValueError
    base = Path(main_node_path)
    exact = base / "Mwork" / "Farea.dat"
    if exact.is_file():
        return exact
    try:
        work_dirs = sorted(
            entry
            for entry in os.listdir(base)
            if entry.lower() == "mwork" and (base / entry).is_dir()
        )
    except OSError:
        return None
    # The exact directory spelling first, then sorted order.
    work_dirs.sort(key=lambda name: (name != "Mwork", name))
    for work in work_dirs:
        try:
            names = sorted(
                entry for entry in os.listdir(base / work) if entry.lower() == "farea.dat"
            )
        except OSError:
            continue
        names.sort(key=lambda name: (name != "Farea.dat", name))
        for name in names:
            candidate = base / work / name
            if candidate.is_file():
                return candidate
    return None


def read_all_records(
    path: str | os.PathLike[str], page: str = DEFAULT_CODE_PAGE
) -> list[AreaRecord]:
    """Every record of the file at *path*, or :class:`FareaError` when damaged."""
    try:
        data = Path(path).read_bytes()
    except OSError as error:
        raise FareaError(f"Unable to read {os.fspath(path)}: {error.strerror or error}") from error
    check_size(len(data))
    return [
        decode_record(data[i : i + RECORD_SIZE], i // RECORD_SIZE + 1, page)
        for i in range(0, len(data), RECORD_SIZE)
    ]


def check_size(size: int) -> None:
    if size % RECORD_SIZE:
        raise FareaError(
            f"Farea.dat is damaged: its size, {size} bytes, is not a whole number "
            f"of {RECORD_SIZE}-byte area records"
        )


def record_fields() -> list[str]:
    return [f.name for f in fields(AreaRecord)]
