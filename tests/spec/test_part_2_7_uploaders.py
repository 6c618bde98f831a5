"""Part 2.7, "Edge cases worth testing": one test per bullet, through the real editor.

Remove "Uploaded By" is triggered as the File Operations action
``mnuRemoveUploadBy`` (or the toolbar key ``RemoveUploadedBy``) on a real
``frmEditFileArea`` over a board in tmp_path; the three placeholder commands
are checked here too, as the Part tells them.
"""

from __future__ import annotations

import pytest

from kelvane.board.user_port import Buttons
from tests.spec import test_part_2_5_refresh as harness
from tests.spec.test_part_2_5_refresh import entry

pytestmark = pytest.mark.gui

#: The editor harness of the Part 2.5 spec tests, used here as a fixture.
open_area = harness.open_area


def test_a_description_of_three_lines_keeps_only_its_first_line_with_the_cr_lf_that_ends_it(
    open_area, session
):
    area = open_area(
        [entry("THREE.ZIP", "A first line of text\r\nUploaded By: Sam Sysop\r\nA third line\r\n")]
    )
    area.select(0)

    area.trigger("mnuRemoveUploadBy")

    assert area.entry(0).description == "A first line of text\r\n"
    assert area.selected() == []
    assert area.tagged == "0"
    assert session.ChangesMade


def test_a_description_that_begins_with_uploaded_by_becomes_empty(open_area, session):
    area = open_area([entry("ONLY.ZIP", "Uploaded By: Kim\r\nMore text\r\n")])
    area.select(0)

    area.press("RemoveUploadedBy")

    assert area.entry(0).description == ""
    assert area.editor.txtFileDescription.toPlainText() == ""
    assert session.ChangesMade


def test_uploaded_by_in_lower_case_is_not_matched_the_description_stays_and_changes_made_is_not_set(
    open_area, session
):
    description = "Nice tool\r\nuploaded by: someone\r\nUPLOADED BY: loud\r\n"
    area = open_area([entry("LOWER.ZIP", description)])
    area.select(0)

    area.trigger("mnuRemoveUploadBy")

    assert area.entry(0).description == description
    assert area.selected() == []
    assert area.tagged == "0"
    assert not session.ChangesMade


def test_two_occurrences_the_description_is_cut_at_the_first_one(open_area, session):
    area = open_area([entry("TWICE.ZIP", "Keep   Uploaded By one\r\nand Uploaded By two\r\n")])
    area.select(0)

    area.trigger("mnuRemoveUploadBy")

    # Nothing before the marker is trimmed, not even the blanks.
    assert area.entry(0).description == "Keep   "
    assert session.ChangesMade


def test_an_unselected_entry_with_the_marker_is_untouched(open_area, session):
    untouched = "Not selected\r\nUploaded By: Lee\r\n"
    area = open_area(
        [
            entry("SELECTED.ZIP", "Selected\r\nUploaded By: Max\r\n"),
            entry("OTHER.ZIP", untouched),
        ]
    )
    area.select(0)

    area.trigger("mnuRemoveUploadBy")

    assert area.entry(0).description == "Selected\r\n"
    assert area.entry(1).description == untouched
    assert area.selected() == []


@pytest.mark.parametrize("menu_name", ["mnuDefaultArchiveType", "mnuVirusCheck", "mnuWriteNewDIZ"])
def test_the_placeholder_commands_only_show_their_box(open_area, session, port, menu_name):
    area = open_area([entry("ANY.ZIP", "Text\r\nUploaded By: Sam\r\n")])
    area.select(0)
    port.expect(
        title="Kelvane Alert Message!",
        text="Sorry, this feature is not available yet!",
        buttons=Buttons.OK,
    )

    area.trigger(menu_name)

    assert area.entry(0).description == "Text\r\nUploaded By: Sam\r\n"
    assert area.selected() == [0]
    assert not session.ChangesMade
