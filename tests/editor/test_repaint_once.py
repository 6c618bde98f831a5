"""An operation over many selected entries tells the editor's models once (one repaint).

Issue 7: Erase, the refreshes and the uploader cut on a large selection must
give the spec's result "without its quadratic cost", repainting the editor
once. The models' change signals are counted while the real menu command runs.
"""

from __future__ import annotations

import pytest

from kelvane.board.user_port import Answer
from tests.spec import test_part_2_5_refresh as harness
from tests.spec.test_part_2_5_refresh import entry, write_file

open_area = harness.open_area

pytestmark = pytest.mark.gui

COUNT = 300


class SignalCounter:
    def __init__(self, *models) -> None:
        self.counts: dict[str, int] = {}
        for model in models:
            for signal in ("dataChanged", "rowsRemoved", "modelReset", "layoutChanged"):
                getattr(model, signal).connect(lambda *args, key=signal: self._count(key))

    def _count(self, key: str) -> None:
        self.counts[key] = self.counts.get(key, 0) + 1


def _area_with_every_entry_selected(open_area, description: str = "Text\r\nUploaded By: X\r\n"):
    names = [f"F{n:05d}.ZIP" for n in range(COUNT)]
    area = open_area(
        [entry(name, description) for name in names],
        before_load=lambda slots: [write_file(slots[0] / name, size=5) for name in names],
    )
    area.select(*range(COUNT))
    models = (area.editor.lstFileNames.model(), area.sort_view.lsvEditFileArea.model())
    return area, SignalCounter(*models)


@pytest.mark.parametrize("menu_name", ["mnuFileDate", "mnuFileLength", "mnuRemoveUploadBy"])
def test_a_change_to_every_selected_entry_is_one_data_change_per_model(open_area, menu_name):
    area, counter = _area_with_every_entry_selected(open_area)
    area.trigger(menu_name)
    assert area.selected() == []
    assert counter.counts == {"dataChanged": 2}  # one for the name list, one for the table


def test_erasing_every_selected_entry_is_one_removal_per_model(open_area, session):
    area, counter = _area_with_every_entry_selected(open_area)
    session.port.expect_alert("DeleteFilesListOnly", Answer.OK)
    area.trigger("mnuEraseFilesListOnly")
    assert area.names() == []
    removals = counter.counts.get("rowsRemoved", 0) + counter.counts.get("modelReset", 0)
    assert removals == 2
    assert "dataChanged" not in counter.counts
