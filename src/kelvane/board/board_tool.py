"""The board tool's library: creates and edits a board's ``Farea.dat``.

Kelvane itself never writes ``Farea.dat``; the operator's board tool (the
``kelvane board`` commands) and every test build boards with these functions.
Records are written whole, in place or appended; text longer than its field
is refused (:class:`FieldTooLong`) and the file is left as it was.
"""

from __future__ import annotations

import os
from dataclasses import replace
from pathlib import Path
from typing import Any

from kelvane.platform.code_pages import DEFAULT_CODE_PAGE
from kelvane.platform.farea_format import (
    ALT_PATH_COUNT,
    RECORD_SIZE,
    AreaRecord,
    FareaError,
    check_size,
    encode_record,
    find_farea_file,
    read_all_records,
)


def farea_path(main_node: str | os.PathLike[str]) -> Path:
    """The board's ``Farea.dat``: the existing one whatever its case, else ``Mwork/Farea.dat``."""
    found = find_farea_file(os.fspath(main_node))
    return found if found is not None else Path(main_node) / "Mwork" / "Farea.dat"


def init_board(main_node: str | os.PathLike[str]) -> Path:
    """Create ``MAINNODE/Mwork/Farea.dat`` with no areas (an existing one is kept)."""
    path = farea_path(main_node)
    path.parent.mkdir(parents=True, exist_ok=True)
    if not path.exists():
        path.write_bytes(b"")
    return path


def read_board(
    main_node: str | os.PathLike[str], page: str = DEFAULT_CODE_PAGE
) -> list[AreaRecord]:
    path = find_farea_file(os.fspath(main_node))
    if path is None:
        raise FareaError(f"There is no Mwork/Farea.dat under {os.fspath(main_node)}")
    return read_all_records(path, page)


def make_record(**fields: Any) -> AreaRecord:
    """An :class:`AreaRecord` from keyword fields; ``alt`` may be shorter than ten."""
    alt = list(fields.pop("alt", []) or [])
    if len(alt) > ALT_PATH_COUNT:
        raise ValueError(f"An area has at most {ALT_PATH_COUNT} additional paths, not {len(alt)}")
    record = AreaRecord(**fields)
    record.alt = [os.fspath(a) for a in alt] + [""] * (ALT_PATH_COUNT - len(alt))
    return record


def add_area(
    main_node: str | os.PathLike[str], record: AreaRecord, page: str = DEFAULT_CODE_PAGE
) -> int:
    """Append *record*; returns its number (first = 1)."""
    data = encode_record(record, page)  # refuses before touching the file
    path = farea_path(main_node)
    if not path.exists():
        raise FareaError(
            f"There is no Mwork/Farea.dat under {os.fspath(main_node)}; run board init first"
        )
    size = path.stat().st_size
    check_size(size)
    with open(path, "ab") as stream:
        stream.write(data)
    return size // RECORD_SIZE + 1


def set_area(
    main_node: str | os.PathLike[str],
    number: int,
    changes: dict[str, Any],
    page: str = DEFAULT_CODE_PAGE,
) -> AreaRecord:
    """Change fields of record *number*; ``alt`` entries given as {index: path} or a list."""
    path = farea_path(main_node)
    records = read_all_records(path, page)
    if not 1 <= number <= len(records):
        raise FareaError(f"Area record {number} does not exist (the board has {len(records)})")
    record = records[number - 1]
    changes = dict(changes)
    alt_changes = changes.pop("alt", None)
    updated = replace(record, **changes)
    updated.alt = list(record.alt)
    if isinstance(alt_changes, dict):
        for index, value in alt_changes.items():
            if not 1 <= index <= ALT_PATH_COUNT:
                raise ValueError(f"Additional path {index} does not exist (1 to {ALT_PATH_COUNT})")
            updated.alt[index - 1] = value
    elif alt_changes is not None:
        if len(alt_changes) > ALT_PATH_COUNT:
            raise ValueError(f"An area has at most {ALT_PATH_COUNT} additional paths")
        updated.alt = list(alt_changes) + [""] * (ALT_PATH_COUNT - len(alt_changes))
    data = encode_record(updated, page)
    with open(path, "r+b") as stream:
        stream.seek((number - 1) * RECORD_SIZE)
        stream.write(data)
    return updated


def add_simple_area(
    main_node: str | os.PathLike[str],
    title: str,
    path: str | os.PathLike[str],
    *,
    files_list: str | os.PathLike[str] | None = None,
    create: bool = True,
    **fields: Any,
) -> int:
    """Convenience for tests and the demo: an area whose list lies in its directory."""
    directory = Path(path)
    if create:
        directory.mkdir(parents=True, exist_ok=True)
    list_path = (
        os.fspath(files_list) if files_list is not None else os.fspath(directory / "FILES.LST")
    )
    fields.setdefault("alt", [])
    record = make_record(title=title, path=os.fspath(directory), files_list=list_path, **fields)
    return add_area(main_node, record)
