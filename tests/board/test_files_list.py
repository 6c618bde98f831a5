"""The Files List reader and writer (Part 1.2), the entry list and VB's conversions.

Byte-exact expectations carry the rule beside them.  Columns as written: name
1-12, size 13-21, " date " 22-31, description 32-76; as read: name 1-12,
size 14-21, date 23-31, description 32-76.
"""

from __future__ import annotations

import errno
import os
import random
import re
import stat
from pathlib import Path

import pytest

from kelvane.board import board_tool, files_list
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.files_list import (
    Entry,
    EntryList,
    Load_fEditFileArealsv,
    SaveWork,
    backup_path,
    split_description_line,
    split_lines,
)
from kelvane.board.session import Session
from kelvane.board.user_port import Buttons, Icon
from kelvane.board.vb_text import Str, UCase, Val, plain_number, rtrim_spaces, trim_spaces
from tests.helpers.messagemock import ScriptedPort

OLD_LIST = b"OLD.ZIP             1 01-01-90 the previous list" + b" " * 28 + b"\r\n"
OLDER_BACKUP = b"OLDER.ZIP           9 09-09-89 the backup before" + b" " * 28 + b"\r\n"
LONG_NAME = "My Long File Name.txt"


def open_area(
    session: Session,
    tmp_path: Path,
    *,
    files_list_path: str | None = None,
    alt: list[str] | None = None,
) -> Path:
    """A board with one area in tmp_path, loaded as the current area; its directory."""
    main_node = tmp_path / "board"
    board_tool.init_board(main_node)
    directory = tmp_path / "area"
    board_tool.add_simple_area(
        main_node, "Test Area", directory, files_list=files_list_path, alt=alt or []
    )
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


def line(name: bytes, size: bytes, date: bytes, text: bytes) -> bytes:
    """An entry line as this program writes it (the test's own formatter)."""
    return (
        name.ljust(12) + size.rjust(9) + (b" " + date + b" ").rjust(10) + text.ljust(45) + b"\r\n"
    )


def continuation(text: bytes) -> bytes:
    return b" " * 31 + text.ljust(45) + b"\r\n"


def error_log(session: Session) -> str:
    return Path(session.reporter.log_path).read_text("cp1252")


def temporary_files(directory: Path) -> list[str]:
    return [p.name for p in directory.iterdir() if p.name.endswith(".tmp")]


@pytest.fixture
def area(session: Session, tmp_path: Path) -> Path:
    return open_area(session, tmp_path)


# -- the entry list --------------------------------------------------------------------


def make(name: str) -> Entry:
    return Entry(name, " 1", "01-01-01", name + "\r\n")


def test_entry_list_has_list_semantics_and_reports_each_change():
    calls: list[int] = []
    entries = EntryList([make("A"), make("B")])
    entries.on_change = lambda: calls.append(entries.version)

    entries.append(make("C"))
    entries[0] = make("Z")

    assert len(entries) == 3
    assert entries[1].name == "B"
    assert [e.name for e in entries[1:]] == ["B", "C"]
    assert [e.name for e in entries] == ["Z", "B", "C"]
    assert entries.names() == ["Z", "B", "C"]
    assert calls == [1, 2]


def test_remove_indices_removes_in_one_pass_and_refuses_out_of_range():
    entries = EntryList(make(name) for name in "ABCDEFG")
    calls: list[int] = []
    entries.on_change = lambda: calls.append(1)

    entries.remove_indices([0, 2, 3, 6])
    assert entries.names() == ["B", "E", "F"]
    with pytest.raises(IndexError):
        entries.remove_indices([1, 3])
    with pytest.raises(IndexError):
        entries.remove_indices([-1])
    assert entries.names() == ["B", "E", "F"]
    entries.remove_indices([])
    assert calls == [1]


def test_remove_indices_of_a_large_list_is_linear():
    entries = EntryList(make(f"N{i}") for i in range(200_000))
    entries.remove_indices(range(0, 200_000, 2))
    assert len(entries) == 100_000
    assert entries[0].name == "N1"
    assert entries[-1].name == "N199999"


def test_replace_all_replaces_and_counts_as_one_change():
    entries = EntryList([make("A")])
    entries.replace_all([make("X"), make("Y")])
    assert entries.names() == ["X", "Y"]
    assert entries.version == 1


