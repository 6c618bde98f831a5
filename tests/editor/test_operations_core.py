"""Parts 2.5, 2.6 and 2.7 on the plain ``ListEditorView``: no Qt.

The spec's edge cases are tested through the real editor in ``tests/spec``;
here the operations are checked in detail: the selection convention, the
flags, the boxes, the bulk view calls, the error traps and the safety of
Delete Files on disk.
"""

from __future__ import annotations

import os
import stat
from collections.abc import Iterable, Sequence
from datetime import datetime
from pathlib import Path

import pytest

from kelvane.board.files_list import Entry, EntryList
from kelvane.board.user_port import Answer, Buttons, Icon
from kelvane.editor import delete_erase, refresh, remove_uploaders
from kelvane.editor.commands import PLACEHOLDER, run_command
from kelvane.editor.delete_erase import (
    DeleteResult,
    delete_selected_files,
    mnuDeleteFiles_Click,
    mnuEraseFilesListOnly_Click,
    mnuNoSelectAllFiles_Click,
    mnuSelectAllFiles_Click,
)
from kelvane.editor.editor_view import ListEditorView
from kelvane.editor.refresh import mnuFileDate_Click, mnuFileLength_Click
from kelvane.editor.remove_uploaders import cut_at_uploader, mnuRemoveUploadBy_Click

OLD_DATE = "01-01-90"


class CountingView(ListEditorView):
    """A ``ListEditorView`` that counts the bulk calls an operation makes."""

    def __init__(self, entries: EntryList) -> None:
        super().__init__(entries)
        self.calls: dict[str, int] = {}

    def _count(self, name: str) -> None:
        self.calls[name] = self.calls.get(name, 0) + 1

    def set_selected(self, indices: Iterable[int], selected: bool) -> None:
        self._count("set_selected")
        super().set_selected(indices, selected)

    def remove_entries(self, indices: Sequence[int]) -> None:
        self._count("remove_entries")
        super().remove_entries(indices)

    def entries_changed(self, indices: Sequence[int]) -> None:
        self._count("entries_changed")
        super().entries_changed(indices)


def make_entries(*names: str, description: str = "A file\r\n") -> EntryList:
    return EntryList(Entry(name, " 1", OLD_DATE, description) for name in names)


def make_view(*names: str, selected: Iterable[int] = ()) -> CountingView:
    view = CountingView(make_entries(*names))
    view.set_selected(list(selected), True)
    view.calls.clear()
    return view


def make_slots(session, tmp_path: Path, count: int = 3) -> list[Path]:
    """Slots 0..count-1 as directories under tmp_path; the others empty."""
    directories = []
    for slot in range(count):
        directory = tmp_path / f"slot{slot}"
        directory.mkdir()
        directories.append(directory)
    session.area.FilePaths = [str(d) for d in directories] + [""] * (11 - count)
    return directories


def write_file(path: Path, size: int = 10, when: datetime | None = None) -> Path:
    path.write_bytes(b"x" * size)
    if when is not None:
        stamp = when.timestamp()
        os.utime(path, (stamp, stamp))
    return path


def names_of(view: ListEditorView) -> list[str]:
    return [entry.name for entry in view.entries]


# -- Part 2.5 ---------------------------------------------------------------------------


def test_file_date_takes_the_local_date_of_the_file_in_the_first_slot_that_holds_it(
    session, tmp_path
):
    slots = make_slots(session, tmp_path)
    write_file(slots[2] / "A.ZIP", when=datetime(2024, 3, 9, 15, 30))
    write_file(slots[1] / "B.ZIP", when=datetime(1999, 12, 31, 23, 59))
    view = make_view("A.ZIP", "B.ZIP", "C.ZIP", selected=[0, 1])

    mnuFileDate_Click(session, view)

    assert [entry.date for entry in view.entries] == ["03-09-24", "12-31-99", OLD_DATE]
    assert view.selected_indices() == []
    assert session.ChangesMade
    assert view.updates == 1


