"""The Files List editor of Part 2.1 (``frmEditFileArea``).

The editor shows the open area's entries, which the sort view owns
(``frmEditFileArealsv.entries``, Part 3.1), through ``lstFileNames``, a list
view over :class:`FileNamesModel`, and the highlighted entry's name, size,
date and description beside it.  It implements the ``EditorView`` protocol
(``kelvane.editor.editor_view``) through which the operations of Parts 2.3 to
2.7 and 3.2 read the selection and change the entries.

Choices where the spec leaves the screen open:

- ``lstFileNames`` uses extended selection: a click selects one name, Ctrl
  with a click tags or untags one more, Shift with a click tags a range (the
  list box's extended multi-select).  The highlighted entry is the view's
  current index; the tagged entries are its selection.
- The right mouse button neither moves the highlight nor changes the tags
  (as on the list box); it gives the list the focus and opens File
  Operations as a pop-up menu.
- Down One File and Up One File move the highlight as the arrow keys do:
  the new entry becomes the only selected one.
- A File Operations command first writes a pending description edit back
  (as the description box's LostFocus would), so an operation's closing
  ``Update_All_Controls`` never drops what the user typed.
- Once an edit is written back on leaving the box, before a command or by
  Save Work, the description box's changed mark is cleared, so that a later
  click or the closing does not write the same text back and mark the work
  as changed again (after Save Work that would ask to save saved work).
- The description box shows each CR LF of the Description as a line break
  and writes every line break back as CR LF; its text is read raw, so
  no-break spaces and other characters stay as they are.
- The toolbar and status-bar toggles show or hide the editor's own bars of
  the main frame: ``tbToolBar2`` and ``sbStatusBar2``.
- The time pane shows the locale's short time format, refreshed every second.

Selections are read and written as ranges, never one index at a time, and
every change of the selection is applied as one ``QItemSelection``, so that
tagging, untagging and counting stay immediate with 100,000 entries.
"""

from __future__ import annotations

import bisect
import contextlib
from collections.abc import Callable, Iterable, Iterator, Sequence
from typing import TYPE_CHECKING, Any

from PySide6.QtCore import (
    QDate,
    QEvent,
    QItemSelection,
    QItemSelectionModel,
    QLocale,
    QModelIndex,
    QObject,
    Qt,
    QTime,
    QTimer,
    Signal,
)
from PySide6.QtGui import QAction, QFontDatabase, QKeySequence, QMouseEvent
from PySide6.QtWidgets import (
    QAbstractItemView,
    QFrame,
    QGridLayout,
    QHBoxLayout,
    QLabel,
    QListView,
    QMdiSubWindow,
    QMenu,
    QMenuBar,
    QPlainTextEdit,
    QSizePolicy,
    QStatusBar,
    QVBoxLayout,
    QWidget,
)

from kelvane.board.file_system import file_exists
from kelvane.board.files_list import SaveWork
from kelvane.board.session import Session
from kelvane.board.user_port import Buttons, Icon, MessageBox
from kelvane.board.vb_text import Val, plain_number, trim_spaces
from kelvane.editor.commands import menu_for_key, run_command
from kelvane.editor.entry_models import FileNamesModel, contiguous_runs
from kelvane.platform.program_directory import join_program_path
from kelvane.shell.animation import Animation

if TYPE_CHECKING:
    from kelvane.board.files_list import Entry, EntryList
    from kelvane.sortmove.sort_view_form import frmEditFileArealsv

CAPTION_PREFIX = "Editing File Area: "
NO_DESCRIPTION = "No Description"
CRLF = "\r\n"
ANIMATION_FILE = ("AVI", "FINDFILE.AVI")
ANIMATION_ALERT_TITLE = "Kelvane Alert Message!"

#: Twips to the logical inch (porting.md).
TWIPS_PER_INCH = 1440
FLAG_PANE_MIN_TWIPS = 1300
CLOCK_PANE_MIN_TWIPS = 1050
#: The date pane's format, "mmm. d, yyyy" (as "Nov. 21, 2026").
DATE_PANE_FORMAT = "MMM. d, yyyy"

#: Status bar panes of ``Load_Status_Bar2``: (label, session.area flag) and tooltip.
FLAG_PANES: tuple[tuple[str, str, str], ...] = (
    ("Private", "IsPrivate", "Shows if this is a Private File Area."),
    ("CDRom", "IsCDRom", "Shows if this is a CDROM File Area."),
    ("Alias", "AllowAlias", "Shows if Alias Names are allowed for File Area."),
    ("Offline", "IsOffline", "Shows if this is an Offline File Area."),
    ("Master", "UsesMasterIndex", "Shows if File Area uses the Master Index System."),
)
DATE_TOOLTIP = "Displays System's current Date."
TIME_TOOLTIP = "Displays System's current Time."

