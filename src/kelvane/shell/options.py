"""The Options form of Part 5.3 (``frmOptions``, caption "Options").

Sets the board's main node directory, whether the frame starts maximized,
the real-file-dates option of the new-file scan, the code page of the
board's files, and can reset the frame's placement.

Decisions where the spec is silent:

* The refusal box of ``UpDate_TBMainNode`` is titled "Kelvane" (the
  application's title) with the critical icon, like the catalogue's refusals.
* The tested path is shown joined with the system's separator
  (porting.md) and the entry is found whatever the case of its names; as
  the spec's listing "also accepts directories", a directory named
  FAREA.DAT counts as found.
* OK unloads the form after a successful update; a refused folder keeps the
  form open with the emptied box, so the operator can choose again.
* A cancelled folder browser leaves the box as it was.
* Typing in the box, or choosing another code page, enables Apply as the
  check boxes do.
* The code page ("CodePage" in "Kelvane Startup") applies to the session at
  once; it can only be changed while no File Area is open, so an open Files
  List is always written in the page it was read in.
"""

from __future__ import annotations

import os
from typing import TYPE_CHECKING

from PySide6.QtCore import Qt
from PySide6.QtWidgets import (
    QCheckBox,
    QComboBox,
    QDialog,
    QFormLayout,
    QGroupBox,
    QHBoxLayout,
    QLineEdit,
    QPushButton,
    QVBoxLayout,
)

from kelvane.board.file_system import BrowseForFolder
from kelvane.board.session import Session
from kelvane.board.user_port import Buttons, Icon, MessageBox
from kelvane.platform.code_pages import CODE_PAGES
from kelvane.platform.program_directory import join_program_path
from kelvane.shell.settings import STATE_MAXIMIZED, STATE_NORMAL

if TYPE_CHECKING:
    from kelvane.shell.main_frame import MainFrame

CAPTION = "Options"
BROWSE_TITLE = "Select the Folder that Vandor Main Node is located."
REFUSAL_TITLE = "Kelvane"
CR = "\r"


def _entry_named(directory: str, name: str, *, directories_only: bool = False) -> str | None:
    """The entry of *directory* called *name* whatever its case (the exact spelling first)."""
    if not directory:
        return None
    try:
        names = sorted(os.listdir(directory))
    except OSError:
        return None
    wanted = name.casefold()
    matches = [entry for entry in names if entry.casefold() == wanted]
    matches.sort(key=lambda entry: entry != name)
    for entry in matches:
        path = os.path.join(directory, entry)
        if not directories_only or os.path.isdir(path):
            return path
    return None


def area_record_file_found(main_node: str) -> bool:
    """Whether *main_node* + "\\MWORK\\FAREA.DAT" is found (a file or a directory)."""
    work = _entry_named(main_node, "MWORK", directories_only=True)
    return work is not None and _entry_named(work, "FAREA.DAT") is not None


def drop_trailing_separator(path: str) -> str:
    """Step 1: a last "\\" is dropped; on a "/" system also a last "/" other than the root."""
    if path.endswith("\\") or (os.sep == "/" and path.endswith("/") and path != "/"):
        return path[:-1]
    return path


