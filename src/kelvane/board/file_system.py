"""The file-system helpers of Part 1.4, and the case-insensitive file lookup.

``IsValidPath``, ``MakePath``, ``ClearAttributes``, ``ShortPathOf`` and
``BrowseForFolder`` as the spec gives them, mapped per porting.md; plus the
lookup every later Part uses for "a file of this name exists in directory D":
found whatever the case of its name on disk, worked on as spelled on disk,
and never through a name that holds a separator, is "." or "..", or is
absolute.
"""

from __future__ import annotations

import os
import stat
from collections.abc import Iterable

from kelvane.board.user_port import UserPort
from kelvane.platform.code_pages import DEFAULT_CODE_PAGE
from kelvane.platform.short_names import AliasCache, alias_of, resolve_alias

WINDOWS = os.name == "nt"
_SEPARATORS = ("/", "\\") if WINDOWS else ("/",)
SHORT_PATH_FALLBACK = " " * 256

# Indirections that tests replace to inject failures.
_mkdir = os.mkdir


def fold(name: str) -> str:
    """The case-insensitive key of a file name (upper case, as the board's system)."""
    return name.upper()


def is_plain_name(name: str) -> bool:
    """True when *name* can name a file inside a directory and nothing else."""
    if not name or name in (".", "..") or "\0" in name:
        return False
    if any(separator in name for separator in _SEPARATORS):
        return False
    return not (WINDOWS and (":" in name))


def _is_hidden(directory: str, entry: os.DirEntry[str]) -> bool:
    if WINDOWS:  # pragma: no cover - Windows only
        attributes = getattr(entry.stat(follow_symlinks=False), "st_file_attributes", 0)
        return bool(attributes & (stat.FILE_ATTRIBUTE_HIDDEN | stat.FILE_ATTRIBUTE_SYSTEM))
    return entry.name.startswith(".")


def list_directory_files(directory: str) -> list[str]:
    """The spec's file list control: ordinary files and links to them.

    No directories, no hidden or system files; sorted by name ignoring case.
    A directory that cannot be listed raises ``OSError`` to the caller's trap.
    """
    names: list[str] = []
    with os.scandir(directory) as entries:
        for entry in entries:
            try:
                if not entry.is_file(follow_symlinks=True):
                    continue
                if _is_hidden(directory, entry):
                    continue
            except OSError:
                continue
            names.append(entry.name)
    names.sort(key=lambda name: (fold(name), name))
    return names


class FileLookup:
    """Finds files by name in directories, whatever the case.

    One lookup serves one operation: a directory is listed at most once (the
    listing is a dictionary from folded name to the names on disk), so an
    operation over 100,000 entries does not list a directory 100,000 times.
    """

    def __init__(self, page: str = DEFAULT_CODE_PAGE) -> None:
        self._listings: dict[str, dict[str, list[str]]] = {}
        #: The code page of the 8.3 aliases a name may be (the Files List writes
        #: a name it cannot store, or a long one, as its alias).
        self.page = page
        self._aliases = AliasCache()

    def clear(self) -> None:
        self._listings.clear()
        self._aliases.clear()

    def forget(self, directory: str) -> None:
        self._listings.pop(directory, None)
        self._aliases.clear()

    def _listing(self, directory: str) -> dict[str, list[str]]:
        listing = self._listings.get(directory)
        if listing is None:
            listing = {}
            try:
                names = list_directory_files(directory)
            except OSError:
                names = []
            for name in names:
                listing.setdefault(fold(name), []).append(name)
            self._listings[directory] = listing
        return listing

    def find(self, directory: str, name: str) -> str | None:
        """The full path of the file *name* in *directory* as spelled on disk, or None."""
        if not directory or not is_plain_name(name):
            return None
        if not WINDOWS and name.startswith("."):
            return None  # hidden: not in the listing either
        exact = os.path.join(directory, name)
        try:
            if os.path.isfile(exact):
                return exact
        except (OSError, ValueError):
            return None
        spellings = self._listing(directory).get(fold(name))
        if not spellings:
            # An 8.3 alias names its long file, as the board's system's short
            # names did ("CAF_~1.ZIP" for a name whose bytes are not text).
            if "~" in name:
                long_name = resolve_alias(directory, name, self.page, self._aliases)
                if long_name is not None and fold(long_name) in self._listing(directory):
                    return os.path.join(directory, long_name)
            return None
        # The exact spelling wins, then the first in sorted order.
        return os.path.join(directory, name if name in spellings else spellings[0])

    def exists(self, directory: str, name: str) -> bool:
        return self.find(directory, name) is not None

    def find_in_slots(self, directories: Iterable[str], name: str) -> tuple[int, str] | None:
        """The first non-empty directory, in slot order, that holds *name*: (slot, path)."""
        for slot, directory in enumerate(directories):
            if not directory:
                continue
            found = self.find(directory, name)
            if found is not None:
                return slot, found
        return None


