"""Part 1.2, "Edge cases worth testing": one test per bullet, byte-exact.

Columns as written: name 1-12 (padded right), size 13-21 (right-aligned),
" " + date + " " in 22-31, description line 32-76 (padded right to 45);
continuation lines are 31 spaces + a 45-character line; lines end in CR LF.
"""

from __future__ import annotations

import os
from pathlib import Path

import pytest

from kelvane.board import board_tool
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.files_list import Entry, EntryList, Load_fEditFileArealsv, SaveWork
from kelvane.board.session import Session
from kelvane.board.user_port import Buttons, Icon
from tests.helpers.messagemock import ScriptedPort


def open_area(session: Session, tmp_path: Path, files_list: str | None = None) -> Path:
    """A board with one area in tmp_path, loaded as the current area; its directory."""
    main_node = tmp_path / "board"
    board_tool.init_board(main_node)
    directory = tmp_path / "area"
    board_tool.add_simple_area(main_node, "Test Area", directory, files_list=files_list)
    session.area.MainNodePath = os.fspath(main_node)
    session.area.AreaNumber = 1
    assert Farea_Dat_Initialize(session)
    return directory


def expect_saved(port: ScriptedPort, path: Path) -> None:
    port.expect(
        title="Kelvane Information",
        text="Changes were saved to " + os.fspath(path),
        buttons=Buttons.OK,
        icon=Icon.INFORMATION,
    )


@pytest.fixture
def area(session: Session, tmp_path: Path) -> Path:
    return open_area(session, tmp_path)


def test_an_empty_file_opens_with_no_entries_and_list_is_empty(session, area):
    listing = area / "FILES.LST"
    listing.write_bytes(b"")
    entries = EntryList([Entry("OLD.ZIP", " 1", "01-01-99", "left over\r\n")])

    assert Load_fEditFileArealsv(session, entries)

    assert len(entries) == 0
    assert session.ListIsEmpty is True
    assert session.FileCount == 0
    assert listing.read_bytes() == b""


def test_a_description_of_exactly_45_characters_without_spaces_is_one_line_and_of_46_is_a_45_character_line_and_a_1_character_continuation_line(
    session, port, area
):
    listing = area / "FILES.LST"
    entries = [
        Entry("A.ZIP", " 100", "01-02-03", "X" * 45 + "\r\n"),
        Entry("B.ZIP", " 200", "04-05-06", "Y" * 46 + "\r\n"),
    ]
    expect_saved(port, listing)

    assert SaveWork(session, entries)

    assert listing.read_bytes() == (
        # name padded to 12 | size right-aligned in 9 | " date " | 45 characters: one line
        b"A.ZIP       "
        + b"      100"
        + b" 01-02-03 "
        + b"X" * 45
        + b"\r\n"
        # 46 characters, no space, no CR within 46: cut at 45 ...
        + b"B.ZIP       "
        + b"      200"
        + b" 04-05-06 "
        + b"Y" * 45
        + b"\r\n"
        # ... and the 1 character left on a continuation line (31 spaces, padded to 45)
        + b" " * 31
        + b"Y"
        + b" " * 44
        + b"\r\n"
    )


def test_a_description_that_is_empty_is_written_as_no_description(session, port, area):
    listing = area / "FILES.LST"
    expect_saved(port, listing)

    assert SaveWork(session, [Entry("EMPTY.ZIP", " 5", "12-31-99", "")])

    assert listing.read_bytes() == (
        # empty description -> "No Description", padded to 45
        b"EMPTY.ZIP   " + b"        5" + b" 12-31-99 " + b"No Description" + b" " * 31 + b"\r\n"
    )


def test_a_description_a_crlf_b_crlf_is_written_as_the_entry_line_with_a_and_one_continuation_line_with_b(
    session, port, area
):
    listing = area / "FILES.LST"
    expect_saved(port, listing)

    assert SaveWork(session, [Entry("AB.ZIP", " 42", "06-15-98", "A\r\nB\r\n")])

    assert listing.read_bytes() == (
        # LF removed: "A" CR "B" CR; the CR at position 2 ends the first line
        b"AB.ZIP      "
        + b"       42"
        + b" 06-15-98 "
        + b"A"
        + b" " * 44
        + b"\r\n"
        # the rest "B" CR: one continuation line
        + b" " * 31
        + b"B"
        + b" " * 44
        + b"\r\n"
    )


def test_a_name_of_13_or_more_characters_whose_file_exists_in_none_of_the_area_directories_is_written_whole(
    session, port, area
):
    listing = area / "FILES.LST"
    expect_saved(port, listing)

    assert SaveWork(session, [Entry("A LONG NAME.ZIP", " 7", "01-01-01", "Long\r\n")])

    # 15 characters, unpadded: every later column moves 3 to the right.
    assert listing.read_bytes() == (
        b"A LONG NAME.ZIP" + b"        7" + b" 01-01-01 " + b"Long" + b" " * 41 + b"\r\n"
    )


def test_a_file_whose_path_does_not_contain_files_lst_in_upper_case_is_overwritten_without_a_backup(
    session, port, tmp_path
):
    listing = tmp_path / "area" / "files.lst"
    area = open_area(session, tmp_path, files_list=os.fspath(listing))
    listing.write_bytes(b"OLD.ZIP             1 01-01-90 old" + b" " * 42 + b"\r\n")
    expect_saved(port, listing)

    assert SaveWork(session, [Entry("NEW.ZIP", " 2", "02-02-02", "new\r\n")])

    assert listing.read_bytes() == (
        b"NEW.ZIP     " + b"        2" + b" 02-02-02 " + b"new" + b" " * 42 + b"\r\n"
    )
    # "FILES.LST" (exact case) is not in the path: no backup of any spelling.
    assert sorted(p.name for p in area.iterdir()) == ["files.lst"]


def test_an_entry_whose_name_is_empty_ends_the_save_and_later_entries_are_not_written(
    session, port, area
):
    listing = area / "FILES.LST"
    entries = [
        Entry("FIRST.ZIP", " 1", "01-01-01", "first\r\n"),
        Entry("\0", " 2", "02-02-02", "a name of NUL characters only is empty\r\n"),
        Entry("THIRD.ZIP", " 3", "03-03-03", "third\r\n"),
    ]

    # No closing message: the port fails on any box.
    assert SaveWork(session, entries)

    assert listing.read_bytes() == (
        b"FIRST.ZIP   " + b"        1" + b" 01-01-01 " + b"first" + b" " * 40 + b"\r\n"
    )
