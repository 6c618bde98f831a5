"""Round trips of the Files List (Part 1.2; porting.md, "Text"), as properties.

(a) Entries as the operations make them: saved, read and saved again give the
    same bytes, and the entries read are the entries saved.
(b) A list as this program writes it: read and saved again gives its bytes.

Both in Windows-1252 (its five undefined bytes included) and in CP437.
"""

from __future__ import annotations

import os
from pathlib import Path

import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from kelvane.board import board_tool
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.files_list import Entry, EntryList, Load_fEditFileArealsv, SaveWork
from kelvane.board.session import Session
from kelvane.board.user_port import Buttons, Icon
from kelvane.platform.code_pages import code_page
from tests.helpers.messagemock import ScriptedPort

PAGES = ["cp1252", "cp437"]
UNDEFINED_IN_CP1252 = "\x81\x8d\x8f\x90\x9d"

PROPERTY_SETTINGS = settings(
    max_examples=60,
    deadline=None,
    suppress_health_check=[HealthCheck.function_scoped_fixture],
)


@pytest.fixture
def area(session: Session, tmp_path: Path) -> Path:
    main_node = tmp_path / "board"
    board_tool.init_board(main_node)
    directory = tmp_path / "area"
    board_tool.add_simple_area(main_node, "Round Trip", directory)
    session.area.MainNodePath = os.fspath(main_node)
    session.area.AreaNumber = 1
    assert Farea_Dat_Initialize(session)
    return directory


def test_the_undefined_cp1252_bytes_are_in_the_description_alphabet():
    assert set(UNDEFINED_IN_CP1252) <= set(code_page("cp1252").decoding_table)


def printable(page: str) -> list[str]:
    return [ch for ch in code_page(page).decoding_table if ch.isprintable()]


def description_characters(page: str) -> list[str]:
    return [ch for ch in code_page(page).decoding_table if ch not in "\r\n"]


def names(page: str) -> st.SearchStrategy[str]:
    return (
        st.text(st.sampled_from(printable(page)), min_size=1, max_size=12)
        .map(lambda text: text.rstrip(" "))
        .filter(bool)
    )


def descriptions(page: str) -> st.SearchStrategy[list[str]]:
    line = st.text(st.sampled_from(description_characters(page)), max_size=45).map(
        lambda text: text.rstrip(" ")
    )
    return st.lists(line, min_size=1, max_size=5)


dates = st.builds(
    "{:02d}-{:02d}-{:02d}".format,
    st.integers(1, 12),
    st.integers(1, 31),
    st.integers(0, 99),
)
sizes = st.integers(0, 99_999_999)


@st.composite
def entries(draw: st.DrawFn, page: str) -> list[Entry]:
    count = draw(st.integers(0, 8))
    return [
        Entry(
            draw(names(page)),
            f" {draw(sizes)}",
            draw(dates),
            "".join(text + "\r\n" for text in draw(descriptions(page))),
        )
        for _ in range(count)
    ]


def canonical(items: list[Entry], page: str) -> bytes:
    """The bytes this program writes for *items*: the test's own formatter."""
    lines: list[str] = []
    for entry in items:
        texts = entry.description.split("\r\n")[:-1]
        lines.append(
            entry.name.ljust(12)
            + entry.size.strip().rjust(9)
            + f" {entry.date} "
            + texts[0].ljust(45)
        )
        lines.extend(" " * 31 + text.ljust(45) for text in texts[1:])
    return code_page(page).encode("".join(line + "\r\n" for line in lines), errors="strict")


def save(
    session: Session, port: ScriptedPort, listing: Path, items: EntryList | list[Entry]
) -> None:
    if len(items):
        port.expect(
            title="Kelvane Information",
            text="Changes were saved to " + os.fspath(listing),
            buttons=Buttons.OK,
            icon=Icon.INFORMATION,
        )
    assert SaveWork(session, items)
    port.verify()


@pytest.mark.parametrize("page", PAGES)
@PROPERTY_SETTINGS
@given(data=st.data())
def test_entries_saved_read_and_saved_again_give_the_same_bytes(session, port, area, page, data):
    port.expected.clear()
    session.code_page = page
    listing = area / "FILES.LST"
    items = data.draw(entries(page))

    save(session, port, listing, items)
    first = listing.read_bytes()
    read = EntryList()
    assert Load_fEditFileArealsv(session, read)
    save(session, port, listing, read)

    assert listing.read_bytes() == first
    assert first == canonical(items, page)
    assert list(read) == items
    assert session.FileCount == len(items)
    assert session.ListIsEmpty == (not items)


