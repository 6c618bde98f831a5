"""The main frame of Part 5.1: menus, three toolbars, two status bars, the child forms.

The frame owns the run's one :class:`~kelvane.board.session.Session` (on a
:class:`~kelvane.shell.qt_port.QtPort`), holds the child forms (area chooser,
Files List editor) in a ``QMdiArea``, restores and saves its placement and
the main node path, opens the area chooser, switches areas from the area
box, forwards the editor toolbar's buttons to the editor, and at shut-down
offers Make Index (Part 4.1).

Decisions where the spec is silent (see also the modules of Parts 5.2, 5.3):

* The frame's object name is "MainFrame"; its procedures report under the
  spec's names ("Load_MDIForm", "mnuOpenFileAreas_Click",
  "Unload_frmEditFileArea" for the switch, "Load_Status_Bar1",
  "MDIForm_Unload" for the shut-down).
* The frame's design size is three quarters of the screen, so the spec's
  first-start defaults, computed faithfully from the design size before the
  size is restored, centre the frame at three quarters of the screen.
* ``tbToolBar3`` carries the area box and one button, "Switch"; a button
  press starts the switch, choosing in the box alone does not (the spec's
  trigger is a button press; browsing the box with the arrow keys must not
  close the open area).
* At shut-down the child forms are unloaded first (the editor's question
  about unsaved changes comes before the Make Index question), as the
  original's MDI frame unloaded its children before its own unload.
* A "MainWindowState" other than 0, 1 or 2 opens the frame normal.
* ``tbToolBar3`` sits on a toolbar row of its own, below ``tbToolBar1`` and
  ``tbToolBar2``, so that the area box and its Switch button stay in view in a
  narrow frame.
* ``sbStatusBar2`` is shown with the editor (the "Area open" state of
  Part 5.1's table) and hidden again with the toolbars.
"""

from __future__ import annotations

import os
import platform
import sys
from collections.abc import Callable
from typing import TYPE_CHECKING

from PySide6 import __version__ as PYSIDE_VERSION
from PySide6.QtCore import QDate, QEvent, QLocale, QObject, QRect, QSize, Qt, qVersion
from PySide6.QtGui import QAction, QCloseEvent, QGuiApplication
from PySide6.QtWidgets import (
    QComboBox,
    QDialog,
    QDialogButtonBox,
    QLabel,
    QListWidget,
    QListWidgetItem,
    QMainWindow,
    QMdiArea,
    QMdiSubWindow,
    QStatusBar,
    QStyle,
    QToolBar,
    QVBoxLayout,
    QWidget,
    QWidgetAction,
)

from kelvane import __version__
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.session import Session
from kelvane.board.user_port import Buttons, Icon, MessageBox
from kelvane.editor.commands import TOOLBAR_KEYS
from kelvane.platform.farea_format import find_farea_file
from kelvane.platform.program_directory import join_program_path
from kelvane.platform.settings_store import APP_NAME, IniSettingsStore
from kelvane.shell.qt_port import QtPort
from kelvane.shell.settings import (
    KELVANE_STARTUP,
    MAIN_HEIGHT,
    MAIN_LEFT,
    MAIN_TOP,
    MAIN_WIDTH,
    STATE_MAXIMIZED,
    STATE_MINIMIZED,
    ShellSettings,
    pixels_to_twips,
    twips_to_pixels,
)

if TYPE_CHECKING:
    from kelvane.editor.editor_form import frmEditFileArea
    from kelvane.index.make_index_form import frmMakeIndex
    from kelvane.shell.area_chooser import frmFileAreaTitles
    from kelvane.shell.help_window import HelpWindow
    from kelvane.sortmove.sort_view_form import frmEditFileArealsv

APPLICATION_TITLE = "Kelvane"
HELP_FILE_NAME = "KELV32.HLP"
LOADING_AREAS_TEXT = "Loading File Area Folders, Please wait..."
NO_HELP_TEXT = "Unable to display Help Contents. There is no Help associated with this project."
AREA_BOX_TOOLTIP = "Allows selection of a new File Area."
EDITOR_CAPTION = "Editing File Area: "
#: The frame is designed at this share of the screen (Part 5.1's defaults).
DESIGN_SHARE = 0.75

SP = QStyle.StandardPixmap

