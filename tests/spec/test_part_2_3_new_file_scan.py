"""Part 2.3 (New-file scan): one test per "Edge cases worth testing" bullet.

The scan walks slots 0 to 10, skips the Files List's and index's own names,
"*.BAK" and "FILES.*", skips names already in the list (ignoring case), and
appends the others upper-cased with their size, date ("MM-DD-YY": today, or
the file's own date with RealFileDates) and the description of Part 2.4.
"""

from __future__ import annotations

import os
import time
import zipfile
from pathlib import Path

from kelvane.board.files_list import Entry, EntryList
from kelvane.editor import diz
from kelvane.editor.editor_view import ListEditorView
from kelvane.editor.file_scan import QuietScanProgress, run_file_scan


def make_zip(path: Path, diz_text: bytes | None) -> Path:
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("PROGRAM.EXE", b"MZ" + bytes(64))
        if diz_text is not None:
            archive.writestr("FILE_ID.DIZ", diz_text)
    return path


def make_area(session, tmp_path: Path, slots: int = 1, *, track: bool = False) -> list[Path]:
    """Slots 0..slots-1 under tmp_path; the Files List and index in their own directory."""
    directories = []
    for slot in range(slots):
        directory = tmp_path / f"slot{slot}"
        directory.mkdir()
        directories.append(directory)
    area = session.area
    area.AreaNumber = 7
    area.FilePaths = [os.fspath(d) for d in directories] + [""] * (11 - slots)
    area.FileListPath = os.fspath(tmp_path / "lists" / "FILES.LST")
    area.IndexPath = os.fspath(tmp_path / "index" / "AREA7.IDX") if track else ""
    area.TrackForIndex = track
    return directories


def listed(*names: str) -> ListEditorView:
    return ListEditorView(EntryList(Entry(name, " 1", "01-01-90", "Listed\r\n") for name in names))


def scan(session, view: ListEditorView) -> int:
    return run_file_scan(session, view, QuietScanProgress(session.port))


def added(view: ListEditorView, before: int) -> dict[str, Entry]:
    return {entry.name: entry for entry in view.entries[before:]}


def today() -> str:
    return time.strftime("%m-%d-%y", time.localtime())


def test_an_area_whose_directories_hold_only_files_already_listed_shows_no_new_files_found_and_leaves_changes_made_as_it_was(
    session, port, tmp_path
):
    (slot0, slot1) = make_area(session, tmp_path, slots=2, track=True)
    (slot0 / "A.ZIP").write_bytes(b"x")
    (slot1 / "B.TXT").write_bytes(b"y")
    view = listed("A.ZIP", "B.TXT")

    for changes_made in (False, True):
        session.ChangesMade = changes_made
        session.make_index_list.clear()
        port.expect_alert("NoNewFilesFound")

        assert scan(session, view) == 0

        assert session.ChangesMade is changes_made
        assert len(view.entries) == 2
        # Only earlier changes put a tracked area on the Make Index list.
        assert session.make_index_list == (["7"] if changes_made else [])
    assert not session.IndexPending


def test_names_such_as_files_bak_old_bak_and_files_lst_are_never_added_nor_the_files_list_and_index_files_whatever_their_names(
    session, tmp_path
):
    (slot0,) = make_area(session, tmp_path)
    session.area.FileListPath = os.fspath(slot0 / "Area7.lst")
    session.area.IndexPath = os.fspath(slot0 / "area7.idx")
    for name in (
        "files.bak",
        "OLD.BAK",
        "old.Bak",
        "FILES.LST",
        "files.lst",
        "Files.Txt",
        "files",  # not "FILES.*": no dot
        "AREA7.LST",  # the Files List's name, whatever its case on disk
        "Area7.Idx",  # the index file's name
        "NEW.TXT",
    ):
        (slot0 / name).write_bytes(b"data")
    view = listed()

    assert scan(session, view) == 2

    assert [entry.name for entry in view.entries] == ["FILES", "NEW.TXT"]


