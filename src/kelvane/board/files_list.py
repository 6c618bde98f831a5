"""The Files List (Part 1.2): the in-memory entry list, its reader and its writer.

``Entry`` and ``EntryList`` are the spec's entry table: the one ordered list of
entries that the editor, the sort view and every operation share (Qt models
are built over it; this module knows nothing of Qt).  ``Load_fEditFileArealsv``
reads the current area's Files List into it; ``SaveWork`` writes it back.

Text is 8-bit in the session's code page, decoded and encoded with the
lossless tables of :mod:`kelvane.platform.code_pages`.  The layout (columns as
written and as read, the "~" rule, the backup rule, the empty-name stop and
the line-splitting rule) is exactly the spec's; the asymmetries it lists (a
nine-digit size loses its first digit when read back; the date field keeps
leading blanks when read) are kept on purpose.

Where the spec is silent, this module decides (each decision is repeated where
it applies):

* A failed read leaves the entry list empty, ``FileCount`` 0 and
  ``ListIsEmpty`` true: a partial list is never offered for editing (and so
  can never be saved over the list on disk).
* ``ListIsEmpty`` is set both ways after a read (false when an entry was read).
* ``FileCount`` is an ordinary integer: a list of more than 32,767 entries is
  read whole rather than failing as the original's 16-bit counter would.
* ``SaveWork`` writes the new list to a temporary file beside the old one
  (a hidden ``.FILES.LST.<random>.tmp``), flushes and fsyncs it, and only then
  applies the spec's backup rule and renames the temporary file to the list's
  name.  A failure at any point leaves the previous list whole under its own
  name (or, when the very last rename fails and cannot be undone, as
  ``FILES.BAK``) and removes the temporary file.
* ``SaveWork`` returns true when no error was trapped: also for an empty
  entry list and for the empty-name stop, which both end without the closing
  message as the spec says.
* Names that the code page cannot encode are treated like long names: when
  the file exists in an area directory the name is replaced by its alias.
  Otherwise the name is written with "?" for each character the page lacks.
  A name of 12 characters or fewer is padded to 12 after the replacement (it
  is a short name, step 2), so its columns stay in place.
"""

from __future__ import annotations

import errno
import os
import stat
from collections.abc import Callable, Iterable, Iterator, Sequence
from dataclasses import dataclass, field
from typing import overload

from kelvane.board.file_system import ClearAttributes, FileLookup
from kelvane.board.session import Session
from kelvane.board.user_port import Buttons, Icon, MessageBox
from kelvane.board.vb_text import Str, UCase, Val, plain_number
from kelvane.platform.code_pages import code_page
from kelvane.platform.short_names import AliasCache, alias_of, resolve_alias
from kelvane.platform.temporary_files import create_temporary, write_all

__all__ = [
    "BACKUP_NAME",
    "LIST_NAME",
    "Entry",
    "EntryList",
    "Load_fEditFileArealsv",
    "SaveWork",
    "backup_path",
    "format_files_list",
    "parse_files_list",
    "split_description_line",
    "split_lines",
]

#: The list's usual name; the backup rule looks for exactly this text.
LIST_NAME = "FILES.LST"
BACKUP_NAME = "FILES.BAK"
INFORMATION_TITLE = "Kelvane Information"
SAVED_TEXT = "Changes were saved to "
NO_DESCRIPTION = "No Description"
CRLF = "\r\n"
NAME_WIDTH = 12
SIZE_WIDTH = 9
DATE_WIDTH = 10
LINE_WIDTH = 45
CONTINUATION = " " * 31
_CONTINUATION_GAP = " " * 19  # columns 13-31 of a continuation line
_CONTINUED = CRLF + CONTINUATION
#: 0-based position of the "~" of an 8.3 alias (the spec's position 7).
ALIAS_TILDE = 6
#: Digits beyond this many lose precision in VB's Double; they take Val's way.
_EXACT_DIGITS = 15

# Indirection that tests replace to inject failures into the write.
_write = os.write


@dataclass(slots=True)
class Entry:
    """One Files List entry, its four fields as the spec holds them in memory.

    ``size`` carries VB's ``Str`` blank (" 12345"); ``description`` is its
    lines, each followed by CR LF.

    ``as_read`` is set by the reader when it found the entry in exactly the
    layout the writer makes: the four field values it read, then the entry's
    text.  While the fields are still those very values, ``SaveWork`` writes
    that text back instead of formatting the entry again, so saving a large
    list formats only the entries that changed.
    """

    name: str
    size: str
    date: str
    description: str
    as_read: tuple[str, str, str, str, str] | None = field(default=None, compare=False, repr=False)

    def text_as_read(self) -> str | None:
        """The entry's text as read, when no field has been given another value since."""
        read = self.as_read
        if (
            read is not None
            and read[0] is self.name
            and read[1] is self.size
            and read[2] is self.date
            and read[3] is self.description
        ):
            return read[4]
        return None


