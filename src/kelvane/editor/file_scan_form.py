"""The search form ``frmFileSearch`` and the File Scan command (Part 2.3), over Qt.

``mnuFileScan_Click(session, view)`` creates the form, runs the core scan
(``file_scan.run_file_scan``) with the form as its progress, and unloads the
form.  The form is a modeless window (parented to the editor when the view is
a widget): the scan runs on the user-interface thread and turns the event
loop once per listed file, which is when a press of ``cmdQuitSearch`` is seen.

Controls (``objectName`` = the spec's name where it gives one):

==========================  ===============================================
``lblSearchPathCaption``    "Searching Path  :"
``lblSearchPath``           the directory being searched
``lblFoundFileCaption``     "Found New File  :"
``lblFoundFile``            the upper-cased name of the last new file
``lblFileCountCaption``     "Number of New Files Found:"
``lblFileCount``            the counter, as decimal text
``prbSearch``               progress over the directory's files
``sbSearch``                status bar: "Searching, one moment please!" /
                            "Reading File and Extracting File Description!"
``aniSearch``               the animation control playing ``AVI/SEARCH.AVI``
``cmdQuitSearch``           sets ``session.SearchCancel``
==========================  ===============================================

Decisions where the spec leaves the screen open:

- The form loads its animation when the scan shows it (step 5), so a scan
  that ends at step 2 (no Work directory) shows no ``NoAVISearch`` alert.
- Closing the window while the scan runs counts as pressing
  ``cmdQuitSearch``; the form itself closes when the scan unloads it.
- Step 7.2's "repaint both labels at once": the found file's name and the
  counter are painted as soon as the counter is set (``repaint``), before the
  archive is read, so a slow archive shows its own name.  The other labels
  and the status bar are painted by the next turn of the event loop (one per
  listed file); the status bar changes only when its text does.
- Painting is throttled, event processing is not: while the form is shown,
  the found file, the counter, the status bar and the progress bar take their
  latest values at most once per :data:`PAINT_INTERVAL` (and always when the
  form hides), since painting them costs more per file than the scan itself
  (20,000 new files: about 100 us a file against the scan's 40).  The event
  loop still turns once per listed file (an idle turn costs about 1 us), so a
  press of ``cmdQuitSearch`` is seen before the next file.  A hidden form
  takes every value at once (nothing to paint).
"""

from __future__ import annotations

import os
import time
from typing import TYPE_CHECKING, Any

from PySide6.QtCore import QCoreApplication, Qt
from PySide6.QtWidgets import (
    QDialog,
    QGridLayout,
    QHBoxLayout,
    QLabel,
    QProgressBar,
    QPushButton,
    QStatusBar,
    QVBoxLayout,
    QWidget,
)

from kelvane.editor.file_scan import run_file_scan
from kelvane.platform.program_directory import join_program_path
from kelvane.shell.animation import Animation

if TYPE_CHECKING:
    from kelvane.board.session import Session
    from kelvane.editor.editor_view import EditorView

CAPTION = "Searching for New Files"
SEARCH_PATH_CAPTION = "Searching Path  :"
FOUND_FILE_CAPTION = "Found New File  :"
FILE_COUNT_CAPTION = "Number of New Files Found:"
QUIT_CAPTION = "&Quit Search"
ANIMATION_FILE = ("AVI", "SEARCH.AVI")
#: Seconds between two paintings of the progress controls while the form is shown.
PAINT_INTERVAL = 0.04