# -- VB's conversions -----------------------------------------------------------------


@pytest.mark.parametrize(
    ("text", "value"),
    [
        ("", 0.0),
        ("12345", 12345.0),
        ("   123", 123.0),
        (" 1 2\t3\n4", 1234.0),  # blanks, tabs and line feeds skipped anywhere
        ("12AB", 12.0),
        ("ABC", 0.0),
        ("-7", -7.0),
        ("+7", 7.0),
        ("-", 0.0),
        ("-0", 0.0),
        ("1.5.3", 1.5),
        (".5", 0.5),
        ("1e3", 1000.0),
        ("1D2", 100.0),
        ("2E", 2.0),
        ("2E+", 2.0),
        ("&HFF", 255.0),
        ("&HFFFF", -1.0),  # 16-bit when it fits
        ("&H10000", 65536.0),
        ("&O17", 15.0),
        ("&", 0.0),
        ("1,000", 1.0),
        ("\x00123", 0.0),
    ],
)
def test_val_reads_the_number_at_the_start(text, value):
    assert Val(text) == value


def test_val_overflow_is_an_overflow_error():
    with pytest.raises(OverflowError):
        Val("1E999")
    with pytest.raises(OverflowError):
        Val("&H100000000")


@pytest.mark.parametrize(
    ("number", "text", "plain"),
    [
        (12345.0, " 12345", "12345"),
        (0.0, " 0", "0"),
        (-3.0, "-3", "-3"),
        (0.5, " .5", ".5"),
        (-0.25, "-.25", "-.25"),
        (1.5, " 1.5", "1.5"),
        (1e15, " 1E+15", "1E+15"),
        (123456789.0, " 123456789", "123456789"),
        (7, " 7", "7"),
    ],
)
def test_str_and_plain_number(number, text, plain):
    assert Str(number) == text
    assert plain_number(number) == plain


def test_trimming_removes_spaces_only():
    assert rtrim_spaces(" a \t ") == " a \t"
    assert trim_spaces("  a\t  ") == "a\t"


def test_ucase_stays_within_the_code_page():
    assert UCase("abc.txt") == "ABC.TXT"
    assert UCase("straße µ ÿ é") == "STRAßE µ Ÿ É"


# -- line splitting ---------------------------------------------------------------


@pytest.mark.parametrize(
    ("text", "lines"),
    [
        ("", []),
        ("a", ["a"]),
        ("a\r\n", ["a"]),
        ("a\r\nb", ["a", "b"]),
        ("a\rb\r", ["a", "b"]),
        ("a\nb\r\n", ["a\nb"]),
        ("a\r\r\nb", ["a", "", "b"]),
        ("\r\n\r\n", ["", ""]),
    ],
)
def test_split_lines_on_cr_lf_then_lone_cr(text, lines):
    assert split_lines(text) == lines


@pytest.mark.parametrize(
    ("text", "result"),
    [
        ("A\rB\r", ("A", "B\r")),
        ("X" * 45 + "\r", ("X" * 45, "")),  # a CR at 46 gives a 45-character line
        ("X" * 46 + "\r", ("X" * 45, "X\r")),
        ("word " * 10, ("word " * 9, "word ")),  # the last space at 1..45 included
        ("a" * 44 + " " + "b" * 5, ("a" * 44 + " ", "b" * 5)),
        ("short", ("short", "")),
    ],
)
def test_the_line_splitting_rule(text, result):
    assert split_description_line(text) == result


def test_backup_path_looks_for_files_lst_exactly():
    assert backup_path("/b/area/FILES.LST") == "/b/area/FILES.BAK"
    assert backup_path("/b/FILES.LST.d/list") == "/b/FILES.BAK"
    assert backup_path("/b/area/files.lst") is None
    assert backup_path("/b/area/AREA1.LST") is None


# -- reading ---------------------------------------------------------------------------


def test_reading_takes_the_columns_as_the_spec_reads_them(session, area):
    listing = area / "FILES.LST"
    listing.write_bytes(
        line(b"GAME.ZIP", b"12345", b"01-02-03", b"A fine game")
        + continuation(b"  indented second line")
        + continuation(b"")
        + line(b"TOOL.ZIP", b"0", b"12-31-99", b"")
    )
    entries = EntryList()

    assert Load_fEditFileArealsv(session, entries)

    assert list(entries) == [
        Entry("GAME.ZIP", " 12345", "01-02-03", "A fine game\r\n  indented second line\r\n\r\n"),
        Entry("TOOL.ZIP", " 0", "12-31-99", "\r\n"),
    ]
    assert session.FileCount == 2
    assert session.ListIsEmpty is False