#: The editor toolbar's buttons: key -> (command, status tip, standard icon), in Part 5.1's
#: order.  The command is the editor menu's caption without its "&" (Parts 2.1 to 3.2) and
#: is the button's text and tooltip; the status tip says what it does.
EDITOR_BUTTONS: dict[str, tuple[str, str, QStyle.StandardPixmap]] = {
    "Close": ("Close", "Close this File Area", SP.SP_TitleBarCloseButton),
    "DownOneFile": ("Down One File", "Move the selection one file down", SP.SP_ArrowDown),
    "UpOneFile": ("Up One File", "Move the selection one file up", SP.SP_ArrowUp),
    "SelectAllFiles": ("Select all Files", "Select all files", SP.SP_DialogApplyButton),
    "UnselectAllFiles": ("No Select all Files", "Clear the selection", SP.SP_DialogNoButton),
    "SaveWork": ("Save Work", "Save the Files List", SP.SP_DialogSaveButton),
    "DeleteFiles": (
        "Delete Files",
        "Delete the selected files from the File Area",
        SP.SP_TrashIcon,
    ),
    "EraseFilesListsOnly": (
        "Erase File / List Only",
        "Erase the selected entries from the Files List only",
        SP.SP_DialogResetButton,
    ),
    "FileScan": (
        "File Scan",
        "Scan the area's directories for new files",
        SP.SP_FileDialogContentsView,
    ),
    "FileDate": ("File Date", "Refresh the selected entries' dates", SP.SP_FileDialogInfoView),
    "FileLength": (
        "File Length",
        "Refresh the selected entries' sizes",
        SP.SP_FileDialogDetailedView,
    ),
    "MoveFiles": ("Move Files", "Move the selected files to another File Area", SP.SP_DirLinkIcon),
    "ReadDiz": ("Read DIZ", "Take descriptions from the archives' FILE_ID.DIZ", SP.SP_FileIcon),
    "RemoveUploadedBy": (
        'Remove "Uploaded By"',
        'Strip the "Uploaded By" lines from the selected descriptions',
        SP.SP_LineEditClearButton,
    ),
    "SortFiles": (
        "Sort Files",
        "Sort the Files List by name, size or date",
        SP.SP_FileDialogListView,
    ),
}


