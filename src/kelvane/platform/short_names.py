"""Short (8.3) aliases of long file names, and their resolution.

porting.md: a name longer than 12 characters is written in the Files List as
its short alias; a reader resolves an alias by computing the aliases of the
directory's files.  On Windows the system is asked first
(``GetShortPathNameW``); elsewhere, and when a volume has short names turned
off, the alias is computed as Windows and the Linux vfat driver form it.

The computed alias of a long name:

* The extension is the text after the last dot, unless that dot ends the name
  or only dots and spaces come before it (".bashrc", "..x"): then the name has
  no extension and all of it is the base (as vfat and Windows 95 do).
* Spaces are dropped everywhere, dots in the base (so leading dots go too).
* ``[ ] ; , + =``, characters outside the code page (lone surrogates from
  undecodable bytes included) and characters the 8.3 form does not allow
  (controls, ``" * / : < > ? \\ |``, which Linux names may hold) become ``_``.
* The rest is upper-cased character by character within the code page: a
  character whose upper case is not one character of the page stays as it is
  ("ß", and "µ" in Windows-1252).
* A base left empty ("...", "   ") becomes ``_`` (it then always takes a tail).
* When nothing but case changed and the result fits 8.3, the alias is the
  upper-cased name without tail ("readme.txt" -> "README.TXT"), as vfat does
  for lower-case 8.3 names.  Otherwise the base is cut to 6 characters, the
  extension to 3, and ``~1`` .. ``~4`` is appended; past ``~4``: the first two
  base characters, four upper-case hex digits of the low 16 bits of
  ``zlib.crc32`` of the long name (UTF-8, surrogateescape), and ``~1`` ..
  ``~9``; past ``~9`` (only in huge directories) ``~10``, ``~11``, ... with the
  hashed base shortened so that the base stays within 8 characters.

Tails are given walking the directory's names sorted ignoring case (key
``name.upper()``, then the name).  Names that already are valid upper-case 8.3
names are their own aliases and are reserved before any tail is given.  Every
other alias (tailed or not) is the first candidate that is neither an alias
already given nor, ignoring case, the name of another file of the directory.
Comparisons ignoring case use ``str.upper()`` (so two valid names equal
that way, "SSA" and "ßA", cannot both keep themselves: the later in sorted
order takes a tail).  So within one directory every
alias is unique ignoring case, and :func:`resolve_alias` is the exact inverse
of :func:`directory_aliases`.

What counts as a valid 8.3 character: A-Z, 0-9, ``! # $ % & ' ( ) - @ ^ _ `
{ } ~``, and every character of the code page at byte 0x80 or above that is
its own upper case in the sense above (Windows allows any such byte).

Listing a directory (:func:`alias_of`, :func:`resolve_alias`,
:class:`AliasCache`): ordinary files and links to files; names starting with
"." are skipped except on Windows; a directory that cannot be listed counts
as empty.
"""

from __future__ import annotations

import os
import sys
import zlib
from collections import Counter
from collections.abc import Iterable, Mapping
from dataclasses import dataclass, field
from functools import cache
from types import MappingProxyType

from kelvane.platform.code_pages import DEFAULT_CODE_PAGE, code_page

__all__ = [
    "AliasCache",
    "alias_of",
    "directory_aliases",
    "is_valid_short_name",
    "resolve_alias",
    "system_alias",
]

_ASCII_VALID = frozenset("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!#$%&'()-@^_`{}~")
_REPLACED = frozenset("[];,+=")
_SKIPPED = " ."


@dataclass(frozen=True)
class _PageTable:
    """Per code page: the characters allowed in 8.3 names and the mapping."""

    #: Characters allowed in a valid 8.3 name (all in the page).
    valid: frozenset[str]
    #: Page characters that map to a valid character with at most a change of case.
    clean: frozenset[str]
    #: ``str.translate`` table over the page: upper-case, ``_`` or deleted.
    out: dict[int, str | None]


@cache
def _page_table(page: str) -> _PageTable:
    chars = code_page(page).decoding_table
    page_chars = frozenset(chars)

    def upper(ch: str) -> str:
        up = ch.upper()
        return up if len(up) == 1 and up in page_chars else ch

    valid: set[str] = set()
    for byte, ch in enumerate(chars):
        if byte < 0x80:
            if ch in _ASCII_VALID:
                valid.add(ch)
        elif upper(ch) == ch:
            valid.add(ch)
    clean: set[str] = set()
    out: dict[int, str | None] = {}
    for ch in chars:
        if ch in _SKIPPED:
            out[ord(ch)] = None
        elif ch in _REPLACED:
            out[ord(ch)] = "_"
        else:
            up = upper(ch)
            if up in valid:
                out[ord(ch)] = up
                clean.add(ch)
            else:
                out[ord(ch)] = "_"
    return _PageTable(frozenset(valid), frozenset(clean), out)