def test_reading_takes_the_files_list_path_from_the_area_record_again(session, area):
    (area / "FILES.LST").write_bytes(line(b"A.ZIP", b"1", b"01-01-01", b"a"))
    session.area.FileListPath = os.fspath(area / "ELSEWHERE.LST")
    entries = EntryList()

    assert Load_fEditFileArealsv(session, entries)

    assert session.area.FileListPath == os.fspath(area / "FILES.LST")
    assert entries.names() == ["A.ZIP"]
    assert not (area / "ELSEWHERE.LST").exists()


def test_a_missing_list_is_created_empty_without_a_message(session, area):
    entries = EntryList([make("OLD")])

    assert Load_fEditFileArealsv(session, entries)

    assert (area / "FILES.LST").read_bytes() == b""
    assert len(entries) == 0
    assert session.ListIsEmpty is True


def test_a_read_error_is_reported_and_leaves_the_list_empty(session, port, area):
    (area / "FILES.LST").mkdir()  # a directory where the list should be
    entries = EntryList([make("OLD")])
    port.expect_error("Load_fEditFileArealsv")

    assert not Load_fEditFileArealsv(session, entries)

    assert len(entries) == 0
    assert session.FileCount == 0
    assert session.ListIsEmpty is True
    assert "Procedure Name: Load_fEditFileArealsv" in error_log(session)


def test_a_missing_area_record_is_a_read_error(session, port, area):
    session.area.AreaNumber = 7
    port.expect_error("Load_fEditFileArealsv")

    assert not Load_fEditFileArealsv(session, EntryList())


# -- asymmetries kept on purpose ----------------------------------------------------


def test_a_nine_digit_size_loses_its_first_digit_when_read_back(session, port, area):
    listing = area / "FILES.LST"
    expect_saved(port, listing)
    assert SaveWork(session, [Entry("BIG.ISO", " 123456789", "01-01-01", "big\r\n")])
    # written right-aligned in columns 13-21: all nine digits
    assert listing.read_bytes() == b"BIG.ISO     123456789 01-01-01 big" + b" " * 42 + b"\r\n"
    entries = EntryList()

    assert Load_fEditFileArealsv(session, entries)

    # read from columns 14-21: the first digit is lost
    assert entries[0].size == " 23456789"


def test_the_date_field_keeps_leading_blanks_and_moves_with_long_dates(session, port, area):
    listing = area / "FILES.LST"
    expect_saved(port, listing)
    entries = [
        Entry("SHORT.ZIP", " 1", "1-2-03", "short date\r\n"),
        Entry("LONG.ZIP", " 2", "2024-01-02", "long date\r\n"),
    ]
    assert SaveWork(session, entries)
    assert listing.read_bytes() == (
        # " 1-2-03 " padded on the left to 10
        b"SHORT.ZIP           1   1-2-03 short date"
        + b" " * 35
        + b"\r\n"
        # " 2024-01-02 " is 12 long: the description starts 2 columns later
        + b"LONG.ZIP            2 2024-01-02 long date"
        + b" " * 36
        + b"\r\n"
    )
    read = EntryList()

    assert Load_fEditFileArealsv(session, read)

    # columns 23-31, trailing spaces removed: the leading blanks stay
    assert read[0].date == "  1-2-03"
    # columns 23-31 of the shifted line; the description starts at 32 regardless
    assert read[1].date == "2024-01-0"
    assert read[1].description == "2 long date\r\n"


def test_a_tilde_alias_reads_as_the_upper_case_long_name(session, area):
    (area / LONG_NAME).write_bytes(b"x")
    (area / "FILES.LST").write_bytes(
        line(b"MYLONG~1.TXT", b"1", b"01-01-01", b"resolved")
        + line(b"mylong~1.txt", b"1", b"01-01-01", b"any case")
        + line(b"NOFILE~1.TXT", b"1", b"01-01-01", b"no such file")
        + line(b"MYLON~1.TXT", b"1", b"01-01-01", b"tilde not at 7")
    )
    entries = EntryList()

    assert Load_fEditFileArealsv(session, entries)

    assert entries.names() == [
        "MY LONG FILE NAME.TXT",
        "MY LONG FILE NAME.TXT",
        "NOFILE~1.TXT",
        "MYLON~1.TXT",
    ]


