"""``kelvane open AREA``: start the desktop program with an area open in the editor."""

from __future__ import annotations

import argparse
from typing import Any

from kelvane.cli.common import AREA_HELP, add_main_node_option, make_session, resolve_area


def register(subparsers: argparse._SubParsersAction[Any]) -> None:
    parser = subparsers.add_parser(
        "open",
        help="start the desktop program with AREA open in the editor",
        description="Starts the desktop program and opens AREA (a record number or an exact "
        "area title) through the area chooser, as if it had been chosen there.",
    )
    parser.add_argument("area", metavar="AREA", help=AREA_HELP)
    add_main_node_option(parser)
    parser.set_defaults(handler=_open)


def _open(args: argparse.Namespace) -> int:
    session = make_session(args)
    number = resolve_area(session, args.area)
    from kelvane.shell.application import run_desktop

    return run_desktop(open_area=number, main_node=args.main_node)
