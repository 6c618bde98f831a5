"""The unzip facility: "Extract description member" of an uploaded archive.

Kelvane takes an uploaded archive's description from its member ``FILE_ID.DIZ``.
:func:`extract_description_member` finds that member (any case, any folder) and
writes it flat into a destination directory under the requested name.

* ZIP is read with :mod:`zipfile` in-process (fast path, no subprocess).  Members packed
  with old PKZIP methods (shrink=1, implode=6, deflate64=9) are decoded by an installed
  Info-ZIP ``unzip``, 7-Zip or ``unar``; "reduce" (2-5) is never readable.
* 7z, RAR, ARJ and LHA/LZH go through whichever installed tool reads them (``unar``/``lsar``,
  7-Zip ``7zz``/``7z``/``7za``, ``arj``, ``lha``).  The format is told by content, not name.

Safety rules: nothing is written outside the destination (tools write to a pipe, or
-- for ``arj`` only -- into a private temporary directory inside the destination), links
are never followed or created, at most :data:`MAX_MEMBER_BYTES` of a member is kept, a
tool is killed (whole process group) after :data:`TOOL_TIMEOUT` seconds, no password is
ever prompted for, and the output appears under its final name only once complete
(temporary name + rename).  Bad input never raises: a nonzero result code is returned.

Result codes (the spec's 16-bit result; callers judge success by the file's existence):

=========================  ==  =====================================================
``RESULT_OK``               0  member written to the destination
``RESULT_NOT_AN_ARCHIVE``   1  not an archive, or a corrupt/unreadable one
``RESULT_NOT_FOUND``        2  no regular-file member of that name (dirs and links
                               do not count; an unusable requested name counts too)
``RESULT_ENCRYPTED``        3  the member (or the archive) is encrypted
``RESULT_UNSUPPORTED``      4  compression method not supported (ZIP "reduce"), or no
                               installed tool reads this format/method
``RESULT_TOOL_FAILED``      5  the external tool failed, or timed out and was killed,
                               or the member's data is corrupt
``RESULT_WRITE_FAILED``     6  the destination is not a writable directory
=========================  ==  =====================================================
"""

from __future__ import annotations

import contextlib
import fnmatch
import functools
import json
import os
import re
import secrets
import selectors
import shutil
import signal
import stat
import struct
import subprocess
import tempfile
import threading
import time
import zipfile
import zlib
from collections.abc import Callable, Iterable, Iterator, Mapping
from dataclasses import dataclass
from typing import IO, BinaryIO

try:  # POSIX only: Windows has no ``resource`` (nor process groups, nor select on pipes)
    import resource
except ImportError:  # pragma: no cover - Windows
    resource = None  # type: ignore[assignment]

#: Whether ``select`` works on a pipe here (not on Windows): else a reader thread is used.
_PIPES_SELECTABLE = os.name != "nt"

__all__ = [
    "MAX_MEMBER_BYTES",
    "RESULT_ENCRYPTED",
    "RESULT_NOT_AN_ARCHIVE",
    "RESULT_NOT_FOUND",
    "RESULT_OK",
    "RESULT_TOOL_FAILED",
    "RESULT_UNSUPPORTED",
    "RESULT_WRITE_FAILED",
    "TOOL_TIMEOUT",
    "ArchiveReader",
    "archive_format",
    "available_tools",
    "discover_tools",
    "extract_description_member",
]

RESULT_OK = 0
RESULT_NOT_AN_ARCHIVE = 1
RESULT_NOT_FOUND = 2
RESULT_ENCRYPTED = 3
RESULT_UNSUPPORTED = 4
RESULT_TOOL_FAILED = 5
RESULT_WRITE_FAILED = 6

MAX_MEMBER_BYTES = 1_048_576
"""Only this many leading bytes of a member are kept."""

TOOL_TIMEOUT = 10.0
"""Seconds an external tool may run before its process group is killed."""

_LISTING_LIMIT = 64 * 1_048_576
_CHUNK = 65_536
_DUMMY_PASSWORD = "kelvane-no-password"

# ZIP compression methods.
_ZIP_NATIVE = {zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED, zipfile.ZIP_BZIP2, zipfile.ZIP_LZMA}
_ZIP_LEGACY = {1, 6, 9}  # shrink, implode, deflate64: external tool
_ZIP_REDUCE = {2, 3, 4, 5}

