"""``kelvane refresh``, ``erase``, ``delete`` and ``strip-uploaders``: the editor's operations.

Each command opens the area as the desktop program does (``Farea_Dat_Initialize``
then ``Load_fEditFileArealsv``), selects the named entries in a
:class:`~kelvane.editor.editor_view.ListEditorView`, runs the same core
operation as the editor's menu command (Parts 2.5, 2.6, 2.7), and saves the
Files List through ``SaveWork`` when the operation set ``ChangesMade``.

Names are matched by :func:`kelvane.cli.common.select_names`: exactly, and
only when no entry has that exact name, ignoring case (the board's file
names ignore case).  A name matching several entries selects them all.

Questions (the ``DeleteFiles`` and ``DeleteFilesListOnly`` confirmations)
are asked by the command line's ``TextPort``: ``--yes`` answers OK; without
it they are asked at a terminal, and answered Cancel when there is none.
``erase`` takes ``--yes`` too, since it asks its own question.  ``refresh``
and ``strip-uploaders`` take ``--yes`` for the one question of opening an
area, an offline area's CD prompt (Part 1.1); ``erase`` and ``delete``
answer that prompt with their ``--yes`` as well.

``delete`` saves the Files List only when ``ChangesMade`` is set, as the
editor does: removing the entry of a file that is already missing does not
set it (Part 2.6), so such a removal alone is not saved; ``erase`` is the
command for that.

Exit status: 0 done; 1 when a name is not in the Files List, an entry's file
was not found in the area's directories, a file could not be deleted, the
confirmation was not given, or an error was reported; 2 wrong usage.
"""

from __future__ import annotations

import argparse
import sys
from collections.abc import Sequence
from typing import TYPE_CHECKING, Any

from kelvane.cli.common import (
    AREA_HELP,
    OpenedArea,
    add_main_node_option,
    add_yes_option,
    counted,
    error_reported,
    open_named_entries,
    save_changes,
)

if TYPE_CHECKING:
    pass


class _IntermixedParser(argparse.ArgumentParser):
    """Options may stand between AREA and the NAMEs (``kelvane refresh 1 --sizes A.ZIP``).

    argparse fills every positional from the first run of plain words, so a
    NAME after an option would be "unrecognized"; intermixed parsing takes
    the options out first.  ``parse_known_intermixed_args`` itself calls
    ``parse_known_args``, hence the guard.
    """

    _intermixing = False

    def parse_known_args(  # type: ignore[override]
        self, args: Sequence[str] | None = None, namespace: argparse.Namespace | None = None
    ) -> tuple[argparse.Namespace, list[str]]:
        if self._intermixing:
            return super().parse_known_args(args, namespace)
        self._intermixing = True
        try:
            return self.parse_known_intermixed_args(args, namespace)
        finally:
            self._intermixing = False


def _add_parser(
    subparsers: argparse._SubParsersAction[Any], name: str, **options: Any
) -> argparse.ArgumentParser:
    """``subparsers.add_parser``, its class (the command line's own) made intermixed."""
    parser: argparse.ArgumentParser = subparsers.add_parser(name, **options)
    parser.__class__ = type(
        "Intermixed" + type(parser).__name__, (_IntermixedParser, type(parser)), {}
    )
    return parser


def register(subparsers: argparse._SubParsersAction[Any]) -> None:
    refresh = _add_parser(
        subparsers,
        "refresh",
        help="take entries' dates and sizes from their files (File Date, File Length)",
        description="Sets the Date and/or Size of the named entries (every entry when no NAME "
        "is given) from their files in the area's directories, and saves the Files List. "
        "Without --dates or --sizes both are refreshed.",
    )
    refresh.add_argument("area", metavar="AREA", help=AREA_HELP)
    refresh.add_argument("names", metavar="NAME", nargs="*", help="entry names (default: all)")
    refresh.add_argument("--dates", action="store_true", help="refresh the Date column")
    refresh.add_argument("--sizes", action="store_true", help="refresh the Size column")
    add_main_node_option(refresh)
    add_yes_option(refresh)
    refresh.set_defaults(handler=_refresh)

    erase = _add_parser(
        subparsers,
        "erase",
        help="remove entries from the Files List, leaving their files (Erase File / List Only)",
        description="Removes the named entries from the Files List and saves it; the files "
        "stay on disk. Asks the DeleteFilesListOnly question first.",
    )
    erase.add_argument("area", metavar="AREA", help=AREA_HELP)
    erase.add_argument("names", metavar="NAME", nargs="+", help="entry names")
    erase.add_argument("--yes", action="store_true", help="answer OK to the confirmation")
    add_main_node_option(erase)
    erase.set_defaults(handler=_erase)

    delete = _add_parser(
        subparsers,
        "delete",
        help="delete files from the area and their entries from the Files List (Delete Files)",
        description="Deletes the named entries' files from the area's directories and removes "
        "the entries. Asks the DeleteFiles question first; refused on CD-ROM and offline areas. "
        "The Files List is saved only when a file was deleted, as the editor does.",
    )
    delete.add_argument("area", metavar="AREA", help=AREA_HELP)
    delete.add_argument("names", metavar="NAME", nargs="+", help="entry names")
    delete.add_argument("--yes", action="store_true", help="answer OK to the confirmation")
    add_main_node_option(delete)
    delete.set_defaults(handler=_delete)

    strip = _add_parser(
        subparsers,
        "strip-uploaders",
        help='cut descriptions at "Uploaded By" (Remove "Uploaded By")',
        description="Cuts the descriptions of the named entries (every entry when no NAME is "
        'given) at the first "Uploaded By" (exact case) and saves the Files List.',
    )
    strip.add_argument("area", metavar="AREA", help=AREA_HELP)
    strip.add_argument("names", metavar="NAME", nargs="*", help="entry names (default: all)")
    add_main_node_option(strip)
    add_yes_option(strip)
    strip.set_defaults(handler=_strip_uploaders)


