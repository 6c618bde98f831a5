"""Part 1.4: File-system helpers — the "Edge cases worth testing"."""

from __future__ import annotations

import errno
import os

from kelvane.board import file_system
from kelvane.board.file_system import ClearAttributes, IsValidPath, MakePath


def test_makepath_three_levels_below_a_root_of_which_none_exists_creates_them_in_order(
    tmp_path, monkeypatch
):
    made: list[str] = []
    real_mkdir = os.mkdir

    def recording_mkdir(path, *args):
        real_mkdir(path, *args)
        made.append(os.fspath(path))

    monkeypatch.setattr(file_system, "_mkdir", recording_mkdir)
    target = tmp_path / "one" / "two" / "three"
    assert MakePath(str(target)) is True
    assert made == [str(tmp_path / "one"), str(tmp_path / "one" / "two"), str(target)]
    assert target.is_dir()


def test_makepath_on_a_read_only_drive_returns_false(tmp_path, monkeypatch):
    # Tests run as root, which ignores permission bits: the read-only drive is
    # simulated by the error the system gives for one.
    def read_only(path, *args):
        raise OSError(errno.EROFS, "Read-only file system", os.fspath(path))

    monkeypatch.setattr(file_system, "_mkdir", read_only)
    assert MakePath(str(tmp_path / "a" / "b")) is False
    assert not (tmp_path / "a").exists()


def test_isvalidpath_on_a_path_of_a_missing_drive_returns_false_and_leaves_the_current_drive_unchanged(
    tmp_path,
):
    before = os.getcwd()
    missing_drive = os.path.join(os.path.abspath(os.sep), "no-such-mount-kelvane", "files")
    assert IsValidPath(missing_drive) is False
    assert IsValidPath(str(tmp_path)) is True
    assert os.getcwd() == before


def test_clearattributes_on_a_missing_file_returns_false(tmp_path):
    assert ClearAttributes(str(tmp_path / "missing.zip")) is False
