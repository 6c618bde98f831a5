"""The area chooser of Part 5.2 (``frmFileAreaTitles``, caption "Open File Areas").

One row per area record, in area-number order, in one table model
(:class:`AreaTitlesModel`: "File Area Names" and "Record #").  The list view
``lsvFileAreaTitles`` shows that model in the spec's four view modes: a
``QListView`` for large icons, small icons and list, a ``QTreeView`` with
columns for details; both views share the model and one selection model, so
the selected row is the same whichever mode shows.

Decisions where the spec is silent:

* Cancel and Close unload without saving the chooser's settings (the spec
  saves them in OK's step 1 only).
* Refresh (``mnuRefresh``) reads the areas again, as Load's steps 5 and 6 do,
  and selects the first row again.
* Arrangement applies to the two icon modes: none and top lay the icons out
  left to right in rows, left lays them top to bottom in columns; the list
  mode always runs top to bottom in columns (as a Windows list view does).
* OK is disabled while the list is empty (a board without area records).
* Record numbers are left-aligned, as the leading blank of VB's ``Str``
  suggests.
"""

from __future__ import annotations

import contextlib
from typing import TYPE_CHECKING, Any

from PySide6.QtCore import QAbstractTableModel, QModelIndex, QPersistentModelIndex, QSize, Qt
from PySide6.QtGui import QActionGroup, QCloseEvent, QKeyEvent
from PySide6.QtWidgets import (
    QAbstractItemView,
    QHBoxLayout,
    QListView,
    QMdiSubWindow,
    QMenuBar,
    QPushButton,
    QStackedWidget,
    QStyle,
    QTreeView,
    QVBoxLayout,
    QWidget,
)

from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.error_log import vb_str
from kelvane.board.session import Session
from kelvane.shell.settings import (
    CHOOSER_ARRANGE,
    CHOOSER_COLUMN_1_WIDTH,
    CHOOSER_COLUMN_2_WIDTH,
    CHOOSER_VIEW,
    CHOOSER_WINDOW_STATE,
    KELVANE_STARTUP,
    STATE_MAXIMIZED,
    STATE_MINIMIZED,
    STATE_NORMAL,
    pixels_to_twips,
    twips_to_pixels,
)

if TYPE_CHECKING:
    from kelvane.shell.main_frame import MainFrame
    from kelvane.shell.settings import ShellSettings

CAPTION = "Open File Areas"
COLUMNS = ("File Area Names", "Record #")
DEFAULT_COLUMN_WIDTHS = (1440.0, 720.0)

VIEW_LARGE_ICONS = 0
VIEW_SMALL_ICONS = 1
VIEW_LIST = 2
VIEW_DETAILS = 3
ARRANGE_NONE = 0
ARRANGE_LEFT = 1
ARRANGE_TOP = 2

_Index = QModelIndex | QPersistentModelIndex


