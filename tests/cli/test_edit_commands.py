"""``kelvane refresh``, ``erase``, ``delete`` and ``strip-uploaders`` (Parts 2.5 to 2.7)."""

from __future__ import annotations

import io
import os
from datetime import datetime
from pathlib import Path

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.files_list import Entry, format_files_list, parse_files_list
from kelvane.cli.main import main
from kelvane.editor import delete_erase

OLD_DATE = "01-01-90"


class Board:
    def __init__(self, tmp_path: Path, *, cdrom: bool = False) -> None:
        self.node = tmp_path / "node"
        init_board(self.node)
        self.files = tmp_path / "files"
        self.alt = tmp_path / "alt"
        self.alt.mkdir()
        add_simple_area(
            self.node,
            "Utilities",
            self.files,
            alt=[os.fspath(self.alt)],
            cdrom="Yes" if cdrom else "No",
        )
        self.files_list = self.files / "FILES.LST"

    def write_list(self, *entries: Entry) -> None:
        data, complete = format_files_list(entries, "cp1252", [])
        assert complete
        self.files_list.write_bytes(data)

    def entries(self) -> list[Entry]:
        return parse_files_list(self.files_list.read_bytes(), "cp1252", [])

    def names(self) -> list[str]:
        return [entry.name for entry in self.entries()]

    def run(self, *arguments: str) -> int:
        return main([*arguments, "--main-node", os.fspath(self.node)])


def entry(name: str, description: str = "A file\r\n") -> Entry:
    return Entry(name, " 1", OLD_DATE, description)


def write_file(path: Path, size: int, when: datetime) -> Path:
    path.write_bytes(b"z" * size)
    os.utime(path, (when.timestamp(), when.timestamp()))
    return path


@pytest.fixture
def board(tmp_path) -> Board:
    made = Board(tmp_path)
    made.write_list(entry("ONE.ZIP"), entry("TWO.ZIP"), entry("THREE.ZIP"))
    write_file(made.files / "ONE.ZIP", 111, datetime(2020, 1, 2, 3, 4))
    write_file(made.alt / "two.zip", 2222, datetime(2021, 5, 6, 7, 8))
    write_file(made.files / "THREE.ZIP", 3, datetime(2022, 9, 10, 11, 12))
    return made


@pytest.fixture
def no_terminal(monkeypatch):
    monkeypatch.setattr("sys.stdin", io.StringIO(""))


class TypedReply(io.StringIO):
    def isatty(self) -> bool:
        return True


# -- refresh -------------------------------------------------------------------------------


def test_refresh_without_names_or_flags_refreshes_every_date_and_size_and_saves(board, capsys):
    status = board.run("refresh", "1")

    out, err = capsys.readouterr()
    assert status == 0
    assert [(e.name, e.size, e.date) for e in board.entries()] == [
        ("ONE.ZIP", " 111", "01-02-20"),
        ("TWO.ZIP", " 2222", "05-06-21"),
        ("THREE.ZIP", " 3", "09-10-22"),
    ]
    assert "Refreshed the dates of 3 entries." in out
    assert "Refreshed the sizes of 3 entries." in out
    assert "Changes were saved to " + os.fspath(board.files_list) in out
    assert (board.files / "FILES.BAK").exists()
    assert err == ""


def test_refresh_sizes_of_named_entries_only(board, capsys):
    status = board.run("refresh", "Utilities", "--sizes", "TWO.ZIP")

    assert status == 0
    assert [(e.size, e.date) for e in board.entries()] == [
        (" 1", OLD_DATE),
        (" 2222", OLD_DATE),
        (" 1", OLD_DATE),
    ]
    assert "Refreshed the sizes of 1 entry." in capsys.readouterr().out


def test_refresh_dates_only(board):
    assert board.run("refresh", "1", "--dates", "ONE.ZIP") == 0
    assert [(e.size, e.date) for e in board.entries()][0] == (" 1", "01-02-20")


def test_refresh_lists_names_not_in_the_list_and_files_not_found_and_exits_1(board, capsys):
    (board.files / "THREE.ZIP").unlink()

    status = board.run("refresh", "1", "--sizes", "ONE.ZIP", "THREE.ZIP", "NOPE.ZIP")

    out, err = capsys.readouterr()
    assert status == 1
    assert "not in the Files List: NOPE.ZIP" in err
    assert "Files listed below were not found!" in out + err
    assert "THREE.ZIP" in out + err
    # What was found is refreshed and saved all the same.
    assert [e.size for e in board.entries()] == [" 111", " 1", " 1"]


def test_refresh_of_an_empty_list_does_nothing(tmp_path, capsys):
    board = Board(tmp_path)
    board.write_list()

    assert board.run("refresh", "1") == 0
    assert "The Files List holds no entries." in capsys.readouterr().out
    assert not (board.files / "FILES.BAK").exists()


# -- erase ---------------------------------------------------------------------------------


def test_erase_with_yes_removes_the_entries_keeps_the_files_and_saves(board, capsys):
    status = board.run("erase", "1", "ONE.ZIP", "THREE.ZIP", "--yes")

    out, err = capsys.readouterr()
    assert status == 0
    assert board.names() == ["TWO.ZIP"]
    assert (board.files / "ONE.ZIP").exists()
    assert "Erased 2 entries" in out
    assert "This will Delete the selected" in err


def test_erase_matches_a_name_ignoring_case_when_no_entry_has_it_exactly(board):
    assert board.run("erase", "1", "two.zip", "--yes") == 0
    assert board.names() == ["ONE.ZIP", "THREE.ZIP"]


