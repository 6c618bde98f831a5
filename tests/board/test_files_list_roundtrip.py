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
