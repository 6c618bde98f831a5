"""Single-byte code pages that give back every byte they read.

The board's files (Files Lists, ``Farea.dat`` strings, extracted descriptions,
index names) are 8-bit text in one code page, Windows-1252 unless the operator
chose another (porting.md, "Text").  Python's own ``cp1252`` codec refuses the
five bytes that Windows-1252 leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D);
Windows maps them to the C1 control characters of the same value, and so do we.
Every page here is a full one-to-one table over the 256 byte values, so
decoding then encoding changes no byte.
"""

from __future__ import annotations

import codecs
from dataclasses import dataclass
from functools import cache
from typing import Any

DEFAULT_CODE_PAGE = "cp1252"

#: The pages Options offers, in the order shown: (codec name, caption).
CODE_PAGES: tuple[tuple[str, str], ...] = (
    ("cp1252", "Windows-1252 (Western, the board's ANSI page)"),
    ("cp437", "CP437 (DOS, United States)"),
    ("cp850", "CP850 (DOS, Western Europe)"),
    ("cp852", "CP852 (DOS, Central Europe)"),
    ("cp866", "CP866 (DOS, Cyrillic)"),
    ("cp1250", "Windows-1250 (Central Europe)"),
    ("cp1251", "Windows-1251 (Cyrillic)"),
    ("iso8859_1", "ISO 8859-1 (Latin-1)"),
)


_ASCII = "".join(map(chr, range(128)))


@dataclass(frozen=True)
class CodePage:
    """A lossless single-byte text codec."""

    name: str
    decoding_table: str
    encoding_table: Any
    characters: frozenset[str]

    @property
    def ascii_compatible(self) -> bool:
        """True when bytes 0x00-0x7F are the ASCII characters (every page offered)."""
        return self.decoding_table[:128] == _ASCII

    def decode(self, data: bytes) -> str:
        if data.isascii() and self.ascii_compatible:
            return data.decode("ascii")  # the same text, many times faster
        return codecs.charmap_decode(data, "strict", self.decoding_table)[0]

    def encode(self, text: str, errors: str = "replace") -> bytes:
        """Encode *text*; a character outside the page becomes "?" by default."""
        if text.isascii() and self.ascii_compatible:
            return text.encode("ascii")
        return codecs.charmap_encode(text, errors, self.encoding_table)[0]

    def can_encode(self, text: str) -> bool:
        characters = self.characters
        return all(ch in characters for ch in text)


@cache
def code_page(name: str = DEFAULT_CODE_PAGE) -> CodePage:
    """Return the lossless codec for the single-byte page *name*.

    A byte that the page leaves undefined decodes to the character of the same
    number (U+0081 for 0x81, as Windows does), or, when that character is
    already taken by another byte, to a private-use character U+F700 + byte.
    """
    try:
        canonical = codecs.lookup(name).name
    except LookupError as error:
        raise ValueError(f"Unknown code page: {name}") from error
    chars: list[str] = []
    taken: set[str] = set()
    undefined: list[int] = []
    for value in range(256):
        try:
            ch = bytes([value]).decode(canonical)
        except UnicodeDecodeError:
            chars.append("")
            undefined.append(value)
            continue
        if len(ch) != 1:
            raise ValueError(f"{name} is not a single-byte code page")
        chars.append(ch)
        taken.add(ch)
    for value in undefined:
        ch = chr(value)
        if ch in taken:
            ch = chr(0xF700 + value)
        chars[value] = ch
        taken.add(ch)
    if len(taken) != 256:
        raise ValueError(f"{name} maps two bytes to one character")
    table = "".join(chars)
    return CodePage(canonical, table, codecs.charmap_build(table), frozenset(table))
