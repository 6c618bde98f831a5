"""Part 2.4 (Archive descriptions): one test per "Edge cases worth testing" bullet.

The DIZ rules: the first 20 non-blank lines of the extracted FILE_ID.DIZ, each
right-trimmed, cut to 45 characters, right-trimmed again, and followed by
CR LF; blank and all-space lines are not counted.  Read DIZ replaces the
selected entries' descriptions whole, deselects them, and lists the entries
whose files are in no directory after "Files listed below were not found!".
"""

from __future__ import annotations

import os
import shutil
import subprocess
import zipfile
from pathlib import Path

import pytest

from kelvane.board.files_list import Entry, EntryList
from kelvane.board.user_port import Buttons, Icon
from kelvane.editor.diz import (
    build_description,
    describe_archive,
    extract_diz,
    is_read_diz_archive,
    is_scan_archive,
)
from kelvane.editor.editor_view import ListEditorView
from kelvane.editor.read_diz import mnuReadDIZ_Click
from kelvane.platform.unzip import available_tools

OLD = "An old description\r\n"


def make_zip(path: Path, diz: bytes | None, member: str = "FILE_ID.DIZ") -> Path:
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("PROGRAM.EXE", b"MZ" + bytes(64))
        if diz is not None:
            archive.writestr(member, diz)
    return path


def area_with(session, tmp_path: Path) -> Path:
    """Slot 0 is tmp_path/files; the other slots are empty."""
    directory = tmp_path / "files"
    directory.mkdir()
    session.area.FilePaths = [os.fspath(directory)] + [""] * 10
    return directory


def view_of(*names: str, selected: list[int] | None = None) -> ListEditorView:
    view = ListEditorView(EntryList(Entry(name, " 1", "01-01-90", OLD) for name in names))
    view.set_selected(range(len(names)) if selected is None else selected, True)
    return view


def read_diz_of(session, tmp_path: Path, diz: bytes) -> str:
    """The description Read DIZ gives an entry A.ZIP whose FILE_ID.DIZ holds *diz*."""
    directory = area_with(session, tmp_path)
    make_zip(directory / "A.ZIP", diz)
    view = view_of("A.ZIP")
    mnuReadDIZ_Click(session, view)
    assert view.selected_indices() == []
    assert session.ChangesMade
    return view.entries[0].description


def test_a_diz_whose_lines_are_longer_than_45_characters_each_kept_line_cut_at_45_then_right_trimmed(
    session, tmp_path
):
    words = "Forty-four characters of text before a blank" + " " + "and more"
    assert words[44] == " " and len(words) > 45
    long_line = "X" * 60
    diz = (words + "\r\n" + long_line + "\r\n" + "   indented" + "\r\n").encode("ascii")

    description = read_diz_of(session, tmp_path, diz)

    assert description == (
        "Forty-four characters of text before a blank"
        + "\r\n"  # cut at 45, blank trimmed
        + "X" * 45
        + "\r\n"
        + "   indented"
        + "\r\n"  # leading blanks kept
    )


def test_a_diz_of_only_blank_lines_an_empty_description_not_no_description(session, tmp_path):
    description = read_diz_of(session, tmp_path, b"\r\n   \r\n\r\n      \r\n")

    assert description == ""
    # The extracted file existed and was deleted afterwards.
    assert os.listdir(session.work_directory) == []


def test_a_diz_with_21_or_more_non_blank_lines_only_the_first_20_kept(session, tmp_path):
    lines = [f"Line {number}" for number in range(1, 23)]
    diz = "\r\n".join(lines).encode("ascii")

    description = read_diz_of(session, tmp_path, diz)

    assert description == "".join(f"Line {number}\r\n" for number in range(1, 21))


def test_selected_a_zip_b_txt_and_gone_zip_a_gets_its_diz_b_gets_no_description_and_the_message_lists_gone_zip(
    session, port, tmp_path
):
    directory = area_with(session, tmp_path)
    make_zip(directory / "A.ZIP", b"Archive A\r\nits second line\r\n")
    (directory / "B.TXT").write_bytes(b"just text")
    view = view_of("A.ZIP", "B.TXT", "GONE.ZIP")
    port.expect(
        title="Kelvane Alert!",
        text="Files listed below were not found!" + "\r\r" + "GONE.ZIP ",
        buttons=Buttons.OK,
        icon=Icon.INFORMATION,
    )

    mnuReadDIZ_Click(session, view)

    entries = view.entries
    assert entries[0].description == "Archive A\r\nits second line\r\n"
    assert entries[1].description == "No Description"
    assert entries[2].description == OLD  # not found: kept
    assert view.selected_indices() == [2]  # GONE.ZIP stays selected
    assert session.ChangesMade
    assert port.busy_count == 1 and port.busy_depth == 0
    assert view.updates == 1