#: File Operations menu: (objectName, caption); None is a separator.
FILE_OPERATIONS: tuple[tuple[str, str] | None, ...] = (
    ("mnuFileScan", "File S&can"),
    ("mnuReadDIZ", "&Read DIZ"),
    ("mnuFileDate", "File &Date"),
    ("mnuFileLength", "File &Length"),
    None,
    ("mnuEraseFilesListOnly", "Erase File / L&ist Only"),
    ("mnuDeleteFiles", "&Delete Files"),
    ("mnuMoveFiles", "&Move Files"),
    ("mnuRemoveUploadBy", 'Remove "&Uploaded By"'),
    None,
    ("mnuSelectAllFiles", "Select all Files"),
    ("mnuNoSelectAllFiles", "No Select all Files"),
    ("mnuSortFile", "&Sort Files"),
    None,
    ("mnuDefaultArchiveType", "Default &Archive Type"),
    ("mnuVirusCheck", "&Virus Check"),
    ("mnuWriteNewDIZ", "&Write New DIZ"),
    None,
    ("mnuSaveWork", "&Save Work"),
    ("mnuClose", "&Close"),
)

#: Positions as ascending (first, last) runs.
_Runs = list[tuple[int, int]]


def twips_to_pixels(twips: int, dots_per_inch: float) -> int:
    """A length in twips as device-independent pixels at *dots_per_inch*."""
    return round(twips * dots_per_inch / TWIPS_PER_INCH)


def yes_no(flag: bool) -> str:
    return "Yes" if flag else "No"


def description_to_box(description: str) -> str:
    """The Description's CR LF line ends as the box's line breaks."""
    return description.replace(CRLF, "\n")


def box_to_description(raw_text: str) -> str:
    """The box's raw text with every line break (paragraph, line, LF) as CR LF."""
    return raw_text.replace("\u2029", "\n").replace("\u2028", "\n").replace("\n", CRLF)


class FileNamesView(QListView):
    """``lstFileNames``: a list view that repaints a large selection change at once.

    Qt works out the exact region of every changed selection range, with
    calls into the model for each; for a change of thousands of ranges one
    repaint of the visible rows is much cheaper.
    """

    #: More changed ranges than this and the whole viewport is repainted.
    REPAINT_ALL_RANGES = 256

    def selectionChanged(self, selected: QItemSelection, deselected: QItemSelection) -> None:
        if selected.size() + deselected.size() > self.REPAINT_ALL_RANGES:
            self.viewport().update()
            return
        super().selectionChanged(selected, deselected)

    def dataChanged(
        self, topLeft: QModelIndex, bottomRight: QModelIndex, roles: Sequence[int] = ()
    ) -> None:
        """A changed entry repaints its rows without ``QListView`` laying out every row again.

        Every row has the same size (uniform item sizes) and the rows do not
        move, so the item view's own handling (repaint, accessibility) is
        enough; ``QListView``'s would lay out all 100,000 rows for one edit.
        """
        QAbstractItemView.dataChanged(self, topLeft, bottomRight, list(roles))


