"""An area on disk for the robustness tests, and a snapshot of the operator's files."""

from __future__ import annotations

import os
from dataclasses import dataclass
from pathlib import Path

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.files_list import Entry, EntryList, Load_fEditFileArealsv, format_files_list
from kelvane.board.session import Session
from kelvane.editor.editor_view import ListEditorView

OLD_DATE = "01-01-90"


def make_file(directory: Path, name: bytes, data: bytes = b"abc") -> bytes:
    """Create *name* (raw bytes, any encoding) in *directory*; its full path as bytes."""
    path = os.fsencode(directory) + b"/" + name
    descriptor = os.open(path, os.O_CREAT | os.O_WRONLY | os.O_TRUNC, 0o644)
    try:
        os.write(descriptor, data)
    finally:
        os.close(descriptor)
    return path


def snapshot(*roots: Path) -> dict[bytes, tuple[str, bytes, int]]:
    """Every path under *roots* (raw bytes): its kind, its bytes (files) and its mtime."""
    seen: dict[bytes, tuple[str, bytes, int]] = {}
    for root in roots:
        for top, directories, files in os.walk(os.fsencode(root)):
            for name in directories:
                path = os.path.join(top, name)
                seen[path] = ("dir", b"", os.lstat(path).st_mtime_ns)
            for name in files:
                path = os.path.join(top, name)
                info = os.lstat(path)
                if os.path.islink(path):
                    seen[path] = ("link", os.readlink(path), info.st_mtime_ns)
                elif os.path.isfile(path):
                    with open(path, "rb") as stream:
                        seen[path] = ("file", stream.read(), info.st_mtime_ns)
                else:
                    seen[path] = ("other", b"", info.st_mtime_ns)
    return seen


@dataclass
class Area:
    """One area: ``files`` (slot 0, holding FILES.LST), ``index`` (its index file path)."""

    session: Session
    node: Path
    files: Path
    files_list: Path
    index: Path

    def write_list(self, *entries: Entry) -> bytes:
        data, complete = format_files_list(entries, self.session.code_page, [])
        assert complete
        self.files_list.write_bytes(data)
        return data

    def initialize(self) -> bool:
        self.session.area.MainNodePath = os.fspath(self.node)
        self.session.area.AreaNumber = 1
        return Farea_Dat_Initialize(self.session)

    def load(self) -> ListEditorView:
        """Initialize the area and read its Files List into a plain editor view."""
        assert self.initialize()
        entries = EntryList()
        assert Load_fEditFileArealsv(self.session, entries)
        return ListEditorView(entries)


@pytest.fixture
def area(tmp_path, session) -> Area:
    node = tmp_path / "node"
    init_board(node)
    files = tmp_path / "files"
    index = tmp_path / "index" / "AREA1.IDX"
    add_simple_area(node, "Area One", files, index=os.fspath(index))
    return Area(session, node, files, files / "FILES.LST", index)


def entry(name: str, description: str = "A file\r\n") -> Entry:
    return Entry(name, " 1", OLD_DATE, description)
