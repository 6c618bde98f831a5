"""The settings store: strings in, strings out, conversions in one place."""

from __future__ import annotations

from kelvane.platform.settings_store import (
    APP_NAME,
    IniSettingsStore,
    bool_text,
    number_text,
    open_settings_store,
    parse_bool,
    parse_number,
)


def test_kelvane_settings_names_the_file_to_use(tmp_path, monkeypatch):
    path = tmp_path / "chosen.ini"
    monkeypatch.setenv("KELVANE_SETTINGS", str(path))
    store = open_settings_store()
    assert store.GetSetting(APP_NAME, "Vandor Startup", "Vandor Main Path", "default") == "default"
    store.SaveSetting(APP_NAME, "Vandor Startup", "Vandor Main Path", "/srv/bbs/node1")
    assert path.is_file()
    assert (
        open_settings_store().GetSetting(APP_NAME, "Vandor Startup", "Vandor Main Path")
        == "/srv/bbs/node1"
    )


def test_keys_keep_their_case_and_sections_are_per_application(tmp_path):
    store = IniSettingsStore(tmp_path / "Vandor.ini")
    store.SaveSetting("Vandor", "Kelvane Startup", "FATF.ColumnHeaders(1).Width", "1440")
    store.SaveSetting("Other", "Kelvane Startup", "FATF.ColumnHeaders(1).Width", "99")
    assert store.GetSetting("Vandor", "Kelvane Startup", "FATF.ColumnHeaders(1).Width") == "1440"
    assert store.GetSetting("Vandor", "Kelvane Startup", "fatf.columnheaders(1).width", "x") == "x"
    assert "[Vandor\\Kelvane Startup]" in (tmp_path / "Vandor.ini").read_text()


def test_a_damaged_settings_file_reads_as_empty_and_is_replaced_on_write(tmp_path):
    path = tmp_path / "Vandor.ini"
    path.write_bytes(b"\xff\xfe garbage [[[ without sections\n")
    store = IniSettingsStore(path)
    assert store.GetSetting("Vandor", "Vandor Startup", "Vandor Main Path", "none") == "none"
    store.SaveSetting("Vandor", "Vandor Startup", "Vandor Main Path", "/x")
    assert store.GetSetting("Vandor", "Vandor Startup", "Vandor Main Path") == "/x"


def test_booleans_and_numbers_are_converted_here():
    assert bool_text(True) == "True" and bool_text(False) == "False"
    assert parse_bool("TRUE") is True and parse_bool("false") is False
    assert parse_bool("-1") is True and parse_bool("0") is False
    assert parse_bool("maybe", default=True) is True
    assert parse_number(" 1440 ", 0) == 1440 and parse_number("wide", 720) == 720
    assert number_text(1440.0) == "1440" and number_text(1440.5) == "1440.5"