def test_a_directory_listing_a_file_readme_txt_while_the_list_holds_readme_txt_not_new(
    session, port, tmp_path
):
    (slot0,) = make_area(session, tmp_path)
    (slot0 / "readme.txt").write_bytes(b"read me")
    view = listed("README.TXT")
    port.expect_alert("NoNewFilesFound")

    assert scan(session, view) == 0

    assert view.entries.names() == ["README.TXT"]
    assert not session.ChangesMade


def test_a_new_non_zip_file_gets_no_description_unless_a_file_id_diz_was_left_in_the_work_directory(
    session, tmp_path, monkeypatch
):
    (slot0,) = make_area(session, tmp_path)
    (slot0 / "A.TXT").write_bytes(b"a")
    (slot0 / "B.TXT").write_bytes(b"b")
    work = Path(session.work_directory)
    work.mkdir()

    # No file left over: both get "No Description".
    view = listed()
    scan(session, view)
    assert [entry.description for entry in view.entries] == ["No Description"] * 2

    # A file left over (an earlier deletion failed): the first new file takes its
    # text and deletes it; the existence test is made again for the next file.
    (work / "FILE_ID.DIZ").write_bytes(b"Left over from an earlier archive\r\n")
    view = listed()
    scan(session, view)
    assert [entry.description for entry in view.entries] == [
        "Left over from an earlier archive\r\n",
        "No Description",
    ]
    assert not (work / "FILE_ID.DIZ").exists()

    # When its attributes cannot be reset the file stays, silently, for every new file.
    (work / "file_id.diz").write_bytes(b"Stuck\r\n")
    monkeypatch.setattr(diz, "ClearAttributes", lambda path: False)
    view = listed()
    scan(session, view)
    assert [entry.description for entry in view.entries] == ["Stuck\r\n", "Stuck\r\n"]
    assert (work / "file_id.diz").exists()


def test_a_diz_of_25_non_blank_lines_yields_a_description_of_its_first_20_blank_and_all_space_lines_not_counted(
    session, tmp_path
):
    (slot0,) = make_area(session, tmp_path)
    lines: list[str] = []
    for number in range(1, 26):
        lines.append(f"Line {number}")
        lines.append("" if number % 2 else "      ")
    make_zip(slot0 / "A.ZIP", "\r\n".join(lines).encode("ascii"))
    view = listed()

    assert scan(session, view) == 1

    entry = view.entries[0]
    assert entry.name == "A.ZIP"
    assert entry.description == "".join(f"Line {number}\r\n" for number in range(1, 21))


def test_with_real_file_dates_off_every_new_entry_dated_today_on_the_file_s_own_date(
    session, tmp_path
):
    (slot0,) = make_area(session, tmp_path)
    old = slot0 / "old.txt"
    old.write_bytes(b"x" * 12345)
    moment = time.mktime((2001, 3, 4, 12, 0, 0, 0, 0, -1))
    os.utime(old, (moment, moment))

    session.RealFileDates = False
    view = listed()
    scan(session, view)
    assert view.entries[0].date == today()
    assert view.entries[0].size == "12345"  # plain decimal text, no leading blank

    session.RealFileDates = True
    view = listed()
    scan(session, view)
    assert view.entries[0].date == "03-04-01"


def test_stopping_at_the_first_file_of_the_second_directory_keeps_all_entries_of_the_first_directory(
    session, port, tmp_path
):
    slot0, slot1, slot2 = make_area(session, tmp_path, slots=3)
    for name in ("A1.TXT", "A2.TXT", "A3.TXT"):
        (slot0 / name).write_bytes(b"a")
    for name in ("B1.TXT", "B2.TXT"):
        (slot1 / name).write_bytes(b"b")
    (slot2 / "C1.TXT").write_bytes(b"c")
    view = listed("A2.TXT")
    seen: list[int] = []

    def quit_at_the_first_file_of_slot1() -> None:
        seen.append(len(seen))
        if len(seen) == 4:  # A1, A2, A3 were listed before; B1 is the fourth
            session.SearchCancel = True

    port.on_process_events = quit_at_the_first_file_of_slot1

    count = scan(session, view)

    # The press is seen while B1's events run: B1 is finished, B2 and slot 2 are not.
    assert view.entries.names() == ["A2.TXT", "A1.TXT", "A3.TXT", "B1.TXT"]
    assert count == 3
    assert len(seen) == 4
    assert session.ChangesMade
    assert session.SearchCancel