# Formats in the order of tool preference.
_FORMAT_TOOLS: dict[str, tuple[str, ...]] = {
    "zip": ("unzip", "7z", "unar"),  # only for the legacy methods 1, 6, 9
    "7z": ("7z", "unar"),
    "rar": ("unar", "7z"),
    "arj": ("unar", "7z", "arj"),
    "lha": ("unar", "7z", "lha"),
}
_FORMATS_7ZA = {"zip", "7z"}  # 7za (p7zip's standalone) reads only these of ours

_TOOL_KEYS = ("unzip", "7z", "unar", "lsar", "arj", "lha")


# --------------------------------------------------------------------------- discovery


@functools.cache
def _discovered() -> tuple[tuple[str, str], ...]:
    found: dict[str, str] = {}
    for key, names in (
        ("unzip", ("unzip",)),
        ("7z", ("7zz", "7z", "7za")),
        ("unar", ("unar",)),
        ("lsar", ("lsar",)),
        ("arj", ("arj",)),
        ("lha", ("lha",)),
    ):
        for name in names:
            path = shutil.which(name)
            if path:
                found[key] = path
                break
    return tuple(found.items())


def discover_tools() -> dict[str, str]:
    """Installed tools, tool key ("unzip", "7z", "unar", "lsar", "arj", "lha") -> path (cached)."""
    return dict(_discovered())


def _tool_for(fmt: str, tools: Mapping[str, str]) -> str | None:
    for key in _FORMAT_TOOLS.get(fmt, ()):
        if key == "unar":
            if "unar" in tools and "lsar" in tools:
                return key
        elif key == "7z":
            path = tools.get("7z")
            if path and (fmt in _FORMATS_7ZA or os.path.basename(path) != "7za"):
                return key
        elif key in tools:
            return key
    return None


def available_tools() -> dict[str, str]:
    """Format -> path of the tool that reads it here.

    "zip" names the tool used for the legacy methods (shrink, implode, deflate64);
    ordinary ZIP members are always read in-process by :mod:`zipfile`.
    """
    tools = discover_tools()
    result: dict[str, str] = {}
    for fmt in _FORMAT_TOOLS:
        key = _tool_for(fmt, tools)
        if key is not None:
            result[fmt] = tools[key]
    return result


# --------------------------------------------------------------------------- format


def _format_from_head(head: bytes) -> str | None:
    if head.startswith((b"PK\x03\x04", b"PK\x05\x06")):
        return "zip"
    if head.startswith(b"7z\xbc\xaf\x27\x1c"):
        return "7z"
    if head.startswith(b"Rar!\x1a\x07"):
        return "rar"
    if head.startswith(b"\x60\xea"):
        return "arj"
    if len(head) >= 7 and head[2:4] == b"-l" and head[4:5] in (b"h", b"z") and head[6:7] == b"-":
        return "lha"
    return None


def _format_of_open_file(f: BinaryIO) -> str | None:
    head = f.read(8)
    fmt = _format_from_head(head)
    if fmt is None and zipfile.is_zipfile(f):  # self-extracting / prefixed ZIP
        fmt = "zip"
    f.seek(0)
    return fmt


def archive_format(path: str) -> str | None:
    """ "zip", "7z", "rar", "arj", "lha" from the file's content, or None (also on any error)."""
    try:
        with open(path, "rb") as f:
            if not stat.S_ISREG(os.fstat(f.fileno()).st_mode):
                return None
            return _format_of_open_file(f)
    except (OSError, ValueError):
        return None


# --------------------------------------------------------------------------- helpers


def _last_component(name: str) -> str:
    return re.split(r"[/\\]", name.rstrip("/\\"))[-1]


def _name_matches(stored: str, wanted_folded: str) -> bool:
    return _last_component(stored).casefold() == wanted_folded


class _Failure(Exception):
    def __init__(self, code: int) -> None:
        super().__init__(code)
        self.code = code


@dataclass
class _RunResult:
    returncode: int | None
    data: bytes
    truncated: bool
    timed_out: bool

    @property
    def ok(self) -> bool:
        return not self.timed_out and (self.truncated or self.returncode == 0)