def test_file_length_stores_the_plain_decimal_size(session, tmp_path):
    slots = make_slots(session, tmp_path)
    write_file(slots[0] / "A.ZIP", size=12345)
    view = make_view("A.ZIP", selected=[0])

    mnuFileLength_Click(session, view)

    assert view.entries[0].size == "12345"
    assert session.ChangesMade


def test_refresh_finds_the_file_whatever_the_case_and_with_trailing_blanks(session, tmp_path):
    slots = make_slots(session, tmp_path)
    write_file(slots[0] / "Mixed.Zip", size=7)
    view = make_view("MIXED.ZIP  ", selected=[0])

    mnuFileLength_Click(session, view)

    assert view.entries[0].size == "7"
    assert view.selected_indices() == []


def test_refresh_trims_the_leading_blanks_of_the_joined_path(session, tmp_path):
    slots = make_slots(session, tmp_path, count=1)
    write_file(slots[0] / "A.ZIP", size=3)
    session.area.FilePaths[0] = "  " + str(slots[0])
    view = make_view("A.ZIP", selected=[0])

    mnuFileLength_Click(session, view)

    assert view.entries[0].size == "3"


def test_refresh_keeps_a_names_leading_blanks(session, tmp_path):
    slots = make_slots(session, tmp_path, count=1)
    write_file(slots[0] / "A.ZIP", size=3)
    view = make_view(" A.ZIP", selected=[0])
    port = session.port
    port.expect(
        title="Kelvane Alert Message!", text="Files listed below were not found!\r\r A.ZIP "
    )

    mnuFileLength_Click(session, view)

    assert view.selected_indices() == [0]


@pytest.mark.parametrize(
    ("command", "title"),
    [(mnuFileDate_Click, "Kelvane Alert!"), (mnuFileLength_Click, "Kelvane Alert Message!")],
)
def test_refresh_names_the_files_not_found_under_its_own_title(session, tmp_path, command, title):
    slots = make_slots(session, tmp_path)
    write_file(slots[0] / "B.ZIP")
    view = make_view("A.ZIP", "B.ZIP", "C.ZIP", "D.ZIP", selected=[0, 1, 2])
    session.port.expect(
        title=title,
        text="Files listed below were not found!\r\rA.ZIP C.ZIP ",
        buttons=Buttons.OK,
        icon=Icon.INFORMATION,
    )

    command(session, view)

    assert view.selected_indices() == [0, 2]
    assert session.ChangesMade


def test_refresh_with_nothing_found_leaves_changes_made_unset(session, tmp_path):
    make_slots(session, tmp_path)
    view = make_view("A.ZIP", selected=[0])
    session.port.expect(title="Kelvane Alert!", contains="A.ZIP ")

    mnuFileDate_Click(session, view)

    assert not session.ChangesMade
    assert view.entries[0].date == OLD_DATE


@pytest.mark.parametrize("name", ["..", ".", "../A.ZIP", "sub/A.ZIP", "SUB"])
def test_refresh_never_reaches_outside_the_slot_or_into_a_directory(session, tmp_path, name):
    slots = make_slots(session, tmp_path, count=1)
    write_file(tmp_path / "A.ZIP")
    (slots[0] / "sub").mkdir()
    write_file(slots[0] / "sub" / "A.ZIP")
    (slots[0] / "SUB").mkdir(exist_ok=True)
    view = make_view(name, selected=[0])
    session.port.expect(title="Kelvane Alert Message!", contains=name + " ")

    mnuFileLength_Click(session, view)

    assert view.entries[0].size == " 1"
    assert view.selected_indices() == [0]


@pytest.mark.parametrize("command", [mnuFileDate_Click, mnuFileLength_Click])
def test_refresh_without_a_selection_shows_no_selected_files(session, tmp_path, command):
    make_slots(session, tmp_path)
    view = make_view("A.ZIP")
    session.port.expect_alert("NoSelectedFiles")

    command(session, view)

    assert not session.ChangesMade
    assert view.updates == 0


