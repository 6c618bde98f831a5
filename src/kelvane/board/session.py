"""The process-wide state of the spec's Overview, held in one object.

``CurrentArea`` (Part 1.1), the move target (Part 3.2) and the flags
(``ChangesMade``, ``IndexPending``, ``ListIsEmpty``, ``FileCount``,
``SwitchingAreas``, ``RealFileDates``, ``SortToggle``, the cancel flags), the
Make Index list, the board data library's shared objects, the program's
directory, the code page and the user port.  It is handed to what needs it; a
test builds a fresh one.

The spec's booleans are 16-bit values with true = -1; here they are Python
booleans, and the one place where the number shows (``SortToggle``'s absolute
value, Part 3.1) converts explicitly.
"""

from __future__ import annotations

import os
from dataclasses import dataclass, field
from pathlib import Path

from kelvane.board.alerts import AlertContext, ShowAlert
from kelvane.board.error_log import ErrorReporter
from kelvane.board.user_port import SilentPort, UserPort
from kelvane.platform.board_library import AreaRecordSet, PathUtility
from kelvane.platform.code_pages import DEFAULT_CODE_PAGE
from kelvane.platform.program_directory import join_program_path, program_directory

DIRECTORY_SLOTS = 11


@dataclass
class CurrentArea:
    """Part 1.1's ``CurrentArea``; every field kept until the next load."""

    MainNodePath: str = ""
    AreaNumber: int = 0
    AreaTitle: str = ""
    FileListPath: str = ""
    FilePaths: list[str] = field(default_factory=lambda: [""] * DIRECTORY_SLOTS)
    IndexPath: str = ""
    IsPrivate: bool = False
    IsCDRom: bool = False
    AllowAlias: bool = False
    IsOffline: bool = False
    UsesMasterIndex: bool = False
    TrackForIndex: bool = False

    def directories(self) -> list[tuple[int, str]]:
        """The non-empty directory slots, in slot order: (slot, path)."""
        return [(slot, path) for slot, path in enumerate(self.FilePaths) if path]


@dataclass
class MoveTarget:
    """Part 3.2's move target."""

    TargetAreaNumber: int = 0
    TargetFilePath: str = ""
    TargetFileListPath: str = ""
    TargetIsCDRom: bool = False
    TargetIsOffline: bool = False
    TargetUsesMasterIndex: bool = False
    TargetTrackForIndex: bool = False


class Session:
    """Everything process-wide, in one place."""

    def __init__(
        self,
        port: UserPort | None = None,
        *,
        program_dir: str | os.PathLike[str] | None = None,
        code_page: str = DEFAULT_CODE_PAGE,
    ) -> None:
        self.port: UserPort = port if port is not None else SilentPort()
        #: The program's directory as text, kept as given: a directory at a
        #: drive root keeps its trailing separator (Part 1.3).
        self.app_path: str = (
            os.fspath(program_dir) if program_dir is not None else os.fspath(program_directory())
        )
        self.code_page = code_page
        self.area = CurrentArea()
        self.target = MoveTarget()
        # Flags of the Overview.
        self.ChangesMade = False
        self.IndexPending = False
        self.ListIsEmpty = False
        self.FileCount = 0
        self.SwitchingAreas = False
        self.RealFileDates = False
        self.SortToggle = False
        self.SearchCancel = False
        self.CancelMove = False
        #: The Make Index form's ``lstMakeIdx``: area numbers as decimal text,
        #: in the order added, no duplicates (Part 4.1).  The form shows it.
        self.make_index_list: list[str] = []
        self._record_set: AreaRecordSet | None = None
        self._path_utility: PathUtility | None = None
        self.reporter = ErrorReporter(self.port, self.app_path, page=code_page)

    # Part 1.3: alerts by key and the error reporter.

    def ShowAlert(self, key: str) -> bool:
        return ShowAlert(self.port, key, AlertContext(self.area.MainNodePath, self.app_path))

    def ReportError(self, procedure_name: str, error: BaseException | None = None) -> None:
        self.reporter.port = self.port
        self.reporter.app_path = self.app_path
        self.reporter.page = self.code_page
        self.reporter.ReportError(procedure_name, error)

    # The board data library's objects are created on first use (Part 1.1).

    @property
    def record_set(self) -> AreaRecordSet:
        if self._record_set is None or self._record_set.code_page != self.code_page:
            self._record_set = AreaRecordSet(self.code_page)
        return self._record_set

    @property
    def path_utility(self) -> PathUtility:
        if self._path_utility is None:
            self._path_utility = PathUtility()
        return self._path_utility

    def release_library(self) -> None:
        """Shut-down step 5 of Part 5.1: release the library's objects."""
        if self._record_set is not None:
            self._record_set.CloseAreas()
        self._record_set = None
        self._path_utility = None

    # The program's directory and the Work directory (Overview).

    @property
    def program_dir(self) -> Path:
        return Path(self.app_path)

    @property
    def work_directory(self) -> str:
        """The Work directory: the program's directory followed by "\\Work"."""
        return join_program_path(self.app_path, "Work")