def _kill_group(proc: subprocess.Popen[bytes]) -> None:
    killpg = getattr(os, "killpg", None)
    with contextlib.suppress(ProcessLookupError, PermissionError, OSError):
        if killpg is not None:
            killpg(proc.pid, signal.SIGKILL)
        else:  # pragma: no cover - Windows: no process groups
            proc.kill()


def _read_with_select(fd: int, limit: int, deadline: float) -> tuple[list[bytes], bool, bool]:
    """At most *limit* bytes of the pipe until its end or *deadline*: (chunks, truncated, timed_out)."""
    chunks: list[bytes] = []
    total = 0
    with selectors.DefaultSelector() as sel:
        sel.register(fd, selectors.EVENT_READ)
        while True:
            remaining = deadline - time.monotonic()
            if remaining <= 0:
                return chunks, False, True
            if not sel.select(remaining):
                continue
            chunk = os.read(fd, min(_CHUNK, limit - total))
            if not chunk:
                return chunks, False, False
            chunks.append(chunk)
            total += len(chunk)
            if total >= limit:
                return chunks, True, False


def _read_with_thread(
    fd: int, limit: int, deadline: float
) -> tuple[list[bytes], bool, bool, threading.Thread]:
    """The same where ``select`` cannot wait on a pipe (Windows): a daemon thread reads.

    On a time-out the caller kills the tool, which ends the thread's blocking
    read, and joins the thread before it closes the pipe.
    """
    chunks: list[bytes] = []
    truncated = threading.Event()
    finished = threading.Event()

    def pump() -> None:
        total = 0
        try:
            while total < limit:
                chunk = os.read(fd, min(_CHUNK, limit - total))
                if not chunk:
                    return
                chunks.append(chunk)
                total += len(chunk)
            truncated.set()
        except OSError:
            return
        finally:
            finished.set()

    thread = threading.Thread(target=pump, name="kelvane-unzip-pipe", daemon=True)
    thread.start()
    timed_out = not finished.wait(max(0.0, deadline - time.monotonic()))
    kept = list(chunks)
    return kept, truncated.is_set() and not timed_out, timed_out, thread


def _run(
    argv: list[str],
    limit: int,
    timeout: float,
    *,
    cwd: str | None = None,
    preexec_fn: Callable[[], None] | None = None,
) -> _RunResult:
    """Run a tool, stdin closed, in its own session; keep at most ``limit`` bytes of stdout.

    The whole process group is killed once ``limit`` bytes were read or ``timeout`` passed.
    """
    env = dict(os.environ, LC_ALL="C.UTF-8", LANG="C.UTF-8")
    try:
        proc = subprocess.Popen(
            argv,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            start_new_session=True,
            cwd=cwd,
            env=env,
            preexec_fn=preexec_fn,
        )
    except (OSError, ValueError, subprocess.SubprocessError):
        return _RunResult(None, b"", False, False)
    assert proc.stdout is not None
    deadline = time.monotonic() + timeout
    fd = proc.stdout.fileno()
    pump: threading.Thread | None = None
    try:
        if _PIPES_SELECTABLE:
            chunks, truncated, timed_out = _read_with_select(fd, limit, deadline)
        else:
            chunks, truncated, timed_out, pump = _read_with_thread(fd, limit, deadline)
        if truncated or timed_out:
            _kill_group(proc)
        else:
            try:
                proc.wait(max(0.0, deadline - time.monotonic()))
            except subprocess.TimeoutExpired:
                timed_out = True
                _kill_group(proc)
    finally:
        if proc.poll() is None:
            _kill_group(proc)
        proc.wait()
        if pump is not None:  # the tool is gone: its pipe ends, and so does the reader
            pump.join(1.0)
        proc.stdout.close()
    return _RunResult(proc.returncode, b"".join(chunks), truncated, timed_out)


def _decode(raw: bytes) -> str:
    return raw.decode("utf-8", "surrogateescape")


# --------------------------------------------------------------------------- output