def test_refresh_is_busy_and_makes_one_bulk_call_of_each_kind(session, tmp_path):
    slots = make_slots(session, tmp_path, count=1)
    names = [f"F{i:04}.ZIP" for i in range(200)]
    for name in names:
        write_file(slots[0] / name)
    view = make_view(*names, selected=range(200))

    mnuFileDate_Click(session, view)

    assert view.calls == {"set_selected": 1, "entries_changed": 1}
    assert session.port.busy_count == 1
    assert session.port.busy_depth == 0


def test_refresh_error_keeps_the_values_stored_and_reports_its_procedure(
    session, tmp_path, monkeypatch
):
    slots = make_slots(session, tmp_path)
    for name in ("A.ZIP", "B.ZIP", "C.ZIP"):
        write_file(slots[0] / name, size=5)
    real = refresh.file_length_text

    def failing(path: str) -> str:
        if path.endswith("B.ZIP"):
            raise PermissionError(13, "Permission denied", path)
        return real(path)

    monkeypatch.setattr(refresh, "file_length_text", failing)
    view = make_view("A.ZIP", "B.ZIP", "C.ZIP", selected=[0, 1, 2])
    session.port.expect_error("mnuFileLength_Click")

    mnuFileLength_Click(session, view)

    assert [entry.size for entry in view.entries] == ["5", " 1", " 1"]
    assert view.selected_indices() == [1, 2]
    assert session.ChangesMade
    log = Path(session.app_path, "Kelvane.err").read_text("cp1252")
    assert "Procedure Name: mnuFileLength_Click" in log


# -- Part 2.6: Erase -----------------------------------------------------------------------


def test_erase_removes_the_selected_entries_in_one_call_and_keeps_the_files(session, tmp_path):
    slots = make_slots(session, tmp_path)
    write_file(slots[0] / "B.ZIP")
    view = make_view("A.ZIP", "B.ZIP", "C.ZIP", "D.ZIP", selected=[1, 3])
    session.port.expect_alert("DeleteFilesListOnly", Answer.OK)

    mnuEraseFilesListOnly_Click(session, view)

    assert names_of(view) == ["A.ZIP", "C.ZIP"]
    assert view.selected_indices() == []
    assert view.calls == {"remove_entries": 1}
    assert session.ChangesMade
    assert (slots[0] / "B.ZIP").exists()
    assert view.updates == 1


def test_erase_cancelled_changes_nothing(session, tmp_path):
    view = make_view("A.ZIP", "B.ZIP", selected=[0])
    session.port.expect_alert("DeleteFilesListOnly", Answer.CANCEL)

    mnuEraseFilesListOnly_Click(session, view)

    assert names_of(view) == ["A.ZIP", "B.ZIP"]
    assert view.selected_indices() == [0]
    assert not session.ChangesMade


def test_erase_is_allowed_on_a_cdrom_area(session, tmp_path):
    session.area.IsCDRom = True
    view = make_view("A.ZIP", "B.ZIP", selected=[0])
    session.port.expect_alert("DeleteFilesListOnly", Answer.OK)

    mnuEraseFilesListOnly_Click(session, view)

    assert names_of(view) == ["B.ZIP"]


def test_erase_without_a_selection_shows_no_selected_files(session):
    view = make_view("A.ZIP")
    session.port.expect_alert("NoSelectedFiles")

    mnuEraseFilesListOnly_Click(session, view)

    assert names_of(view) == ["A.ZIP"]


# -- Part 2.6: Delete ----------------------------------------------------------------------