class frmFileSearch(QDialog):
    """The search form: progress of the scan and its quit button; a ``ScanProgress``."""

    def __init__(self, session: Session, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.session = session
        self.setObjectName("frmFileSearch")
        self.setWindowTitle(CAPTION)
        self.setModal(False)
        self.animation: Animation | None = None
        self._loaded = False
        #: Values not painted yet (see ``PAINT_INTERVAL``); None: nothing pending.
        self._found: str | None = None
        self._count: str | None = None
        self._status: str | None = None
        self._value: int | None = None
        #: ``time.monotonic()`` from which the controls may be painted again.
        self._next_paint = 0.0
        self._build()

    def _build(self) -> None:
        def label(name: str, text: str = "") -> QLabel:
            widget = QLabel(text, self)
            widget.setObjectName(name)
            return widget

        self.lblSearchPathCaption = label("lblSearchPathCaption", SEARCH_PATH_CAPTION)
        self.lblSearchPath = label("lblSearchPath")
        self.lblFoundFileCaption = label("lblFoundFileCaption", FOUND_FILE_CAPTION)
        self.lblFoundFile = label("lblFoundFile")
        self.lblFileCountCaption = label("lblFileCountCaption", FILE_COUNT_CAPTION)
        self.lblFileCount = label("lblFileCount", "0")
        self.lblSearchPath.setTextInteractionFlags(Qt.TextInteractionFlag.NoTextInteraction)
        self.lblSearchPath.setMinimumWidth(320)

        self.prbSearch = QProgressBar(self)
        self.prbSearch.setObjectName("prbSearch")
        self.prbSearch.setRange(0, 1)
        self.prbSearch.setValue(0)

        self.aniSearch = QWidget(self)
        self.aniSearch.setObjectName("aniSearch")

        self.cmdQuitSearch = QPushButton(QUIT_CAPTION, self)
        self.cmdQuitSearch.setObjectName("cmdQuitSearch")
        self.cmdQuitSearch.setAutoDefault(False)
        self.cmdQuitSearch.clicked.connect(self.cmdQuitSearch_Click)

        self.sbSearch = QStatusBar(self)
        self.sbSearch.setObjectName("sbSearch")
        self.sbSearch.setSizeGripEnabled(False)

        values = QGridLayout()
        values.addWidget(self.lblSearchPathCaption, 0, 0)
        values.addWidget(self.lblSearchPath, 0, 1)
        values.addWidget(self.lblFoundFileCaption, 1, 0)
        values.addWidget(self.lblFoundFile, 1, 1)
        values.addWidget(self.lblFileCountCaption, 2, 0)
        values.addWidget(self.lblFileCount, 2, 1)
        values.setColumnStretch(1, 1)

        top = QHBoxLayout()
        top.addWidget(self.aniSearch)
        top.addLayout(values, 1)

        buttons = QHBoxLayout()
        buttons.addStretch(1)
        buttons.addWidget(self.cmdQuitSearch)

        layout = QVBoxLayout(self)
        layout.addLayout(top)
        layout.addWidget(self.prbSearch)
        layout.addLayout(buttons)
        layout.addWidget(self.sbSearch)

    # -- loading and unloading ---------------------------------------------------------------

    def Form_Load(self) -> None:
        """Play ``AVI/SEARCH.AVI``; when it is missing, the ``NoAVISearch`` alert and none."""
        self._loaded = True
        path = join_program_path(self.session.app_path, *ANIMATION_FILE)
        animation = Animation(self.aniSearch)
        if os.path.isfile(path) and animation.open(path):
            self.aniSearch.setFixedSize(animation.size())
            animation.show()
            animation.play()
            self.animation = animation
            return
        animation.deleteLater()
        self.animation = None
        self.session.ShowAlert("NoAVISearch")

    def Form_Unload(self) -> None:
        """Stop the animation and close the form."""
        if self.animation is not None:
            self.animation.stop()
        self._loaded = False
        self.done(0)
        self.deleteLater()

    def cmdQuitSearch_Click(self) -> None:
        self.session.SearchCancel = True

    def closeEvent(self, event: Any) -> None:
        if self._loaded:  # closing the window while the scan runs: a quit
            self.session.SearchCancel = True
            event.ignore()
            return
        super().closeEvent(event)

    def reject(self) -> None:
        """Escape asks the scan to stop, as the quit button does."""
        if self._loaded:
            self.session.SearchCancel = True
            return
        super().reject()

    # -- ScanProgress ------------------------------------------------------------------------

    def show(self) -> None:
        if not self._loaded:
            self.Form_Load()
        super().show()

    def hide(self) -> None:
        self._paint_pending()
        if self.animation is not None:
            self.animation.stop()
        self._loaded = False
        super().hide()

    def _paint_due(self) -> bool:
        """Whether the pending values go to the controls now: hidden, or the interval is over."""
        return not self.isVisible() or time.monotonic() >= self._next_paint

    def _paint_pending(self) -> bool:
        """Every pending value into its control; true when the found file or counter changed."""
        labels = False
        if self._found is not None:
            self.lblFoundFile.setText(self._found)
            self._found = None
            labels = True
        if self._count is not None:
            self.lblFileCount.setText(self._count)
            self._count = None
            labels = True
        if self._status is not None:
            if self.sbSearch.currentMessage() != self._status:
                self.sbSearch.showMessage(self._status)
            self._status = None
        if self._value is not None:
            self.prbSearch.setValue(self._value)
            self._value = None
        self._next_paint = time.monotonic() + PAINT_INTERVAL
        return labels

    def set_searching_path(self, text: str) -> None:
        self.lblSearchPath.setText(text)

    def set_found_file(self, name: str) -> None:
        self._found = name
        if not self.isVisible():
            self._paint_pending()

    def set_count(self, text: str) -> None:
        """The counter; then both labels of step 7.2 are repainted at once (when due)."""
        self._count = text
        if self._paint_due() and self._paint_pending() and self.isVisible():
            self.lblFoundFile.repaint()
            self.lblFileCount.repaint()

    def set_status(self, text: str) -> None:
        self._status = text
        if not self.isVisible():
            self._paint_pending()

    def set_range(self, maximum: int) -> None:
        self._value = None
        self.prbSearch.setRange(0, maximum)

    def set_value(self, value: int) -> None:
        self._value = value
        if not self.isVisible():
            self._paint_pending()

    def focus_quit(self) -> None:
        if not self.cmdQuitSearch.hasFocus():
            self.cmdQuitSearch.setFocus()

    def process_events(self) -> None:
        """One turn of the event loop (every file); the pending values first when due."""
        if self._paint_due():
            self._paint_pending()
        QCoreApplication.processEvents()


def mnuFileScan_Click(session: Session, view: EditorView) -> None:
    """File Scan: the new-file scan of Part 2.3 with the search form showing its progress."""
    try:
        parent = view if isinstance(view, QWidget) else None
        form = frmFileSearch(session, parent)
        try:
            run_file_scan(session, view, form)
        finally:
            form.Form_Unload()
    except Exception as error:  # the procedure's trap
        session.ReportError("mnuFileScan_Click", error)


__all__ = ["frmFileSearch", "mnuFileScan_Click"]