def _nothing_selected(opened: OpenedArea) -> int:
    if not len(opened.entries):
        print("The Files List holds no entries.")
    return 1 if opened.missing else 0


def _refresh(args: argparse.Namespace) -> int:
    from kelvane.editor.refresh import mnuFileDate_Click, mnuFileLength_Click

    opened = open_named_entries(args, all_when_none=True)
    if not opened.chosen:
        return _nothing_selected(opened)
    session, view = opened.session, opened.view
    commands = []
    if args.dates or not args.sizes:
        commands.append(("dates", mnuFileDate_Click))
    if args.sizes or not args.dates:
        commands.append(("sizes", mnuFileLength_Click))
    files_missing = False
    for column, command in commands:
        view.deselect_all()
        view.set_selected(opened.chosen, True)
        command(session, view)
        not_found = len(view.selected_indices())
        files_missing = files_missing or not_found > 0
        print(
            f"Refreshed the {column} of {counted(len(opened.chosen) - not_found, 'entry', 'entries')}."
        )
    view.deselect_all()
    failed = error_reported(session) or not save_changes(session, opened.entries)
    return 1 if opened.missing or files_missing or failed else 0


def _erase(args: argparse.Namespace) -> int:
    from kelvane.editor.delete_erase import mnuEraseFilesListOnly_Click

    opened = open_named_entries(args, all_when_none=False)
    if not opened.chosen:
        return _nothing_selected(opened)
    before = len(opened.entries)
    mnuEraseFilesListOnly_Click(opened.session, opened.view)
    erased = before - len(opened.entries)
    if erased == 0:
        if not error_reported(opened.session):
            print("kelvane: nothing erased (not confirmed; pass --yes to agree)", file=sys.stderr)
        return 1
    print(
        f"Erased {counted(erased, 'entry', 'entries')} from the Files List; the files stay on disk."
    )
    failed = error_reported(opened.session) or not save_changes(opened.session, opened.entries)
    return 1 if opened.missing or failed else 0


def _delete(args: argparse.Namespace) -> int:
    from kelvane.editor.delete_erase import DeleteResult, delete_selected_files

    opened = open_named_entries(args, all_when_none=False)
    if not opened.chosen:
        return _nothing_selected(opened)
    session = opened.session
    report = delete_selected_files(session, opened.view)
    if report is None:
        if not error_reported(session):
            print("kelvane: nothing deleted", file=sys.stderr)
        return 1
    problems = False
    for name, result, path in report.outcomes:
        if result is DeleteResult.DELETED:
            print(f"Deleted {path}")
        elif result is DeleteResult.NOT_FOUND:
            problems = True
            print(
                f"kelvane: {name}: no such file in the area's directories; entry removed",
                file=sys.stderr,
            )
        else:
            problems = True
            print(f"kelvane: {path}: {result.value}; entry removed", file=sys.stderr)
    if not session.ChangesMade:
        print(
            "kelvane: no file was deleted, so the Files List was not saved "
            "(use kelvane erase to remove entries only)",
            file=sys.stderr,
        )
    failed = not report.completed or error_reported(session)
    failed = not save_changes(session, opened.entries) or failed
    return 1 if opened.missing or problems or failed else 0


def _strip_uploaders(args: argparse.Namespace) -> int:
    from kelvane.editor.remove_uploaders import UPLOADER_MARKER, mnuRemoveUploadBy_Click

    opened = open_named_entries(args, all_when_none=True)
    if not opened.chosen:
        return _nothing_selected(opened)
    entries = opened.entries
    marked = sum(1 for index in opened.chosen if UPLOADER_MARKER in entries[index].description)
    mnuRemoveUploadBy_Click(opened.session, opened.view)
    failed = error_reported(opened.session)
    if not failed:
        print(f'Cut {counted(marked, "description")} at "{UPLOADER_MARKER}".')
    failed = not save_changes(opened.session, entries) or failed
    return 1 if opened.missing or failed else 0


__all__ = ["register"]