def test_the_tilde_rule_looks_in_the_additional_directories_in_order(session, tmp_path):
    extra = tmp_path / "extra"
    extra.mkdir()
    (extra / LONG_NAME).write_bytes(b"x")
    area = open_area(session, tmp_path, alt=[os.fspath(extra)])
    (area / "FILES.LST").write_bytes(line(b"MYLONG~1.TXT", b"1", b"01-01-01", b"in slot 1"))
    entries = EntryList()

    assert Load_fEditFileArealsv(session, entries)

    assert entries.names() == ["MY LONG FILE NAME.TXT"]


def test_the_tilde_rule_stops_at_the_first_empty_directory_slot(session, tmp_path):
    extra = tmp_path / "extra"
    extra.mkdir()
    (extra / LONG_NAME).write_bytes(b"x")
    # slot 1 empty, slot 2 holds the file: never looked at
    area = open_area(session, tmp_path, alt=["", os.fspath(extra)])
    (area / "FILES.LST").write_bytes(line(b"MYLONG~1.TXT", b"1", b"01-01-01", b"in slot 2"))
    entries = EntryList()

    assert Load_fEditFileArealsv(session, entries)

    assert entries.names() == ["MYLONG~1.TXT"]


def test_a_long_name_that_exists_is_written_as_its_alias(session, port, area):
    (area / LONG_NAME).write_bytes(b"x")
    (area / "a long file name").write_bytes(b"y")
    listing = area / "FILES.LST"
    expect_saved(port, listing)

    assert SaveWork(
        session,
        [
            # the name as read back (upper case) finds the file whatever its case
            Entry("MY LONG FILE NAME.TXT", " 10", "01-01-01", "long\r\n"),
            Entry("a long file name", " 20", "02-02-02", "no extension\r\n"),
        ],
    )

    assert listing.read_bytes() == (
        b"MYLONG~1.TXT"
        + b"       10"
        + b" 01-01-01 "
        + b"long"
        + b" " * 41
        + b"\r\n"
        # the alias replaces a long name unpadded, as the spec says
        + b"ALONGF~1"
        + b"       20"
        + b" 02-02-02 "
        + b"no extension"
        + b" " * 33
        + b"\r\n"
    )


def test_a_long_name_read_through_its_alias_saves_back_to_the_same_bytes(session, port, area):
    (area / LONG_NAME).write_bytes(b"x")
    listing = area / "FILES.LST"
    original = line(b"MYLONG~1.TXT", b"77", b"03-04-05", b"round trip")
    listing.write_bytes(original)
    entries = EntryList()
    assert Load_fEditFileArealsv(session, entries)
    expect_saved(port, listing)

    assert SaveWork(session, entries)

    assert listing.read_bytes() == original


def test_a_long_name_that_exists_nowhere_is_written_whole(session, port, area):
    listing = area / "FILES.LST"
    expect_saved(port, listing)

    assert SaveWork(session, [Entry("NOT ON THE DISK.ZIP", " 3", "01-01-01", "gone\r\n")])

    assert listing.read_bytes() == (
        b"NOT ON THE DISK.ZIP" + b"        3" + b" 01-01-01 " + b"gone" + b" " * 41 + b"\r\n"
    )


def test_a_name_the_code_page_cannot_encode_is_written_as_its_alias_or_with_question_marks(
    session, port, area
):
    (area / "日本.zip").write_bytes(b"x")
    listing = area / "FILES.LST"
    expect_saved(port, listing)

    assert SaveWork(
        session,
        [
            Entry("日本.zip", " 1", "01-01-01", "exists\r\n"),
            Entry("Ωmega.zip", " 2", "01-01-01", "missing\r\n"),
        ],
    )

    assert listing.read_bytes() == (
        # the alias, padded like any name of 12 characters or fewer
        line(b"__~1.ZIP", b"1", b"01-01-01", b"exists")
        # not on the disk: "?" for the character the page lacks
        + line(b"?mega.zip", b"2", b"01-01-01", b"missing")
    )