# -- Beyond the bullets: the steps around the loop.


class CountingView(ListEditorView):
    def __init__(self, entries: EntryList) -> None:
        super().__init__(entries)
        self.batches: list[int] = []

    def append_entries(self, entries) -> None:
        self.batches.append(len(entries))
        super().append_entries(entries)


def test_new_files_in_a_tracked_area_set_changes_made_index_pending_and_the_make_index_list(
    session, port, tmp_path
):
    (slot0,) = make_area(session, tmp_path, track=True)
    make_zip(slot0 / "A.ZIP.TXT", b"Not only as the extension\r\n")
    (slot0 / "B.TXT").write_bytes(b"b")
    view = listed()
    port.on_process_events = None

    assert scan(session, view) == 2

    assert [(e.name, e.description) for e in view.entries] == [
        ("A.ZIP.TXT", "Not only as the extension\r\n"),
        ("B.TXT", "No Description"),
    ]
    assert session.ChangesMade and session.IndexPending
    assert session.make_index_list == ["7"]
    assert view.updates == 1
    assert port.busy_count == 1 and port.busy_depth == 0
    assert port.events == 2  # one turn of the event loop per listed file
    assert os.listdir(session.work_directory) == []


def test_a_work_directory_that_cannot_be_made_ends_the_scan_silently(session, tmp_path):
    (slot0,) = make_area(session, tmp_path)
    (slot0 / "NEW.TXT").write_bytes(b"new")
    Path(session.app_path, "Work").write_bytes(b"a file where the directory should be")
    view = listed()

    assert scan(session, view) == 0

    assert len(view.entries) == 0
    assert view.updates == 0
    assert not session.ChangesMade


def test_new_entries_reach_the_view_in_batches_and_a_second_spelling_is_not_added_twice(
    session, tmp_path, monkeypatch
):
    from kelvane.editor import file_scan

    monkeypatch.setattr(file_scan, "APPEND_BATCH", 4)
    slot0, slot1 = make_area(session, tmp_path, slots=2)
    for number in range(10):
        (slot0 / f"F{number}.TXT").write_bytes(b"f")
    (slot1 / "f0.txt").write_bytes(b"again")
    (slot1 / "G.TXT").write_bytes(b"g")
    view = CountingView(EntryList())

    assert scan(session, view) == 11

    assert view.batches == [4, 4, 2, 1]
    assert view.entries.names() == [f"F{n}.TXT" for n in range(10)] + ["G.TXT"]


def test_an_error_is_reported_as_mnu_file_scan_click_and_the_entries_added_stay(
    session, port, tmp_path, monkeypatch
):
    from kelvane.editor import file_scan

    (slot0,) = make_area(session, tmp_path, track=True)
    for name in ("A.TXT", "B.TXT", "C.TXT"):
        (slot0 / name).write_bytes(b"x")
    real_stat = os.stat

    def failing_stat(path, *args, **kwargs):
        if os.fspath(path).endswith("B.TXT"):
            raise PermissionError(13, "Permission denied", os.fspath(path))
        return real_stat(path, *args, **kwargs)

    monkeypatch.setattr(file_scan.os, "stat", failing_stat)
    port.expect_error("mnuFileScan_Click")
    view = listed()

    assert scan(session, view) == 1

    assert view.entries.names() == ["A.TXT"]
    assert session.ChangesMade and session.IndexPending
    assert session.make_index_list == ["7"]
    assert view.updates == 1
    assert port.busy_depth == 0