class _Output:
    """A private temporary file in the destination, renamed to the member name on commit."""

    def __init__(self, destination: str, member_name: str) -> None:
        self.final = os.path.join(destination, member_name)
        self.temp = os.path.join(destination, f".{member_name}.{secrets.token_hex(6)}.part")
        flags = os.O_WRONLY | os.O_CREAT | os.O_EXCL | getattr(os, "O_NOFOLLOW", 0)
        try:
            fd = os.open(self.temp, flags, 0o666)
        except OSError as exc:
            raise _Failure(RESULT_WRITE_FAILED) from exc
        self.file = os.fdopen(fd, "wb")
        self.written = 0

    def write_chunks(self, chunks: Iterable[bytes], limit: int) -> None:
        for chunk in chunks:
            room = limit - self.written
            if len(chunk) > room:
                chunk = chunk[:room]
            try:
                self.file.write(chunk)
            except OSError as exc:
                raise _Failure(RESULT_WRITE_FAILED) from exc
            self.written += len(chunk)
            if self.written >= limit:
                break

    def commit(self) -> None:
        try:
            self.file.close()
            # Removing an old file first spares ext4's flush on rename-over-existing
            # (auto_da_alloc), which would dominate a scan of thousands of archives.
            with contextlib.suppress(FileNotFoundError, IsADirectoryError, PermissionError):
                if not stat.S_ISDIR(os.lstat(self.final).st_mode):
                    os.unlink(self.final)
            os.replace(self.temp, self.final)
        except OSError as exc:
            raise _Failure(RESULT_WRITE_FAILED) from exc

    def discard(self) -> None:
        with contextlib.suppress(OSError):
            self.file.close()
        with contextlib.suppress(OSError):
            os.unlink(self.temp)


# --------------------------------------------------------------------------- entries


@dataclass
class _Entry:
    name: str  # as stored / as the tool wants it back
    index: int
    size: int | None = None
    is_dir: bool = False
    is_link: bool = False
    encrypted: bool = False


def _pick(entries: Iterable[_Entry], wanted_folded: str) -> _Entry:
    """First regular-file member (archive order) whose last path component matches."""
    for entry in entries:
        if entry.is_dir or entry.is_link or not _name_matches(entry.name, wanted_folded):
            continue
        if entry.encrypted:
            raise _Failure(RESULT_ENCRYPTED)
        return entry
    raise _Failure(RESULT_NOT_FOUND)


def _parse_7z_listing(text: str) -> list[_Entry]:
    body = text.split("\n----------\n", 1)
    if len(body) != 2:
        raise _Failure(RESULT_NOT_AN_ARCHIVE)
    entries: list[_Entry] = []
    for block in re.split(r"\n\s*\n", body[1]):
        fields: dict[str, str] = {}
        for line in block.splitlines():
            key, sep, value = line.partition(" = ")
            if sep:
                fields.setdefault(key.strip(), value)
        if "Path" not in fields:
            continue
        attrs = fields.get("Attributes", "")
        parts = attrs.split()
        unix_mode = parts[1] if len(parts) > 1 else ""
        size = fields.get("Size", "")
        entries.append(
            _Entry(
                name=fields["Path"],
                index=len(entries),
                size=int(size) if size.isdigit() else None,
                is_dir=fields.get("Folder") == "+" or attrs.startswith("D") or unix_mode[:1] == "d",
                is_link=unix_mode[:1] == "l" or bool(fields.get("Symbolic Link")),
                encrypted=fields.get("Encrypted") == "+",
            )
        )
    return entries


def _parse_lsar_listing(raw: bytes) -> list[_Entry]:
    try:
        doc = json.loads(raw)
        contents = doc["lsarContents"]
    except (ValueError, KeyError, TypeError) as exc:
        raise _Failure(RESULT_NOT_AN_ARCHIVE) from exc
    entries: list[_Entry] = []
    if not isinstance(contents, list):
        raise _Failure(RESULT_NOT_AN_ARCHIVE)
    for item in contents:
        if not isinstance(item, dict):
            continue
        name = item.get("XADFileName")
        index = item.get("XADIndex")
        if not isinstance(name, str) or not isinstance(index, int):
            continue
        size = item.get("XADFileSize")
        entries.append(
            _Entry(
                name=name,
                index=index,
                size=size if isinstance(size, int) else None,
                is_dir=bool(item.get("XADIsDirectory")) or bool(item.get("XADIsResourceFork")),
                is_link=bool(item.get("XADIsLink")),
                encrypted=bool(item.get("XADIsEncrypted")),
            )
        )
    return entries


