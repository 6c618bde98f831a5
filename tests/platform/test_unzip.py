"""The unzip facility: kelvane.platform.unzip ("Extract description member")."""

from __future__ import annotations

import os
import subprocess
import time
import zipfile
from pathlib import Path

import pytest

from kelvane.platform import unzip
from kelvane.platform.unzip import (
    MAX_MEMBER_BYTES,
    RESULT_ENCRYPTED,
    RESULT_NOT_AN_ARCHIVE,
    RESULT_NOT_FOUND,
    RESULT_OK,
    RESULT_TOOL_FAILED,
    RESULT_UNSUPPORTED,
    RESULT_WRITE_FAILED,
    ArchiveReader,
    archive_format,
    available_tools,
    extract_description_member,
)
from tests.platform.archives import (
    ARJ,
    LHA,
    SEVEN_ZIP,
    SHARED_ARCHIVES,
    UNAR,
    UNZIP,
    listing,
    make_7z,
    make_arj,
    make_big_zip,
    make_lzh,
    make_zip,
    make_zip_symlink,
    make_zip_with_dir,
    tool_output,
)

DIZ = b"KELVANE 1.0 - file-area manager\r\nfor Vandor BBS\r\n"

needs_shared = pytest.mark.skipif(
    not SHARED_ARCHIVES.is_dir(), reason="shared/testdata/archives not beside the work tree"
)
needs_unzip = pytest.mark.skipif(UNZIP is None, reason="Info-ZIP unzip not installed")
needs_7z = pytest.mark.skipif(SEVEN_ZIP is None, reason="7-Zip (7zz/7z/7za) not installed")
needs_unar = pytest.mark.skipif(UNAR is None, reason="unar/lsar not installed")
needs_arj = pytest.mark.skipif(ARJ is None, reason="arj not installed")
needs_lha = pytest.mark.skipif(LHA is None, reason="lha not installed")


def only(*keys: str) -> ArchiveReader:
    """A reader that may use only the named tools (to exercise each back end)."""
    tools = unzip.discover_tools()
    wanted = set(keys) | ({"lsar"} if "unar" in keys else set())
    return ArchiveReader({k: v for k, v in tools.items() if k in wanted})


@pytest.fixture
def dest(tmp_path: Path) -> Path:
    d = tmp_path / "work" / "dest"
    d.mkdir(parents=True)
    return d


def shared(name: str) -> Path:
    return SHARED_ARCHIVES / name


# --------------------------------------------------------------------------- format


def test_archive_format_by_magic_not_name(tmp_path: Path) -> None:
    samples = {
        "a.zip": b"PK\x03\x04" + b"\0" * 40,
        "a.bin": b"7z\xbc\xaf\x27\x1c\0\x04" + b"\0" * 30,
        "a.zi_": b"Rar!\x1a\x07\x00" + b"\0" * 30,
        "a.txt": b"\x60\xea" + b"\0" * 30,
        "a.dat": b"\x20\x00-lh5-" + b"\0" * 30,
        "b.dat": b"\x20\x00-lzs-" + b"\0" * 30,
        "NOT.ZIP": b"just text, not an archive\r\n",
        "empty.zip": b"",
    }
    expected = {
        "a.zip": "zip",
        "a.bin": "7z",
        "a.zi_": "rar",
        "a.txt": "arj",
        "a.dat": "lha",
        "b.dat": "lha",
        "NOT.ZIP": None,
        "empty.zip": None,
    }
    for name, data in samples.items():
        (tmp_path / name).write_bytes(data)
        assert archive_format(str(tmp_path / name)) == expected[name], name
    assert archive_format(str(tmp_path / "missing.zip")) is None
    assert archive_format(str(tmp_path)) is None


def test_self_extracting_zip_is_zip(tmp_path: Path, dest: Path) -> None:
    plain = make_zip(tmp_path / "p.zip", [("FILE_ID.DIZ", DIZ)])
    sfx = tmp_path / "SETUP.EXE"
    sfx.write_bytes(b"MZ" + b"\x90" * 4000 + plain.read_bytes())
    assert archive_format(str(sfx)) == "zip"
    assert extract_description_member(str(sfx), str(dest)) == RESULT_OK
    assert (dest / "FILE_ID.DIZ").read_bytes() == DIZ


