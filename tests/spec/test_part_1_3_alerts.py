"""Part 1.3: Alerts and error log — the "Edge cases worth testing"."""

from __future__ import annotations

import os

from kelvane.board.alerts import CATALOGUE, AlertContext
from kelvane.board.error_log import ErrorReporter
from kelvane.board.user_port import SilentPort


def test_a_program_directory_at_a_drive_root_gives_the_root_followed_by_the_log_name_doubling_the_separator():
    # The directory text already ends in a separator (a drive root such as
    # "C:\"), so the log path doubles it: "C:\\Kelvane.err" on Windows.
    root = os.path.abspath(os.sep)
    reporter = ErrorReporter(SilentPort(), root)
    assert reporter.log_path == root + os.sep + "Kelvane.err"
    assert reporter.log_path.endswith(os.sep + os.sep + "Kelvane.err")


def test_a_program_directory_ending_in_a_separator_writes_the_log_there(tmp_path):
    reporter = ErrorReporter(SilentPort(), str(tmp_path) + os.sep)
    reporter.ReportError("Farea_Dat_Initialize", FileNotFoundError(2, "No such file", "x"))
    assert (tmp_path / "Kelvane.err").is_file()


def test_nopath_and_invalidpath_use_the_main_node_path_as_it_stands_even_when_empty(session, port):
    port.expect(
        title="Kelvane Alert!",
        text="You have not defined Vandor Main Node's Path!\r\r"
        "Please select from the Menu, View then Options \rand select your Main Node's directory now.",
    )
    port.expect(
        title="Kelvane Alert!",
        text=" is a Invalid Path. You have to select\rat least one directory.",
    )
    session.area.MainNodePath = ""
    assert session.ShowAlert("NoPath") is False
    assert session.ShowAlert("InValidPath") is False
    assert (
        CATALOGUE["InValidPath"]
        .text(AlertContext("C:\\", ""))
        .startswith("C:\\ is a Invalid Path.")
    )


def test_an_unknown_alert_key_returns_false_with_no_box(session, port):
    assert session.ShowAlert("NoSuchKey") is False
    assert port.shown == []