def test_delete_removes_entries_deletes_files_and_tracks_the_index(session, tmp_path):
    slots = make_slots(session, tmp_path)
    write_file(slots[0] / "A.ZIP")
    write_file(slots[1] / "b.zip")
    session.area.TrackForIndex = True
    session.area.AreaNumber = 4
    view = make_view("A.ZIP", "B.ZIP", "C.ZIP", selected=[0, 1])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    report = delete_selected_files(session, view)

    assert names_of(view) == ["C.ZIP"]
    assert view.calls == {"remove_entries": 1}
    assert not (slots[0] / "A.ZIP").exists()
    assert not (slots[1] / "b.zip").exists()
    assert session.ChangesMade and session.IndexPending
    assert session.make_index_list == ["4"]
    assert report is not None and report.completed
    assert report.deleted == ["A.ZIP", "B.ZIP"]


def test_delete_untracked_area_leaves_the_index_alone(session, tmp_path):
    slots = make_slots(session, tmp_path)
    write_file(slots[0] / "A.ZIP")
    session.area.AreaNumber = 4
    view = make_view("A.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    mnuDeleteFiles_Click(session, view)

    assert session.ChangesMade
    assert not session.IndexPending
    assert session.make_index_list == []


def test_delete_with_earlier_changes_puts_the_area_on_the_list_without_index_pending(
    session, tmp_path
):
    make_slots(session, tmp_path)
    session.area.TrackForIndex = True
    session.area.AreaNumber = 2
    session.ChangesMade = True
    view = make_view("GONE.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    mnuDeleteFiles_Click(session, view)

    assert names_of(view) == []
    assert session.make_index_list == ["2"]
    assert not session.IndexPending


def test_delete_cancelled_changes_nothing(session, tmp_path):
    slots = make_slots(session, tmp_path)
    write_file(slots[0] / "A.ZIP")
    view = make_view("A.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.CANCEL)

    assert delete_selected_files(session, view) is None

    assert names_of(view) == ["A.ZIP"]
    assert (slots[0] / "A.ZIP").exists()


def test_delete_on_an_offline_area_asks_then_refuses(session, tmp_path):
    slots = make_slots(session, tmp_path)
    write_file(slots[0] / "A.ZIP")
    session.area.IsOffline = True
    view = make_view("A.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)
    session.port.expect_alert("CDRomOffline", Answer.OK)

    mnuDeleteFiles_Click(session, view)

    assert names_of(view) == ["A.ZIP"]
    assert view.selected_indices() == [0]
    assert (slots[0] / "A.ZIP").exists()
    assert not session.ChangesMade


def test_delete_an_entry_listed_twice_deletes_the_file_of_each_slot_in_turn(session, tmp_path):
    slots = make_slots(session, tmp_path)
    write_file(slots[0] / "A.ZIP")
    write_file(slots[2] / "A.ZIP")
    view = make_view("A.ZIP", "A.ZIP", selected=[0, 1])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    report = delete_selected_files(session, view)

    assert report is not None
    assert [path for _name, _result, path in report.outcomes] == [
        str(slots[0] / "A.ZIP"),
        str(slots[2] / "A.ZIP"),
    ]
    assert not (slots[0] / "A.ZIP").exists()
    assert not (slots[2] / "A.ZIP").exists()


def test_delete_removes_a_symbolic_link_as_a_link_and_leaves_its_target(session, tmp_path):
    slots = make_slots(session, tmp_path)
    outside = tmp_path / "outside"
    outside.mkdir()
    target = write_file(outside / "REAL.ZIP", size=42)
    (slots[0] / "LINK.ZIP").symlink_to(target)
    view = make_view("LINK.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    mnuDeleteFiles_Click(session, view)

    assert not os.path.lexists(slots[0] / "LINK.ZIP")
    assert target.read_bytes() == b"x" * 42
    assert session.ChangesMade


def test_delete_leaves_a_read_only_target_of_a_link_read_only(session, tmp_path):
    slots = make_slots(session, tmp_path)
    target = write_file(tmp_path / "REAL.ZIP")
    target.chmod(0o444)
    (slots[0] / "LINK.ZIP").symlink_to(target)
    view = make_view("LINK.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    mnuDeleteFiles_Click(session, view)

    assert stat.S_IMODE(target.stat().st_mode) == 0o444
    target.chmod(0o644)


def test_delete_never_deletes_a_directory_named_by_an_entry(session, tmp_path):
    slots = make_slots(session, tmp_path)
    directory = slots[0] / "FOLDER.ZIP"
    directory.mkdir()
    write_file(directory / "INSIDE.TXT")
    view = make_view("FOLDER.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    report = delete_selected_files(session, view)

    assert report is not None and report.names(DeleteResult.NOT_FOUND) == ["FOLDER.ZIP"]
    assert (directory / "INSIDE.TXT").exists()
    assert names_of(view) == []
    assert not session.ChangesMade


def test_delete_refuses_a_directory_even_when_the_lookup_names_one(session, tmp_path, monkeypatch):
    slots = make_slots(session, tmp_path)
    directory = slots[0] / "FOLDER.ZIP"
    directory.mkdir()
    monkeypatch.setattr(delete_erase.FileLookup, "find", lambda self, folder, name: str(directory))
    view = make_view("FOLDER.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    report = delete_selected_files(session, view)

    assert report is not None
    assert report.outcomes == [("FOLDER.ZIP", DeleteResult.DIRECTORY, str(directory))]
    assert directory.is_dir()
    assert not session.ChangesMade


@pytest.mark.parametrize("name", ["..", ".", "../OUT.ZIP", "a/b", "/etc/hostname"])
def test_delete_finds_no_file_through_a_path_name(session, tmp_path, name):
    slots = make_slots(session, tmp_path)
    outside = write_file(tmp_path / "OUT.ZIP")
    (slots[0] / "a").mkdir()
    inside = write_file(slots[0] / "a" / "b")
    view = make_view(name, selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    report = delete_selected_files(session, view)

    assert report is not None and report.names(DeleteResult.NOT_FOUND) == [name]
    assert outside.exists() and inside.exists()
    assert all(directory.is_dir() for directory in slots)
    assert names_of(view) == []


def test_delete_makes_a_read_only_file_writable_before_deleting_it(session, tmp_path, monkeypatch):
    slots = make_slots(session, tmp_path)
    path = write_file(slots[0] / "RO.ZIP")
    path.chmod(0o444)
    modes: list[int] = []
    real_unlink = os.unlink

    def spying_unlink(target, *args, **kwargs):
        modes.append(stat.S_IMODE(os.lstat(target).st_mode))
        real_unlink(target, *args, **kwargs)

    monkeypatch.setattr(delete_erase.os, "unlink", spying_unlink)
    view = make_view("RO.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    mnuDeleteFiles_Click(session, view)

    assert modes and modes[0] & stat.S_IWUSR
    assert not path.exists()
    assert session.ChangesMade


def test_delete_when_attributes_cannot_be_cleared_keeps_the_file_and_the_flags(
    session, tmp_path, monkeypatch
):
    slots = make_slots(session, tmp_path)
    path = write_file(slots[0] / "A.ZIP")
    session.area.TrackForIndex = True
    session.area.AreaNumber = 1
    monkeypatch.setattr(delete_erase, "ClearAttributes", lambda target: False)
    view = make_view("A.ZIP", "B.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    report = delete_selected_files(session, view)

    assert path.exists()
    assert names_of(view) == ["B.ZIP"]
    assert not session.ChangesMade and not session.IndexPending
    assert session.make_index_list == []
    assert report is not None and report.kept == [("A.ZIP", DeleteResult.NOT_WRITABLE, str(path))]


def test_delete_logs_a_file_that_cannot_be_deleted_and_removes_its_entry(
    session, tmp_path, monkeypatch
):
    slots = make_slots(session, tmp_path)
    stuck = write_file(slots[0] / "STUCK.ZIP")
    write_file(slots[0] / "FREE.ZIP")
    real_unlink = os.unlink

    def refusing_unlink(target, *args, **kwargs):
        if os.fspath(target).endswith("STUCK.ZIP"):
            raise PermissionError(13, "Permission denied", os.fspath(target))
        real_unlink(target, *args, **kwargs)

    monkeypatch.setattr(delete_erase.os, "unlink", refusing_unlink)
    view = make_view("STUCK.ZIP", "FREE.ZIP", selected=[0, 1])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    report = delete_selected_files(session, view)

    assert stuck.exists() and not (slots[0] / "FREE.ZIP").exists()
    assert names_of(view) == []
    assert report is not None and report.names(DeleteResult.FAILED) == ["STUCK.ZIP"]
    log = Path(session.app_path, "Kelvane.err").read_text("cp1252")
    assert log.count("Procedure Name: mnuDeleteFiles_Click") == 1
    assert str(stuck) in log
    assert "Error #  70 was generated by Kelvane" in log


def test_delete_error_keeps_the_removals_made_and_reports_its_procedure(
    session, tmp_path, monkeypatch
):
    slots = make_slots(session, tmp_path)
    write_file(slots[0] / "A.ZIP")
    write_file(slots[0] / "B.ZIP")
    real = delete_erase.delete_area_file

    def failing(session, lookup, name, procedure_name="mnuDeleteFiles_Click"):
        if name == "B.ZIP":
            raise RuntimeError("broken")
        return real(session, lookup, name, procedure_name)

    monkeypatch.setattr(delete_erase, "delete_area_file", failing)
    view = make_view("A.ZIP", "B.ZIP", "C.ZIP", selected=[0, 1, 2])
    session.port.expect_alert("DeleteFiles", Answer.OK)
    session.port.expect_error("mnuDeleteFiles_Click")

    report = delete_selected_files(session, view)

    assert names_of(view) == ["C.ZIP"]
    assert not (slots[0] / "A.ZIP").exists() and (slots[0] / "B.ZIP").exists()
    assert report is not None and not report.completed
    assert report.deleted == ["A.ZIP"]


# -- Part 2.6: Select all / No Select all ------------------------------------------------


def test_select_all_selects_every_entry_and_makes_entry_0_current(session):
    view = make_view("A.ZIP", "B.ZIP", "C.ZIP")
    view.set_current_index(2)

    mnuSelectAllFiles_Click(session, view)

    assert view.selected_indices() == [0, 1, 2]
    assert view.current_index() == 0
    assert view.updates == 1


def test_select_all_on_an_empty_list_selects_nothing(session):
    view = make_view()

    mnuSelectAllFiles_Click(session, view)

    assert view.selected_indices() == []
    assert view.current_index() == -1


def test_no_select_all_deselects_every_entry(session):
    view = make_view("A.ZIP", "B.ZIP", selected=[0, 1])

    mnuNoSelectAllFiles_Click(session, view)

    assert view.selected_indices() == []
    assert view.updates == 1


# -- Part 2.7 ------------------------------------------------------------------------------


@pytest.mark.parametrize(
    ("description", "expected"),
    [
        ("One\r\nUploaded By: Sam\r\nThree\r\n", "One\r\n"),
        ("Uploaded By: Sam\r\n", ""),
        ("Text   Uploaded By x Uploaded By y\r\n", "Text   "),
        ("One\r\n   Uploaded By: Sam\r\n", "One\r\n   "),
        ("uploaded by: sam\r\n", None),
        ("UPLOADED BY\r\n", None),
    ],
)
def test_cut_at_uploader_keeps_exactly_what_stood_before_the_marker(description, expected):
    assert cut_at_uploader(description) == expected


def test_remove_uploaders_cuts_and_deselects_every_selected_entry(session):
    entries = EntryList(
        [
            Entry("A.ZIP", " 1", OLD_DATE, "A\r\nUploaded By: Sam\r\n"),
            Entry("B.ZIP", " 1", OLD_DATE, "B\r\n"),
            Entry("C.ZIP", " 1", OLD_DATE, "C\r\nUploaded By: Kim\r\n"),
        ]
    )
    view = CountingView(entries)
    view.set_selected([0, 1], True)
    view.calls.clear()

    mnuRemoveUploadBy_Click(session, view)

    assert [entry.description for entry in entries] == [
        "A\r\n",
        "B\r\n",
        "C\r\nUploaded By: Kim\r\n",
    ]
    assert view.selected_indices() == []
    assert session.ChangesMade
    assert view.calls == {"set_selected": 1, "entries_changed": 1}
    assert session.port.busy_count == 1


def test_remove_uploaders_without_a_marker_deselects_without_changes(session):
    view = make_view("A.ZIP", "B.ZIP", selected=[0, 1])

    mnuRemoveUploadBy_Click(session, view)

    assert view.selected_indices() == []
    assert not session.ChangesMade
    assert view.calls == {"set_selected": 1}


def test_remove_uploaders_without_a_selection_shows_no_selected_files(session):
    view = make_view("A.ZIP")
    session.port.expect_alert("NoSelectedFiles")

    mnuRemoveUploadBy_Click(session, view)

    assert view.updates == 0


@pytest.mark.parametrize("menu", ["mnuDefaultArchiveType", "mnuVirusCheck", "mnuWriteNewDIZ"])
def test_placeholders_show_the_not_available_box_and_change_nothing(session, menu):
    view = make_view("A.ZIP", selected=[0])
    session.port.expect(
        title="Kelvane Alert Message!",
        text="Sorry, this feature is not available yet!",
        buttons=Buttons.OK,
    )

    run_command(menu, session, view)

    assert session.port.shown == [PLACEHOLDER]
    assert view.selected_indices() == [0]
    assert not session.ChangesMade
    assert getattr(remove_uploaders, menu + "_Click") is not None


# -- Part 2.6: every file that could not be deleted is named in the error log (issue 7) ----


def test_delete_logs_a_file_whose_attributes_cannot_be_reset(session, tmp_path, monkeypatch):
    slots = make_slots(session, tmp_path)
    path = write_file(slots[0] / "LOCKED.ZIP")
    monkeypatch.setattr(delete_erase, "ClearAttributes", lambda target: False)
    view = make_view("LOCKED.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    report = delete_selected_files(session, view)

    assert path.exists() and names_of(view) == []
    assert report is not None and report.names(DeleteResult.NOT_WRITABLE) == ["LOCKED.ZIP"]
    log = Path(session.app_path, "Kelvane.err").read_text("cp1252")
    assert log.count("Procedure Name: mnuDeleteFiles_Click") == 1
    assert str(path) in log
    assert "Error #  70 was generated by Kelvane" in log


def test_delete_logs_a_directory_it_refused_to_delete(session, tmp_path, monkeypatch):
    slots = make_slots(session, tmp_path)
    directory = slots[0] / "FOLDER.ZIP"
    directory.mkdir()
    monkeypatch.setattr(delete_erase.FileLookup, "find", lambda self, folder, name: str(directory))
    view = make_view("FOLDER.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    delete_selected_files(session, view)

    assert directory.is_dir()
    log = Path(session.app_path, "Kelvane.err").read_text("cp1252")
    assert log.count("Procedure Name: mnuDeleteFiles_Click") == 1
    assert str(directory) in log


def test_delete_of_a_missing_file_writes_no_log(session, tmp_path):
    make_slots(session, tmp_path)
    view = make_view("GONE.ZIP", selected=[0])
    session.port.expect_alert("DeleteFiles", Answer.OK)

    delete_selected_files(session, view)

    assert not Path(session.app_path, "Kelvane.err").exists()