_LHA_LINE = re.compile(
    r"^(?P<perm>\S+)\s.*?\s(?P<size>\d+)\s+(?:\*+|[\d.]+%)\s+.*?"
    r"[A-Z][a-z]{2} [ \d]\d (?: \d{4}|\d\d:\d\d) (?P<name>.+)$"
)


def _parse_lha_listing(text: str) -> list[_Entry]:
    lines = text.splitlines()
    rules = [i for i, line in enumerate(lines) if line.startswith("----------")]
    if len(rules) < 2:
        raise _Failure(RESULT_NOT_AN_ARCHIVE)
    entries: list[_Entry] = []
    for line in lines[rules[0] + 1 : rules[1]]:
        m = _LHA_LINE.match(line)
        if not m:
            continue
        perm, name = m["perm"], m["name"]
        is_link = perm.startswith("l")
        if is_link and " -> " in name:
            name = name.split(" -> ", 1)[0]
        entries.append(
            _Entry(
                name=name,
                index=len(entries),
                size=int(m["size"]),
                is_dir=perm.startswith("d") or name.endswith("/"),
                is_link=is_link,
            )
        )
    return entries


_ARJ_ENTRY = re.compile(r"^(\d{3,})\) (.*)$")


def _parse_arj_listing(text: str) -> list[_Entry]:
    lines = text.splitlines()
    header = next((line for line in lines if line.startswith("Rev/Host OS")), None)
    if header is None or "BPMGS" not in header:
        raise _Failure(RESULT_NOT_AN_ARCHIVE)
    g_col = header.index("BPMGS") + 3
    entries: list[_Entry] = []
    for i, line in enumerate(lines):
        m = _ARJ_ENTRY.match(line)
        if not m or i + 1 >= len(lines):
            continue
        info = lines[i + 1]
        fields = info.split()
        size = int(fields[2]) if len(fields) > 2 and fields[2].isdigit() else None
        garbled = len(info) > g_col and info[g_col] not in " 0"
        entries.append(
            _Entry(
                name=m[2],
                index=len(entries),
                size=size,
                is_dir=any(f.startswith("d") and len(f) == 10 for f in fields[7:8]),
                is_link=any(f.startswith("l") and len(f) == 10 for f in fields[7:8]),
                encrypted=garbled,
            )
        )
    return entries


# --------------------------------------------------------------------------- ZIP legacy