def file_exists(directory: str, name: str) -> str | None:
    """One-off lookup: the path of *name* in *directory* as spelled on disk, or None."""
    return FileLookup().find(directory, name)


def IsValidPath(path: str) -> bool:
    """True when *path* is not empty and is a directory that can be entered.

    Never changes the process's current directory (porting.md).
    """
    if not path or "\0" in path:
        return False
    try:
        return os.path.isdir(path) and os.access(path, os.X_OK)
    except (OSError, ValueError):
        return False


def _root_length(path: str) -> int:
    """Length of the drive root of *path*: "E:\\" on Windows, "/" elsewhere."""
    drive, rest = os.path.splitdrive(path)
    root = len(drive)
    while root < len(path) and path[root] in _SEPARATORS:
        root += 1
    return root


def MakePath(path: str) -> bool:
    """True when the directory exists or has been created, level by level."""
    try:
        if not path or "\0" in path:
            return False
        if os.path.isdir(path):
            return True
        try:
            _mkdir(path)
            return True
        except OSError:
            pass
        start = _root_length(path)
        level = ""
        for index in range(start, len(path)):
            character = path[index]
            if character in _SEPARATORS:
                partial = path[:index]
                if level and not os.path.isdir(partial):
                    try:
                        _mkdir(partial)
                    except OSError:
                        return False
                level = ""
            else:
                level += character
        try:
            _mkdir(path)
        except OSError:
            return os.path.isdir(path)
        return True
    except (OSError, ValueError):
        return False


def ClearAttributes(path: str) -> bool:
    """Make the file writable by its owner; false when it cannot be read.

    A symbolic link is left as it is (its target is never touched): it can be
    removed as a link whatever its target's mode.
    """
    try:
        info = os.lstat(path)
    except (OSError, ValueError):
        return False
    if stat.S_ISLNK(info.st_mode):
        return True
    if WINDOWS:  # pragma: no cover - Windows only
        try:
            os.chmod(path, stat.S_IWRITE | stat.S_IREAD)
        except OSError:
            return False
        return True
    if not info.st_mode & stat.S_IWUSR:
        try:
            os.chmod(path, stat.S_IMODE(info.st_mode) | stat.S_IWUSR)
        except OSError:
            return False
    return True


def ShortPathOf(full_path: str, page: str = "cp1252", cache: AliasCache | None = None) -> str:
    """The short (8.3) form of *full_path*: its directory and the name's alias.

    A path that does not exist gives 256 spaces, the spec's intended fall-back.
    """
    try:
        directory, name = os.path.split(full_path)
        if not name or not os.path.lexists(full_path):
            return SHORT_PATH_FALLBACK
        return os.path.join(directory, alias_of(directory, name, page, cache=cache))
    except (OSError, ValueError):
        return SHORT_PATH_FALLBACK


def BrowseForFolder(port: UserPort, prompt: str) -> str:
    """The platform's folder chooser; the chosen path, or "" when cancelled."""
    chosen = port.browse_for_folder(prompt)
    return chosen.split("\0", 1)[0] if chosen else ""


def drive_root(path: str) -> str:
    """The spec's "first three characters" of a path (the offline-CD prompt).

    On Windows the drive root itself; elsewhere the mount point that holds the
    path (or its nearest existing parent).
    """
    if WINDOWS:  # pragma: no cover - Windows only
        return path[:3]
    probe = os.path.abspath(path) if path else os.sep
    while not os.path.exists(probe):
        parent = os.path.dirname(probe)
        if parent == probe:
            break
        probe = parent
    try:
        while not os.path.ismount(probe):
            parent = os.path.dirname(probe)
            if parent == probe:
                break
            probe = parent
    except OSError:
        return os.sep
    return probe if probe.endswith(os.sep) else probe + os.sep


__all__ = [
    "BrowseForFolder",
    "ClearAttributes",
    "FileLookup",
    "IsValidPath",
    "MakePath",
    "ShortPathOf",
    "drive_root",
    "file_exists",
    "fold",
    "is_plain_name",
    "list_directory_files",
]