def test_erase_without_yes_and_without_a_terminal_erases_nothing(board, capsys, no_terminal):
    before = board.files_list.read_bytes()

    status = board.run("erase", "1", "ONE.ZIP")

    err = capsys.readouterr().err
    assert status == 1
    assert "-> Cancel" in err
    assert "nothing erased" in err
    assert board.files_list.read_bytes() == before


def test_erase_of_names_not_in_the_list_exits_1_and_saves_nothing(board, capsys):
    before = board.files_list.read_bytes()

    assert board.run("erase", "1", "NOPE.ZIP", "--yes") == 1
    assert "not in the Files List: NOPE.ZIP" in capsys.readouterr().err
    assert board.files_list.read_bytes() == before


# -- delete --------------------------------------------------------------------------------


def test_delete_with_yes_deletes_the_files_and_saves_the_list(board, capsys):
    status = board.run("delete", "1", "TWO.ZIP", "--yes")

    out, err = capsys.readouterr()
    assert status == 0
    assert not (board.alt / "two.zip").exists()
    assert board.names() == ["ONE.ZIP", "THREE.ZIP"]
    assert f"Deleted {board.alt / 'two.zip'}" in out
    assert "This will permanently Delete the" in err
    assert "-> OK (--yes)" in err


def test_delete_without_a_terminal_answers_cancel_and_deletes_nothing(board, capsys, no_terminal):
    before = board.files_list.read_bytes()

    status = board.run("delete", "1", "ONE.ZIP")

    assert status == 1
    assert "nothing deleted" in capsys.readouterr().err
    assert (board.files / "ONE.ZIP").exists()
    assert board.files_list.read_bytes() == before


def test_delete_asks_at_a_terminal(board, monkeypatch):
    monkeypatch.setattr("sys.stdin", TypedReply("ok\n"))

    assert board.run("delete", "1", "ONE.ZIP") == 0
    assert not (board.files / "ONE.ZIP").exists()
    assert board.names() == ["TWO.ZIP", "THREE.ZIP"]


def test_delete_of_an_entry_whose_file_is_missing_saves_nothing_and_exits_1(board, capsys):
    (board.files / "THREE.ZIP").unlink()
    before = board.files_list.read_bytes()

    status = board.run("delete", "1", "THREE.ZIP", "--yes")

    err = capsys.readouterr().err
    assert status == 1
    assert "THREE.ZIP: no such file in the area's directories" in err
    assert "the Files List was not saved" in err
    assert board.files_list.read_bytes() == before


def test_delete_on_a_cdrom_area_is_refused(tmp_path, capsys):
    board = Board(tmp_path, cdrom=True)
    board.write_list(entry("ONE.ZIP"))
    write_file(board.files / "ONE.ZIP", 1, datetime(2020, 1, 1))

    status = board.run("delete", "1", "ONE.ZIP", "--yes")

    assert status == 1
    assert "You can not delete files from a CDROM File Area!" in capsys.readouterr().err
    assert (board.files / "ONE.ZIP").exists()
    assert board.names() == ["ONE.ZIP"]


def test_delete_of_a_file_that_cannot_be_deleted_exits_1_and_logs_it(
    board, capsys, monkeypatch, isolated_run
):
    def refusing_unlink(path, *args, **kwargs):
        raise PermissionError(13, "Permission denied", os.fspath(path))

    monkeypatch.setattr(delete_erase.os, "unlink", refusing_unlink)

    status = board.run("delete", "1", "ONE.ZIP", "--yes")

    err = capsys.readouterr().err
    assert status == 1
    assert f"{board.files / 'ONE.ZIP'}: could not be deleted; entry removed" in err
    assert (board.files / "ONE.ZIP").exists()
    log = (isolated_run / "Kelvane.err").read_text("cp1252")
    assert os.fspath(board.files / "ONE.ZIP") in log
    assert "Procedure Name: mnuDeleteFiles_Click" in log


# -- strip-uploaders -----------------------------------------------------------------------


def test_strip_uploaders_cuts_every_entry_and_saves(tmp_path, capsys):
    board = Board(tmp_path)
    board.write_list(
        entry("A.ZIP", "Tool\r\nUploaded By: Sam\r\nMore\r\n"),
        entry("B.ZIP", "Plain\r\n"),
        entry("C.ZIP", "uploaded by: lower\r\n"),
    )

    status = board.run("strip-uploaders", "1")

    assert status == 0
    assert [e.description for e in board.entries()] == [
        "Tool\r\n",
        "Plain\r\n",
        "uploaded by: lower\r\n",
    ]
    assert 'Cut 1 description at "Uploaded By".' in capsys.readouterr().out


def test_strip_uploaders_of_named_entries_with_nothing_to_cut_saves_nothing(tmp_path, capsys):
    board = Board(tmp_path)
    board.write_list(entry("A.ZIP", "Uploaded By: Sam\r\n"), entry("B.ZIP", "Plain\r\n"))
    before = board.files_list.read_bytes()

    assert board.run("strip-uploaders", "1", "B.ZIP") == 0
    assert board.files_list.read_bytes() == before
    assert not (board.files / "FILES.BAK").exists()


def test_options_may_stand_before_and_after_the_names_and_a_missing_name_is_a_usage_error(
    board, capsys
):
    assert board.run("erase", "--yes", "1", "ONE.ZIP") == 0
    assert board.run("erase", "1") == 2
    assert "the following arguments are required: NAME" in capsys.readouterr().err