def _dos_datetime(date_time: tuple[int, int, int, int, int, int]) -> tuple[int, int]:
    year, month, day, hour, minute, second = date_time
    year = min(max(year, 1980), 2107)
    return (hour << 11) | (minute << 5) | (second // 2), ((year - 1980) << 9) | (month << 5) | day


def _repack_zip_member(src: BinaryIO, info: zipfile.ZipInfo, target: str) -> None:
    """Copy one member's raw compressed data into a fresh one-member ZIP at ``target``.

    The tool then extracts "the only member" of that ZIP: it never sees the stored name
    (no wildcard, charset or path surprises).
    """
    if info.compress_size >= 0xFFFFFFFF or info.file_size >= 0xFFFFFFFF:
        raise _Failure(RESULT_UNSUPPORTED)
    src.seek(info.header_offset)
    local = src.read(30)
    if len(local) != 30 or local[:4] != b"PK\x03\x04":
        raise _Failure(RESULT_NOT_AN_ARCHIVE)
    name_len, extra_len = struct.unpack("<HH", local[26:30])
    src.seek(info.header_offset + 30 + name_len + extra_len)
    flags = info.flag_bits & 0x0006  # keep the implode dictionary/tree bits only
    dos_time, dos_date = _dos_datetime(info.date_time)
    name = b"m"
    fixed = (
        max(info.extract_version, 10),
        flags,
        info.compress_type,
        dos_time,
        dos_date,
        info.CRC,
        info.compress_size,
        info.file_size,
    )
    local_header = struct.pack("<4s5HLLLHH", b"PK\x03\x04", *fixed, len(name), 0) + name
    central = (
        struct.pack(
            "<4s6HLLLHHHHHLL",
            b"PK\x01\x02",
            20,
            *fixed,
            len(name),
            0,
            0,
            0,
            0,
            0,
            0,
        )
        + name
    )
    try:
        with open(target, "xb") as out:
            out.write(local_header)
            remaining = info.compress_size
            while remaining:
                chunk = src.read(min(_CHUNK, remaining))
                if not chunk:
                    raise _Failure(RESULT_NOT_AN_ARCHIVE)
                out.write(chunk)
                remaining -= len(chunk)
            cd_offset = out.tell()
            out.write(central)
            out.write(
                struct.pack("<4s4HLLH", b"PK\x05\x06", 0, 0, 1, 1, len(central), cd_offset, 0)
            )
    except OSError as exc:
        raise _Failure(RESULT_WRITE_FAILED) from exc


# --------------------------------------------------------------------------- reader


class ArchiveReader:
    """Extracts one named member of an archive flat into a destination directory.

    ``tools`` maps tool keys ("unzip", "7z", "unar", "lsar", "arj", "lha") to executables;
    by default the installed ones (:func:`discover_tools`).  Pass a mapping to restrict or
    force the tools used (tests do, to exercise every back end).
    """

    def __init__(
        self,
        tools: Mapping[str, str] | None = None,
        *,
        timeout: float = TOOL_TIMEOUT,
        max_bytes: int = MAX_MEMBER_BYTES,
    ) -> None:
        self._tools = dict(tools) if tools is not None else None
        self.timeout = timeout
        self.max_bytes = max_bytes

    @property
    def tools(self) -> dict[str, str]:
        return dict(self._tools) if self._tools is not None else discover_tools()

    def tool_for(self, fmt: str) -> str | None:
        """The tool key that would read ``fmt`` (for ZIP: its legacy methods), or None."""
        return _tool_for(fmt, self.tools)

    # -- public

    def extract_member(self, archive_path: str, destination: str, member_name: str) -> int:
        """Extract ``member_name`` (any case, any folder) flat into ``destination``.

        Returns a ``RESULT_*`` code; never raises for bad input.
        """
        try:
            return self._extract(archive_path, destination, member_name)
        except _Failure as failure:
            return failure.code
        except (OSError, ValueError, EOFError, RuntimeError, zipfile.BadZipFile, zlib.error):
            return RESULT_NOT_AN_ARCHIVE
        except Exception:  # noqa: BLE001 - the contract is "never raise for bad input"
            return RESULT_NOT_AN_ARCHIVE

    # -- dispatch

    def _extract(self, archive_path: str, destination: str, member_name: str) -> int:
        if not member_name or member_name in (".", "..") or any(c in member_name for c in "/\\\0"):
            return RESULT_NOT_FOUND
        if not os.path.isdir(destination):
            return RESULT_WRITE_FAILED
        wanted = member_name.casefold()
        try:
            if not stat.S_ISREG(os.stat(archive_path).st_mode):
                return RESULT_NOT_AN_ARCHIVE  # a FIFO would block open() for ever
            f = open(archive_path, "rb")  # noqa: SIM115 - closed below
        except OSError:
            return RESULT_NOT_AN_ARCHIVE
        with f:
            if not stat.S_ISREG(os.fstat(f.fileno()).st_mode):
                return RESULT_NOT_AN_ARCHIVE
            fmt = _format_of_open_file(f)
            if fmt == "zip":
                return self._extract_zip(f, archive_path, destination, member_name, wanted)
        if fmt is None:
            return RESULT_NOT_AN_ARCHIVE
        tool = self.tool_for(fmt)
        if tool is None:
            return RESULT_UNSUPPORTED
        return self._extract_with_tool(tool, archive_path, destination, member_name, wanted)

    # -- ZIP

    def _extract_zip(
        self, f: BinaryIO, archive_path: str, destination: str, member_name: str, wanted: str
    ) -> int:
        try:
            zf = zipfile.ZipFile(f)
        except (zipfile.BadZipFile, OSError, ValueError, EOFError):
            return RESULT_NOT_AN_ARCHIVE
        with zf:
            info = self._pick_zip(zf.infolist(), wanted)
            if info.flag_bits & 0x1:
                return RESULT_ENCRYPTED
            method = info.compress_type
            if method in _ZIP_NATIVE:
                out = _Output(destination, member_name)
                try:
                    with zf.open(info) as stream:
                        out.write_chunks(_read_chunks(stream, self.max_bytes), self.max_bytes)
                    out.commit()
                except _Failure:
                    out.discard()
                    raise
                except (
                    zipfile.BadZipFile,
                    zlib.error,
                    EOFError,
                    OSError,
                    RuntimeError,
                    NotImplementedError,
                    ValueError,
                    LookupError,
                ):
                    out.discard()
                    return RESULT_TOOL_FAILED
                return RESULT_OK
            if method in _ZIP_REDUCE or method not in _ZIP_LEGACY:
                return RESULT_UNSUPPORTED
            tool = self.tool_for("zip")
            if tool is None:
                return RESULT_UNSUPPORTED
            with _private_dir(destination) as scratch:
                repacked = os.path.join(scratch, "member.zip")
                _repack_zip_member(f, info, repacked)
                limit = min(self.max_bytes, info.file_size)
                tools = self.tools
                if tool == "unzip":
                    argv = [tools["unzip"], "-p", "-P", _DUMMY_PASSWORD, repacked]
                elif tool == "7z":
                    argv = [tools["7z"], "e", "-so", "-bd", f"-p{_DUMMY_PASSWORD}", repacked]
                else:
                    argv = [tools["unar"], "-o", "-", "-q", "-i", "-p", _DUMMY_PASSWORD]
                    argv += ["--", repacked, "0"]
                result = (
                    _run(argv, limit, self.timeout) if limit else _RunResult(0, b"", False, False)
                )
                if not result.ok or (not result.truncated and len(result.data) != limit):
                    return RESULT_TOOL_FAILED
                return _write_bytes(destination, member_name, result.data, self.max_bytes)

    @staticmethod
    def _pick_zip(infos: list[zipfile.ZipInfo], wanted: str) -> zipfile.ZipInfo:
        for info in infos:
            name = info.filename
            if name.endswith(("/", "\\")) or not _name_matches(name, wanted):
                continue
            mode = info.external_attr >> 16
            if info.create_system == 3 and (stat.S_ISLNK(mode) or stat.S_ISDIR(mode)):
                continue
            if info.create_system == 0 and info.external_attr & 0x10:  # MS-DOS directory
                continue
            return info
        raise _Failure(RESULT_NOT_FOUND)

    # -- other formats

    def _extract_with_tool(
        self, tool: str, archive_path: str, destination: str, member_name: str, wanted: str
    ) -> int:
        tools = self.tools
        archive = os.path.abspath(archive_path)
        pw = _DUMMY_PASSWORD
        if tool == "unar":
            listing = _run(
                [tools["lsar"], "-j", "-p", pw, "--", archive], _LISTING_LIMIT, self.timeout
            )
            if listing.timed_out:
                return RESULT_TOOL_FAILED
            entry = _pick(_parse_lsar_listing(listing.data), wanted)
            argv = [tools["unar"], "-o", "-", "-q", "-i", "-p", pw, "--", archive]
            return self._pipe_member(argv + [str(entry.index)], entry, destination, member_name)
        if tool == "7z":
            listing = _run(
                [tools["7z"], "l", "-slt", f"-p{pw}", "-sccUTF-8", "--", archive],
                _LISTING_LIMIT,
                self.timeout,
            )
            if listing.timed_out:
                return RESULT_TOOL_FAILED
            if listing.returncode != 0:
                return RESULT_NOT_AN_ARCHIVE
            entry = _pick(_parse_7z_listing(_decode(listing.data)), wanted)
            argv = [tools["7z"], "e", "-so", "-bd", "-spd", f"-p{pw}", "-sccUTF-8", "--", archive]
            return self._pipe_member(argv + [entry.name], entry, destination, member_name)
        if tool == "lha":
            listing = _run([tools["lha"], "-l", archive], _LISTING_LIMIT, self.timeout)
            if listing.timed_out:
                return RESULT_TOOL_FAILED
            if listing.returncode != 0:
                return RESULT_NOT_AN_ARCHIVE
            entries = _parse_lha_listing(_decode(listing.data))
            entry = _pick(entries, wanted)
            if _glob_selects_others(entry, entries):
                return RESULT_TOOL_FAILED  # lha would print other members too
            return self._pipe_member(
                [tools["lha"], "-pq", archive, entry.name], entry, destination, member_name
            )
        if tool == "arj":
            return self._extract_arj(tools["arj"], archive, destination, member_name, wanted)
        return RESULT_UNSUPPORTED  # pragma: no cover - tool keys are fixed

    def _pipe_member(
        self, argv: list[str], entry: _Entry, destination: str, member_name: str
    ) -> int:
        limit = self.max_bytes if entry.size is None else min(self.max_bytes, entry.size)
        if limit == 0:
            result = _RunResult(0, b"", False, False)
        else:
            result = _run(argv, limit, self.timeout)
        if not result.ok:
            return RESULT_TOOL_FAILED
        if entry.size is not None and not result.truncated and len(result.data) != limit:
            return RESULT_TOOL_FAILED
        return _write_bytes(destination, member_name, result.data, self.max_bytes)

    def _extract_arj(
        self, arj: str, archive: str, destination: str, member_name: str, wanted: str
    ) -> int:
        # arj's "p" mixes messages into stdout, so the member is extracted (without paths)
        # into a private directory inside the destination, its size capped by RLIMIT_FSIZE.
        listing = _run([arj, "v", "-y", "--", archive], _LISTING_LIMIT, self.timeout)
        if listing.timed_out:
            return RESULT_TOOL_FAILED
        entry = _pick(_parse_arj_listing(_decode(listing.data)), wanted)
        cap = self.max_bytes

        def limit_file_size() -> None:  # pragma: no cover - runs in the child
            if resource is not None:
                resource.setrlimit(resource.RLIMIT_FSIZE, (cap, cap))
                resource.setrlimit(resource.RLIMIT_CORE, (0, 0))  # SIGXFSZ must not dump core

        with _private_dir(destination) as scratch:
            result = _run(
                [arj, "e", "-y", "-i", f"-g{_DUMMY_PASSWORD}", archive, entry.name],
                _LISTING_LIMIT,
                self.timeout,
                cwd=scratch,
                preexec_fn=limit_file_size if resource is not None else None,
            )
            if result.timed_out:
                return RESULT_TOOL_FAILED
            produced = [e for e in os.scandir(scratch) if not e.name.startswith(".")]
            if len(produced) != 1 or not produced[0].is_file(follow_symlinks=False):
                return RESULT_TOOL_FAILED
            path = produced[0].path
            size = os.lstat(path).st_size
            if result.returncode != 0 and size < cap:
                return RESULT_TOOL_FAILED
            if entry.size is not None and size != min(cap, entry.size):
                return RESULT_TOOL_FAILED
            fd = os.open(path, os.O_RDONLY | getattr(os, "O_NOFOLLOW", 0))
            with os.fdopen(fd, "rb") as src:
                data = src.read(cap)
            return _write_bytes(destination, member_name, data, cap)


def _glob_selects_others(entry: _Entry, entries: list[_Entry]) -> bool:
    """Whether ``lha p NAME`` (which treats * and ? as wildcards) would match other members."""
    if "*" not in entry.name and "?" not in entry.name:
        return False
    pattern = entry.name.replace("[", "[[]")
    return any(
        e is not entry and not e.is_dir and fnmatch.fnmatchcase(e.name, pattern) for e in entries
    )


def _read_chunks(stream: IO[bytes], limit: int) -> Iterator[bytes]:
    remaining = limit
    while remaining > 0:
        chunk = stream.read(min(_CHUNK, remaining))
        if not chunk:
            return
        remaining -= len(chunk)
        yield chunk


def _write_bytes(destination: str, member_name: str, data: bytes, limit: int) -> int:
    out = _Output(destination, member_name)
    try:
        out.write_chunks([data], limit)
        out.commit()
    except _Failure:
        out.discard()
        raise
    return RESULT_OK


@contextlib.contextmanager
def _private_dir(destination: str) -> Iterator[str]:
    try:
        path = tempfile.mkdtemp(prefix=".kelvane-unzip-", dir=destination)
    except OSError as exc:
        raise _Failure(RESULT_WRITE_FAILED) from exc
    try:
        yield path
    finally:
        shutil.rmtree(path, ignore_errors=True)


# --------------------------------------------------------------------------- module API

_default_reader = ArchiveReader()


def extract_description_member(
    archive_path: str, destination: str, member_name: str = "FILE_ID.DIZ"
) -> int:
    """The spec's "Extract description member": 0 on success, else a ``RESULT_*`` code."""
    return _default_reader.extract_member(archive_path, destination, member_name)