def test_continuation_lines_before_the_first_entry_are_dropped(session, area):
    (area / "FILES.LST").write_bytes(
        continuation(b"orphan one") + b"\r\n" + line(b"A.ZIP", b"1", b"01-01-01", b"first")
    )
    entries = EntryList()

    assert Load_fEditFileArealsv(session, entries)

    assert list(entries) == [Entry("A.ZIP", " 1", "01-01-01", "first\r\n")]
    assert session.ListIsEmpty is False


def test_the_previous_list_becomes_files_bak_replacing_the_older_backup(session, port, area):
    listing = area / "FILES.LST"
    listing.write_bytes(OLD_LIST)
    (area / "FILES.BAK").write_bytes(OLDER_BACKUP)
    (area / "FILES.BAK").chmod(0o444)  # attributes cleared before it is deleted
    expect_saved(port, listing)

    assert SaveWork(session, [Entry("NEW.ZIP", " 2", "02-02-02", "new\r\n")])

    assert listing.read_bytes() == line(b"NEW.ZIP", b"2", b"02-02-02", b"new")
    assert (area / "FILES.BAK").read_bytes() == OLD_LIST
    assert sorted(p.name for p in area.iterdir()) == ["FILES.BAK", "FILES.LST"]


def test_a_lower_case_files_lst_path_is_overwritten_without_a_backup(session, port, tmp_path):
    listing = tmp_path / "area" / "files.lst"
    area = open_area(session, tmp_path, files_list_path=os.fspath(listing))
    listing.write_bytes(OLD_LIST)
    listing.chmod(0o444)
    expect_saved(port, listing)

    assert SaveWork(session, [Entry("NEW.ZIP", " 2", "02-02-02", "new\r\n")])

    assert listing.read_bytes() == line(b"NEW.ZIP", b"2", b"02-02-02", b"new")
    assert sorted(p.name for p in area.iterdir()) == ["files.lst"]


def test_an_empty_entry_list_writes_an_empty_list_without_a_message(session, area):
    listing = area / "FILES.LST"
    listing.write_bytes(OLD_LIST)

    assert SaveWork(session, EntryList())

    assert listing.read_bytes() == b""
    assert (area / "FILES.BAK").read_bytes() == OLD_LIST


def test_saving_leaves_the_entry_list_unchanged(session, port, area):
    entries = EntryList([Entry("A\0B.ZIP", " 00012", "01-01-01", "  x  \r\n")])
    expect_saved(port, area / "FILES.LST")

    assert SaveWork(session, entries)

    # NUL removed from the name, size written plain, description's trailing spaces
    assert (area / "FILES.LST").read_bytes() == line(b"AB.ZIP", b"12", b"01-01-01", b"  x")
    assert list(entries) == [Entry("A\0B.ZIP", " 00012", "01-01-01", "  x  \r\n")]
    assert entries.version == 0


# -- bad input: nothing crashes, each reads as specified, the file stays as it was ---


def read_unchanged(session: Session, listing: Path, data: bytes) -> EntryList:
    """Write *data*, read it, and check that reading left the file's bytes and mtime alone."""
    listing.write_bytes(data)
    os.utime(listing, ns=(1_000_000_000_000_000_000, 1_000_000_000_000_000_000))
    before = listing.stat().st_mtime_ns
    entries = EntryList()
    assert Load_fEditFileArealsv(session, entries)
    assert listing.read_bytes() == data
    assert listing.stat().st_mtime_ns == before
    return entries


def test_nul_bytes_are_read_as_characters(session, area):
    entries = read_unchanged(
        session, area / "FILES.LST", line(b"A\0B.ZIP", b"1", b"01-01-01", b"nul\0inside")
    )
    assert list(entries) == [Entry("A\0B.ZIP", " 1", "01-01-01", "nul\0inside\r\n")]


def test_a_line_of_10000_characters_gives_its_columns_only(session, area):
    data = b"HUGE.ZIP    " + b"     4242" + b" 01-01-01 " + b"W" * 9969 + b"\r\n"
    assert len(data) == 10_002
    entries = read_unchanged(session, area / "FILES.LST", data)
    # size from columns 14-21 "    4242", description from columns 32-76
    assert list(entries) == [Entry("HUGE.ZIP", " 4242", "01-01-01", "W" * 45 + "\r\n")]


