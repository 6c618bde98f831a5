"""Part 2.6, "Edge cases worth testing": one test per bullet, through the real editor.

Erase File / List Only, Delete Files, Select all Files and No Select all
Files are triggered as File Operations actions or toolbar keys on a real
``frmEditFileArea`` over a board in tmp_path.  The safety of deleting
(links, directories, path names, failures logged) is tested in detail in
``tests/editor/test_operations_core.py``.
"""

from __future__ import annotations

import os
import stat

import pytest

from kelvane.board.user_port import Answer
from kelvane.editor import delete_erase
from tests.spec import test_part_2_5_refresh as harness
from tests.spec.test_part_2_5_refresh import entry, write_file

pytestmark = pytest.mark.gui

#: The editor harness of the Part 2.5 spec tests, used here as a fixture.
open_area = harness.open_area


def test_erasing_the_last_remaining_entries_leaves_an_empty_list_and_sets_changes_made(
    open_area, session, port
):
    area = open_area([entry("ONE.ZIP"), entry("TWO.ZIP")])
    write_file(area.slots[0] / "ONE.ZIP")
    write_file(area.slots[1] / "TWO.ZIP")
    area.trigger("mnuSelectAllFiles")
    assert area.tagged == "2"
    port.expect_alert("DeleteFilesListOnly", Answer.OK)

    area.trigger("mnuEraseFilesListOnly")

    assert area.names() == []
    assert area.total == "0"
    assert area.tagged == "0"
    assert area.editor.lblFileSize.text() == "0"
    assert area.editor.txtFileDescription.isReadOnly()
    assert session.ChangesMade
    # The files stay on disk; the list on disk changes only on Save Work.
    assert (area.slots[0] / "ONE.ZIP").exists()
    assert (area.slots[1] / "TWO.ZIP").exists()
    assert b"ONE.ZIP" in area.files_list.read_bytes()


def test_deleting_a_selected_entry_whose_file_lies_in_directory_slot_2_deletes_that_file_and_leaves_a_file_of_the_same_name_in_a_later_slot(
    open_area, session, port
):
    area = open_area([entry("KEEP.ZIP"), entry("SHARED.ZIP")], track_for_index=True)
    write_file(area.slots[0] / "KEEP.ZIP")
    in_slot_2 = write_file(area.slots[2] / "SHARED.ZIP")
    in_slot_3 = write_file(area.slots[3] / "SHARED.ZIP", size=33)
    area.select(1)
    port.expect_alert("DeleteFiles", Answer.OK)

    area.press("DeleteFiles")

    assert not in_slot_2.exists()
    assert in_slot_3.read_bytes() == b"k" * 33
    assert area.names() == ["KEEP.ZIP"]
    assert area.total == "1"
    assert area.tagged == "0"
    assert session.ChangesMade
    assert session.IndexPending
    assert session.make_index_list == ["1"]


def test_deleting_entries_on_a_cd_rom_area_asks_both_questions_in_order_shows_the_refusal_and_leaves_the_list_unchanged(
    open_area, session, port
):
    area = open_area([entry("DISC.ZIP"), entry("ALSO.ZIP")], cdrom=True)
    disc = write_file(area.slots[0] / "DISC.ZIP")
    area.select(0, 1)
    port.expect_alert("DeleteFiles", Answer.OK)
    port.expect_alert("CDRomOffline", Answer.OK)

    area.trigger("mnuDeleteFiles")

    assert [box.text.split("\r")[0] for box in port.shown] == [
        "This will permanently Delete the",
        "You can not delete files from a CDROM File Area!",
    ]
    assert area.names() == ["DISC.ZIP", "ALSO.ZIP"]
    assert area.selected() == [0, 1]
    assert area.tagged == "2"
    assert disc.exists()
    assert not session.ChangesMade


def test_a_read_only_file_is_made_writable_and_then_deleted(open_area, session, port, monkeypatch):
    area = open_area([entry("LOCKED.ZIP")])
    locked = write_file(area.slots[1] / "LOCKED.ZIP")
    locked.chmod(0o444)
    modes: list[int] = []
    real_unlink = os.unlink

    def watching_unlink(path, *args, **kwargs):
        modes.append(stat.S_IMODE(os.lstat(path).st_mode))
        real_unlink(path, *args, **kwargs)

    monkeypatch.setattr(delete_erase.os, "unlink", watching_unlink)
    area.select(0)
    port.expect_alert("DeleteFiles", Answer.OK)

    area.trigger("mnuDeleteFiles")

    assert len(modes) == 1 and modes[0] & stat.S_IWUSR
    assert not locked.exists()
    assert area.names() == []
    assert session.ChangesMade


def test_deleting_a_selected_entry_whose_file_is_missing_removes_the_entry_but_leaves_changes_made_unset(
    open_area, session, port
):
    area = open_area([entry("THERE.ZIP"), entry("MISSING.ZIP")], track_for_index=True)
    there = write_file(area.slots[0] / "THERE.ZIP")
    area.select(1)
    port.expect_alert("DeleteFiles", Answer.OK)

    area.trigger("mnuDeleteFiles")

    assert area.names() == ["THERE.ZIP"]
    assert area.total == "1"
    assert there.exists()
    assert not session.ChangesMade
    assert not session.IndexPending
    assert session.make_index_list == []


def test_after_no_select_all_files_the_tag_counter_reads_0(open_area, session):
    area = open_area([entry("A.ZIP"), entry("B.ZIP"), entry("C.ZIP")])
    area.editor.set_current_index(2)
    area.press("SelectAllFiles")
    assert area.selected() == [0, 1, 2]
    assert area.tagged == "3"
    assert area.editor.current_index() == 0
    assert area.editor.lblFileName.text() == "A.ZIP"

    area.trigger("mnuNoSelectAllFiles")

    assert area.selected() == []
    assert area.tagged == "0"
    assert area.total == "3"
    assert not session.ChangesMade