@needs_shared
def test_shared_archives_formats() -> None:
    assert archive_format(str(shared("Arj.method1.arj"))) == "arj"
    assert archive_format(str(shared("Rar.rar"))) == "rar"
    assert archive_format(str(shared("Rar5.rar"))) == "rar"
    assert archive_format(str(shared("t.lzh"))) == "lha"
    assert archive_format(str(shared("Zip.implode.zip"))) == "zip"


def test_available_tools_lists_formats_with_paths() -> None:
    tools = available_tools()
    assert set(tools) <= {"zip", "7z", "rar", "arj", "lha"}
    for path in tools.values():
        assert os.path.isabs(path) and os.access(path, os.X_OK)
    if SEVEN_ZIP:
        assert "7z" in tools
    if UNAR:
        assert {"rar", "arj", "lha"} <= set(tools)
    assert unzip.discover_tools() == unzip.discover_tools()


# --------------------------------------------------------------------------- ZIP (zipfile)


def test_plain_zip(tmp_path: Path, dest: Path) -> None:
    archive = make_zip(tmp_path / "UPLOAD.ZIP", [("README.TXT", b"x"), ("FILE_ID.DIZ", DIZ)])
    assert extract_description_member(str(archive), str(dest)) == RESULT_OK
    assert listing(dest) == ["FILE_ID.DIZ"]
    assert (dest / "FILE_ID.DIZ").read_bytes() == DIZ


@pytest.mark.parametrize("method", [zipfile.ZIP_STORED, zipfile.ZIP_BZIP2, zipfile.ZIP_LZMA])
def test_other_zipfile_methods(tmp_path: Path, dest: Path, method: int) -> None:
    archive = make_zip(tmp_path / "m.zip", [("FILE_ID.DIZ", DIZ)], method)
    assert extract_description_member(str(archive), str(dest)) == RESULT_OK
    assert (dest / "FILE_ID.DIZ").read_bytes() == DIZ


def test_subfolder_and_lower_case_written_under_requested_name(tmp_path: Path, dest: Path) -> None:
    archive = make_zip(tmp_path / "a.zip", [("src/x.c", b"int x;"), ("docs/file_id.diz", DIZ)])
    assert extract_description_member(str(archive), str(dest), "FILE_ID.DIZ") == RESULT_OK
    assert listing(dest) == ["FILE_ID.DIZ"]
    assert (dest / "FILE_ID.DIZ").read_bytes() == DIZ


def test_backslash_folder_and_first_match_wins(tmp_path: Path, dest: Path) -> None:
    archive = make_zip(
        tmp_path / "a.zip",
        [("DOCS\\File_Id.Diz", b"first"), ("FILE_ID.DIZ", b"second"), ("x/file_id.diz", b"3")],
    )
    assert extract_description_member(str(archive), str(dest)) == RESULT_OK
    assert (dest / "FILE_ID.DIZ").read_bytes() == b"first"


def test_member_not_found(tmp_path: Path, dest: Path) -> None:
    archive = make_zip(tmp_path / "a.zip", [("README.TXT", b"x"), ("FILE_ID.DIZ.BAK", b"y")])
    assert extract_description_member(str(archive), str(dest)) == RESULT_NOT_FOUND
    assert listing(dest) == []


def test_empty_member(tmp_path: Path, dest: Path) -> None:
    archive = make_zip(tmp_path / "a.zip", [("FILE_ID.DIZ", b"")])
    assert extract_description_member(str(archive), str(dest)) == RESULT_OK
    assert (dest / "FILE_ID.DIZ").read_bytes() == b""


@pytest.mark.parametrize(
    "evil",
    ["../FILE_ID.DIZ", "../../FILE_ID.DIZ", "../../../../../../tmp/FILE_ID.DIZ", "/FILE_ID.DIZ"],
)
def test_climbing_member_name_stays_in_destination(tmp_path: Path, dest: Path, evil: str) -> None:
    archive = tmp_path / "evil.zip"
    with zipfile.ZipFile(archive, "w") as zf:
        zf.writestr(zipfile.ZipInfo(evil), DIZ)  # ZipInfo keeps the name as given
    assert zipfile.ZipFile(archive).namelist() == [evil]
    before = listing(tmp_path)
    assert extract_description_member(str(archive), str(dest)) == RESULT_OK
    after = listing(tmp_path)
    assert sorted(set(after) - set(before)) == [os.path.join("work", "dest", "FILE_ID.DIZ")]
    assert (dest / "FILE_ID.DIZ").read_bytes() == DIZ


