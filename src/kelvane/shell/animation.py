"""The animation control: plays an uncompressed AVI in a loop in a label.

The spec's forms load an AVI (``AVI\\FINDFILE.AVI`` and the others) into an
animation control and start it while an operation runs.  :meth:`open`
answers false for a missing or unreadable file, and the caller shows the
spec's alert for that file.
"""

from __future__ import annotations

import os

from PySide6.QtCore import Qt, QTimer
from PySide6.QtGui import QImage, QPixmap
from PySide6.QtWidgets import QLabel, QWidget

from kelvane.shell.avi_files import AviError, read_avi


class Animation(QLabel):
    """A label that shows the frames of one AVI file in a loop."""

    def __init__(self, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.setAlignment(Qt.AlignmentFlag.AlignCenter)
        self._frames: list[QPixmap] = []
        self._position = 0
        self._timer = QTimer(self)
        self._timer.timeout.connect(self._next_frame)
        self.path = ""

    # -- the control's operations ----------------------------------------------------

    def open(self, path: str | os.PathLike[str]) -> bool:
        """Load *path*; false (and nothing loaded) when it is missing or not a playable AVI."""
        self.close_clip()
        try:
            clip = read_avi(path)
        except (OSError, AviError):
            return False
        stride = clip.width * 3
        for rgb in clip.frames:
            image = QImage(rgb, clip.width, clip.height, stride, QImage.Format.Format_RGB888)
            self._frames.append(QPixmap.fromImage(image.copy()))
        self._timer.setInterval(clip.frame_interval_ms)
        self.path = os.fspath(path)
        self.setFixedSize(clip.width, clip.height)
        self._show_frame(0)
        return True

    @property
    def is_open(self) -> bool:
        return bool(self._frames)

    @property
    def is_playing(self) -> bool:
        return self._timer.isActive()

    @property
    def frame_count(self) -> int:
        return len(self._frames)

    @property
    def current_frame(self) -> int:
        return self._position

    def play(self) -> bool:
        """Start the loop; false when no file is open."""
        if not self._frames:
            return False
        self._timer.start()
        return True

    def stop(self) -> None:
        """Stop on the first frame."""
        self._timer.stop()
        if self._frames:
            self._show_frame(0)

    def close_clip(self) -> None:
        self._timer.stop()
        self._frames = []
        self._position = 0
        self.path = ""
        self.clear()

    # -- drawing -----------------------------------------------------------------------

    def _show_frame(self, position: int) -> None:
        self._position = position
        self.setPixmap(self._frames[position])

    def _next_frame(self) -> None:
        if self._frames:
            self._show_frame((self._position + 1) % len(self._frames))