def test_an_entry_name_with_trailing_blanks_is_found_on_disk_but_the_archive_path_uses_the_name_as_listed(
    session, port, tmp_path
):
    directory = area_with(session, tmp_path)
    make_zip(directory / "A.ZIP", b"Archive A\r\n")
    make_zip(directory / "LEAD.ZIP", b"Archive LEAD\r\n")
    (directory / "B.TXT").write_bytes(b"just text")
    # "A.ZIP  " and "B.TXT " are found (the existence test trims the name).  The
    # ZIP rule looks at the name as listed: "A.ZIP  " does not end in ".ZIP", so
    # nothing is extracted for it, as on the board's system.  " LEAD.ZIP" ends
    # in ".ZIP"; its archive is opened where the lookup found it.
    view = view_of("A.ZIP  ", "B.TXT ", " LEAD.ZIP")

    mnuReadDIZ_Click(session, view)  # no not-found box: all three were found

    entries = view.entries
    assert view.selected_indices() == []
    assert entries[0].description == "No Description"
    assert entries[1].description == "No Description"
    assert entries[2].description == "Archive LEAD\r\n"
    assert [entry.name for entry in entries] == ["A.ZIP  ", "B.TXT ", " LEAD.ZIP"]
    assert session.ChangesMade


# -- Beyond the bullets: the in-memory short cut gives what the Work directory gives.
#
# ``describe_archive`` reads a plain ZIP's FILE_ID.DIZ in memory; every archive
# below must get the same description as the spec's way (extract into Work
# through the unzip facility, build, delete), and leave Work empty.


def _zip_with(path: Path, members: list[tuple[zipfile.ZipInfo | str, bytes]], method: int) -> Path:
    with zipfile.ZipFile(path, "w", method) as archive:
        for info, data in members:
            archive.writestr(info, data)
    return path


def _symlink_member(name: str) -> zipfile.ZipInfo:
    info = zipfile.ZipInfo(name)
    info.create_system = 3
    info.external_attr = (0o120777 << 16) & 0xFFFF0000
    return info


ARCHIVES: dict[str, tuple[list[tuple[zipfile.ZipInfo | str, bytes]], int]] = {
    "plain": ([("FILE_ID.DIZ", b"Plain\r\nlines\r\n")], zipfile.ZIP_DEFLATED),
    "stored": ([("FILE_ID.DIZ", b"Stored\r\n")], zipfile.ZIP_STORED),
    "lower case in a folder": ([("docs/file_id.diz", b"Nested\r\n")], zipfile.ZIP_DEFLATED),
    "bzip2": ([("FILE_ID.DIZ", b"Bzip2\r\n")], zipfile.ZIP_BZIP2),
    "lzma": ([("FILE_ID.DIZ", b"Lzma\r\n")], zipfile.ZIP_LZMA),
    "folder of that name first": (
        [(zipfile.ZipInfo("FILE_ID.DIZ/"), b""), ("x/FILE_ID.DIZ", b"After the folder\r\n")],
        zipfile.ZIP_DEFLATED,
    ),
    "link of that name first": (
        [(_symlink_member("FILE_ID.DIZ"), b"/etc/passwd"), ("b/FILE_ID.DIZ", b"Real\r\n")],
        zipfile.ZIP_DEFLATED,
    ),
    "none": ([("README.TXT", b"no description here")], zipfile.ZIP_DEFLATED),
    "empty": ([("FILE_ID.DIZ", b"")], zipfile.ZIP_DEFLATED),
    "unix line ends and end-of-file mark": (
        [("FILE_ID.DIZ", b"One\nTwo\n\x1a\r\ngarbage after the mark\r\n")],
        zipfile.ZIP_DEFLATED,
    ),
    "8-bit text": ([("FILE_ID.DIZ", "Café – €5\r\n".encode("cp1252"))], zipfile.ZIP_DEFLATED),
    "over 1 MiB": ([("FILE_ID.DIZ", b" " * 1_048_570 + b"ABCDEFGHIJ\r\n")], zipfile.ZIP_DEFLATED),
}


