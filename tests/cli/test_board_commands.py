"""``kelvane board``: the board tool's output checked byte by byte against board-format.md."""

from __future__ import annotations

import json
import os
import stat
import subprocess
import sys
import zipfile

from kelvane.cli.main import main
from kelvane.platform.farea_format import RECORD_SIZE


def _string(text: bytes, capacity: int) -> bytes:
    return bytes([len(text)]) + text + b"\0" * (capacity - len(text))


def test_init_creates_an_empty_record_file(tmp_path, capsys):
    assert main(["board", "init", str(tmp_path / "node")]) == 0
    path = tmp_path / "node" / "Mwork" / "Farea.dat"
    assert path.read_bytes() == b""
    assert capsys.readouterr().out.strip() == str(path)


def test_add_writes_the_record_exactly_and_prints_its_number(tmp_path, capsys):
    node = tmp_path / "node"
    main(["board", "init", str(node)])
    capsys.readouterr()
    code = main(
        [
            "board", "add", str(node), "--title", "Utilities", "--path", "/srv/u",
            "--alt", "/srv/u1", "--alt", "/srv/u2", "--list", "/srv/u/FILES.LST",
            "--index", "/srv/u/U.IDX", "--private", "no", "--cdrom", "", "--disc", "3",
        ]
    )  # fmt: skip
    assert code == 0
    assert capsys.readouterr().out == "1\n"
    expected = bytearray(RECORD_SIZE)
    expected[0:61] = _string(b"Utilities", 60)
    expected[61:189] = _string(b"/srv/u", 127)
    expected[189:317] = _string(b"/srv/u1", 127)
    expected[317:445] = _string(b"/srv/u2", 127)
    for i in range(3, 11):
        expected[189 + (i - 1) * 128 : 189 + i * 128] = _string(b"", 127)
    expected[1469:1597] = _string(b"/srv/u/FILES.LST", 127)
    expected[1597:1725] = _string(b"/srv/u/U.IDX", 127)
    expected[1725:1729] = _string(b"no", 3)  # stored exactly as given
    expected[1729:1733] = _string(b"", 3)  # an empty text can be written
    expected[1733:1737] = _string(b"No", 3)
    expected[1737:1741] = _string(b"No", 3)
    expected[1741:1745] = _string(b"No", 3)
    expected[1745:1747] = (3).to_bytes(2, "little", signed=True)
    assert (node / "Mwork" / "Farea.dat").read_bytes() == bytes(expected)
    assert main(["board", "add", str(node), "--title", "Two", "--path", "/srv/t"]) == 0
    assert capsys.readouterr().out == "2\n"


def test_set_changes_fields_of_one_record(tmp_path, capsys):
    node = tmp_path / "node"
    main(["board", "init", str(node)])
    main(["board", "add", str(node), "--title", "A", "--path", "/a", "--alt", "/a1"])
    assert (
        main(
            [
                "board",
                "set",
                str(node),
                "1",
                "--title",
                "B",
                "--alt",
                "1=",
                "--alt",
                "3=/a3",
                "--offline",
                "Yes",
            ]
        )
        == 0
    )
    capsys.readouterr()
    assert main(["board", "show", str(node), "--json"]) == 0
    (record,) = json.loads(capsys.readouterr().out)
    assert record["title"] == "B"
    assert record["alt"] == ["", "", "/a3"] + [""] * 7
    assert record["offline"] == "Yes"
    assert sorted(record) == sorted(
        [
            "number",
            "title",
            "path",
            "alt",
            "files_list",
            "index",
            "private",
            "cdrom",
            "alias",
            "offline",
            "master",
            "disc",
        ]
    )


def test_text_longer_than_its_field_is_refused_in_one_line_and_the_file_is_unchanged(
    tmp_path, capsys
):
    node = tmp_path / "node"
    main(["board", "init", str(node)])
    main(["board", "add", str(node), "--title", "Keep", "--path", "/k"])
    before = (node / "Mwork" / "Farea.dat").read_bytes()
    capsys.readouterr()
    assert main(["board", "add", str(node), "--title", "x" * 61, "--path", "/k"]) == 1
    assert main(["board", "set", str(node), "1", "--path", "/" + "p" * 127]) == 1
    err = capsys.readouterr().err.splitlines()
    assert err == [
        "kelvane: Title is 61 characters long; the field holds at most 60",
        "kelvane: File path is 128 characters long; the field holds at most 127",
    ]
    assert (node / "Mwork" / "Farea.dat").read_bytes() == before


def test_a_damaged_farea_dat_gives_one_clear_line_and_status_1(tmp_path):
    node = tmp_path / "node"
    (node / "Mwork").mkdir(parents=True)
    damaged = b"\0" * 2047
    (node / "Mwork" / "Farea.dat").write_bytes(damaged)
    result = subprocess.run(
        [sys.executable, "-m", "kelvane", "board", "show", str(node)],
        capture_output=True,
        text=True,
        timeout=60,
    )
    assert result.returncode == 1
    assert result.stderr == (
        "kelvane: Farea.dat is damaged: its size, 2047 bytes, is not a whole number of 2048-byte area records\n"
    )
    assert "Traceback" not in result.stderr
    assert (node / "Mwork" / "Farea.dat").read_bytes() == damaged


