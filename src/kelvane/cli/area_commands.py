"""``kelvane areas``, ``kelvane show`` and ``kelvane rewrite``: a board's areas and Files Lists."""

from __future__ import annotations

import argparse
import json
from typing import Any

from kelvane.board.vb_text import Val
from kelvane.cli.board_commands import print_records_json
from kelvane.cli.common import (
    AREA_HELP,
    CommandError,
    add_main_node_option,
    add_yes_option,
    load_area,
    make_session,
    not_saved_text,
)
from kelvane.platform.farea_format import FareaError, find_farea_file, read_all_records


def register(subparsers: argparse._SubParsersAction[Any]) -> None:
    areas = subparsers.add_parser(
        "areas", help="every area of the board (number, title, paths, flags)"
    )
    add_main_node_option(areas)
    areas.add_argument("--json", action="store_true", help="print a JSON list")
    areas.set_defaults(handler=_areas)

    show = subparsers.add_parser("show", help="an area's Files List entries as read")
    show.add_argument("area", metavar="AREA", help=AREA_HELP)
    add_main_node_option(show)
    add_yes_option(show)
    show.add_argument("--json", action="store_true", help="print one JSON object")
    show.set_defaults(handler=_show)

    rewrite = subparsers.add_parser(
        "rewrite",
        help="read an area's Files List and write it back through SaveWork",
        description="Reads the Files List and writes it back in the fixed-column layout: "
        "descriptions re-wrapped, long names written as their 8.3 aliases, FILES.BAK kept.",
    )
    rewrite.add_argument("area", metavar="AREA", help=AREA_HELP)
    add_main_node_option(rewrite)
    add_yes_option(rewrite)
    rewrite.set_defaults(handler=_rewrite)


def description_lines(description: str) -> list[str]:
    """A description's lines without their line ends (each line ends in CR LF)."""
    if not description:
        return []
    text = description[:-2] if description.endswith("\r\n") else description
    return text.split("\r\n")


def _areas(args: argparse.Namespace) -> int:
    session = make_session(args)
    found = find_farea_file(session.area.MainNodePath)
    if found is None:
        raise CommandError(f"no Mwork/Farea.dat under {session.area.MainNodePath}")
    try:
        records = read_all_records(found, session.code_page)
    except FareaError as error:
        raise CommandError(str(error)) from error
    if args.json:
        print_records_json(records)
        return 0
    if not records:
        print("The board has no areas.")
    for number, record in enumerate(records, 1):
        flags = [
            label
            for label, text in (
                ("private", record.private),
                ("CD-ROM", record.cdrom),
                ("alias", record.alias),
                ("offline", record.offline),
                ("master index", record.master),
            )
            if text != "No"
        ]
        print(f"{number:>4}  {record.title}")
        print(f"      files:  {record.path}")
        for index, alt in enumerate(record.alt, 1):
            if alt:
                print(f"      alt {index}:  {alt}" if index < 10 else f"      alt {index}: {alt}")
        print(f"      list:   {record.files_list}")
        if record.index:
            print(f"      index:  {record.index}")
        if flags:
            print(f"      flags:  {', '.join(flags)}")
    return 0


def _show(args: argparse.Namespace) -> int:
    session = make_session(args)
    entries = load_area(session, args.area)
    if args.json:
        document = {
            "number": session.area.AreaNumber,
            "title": session.area.AreaTitle,
            "files_list": session.area.FileListPath,
            "entries": [
                {
                    "name": entry.name,
                    "size": int(Val(entry.size)),
                    "date": entry.date,
                    "description": description_lines(entry.description),
                }
                for entry in entries
            ],
        }
        print(json.dumps(document, indent=2, ensure_ascii=False))
        return 0
    print(
        f"Area {session.area.AreaNumber}: {session.area.AreaTitle}  ({session.area.FileListPath})"
    )
    if not len(entries):
        print("The Files List holds no entries.")
    for entry in entries:
        lines = description_lines(entry.description) or [""]
        print(f"{entry.name:<12} {int(Val(entry.size)):>9} {entry.date:>8}  {lines[0]}")
        for line in lines[1:]:
            print(" " * 34 + line)
    return 0


def _rewrite(args: argparse.Namespace) -> int:
    from kelvane.board.files_list import SaveWork

    session = make_session(args)
    entries = load_area(session, args.area)
    if not SaveWork(session, entries):
        raise CommandError(not_saved_text(session.area.FileListPath))
    return 0