class ToolbarCustomizeDialog(QDialog):
    """The editor toolbar's customize dialog (double-click on ``tbToolBar2``): which buttons show."""

    def __init__(self, toolbar: QToolBar, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.setObjectName("dlgCustomizeToolbar")
        self.setWindowTitle("Customize Toolbar")
        self.toolbar = toolbar
        self.lstButtons = QListWidget(self)
        self.lstButtons.setObjectName("lstButtons")
        for action in toolbar.actions():
            if action.isSeparator() or not action.objectName():
                continue
            item = QListWidgetItem(action.icon(), action.text())
            item.setData(Qt.ItemDataRole.UserRole, action.objectName())
            item.setFlags(item.flags() | Qt.ItemFlag.ItemIsUserCheckable)
            item.setCheckState(
                Qt.CheckState.Checked if action.isVisible() else Qt.CheckState.Unchecked
            )
            self.lstButtons.addItem(item)
        buttons = QDialogButtonBox(
            QDialogButtonBox.StandardButton.Ok | QDialogButtonBox.StandardButton.Cancel, self
        )
        buttons.accepted.connect(self.accept)
        buttons.rejected.connect(self.reject)
        layout = QVBoxLayout(self)
        layout.addWidget(self.lstButtons)
        layout.addWidget(buttons)
        # Every button in view without scrolling, its whole caption readable.
        rows = self.lstButtons.count()
        if rows:
            frame = 2 * self.lstButtons.frameWidth() + 4
            self.lstButtons.setMinimumSize(
                self.lstButtons.sizeHintForColumn(0) + frame + 24,
                self.lstButtons.sizeHintForRow(0) * rows + frame,
            )

    def apply(self) -> None:
        shown = {
            self.lstButtons.item(row).data(Qt.ItemDataRole.UserRole)
            for row in range(self.lstButtons.count())
            if self.lstButtons.item(row).checkState() == Qt.CheckState.Checked
        }
        for action in self.toolbar.actions():
            if action.objectName():
                action.setVisible(action.objectName() in shown)


class MainFrame(QMainWindow):
    """The one top-level screen; see the module's documentation."""

    def __init__(
        self,
        settings: ShellSettings | None = None,
        session: Session | None = None,
        parent: QWidget | None = None,
    ) -> None:
        super().__init__(parent)
        self.setObjectName("MainFrame")
        self.setWindowTitle(APPLICATION_TITLE)
        self.settings = settings if settings is not None else ShellSettings()
        self.port = QtPort(parent=lambda: self, open_help=self.show_help_context)
        self.session = (
            session
            if session is not None
            else Session(self.port, code_page=self.settings.code_page())
        )
        #: The application's help file (start-up step 8); "" when none is set.
        self.help_file = ""
        self.help_window: HelpWindow | None = None
        self.chooser: frmFileAreaTitles | None = None
        self.editor: frmEditFileArea | None = None
        self.sort_view: frmEditFileArealsv | None = None
        self.frmMakeIndex: frmMakeIndex | None = None
        self.options_form: QWidget | None = None
        self._unloaded = False
        self._build()
        self.resize(self.design_size())
        self.MDIForm_Load()

    # ================================================================ building

    def _build(self) -> None:
        style = self.style()

        def action(
            name: str,
            text: str,
            slot: Callable[[], None] | None = None,
            pixmap: QStyle.StandardPixmap | None = None,
        ) -> QAction:
            item = QAction(text, self)
            item.setObjectName(name)
            if pixmap is not None:
                item.setIcon(style.standardIcon(pixmap))
            if slot is not None:
                item.triggered.connect(slot)
            return item

        # Menus.
        self.mnuOpenFileAreas = action(
            "mnuOpenFileAreas", "&Open File Areas", self.mnuOpenFileAreas_Click
        )
        self.mnuExit = action("mnuExit", "E&xit", self.mnuExit_Click)
        self.mnuViewToolbar = action("mnuViewToolbar", "&Toolbar", self.mnuViewToolbar_Click)
        self.mnuViewStatusBar = action(
            "mnuViewStatusBar", "Status &Bar", self.mnuViewStatusBar_Click
        )
        for toggle in (self.mnuViewToolbar, self.mnuViewStatusBar):
            toggle.setCheckable(True)
            toggle.setChecked(True)
        self.mnuViewOptions = action("mnuViewOptions", "&Options...", self.mnuViewOptions_Click)
        self.mnuHelpContents = action("mnuHelpContents", "&Contents", self.mnuHelpContents_Click)
        self.mnuHelpSearch = action(
            "mnuHelpSearch", "&Search For Help On...", self.mnuHelpSearch_Click
        )
        self.mnuHelpAbout = action("mnuHelpAbout", "&About Kelvane...", self.mnuHelpAbout_Click)
        self.mnuTechSupportInfo = action(
            "mnuTechSupportInfo", "&Technical Support Info", self.mnuTechSupportInfo_Click
        )
        bar = self.menuBar()
        self.mnuFile = bar.addMenu("&File")
        self.mnuFile.setObjectName("mnuFile")
        self.mnuFile.addAction(self.mnuOpenFileAreas)
        self.mnuFile.addSeparator()
        self.mnuFile.addAction(self.mnuExit)
        self.mnuView = bar.addMenu("&View")
        self.mnuView.setObjectName("mnuView")
        self.mnuView.addAction(self.mnuViewToolbar)
        self.mnuView.addAction(self.mnuViewStatusBar)
        self.mnuView.addSeparator()
        self.mnuView.addAction(self.mnuViewOptions)
        self.mnuHelp = bar.addMenu("&Help")
        self.mnuHelp.setObjectName("mnuHelp")
        self.mnuHelp.addAction(self.mnuHelpContents)
        self.mnuHelp.addAction(self.mnuHelpSearch)
        self.mnuHelp.addSeparator()
        self.mnuHelp.addAction(self.mnuHelpAbout)
        self.mnuHelp.addAction(self.mnuTechSupportInfo)

        # tbToolBar1: the main toolbar.  Qt's toolbars are flat already, which is
        # all that start-up step 5 (setting the native flat style bit) achieved.
        self.tbToolBar1 = QToolBar("Main", self)
        self.tbToolBar1.setObjectName("tbToolBar1")
        self.actOpenFileAreas = action("OpenFileAreas", "Open File Areas", pixmap=SP.SP_DirOpenIcon)
        self.actOpenFileAreas.setToolTip("Open File Areas")
        self.actExit = action("Exit", "Exit", pixmap=SP.SP_DialogCloseButton)
        self.actExit.setToolTip("Exit")
        self.tbToolBar1.addAction(self.actOpenFileAreas)
        self.tbToolBar1.addSeparator()
        self.tbToolBar1.addAction(self.actExit)
        self.tbToolBar1.actionTriggered.connect(self.tbToolBar1_ButtonClick)
        self.addToolBar(self.tbToolBar1)

        # tbToolBar2: the editor toolbar, one button per key of Part 5.1's table.
        self.tbToolBar2 = QToolBar("Editor", self)
        self.tbToolBar2.setObjectName("tbToolBar2")
        for key, _menu in TOOLBAR_KEYS:
            command, status_tip, pixmap = EDITOR_BUTTONS[key]
            button = action(key, command, pixmap=pixmap)
            button.setToolTip(command)
            button.setStatusTip(status_tip)
            self.tbToolBar2.addAction(button)
        self.tbToolBar2.actionTriggered.connect(
            lambda button: self.Tool_Bar_Click(button.objectName())
        )
        self.tbToolBar2.installEventFilter(self)
        self.addToolBar(self.tbToolBar2)

        # tbToolBar3: the area box in its placeholder, and the Switch button.
        self.tbToolBar3 = QToolBar("File Area", self)
        self.tbToolBar3.setObjectName("tbToolBar3")
        self.cboToolbar3 = QComboBox(self.tbToolBar3)
        self.cboToolbar3.setObjectName("cboToolbar3")
        self.cboToolbar3.setToolTip(AREA_BOX_TOOLTIP)
        self.cboToolbar3.setSizeAdjustPolicy(
            QComboBox.SizeAdjustPolicy.AdjustToMinimumContentsLengthWithIcon
        )
        self.cboToolbar3.setMinimumContentsLength(32)
        self.cboToolbar3.setMaxVisibleItems(20)
        self.cboToolBar3 = QWidgetAction(self.tbToolBar3)
        self.cboToolBar3.setObjectName("cboToolBar3")
        self.cboToolBar3.setDefaultWidget(self.cboToolbar3)
        self.tbToolBar3.addAction(self.cboToolBar3)
        self.actSwitchArea = action("SwitchArea", "&Switch", pixmap=SP.SP_BrowserReload)
        self.actSwitchArea.setToolTip("Open the File Area chosen in the box")
        self.tbToolBar3.addAction(self.actSwitchArea)
        self.tbToolBar3.actionTriggered.connect(self.tbToolBar3_ButtonClick)
        # Its own row: beside the fifteen editor buttons the box and its Switch button
        # do not fit below about 900 pixels, and Qt would hide Switch behind the
        # toolbar's extension button.
        self.addToolBarBreak(Qt.ToolBarArea.TopToolBarArea)
        self.addToolBar(self.tbToolBar3)

        # The child forms' area and the two status bars below it.
        self.mdiArea = QMdiArea(self)
        self.mdiArea.setObjectName("mdiArea")
        self.sbStatusBar1 = QStatusBar(self)
        self.sbStatusBar1.setObjectName("sbStatusBar1")
        self.sbStatusBar1Panel1 = QLabel(self.sbStatusBar1)
        self.sbStatusBar1Panel1.setObjectName("sbStatusBar1Panel1")
        self.sbStatusBar1.addWidget(self.sbStatusBar1Panel1, 1)
        self.sbStatusBar1Date = QLabel(self.sbStatusBar1)
        self.sbStatusBar1Date.setObjectName("sbStatusBar1Date")
        self.sbStatusBar1Date.setToolTip("Displays System's current Date.")
        self.sbStatusBar1.addPermanentWidget(self.sbStatusBar1Date)
        self.sbStatusBar2 = QStatusBar(self)
        self.sbStatusBar2.setObjectName("sbStatusBar2")
        self.sbStatusBar2.setSizeGripEnabled(False)
        central = QWidget(self)
        layout = QVBoxLayout(central)
        layout.setContentsMargins(0, 0, 0, 0)
        layout.setSpacing(0)
        layout.addWidget(self.mdiArea, 1)
        layout.addWidget(self.sbStatusBar2)
        layout.addWidget(self.sbStatusBar1)
        self.setCentralWidget(central)

    def eventFilter(self, watched: QObject, event: QEvent) -> bool:
        if watched is self.tbToolBar2 and event.type() == QEvent.Type.MouseButtonDblClick:
            self.customize_editor_toolbar()
            return True
        if event.type() == QEvent.Type.Close and isinstance(watched, QMdiSubWindow):
            self.editor_window_closing(watched)
        return super().eventFilter(watched, event)

    def editor_window_closing(self, window: QMdiSubWindow) -> None:
        """The editor's window closed by the user (its close box, Ctrl+F4) is Close.

        The frame's own unloads (the switch, the shut-down) unload the editor
        before they close its window; a close that finds the editor still loaded
        comes from the user and, like the editor's Close command, ends a switch
        (``SwitchingAreas`` = false), so that the editor's unload sets the frame
        back to its no-area bars instead of leaving the editor toolbar over no
        editor.
        """
        editor = self.editor
        if editor is not None and window.widget() is editor and not editor.unloaded:
            self.session.SwitchingAreas = False

    def customize_editor_toolbar(self) -> None:
        """``tbToolBar2``'s customize dialog: choose the buttons it shows."""
        try:
            dialog = ToolbarCustomizeDialog(self.tbToolBar2, self)
            if dialog.exec() == QDialog.DialogCode.Accepted:
                dialog.apply()
            dialog.deleteLater()
        except Exception as error:
            self.session.ReportError("tbToolBar2_DblClick", error)

    # ================================================================ placement

    def screen_geometry(self) -> QRect:
        screen = self.screen() or QGuiApplication.primaryScreen()
        return screen.geometry()

    def design_size(self) -> QSize:
        """The frame's size as designed: three quarters of the screen."""
        screen = self.screen_geometry()
        return screen.size() * DESIGN_SHARE

    def placement_twips(self) -> tuple[float, float, float, float]:
        """Left, top, width, height of the frame, in twips."""
        return (
            pixels_to_twips(self.x()),
            pixels_to_twips(self.y()),
            pixels_to_twips(self.width()),
            pixels_to_twips(self.height()),
        )

    def is_maximized_or_minimized(self) -> bool:
        return bool(
            self.windowState() & (Qt.WindowState.WindowMaximized | Qt.WindowState.WindowMinimized)
        )

    def restore_placement(self) -> None:
        """Start-up step 2: each of the four values with its default computed at that moment."""
        settings = self.settings
        screen = self.screen_geometry()
        screen_left = pixels_to_twips(screen.x())
        screen_top = pixels_to_twips(screen.y())
        screen_width = pixels_to_twips(screen.width())
        screen_height = pixels_to_twips(screen.height())
        left = settings.single(
            KELVANE_STARTUP,
            MAIN_LEFT,
            screen_left + (screen_width - pixels_to_twips(self.width())) / 2,
        )
        self.move(twips_to_pixels(left), self.y())
        top = settings.single(
            KELVANE_STARTUP,
            MAIN_TOP,
            screen_top + (screen_height - pixels_to_twips(self.height())) / 2,
        )
        self.move(self.x(), twips_to_pixels(top))
        width = settings.single(KELVANE_STARTUP, MAIN_WIDTH, screen_width * DESIGN_SHARE)
        self.resize(twips_to_pixels(width), self.height())
        height = settings.single(KELVANE_STARTUP, MAIN_HEIGHT, screen_height * DESIGN_SHARE)
        self.resize(self.width(), twips_to_pixels(height))

    def restore_window_state(self) -> None:
        state = self.settings.main_window_state()
        if state == STATE_MAXIMIZED:
            self.setWindowState(Qt.WindowState.WindowMaximized)
        elif state == STATE_MINIMIZED:
            self.setWindowState(Qt.WindowState.WindowMinimized)
        else:
            self.setWindowState(Qt.WindowState.WindowNoState)

    def reset_placement(self) -> None:
        """Options' Reset: the first-start placement, centred at three quarters of the screen."""
        screen = self.screen_geometry()
        size = self.design_size()
        if self.is_maximized_or_minimized():
            self.setWindowState(Qt.WindowState.WindowNoState)
        self.setGeometry(
            QRect(
                screen.x() + (screen.width() - size.width()) // 2,
                screen.y() + (screen.height() - size.height()) // 2,
                size.width(),
                size.height(),
            )
        )

    def save_placement(self) -> None:
        self.settings.save_placement(*self.placement_twips())

    # ================================================================ start-up

    def MDIForm_Load(self) -> None:
        """Start-up, in the spec's order."""
        session = self.session
        try:
            session.area.MainNodePath = self.settings.main_node_path()
            self.restore_placement()
            self.restore_window_state()
            self.sbStatusBar2.setVisible(False)
            self.tbToolBar2.setVisible(False)
            self.tbToolBar3.setVisible(False)
            self.Load_Status_Bar1()
            # Step 5 (tbToolBar1 flat): Qt toolbars are drawn flat; nothing to set.
            from kelvane.index.make_index_form import frmMakeIndex

            self.frmMakeIndex = frmMakeIndex(session, self)
            self.frmMakeIndex.setVisible(False)
            session.IndexPending = False
            self.help_file = join_program_path(session.app_path, HELP_FILE_NAME)
        except Exception as error:
            session.ReportError("Load_MDIForm", error)

    def Load_Status_Bar1(self) -> None:
        try:
            self.sbStatusBar1Date.setText(
                QLocale().toString(QDate.currentDate(), QLocale.FormatType.LongFormat)
            )
        except Exception as error:
            self.session.ReportError("Load_Status_Bar1", error)

    # ================================================================ status pane 1

    def status_text(self) -> str:
        return self.sbStatusBar1Panel1.text()

    def set_status_text(self, text: str) -> None:
        self.sbStatusBar1Panel1.setText(text)

    # ================================================================ toolbars 1 and 2

    def tbToolBar1_ButtonClick(self, button: QAction) -> None:
        try:
            key = button.objectName()
            if key == "OpenFileAreas":
                self.mnuOpenFileAreas_Click()
            elif key == "Exit":
                self.mnuExit_Click()
        except Exception as error:
            self.session.ReportError("tbToolBar1_ButtonClick", error)

    def Tool_Bar_Click(self, key: str) -> None:
        """The editor toolbar: exact key compare in table order, then the editor's handler."""
        try:
            for toolbar_key, _menu in TOOLBAR_KEYS:
                if toolbar_key == key:
                    editor = self.editor
                    handler = editor.handler_for_key(key) if editor is not None else None
                    if handler is not None:
                        handler()
                    return
        except Exception as error:
            self.session.ReportError("tbToolBar2_ButtonClick", error)

    def set_open_file_areas_enabled(self, enabled: bool) -> None:
        self.actOpenFileAreas.setEnabled(enabled)
        self.mnuOpenFileAreas.setEnabled(enabled)

    def show_no_area_bars(self) -> None:
        """The bars of the "No area open" state (switch step 7, chooser OK step 6).

        Open File Areas is available again (the area-dependent items of Part 2.1's
        closing), unless a chooser is shown.
        """
        self.tbToolBar2.setVisible(False)
        self.tbToolBar3.setVisible(False)
        self.tbToolBar1.setVisible(True)
        self.sbStatusBar1.setVisible(True)
        self.sbStatusBar2.setVisible(False)
        self.set_open_file_areas_enabled(self.chooser is None)

    def show_area_bars(self) -> None:
        """Hide ``tbToolBar1``, show ``tbToolBar2`` and ``tbToolBar3``.

        While an area is open Open File Areas is not available: its button is
        hidden with ``tbToolBar1``, and its menu item is disabled with it, so that
        one editor is open at a time (Part 2.1) and the chooser's load, which
        leaves ``AreaNumber`` at ``AreaCount`` + 1 (Part 5.2), never runs under an
        open area.  Another area is chosen from the area box.
        """
        self.tbToolBar1.setVisible(False)
        self.tbToolBar2.setVisible(True)
        self.tbToolBar3.setVisible(True)
        self.set_open_file_areas_enabled(False)

    # ================================================================ child forms

    def add_child(self, form: QWidget) -> QMdiSubWindow:
        window = self.mdiArea.addSubWindow(form)
        window.setAttribute(Qt.WidgetAttribute.WA_DeleteOnClose)
        return window

    def child_window(self, form: QWidget) -> QMdiSubWindow | None:
        for window in self.mdiArea.subWindowList():
            if window.widget() is form:
                return window
        return None

    def close_child(self, form: QWidget) -> None:
        """Close a form's child window (deleted with its form once closed)."""
        window = self.child_window(form)
        if window is not None:
            window.close()
        else:
            form.close()
            form.deleteLater()

    # ================================================================ Open File Areas

    def mnuOpenFileAreas_Click(self) -> None:
        session = self.session
        try:
            if self.chooser is not None or self.editor is not None:
                return  # disabled in these states; a shortcut or a queued trigger ends here
            path = session.area.MainNodePath
            if path == "":
                session.ShowAlert("NoPath")
                return
            if len(path) <= 3:
                session.ShowAlert("InValidPath")
                return
            if find_farea_file(path) is None:
                session.ShowAlert("NoFareaDatFile")
                return
            with self.port.busy():
                self.set_status_text(LOADING_AREAS_TEXT)
                self.set_open_file_areas_enabled(False)
                from kelvane.shell.area_chooser import frmFileAreaTitles

                chooser = frmFileAreaTitles(session, self)
                self.chooser = chooser
                chooser.Form_Load()
                chooser.show_in(self)
                self.set_status_text(chooser.selected_text())
                chooser.cmdOK.setFocus()
        except Exception as error:
            session.ReportError("mnuOpenFileAreas_Click", error)

    def chooser_unloaded(self, chooser: QWidget) -> None:
        """The chooser's unload (Part 5.2): Open File Areas enabled again, pane 1 reset."""
        if self.chooser is chooser:
            self.chooser = None
        self.set_open_file_areas_enabled(self.editor is None)
        self.set_status_text("")

    # ================================================================ the area forms

    def fill_area_box(self, titles: list[str], chosen: int) -> None:
        """Chooser OK step 3: the box emptied, every row's text added, the chosen index set."""
        box = self.cboToolbar3
        box.blockSignals(True)
        box.clear()
        box.addItems(titles)
        box.setCurrentIndex(chosen)
        box.blockSignals(False)

    def open_area_forms(self, title: str) -> frmEditFileArea | None:
        """Create and load a new sort view, then a new editor captioned with *title*.

        When the Files List cannot be read (the error has been reported under
        "Load_fEditFileArealsv") no editor opens: an editor over an empty
        list could save it over the operator's good one.
        """
        from kelvane.editor.editor_form import frmEditFileArea
        from kelvane.sortmove.sort_view_form import frmEditFileArealsv

        sort_view = frmEditFileArealsv(self.session, None, status=self.set_status_text)
        self.sort_view = sort_view
        if not sort_view.Form_Load():
            self.sort_view = None
            sort_view.deleteLater()
            return None
        editor = frmEditFileArea(self.session, sort_view, self)
        self.editor = editor
        editor.closed.connect(lambda: self._editor_gone(editor))
        editor.Form_Load()
        editor.setWindowTitle(EDITOR_CAPTION + title)
        return editor

    def show_editor(self, editor: frmEditFileArea) -> None:
        """Show the editor as a child form, focus its file list and select the first entry."""
        window = self.add_child(editor)
        window.installEventFilter(self)
        window.showMaximized()  # the editor is the frame's work: it fills it
        self.sbStatusBar2.setVisible(True)
        names = editor.lstFileNames
        names.setFocus()
        model = names.model()
        if model is not None and model.rowCount() > 0:
            names.setCurrentIndex(model.index(0, 0))

    def unload_area_forms(self) -> None:
        """Unload the editor, then the sort view (the editor's unload asks about changes)."""
        editor = self.editor
        if editor is not None:
            editor.Form_Unload()
            self.close_child(editor)
        sort_view = self.sort_view
        if sort_view is not None:
            self.sort_view = None
            sort_view.Form_Unload()
            sort_view.deleteLater()

    def editor_closed(self) -> None:
        """Called by the editor's unload when no switch is under way: the "No area open" bars."""
        self.show_no_area_bars()

    def _editor_gone(self, editor: QWidget) -> None:
        """The editor has unloaded (``closed``): the frame lets go of it and its sort view."""
        if self.editor is not editor:
            return
        self.editor = None
        sort_view = self.sort_view
        if sort_view is not None and not self.session.SwitchingAreas:
            self.sort_view = None
            sort_view.deleteLater()

    # ================================================================ the area switch

    def tbToolBar3_ButtonClick(self, button: QAction | None = None) -> None:
        """Any button of ``tbToolBar3``: switch to the area chosen in ``cboToolbar3``."""
        session = self.session
        area = session.area
        box = self.cboToolbar3
        try:
            with self.port.busy():
                session.SwitchingAreas = True
                self.unload_area_forms()
                area.AreaNumber = box.currentIndex() + 1
                # Step 4: the toolbar's layout places the box; the chosen index is set again.
                box.setCurrentIndex(area.AreaNumber - 1)
                # The spec's switch leaves AreaTitle at the previous area's; prompts and
                # captions of the new area should name it, so it is taken from the box.
                area.AreaTitle = box.currentText()
                editor = (
                    self.open_area_forms(box.currentText())
                    if Farea_Dat_Initialize(session)
                    else None
                )
                if editor is not None:
                    self.show_area_bars()
                    self.show_editor(editor)
                else:
                    self.show_no_area_bars()
                    area.AreaNumber = 0
                    box.clear()
        except Exception as error:
            session.ReportError("Unload_frmEditFileArea", error)

    # ================================================================ shut-down

    def mnuExit_Click(self) -> None:
        self.close()

    def closeEvent(self, event: QCloseEvent) -> None:
        if not self._unloaded:
            self._unloaded = True
            self.unload_child_forms()
            self.MDIForm_Unload()
            if self.help_window is not None:
                self.help_window.close()
        event.accept()

    def unload_child_forms(self) -> None:
        """The child forms unload before the frame (the original's MDI order)."""
        try:
            if self.options_form is not None:
                self.options_form.close()
            if self.chooser is not None:
                self.chooser.unload()
            self.unload_area_forms()
        except Exception as error:
            self.session.ReportError("MDIForm_Unload", error)

    def MDIForm_Unload(self) -> None:
        """Shut-down, in the spec's order."""
        session = self.session
        try:
            if session.IndexPending and session.ShowAlert("MakeIndex"):
                from kelvane.index.make_index import Make_Index_File

                # The unload is held off while the index is built: this runs before
                # the close event is accepted.
                Make_Index_File(session, self.frmMakeIndex)
            self.unload_make_index_form()
            self.settings.save_main_node_path(session.area.MainNodePath)
            if not self.is_maximized_or_minimized():
                self.save_placement()
            session.release_library()
        except Exception as error:
            session.ReportError("MDIForm_Unload", error)

    def unload_make_index_form(self) -> None:
        """The Make Index form's unload: the pending list is dropped."""
        form = self.frmMakeIndex
        self.session.make_index_list.clear()
        self.session.IndexPending = False
        if form is not None:
            self.frmMakeIndex = None
            form.end()
            form.close()
            form.deleteLater()

    # ================================================================ View

    def mnuViewToolbar_Click(self) -> None:
        try:
            self.tbToolBar1.setVisible(self.mnuViewToolbar.isChecked())
        except Exception as error:
            self.session.ReportError("mnuViewToolbar_Click", error)

    def mnuViewStatusBar_Click(self) -> None:
        try:
            self.sbStatusBar1.setVisible(self.mnuViewStatusBar.isChecked())
        except Exception as error:
            self.session.ReportError("mnuViewStatusBar_Click", error)

    def mnuViewOptions_Click(self) -> None:
        try:
            if self.options_form is not None:
                self.options_form.raise_()
                self.options_form.activateWindow()
                return
            from kelvane.shell.options import frmOptions

            form = frmOptions(self.session, self)
            self.options_form = form
            form.destroyed.connect(self._options_gone)
            form.Form_Load()
            form.show()
        except Exception as error:
            self.session.ReportError("mnuViewOptions_Click", error)

    def _options_gone(self) -> None:
        self.options_form = None

    # ================================================================ Help

    def help_available(self) -> bool:
        return bool(self.help_file) and os.path.isfile(self.help_file)

    def _help(self) -> HelpWindow | None:
        from kelvane.shell.help_window import HelpWindow, load_help

        if not self.help_available():
            self.port.message_box(
                MessageBox(APPLICATION_TITLE, NO_HELP_TEXT, Buttons.OK, Icon.INFORMATION)
            )
            return None
        if self.help_window is None:
            try:
                topics = load_help(self.help_file)
            except (OSError, UnicodeDecodeError):
                self.port.message_box(
                    MessageBox(APPLICATION_TITLE, NO_HELP_TEXT, Buttons.OK, Icon.INFORMATION)
                )
                return None
            self.help_window = HelpWindow(topics, self)
        return self.help_window

    def mnuHelpContents_Click(self) -> None:
        try:
            window = self._help()
            if window is not None:
                window.show_contents()
        except Exception as error:
            self.session.ReportError("mnuHelpContents_Click", error)

    def mnuHelpSearch_Click(self) -> None:
        try:
            window = self._help()
            if window is not None:
                window.show_search()
        except Exception as error:
            self.session.ReportError("mnuHelpSearch_Click", error)

    def show_help_topic(self, name: str) -> None:
        try:
            window = self._help()
            if window is not None and not window.show_topic(name):
                window.show_contents()
        except Exception as error:
            self.session.ReportError("show_help_topic", error)

    def show_help_context(self, context: int | None) -> None:
        """The help at a context number (an OK-and-Help box's Help button)."""
        try:
            window = self._help()
            if window is not None and (context is None or not window.show_context(context)):
                window.show_contents()
        except Exception as error:
            self.session.ReportError("show_help_context", error)

    def mnuHelpAbout_Click(self) -> None:
        try:
            text = "\r".join(
                [
                    f"Kelvane {__version__}",
                    "The file-area manager for Vandor bulletin-board operators.",
                    "",
                    f"Python {platform.python_version()}, Qt {qVersion()}, PySide6 {PYSIDE_VERSION}",
                ]
            )
            self.port.message_box(MessageBox("About Kelvane", text, Buttons.OK, Icon.INFORMATION))
        except Exception as error:
            self.session.ReportError("mnuHelpAbout_Click", error)

    def technical_support_text(self) -> str:
        store = self.settings.store
        if isinstance(store, IniSettingsStore):
            settings_place = os.fspath(store.path)
        else:
            settings_place = rf"HKEY_CURRENT_USER\Software\VB and VBA Program Settings\{APP_NAME}"
        return "\r".join(
            [
                f"Kelvane {__version__} on {platform.system()} {platform.release()}",
                f"Python {platform.python_version()} ({sys.executable})",
                f"Qt {qVersion()}, PySide6 {PYSIDE_VERSION}",
                "",
                "Program directory: " + self.session.app_path,
                "Settings: " + settings_place,
                "Error log: " + join_program_path(self.session.app_path, "Kelvane.err"),
                "Help file: " + (self.help_file or "(none)"),
                "Vandor Main Node: " + (self.session.area.MainNodePath or "(not set)"),
                "Code page: " + self.session.code_page,
            ]
        )

    def mnuTechSupportInfo_Click(self) -> None:
        try:
            self.port.message_box(
                MessageBox(
                    "Technical Support Info",
                    self.technical_support_text(),
                    Buttons.OK,
                    Icon.INFORMATION,
                )
            )
        except Exception as error:
            self.session.ReportError("mnuTechSupportInfo_Click", error)


__all__ = ["EDITOR_BUTTONS", "MainFrame", "ToolbarCustomizeDialog"]