def test_a_length_byte_over_its_field_is_reported_without_a_traceback(tmp_path, capsys):
    node = tmp_path / "node"
    main(["board", "init", str(node)])
    main(["board", "add", str(node), "--title", "A", "--path", "/a"])
    path = node / "Mwork" / "Farea.dat"
    data = bytearray(path.read_bytes())
    data[0] = 61
    path.write_bytes(bytes(data))
    capsys.readouterr()
    assert main(["board", "show", str(node)]) == 1
    assert capsys.readouterr().err.startswith(
        "kelvane: Farea.dat is damaged: record 1, field Title"
    )
    assert path.read_bytes() == bytes(data)


def test_wrong_usage_exits_2(capsys):
    assert main(["board", "add"]) == 2
    assert "the following arguments are required" in capsys.readouterr().err
    assert main(["no-such-command"]) == 2


def test_the_demo_board_has_every_kind_of_area(tmp_path, capsys):
    assert main(["board", "demo", str(tmp_path / "demo")]) == 0
    node = tmp_path / "demo" / "board"
    capsys.readouterr()
    main(["board", "show", str(node), "--json"])
    records = json.loads(capsys.readouterr().out)
    assert len(records) >= 6
    by_title = {record["title"]: record for record in records}
    plain = by_title["General Utilities"]
    assert any(alt for alt in by_title["Games (three directories)"]["alt"])
    assert by_title["Shareware CD-ROM"]["cdrom"] == "Yes"
    assert by_title["Offline CD Collection"]["offline"] == "Yes"
    tracked = by_title["New Uploads (indexed)"]
    assert tracked["index"] and tracked["master"] == "No"
    empty = by_title["Empty Area"]
    assert os.listdir(empty["path"]) == []
    # The plain area: listed files that are gone, and files not yet listed.
    with open(plain["files_list"], "rb") as stream:
        listing = stream.read().decode("cp1252")
    listed = {line[:12].rstrip() for line in listing.split("\r\n") if line[:12].strip()}
    on_disk = {name.upper() for name in os.listdir(plain["path"])}
    assert listed - on_disk  # entries whose files are missing
    assert on_disk - listed - {"FILES.LST"}  # files not yet listed
    directory = plain["path"]
    dizzes = {}
    for name in os.listdir(directory):
        if name.lower().endswith(".zip"):
            with zipfile.ZipFile(os.path.join(directory, name)) as archive:
                if "FILE_ID.DIZ" in archive.namelist():
                    dizzes[name] = archive.read("FILE_ID.DIZ").decode("cp1252").splitlines()
    assert any(len(lines) == 1 for lines in dizzes.values())
    assert any(1 < len(lines) <= 20 for lines in dizzes.values())
    assert any(len([line for line in lines if line.strip()]) > 20 for lines in dizzes.values())
    assert any(any(len(line) > 45 for line in lines) for lines in dizzes.values())
    assert any(any("Uploaded By" in line for line in lines) for lines in dizzes.values())
    assert any(len(name) > 12 for name in os.listdir(directory))
    assert any(
        not os.stat(os.path.join(directory, name)).st_mode & stat.S_IWUSR
        for name in os.listdir(directory)
    )
    # A second run refuses to overwrite the board.
    assert main(["board", "demo", str(tmp_path / "demo")]) == 1


def test_a_demo_directory_whose_paths_do_not_fit_is_refused_before_anything_is_made(
    tmp_path, capsys
):
    """Farea.dat's paths hold 127 bytes: a deep DIR gives one clear line and status 1,
    never a traceback, and no half-built board is left behind."""
    directory = tmp_path / ("d" * 120)
    assert main(["board", "demo", str(directory)]) == 1
    err = capsys.readouterr().err
    assert err.count("\n") == 1
    assert err.startswith("kelvane: cannot build the demo board in ")
    assert "does not fit an area record" in err
    assert not directory.exists()


def test_a_closed_output_pipe_ends_the_command_without_a_traceback(tmp_path):
    from kelvane.board.board_tool import init_board, make_record
    from kelvane.platform.farea_format import encode_record

    node = tmp_path / "node"
    path = init_board(node)
    # More output than a pipe holds, so the writer meets the closed pipe.
    path.write_bytes(
        b"".join(
            encode_record(make_record(title=f"Area {n}", path=f"/srv/{n}")) for n in range(3000)
        )
    )
    command = f"{sys.executable} -m kelvane areas --main-node {node} | head -n 1"
    result = subprocess.run(["bash", "-c", command], capture_output=True, text=True, timeout=60)
    assert result.stdout.strip().endswith("Area 0")
    assert "Traceback" not in result.stderr
    assert "BrokenPipeError" not in result.stderr


def test_text_the_code_page_cannot_store_is_refused_naming_the_field(tmp_path, capsys):
    node = tmp_path / "node"
    main(["board", "init", str(node)])
    capsys.readouterr()
    assert main(["board", "add", str(node), "--title", "\u0100rea", "--path", "/a"]) == 1
    assert capsys.readouterr().err == (
        "kelvane: Title holds '\u0100' (U+0100), which the code page cp1252 cannot store\n"
    )
    assert (node / "Mwork" / "Farea.dat").read_bytes() == b""