class EntryList:
    """The entry table: one ordered list of entries, shared by every view.

    Plain list semantics; every mutator adds one to ``version`` and calls
    ``on_change`` (when set) so that a view can refresh.  A caller that changes
    an entry's fields in place calls :meth:`changed` itself.
    """

    __slots__ = ("_entries", "on_change", "version")

    def __init__(self, entries: Iterable[Entry] = ()) -> None:
        self._entries: list[Entry] = list(entries)
        self.version = 0
        self.on_change: Callable[[], None] | None = None

    def __len__(self) -> int:
        return len(self._entries)

    @overload
    def __getitem__(self, index: int) -> Entry: ...

    @overload
    def __getitem__(self, index: slice) -> list[Entry]: ...

    def __getitem__(self, index: int | slice) -> Entry | list[Entry]:
        return self._entries[index]

    def __setitem__(self, index: int, entry: Entry) -> None:
        self._entries[index] = entry
        self.changed()

    def __iter__(self) -> Iterator[Entry]:
        return iter(self._entries)

    def __repr__(self) -> str:
        return f"EntryList({len(self._entries)} entries, version {self.version})"

    def append(self, entry: Entry) -> None:
        self._entries.append(entry)
        self.changed()

    def remove_indices(self, indices: Iterable[int]) -> None:
        """Remove the entries at *indices* (0-based) in one O(n) pass.

        The indices are those of the list before the call; order and repeats
        do not matter.  An index out of range raises ``IndexError`` before
        anything is removed.
        """
        doomed = set(indices)
        if not doomed:
            return
        count = len(self._entries)
        if min(doomed) < 0 or max(doomed) >= count:
            raise IndexError(f"entry index out of range 0..{count - 1}")
        self._entries = [entry for i, entry in enumerate(self._entries) if i not in doomed]
        self.changed()

    def replace_all(self, entries: Iterable[Entry]) -> None:
        self._entries = list(entries)
        self.changed()

    def names(self) -> list[str]:
        """The File Names in list order (the editor's ``lstFileNames``)."""
        return [entry.name for entry in self._entries]

    def changed(self) -> None:
        self.version += 1
        if self.on_change is not None:
            self.on_change()


# -- reading ------------------------------------------------------------------------


def split_lines(text: str) -> list[str]:
    """The lines of *text*: split on CR LF, then on a lone CR.

    A lone LF stays part of its line; a final line end gives no empty line
    after it, and a last line without a line end is a line.
    """
    if text.count("\r") != text.count(CRLF):
        lines = text.replace(CRLF, "\r").split("\r")
    else:
        lines = text.split(CRLF)
    if lines[-1] == "":
        lines.pop()
    return lines


def _long_name(name: str, directories: Sequence[str], page: str, cache: AliasCache) -> str:
    """The "~" rule: the upper-cased long name that the alias *name* stands for, or *name*."""
    for directory in directories:
        if not directory:
            break
        found = resolve_alias(directory, name, page, cache)
        if found is not None:
            return UCase(found, page)
    return name


