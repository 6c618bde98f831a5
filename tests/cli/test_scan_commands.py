"""``kelvane scan`` and ``kelvane read-diz``, run in-process through ``kelvane.cli.main.main``."""

from __future__ import annotations

import os
import time
import zipfile
from pathlib import Path

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.files_list import Entry, format_files_list
from kelvane.cli.main import main

NO_NEW_FILES = "No new files were found at this time."


def make_zip(path: Path, diz: bytes) -> Path:
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("FILE_ID.DIZ", diz)
    return path


def list_bytes(entries: list[Entry], directory: Path) -> bytes:
    data, complete = format_files_list(entries, "cp1252", [os.fspath(directory)] + [""] * 10)
    assert complete
    return data


@pytest.fixture
def board(tmp_path) -> tuple[Path, Path]:
    """A board with area 1 "Uploads" (files and FILES.LST in tmp_path/files)."""
    node = tmp_path / "node"
    directory = tmp_path / "files"
    init_board(node)
    add_simple_area(node, "Uploads", directory)
    return node, directory


def test_scan_adds_the_new_files_and_saves_the_list_keeping_files_bak(board, capsys):
    node, directory = board
    old = [Entry("OLD.TXT", " 3", "01-01-90", "Old file\r\n")]
    (directory / "FILES.LST").write_bytes(list_bytes(old, directory))
    (directory / "OLD.TXT").write_bytes(b"old")
    make_zip(directory / "new.zip", b"A new upload\r\nsecond line\r\n")
    (directory / "notes.txt").write_bytes(b"x" * 1234)

    assert main(["scan", "1", "--main-node", str(node)]) == 0

    out = capsys.readouterr().out
    assert "Added 2 new files to " + str(directory / "FILES.LST") + "." in out
    assert "Changes were saved to " + str(directory / "FILES.LST") in out
    today = time.strftime("%m-%d-%y")
    zip_size = (directory / "new.zip").stat().st_size
    expected = old + [
        Entry("NEW.ZIP", str(zip_size), today, "A new upload\r\nsecond line\r\n"),
        Entry("NOTES.TXT", "1234", today, "No Description"),
    ]
    assert (directory / "FILES.LST").read_bytes() == list_bytes(expected, directory)
    assert (directory / "FILES.BAK").read_bytes() == list_bytes(old, directory)


def test_scan_with_real_dates_dates_new_entries_by_their_files(board, capsys):
    node, directory = board
    path = directory / "OLD.ARC"
    path.write_bytes(b"arc")
    moment = time.mktime((1999, 12, 31, 12, 0, 0, 0, 0, -1))
    os.utime(path, (moment, moment))

    assert main(["scan", "Uploads", "--main-node", str(node), "--real-dates"]) == 0

    capsys.readouterr()
    expected = [Entry("OLD.ARC", "3", "12-31-99", "No Description")]
    assert (directory / "FILES.LST").read_bytes() == list_bytes(expected, directory)


def test_scan_dry_run_lists_what_it_would_add_and_writes_nothing(board, capsys):
    node, directory = board
    make_zip(directory / "A.ZIP", b"Archive A\r\nmore\r\n")
    (directory / "B.TXT").write_bytes(b"bb")
    before = sorted(os.listdir(directory))

    assert main(["scan", "1", "--main-node", str(node), "--dry-run"]) == 0

    out = capsys.readouterr().out
    zip_size = (directory / "A.ZIP").stat().st_size
    assert f"A.ZIP        {zip_size:>9}  Archive A" in out
    assert f"B.TXT        {2:>9}  No Description" in out
    assert "Would add 2 new files" in out
    assert "Nothing was written" in out
    # The Files List is created empty when the area opens (Part 1.2); nothing else.
    assert sorted(os.listdir(directory)) == sorted(before + ["FILES.LST"])
    assert (directory / "FILES.LST").read_bytes() == b""


def test_scan_with_nothing_new_prints_the_alert_text_on_stdout_and_writes_nothing(board, capsys):
    node, directory = board
    old = [Entry("OLD.TXT", " 3", "01-01-90", "Old file\r\n")]
    data = list_bytes(old, directory)
    (directory / "FILES.LST").write_bytes(data)
    (directory / "old.txt").write_bytes(b"old")

    assert main(["scan", "1", "--main-node", str(node)]) == 0

    out = capsys.readouterr().out
    assert NO_NEW_FILES in out.splitlines()
    assert (directory / "FILES.LST").read_bytes() == data
    assert not (directory / "FILES.BAK").exists()


def test_scan_of_an_unknown_area_is_an_error(board, capsys):
    node, _ = board
    assert main(["scan", "9", "--main-node", str(node)]) == 1
    assert "there is no area 9" in capsys.readouterr().err


def test_read_diz_replaces_the_named_entries_descriptions_and_saves(board, capsys):
    node, directory = board
    make_zip(directory / "A.ZIP", b"Fresh text for A\r\n")
    (directory / "B.TXT").write_bytes(b"bb")
    entries = [
        Entry("A.ZIP", " 1", "01-01-90", "Old A\r\n"),
        Entry("B.TXT", " 2", "01-01-90", "Old B\r\n"),
        Entry("C.TXT", " 2", "01-01-90", "Old C\r\n"),
    ]
    (directory / "FILES.LST").write_bytes(list_bytes(entries, directory))

    # "a.zip" has no exact match, so it is matched ignoring case.
    assert main(["read-diz", "1", "a.zip", "B.TXT", "--main-node", str(node)]) == 0

    out = capsys.readouterr().out
    assert "A.ZIP: Fresh text for A" in out
    assert "B.TXT: No Description" in out
    entries[0].description = "Fresh text for A\r\n"
    entries[1].description = "No Description"
    assert (directory / "FILES.LST").read_bytes() == list_bytes(entries, directory)


def test_read_diz_lists_names_not_in_the_list_and_files_not_found_with_exit_status_1(board, capsys):
    node, directory = board
    make_zip(directory / "A.ZIP", b"Fresh text for A\r\n")
    entries = [
        Entry("A.ZIP", " 1", "01-01-90", "Old A\r\n"),
        Entry("GONE.ZIP", " 1", "01-01-90", "Old GONE\r\n"),
    ]
    (directory / "FILES.LST").write_bytes(list_bytes(entries, directory))

    code = main(["read-diz", "1", "A.ZIP", "GONE.ZIP", "NOPE.ZIP", "--main-node", str(node)])

    assert code == 1
    captured = capsys.readouterr()
    assert "not in the Files List: NOPE.ZIP" in captured.err
    assert "Files listed below were not found!" in captured.err
    assert "GONE.ZIP" in captured.err
    # What was found was still done and saved.
    entries[0].description = "Fresh text for A\r\n"
    assert (directory / "FILES.LST").read_bytes() == list_bytes(entries, directory)


def test_read_diz_with_no_name_in_the_list_changes_nothing(board, capsys):
    node, directory = board
    entries = [Entry("A.ZIP", " 1", "01-01-90", "Old A\r\n")]
    data = list_bytes(entries, directory)
    (directory / "FILES.LST").write_bytes(data)

    assert main(["read-diz", "1", "NOPE.ZIP", "--main-node", str(node)]) == 1

    assert "not in the Files List: NOPE.ZIP" in capsys.readouterr().err
    assert (directory / "FILES.LST").read_bytes() == data
    assert not (directory / "FILES.BAK").exists()