class frmOptions(QDialog):
    """The Options form; shown modally over the main frame, without blocking the caller."""

    def __init__(self, session: Session, main_frame: MainFrame) -> None:
        super().__init__(main_frame)
        self.session = session
        self.main_frame = main_frame
        self.setObjectName("frmOptions")
        self.setWindowTitle(CAPTION)
        self.setAttribute(Qt.WidgetAttribute.WA_DeleteOnClose)
        self.setWindowModality(Qt.WindowModality.ApplicationModal)
        #: Reset was pressed since the last apply.
        self.Reset = False

        self.txtMainNode = QLineEdit(self)
        self.txtMainNode.setObjectName("txtMainNode")
        self.txtMainNode.textEdited.connect(self._changed)
        self.cmdBrowseForFolder = QPushButton("&Browse...", self)
        self.cmdBrowseForFolder.setObjectName("cmdBrowseForFolder")
        self.cmdBrowseForFolder.clicked.connect(self.cmdBrowseForFolder_Click)
        self.Check1 = QCheckBox("Start Kelvane &Maximized", self)
        self.Check1.setObjectName("Check1")
        self.Check1.toggled.connect(self.Check1_Click)
        self.Check2 = QCheckBox("Use &Real File Dates when adding New Files", self)
        self.Check2.setObjectName("Check2")
        self.Check2.toggled.connect(self.Check2_Click)
        self.cboCodePage = QComboBox(self)
        self.cboCodePage.setObjectName("cboCodePage")
        for name, caption in CODE_PAGES:
            self.cboCodePage.addItem(caption, name)
        self.cboCodePage.activated.connect(self._changed)

        self.cmdOK = QPushButton("OK", self)
        self.cmdOK.setObjectName("cmdOK")
        self.cmdOK.setDefault(True)
        self.cmdOK.clicked.connect(self.cmdOK_Click)
        self.cmdCancel = QPushButton("Cancel", self)
        self.cmdCancel.setObjectName("cmdCancel")
        self.cmdCancel.clicked.connect(self.cmdCancel_Click)
        self.cmdApply = QPushButton("&Apply", self)
        self.cmdApply.setObjectName("cmdApply")
        self.cmdApply.clicked.connect(self.cmdApply_Click)
        self.cmdReset = QPushButton("R&eset", self)
        self.cmdReset.setObjectName("cmdReset")
        self.cmdReset.setToolTip("Centre the main window at three quarters of the screen")
        self.cmdReset.clicked.connect(self.cmdReset_Click)

        node = QGroupBox("Vandor Main Node", self)
        node_row = QHBoxLayout(node)
        node_row.addWidget(self.txtMainNode, 1)
        node_row.addWidget(self.cmdBrowseForFolder)
        startup = QGroupBox("Kelvane Startup", self)
        startup_layout = QFormLayout(startup)
        startup_layout.addRow(self.Check1)
        startup_layout.addRow(self.Check2)
        startup_layout.addRow("&Code page of the board's files:", self.cboCodePage)
        buttons = QHBoxLayout()
        buttons.addWidget(self.cmdReset)
        buttons.addStretch(1)
        for button in (self.cmdOK, self.cmdCancel, self.cmdApply):
            buttons.addWidget(button)
        layout = QVBoxLayout(self)
        layout.addWidget(node)
        layout.addWidget(startup)
        layout.addLayout(buttons)
        self.resize(560, self.sizeHint().height())

    # ================================================================ load

    def Form_Load(self) -> None:
        session = self.session
        settings = self.main_frame.settings
        try:
            self.cmdApply.setEnabled(False)
            self.txtMainNode.setText(session.area.MainNodePath)
            state = settings.main_window_state()
            if state == STATE_NORMAL:
                self.Check1.setChecked(False)
            elif state == STATE_MAXIMIZED:
                self.Check1.setChecked(True)
            session.RealFileDates = settings.real_file_dates()
            self.Check2.setChecked(session.RealFileDates)
            self._load_code_page()
            self.cmdApply.setEnabled(False)
        except Exception as error:
            session.ReportError("Load_frmOptions", error)

    def _load_code_page(self) -> None:
        index = self.cboCodePage.findData(self.session.code_page)
        self.cboCodePage.setCurrentIndex(max(index, 0))
        area_open = self.main_frame.editor is not None
        self.cboCodePage.setEnabled(not area_open)
        self.cboCodePage.setToolTip(
            "Close the open File Area to change the code page."
            if area_open
            else "The character set of the board's Files Lists and area records."
        )

    # ================================================================ the controls

    def _changed(self, *_args: object) -> None:
        self.cmdApply.setEnabled(True)

    def Check1_Click(self) -> None:
        self.cmdApply.setEnabled(True)

    def Check2_Click(self) -> None:
        self.cmdApply.setEnabled(True)

    def cmdBrowseForFolder_Click(self) -> None:
        try:
            chosen = BrowseForFolder(self.session.port, BROWSE_TITLE)
            if chosen:
                self.txtMainNode.setText(chosen)
            if self.txtMainNode.text() != "":
                self.cmdApply.setEnabled(True)
        except Exception as error:
            self.session.ReportError("cmdBrowseForFolder_Click", error)

    def cmdReset_Click(self) -> None:
        try:
            self.Check1.setChecked(False)
            self.main_frame.reset_placement()
            self.Reset = True
            self.cmdApply.setEnabled(True)
        except Exception as error:
            self.session.ReportError("cmdReset_Click", error)

    def cmdApply_Click(self) -> None:
        self.UpDate_TBMainNode()

    def cmdOK_Click(self) -> None:
        if self.UpDate_TBMainNode():
            self.close()

    def cmdCancel_Click(self) -> None:
        self.close()

    def reject(self) -> None:
        """Escape is Cancel.  Also reached from ``QDialog.closeEvent`` (OK, Cancel, the
        window's close button): ``QDialog.reject`` hides the form, so the close goes
        through; calling ``close()`` here would be ignored inside the close and the
        form would stay open."""
        super().reject()

    # ================================================================ applying

    def UpDate_TBMainNode(self) -> bool:
        """Validate and apply the form's values; true when they were applied."""
        session = self.session
        settings = self.main_frame.settings
        try:
            path = drop_trailing_separator(self.txtMainNode.text())
            if not area_record_file_found(path):
                tested = join_program_path(path, "MWORK", "FAREA.DAT")
                text = (
                    "Can Not find the Path to the needed file "
                    + CR
                    + tested.upper()
                    + CR
                    + "Please select another folder!"
                )
                session.port.message_box(MessageBox(REFUSAL_TITLE, text, Buttons.OK, Icon.CRITICAL))
                self.txtMainNode.setText("")
                self.cmdApply.setEnabled(False)
                return False
            # The stored form of the path: the library's fixed buffer, right-trimmed.
            session.area.MainNodePath = path.rstrip(" ")
            settings.save_main_node_path(session.area.MainNodePath)
            settings.save_main_window_state(
                STATE_MAXIMIZED if self.Check1.isChecked() else STATE_NORMAL
            )
            session.RealFileDates = self.Check2.isChecked()
            settings.save_real_file_dates(session.RealFileDates)
            if self.cboCodePage.isEnabled():
                page = self.cboCodePage.currentData()
                settings.save_code_page(page)
                session.code_page = page
            if self.Reset and not self.main_frame.is_maximized_or_minimized():
                self.main_frame.save_placement()
            self.Reset = False
            self.cmdApply.setEnabled(False)
            return True
        except Exception as error:
            session.ReportError("UpDate_TBMainNode", error)
            return False


__all__ = ["BROWSE_TITLE", "area_record_file_found", "drop_trailing_separator", "frmOptions"]