def parse_files_list(
    data: bytes,
    page: str,
    directories: Sequence[str],
    cache: AliasCache | None = None,
) -> list[Entry]:
    """The entries of the Files List bytes *data* (Part 1.2, Reading, step 4).

    *directories* are the area's ``FilePaths`` (slot order, the "~" rule stops
    at the first empty one).  Continuation lines before the first entry line
    are dropped.
    """
    if not data:
        return []
    text = code_page(page).decode(data)
    crlf = text.count(CRLF)
    if text.count("\r") != crlf:
        lines = text.replace(CRLF, "\r").split("\r")
        plain = False
    else:
        lines = text.split(CRLF)
        # Every line ends in CR LF, so an entry's lines are one slice of the
        # text: an entry read in the writer's own layout keeps it (Entry.as_read).
        plain = text.count("\n") == crlf and "\0" not in text
    if lines[-1] == "":
        lines.pop()
    elif plain:
        text += CRLF
    aliases = cache if cache is not None else AliasCache()
    entries: list[Entry] = []
    add = entries.append
    name = size = date = description = ""
    started = False
    dates: dict[str, str] = {}
    position = 0  # where the current line starts in text
    block_start = 0  # where the current entry's first line starts
    block_ok = False  # the current entry's lines are so far the writer's own layout
    # Columns as read (0-based slices): name 1-12, size 14-21, date 23-31,
    # description 32-76.  Literal bounds keep this loop, run once per line, short.
    for line in lines:
        line_start = position
        position += len(line) + 2
        found = line[:12].rstrip(" ")
        if not found:
            if started:
                description += line[31:76].rstrip(" ") + "\r\n"
                if block_ok and (len(line) != 76 or line[12:31] != _CONTINUATION_GAP):
                    block_ok = False
            continue
        if started:
            if block_ok:
                written = text[block_start:line_start]
                add(Entry(name, size, date, description, (name, size, date, description, written)))
            else:
                add(Entry(name, size, date, description))
        block_ok = plain
        if found.find("~") == ALIAS_TILDE:
            found = _long_name(found, directories, page, aliases)
            block_ok = False
        name = found
        digits = line[13:21].strip(" ")
        if digits.isdigit() and digits.isascii():
            digits = digits.lstrip("0") or "0"
            size = " " + digits
        else:
            size = Str(Val(line[13:21]))
            block_ok = False
        date = line[22:31].rstrip(" ")
        if "\r" in date:
            date = date.replace(CRLF, "")
            block_ok = False
        description = line[31:76].rstrip(" ") + "\r\n"
        started = True
        block_start = line_start
        if block_ok:
            date_field = dates.get(date)
            if date_field is None:
                date_field = dates[date] = (" " + date + " ").rjust(DATE_WIDTH)
            block_ok = (
                len(line) == 76
                and line[12:21] == digits.rjust(SIZE_WIDTH)
                and line[21:31] == date_field
            )
    if started:
        if block_ok:
            written = text[block_start:position]
            add(Entry(name, size, date, description, (name, size, date, description, written)))
        else:
            add(Entry(name, size, date, description))
    return entries


def Load_fEditFileArealsv(session: Session, entries: EntryList) -> bool:
    """Read the current area's Files List into *entries* (Part 1.2, Reading).

    Re-reads the area record for ``FileListPath``; a missing list is created
    empty, without a message.  Sets ``FileCount`` and ``ListIsEmpty``.  The
    list on disk is never written otherwise.  On any error the procedure's
    trap reports it as "Load_fEditFileArealsv" and returns false, leaving
    *entries* empty, ``FileCount`` 0 and ``ListIsEmpty`` true.  The sort
    view's caption ("Sort File Area: " + the area title) is the view's.
    """
    try:
        read = _read(session)
    except Exception as error:  # the procedure's trap
        entries.replace_all(())
        session.FileCount = 0
        session.ListIsEmpty = True
        session.ReportError("Load_fEditFileArealsv", error)
        return False
    entries.replace_all(read)
    session.FileCount = len(read)
    session.ListIsEmpty = not read
    return True


def _read(session: Session) -> list[Entry]:
    area = session.area
    library = session.record_set
    try:
        library.OpenAreaRecord(area.MainNodePath, area.AreaNumber)
        area.FileListPath = library.AreaFileListPath()
    finally:
        library.CloseAreas()
    path = area.FileListPath
    if not os.path.lexists(path):
        with open(path, "ab"):
            pass
    return parse_files_list(_read_list_bytes(path), session.code_page, area.FilePaths)


def _read_list_bytes(path: str) -> bytes:
    """The bytes of the Files List at *path*; an error when it is not an ordinary file.

    Opened without blocking, so a FIFO (or a device) of that name is refused
    at once instead of waiting forever for a writer.
    """
    flags = os.O_RDONLY | getattr(os, "O_BINARY", 0) | getattr(os, "O_NONBLOCK", 0)
    descriptor = os.open(path, flags)
    try:
        if not stat.S_ISREG(os.fstat(descriptor).st_mode):
            raise IsADirectoryError(errno.EISDIR, "The Files List is not an ordinary file", path)
    except BaseException:
        os.close(descriptor)
        raise
    with open(descriptor, "rb") as stream:
        return stream.read()


# -- writing ------------------------------------------------------------------------


def split_description_line(text: str) -> tuple[str, str]:
    """The line-splitting rule: (line, rest) of the remaining description *text*."""
    cr = text.find("\r")
    if 0 <= cr <= LINE_WIDTH:  # a CR at position 1..46
        return text[:cr], text[cr + 1 :]
    if len(text) >= LINE_WIDTH:
        cut = text.rfind(" ", 0, LINE_WIDTH) + 1  # the last space at 1..45, 0 when none
        if cut == 0:
            cut = LINE_WIDTH
        return text[:cut], text[cut:]
    return text, ""