class frmEditFileArea(QWidget):
    """The editor form of one open area; implements ``EditorView``.

    *sort_view* is the loaded sort view that owns the entries.  *main_frame*
    is the main frame when there is one: its ``sbStatusBar2`` carries the
    editor's status panes, its ``tbToolBar2``/``sbStatusBar2`` are what the
    toggles show and hide, and its ``editor_closed()`` (when it has one) sets
    it back to the no-area state when the editor closes.
    """

    #: Emitted once, at the end of ``Form_Unload``.
    closed = Signal()

    def __init__(
        self,
        session: Session,
        sort_view: frmEditFileArealsv,
        main_frame: Any = None,
        parent: QWidget | None = None,
    ) -> None:
        super().__init__(parent)
        self.session = session
        self.sort_view = sort_view
        self.main_frame = main_frame
        self.setObjectName("frmEditFileArea")
        #: The index of the entry whose details are shown (the spec's current position).
        self._position = -1
        #: The description box's changed mark: set when the user types.
        self._description_changed = False
        #: Set while the form itself changes the box, the list or the selection.
        self._quiet = 0
        self._unloaded = False
        self._status_panes: list[QLabel] = []
        self.animation: Animation | None = None
        self._animation_playing = False

        self.names_model = FileNamesModel(parent=self)
        self._build_controls()
        self._build_menus()
        self._build_layout()
        self._clock = QTimer(self)
        self._clock.setInterval(1000)
        self._clock.timeout.connect(self._update_time_pane)

    # -- construction ---------------------------------------------------------------------

    def _build_controls(self) -> None:
        names = FileNamesView(self)
        names.setObjectName("lstFileNames")
        names.setModel(self.names_model)
        names.setUniformItemSizes(True)
        names.setSelectionMode(QAbstractItemView.SelectionMode.ExtendedSelection)
        names.setEditTriggers(QAbstractItemView.EditTrigger.NoEditTriggers)
        names.setSizePolicy(QSizePolicy.Policy.Preferred, QSizePolicy.Policy.Expanding)
        names.setMinimumWidth(names.fontMetrics().averageCharWidth() * 18)
        names.viewport().installEventFilter(self)
        selection = names.selectionModel()
        selection.currentChanged.connect(self._current_changed)
        selection.selectionChanged.connect(self._selection_changed)
        self.lstFileNames = names

        def label(name: str, text: str = "") -> QLabel:
            widget = QLabel(text, self)
            widget.setObjectName(name)
            return widget

        self.lblFileNameCaption = label("lblFileNameCaption", "File Name:")
        self.lblFileSizeCaption = label("lblFileSizeCaption", "File Size:")
        self.lblFileDateCaption = label("lblFileDateCaption", "File Date:")
        self.lblDescriptionCaption = label("lblDescriptionCaption", "File Description:")
        self.lblTotalFileCtCaption = label("lblTotalFileCtCaption", "Total Files:")
        self.lblFilesTaggedCaption = label("lblFilesTaggedCaption", "Files Tagged:")
        self.lblFileName = label("lblFileName")
        self.lblFileSize = label("lblFileSize")
        self.lblFileDate = label("lblFileDate")
        self.lblTotalFileCt = label("lblTotalFileCt")
        self.lblFilesTagged = label("lblFilesTagged")
        for value in (self.lblFileName, self.lblFileSize, self.lblFileDate):
            value.setTextInteractionFlags(Qt.TextInteractionFlag.TextSelectableByMouse)

        box = QPlainTextEdit(self)
        box.setObjectName("txtFileDescription")
        box.setFont(QFontDatabase.systemFont(QFontDatabase.SystemFont.FixedFont))
        box.setLineWrapMode(QPlainTextEdit.LineWrapMode.NoWrap)
        box.setTabChangesFocus(True)
        box.textChanged.connect(self._description_typed)
        box.installEventFilter(self)
        # 45 characters a line, as the Files List holds them.
        box.setMinimumWidth(box.fontMetrics().horizontalAdvance("M" * 47))
        self.txtFileDescription = box

        self.aniFindFile = QWidget(self)
        self.aniFindFile.setObjectName("aniFindFile")
        self.aniFindFile.setFixedSize(32, 32)

        if self.main_frame is not None and isinstance(
            getattr(self.main_frame, "sbStatusBar2", None), QStatusBar
        ):
            self.sbStatusBar2: QStatusBar = self.main_frame.sbStatusBar2
            self._own_status_bar = False
        else:
            self.sbStatusBar2 = QStatusBar(self)
            self.sbStatusBar2.setObjectName("sbStatusBar2")
            self.sbStatusBar2.setSizeGripEnabled(False)
            self._own_status_bar = True

    def _build_menus(self) -> None:
        self.menu_bar = QMenuBar(self)
        self.menu_bar.setObjectName("mnuEditorMenuBar")
        self.menu_bar.setNativeMenuBar(False)
        operations = QMenu("File &Operations", self)
        operations.setObjectName("mnuFileOperations")
        own: dict[str, Callable[[], None]] = {
            "mnuSaveWork": self.mnuSaveWork_Click,
            "mnuClose": self.mnuClose_Click,
        }
        self.file_operation_actions: dict[str, QAction] = {}
        for item in FILE_OPERATIONS:
            if item is None:
                operations.addSeparator()
                continue
            name, caption = item
            action = QAction(caption, self)
            action.setObjectName(name)
            handler = own.get(name)
            if handler is not None:
                action.triggered.connect(lambda _checked=False, run=handler: run())
            else:
                action.triggered.connect(
                    lambda _checked=False, menu=name: self.run_file_operation(menu)
                )
            operations.addAction(action)
            self.file_operation_actions[name] = action
            setattr(self, name, action)
        self.mnuFileOperations = operations
        # Keys where they are natural: Ctrl+S saves the work anywhere in the editor;
        # Delete on the file list erases the tagged entries from the list only (it
        # asks first; the files stay on disk).  In the description box Delete edits.
        save = self.file_operation_actions["mnuSaveWork"]
        save.setShortcut(QKeySequence(QKeySequence.StandardKey.Save))
        save.setShortcutContext(Qt.ShortcutContext.WidgetWithChildrenShortcut)
        self.addAction(save)
        erase = self.file_operation_actions["mnuEraseFilesListOnly"]
        erase.setShortcut(QKeySequence(QKeySequence.StandardKey.Delete))
        erase.setShortcutContext(Qt.ShortcutContext.WidgetShortcut)
        self.lstFileNames.addAction(erase)

        view = QMenu("&View", self)
        view.setObjectName("mnuEditorView")
        self.mnuToolBar = QAction("&Toolbar", self)
        self.mnuToolBar.setObjectName("mnuToolBar")
        self.mnuStatusBar = QAction("Status &Bar", self)
        self.mnuStatusBar.setObjectName("mnuStatusBar")
        for action in (self.mnuToolBar, self.mnuStatusBar):
            action.setCheckable(True)
            action.setChecked(True)
            view.addAction(action)
        self.mnuToolBar.toggled.connect(self._tool_bar_toggled)
        self.mnuStatusBar.toggled.connect(self._status_bar_toggled)
        self.mnuEditorView = view

        self.menu_bar.addMenu(operations)
        self.menu_bar.addMenu(view)

    def _build_layout(self) -> None:
        details = QGridLayout()
        details.addWidget(self.lblFileNameCaption, 0, 0)
        details.addWidget(self.lblFileName, 0, 1)
        details.addWidget(self.aniFindFile, 0, 2, 3, 1, Qt.AlignmentFlag.AlignRight)
        details.addWidget(self.lblFileSizeCaption, 1, 0)
        details.addWidget(self.lblFileSize, 1, 1)
        details.addWidget(self.lblFileDateCaption, 2, 0)
        details.addWidget(self.lblFileDate, 2, 1)
        details.addWidget(self.lblDescriptionCaption, 3, 0, 1, 3)
        details.addWidget(self.txtFileDescription, 4, 0, 1, 3)
        details.setColumnStretch(1, 1)
        details.setRowStretch(4, 1)
        counts = QHBoxLayout()
        counts.addWidget(self.lblTotalFileCtCaption)
        counts.addWidget(self.lblTotalFileCt)
        counts.addSpacing(24)
        counts.addWidget(self.lblFilesTaggedCaption)
        counts.addWidget(self.lblFilesTagged)
        counts.addStretch(1)
        right = QVBoxLayout()
        right.addLayout(details, 1)
        right.addLayout(counts)
        body = QHBoxLayout()
        body.addWidget(self.lstFileNames, 1)
        body.addLayout(right, 2)
        layout = QVBoxLayout(self)
        layout.setMenuBar(self.menu_bar)
        layout.addLayout(body, 1)
        if self._own_status_bar:
            layout.addWidget(self.sbStatusBar2)
        self.resize(720, 460)

    def editor_menus(self) -> list[QMenu]:
        """The editor's menus, for a main frame that shows them in its own menu bar."""
        return [self.mnuFileOperations, self.mnuEditorView]

    # -- EditorView: the entries ----------------------------------------------------------

    @property
    def entries(self) -> EntryList:
        return self.sort_view.entries

    @property
    def unloaded(self) -> bool:
        """Whether ``Form_Unload`` has run (the form is closing or closed)."""
        return self._unloaded

    @property
    def description_changed(self) -> bool:
        """The description box's changed mark."""
        return self._description_changed

    @contextlib.contextmanager
    def _quietly(self) -> Iterator[None]:
        """The form's own changes: no click handling, no changed mark."""
        self._quiet += 1
        try:
            yield
        finally:
            self._quiet -= 1

    def _tell_models(self, tell: Callable[[Any], Any]) -> Any:
        """Tell both models of the entry list the same change; the names model's answer."""
        answer = tell(self.names_model)
        tell(self.sort_view.entry_model)
        return answer

    def _attach_names(self) -> bool:
        """Make ``lstFileNames`` show the entry list; true when it was not showing it."""
        if self.names_model.entries is self.entries:
            return False
        self.names_model.set_entries(self.entries)
        return True

    def remove_entries(self, indices: Sequence[int]) -> None:
        """Remove these positions from ``lstFileNames`` and the table in one model update."""
        count = len(self.entries)
        removed = sorted({i for i in indices if 0 <= i < count})
        if not removed:
            return
        self._write_back_pending()
        selected = self._selected_runs()
        current = self.current_index()
        with self._quietly():
            self.entries.remove_indices(removed)
            was_reset = self._tell_models(lambda model: model.rows_removed(removed))
            if was_reset:
                self._restore_after_removal(removed, selected, current)
        if self._position in removed:
            self._position = -1
        elif self._position >= 0:
            self._position -= bisect.bisect_left(removed, self._position)
        self._refresh_counts()

    def _restore_after_removal(self, removed: list[int], selected: _Runs, current: int) -> None:
        """After a model reset: the surviving tags and the highlight, moved up."""
        gone = set(removed)
        survivors = [
            i - bisect.bisect_left(removed, i)
            for first, last in selected
            for i in range(first, last + 1)
            if i not in gone
        ]
        self._apply_selection(contiguous_runs(survivors))
        count = self.names_model.rowCount()
        if current >= 0 and count:
            moved = current - bisect.bisect_left(removed, current)
            self._set_current(min(moved, count - 1), QItemSelectionModel.SelectionFlag.NoUpdate)

    def append_entries(self, entries: Sequence[Entry]) -> None:
        """Append rows to the table and their names to ``lstFileNames``."""
        if not entries:
            return
        self._write_back_pending()
        was_empty = self.names_model.rowCount() == 0
        with self._quietly():
            for entry in entries:
                self.entries.append(entry)
            if not self._attach_names():
                self.names_model.rows_appended()
            self.sort_view.entry_model.rows_appended()
            if was_empty and self.names_model.rowCount():
                self._set_current(0, QItemSelectionModel.SelectionFlag.NoUpdate)
        self._refresh_counts()

    def entries_changed(self, indices: Sequence[int]) -> None:
        """Fields of these entries changed in place: one ``dataChanged`` per run."""
        self._tell_models(lambda model: model.rows_changed(indices))

    def reload_names(self) -> None:
        """The whole entry list changed (read anew or re-ordered): show it afresh."""
        with self._quietly():
            self.names_model.set_entries(self.entries)
            self.sort_view.entry_model.reset()
        self._position = -1

    # -- EditorView: selection and the highlight ------------------------------------------

    def _selection_model(self) -> QItemSelectionModel:
        return self.lstFileNames.selectionModel()

    def _selected_runs(self) -> _Runs:
        """The selected positions as ascending, merged (first, last) runs."""
        ranges = sorted((r.top(), r.bottom()) for r in self._selection_model().selection())
        runs: _Runs = []
        for top, bottom in ranges:
            if runs and top <= runs[-1][1] + 1:
                if bottom > runs[-1][1]:
                    runs[-1] = (runs[-1][0], bottom)
            else:
                runs.append((top, bottom))
        return runs

    def selected_indices(self) -> list[int]:
        """The selected positions of ``lstFileNames``, ascending."""
        indices: list[int] = []
        for first, last in self._selected_runs():
            indices.extend(range(first, last + 1))
        return indices

    def selected_count(self) -> int:
        return sum(last - first + 1 for first, last in self._selected_runs())

    def _apply_selection(self, runs: _Runs) -> None:
        """Make exactly these runs selected: one clear and one ``QItemSelection``.

        Clearing first keeps Qt's comparison of the old and the new selection
        linear, however many ranges either has.
        """
        row_index = self.names_model.row_index
        selection = QItemSelection()
        for first, last in runs:
            selection.select(row_index(first), row_index(last))
        selection_model = self._selection_model()
        with self._quietly():
            selection_model.clearSelection()
            if runs:
                selection_model.select(selection, QItemSelectionModel.SelectionFlag.Select)

    def set_selected(self, indices: Iterable[int], selected: bool) -> None:
        """Select or deselect the given positions (one selection change, one repaint)."""
        count = self.names_model.rowCount()
        wanted = {i for i in indices if 0 <= i < count}
        if not wanted:
            return
        current = set(self.selected_indices())
        if selected:
            if wanted <= current:
                return
            current |= wanted
        else:
            if current.isdisjoint(wanted):
                return
            current -= wanted
        self._apply_selection(contiguous_runs(current))
        self._refresh_counts()

    def select_all(self) -> None:
        count = self.names_model.rowCount()
        self._apply_selection([(0, count - 1)] if count else [])
        self._refresh_counts()

    def deselect_all(self) -> None:
        with self._quietly():
            self._selection_model().clearSelection()
        self._refresh_counts()

    def current_index(self) -> int:
        """The highlighted position, -1 when there is none."""
        index = self._selection_model().currentIndex()
        return index.row() if index.isValid() else -1

    def set_current_index(self, index: int) -> None:
        """Highlight *index* without changing the tags; the caller refreshes the controls."""
        if 0 <= index < self.names_model.rowCount():
            with self._quietly():
                self._set_current(index, QItemSelectionModel.SelectionFlag.NoUpdate)

    def _set_current(self, row: int, flags: QItemSelectionModel.SelectionFlag) -> None:
        index = self.names_model.index(row, 0)
        self._selection_model().setCurrentIndex(index, flags)
        self.lstFileNames.scrollTo(index)

    # -- EditorView: the animation --------------------------------------------------------

    def start_animation(self) -> bool:
        """Start the editor's animation when it loaded; true when it was started."""
        if self.animation is None or not self.animation.play():
            return False
        self._animation_playing = True
        return True

    def stop_animation(self) -> None:
        if self.animation is not None:
            self.animation.stop()
        self._animation_playing = False

    # -- loading ----------------------------------------------------------------------------

    def Form_Load(self) -> None:
        """Opening an area (Part 2.1, steps 1 to 5)."""
        session = self.session
        try:
            self.Load_Status_Bar2()
            if session.ListIsEmpty:
                self.lblFileName.setText("")
                self.lblFileDate.setText("")
                self.lblFileSize.setText("0")
                self.lblTotalFileCt.setText("0")
                self.lblFilesTagged.setText("0")
                self.txtFileDescription.setReadOnly(True)
            else:
                self.GetFileNames()
                self.txtFileDescription.setReadOnly(False)
            self.setWindowTitle(CAPTION_PREFIX + session.area.AreaTitle)
            session.ChangesMade = False
            self._load_animation()
        except Exception as error:
            session.ReportError("Load_frmEditFileArea", error)

    def _load_animation(self) -> None:
        """Step 5: ``AVI\\FINDFILE.AVI`` into the animation control, or the alert and none."""
        directory, name = ANIMATION_FILE
        path = join_program_path(self.session.app_path, directory, name)
        # Found whatever the case of its name on disk (porting.md).
        found = file_exists(join_program_path(self.session.app_path, directory), name)
        animation = Animation(self.aniFindFile)
        if found is not None and animation.open(found):
            self.aniFindFile.setFixedSize(animation.size())
            animation.show()
            self.animation = animation
            return
        animation.deleteLater()
        self.animation = None
        text = "Unable to Find/Open " + "\r" + path + "\r\r" + "Kelvane will skip this operation!"
        self.session.port.message_box(
            MessageBox(ANIMATION_ALERT_TITLE, text, Buttons.OK, Icon.INFORMATION)
        )

    def GetFileNames(self) -> None:
        """Fill ``lstFileNames`` from the entry list, highlight the first, refresh."""
        session = self.session
        try:
            if session.ListIsEmpty:
                return
            with self._quietly():
                self.names_model.set_entries(self.entries)
                if self.names_model.rowCount():
                    self._set_current(0, QItemSelectionModel.SelectionFlag.NoUpdate)
            self.Update_All_Controls()
        except Exception as error:
            session.ReportError("GetFileNames", error)

    # -- the status bar ---------------------------------------------------------------------

    def Load_Status_Bar2(self, status_bar: QStatusBar | None = None) -> None:
        """The seven panes of the editor's status bar, with their tooltips."""
        try:
            bar = status_bar if status_bar is not None else self.sbStatusBar2
            self._remove_status_panes()
            area = self.session.area
            dots_per_inch = bar.logicalDpiX()
            flag_width = twips_to_pixels(FLAG_PANE_MIN_TWIPS, dots_per_inch)
            clock_width = twips_to_pixels(CLOCK_PANE_MIN_TWIPS, dots_per_inch)
            panes: list[QLabel] = []
            for number, (label, flag, tooltip) in enumerate(FLAG_PANES, start=1):
                pane = self._status_pane(bar, number, label + ":  " + yes_no(getattr(area, flag)))
                pane.setToolTip(tooltip)
                if number > 1:
                    pane.setMinimumWidth(flag_width)
                panes.append(pane)
            date_pane = self._status_pane(bar, 6, self._date_text())
            date_pane.setToolTip(DATE_TOOLTIP)
            time_pane = self._status_pane(bar, 7, self._time_text())
            time_pane.setToolTip(TIME_TOOLTIP)
            for pane in (date_pane, time_pane):
                pane.setMinimumWidth(clock_width)
                pane.setAlignment(Qt.AlignmentFlag.AlignCenter)
            panes += [date_pane, time_pane]
            for number, pane in enumerate(panes, start=1):
                bar.addWidget(pane, 1 if number == 1 else 0)
            self._status_panes = panes
            self._clock.start()
        except Exception as error:
            self.session.ReportError("Load_Status_Bar2", error)

    @staticmethod
    def _status_pane(bar: QStatusBar, number: int, text: str) -> QLabel:
        pane = QLabel(text, bar)
        pane.setObjectName(f"sbStatusBar2Pane{number}")
        pane.setFrameStyle(QFrame.Shape.Panel | QFrame.Shadow.Sunken)
        pane.setSizePolicy(QSizePolicy.Policy.Minimum, QSizePolicy.Policy.Preferred)
        return pane

    def _remove_status_panes(self) -> None:
        for pane in self._status_panes:
            bar = pane.parentWidget()
            if isinstance(bar, QStatusBar):
                bar.removeWidget(pane)
            pane.deleteLater()
        self._status_panes = []

    @property
    def status_panes(self) -> list[QLabel]:
        """Panes 1 to 7 of the editor's status bar (empty before ``Load_Status_Bar2``)."""
        return list(self._status_panes)

    @staticmethod
    def _date_text() -> str:
        return QLocale().toString(QDate.currentDate(), DATE_PANE_FORMAT)

    @staticmethod
    def _time_text() -> str:
        return QLocale().toString(QTime.currentTime(), QLocale.FormatType.ShortFormat)

    def _update_time_pane(self) -> None:
        if len(self._status_panes) == 7:
            self._status_panes[5].setText(self._date_text())
            self._status_panes[6].setText(self._time_text())

    # -- refreshing ---------------------------------------------------------------------------

    def Update_All_Controls(self) -> None:
        """Every control from the entry at the highlighted position (steps 1 to 4)."""
        try:
            count = self.names_model.rowCount()
            # Step 1: the box is locked while the list is empty.
            self.txtFileDescription.setReadOnly(count == 0)
            # Step 2: the highlighted entry's size, date and description.
            row = self.current_index()
            entries = self.entries
            if len(entries):
                position = min(max(row, 0), len(entries) - 1)
                entry = entries[position]
                self.lblFileSize.setText(plain_number(Val(entry.size)))
                self.lblFileDate.setText(entry.date)
                self._set_box_text(description_to_box(entry.description))
                self._position = position
            else:
                self.lblFileSize.setText("0")
                self.lblFileDate.setText("")
                self._set_box_text("")
                self._position = -1
            # Step 3: the highlighted name and the counts.
            self.lblFileName.setText(self.names_model.name(row))
            self._refresh_counts()
            # Step 4: the changed marks.
            self._description_changed = False
        except Exception as error:
            self.session.ReportError("Update_All_Controls", error)

    def _refresh_counts(self) -> None:
        self.lblTotalFileCt.setText(str(self.names_model.rowCount()))
        self.lblFilesTagged.setText(str(self.selected_count()))

    def _set_box_text(self, text: str) -> None:
        with self._quietly():
            self.txtFileDescription.setPlainText(text)

    def _box_description(self) -> str:
        """The box's text with its line breaks as CR LF."""
        return box_to_description(self.txtFileDescription.document().toRawText())

    # -- the description ----------------------------------------------------------------------

    def _description_typed(self) -> None:
        if not self._quiet:
            self._description_changed = True

    def Description_Update(self) -> None:
        """Write the description box back into the entry it shows (steps 1 to 4)."""
        session = self.session
        try:
            entries = self.entries
            if not len(entries):
                self._set_box_text("")
                return
            if trim_spaces(self._box_description().replace(CRLF, "")) == "":
                self._set_box_text(NO_DESCRIPTION)
            position = self._position
            if not 0 <= position < len(entries):
                return
            entries[position].description = self._box_description()
            entries.changed()
            self.entries_changed([position])
            session.ChangesMade = True
        except Exception as error:
            session.ReportError("Description_Update", error)

    def _write_back_pending(self) -> None:
        """A pending edit goes to the entry it was made on (list not empty)."""
        if self._description_changed and self.names_model.rowCount():
            self.Description_Update()
            self._description_changed = False

    def lstFileNames_Click(self) -> None:
        """The highlight moved: write a pending edit back to the entry shown, then refresh."""
        try:
            if self.names_model.rowCount() and self._description_changed:
                self.Description_Update()
            self.Update_All_Controls()
        except Exception as error:
            self.session.ReportError("lstFileNames_Click", error)

    def txtFileDescription_LostFocus(self) -> None:
        """Leaving the box writes a pending edit back (changed mark set, list not empty)."""
        self._write_back_pending()

    def _current_changed(self, _current: QModelIndex, _previous: QModelIndex) -> None:
        if not self._quiet:
            self.lstFileNames_Click()

    def _selection_changed(self, *_ranges: object) -> None:
        if not self._quiet:
            self.lblFilesTagged.setText(str(self.selected_count()))

    def eventFilter(self, watched: QObject, event: QEvent) -> bool:
        if watched is self.lstFileNames.viewport() and event.type() in (
            QEvent.Type.MouseButtonPress,
            QEvent.Type.MouseButtonDblClick,
        ):
            assert isinstance(event, QMouseEvent)
            if event.button() != Qt.MouseButton.LeftButton:
                self.lstFileNames_MouseDown(event.button(), event.globalPosition().toPoint())
                return True
        elif watched is self.txtFileDescription and event.type() == QEvent.Type.FocusOut:
            reason = event.reason()  # type: ignore[attr-defined]
            if reason not in (
                Qt.FocusReason.PopupFocusReason,
                Qt.FocusReason.ActiveWindowFocusReason,
            ):
                self.txtFileDescription_LostFocus()
        return super().eventFilter(watched, event)

    def lstFileNames_MouseDown(self, button: Qt.MouseButton, global_position: Any = None) -> None:
        """A button other than the left: focus to the list; the right one: File Operations."""
        try:
            if button == Qt.MouseButton.LeftButton:
                return
            self.lstFileNames.setFocus(Qt.FocusReason.MouseFocusReason)
            if button == Qt.MouseButton.RightButton:
                if global_position is None:
                    global_position = self.lstFileNames.viewport().mapToGlobal(
                        self.lstFileNames.viewport().rect().center()
                    )
                self.mnuFileOperations.popup(global_position)
        except Exception as error:
            self.session.ReportError("lstFileNames_MouseDown", error)

    # -- commands --------------------------------------------------------------------------------

    def run_file_operation(self, menu_name: str) -> None:
        """A File Operations command: a pending edit first, then the command of its Part."""
        try:
            self._write_back_pending()
            run_command(menu_name, self.session, self)
        except Exception as error:
            self.session.ReportError(menu_name + "_Click", error)

    def handler_for_key(self, key: str) -> Callable[[], None] | None:
        """The handler of an editor toolbar key (Part 5.1), or None for an unknown key."""
        own: dict[str, Callable[[], None]] = {
            "Close": self.mnuClose_Click,
            "DownOneFile": self.mnuDownOneFile_Click,
            "UpOneFile": self.mnuUpOneFile_Click,
            "SaveWork": self.mnuSaveWork_Click,
        }
        if key in own:
            return own[key]
        menu = menu_for_key(key)
        if menu is None:
            return None
        return lambda: self.run_file_operation(menu)

    def mnuSaveWork_Click(self) -> None:
        """Save Work: a pending edit first; the Files List only when something changed."""
        session = self.session
        try:
            if self._description_changed:
                self.Description_Update()
                session.ChangesMade = True
                self._description_changed = False
            # A save that failed (reported under "SaveWork") saved nothing: the work
            # stays changed, so that closing still asks about it.
            if session.ChangesMade and SaveWork(session, self.entries):
                session.ChangesMade = False
        except Exception as error:
            session.ReportError("mnuSaveWork_Click", error)

    def mnuDownOneFile_Click(self) -> None:
        try:
            self._step(1)
        except Exception as error:
            self.session.ReportError("mnuDownOneFile_Click", error)

    def mnuUpOneFile_Click(self) -> None:
        try:
            self._step(-1)
        except Exception as error:
            self.session.ReportError("mnuUpOneFile_Click", error)

    def _step(self, delta: int) -> None:
        count = self.names_model.rowCount()
        if not count:
            return
        row = self.current_index()
        target = 0 if row < 0 else row + delta
        if 0 <= target < count and target != row:
            self._set_current(target, QItemSelectionModel.SelectionFlag.ClearAndSelect)

    def mnuClose_Click(self) -> None:
        """The Close command: no area switch is under way; close the editor's window."""
        try:
            self.session.SwitchingAreas = False
            window = self.parentWidget()
            if isinstance(window, QMdiSubWindow):
                window.close()
            else:
                self.close()
        except Exception as error:
            self.session.ReportError("mnuClose_Click", error)

    def Status_Bar_Click(self) -> None:
        """Flip the Status Bar check mark and the main frame's ``sbStatusBar2`` with it."""
        self.mnuStatusBar.toggle()

    def Tool_Bar_Click(self) -> None:
        """Flip the Toolbar check mark and the main frame's ``tbToolBar2`` with it."""
        self.mnuToolBar.toggle()

    def _status_bar_toggled(self, checked: bool) -> None:
        self._show_frame_bar("sbStatusBar2", checked)

    def _tool_bar_toggled(self, checked: bool) -> None:
        self._show_frame_bar("tbToolBar2", checked)

    def _show_frame_bar(self, name: str, visible: bool) -> None:
        bar = getattr(self.main_frame, name, None) if self.main_frame is not None else None
        if isinstance(bar, QWidget):
            bar.setVisible(visible)
        elif name == "sbStatusBar2" and self._own_status_bar:
            self.sbStatusBar2.setVisible(visible)

    # -- closing -----------------------------------------------------------------------------------

    def closeEvent(self, event: Any) -> None:
        self.Form_Unload()
        super().closeEvent(event)

    def Form_Unload(self) -> None:
        """Close the area: pending edit, list, animation, frame, sort view, ``AreaNumber``."""
        if self._unloaded:
            return
        self._unloaded = True
        session = self.session
        try:
            if self._description_changed:
                self.Description_Update()
            with self._quietly():
                self.names_model.clear()
            self._position = -1
            self._description_changed = False
            self.stop_animation()
            if self.animation is not None:
                self.animation.close_clip()
            self._clock.stop()
            if not self._own_status_bar:
                self._remove_status_panes()
            if not session.SwitchingAreas and self.main_frame is not None:
                editor_closed = getattr(self.main_frame, "editor_closed", None)
                if callable(editor_closed):
                    editor_closed()
            self.sort_view.Form_Unload()
            session.area.AreaNumber = 0
        except Exception as error:
            session.ReportError("Unload_frmEditFileArea", error)
        self.closed.emit()