@pytest.mark.parametrize("case", sorted(ARCHIVES))
def test_the_in_memory_short_cut_gives_the_description_of_the_work_directory(
    session, tmp_path, case
):
    members, method = ARCHIVES[case]
    archive = _zip_with(tmp_path / "ARCHIVE.ZIP", members, method)
    work = Path(session.work_directory)
    work.mkdir()

    extract_diz(session, os.fspath(archive))
    by_work_directory = build_description(session)
    assert os.listdir(work) == []
    by_short_cut = describe_archive(session, os.fspath(archive))

    assert by_short_cut == by_work_directory
    assert os.listdir(work) == []


@pytest.mark.parametrize("content", [b"not an archive at all", b"PK\x03\x04 broken", b""])
def test_what_the_short_cut_cannot_read_goes_through_the_facility(session, tmp_path, content):
    path = tmp_path / "BROKEN.ZIP"
    path.write_bytes(content)
    Path(session.work_directory).mkdir()

    assert describe_archive(session, os.fspath(path)) == "No Description"
    assert os.listdir(session.work_directory) == []


def test_a_file_left_in_the_work_directory_makes_the_short_cut_step_aside(session, tmp_path):
    # An archive without FILE_ID.DIZ extracts nothing, so the spec's way reads
    # the file left over (whatever the case of its name) and deletes it.
    archive = _zip_with(tmp_path / "A.ZIP", [("README.TXT", b"text")], zipfile.ZIP_DEFLATED)
    work = Path(session.work_directory)
    work.mkdir()
    (work / "File_Id.Diz").write_bytes(b"Left over\r\n")

    assert describe_archive(session, os.fspath(archive)) == "Left over\r\n"
    assert os.listdir(work) == []
    assert describe_archive(session, os.fspath(archive)) == "No Description"


def test_read_diz_takes_the_other_archive_formats_by_their_extensions(session, tmp_path):
    seven_zip = shutil.which("7zz") or shutil.which("7z")
    if seven_zip is None or "7z" not in available_tools():
        pytest.skip("no 7-Zip installed")
    directory = area_with(session, tmp_path)
    source = tmp_path / "source"
    source.mkdir()
    (source / "FILE_ID.DIZ").write_bytes(b"Packed with 7-Zip\r\n")
    subprocess.run(
        [seven_zip, "a", "-bd", os.fspath(directory / "A.7Z"), os.fspath(source / "FILE_ID.DIZ")],
        check=True,
        stdout=subprocess.DEVNULL,
    )
    (directory / "B.DAT").write_bytes((directory / "A.7Z").read_bytes())  # not an archive name
    view = view_of("A.7Z", "B.DAT")

    mnuReadDIZ_Click(session, view)

    assert [entry.description for entry in view.entries] == [
        "Packed with 7-Zip\r\n",
        "No Description",
    ]


@pytest.mark.parametrize(
    ("name", "read_diz", "scan"),
    [
        ("A.ZIP", True, True),
        ("A.ZIP.TXT", False, True),  # the scan takes ".ZIP" anywhere, deliberately
        ("X.ZIPPED", False, True),
        ("A.ZIP ", False, True),
        ("A.7Z", True, True),
        ("A.RAR", True, True),
        ("A.ARJ", True, True),
        ("A.LZH", True, True),
        ("A.LHA", True, True),
        ("A.RAR.TXT", False, False),
        ("A.TXT", False, False),
    ],
)
def test_which_names_are_taken_as_archives(name, read_diz, scan):
    assert is_read_diz_archive(name) is read_diz
    assert is_scan_archive(name) is scan


# -- porting.md "Text": lines split on CR LF, then on a lone CR; a lone LF stays ----------


def test_a_diz_read_splits_on_cr_lf_and_a_lone_cr_but_keeps_a_lone_lf_in_its_line(
    session, tmp_path
):
    description = read_diz_of(session, tmp_path, b"Dos line\r\nMac line\rUnix one\nUnix two\n")

    # The LF-only tail is one line (the original's line input), cut at 45 as any line.
    assert description == "Dos line\r\nMac line\r\nUnix one\nUnix two\n\r\n"


def test_a_unix_diz_longer_than_45_characters_is_one_line_cut_at_45(session, tmp_path):
    diz = b"".join(b"Line %02d of the text\n" % number for number in range(1, 6))

    description = read_diz_of(session, tmp_path, diz)

    assert description == diz[:45].decode("ascii").rstrip(" ") + "\r\n"