def test_a_lone_cr_ends_a_line(session, area):
    data = b"A.ZIP               1 01-01-01 one\rB.ZIP               2 02-02-02 two"
    entries = read_unchanged(session, area / "FILES.LST", data)
    assert list(entries) == [
        Entry("A.ZIP", " 1", "01-01-01", "one\r\n"),
        Entry("B.ZIP", " 2", "02-02-02", "two\r\n"),
    ]


def test_a_lone_lf_stays_part_of_its_line(session, area):
    data = b"A.ZIP               1 01-01-01 one\nB.ZIP               2 02-02-02 two\r\n"
    entries = read_unchanged(session, area / "FILES.LST", data)
    # one line of 70 characters: columns 32-76 run over the LF into the second half
    assert list(entries) == [
        Entry("A.ZIP", " 1", "01-01-01", "one\nB.ZIP               2 02-02-02 two\r\n")
    ]


def test_no_final_line_end_reads_the_last_line(session, area):
    data = line(b"A.ZIP", b"1", b"01-01-01", b"one") + b"                               last"
    entries = read_unchanged(session, area / "FILES.LST", data)
    assert list(entries) == [Entry("A.ZIP", " 1", "01-01-01", "one\r\nlast\r\n")]


def test_a_zero_byte_file_gives_no_entries(session, area):
    entries = read_unchanged(session, area / "FILES.LST", b"")
    assert len(entries) == 0
    assert session.ListIsEmpty is True
    assert session.FileCount == 0


def test_letters_in_the_size_column_read_as_val_does(session, area):
    data = (
        line(b"A.ZIP", b"ABC", b"01-01-01", b"letters")
        + line(b"B.ZIP", b"12AB", b"01-01-01", b"digits then letters")
        + line(b"C.ZIP", b"1 2 3", b"01-01-01", b"blanks inside")
        + line(b"D.ZIP", b"-5", b"01-01-01", b"negative")
    )
    entries = read_unchanged(session, area / "FILES.LST", data)
    assert [e.size for e in entries] == [" 0", " 12", " 123", "-5"]


@pytest.mark.parametrize(
    ("page", "name"),
    [("cp1252", "ÄÖÜ\x81\x8d.ZIP"), ("cp437", "─╓▄üì.ZIP")],
)
def test_name_bytes_above_0x7f_read_in_the_code_page(session, port, area, page, name):
    session.code_page = page
    data = line(b"\xc4\xd6\xdc\x81\x8d.ZIP", b"1", b"01-01-01", b"\xe9\xe8\xff\x90\x9d")
    entries = read_unchanged(session, area / "FILES.LST", data)
    assert entries.names() == [name]
    expect_saved(port, area / "FILES.LST")
    assert SaveWork(session, entries)
    assert (area / "FILES.LST").read_bytes() == data


def reference_names(data: bytes, page: str) -> list[str]:
    """Names of the entry lines, found another way (a regular expression)."""
    parts = re.split(rb"\r\n|\r", data)
    if parts and parts[-1] == b"":
        parts.pop()
    names = [part[:12].decode("latin-1").rstrip(" ") for part in parts]
    codec = files_list.code_page(page)
    return [codec.decode(n.encode("latin-1")) for n in names if n]


@pytest.mark.parametrize("seed", [1, 2, 3])
def test_random_binary_garbage_reads_without_crashing(session, area, seed):
    rng = random.Random(seed)
    data = bytes(rng.choice(b"\r\n \x00AZ09~.-\xff\x81") for _ in range(3000)) + rng.randbytes(
        20_000
    )
    entries = read_unchanged(session, area / "FILES.LST", data)
    assert entries.names() == reference_names(data, "cp1252")
    assert session.FileCount == len(entries)
    assert all(e.description.endswith("\r\n") for e in entries)


# -- the safe save: failure injection ---------------------------------------------------


class Killed(BaseException):
    """Stands for the process being stopped in the middle of the write."""


@pytest.fixture
def saved_before(session: Session, area: Path) -> Path:
    """An area whose FILES.LST and FILES.BAK exist; the list's path."""
    listing = area / "FILES.LST"
    listing.write_bytes(OLD_LIST)
    (area / "FILES.BAK").write_bytes(OLDER_BACKUP)
    return listing