def test_requested_name_with_path_is_refused(tmp_path: Path, dest: Path) -> None:
    archive = make_zip(tmp_path / "a.zip", [("FILE_ID.DIZ", DIZ)])
    for bad in ["../FILE_ID.DIZ", "sub/FILE_ID.DIZ", "", ".", ".."]:
        assert extract_description_member(str(archive), str(dest), bad) == RESULT_NOT_FOUND
    assert listing(tmp_path / "work") == ["dest"]


def test_huge_member_is_cut_at_one_mib(tmp_path: Path, dest: Path) -> None:
    archive = make_big_zip(tmp_path / "BOMB.ZIP", "FILE_ID.DIZ", 100 * 1024 * 1024)
    assert archive.stat().st_size < 2 * 1024 * 1024
    assert extract_description_member(str(archive), str(dest)) == RESULT_OK
    data = (dest / "FILE_ID.DIZ").read_bytes()
    assert len(data) == MAX_MEMBER_BYTES == 1_048_576
    assert data.startswith(b"This line repeats")


def test_member_of_exactly_one_mib_is_whole(tmp_path: Path, dest: Path) -> None:
    payload = bytes(range(256)) * (MAX_MEMBER_BYTES // 256)
    archive = make_zip(tmp_path / "a.zip", [("FILE_ID.DIZ", payload)])
    assert extract_description_member(str(archive), str(dest)) == RESULT_OK
    assert (dest / "FILE_ID.DIZ").read_bytes() == payload


@pytest.mark.parametrize("keep", [0, 10, 100, 300, -22, -1])
def test_truncated_archive(tmp_path: Path, dest: Path, keep: int) -> None:
    good = make_zip(tmp_path / "good.zip", [("FILE_ID.DIZ", os.urandom(200) + DIZ * 3)])
    raw = good.read_bytes()
    broken = tmp_path / "BROKEN.ZIP"
    broken.write_bytes(raw[:keep])
    code = extract_description_member(str(broken), str(dest))
    assert code != RESULT_OK
    assert listing(dest) == []


def test_corrupt_data_gives_no_description(tmp_path: Path, dest: Path) -> None:
    archive = make_zip(tmp_path / "a.zip", [("FILE_ID.DIZ", os.urandom(3000))], zipfile.ZIP_STORED)
    raw = bytearray(archive.read_bytes())
    raw[100] ^= 0xFF  # inside the stored data: CRC mismatch
    archive.write_bytes(bytes(raw))
    assert extract_description_member(str(archive), str(dest)) == RESULT_TOOL_FAILED
    assert listing(dest) == []


def test_not_an_archive_named_zip(tmp_path: Path, dest: Path) -> None:
    fake = tmp_path / "UPLOAD.ZIP"
    fake.write_bytes(b"This is not a ZIP file at all.\r\n" * 50)
    assert extract_description_member(str(fake), str(dest)) == RESULT_NOT_AN_ARCHIVE
    assert (
        extract_description_member(str(tmp_path / "nope.zip"), str(dest)) == RESULT_NOT_AN_ARCHIVE
    )
    assert extract_description_member(str(tmp_path), str(dest)) == RESULT_NOT_AN_ARCHIVE
    assert listing(dest) == []


def test_directory_member_named_like_the_diz(tmp_path: Path, dest: Path) -> None:
    archive = make_zip_with_dir(tmp_path / "d.zip", "file_id.diz", [("file_id.diz/x", b"x")])
    assert extract_description_member(str(archive), str(dest)) == RESULT_NOT_FOUND
    assert listing(dest) == []
    archive2 = make_zip_with_dir(tmp_path / "d2.zip", "FILE_ID.DIZ", [("b/FILE_ID.DIZ", DIZ)])
    assert extract_description_member(str(archive2), str(dest)) == RESULT_OK
    assert (dest / "FILE_ID.DIZ").read_bytes() == DIZ


def test_symlink_member_gives_no_description(tmp_path: Path, dest: Path) -> None:
    archive = make_zip_symlink(tmp_path / "l.zip", "FILE_ID.DIZ", "/etc/passwd")
    assert extract_description_member(str(archive), str(dest)) == RESULT_NOT_FOUND
    assert listing(dest) == []


def test_existing_symlink_at_destination_is_replaced_not_followed(
    tmp_path: Path, dest: Path
) -> None:
    victim = tmp_path / "victim.txt"
    victim.write_bytes(b"keep me")
    (dest / "FILE_ID.DIZ").symlink_to(victim)
    archive = make_zip(tmp_path / "a.zip", [("FILE_ID.DIZ", DIZ)])
    assert extract_description_member(str(archive), str(dest)) == RESULT_OK
    assert not (dest / "FILE_ID.DIZ").is_symlink()
    assert (dest / "FILE_ID.DIZ").read_bytes() == DIZ
    assert victim.read_bytes() == b"keep me"


def test_destination_problems(tmp_path: Path) -> None:
    archive = make_zip(tmp_path / "a.zip", [("FILE_ID.DIZ", DIZ)])
    missing = tmp_path / "no-such-dir"
    assert extract_description_member(str(archive), str(missing)) == RESULT_WRITE_FAILED
    assert not missing.exists()
    blocked = tmp_path / "blocked"
    (blocked / "FILE_ID.DIZ").mkdir(parents=True)  # a directory in the way
    assert extract_description_member(str(archive), str(blocked)) == RESULT_WRITE_FAILED
    assert listing(blocked) == ["FILE_ID.DIZ"]


def test_no_half_written_file_on_failure(tmp_path: Path, dest: Path) -> None:
    archive = make_zip(tmp_path / "a.zip", [("FILE_ID.DIZ", os.urandom(200_000))])
    raw = bytearray(archive.read_bytes())
    raw[150_000] ^= 0x55
    archive.write_bytes(bytes(raw))
    assert extract_description_member(str(archive), str(dest)) != RESULT_OK
    assert listing(dest) == []


def test_result_codes_are_distinct_small_ints() -> None:
    codes = [
        RESULT_OK,
        RESULT_NOT_AN_ARCHIVE,
        RESULT_NOT_FOUND,
        RESULT_ENCRYPTED,
        RESULT_UNSUPPORTED,
        RESULT_TOOL_FAILED,
        RESULT_WRITE_FAILED,
    ]
    assert codes == list(range(7))


# --------------------------------------------------------------------------- ZIP old methods


@needs_shared
@pytest.mark.parametrize(
    ("archive", "member", "stored"),
    [
        ("Zip.implode.zip", "TEST.EXE", "EXE/TEST.EXE"),
        ("Zip.implode.zip", "test.jpg", "JPG/TEST.JPG"),
        ("Zip.shrink.zip", "TECT.TXT", "TECT.TXT"),
        ("Zip.shrink.zip", "TEST.EXE", "TEST.EXE"),
        ("Zip.deflate64.zip", "TEST.EXE", "exe/test.exe"),
        ("Zip.deflate64.zip", "test.jpg", "jpg/test.jpg"),
    ],
)
@pytest.mark.parametrize(
    "tool",
    [
        pytest.param("unzip", marks=needs_unzip),
        pytest.param("7z", marks=needs_7z),
        pytest.param("unar", marks=needs_unar),
    ],
)
def test_legacy_zip_methods_via_tool(
    dest: Path, archive: str, member: str, stored: str, tool: str
) -> None:
    if UNZIP is None and SEVEN_ZIP is None:
        pytest.skip("no unzip nor 7-Zip to tell the reference bytes")
    if UNZIP:
        expected = tool_output([UNZIP, "-p", str(shared(archive)), stored])
    else:
        assert SEVEN_ZIP
        expected = tool_output([SEVEN_ZIP, "e", "-so", str(shared(archive)), stored])
    assert len(expected) > 10_000
    reader = only(tool)
    code = reader.extract_member(str(shared(archive)), str(dest), member)
    if tool == "unar" and UNAR:
        index = [i.filename for i in zipfile.ZipFile(shared(archive)).infolist()].index(stored)
        own = tool_output([UNAR, "-o", "-", "-q", "-i", str(shared(archive)), str(index)])
        if own != expected:  # e.g. unar 1.10 yields nothing for Zip.shrink.zip's TEST.EXE
            assert code == RESULT_TOOL_FAILED
            assert listing(dest) == []
            return
    assert code == RESULT_OK
    assert listing(dest) == [member]
    assert (dest / member).read_bytes() == expected


@needs_shared
def test_legacy_zip_without_tool_is_unsupported(dest: Path) -> None:
    reader = ArchiveReader({})
    assert reader.extract_member(str(shared("Zip.implode.zip")), str(dest), "TEST.EXE") == (
        RESULT_UNSUPPORTED
    )
    assert listing(dest) == []


@needs_shared
@pytest.mark.parametrize("member", ["TEST.EXE", "TEST.JPG"])
def test_reduce_is_unreadable(dest: Path, member: str) -> None:
    assert (
        extract_description_member(str(shared("Zip.reduce1.zip")), str(dest), member)
        == RESULT_UNSUPPORTED
    )
    assert listing(dest) == []


@needs_shared
@pytest.mark.parametrize(
    ("archive", "member"),
    [("Zip.deflate.WinzipAES2.zip", "test.jpg"), ("zipcrypto.zip", "dog.txt")],
)
def test_encrypted_zip_gives_nothing(dest: Path, archive: str, member: str) -> None:
    assert extract_description_member(str(shared(archive)), str(dest), member) == RESULT_ENCRYPTED
    assert listing(dest) == []


# --------------------------------------------------------------------------- other formats


def _check_reference(dest: Path, member: str, expected: bytes) -> None:
    assert listing(dest) == [member]
    assert (dest / member).read_bytes() == expected


@needs_shared
@pytest.mark.parametrize(
    ("archive", "member", "index"),
    [("Rar.rar", "test.jpg", 2), ("Rar.rar", "TEST.EXE", 1), ("Rar5.rar", "test.exe", 0)],
)
@needs_unar
def test_rar_via_unar(dest: Path, archive: str, member: str, index: int) -> None:
    assert UNAR
    expected = tool_output([UNAR, "-o", "-", "-q", "-i", str(shared(archive)), str(index)])
    assert len(expected) > 10_000
    assert extract_description_member(str(shared(archive)), str(dest), member) == RESULT_OK
    _check_reference(dest, member, expected)


@needs_shared
@pytest.mark.parametrize(
    "tool",
    [
        pytest.param("unar", marks=needs_unar),
        pytest.param("7z", marks=needs_7z),
        pytest.param("arj", marks=needs_arj),
    ],
)
@pytest.mark.parametrize(
    ("member", "stored"), [("TECT.TXT", "TECT.TXT"), ("test.exe", "EXE/TEST.EXE")]
)
def test_shared_arj(dest: Path, tool: str, member: str, stored: str) -> None:
    reader = only(tool)
    if reader.tool_for("arj") != tool:
        pytest.skip(f"{tool} does not read ARJ here")
    expected = (
        tool_output([SEVEN_ZIP, "e", "-so", str(shared("Arj.method1.arj")), stored])
        if SEVEN_ZIP
        else None
    )
    code = reader.extract_member(str(shared("Arj.method1.arj")), str(dest), member)
    assert code == RESULT_OK
    data = (dest / member).read_bytes()
    assert listing(dest) == [member]
    if expected is not None:
        assert data == expected
    assert len(data) in (15498, 45056)


@needs_shared
@pytest.mark.parametrize(
    "tool",
    [
        pytest.param("unar", marks=needs_unar),
        pytest.param("7z", marks=needs_7z),
        pytest.param("lha", marks=needs_lha),
    ],
)
def test_shared_lzh_and_its_symlinks(tmp_path: Path, tool: str) -> None:
    reader = only(tool)
    archive = str(shared("t.lzh"))
    if LHA:
        expected = tool_output([LHA, "-pq", archive, "file1"])
    elif SEVEN_ZIP:
        expected = tool_output([SEVEN_ZIP, "e", "-so", archive, "file1"])
    else:
        assert UNAR
        expected = tool_output([UNAR, "-o", "-", "-q", "-i", archive, "4"])
    assert expected.startswith(b" ") and b"file 1 contents" in expected
    d1 = tmp_path / "d1"
    d1.mkdir()
    assert reader.extract_member(archive, str(d1), "FILE1") == RESULT_OK
    _check_reference(d1, "FILE1", expected)
    for link in ["symlink1", "SYMLINK2"]:
        d2 = tmp_path / link
        d2.mkdir()
        assert reader.extract_member(archive, str(d2), link) == RESULT_NOT_FOUND
        assert listing(d2) == []
        assert not any(p.is_symlink() for p in tmp_path.rglob("*"))
    assert not (tmp_path / "file1").exists()


def _made_archives(tmp_path: Path, fmt: str, members: list[tuple[str, bytes]]) -> Path:
    if fmt == "7z":
        return make_7z(tmp_path / "a.7z", members)
    if fmt == "arj":
        return make_arj(tmp_path / "a.arj", members)
    return make_lzh(tmp_path / "a.lzh", members)


FORMAT_TOOLS = [
    pytest.param("7z", "7z", marks=needs_7z),
    pytest.param("7z", "unar", marks=[needs_7z, needs_unar]),
    pytest.param("arj", "arj", marks=needs_arj),
    pytest.param("arj", "unar", marks=[needs_arj, needs_unar]),
    pytest.param("arj", "7z", marks=[needs_arj, needs_7z]),
    pytest.param("lha", "lha", marks=needs_lha),
    pytest.param("lha", "unar", marks=needs_unar),
    pytest.param("lha", "7z", marks=needs_7z),
]


@pytest.mark.parametrize(("fmt", "tool"), FORMAT_TOOLS)
def test_made_archive_subfolder_lower_case(tmp_path: Path, dest: Path, fmt: str, tool: str) -> None:
    members = [("readme.txt", b"read me"), ("docs/file_id.diz", DIZ), ("docs/other.diz", b"2")]
    archive = _made_archives(tmp_path, fmt, members)
    # Named like something else: the content decides.
    disguised = archive.rename(tmp_path / "UPLOAD.ZIP")
    assert archive_format(str(disguised)) == fmt
    reader = only(tool)
    assert reader.tool_for(fmt) == tool
    assert reader.extract_member(str(disguised), str(dest), "FILE_ID.DIZ") == RESULT_OK
    _check_reference(dest, "FILE_ID.DIZ", DIZ)
    dest2 = tmp_path / "dest2"
    dest2.mkdir()
    assert reader.extract_member(str(disguised), str(dest2), "MISSING.DIZ") == RESULT_NOT_FOUND
    assert listing(dest2) == []


@pytest.mark.parametrize(("fmt", "tool"), FORMAT_TOOLS)
def test_made_archive_big_member_is_cut(tmp_path: Path, dest: Path, fmt: str, tool: str) -> None:
    # 3 MiB; for LZH (stored, built with a pure-Python CRC) just past the cut.
    size = MAX_MEMBER_BYTES + 65536 if fmt == "lha" else 3 * MAX_MEMBER_BYTES
    big = b"0123456789ABCDEF" * (size // 16)
    archive = _made_archives(tmp_path, fmt, [("FILE_ID.DIZ", big)])
    assert only(tool).extract_member(str(archive), str(dest), "FILE_ID.DIZ") == RESULT_OK
    _check_reference(dest, "FILE_ID.DIZ", big[:MAX_MEMBER_BYTES])


@pytest.mark.parametrize(
    "tool",
    [
        pytest.param("lha", marks=needs_lha),
        pytest.param("unar", marks=needs_unar),
        pytest.param("7z", marks=needs_7z),
    ],
)
def test_made_lzh_with_climbing_name(tmp_path: Path, dest: Path, tool: str) -> None:
    archive = make_lzh(tmp_path / "e.lzh", [("../../FILE_ID.DIZ", DIZ)])
    before = listing(tmp_path)
    assert only(tool).extract_member(str(archive), str(dest), "FILE_ID.DIZ") == RESULT_OK
    assert sorted(set(listing(tmp_path)) - set(before)) == [
        os.path.join("work", "dest", "FILE_ID.DIZ")
    ]
    assert (dest / "FILE_ID.DIZ").read_bytes() == DIZ


@pytest.mark.parametrize("fmt", ["7z", "rar", "arj", "lha"])
def test_format_without_tool_is_unsupported(tmp_path: Path, dest: Path, fmt: str) -> None:
    heads = {
        "7z": b"7z\xbc\xaf\x27\x1c",
        "rar": b"Rar!\x1a\x07\x00",
        "arj": b"\x60\xea",
        "lha": b"\x20\x00-lh5-",
    }
    path = tmp_path / "x.bin"
    path.write_bytes(heads[fmt] + b"\0" * 64)
    assert ArchiveReader({}).extract_member(str(path), str(dest), "FILE_ID.DIZ") == (
        RESULT_UNSUPPORTED
    )
    assert listing(dest) == []


@pytest.mark.parametrize(
    ("fmt", "tool"),
    [
        pytest.param("7z", "7z", marks=needs_7z),
        pytest.param("7z", "unar", marks=needs_unar),
        pytest.param("rar", "unar", marks=needs_unar),
        pytest.param("arj", "arj", marks=needs_arj),
        pytest.param("lha", "lha", marks=needs_lha),
    ],
)
def test_corrupt_other_formats_give_nothing(
    tmp_path: Path, dest: Path, fmt: str, tool: str
) -> None:
    heads = {
        "7z": b"7z\xbc\xaf\x27\x1c",
        "rar": b"Rar!\x1a\x07\x00",
        "arj": b"\x60\xea",
        "lha": b"\x20\x00-lh5-",
    }
    path = tmp_path / "x.bin"
    path.write_bytes(heads[fmt] + os.urandom(300))
    code = only(tool).extract_member(str(path), str(dest), "FILE_ID.DIZ")
    assert code != RESULT_OK
    assert listing(dest) == []


@needs_7z
def test_encrypted_7z_gives_nothing(tmp_path: Path, dest: Path) -> None:
    assert SEVEN_ZIP
    src = tmp_path / "src"
    src.mkdir()
    (src / "FILE_ID.DIZ").write_bytes(DIZ)
    for extra in ([], ["-mhe=on"]):
        archive = tmp_path / f"enc{len(extra)}.7z"
        subprocess.run(
            [SEVEN_ZIP, "a", "-bd", "-psecret", *extra, str(archive), "FILE_ID.DIZ"],
            cwd=src,
            check=True,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
        )
        for tool in ["7z"] + (["unar"] if UNAR else []):
            code = only(tool).extract_member(str(archive), str(dest), "FILE_ID.DIZ")
            assert code != RESULT_OK
            if not extra:
                assert code == RESULT_ENCRYPTED
            assert listing(dest) == []


@needs_arj
def test_garbled_arj_gives_nothing(tmp_path: Path, dest: Path) -> None:
    assert ARJ
    src = tmp_path / "src"
    src.mkdir()
    (src / "FILE_ID.DIZ").write_bytes(DIZ)
    archive = tmp_path / "g.arj"
    subprocess.run(
        [ARJ, "a", "-y", "-gsecret", str(archive), "FILE_ID.DIZ"],
        cwd=src,
        check=True,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
    )
    for tool in ["arj", "unar", "7z"]:
        reader = only(tool)
        if reader.tool_for("arj") != tool:
            continue
        code = reader.extract_member(str(archive), str(dest), "FILE_ID.DIZ")
        assert code != RESULT_OK, tool
        assert listing(dest) == []


# --------------------------------------------------------------------------- hanging / chatty tools


def _fake_tool(path: Path, script: str) -> str:
    path.write_text("#!/bin/sh\n" + script)
    path.chmod(0o755)
    return str(path)


def test_hanging_tool_is_killed_after_timeout(tmp_path: Path, dest: Path) -> None:
    pidfile = tmp_path / "child.pid"
    hang = _fake_tool(tmp_path / "fake7z", f"sleep 60 &\necho $! > {pidfile}\nwait\n")
    archive = tmp_path / "x.7z"
    archive.write_bytes(b"7z\xbc\xaf\x27\x1c" + b"\0" * 64)
    reader = ArchiveReader({"7z": hang}, timeout=0.5)
    start = time.monotonic()
    assert reader.extract_member(str(archive), str(dest), "FILE_ID.DIZ") == RESULT_TOOL_FAILED
    assert time.monotonic() - start < 5
    assert listing(dest) == []
    child = int(pidfile.read_text())
    deadline = time.monotonic() + 5
    while time.monotonic() < deadline:  # the whole group was killed: the grandchild too
        try:
            state = Path(f"/proc/{child}/stat").read_text().split()[2]
        except FileNotFoundError:
            break
        if state == "Z":
            break
        time.sleep(0.05)
    else:
        pytest.fail("the tool's child process survived")


def test_endless_tool_output_is_cut(tmp_path: Path, dest: Path) -> None:
    lsar = _fake_tool(
        tmp_path / "lsar",
        'echo \'{"lsarContents": [{"XADFileName": "x/File_Id.Diz", "XADIndex": 0}]}\'\n',
    )
    unar = _fake_tool(tmp_path / "unar", "exec yes KELVANE\n")
    archive = tmp_path / "x.rar"
    archive.write_bytes(b"Rar!\x1a\x07\x00" + b"\0" * 64)
    reader = ArchiveReader({"unar": unar, "lsar": lsar})
    assert reader.extract_member(str(archive), str(dest), "FILE_ID.DIZ") == RESULT_OK
    data = (dest / "FILE_ID.DIZ").read_bytes()
    assert len(data) == MAX_MEMBER_BYTES
    assert data.startswith(b"KELVANE\nKELVANE\n")


def test_failing_tool_gives_nothing(tmp_path: Path, dest: Path) -> None:
    lsar = _fake_tool(
        tmp_path / "lsar",
        'echo \'{"lsarContents": [{"XADFileName": "FILE_ID.DIZ", "XADIndex": 0, "XADFileSize": 50}]}\'\n',
    )
    unar = _fake_tool(tmp_path / "unar", "echo partial\nexit 1\n")
    archive = tmp_path / "x.rar"
    archive.write_bytes(b"Rar!\x1a\x07\x00" + b"\0" * 64)
    reader = ArchiveReader({"unar": unar, "lsar": lsar})
    assert reader.extract_member(str(archive), str(dest), "FILE_ID.DIZ") == RESULT_TOOL_FAILED
    assert listing(dest) == []


def test_missing_tool_binary_gives_nonzero(tmp_path: Path, dest: Path) -> None:
    archive = tmp_path / "x.7z"
    archive.write_bytes(b"7z\xbc\xaf\x27\x1c" + b"\0" * 64)
    reader = ArchiveReader({"7z": str(tmp_path / "no-such-7z")})
    assert reader.extract_member(str(archive), str(dest), "FILE_ID.DIZ") != RESULT_OK
    assert listing(dest) == []


# --------------------------------------------------------------------------- without select on pipes


@pytest.fixture
def pipes_not_selectable(monkeypatch):
    """The Windows path: ``select`` cannot wait on a pipe, a reader thread is used."""
    monkeypatch.setattr(unzip, "_PIPES_SELECTABLE", False)


def test_a_hanging_tool_is_killed_also_where_pipes_cannot_be_selected(
    tmp_path: Path, dest: Path, pipes_not_selectable
) -> None:
    hang = _fake_tool(tmp_path / "fake7z", "sleep 60\n")
    archive = tmp_path / "x.7z"
    archive.write_bytes(b"7z\xbc\xaf\x27\x1c" + b"\0" * 64)
    reader = ArchiveReader({"7z": hang}, timeout=0.5)
    start = time.monotonic()
    assert reader.extract_member(str(archive), str(dest), "FILE_ID.DIZ") == RESULT_TOOL_FAILED
    assert time.monotonic() - start < 5
    assert listing(dest) == []


def test_endless_output_is_cut_also_where_pipes_cannot_be_selected(
    tmp_path: Path, dest: Path, pipes_not_selectable
) -> None:
    lsar = _fake_tool(
        tmp_path / "lsar",
        'echo \'{"lsarContents": [{"XADFileName": "x/File_Id.Diz", "XADIndex": 0}]}\'\n',
    )
    unar = _fake_tool(tmp_path / "unar", "exec yes KELVANE\n")
    archive = tmp_path / "x.rar"
    archive.write_bytes(b"Rar!\x1a\x07\x00" + b"\0" * 64)
    reader = ArchiveReader({"unar": unar, "lsar": lsar})
    assert reader.extract_member(str(archive), str(dest), "FILE_ID.DIZ") == RESULT_OK
    assert len((dest / "FILE_ID.DIZ").read_bytes()) == MAX_MEMBER_BYTES


def test_the_archive_layer_imports_without_the_posix_resource_module(monkeypatch) -> None:
    """Windows has no ``resource``: the module must still import (it did not).

    A separate copy of the module is loaded, so the one in use is not disturbed.
    """
    import importlib.util
    import sys

    monkeypatch.setitem(sys.modules, "resource", None)  # import resource -> ImportError
    spec = importlib.util.spec_from_file_location("kelvane_unzip_copy", unzip.__file__)
    assert spec is not None and spec.loader is not None
    copy = importlib.util.module_from_spec(spec)
    monkeypatch.setitem(sys.modules, spec.name, copy)  # dataclasses look their module up
    spec.loader.exec_module(copy)

    assert copy.resource is None
    assert copy.ArchiveReader().extract_member("/no/such.zip", "/tmp", "FILE_ID.DIZ") != 0