def is_valid_short_name(name: str, page: str = DEFAULT_CODE_PAGE) -> bool:
    """Whether *name* is a valid upper-case 8.3 name in code page *page*.

    A base of 1 to 8 characters, optionally a dot and an extension of 1 to 3,
    only characters allowed in 8.3 names (see the module's description).
    """
    valid = _page_table(page).valid
    base, dot, ext = name.partition(".")
    if not 1 <= len(base) <= 8 or (dot and not 1 <= len(ext) <= 3):
        return False
    return valid.issuperset(base) and valid.issuperset(ext)


def _split(name: str, table: _PageTable) -> tuple[str, str, bool]:
    """(base, extension, lossy) of *name* mapped to 8.3 characters, uncut."""
    dot = name.rfind(".")
    if dot < 0 or dot == len(name) - 1 or not name[:dot].strip(_SKIPPED):
        base_part, ext_part = name, ""
    else:
        base_part, ext_part = name[:dot], name[dot + 1 :]
    clean = table.clean
    lossy = not (clean.issuperset(base_part) and clean.issuperset(ext_part))
    base = base_part.translate(table.out)
    ext = ext_part.translate(table.out)
    valid = table.valid
    if lossy:
        # Characters outside the page pass translate unchanged.
        if not valid.issuperset(base):
            base = "".join(ch if ch in valid else "_" for ch in base)
        if not valid.issuperset(ext):
            ext = "".join(ch if ch in valid else "_" for ch in ext)
    if not base:
        base, lossy = "_", True
    return base, ext, lossy


def _checksum(name: str) -> str:
    return f"{zlib.crc32(name.encode('utf-8', 'surrogateescape')) & 0xFFFF:04X}"


def directory_aliases(names: Iterable[str], page: str = DEFAULT_CODE_PAGE) -> dict[str, str]:
    """The alias of every name of one directory listing, keyed by the name.

    Runs in O(n log n) for n names (a sort, then a bounded number of set
    look-ups per name).
    """
    table = _page_table(page)
    ordered = sorted(set(names), key=lambda n: (n.upper(), n))
    folds = [n.upper() for n in ordered]
    counts = Counter(folds)
    split = [_split(n, table) for n in ordered]
    result: dict[str, str] = {}
    taken: set[str] = set()

    # Names that are valid upper-case 8.3 names keep themselves.
    for name, fold, (_base, _ext, lossy) in zip(ordered, folds, split, strict=True):
        if not lossy and fold not in taken and is_valid_short_name(name, page):
            result[name] = name
            taken.add(fold)

    overflow: dict[tuple[str, str], int] = {}
    for name, fold, (base, ext, lossy) in zip(ordered, folds, split, strict=True):
        if name in result:
            continue

        def free(candidate: str, fold: str = fold) -> bool:
            key = candidate.upper()
            if key in taken:
                return False
            others = counts.get(key, 0) - (key == fold)
            return others <= 0

        alias: str | None = None
        suffix = f".{ext[:3]}" if ext else ""
        if not lossy and len(base) <= 8 and len(ext) <= 3:
            plain = f"{base}.{ext}" if ext else base
            if free(plain):
                alias = plain
        if alias is None:
            base6 = base[:6]
            for number in range(1, 5):
                candidate = f"{base6}~{number}{suffix}"
                if free(candidate):
                    alias = candidate
                    break
        if alias is None:
            stem = base[:2] + _checksum(name)
            for number in range(1, 10):
                candidate = f"{stem}~{number}{suffix}"
                if free(candidate):
                    alias = candidate
                    break
        if alias is None:
            key = (stem, suffix)
            number = overflow.get(key, 10)
            while True:
                tail = f"~{number}"
                if len(tail) > 8:  # pragma: no cover - ten million collisions
                    raise RuntimeError(f"No free short name for {name!r}")
                candidate = stem[: 8 - len(tail)] + tail + suffix
                number += 1
                if free(candidate):
                    alias = candidate
                    overflow[key] = number
                    break
        result[name] = alias
        taken.add(alias.upper())
    return result


@dataclass
class _Listing:
    names: list[str]
    aliases: dict[str, str]
    by_alias: dict[str, str] = field(init=False)
    by_fold: dict[str, str] = field(init=False)

    def __post_init__(self) -> None:
        self.by_alias = {alias.upper(): name for name, alias in self.aliases.items()}
        self.by_fold = {}
        for name in sorted(self.names, key=lambda n: (n.upper(), n)):
            self.by_fold.setdefault(name.upper(), name)

    def find(self, name: str) -> str | None:
        """The listed name equal to *name*, else equal ignoring case."""
        if name in self.aliases:
            return name
        return self.by_fold.get(name.upper())