@pytest.mark.parametrize("page", PAGES)
@PROPERTY_SETTINGS
@given(data=st.data())
def test_a_canonical_list_read_and_saved_gives_its_bytes(session, port, area, page, data):
    port.expected.clear()
    session.code_page = page
    listing = area / "FILES.LST"
    original = canonical(data.draw(entries(page)), page)
    listing.write_bytes(original)
    read = EntryList()

    assert Load_fEditFileArealsv(session, read)
    save(session, port, listing, read)

    assert listing.read_bytes() == original


# An entry read in the writer's own layout keeps its text (Entry.as_read) and is
# written back from it while unchanged; the bytes must be exactly those that
# formatting the entry gives.


@settings(
    max_examples=60, deadline=None, suppress_health_check=[HealthCheck.function_scoped_fixture]
)
@given(data=st.data())
def test_entries_written_from_their_text_as_read_give_the_bytes_formatting_gives(data, tmp_path):
    from kelvane.board.files_list import format_files_list, parse_files_list

    lines = []
    # A lone LF anywhere turns the text-as-read off for the whole list: rare here.
    lf = data.draw(st.sampled_from(["", "", "", "\n"]))
    for _ in range(data.draw(st.integers(1, 8))):
        name = data.draw(
            st.text(
                alphabet=st.characters(min_codepoint=0x21, max_codepoint=0x7E),
                min_size=1,
                max_size=12,
            )
        )
        size = data.draw(
            st.sampled_from(
                ["        0", "      123", "000000042", " 99999999", "123456789", "   12x   "]
            )
        )
        date = data.draw(st.sampled_from([" 01-02-03 ", "12-31-99  ", "          ", " 1-2-3    "]))
        first = data.draw(st.text(alphabet="ab ~" + lf, max_size=50))
        lines.append(name.ljust(12) + size + date + first.ljust(45))
        for _ in range(data.draw(st.integers(0, 3))):
            gap = data.draw(st.sampled_from([" " * 31, " " * 30 + "x"]))
            lines.append(gap + data.draw(st.text(alphabet="cd " + lf, max_size=47)).ljust(45))
    raw = "\r\n".join(lines) + data.draw(st.sampled_from(["\r\n", ""]))
    directories = [str(tmp_path)] + [""] * 10
    entries = parse_files_list(raw.encode("cp1252"), "cp1252", directories)
    fast, _ = format_files_list(entries, "cp1252", directories)
    plain = [Entry(e.name, e.size, e.date, e.description) for e in entries]
    assert all(entry.as_read is None for entry in plain)
    formatted, _ = format_files_list(plain, "cp1252", directories)
    assert fast == formatted


def test_a_changed_field_is_formatted_again(tmp_path):
    from kelvane.board.files_list import format_files_list, parse_files_list

    # name 1-12, size right-aligned in 13-21, " date " in 22-31, description 32-76
    raw = (
        "A.ZIP".ljust(12) + "5".rjust(9) + " 01-02-03 " + "First line".ljust(45) + "\r\n"
    ).encode()
    (entry,) = parse_files_list(raw, "cp1252", [""] * 11)
    assert entry.text_as_read() == raw.decode("cp1252")
    assert format_files_list([entry], "cp1252", [""] * 11)[0] == raw
    entry.description = "Changed\r\n"
    assert entry.text_as_read() is None
    assert format_files_list([entry], "cp1252", [""] * 11)[0] == (
        ("A.ZIP".ljust(12) + "5".rjust(9) + " 01-02-03 " + "Changed".ljust(45) + "\r\n").encode()
    )


def test_a_list_holding_a_lone_lf_is_formatted_not_copied():
    from kelvane.board.files_list import format_files_list, parse_files_list

    # The LF stays part of its line when read (porting.md) and is removed when
    # written (Part 1.2, step 4.6), so the line cannot be copied as read.
    line = "A.ZIP".ljust(12) + "5".rjust(9) + " 01-02-03 " + "Two\nparts".ljust(45)
    (entry,) = parse_files_list((line + "\r\n").encode(), "cp1252", [""] * 11)
    assert entry.as_read is None
    assert format_files_list([entry], "cp1252", [""] * 11)[0] == (
        ("A.ZIP".ljust(12) + "5".rjust(9) + " 01-02-03 " + "Twoparts".ljust(45) + "\r\n").encode()
    )