NEW_ENTRIES = [Entry(f"NEW{i}.ZIP", f" {i}", "02-02-02", "new\r\n" * 3) for i in range(50)]


def assert_save_failed(session: Session, listing: Path, description: str) -> None:
    assert temporary_files(listing.parent) == []
    log = error_log(session)
    assert "Procedure Name: SaveWork" in log
    assert description in log


def partial_write_then(error: BaseException):
    real_write = os.write

    def write(descriptor: int, data) -> int:
        real_write(descriptor, bytes(data[:100]))
        raise error

    return write


def test_disk_full_during_the_write_leaves_the_previous_list(
    session, port, saved_before, monkeypatch
):
    monkeypatch.setattr(
        files_list, "_write", partial_write_then(OSError(errno.ENOSPC, "No space left"))
    )
    port.expect_error("SaveWork")

    assert not SaveWork(session, NEW_ENTRIES)

    assert saved_before.read_bytes() == OLD_LIST
    assert (saved_before.parent / "FILES.BAK").read_bytes() == OLDER_BACKUP
    assert_save_failed(session, saved_before, "Disk full")


def test_a_failing_fsync_leaves_the_previous_list(session, port, saved_before, monkeypatch):
    def fsync(descriptor: int) -> None:
        raise OSError(errno.ENOSPC, "No space left on device")

    monkeypatch.setattr(os, "fsync", fsync)
    port.expect_error("SaveWork")

    assert not SaveWork(session, NEW_ENTRIES)

    assert saved_before.read_bytes() == OLD_LIST
    assert (saved_before.parent / "FILES.BAK").read_bytes() == OLDER_BACKUP
    assert_save_failed(session, saved_before, "Disk full")


def test_permission_denied_on_the_final_rename_puts_the_previous_list_back(
    session, port, saved_before, monkeypatch
):
    def replace(source, target) -> None:
        raise PermissionError(errno.EACCES, "Permission denied", os.fspath(target))

    monkeypatch.setattr(os, "replace", replace)
    port.expect_error("SaveWork")

    assert not SaveWork(session, NEW_ENTRIES)

    # the list had become FILES.BAK (the older backup deleted): moved back
    assert saved_before.read_bytes() == OLD_LIST
    assert not (saved_before.parent / "FILES.BAK").exists()
    assert_save_failed(session, saved_before, "Permission denied")


def test_when_the_final_rename_and_its_undoing_fail_the_previous_list_is_files_bak(
    session, port, saved_before, monkeypatch
):
    real_rename = os.rename
    renames: list[str] = []

    def rename(source, target) -> None:
        renames.append(os.path.basename(source))
        if len(renames) > 1:
            raise PermissionError(errno.EACCES, "Permission denied", os.fspath(target))
        real_rename(source, target)

    def replace(source, target) -> None:
        raise PermissionError(errno.EACCES, "Permission denied", os.fspath(target))

    monkeypatch.setattr(os, "rename", rename)
    monkeypatch.setattr(os, "replace", replace)
    port.expect_error("SaveWork")

    assert not SaveWork(session, NEW_ENTRIES)

    assert renames == ["FILES.LST", "FILES.BAK"]
    assert not saved_before.exists()
    assert (saved_before.parent / "FILES.BAK").read_bytes() == OLD_LIST
    assert_save_failed(session, saved_before, "Permission denied")


def test_a_read_only_directory_leaves_the_previous_list(session, port, saved_before, monkeypatch):
    real_open = os.open
    directory = os.fspath(saved_before.parent)

    def open_(path, flags, mode=0o777, **kwargs):
        if flags & os.O_CREAT and os.path.dirname(os.fspath(path)) == directory:
            raise OSError(errno.EROFS, "Read-only file system", os.fspath(path))
        return real_open(path, flags, mode, **kwargs)

    monkeypatch.setattr(os, "open", open_)
    port.expect_error("SaveWork")

    assert not SaveWork(session, NEW_ENTRIES)

    assert saved_before.read_bytes() == OLD_LIST
    assert (saved_before.parent / "FILES.BAK").read_bytes() == OLDER_BACKUP
    assert_save_failed(session, saved_before, "Permission denied")