class AreaTitlesModel(QAbstractTableModel):
    """The chooser's rows: (title, area number); row r is area r + 1."""

    def __init__(self, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self._titles: list[str] = []
        style = parent.style() if parent is not None else None
        self._icon = (
            style.standardIcon(QStyle.StandardPixmap.SP_DirIcon) if style is not None else None
        )

    def set_titles(self, titles: list[str]) -> None:
        self.beginResetModel()
        self._titles = list(titles)
        self.endResetModel()

    def titles(self) -> list[str]:
        return list(self._titles)

    def rowCount(self, parent: _Index = QModelIndex()) -> int:  # noqa: B008
        return 0 if parent.isValid() else len(self._titles)

    def columnCount(self, parent: _Index = QModelIndex()) -> int:  # noqa: B008
        return 0 if parent.isValid() else len(COLUMNS)

    def data(self, index: _Index, role: int = Qt.ItemDataRole.DisplayRole) -> Any:
        if not index.isValid() or not 0 <= index.row() < len(self._titles):
            return None
        if role in (Qt.ItemDataRole.DisplayRole, Qt.ItemDataRole.ToolTipRole):
            if index.column() == 0:
                return self._titles[index.row()]
            return vb_str(index.row() + 1)
        if role == Qt.ItemDataRole.DecorationRole and index.column() == 0:
            return self._icon
        return None

    def headerData(
        self, section: int, orientation: Qt.Orientation, role: int = Qt.ItemDataRole.DisplayRole
    ) -> Any:
        if orientation == Qt.Orientation.Horizontal and role == Qt.ItemDataRole.DisplayRole:
            return COLUMNS[section]
        return None


class AreaListView(QStackedWidget):
    """``lsvFileAreaTitles``: the four view modes and the arrangement over one model."""

    def __init__(self, model: AreaTitlesModel, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.setObjectName("lsvFileAreaTitles")
        self.model = model
        self.icons = QListView(self)
        self.icons.setObjectName("lsvFileAreaTitlesIcons")
        self.icons.setModel(model)
        # Not uniform: each title gets its own width (a board has some hundreds of
        # areas at most; the batched layout keeps that quick).
        self.icons.setUniformItemSizes(False)
        self.icons.setLayoutMode(QListView.LayoutMode.Batched)
        self.icons.setBatchSize(500)
        self.icons.setResizeMode(QListView.ResizeMode.Adjust)
        self.icons.setMovement(QListView.Movement.Static)
        self.icons.setWordWrap(True)
        self.details = QTreeView(self)
        self.details.setObjectName("lsvFileAreaTitlesDetails")
        self.details.setModel(model)
        self.details.setSelectionModel(self.icons.selectionModel())
        self.details.setRootIsDecorated(False)
        self.details.setItemsExpandable(False)
        self.details.setUniformRowHeights(True)
        self.details.setAllColumnsShowFocus(True)
        self.details.header().setStretchLastSection(False)
        for view in (self.icons, self.details):
            view.setSelectionMode(QAbstractItemView.SelectionMode.SingleSelection)
            view.setSelectionBehavior(QAbstractItemView.SelectionBehavior.SelectRows)
            view.setEditTriggers(QAbstractItemView.EditTrigger.NoEditTriggers)
        self.addWidget(self.icons)
        self.addWidget(self.details)
        self._view = VIEW_LARGE_ICONS
        self._arrange = ARRANGE_NONE
        self._apply()

    @property
    def View(self) -> int:
        return self._view

    @View.setter
    def View(self, value: int) -> None:
        self._view = (
            value
            if value in (VIEW_LARGE_ICONS, VIEW_SMALL_ICONS, VIEW_LIST, VIEW_DETAILS)
            else VIEW_LARGE_ICONS
        )
        self._apply()

    @property
    def Arrange(self) -> int:
        return self._arrange

    @Arrange.setter
    def Arrange(self, value: int) -> None:
        self._arrange = (
            value if value in (ARRANGE_NONE, ARRANGE_LEFT, ARRANGE_TOP) else ARRANGE_NONE
        )
        self._apply()

    def _apply(self) -> None:
        view = self.icons
        if self._view == VIEW_DETAILS:
            self.setCurrentWidget(self.details)
            return
        self.setCurrentWidget(view)
        view.setWrapping(True)
        large = self._view == VIEW_LARGE_ICONS
        # Titles wrap under the large icons only; beside a small icon a title keeps
        # one line, as wide as the longest title, so that none is cut short.
        view.setWordWrap(large)
        if self._view == VIEW_LIST:
            view.setViewMode(QListView.ViewMode.ListMode)
            view.setFlow(QListView.Flow.TopToBottom)
            view.setIconSize(QSize(16, 16))
            view.setGridSize(QSize())
            return
        view.setViewMode(QListView.ViewMode.IconMode if large else QListView.ViewMode.ListMode)
        view.setIconSize(QSize(32, 32) if large else QSize(16, 16))
        view.setGridSize(self._large_grid() if large else QSize())
        left = self._arrange == ARRANGE_LEFT
        view.setFlow(QListView.Flow.TopToBottom if left else QListView.Flow.LeftToRight)
        view.setMovement(QListView.Movement.Static)

    def _large_grid(self) -> QSize:
        """A large icon's cell: room for two lines of about fourteen characters of title."""
        metrics = self.icons.fontMetrics()
        width = max(112, metrics.horizontalAdvance("M") * 9)
        return QSize(width, 32 + 3 * metrics.lineSpacing() + 8)

    def column_width_twips(self, column: int) -> float:
        return pixels_to_twips(self.details.columnWidth(column))

    def set_column_width_twips(self, column: int, twips: float) -> None:
        self.details.setColumnWidth(column, max(0, twips_to_pixels(twips)))

    def selected_row(self) -> int:
        """The selected row (first = 0), -1 when none."""
        rows = self.icons.selectionModel().selectedRows()
        if rows:
            return rows[0].row()
        current = self.icons.currentIndex()
        return current.row() if current.isValid() else -1

    def select_row(self, row: int) -> None:
        if 0 <= row < self.model.rowCount():
            index = self.model.index(row, 0)
            self.icons.setCurrentIndex(index)
            self.icons.scrollTo(index)
            self.details.scrollTo(index)

    def setFocus(self) -> None:  # type: ignore[override]
        self.currentWidget().setFocus()


class frmFileAreaTitles(QWidget):
    """The area chooser, a child form of the main frame."""

    def __init__(self, session: Session, main_frame: MainFrame) -> None:
        super().__init__()
        self.session = session
        self.main_frame = main_frame
        self.setObjectName("frmFileAreaTitles")
        self.setWindowTitle(CAPTION)
        self.WindowState = STATE_NORMAL
        self._unloaded = False

        self.titles_model = AreaTitlesModel(self)
        self.lsvFileAreaTitles = AreaListView(self.titles_model, self)
        for view in (self.lsvFileAreaTitles.icons, self.lsvFileAreaTitles.details):
            view.doubleClicked.connect(self._row_double_clicked)
        self.cmdOK = QPushButton("&OK", self)
        self.cmdOK.setObjectName("cmdOK")
        self.cmdOK.setDefault(True)
        self.cmdOK.clicked.connect(self.cmdOK_Click)
        self.cmdCancel = QPushButton("&Cancel", self)
        self.cmdCancel.setObjectName("cmdCancel")
        self.cmdCancel.clicked.connect(self.cmdCancel_Click)

        menu_bar = QMenuBar(self)
        menu_bar.setNativeMenuBar(False)
        file_menu = menu_bar.addMenu("&File")
        file_menu.setObjectName("mnuFile")
        self.mnuRefresh = file_menu.addAction("&Refresh")
        self.mnuRefresh.setObjectName("mnuRefresh")
        self.mnuRefresh.triggered.connect(self.mnuRefresh_Click)
        file_menu.addSeparator()
        self.mnuClose = file_menu.addAction("&Close")
        self.mnuClose.setObjectName("mnuClose")
        self.mnuClose.triggered.connect(self.cmdCancel_Click)
        view_menu = menu_bar.addMenu("&View")
        view_menu.setObjectName("mnuView")
        self.view_items = {}
        view_group = QActionGroup(self)
        for value, (name, caption) in enumerate(
            (
                ("mnuLargeIcons", "Lar&ge Icons"),
                ("mnuSmallIcons", "S&mall Icons"),
                ("mnuList", "&List"),
                ("mnuDetails", "&Details"),
            )
        ):
            item = view_menu.addAction(caption)
            item.setObjectName(name)
            item.setCheckable(True)
            view_group.addAction(item)
            item.triggered.connect(lambda _checked=False, v=value: self.mnuView_Click(v))
            self.view_items[value] = item
            setattr(self, name, item)
        view_menu.addSeparator()
        arrange_menu = view_menu.addMenu("Arrange &Icons")
        arrange_menu.setObjectName("mnuArrange")
        self.arrange_items = {}
        arrange_group = QActionGroup(self)
        for value, (name, caption) in enumerate(
            (("mnuArrangeNone", "&None"), ("mnuArrangeLeft", "&Left"), ("mnuArrangeTop", "&Top"))
        ):
            item = arrange_menu.addAction(caption)
            item.setObjectName(name)
            item.setCheckable(True)
            arrange_group.addAction(item)
            item.triggered.connect(lambda _checked=False, v=value: self.mnuArrange_Click(v))
            self.arrange_items[value] = item
            setattr(self, name, item)
        help_menu = menu_bar.addMenu("&Help")
        help_menu.setObjectName("mnuHelp")
        help_menu.addAction(main_frame.mnuHelpContents)
        help_menu.addAction(main_frame.mnuHelpSearch)
        help_menu.addSeparator()
        help_menu.addAction(main_frame.mnuHelpAbout)
        help_menu.addAction(main_frame.mnuTechSupportInfo)

        buttons = QHBoxLayout()
        buttons.addStretch(1)
        buttons.addWidget(self.cmdOK)
        buttons.addWidget(self.cmdCancel)
        layout = QVBoxLayout(self)
        layout.setMenuBar(menu_bar)
        layout.addWidget(self.lsvFileAreaTitles, 1)
        layout.addLayout(buttons)
        self.resize(520, 380)

    # ================================================================ settings

    def _settings(self) -> ShellSettings:
        return self.main_frame.settings

    def save_settings(self) -> None:
        settings = self._settings()
        settings.save_number(KELVANE_STARTUP, CHOOSER_WINDOW_STATE, self.window_state())
        settings.save_number(KELVANE_STARTUP, CHOOSER_VIEW, self.lsvFileAreaTitles.View)
        settings.save_number(KELVANE_STARTUP, CHOOSER_ARRANGE, self.lsvFileAreaTitles.Arrange)
        settings.save_number(
            KELVANE_STARTUP, CHOOSER_COLUMN_1_WIDTH, self.lsvFileAreaTitles.column_width_twips(0)
        )
        settings.save_number(
            KELVANE_STARTUP, CHOOSER_COLUMN_2_WIDTH, self.lsvFileAreaTitles.column_width_twips(1)
        )

    def window_state(self) -> int:
        window = self.parentWidget()
        if isinstance(window, QMdiSubWindow):
            if window.isMinimized():
                return STATE_MINIMIZED
            if window.isMaximized():
                return STATE_MAXIMIZED
            return STATE_NORMAL
        return self.WindowState

    # ================================================================ load

    def Form_Load(self) -> None:
        session = self.session
        settings = self._settings()
        try:
            self.WindowState = settings.integer(KELVANE_STARTUP, CHOOSER_WINDOW_STATE, STATE_NORMAL)
            self.set_view(settings.integer(KELVANE_STARTUP, CHOOSER_VIEW, VIEW_LARGE_ICONS))
            self.set_arrange(settings.integer(KELVANE_STARTUP, CHOOSER_ARRANGE, ARRANGE_NONE))
            for column, key in enumerate((CHOOSER_COLUMN_1_WIDTH, CHOOSER_COLUMN_2_WIDTH)):
                width = settings.single(KELVANE_STARTUP, key, DEFAULT_COLUMN_WIDTHS[column])
                self.lsvFileAreaTitles.set_column_width_twips(column, width)
            self.read_areas()
        except Exception as error:
            session.ReportError("Load_frmFileAreaTitles", error)

    def read_areas(self) -> None:
        """Load's steps 5 and 6: every area's title, then the first row selected."""
        session = self.session
        area = session.area
        library = session.record_set
        library.OpenAreas(area.MainNodePath)
        count = library.AreaCount()
        titles: list[str] = []
        # The loop runs on the shared AreaNumber, which holds AreaCount + 1 afterwards.
        area.AreaNumber = 1
        while area.AreaNumber <= count:
            library.SelectArea(area.AreaNumber)
            titles.append(library.AreaTitle())
            area.AreaNumber += 1
        self.titles_model.set_titles(titles)
        library.CloseAreas()
        self.lsvFileAreaTitles.select_row(0)
        self.cmdOK.setEnabled(bool(titles))

    def set_view(self, value: int) -> None:
        """Set the view mode, read it back and check its menu item."""
        self.lsvFileAreaTitles.View = value
        self.view_items[self.lsvFileAreaTitles.View].setChecked(True)

    def set_arrange(self, value: int) -> None:
        self.lsvFileAreaTitles.Arrange = value
        self.arrange_items[self.lsvFileAreaTitles.Arrange].setChecked(True)

    def mnuView_Click(self, value: int) -> None:
        """A view menu item: the list's view mode, the check mark moved to the item."""
        try:
            self.set_view(value)
        except Exception as error:
            self.session.ReportError("mnuView_Click", error)

    def mnuArrange_Click(self, value: int) -> None:
        """An arrange menu item: the list's arrangement, the check mark moved to the item."""
        try:
            self.set_arrange(value)
        except Exception as error:
            self.session.ReportError("mnuArrange_Click", error)

    def selected_text(self) -> str:
        row = self.lsvFileAreaTitles.selected_row()
        titles = self.titles_model.titles()
        return titles[row] if 0 <= row < len(titles) else ""

    def show_in(self, frame: MainFrame) -> None:
        """Shown as a child form of the frame, in the saved state."""
        size = self.size().expandedTo(self.minimumSizeHint())
        window = frame.add_child(self)
        if self.WindowState == STATE_MAXIMIZED:
            window.showMaximized()
        elif self.WindowState == STATE_MINIMIZED:
            window.showMinimized()
        else:
            window.show()
            # The child window opens at the form's designed size (showing it shrinks
            # it to the layout's minimum), within the frame's work area.
            room = frame.mdiArea.viewport().size()
            window.resize(
                min(size.width() + window.width() - self.width(), max(room.width(), 200)),
                min(size.height() + window.height() - self.height(), max(room.height(), 150)),
            )
        self.lsvFileAreaTitles.setFocus()

    # ================================================================ commands

    def mnuRefresh_Click(self) -> None:
        try:
            self.read_areas()
        except Exception as error:
            self.session.ReportError("mnuRefresh_Click", error)

    def _row_double_clicked(self, index: QModelIndex) -> None:
        if index.isValid():
            self.cmdOK_Click()

    def cmdOK_Click(self) -> None:
        session = self.session
        area = session.area
        frame = self.main_frame
        if self.lsvFileAreaTitles.selected_row() < 0:
            return  # an empty board: there is no area to open
        try:
            with session.port.busy():
                self.save_settings()
                area.AreaNumber = self.lsvFileAreaTitles.selected_row() + 1
                area.AreaTitle = self.selected_text()
                frame.fill_area_box(self.titles_model.titles(), area.AreaNumber - 1)
                editor = (
                    frame.open_area_forms(area.AreaTitle) if Farea_Dat_Initialize(session) else None
                )
                if editor is not None:
                    frame.show_area_bars()
                    frame.show_editor(editor)
                    self.unload()
                else:
                    frame.show_no_area_bars()
                    area.AreaNumber = 0
                    self.unload()
        except Exception as error:
            session.ReportError("frmFileAreaTitles_cmdOk", error)
            # OK always ends with the chooser unloaded (Part 5.2, State and lifecycle).
            with contextlib.suppress(Exception):
                self.unload()

    def keyPressEvent(self, event: QKeyEvent) -> None:
        """Enter is OK (or the focused button), Escape is Cancel, as in a dialog."""
        key = event.key()
        if key in (Qt.Key.Key_Return, Qt.Key.Key_Enter):
            focused = self.focusWidget()
            button = focused if isinstance(focused, QPushButton) else self.cmdOK
            if button.isEnabled():
                button.click()
            event.accept()
            return
        if key == Qt.Key.Key_Escape:
            self.cmdCancel.click()
            event.accept()
            return
        super().keyPressEvent(event)

    def cmdCancel_Click(self) -> None:
        try:
            self.unload()
        except Exception as error:
            self.session.ReportError("cmdCancel_Click", error)

    # ================================================================ unload

    def unload(self) -> None:
        """Close the chooser's child window; its close runs ``Form_Unload``."""
        window = self.parentWidget()
        if isinstance(window, QMdiSubWindow):
            window.close()
        else:
            self.close()
        self.Form_Unload()

    def closeEvent(self, event: QCloseEvent) -> None:
        self.Form_Unload()
        event.accept()

    def Form_Unload(self) -> None:
        if self._unloaded:
            return
        self._unloaded = True
        self.main_frame.chooser_unloaded(self)
