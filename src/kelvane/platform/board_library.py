"""The board data library: the area record set and the path utility (Part 1.1).

The original program asked the board software's object library for these; we
provide the same operations over ``Farea.dat`` as board-format.md lays it out.
A failing status is raised as :class:`FareaError` (a run-time error that the
calling procedure's trap reports); nothing here ever writes the file.
"""

from __future__ import annotations

import ntpath
import os
import posixpath

from kelvane.platform.code_pages import DEFAULT_CODE_PAGE
from kelvane.platform.farea_format import (
    RECORD_SIZE,
    AreaRecord,
    FareaError,
    check_size,
    decode_record,
    find_farea_file,
)


class AreaRecordSet:
    """One shared instance per process, created on first use."""

    def __init__(self, code_page: str = DEFAULT_CODE_PAGE) -> None:
        self.code_page = code_page
        self._data: bytes | None = None
        self._record: AreaRecord | None = None
        self.path: str | None = None

    # -- opening and selecting -------------------------------------------------

    def OpenAreas(self, main_node_path: str) -> None:
        found = find_farea_file(main_node_path)
        if found is None:
            raise FareaError(f"Unable to find {os.path.join(main_node_path, 'Mwork', 'Farea.dat')}")
        try:
            data = found.read_bytes()
        except OSError as error:
            raise FareaError(f"Unable to read {found}: {error.strerror or error}") from error
        check_size(len(data))
        self._data = data
        self._record = None
        self.path = os.fspath(found)

    def AreaCount(self) -> int:
        return len(self._opened()) // RECORD_SIZE

    def SelectArea(self, area_number: int) -> None:
        data = self._opened()
        count = len(data) // RECORD_SIZE
        if not 1 <= area_number <= count:
            raise FareaError(f"Area record {area_number} does not exist (the board has {count})")
        start = (area_number - 1) * RECORD_SIZE
        self._record = decode_record(data[start : start + RECORD_SIZE], area_number, self.code_page)

    def OpenAreaRecord(self, main_node_path: str, area_number: int) -> None:
        self.OpenAreas(main_node_path)
        self.SelectArea(area_number)

    def CloseAreas(self) -> None:
        self._data = None
        self._record = None

    # -- field reads -------------------------------------------------------------

    def AreaTitle(self) -> str:
        return self._selected().title

    def AreaFilePath(self) -> str:
        return self._selected().path

    def AreaAltPath(self, index: int) -> str:
        if not 1 <= index <= 10:
            raise FareaError(f"There is no additional path {index} (1 to 10)")
        return self._selected().alt[index - 1]

    def AreaFileListPath(self) -> str:
        return self._selected().files_list

    def AreaIndexPath(self) -> str:
        return self._selected().index

    def AreaPrivate(self) -> str:
        return self._selected().private

    def AreaCDRom(self) -> str:
        return self._selected().cdrom

    def AreaAlias(self) -> str:
        return self._selected().alias

    def AreaOffline(self) -> str:
        return self._selected().offline

    def AreaMasterIndex(self) -> str:
        return self._selected().master

    def selected_record(self) -> AreaRecord:
        return self._selected()

    # -- internals ---------------------------------------------------------------

    def _opened(self) -> bytes:
        if self._data is None:
            raise FareaError("The area record file is not open")
        return self._data

    def _selected(self) -> AreaRecord:
        if self._record is None:
            raise FareaError("No area record is selected")
        return self._record


class PathUtility:
    """``DirectoryOf``, ``FileNameOf`` and ``RemoveText``.

    Paths are taken apart as the system where the board runs spells them: on
    Windows both separators, elsewhere "/" (a backslash is an ordinary
    character of a name there, porting.md).
    """

    #: The answer of DirectoryOf for a path it cannot take apart (Part 4.1).
    UNUSABLE = "-1"

    def __init__(self, windows: bool | None = None) -> None:
        self._windows = os.name == "nt" if windows is None else windows

    def DirectoryOf(self, full_path: str) -> str:
        """The directory part of *full_path*, or "-1" when it has none.

        A path that holds no separator, is empty, or holds a NUL character
        names no directory.
        """
        if not full_path or "\0" in full_path:
            return self.UNUSABLE
        head, tail = ntpath.split(full_path) if self._windows else posixpath.split(full_path)
        if not head or head == full_path and not tail:
            return self.UNUSABLE
        return head

    def FileNameOf(self, full_path: str) -> str:
        return ntpath.basename(full_path) if self._windows else posixpath.basename(full_path)

    @staticmethod
    def RemoveText(text: str, piece: str) -> str:
        if not piece:
            return text
        return text.replace(piece, "")
