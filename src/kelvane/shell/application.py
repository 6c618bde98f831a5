"""Starting the desktop program: the application, the program's directory, the splash, the frame.

``create_main_frame()`` runs the start-up without the splash screen and
returns the shown frame without entering the event loop (tests and the
demo drive it); ``run_desktop()`` is the spec's ``Main``: the splash screen
for 1.75 seconds with the event loop turning, then the frame, then the
event loop.

The program's directory (``KELVANE_HOME``, else the user's data directory)
is created when missing.  On first start, recognised by the absence of its
``AVI`` directory, the animations (drawn and written by
``shell.avi_files``) and the help file ("KELV32.HLP", Kelvane's HTML help)
are installed into it; a file the operator deletes later stays missing,
so its alert shows, as the spec says.
"""

from __future__ import annotations

import sys
import time
from importlib import resources
from pathlib import Path

from PySide6.QtCore import Qt
from PySide6.QtGui import QColor, QFont, QPainter, QPixmap
from PySide6.QtWidgets import QApplication, QSplashScreen

from kelvane import __version__
from kelvane.platform.program_directory import program_directory
from kelvane.shell.avi_files import AVI_DIRECTORY, DRAWINGS, write_program_animation
from kelvane.shell.main_frame import HELP_FILE_NAME, MainFrame

SPLASH_SECONDS = 1.75
HELP_RESOURCE = ("help", "kelvane_help.html")


def ensure_application() -> QApplication:
    """The process's ``QApplication``, created when there is none yet."""
    existing = QApplication.instance()
    if isinstance(existing, QApplication):
        return existing
    app = QApplication(sys.argv[:1])
    app.setApplicationName("Kelvane")
    app.setApplicationVersion(__version__)
    app.setOrganizationName("Vandor")
    return app


def help_text() -> str:
    """The packaged help page."""
    folder, name = HELP_RESOURCE
    return (
        resources.files("kelvane").joinpath("resources", folder, name).read_text(encoding="utf-8")
    )


def install_resources(directory: Path | None = None) -> Path:
    """Create the program's directory; on first start install the animations and the help."""
    target = directory if directory is not None else program_directory()
    target.mkdir(parents=True, exist_ok=True)
    animations = target / AVI_DIRECTORY
    if animations.is_dir():
        return target  # not the first start: what the operator removed stays removed
    animations.mkdir()
    for name in DRAWINGS:
        write_program_animation(animations, name)
    help_file = target / HELP_FILE_NAME
    if not help_file.exists():
        help_file.write_text(help_text(), encoding="utf-8")
    return target


def create_main_frame() -> MainFrame:
    """Start-up without the splash; the frame is shown, the event loop not entered."""
    ensure_application()
    install_resources()
    frame = MainFrame()
    frame.show()
    return frame


def splash_pixmap() -> QPixmap:
    pixmap = QPixmap(420, 220)
    pixmap.fill(QColor(0, 0, 96))
    painter = QPainter(pixmap)
    painter.setPen(QColor(255, 255, 255))
    title = QFont()
    title.setPointSize(28)
    title.setBold(True)
    painter.setFont(title)
    painter.drawText(pixmap.rect().adjusted(0, 30, 0, -90), Qt.AlignmentFlag.AlignCenter, "Kelvane")
    body = QFont()
    body.setPointSize(10)
    painter.setFont(body)
    painter.drawText(
        pixmap.rect().adjusted(0, 110, 0, -20),
        Qt.AlignmentFlag.AlignHCenter | Qt.AlignmentFlag.AlignTop,
        f"File Area Manager for Vandor boards\nVersion {__version__}",
    )
    painter.end()
    return pixmap


def show_splash(app: QApplication, seconds: float = SPLASH_SECONDS) -> QSplashScreen:
    """The splash screen, shown modelessly and kept up *seconds* with the event loop turning."""
    splash = QSplashScreen(splash_pixmap())
    splash.setObjectName("frmSplash")
    splash.show()
    app.processEvents()
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        app.processEvents()
        time.sleep(0.01)
    return splash


def open_area_in(frame: MainFrame, area_number: int) -> None:
    """Open File Areas, choose row *area_number* and press OK, as the operator would."""
    frame.mnuOpenFileAreas_Click()
    chooser = frame.chooser
    if chooser is None:
        return  # an alert has told the operator why (no path, no Farea.dat)
    count = chooser.titles_model.rowCount()
    if 1 <= area_number <= count:
        chooser.lsvFileAreaTitles.select_row(area_number - 1)
    chooser.cmdOK_Click()


def run_desktop(open_area: int | None = None, main_node: str | None = None) -> int:
    """The spec's ``Main``: splash, frame, event loop; returns the exit code.

    *main_node* replaces the stored main node path for this run (it is saved
    at shut-down, as any main node path is); *open_area* opens that area in the
    editor through the area chooser once the frame is shown.
    """
    app = ensure_application()
    install_resources()
    splash = show_splash(app)
    frame = MainFrame()
    if main_node:
        frame.session.area.MainNodePath = main_node
    frame.show()
    splash.finish(frame)
    splash.deleteLater()
    if open_area is not None:
        open_area_in(frame, open_area)
    return app.exec()