def _size_written(size: str) -> str:
    digits = size.strip(" ")
    if digits.isdigit() and digits.isascii() and len(digits) <= _EXACT_DIGITS:
        return (digits.lstrip("0") or "0").rjust(SIZE_WIDTH)
    return plain_number(Val(size)).rjust(SIZE_WIDTH)


def _short_form(
    name: str, directories: Sequence[str], page: str, lookup: FileLookup, cache: AliasCache
) -> str:
    """Step 4.3: the upper-case alias of every area directory's file of this name, in turn."""
    for directory in directories:
        if not directory:
            break
        found = lookup.find(directory, name)
        if found is not None:
            name = UCase(alias_of(directory, os.path.basename(found), page, cache), page)
    return name


def _odd_name(
    name: str, directories: Sequence[str], page: str, lookup: FileLookup, cache: AliasCache
) -> str:
    """A name the layout cannot hold as it is: all blanks, or a CR or LF in it.

    Written as the file's alias when an area directory holds it (as a name
    the code page cannot store); otherwise a line break becomes "?" and a
    blank name counts as empty (the empty-name stop), since either would be
    read back as a continuation line of the entry before.
    """
    short = _short_form(name, directories, page, lookup, cache)
    if short != name:
        return short
    if not name.strip(" "):
        return ""
    return name.replace("\r", "?").replace("\n", "?")


def format_files_list(
    entries: Iterable[Entry],
    page: str,
    directories: Sequence[str],
    lookup: FileLookup | None = None,
    cache: AliasCache | None = None,
) -> tuple[bytes, bool]:
    """The Files List bytes of *entries* (Part 1.2, Writing, step 4): (bytes, complete).

    *complete* is false when an empty name (after removing NULs) stopped the
    writing; the bytes then hold the entries before it.  Names longer than
    12 characters, and names the page cannot encode, are replaced by the
    alias of the file of that name in each area directory in turn (slots in
    order, stopping at the first empty one); a long name stays whole and
    unpadded when no directory holds it, an unencodable name is written with
    "?" for the characters the page lacks.
    """
    codec = code_page(page)
    lookup = lookup if lookup is not None else FileLookup(page)
    cache = cache if cache is not None else AliasCache()
    out: list[str] = []
    add = out.append
    dates: dict[str, str] = {}  # a list holds few distinct dates: format each once
    complete = True
    for entry in entries:
        read = entry.as_read  # Entry.text_as_read, inlined: this loop runs per entry
        if (
            read is not None
            and read[0] is entry.name
            and read[1] is entry.size
            and read[2] is entry.date
            and read[3] is entry.description
        ):
            add(read[4])  # unchanged since read, and read in the writer's own layout
            continue
        name = entry.name
        if "\0" in name:
            name = name.replace("\0", "")
        if "\r" in name or "\n" in name or not name.strip(" "):
            name = _odd_name(name, directories, page, lookup, cache)
        if not name:
            complete = False
            break
        if len(name) > NAME_WIDTH:
            name = _short_form(name, directories, page, lookup, cache)
        else:
            if not name.isascii() and not codec.can_encode(name):
                name = _short_form(name, directories, page, lookup, cache)
            if len(name) < NAME_WIDTH:
                name = name.ljust(NAME_WIDTH)
        size = entry.size
        digits = size.strip(" ")
        if digits.isascii() and digits.isdigit() and len(digits) <= _EXACT_DIGITS:
            size = (digits.lstrip("0") or "0").rjust(SIZE_WIDTH)  # _size_written's fast path
        else:
            size = _size_written(size)
        date = dates.get(entry.date)
        if date is None:
            date = dates[entry.date] = (" " + entry.date + " ").rjust(DATE_WIDTH)
        head = name + size + date
        rest = entry.description.rstrip(" ")
        if "\n" in rest:
            rest = rest.replace("\n", "")
        if not rest:
            rest = NO_DESCRIPTION
        # Fast path, same result as the rule: every CR-ended line fits in 45
        # columns and the last piece is shorter than 45 (so no word-wrapping).
        lines = rest.split("\r")
        last = lines.pop()
        if len(last) < LINE_WIDTH and (not lines or max(map(len, lines)) <= LINE_WIDTH):
            if last:
                lines.append(last)
            add(head + _CONTINUED.join([line.ljust(LINE_WIDTH) for line in lines]) + CRLF)
            continue
        line, rest = split_description_line(rest)
        add(head + line.ljust(LINE_WIDTH) + CRLF)
        while rest:
            line, rest = split_description_line(rest)
            add(CONTINUATION + line.ljust(LINE_WIDTH) + CRLF)
    return codec.encode("".join(out)), complete


