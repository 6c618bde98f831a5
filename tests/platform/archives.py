"""Builders of test archives for tests/platform/test_unzip.py (no Qt)."""

from __future__ import annotations

import os
import shutil
import struct
import subprocess
import zipfile
from pathlib import Path

SHARED_ARCHIVES = Path(__file__).resolve().parents[3] / "shared" / "testdata" / "archives"

SEVEN_ZIP = shutil.which("7zz") or shutil.which("7z") or shutil.which("7za")
UNZIP = shutil.which("unzip")
UNAR = shutil.which("unar") if shutil.which("lsar") else None
ARJ = shutil.which("arj")
LHA = shutil.which("lha")


def make_zip(
    path: Path, members: list[tuple[str, bytes]], method: int = zipfile.ZIP_DEFLATED
) -> Path:
    with zipfile.ZipFile(path, "w", compression=method) as zf:
        for name, data in members:
            zf.writestr(name, data)
    return path


def make_zip_with_dir(
    path: Path, dir_name: str, members: list[tuple[str, bytes]] | None = None
) -> Path:
    with zipfile.ZipFile(path, "w") as zf:
        zf.writestr(zipfile.ZipInfo(dir_name.rstrip("/") + "/"), b"")
        for name, data in members or []:
            zf.writestr(name, data)
    return path


def make_zip_symlink(path: Path, name: str, target: str) -> Path:
    info = zipfile.ZipInfo(name)
    info.create_system = 3
    info.external_attr = (0o120777 << 16) & 0xFFFF0000
    with zipfile.ZipFile(path, "w") as zf:
        zf.writestr(info, target.encode())
    return path


def make_big_zip(path: Path, name: str, size: int) -> Path:
    """A deflated member of ``size`` bytes of repeated text, written in chunks."""
    line = b"This line repeats to make a huge FILE_ID.DIZ.\r\n"
    chunk = line * (65536 // len(line))
    with (
        zipfile.ZipFile(path, "w", compression=zipfile.ZIP_DEFLATED, compresslevel=1) as zf,
        zf.open(name, "w", force_zip64=True) as out,
    ):
        left = size
        while left > 0:
            piece = chunk[:left]
            out.write(piece)
            left -= len(piece)
    return path


def _materialize(root: Path, members: list[tuple[str, bytes]]) -> None:
    for name, data in members:
        target = root / name
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(data)


def make_7z(path: Path, members: list[tuple[str, bytes]]) -> Path:
    assert SEVEN_ZIP
    src = path.parent / (path.name + ".src")
    _materialize(src, members)
    names = [name for name, _ in members]
    subprocess.run(
        [SEVEN_ZIP, "a", "-bd", "-mx1", str(path.resolve()), *names],
        cwd=src,
        check=True,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
    )
    shutil.rmtree(src)
    return path


def make_arj(path: Path, members: list[tuple[str, bytes]]) -> Path:
    assert ARJ
    src = path.parent / (path.name + ".src")
    _materialize(src, members)
    names = [name for name, _ in members]
    subprocess.run(
        [ARJ, "a", "-y", str(path.resolve()), *names],
        cwd=src,
        check=True,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
    )
    shutil.rmtree(src)
    return path


def _crc16(data: bytes) -> int:
    crc = 0
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = (crc >> 1) ^ 0xA001 if crc & 1 else crc >> 1
    return crc


def make_lzh(path: Path, members: list[tuple[str, bytes]]) -> Path:
    """An LHA archive (level-0 headers, method -lh0- = stored); lhasa cannot create archives."""
    out = bytearray()
    for name, data in members:
        raw_name = name.replace("/", "\\").encode("latin-1")
        body = (
            b"-lh0-"
            + struct.pack("<LLHHBB", len(data), len(data), 0, 0x5A21, 0x20, 0)
            + bytes([len(raw_name)])
            + raw_name
            + struct.pack("<H", _crc16(data))
        )
        checksum = sum(body) & 0xFF
        out += bytes([len(body), checksum]) + body + data
    out += b"\x00"
    path.write_bytes(bytes(out))
    return path


def tool_output(argv: list[str]) -> bytes:
    """What a tool itself extracts to stdout (the reference the tests compare with)."""
    return subprocess.run(
        argv, check=True, stdin=subprocess.DEVNULL, capture_output=True, timeout=60
    ).stdout


def listing(root: Path) -> list[str]:
    """All paths under ``root`` (relative), to prove nothing else was written."""
    return sorted(
        os.path.relpath(os.path.join(d, f), root) for d, ds, fs in os.walk(root) for f in ds + fs
    )
