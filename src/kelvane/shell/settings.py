"""The shell's one door to the settings store (Parts 5.1, 5.2, 5.3).

Every value lives under the application "Vandor" in the sections "Vandor
Startup" and "Kelvane Startup"; values are strings in the store and are
converted here, never by Qt (porting.md, "Settings store").  A value that is
absent, or that does not read as its type, gives the default the caller
computed at that moment.

Placement values are twips: 1440 to the logical inch, converted with the
screen's logical DPI (:func:`twips_to_pixels`, :func:`pixels_to_twips`).
"""

from __future__ import annotations

import math

from kelvane.platform.code_pages import CODE_PAGES, DEFAULT_CODE_PAGE
from kelvane.platform.settings_store import (
    APP_NAME,
    SettingsStore,
    bool_text,
    number_text,
    open_settings_store,
    parse_bool,
    parse_number,
)

VANDOR_STARTUP = "Vandor Startup"
KELVANE_STARTUP = "Kelvane Startup"

# Part 5.1.
MAIN_PATH = "Vandor Main Path"
MAIN_LEFT = "MainLeft"
MAIN_TOP = "MainTop"
MAIN_WIDTH = "MainWidth"
MAIN_HEIGHT = "MainHeight"
MAIN_WINDOW_STATE = "MainWindowState"
REAL_FILE_DATES = "RealFileDates"
#: Kelvane's own addition: the code page of the board's files (porting.md, "Text").
CODE_PAGE = "CodePage"

# Part 5.2.
CHOOSER_WINDOW_STATE = "FileAreaTitleWindowState"
CHOOSER_VIEW = "FileAreaTitle_View"
CHOOSER_ARRANGE = "FileAreaTitle_Arrange"
CHOOSER_COLUMN_1_WIDTH = "FATF.ColumnHeaders(1).Width"
CHOOSER_COLUMN_2_WIDTH = "FATF.ColumnHeaders(2).Width"

#: Window states as the settings hold them.
STATE_NORMAL = 0
STATE_MINIMIZED = 1
STATE_MAXIMIZED = 2

TWIPS_PER_INCH = 1440
DEFAULT_DPI = 96.0


def vb_round(value: float) -> int:
    """VB's CInt/CLng: the nearest integer, halves to the even one (Python's ``round``)."""
    return int(round(value))


class ShellSettings:
    """Read with a default and write, with the conversions the spec's reads make."""

    def __init__(self, store: SettingsStore | None = None) -> None:
        self.store: SettingsStore = store if store is not None else open_settings_store()

    # -- by section and key ---------------------------------------------------------

    def text(self, section: str, key: str, default: str = "") -> str:
        return self.store.GetSetting(APP_NAME, section, key, default)

    def single(self, section: str, key: str, default: float) -> float:
        """A single-precision number (the placement and the column widths)."""
        value = parse_number(self.text(section, key, number_text(default)), default)
        return value if math.isfinite(value) else default

    def integer(self, section: str, key: str, default: int) -> int:
        """A 16- or 32-bit integer (window states, view and arrangement)."""
        value = self.single(section, key, float(default))
        return vb_round(value)

    def boolean(self, section: str, key: str, default: bool = False) -> bool:
        return parse_bool(self.text(section, key, bool_text(default)), default)

    def save_text(self, section: str, key: str, value: str) -> None:
        self.store.SaveSetting(APP_NAME, section, key, value)

    def save_number(self, section: str, key: str, value: float) -> None:
        self.save_text(section, key, number_text(value))

    def save_boolean(self, section: str, key: str, value: bool) -> None:
        self.save_text(section, key, bool_text(value))

    # -- the values the shell names -------------------------------------------------

    def main_node_path(self) -> str:
        return self.text(VANDOR_STARTUP, MAIN_PATH, "")

    def save_main_node_path(self, path: str) -> None:
        self.save_text(VANDOR_STARTUP, MAIN_PATH, path)

    def main_window_state(self) -> int:
        return self.integer(KELVANE_STARTUP, MAIN_WINDOW_STATE, STATE_NORMAL)

    def save_main_window_state(self, state: int) -> None:
        self.save_number(KELVANE_STARTUP, MAIN_WINDOW_STATE, state)

    def real_file_dates(self) -> bool:
        return self.boolean(KELVANE_STARTUP, REAL_FILE_DATES, False)

    def save_real_file_dates(self, value: bool) -> None:
        self.save_boolean(KELVANE_STARTUP, REAL_FILE_DATES, value)

    def code_page(self) -> str:
        """The chosen code page; one Kelvane does not offer reads as the default."""
        name = self.text(KELVANE_STARTUP, CODE_PAGE, DEFAULT_CODE_PAGE).strip()
        offered = {codec for codec, _caption in CODE_PAGES}
        return name if name in offered else DEFAULT_CODE_PAGE

    def save_code_page(self, name: str) -> None:
        self.save_text(KELVANE_STARTUP, CODE_PAGE, name)

    def save_placement(self, left: float, top: float, width: float, height: float) -> None:
        """ "MainLeft", "MainTop", "MainWidth", "MainHeight", in twips."""
        self.save_number(KELVANE_STARTUP, MAIN_LEFT, left)
        self.save_number(KELVANE_STARTUP, MAIN_TOP, top)
        self.save_number(KELVANE_STARTUP, MAIN_WIDTH, width)
        self.save_number(KELVANE_STARTUP, MAIN_HEIGHT, height)


# -- twips ---------------------------------------------------------------------------


def logical_dpi() -> float:
    """The primary screen's logical DPI (96 when there is no screen)."""
    from PySide6.QtGui import QGuiApplication

    if QGuiApplication.instance() is None:
        return DEFAULT_DPI
    screen = QGuiApplication.primaryScreen()
    if screen is None:
        return DEFAULT_DPI
    dpi = float(screen.logicalDotsPerInch())
    return dpi if dpi > 0 else DEFAULT_DPI


def twips_to_pixels(twips: float, dpi: float | None = None) -> int:
    """Twips to whole device-independent pixels (nearest)."""
    resolution = logical_dpi() if dpi is None else dpi
    return vb_round(twips * resolution / TWIPS_PER_INCH)


def pixels_to_twips(pixels: float, dpi: float | None = None) -> float:
    """Pixels to twips; whole twips, as VB's ``ScaleMode`` twips are."""
    resolution = logical_dpi() if dpi is None else dpi
    return float(vb_round(pixels * TWIPS_PER_INCH / resolution))