def _list_files(directory: str) -> list[str]:
    names: list[str] = []
    hide_dot = os.name != "nt"
    try:
        with os.scandir(directory) as entries:
            for entry in entries:
                if hide_dot and entry.name.startswith("."):
                    continue
                try:
                    if entry.is_file():
                        names.append(entry.name)
                except OSError:
                    continue
    except OSError:
        return []
    return names


def _read_listing(directory: str, page: str) -> _Listing:
    names = _list_files(directory)
    return _Listing(names, directory_aliases(names, page))


class AliasCache:
    """Directory listings with their aliases, each read once.

    For a caller processing many entries: pass it to :func:`alias_of` and
    :func:`resolve_alias`.  Keyed by the absolute directory path and the code
    page; nothing is invalidated but by :meth:`clear`.
    """

    def __init__(self) -> None:
        self._listings: dict[tuple[str, str], _Listing] = {}

    def _listing(self, directory: str, page: str) -> _Listing:
        key = (os.path.abspath(directory), page)
        listing = self._listings.get(key)
        if listing is None:
            listing = self._listings[key] = _read_listing(directory, page)
        return listing

    def aliases(self, directory: str, page: str = DEFAULT_CODE_PAGE) -> Mapping[str, str]:
        """The alias of every file of *directory* (read-only), keyed by name."""
        return MappingProxyType(self._listing(directory, page).aliases)

    def clear(self) -> None:
        self._listings.clear()


def _get_listing(directory: str, page: str, alias_cache: AliasCache | None) -> _Listing:
    if alias_cache is not None:
        return alias_cache._listing(directory, page)
    return _read_listing(directory, page)


if sys.platform == "win32":
    import ctypes
    from ctypes import wintypes

    def _ask_system(function_name: str, path: str) -> str | None:
        try:
            function = getattr(ctypes.windll.kernel32, function_name)
            function.argtypes = [wintypes.LPCWSTR, wintypes.LPWSTR, wintypes.DWORD]
            function.restype = wintypes.DWORD
            size = int(function(path, None, 0))
            if size == 0:
                return None
            buffer = ctypes.create_unicode_buffer(size)
            length = int(function(path, buffer, size))
        except (AttributeError, OSError, ValueError, ctypes.ArgumentError):
            return None
        if length == 0 or length >= size:
            return None
        return os.path.basename(buffer.value) or None

    def _system_short_name(path: str) -> str | None:
        return _ask_system("GetShortPathNameW", path)

    def _system_long_name(path: str) -> str | None:
        return _ask_system("GetLongPathNameW", path)

else:

    def _system_short_name(path: str) -> str | None:
        return None

    def _system_long_name(path: str) -> str | None:
        return None


def system_alias(directory: str, name: str, page: str = DEFAULT_CODE_PAGE) -> str | None:
    """The system's short name of the file *name* of *directory*, or None.

    Windows only (``GetShortPathNameW``), and only when the volume has short
    names: the answer differs from the long name, or the long name is a valid
    8.3 name.  None elsewhere: the alias is then computed.
    """
    system = _system_short_name(os.path.join(directory, name))
    if system is not None and (system != name or is_valid_short_name(name, page)):
        return system
    return None


def alias_of(
    directory: str,
    name: str,
    page: str = DEFAULT_CODE_PAGE,
    cache: AliasCache | None = None,
) -> str:
    """The alias of the file *name* of *directory*.

    On Windows the system's short name when it has one (it differs from the
    long name, or the long name is a valid 8.3 name).  Otherwise the computed
    alias within the directory's listing; *name* is matched ignoring case, and
    a name not in the directory gets the alias it would have if it were added.
    """
    system = system_alias(directory, name, page)
    if system is not None:
        return system
    listing = _get_listing(directory, page, cache)
    listed = listing.find(name)
    if listed is not None:
        return listing.aliases[listed]
    return directory_aliases([*listing.names, name], page)[name]


def resolve_alias(
    directory: str,
    alias: str,
    page: str = DEFAULT_CODE_PAGE,
    cache: AliasCache | None = None,
) -> str | None:
    """The name of the file of *directory* whose alias is *alias* (ignoring case).

    None when no file has that alias.  On Windows a short name the system
    knows is tried first.
    """
    listing = _get_listing(directory, page, cache)
    if os.name == "nt":
        long_name = _system_long_name(os.path.join(directory, alias))
        if long_name is not None:
            listed = listing.find(long_name)
            short = _system_short_name(os.path.join(directory, long_name))
            if listed is not None and short is not None and short.upper() == alias.upper():
                return listed
    return listing.by_alias.get(alias.upper())