def backup_path(list_path: str) -> str | None:
    """The backup rule: the text before "FILES.LST" (exact case) + "FILES.BAK", or None."""
    position = list_path.find(LIST_NAME)
    if position < 0:
        return None
    return list_path[:position] + BACKUP_NAME


def SaveWork(session: Session, entries: Iterable[Entry]) -> bool:
    """Write *entries* to the current area's Files List (Part 1.2, Writing).

    The new list is written whole to a temporary file beside the old one and
    fsynced; then the previous list becomes ``FILES.BAK`` (when the path holds
    "FILES.LST" in upper case) or is replaced without a backup (any other
    path), and the temporary file takes the list's name.  The closing
    information box follows unless the entry list was empty or an empty name
    stopped the writing (the entries from it on are then lost, as the spec
    wants).  Returns true when no error was trapped.

    On an error the previous list stays whole under its own name (or as
    ``FILES.BAK`` when only the last rename failed and could not be undone),
    the temporary file is removed and the trap reports "SaveWork"; returns
    false.  An exception that is not an ``Exception`` (an interrupt, the
    process being stopped) removes the temporary file the same way and goes on
    up unreported.  The entry list is never changed; ``ChangesMade`` is the
    caller's.
    """
    area = session.area
    path = area.FileListPath
    temporary: str | None = None
    written = 0
    complete = True
    try:
        if not path:
            raise FileNotFoundError(errno.ENOENT, "The area has no Files List path")
        listed = list(entries) if not isinstance(entries, (list, EntryList)) else entries
        written = len(listed)
        data, complete = format_files_list(
            listed, session.code_page, area.FilePaths, FileLookup(session.code_page), AliasCache()
        )
        directory = os.path.dirname(path) or os.curdir
        temporary = _create_temporary(directory, os.path.basename(path))
        _fill(temporary, data)
        _put_in_place(path, temporary)
        temporary = None
        _sync_directory(directory)
    except BaseException as error:
        if temporary is not None:
            _remove_quietly(temporary)
        if not isinstance(error, Exception):
            raise
        session.ReportError("SaveWork", error)
        return False
    if written and complete:
        session.port.message_box(
            MessageBox(INFORMATION_TITLE, SAVED_TEXT + path, Buttons.OK, Icon.INFORMATION)
        )
    return True


def _create_temporary(directory: str, list_name: str) -> str:
    """Create an empty hidden temporary file for the list in *directory*; its path."""
    temporary, descriptor = create_temporary(directory, list_name)
    os.close(descriptor)
    return temporary


def _fill(temporary: str, data: bytes) -> None:
    """Write *data* to the file *temporary*, flush it to the disk and close it."""
    descriptor = os.open(temporary, os.O_WRONLY | getattr(os, "O_BINARY", 0))
    try:
        write_all(descriptor, data, temporary, _write)
        os.fsync(descriptor)
    finally:
        os.close(descriptor)


def _put_in_place(path: str, temporary: str) -> None:
    """The backup rule, then the temporary file renamed to the list's name."""
    if os.path.lexists(path) and not (os.path.islink(path) or os.path.isfile(path)):
        # A directory, FIFO or device of the list's name is never moved or replaced.
        raise IsADirectoryError(errno.EISDIR, "The Files List is not an ordinary file", path)
    backup = backup_path(path)
    if backup is None:
        # No backup: the previous list is replaced in one rename (the spec
        # deletes it first; the result is the same, without a moment with no list).
        if os.path.lexists(path):
            ClearAttributes(path)
        os.replace(temporary, path)
        return
    if os.path.lexists(backup) and ClearAttributes(backup):
        os.remove(backup)
    moved = False
    if os.path.lexists(path):
        if os.path.lexists(backup):
            # VB's Name statement refuses an existing target.
            raise FileExistsError(errno.EEXIST, "File already exists", backup)
        os.rename(path, backup)
        moved = True
    try:
        os.replace(temporary, path)
    except BaseException:
        if moved:
            try:
                os.rename(backup, path)
            except OSError:
                pass  # the previous list stays whole as FILES.BAK
        raise


def _sync_directory(directory: str) -> None:
    """Make the renames durable where the system allows it (best effort)."""
    if os.name == "nt":  # pragma: no cover - Windows has no directory handles to sync
        return
    try:
        descriptor = os.open(directory, os.O_RDONLY)
    except OSError:
        return
    try:
        os.fsync(descriptor)
    except OSError:
        pass
    finally:
        os.close(descriptor)


def _remove_quietly(path: str) -> None:
    try:
        os.remove(path)
    except OSError:
        pass
