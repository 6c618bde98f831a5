"""The shell's settings module: defaults, conversions, twips."""

from __future__ import annotations

from kelvane.platform.settings_store import IniSettingsStore
from kelvane.shell.settings import (
    KELVANE_STARTUP,
    VANDOR_STARTUP,
    ShellSettings,
    pixels_to_twips,
    twips_to_pixels,
)


def test_values_absent_give_the_defaults(tmp_path):
    settings = ShellSettings(IniSettingsStore(tmp_path / "Vandor.ini"))
    assert settings.main_node_path() == ""
    assert settings.main_window_state() == 0
    assert settings.real_file_dates() is False
    assert settings.code_page() == "cp1252"
    assert settings.single(KELVANE_STARTUP, "MainLeft", 1234.5) == 1234.5


def test_values_are_written_as_text_and_read_back_converted(tmp_path):
    path = tmp_path / "Vandor.ini"
    settings = ShellSettings(IniSettingsStore(path))
    settings.save_main_node_path("/boards/main")
    settings.save_placement(1500, 1200.5, 9000, 6750)
    settings.save_real_file_dates(True)
    settings.save_main_window_state(2)
    settings.save_code_page("cp437")
    text = path.read_text(encoding="utf-8")
    assert "[Vandor\\Vandor Startup]" in text
    assert "Vandor Main Path = /boards/main" in text
    assert "MainTop = 1200.5" in text
    assert "RealFileDates = True" in text
    assert "CodePage = cp437" in text
    assert settings.single(KELVANE_STARTUP, "MainTop", 0) == 1200.5
    assert settings.main_window_state() == 2
    assert settings.real_file_dates() is True
    assert settings.code_page() == "cp437"


def test_bad_values_read_as_the_default_and_vb_booleans_are_accepted(tmp_path):
    settings = ShellSettings(IniSettingsStore(tmp_path / "Vandor.ini"))
    settings.save_text(KELVANE_STARTUP, "MainLeft", "wide")
    settings.save_text(KELVANE_STARTUP, "RealFileDates", "-1")
    settings.save_text(KELVANE_STARTUP, "CodePage", "klingon")
    settings.save_text(KELVANE_STARTUP, "FileAreaTitle_View", "2.5")
    assert settings.single(KELVANE_STARTUP, "MainLeft", 7.0) == 7.0
    assert settings.real_file_dates() is True
    assert settings.code_page() == "cp1252"
    assert (
        settings.integer(KELVANE_STARTUP, "FileAreaTitle_View", 0) == 2
    )  # halves to even, as CInt
    assert settings.text(VANDOR_STARTUP, "Missing", "x") == "x"


def test_twips_are_1440_to_the_logical_inch():
    assert twips_to_pixels(1440, dpi=96) == 96
    assert twips_to_pixels(720, dpi=120) == 60
    assert pixels_to_twips(96, dpi=96) == 1440
    assert pixels_to_twips(100, dpi=96) == 1500
    assert twips_to_pixels(pixels_to_twips(37, dpi=144), dpi=144) == 37