def test_a_read_only_directory_at_the_backup_rename_leaves_the_previous_list(
    session, port, saved_before, monkeypatch
):
    def rename(source, target) -> None:
        raise OSError(errno.EROFS, "Read-only file system", os.fspath(source))

    monkeypatch.setattr(os, "rename", rename)
    port.expect_error("SaveWork")

    assert not SaveWork(session, NEW_ENTRIES)

    assert saved_before.read_bytes() == OLD_LIST
    assert_save_failed(session, saved_before, "Permission denied")


def test_a_failing_replace_without_backup_rule_leaves_the_previous_list(
    session, port, tmp_path, monkeypatch
):
    listing = tmp_path / "area" / "AREA1.LST"
    open_area(session, tmp_path, files_list_path=os.fspath(listing))
    listing.write_bytes(OLD_LIST)

    def replace(source, target) -> None:
        raise OSError(errno.ENOSPC, "No space left on device", os.fspath(target))

    monkeypatch.setattr(os, "replace", replace)
    port.expect_error("SaveWork")

    assert not SaveWork(session, NEW_ENTRIES)

    assert listing.read_bytes() == OLD_LIST
    assert sorted(p.name for p in listing.parent.iterdir()) == ["AREA1.LST"]
    assert_save_failed(session, listing, "Disk full")


def test_a_process_stopped_mid_write_leaves_the_previous_list_and_no_temporary_file(
    session, saved_before, monkeypatch
):
    """An exception that is not an ``Exception`` is not the trap's: cleaned up, passed on.

    No box is shown (the scripted port would fail on one) and nothing is logged.
    """
    monkeypatch.setattr(files_list, "_write", partial_write_then(Killed()))

    with pytest.raises(Killed):
        SaveWork(session, NEW_ENTRIES)

    assert saved_before.read_bytes() == OLD_LIST
    assert (saved_before.parent / "FILES.BAK").read_bytes() == OLDER_BACKUP
    assert temporary_files(saved_before.parent) == []
    assert not Path(session.reporter.log_path).exists()


def test_a_save_writes_through_a_temporary_file_that_is_fsynced_first(
    session, port, saved_before, monkeypatch
):
    events: list[str] = []
    real_fsync, real_replace, real_rename = os.fsync, os.replace, os.rename

    def fsync(descriptor: int) -> None:
        events.append("fsync")
        real_fsync(descriptor)

    def replace(source, target) -> None:
        assert os.path.dirname(source) == os.path.dirname(target)
        assert Path(source).read_bytes().startswith(b"NEW0.ZIP")
        events.append("replace " + os.path.basename(target))
        real_replace(source, target)

    def rename(source, target) -> None:
        events.append(f"rename {os.path.basename(source)} {os.path.basename(target)}")
        real_rename(source, target)

    monkeypatch.setattr(os, "fsync", fsync)
    monkeypatch.setattr(os, "replace", replace)
    monkeypatch.setattr(os, "rename", rename)
    expect_saved(port, saved_before)

    assert SaveWork(session, NEW_ENTRIES)

    assert events[:3] == ["fsync", "rename FILES.LST FILES.BAK", "replace FILES.LST"]
    assert (saved_before.parent / "FILES.BAK").read_bytes() == OLD_LIST
    assert temporary_files(saved_before.parent) == []
    assert not stat.S_ISLNK(saved_before.lstat().st_mode)


def test_an_area_without_a_files_list_path_is_a_save_error(session, port, area):
    session.area.FileListPath = ""
    port.expect_error("SaveWork")

    assert not SaveWork(session, NEW_ENTRIES)

    assert "Procedure Name: SaveWork" in error_log(session)


def test_a_backup_that_cannot_be_deleted_stops_the_save_as_vb_name_would(
    session, port, saved_before, monkeypatch
):
    # ClearAttributes fails on the old FILES.BAK: it is not deleted, and the
    # rename onto it is refused ("File already exists") instead of overwriting it.
    monkeypatch.setattr(files_list, "ClearAttributes", lambda path: False)
    port.expect_error("SaveWork")

    assert not SaveWork(session, NEW_ENTRIES)

    assert saved_before.read_bytes() == OLD_LIST
    assert (saved_before.parent / "FILES.BAK").read_bytes() == OLDER_BACKUP
    assert_save_failed(session, saved_before, "File already exists")
