"""Archive descriptions (Part 2.4): extracting ``FILE_ID.DIZ`` and building a description.

The new-file scan (Part 2.3) and Read DIZ (``read_diz.py``) share what is here:

- :func:`extract_diz` asks the unzip facility (``kelvane.platform.unzip``) for
  the member "FILE_ID.DIZ" of an archive, written flat into the Work directory
  (the program's directory followed by "Work").  It never creates that
  directory: the scan makes it with ``MakePath`` first, as the spec says.
- :func:`build_description` turns the extracted file into an entry's
  description by the DIZ rules and deletes the file afterwards.

Decisions where the spec leaves room (porting.md maps the rest):

- The extracted file is looked up as "File_id.diz" in the Work directory
  whatever the case of its name on disk (the board's system ignores case; ours
  may not).  The unzip facility writes it as "FILE_ID.DIZ"; both spellings
  name the same file here, as they did there.
- The file is read as 8-bit text in the session's code page.  Lines end at
  CR LF, then at a lone CR; a lone LF stays part of its line, as the
  original's line input kept it (porting.md "Text", binding for every reader
  of the board's text): a DIZ packed on Unix, with LF alone, is one line, of
  which the first 45 characters are kept, exactly as the original did.
- A Ctrl+Z byte (0x1A, the DOS end-of-file mark that many DIZ files carry) ends
  the text, as it ended the original's sequential-file reading.
- Only the first 1 MiB of the file is read (porting.md "Archives"; a
  description is at most 20 lines of 45 characters).
- Right-trimming removes blanks (spaces) only, as VB's ``RTrim``.
- Deleting: when ``ClearAttributes`` fails the file is left in place without a
  message (the spec's rule).  A delete that the system refuses is treated the
  same way, so a Work directory that cannot be written to gives the spec's
  "left over" behaviour instead of ending the operation with an error.
- :func:`describe_archive` is "extract, then build" as one step, and takes a
  short cut where the outcome cannot differ: when no extracted file is left
  in the Work directory and the archive is a plain ZIP whose first member
  named FILE_ID.DIZ (any case, any folder) is an ordinary, unencrypted,
  stored or deflated file, the member's first 1 MiB is read in memory and the
  description built from it; no file is written, so none has to be deleted.
  A ZIP holding no member of that name gives "No Description" at once (the
  facility would extract nothing).  Every other case (a file left over, other
  formats, old PKZIP methods, a folder or link of that name, anything the
  short cut cannot read) goes the spec's way through the unzip facility and
  the Work directory.  Creating a file costs about half a millisecond on a
  journalled disk, more than everything else the scan does for an archive:
  the short cut is what lets 10,000 archives be scanned in a few seconds.
"""

from __future__ import annotations

import fnmatch
import os
import re
import stat
import zipfile
from typing import TYPE_CHECKING, Final

from kelvane.board.file_system import ClearAttributes, file_exists, fold
from kelvane.platform.code_pages import code_page
from kelvane.platform.unzip import extract_description_member

if TYPE_CHECKING:
    from kelvane.board.session import Session

#: The member asked of the unzip facility, and the name the extracted file gets.
MEMBER_NAME = "FILE_ID.DIZ"
#: The name under which the spec looks the extracted file up and opens it.
LOOKUP_NAME = "File_id.diz"
#: The fixed description used when no DIZ text is at hand.
NO_DESCRIPTION = "No Description"
#: At most this many non-blank lines are kept ...
MAX_LINES = 20
#: ... each cut to this many characters.
LINE_WIDTH = 45
#: Only this many leading bytes of the extracted file are read.
MAX_DIZ_BYTES = 1_048_576

_LINE_END = re.compile(r"\r\n|\r")
_END_OF_FILE_MARK = b"\x1a"
_SEPARATORS = re.compile(r"[/\\]")
_MEMBER_FOLDED = MEMBER_NAME.casefold()
_LOOKUP_FOLDED = fold(LOOKUP_NAME)
_ZIP_HEADS = (b"PK\x03\x04", b"PK\x05\x06")
_IN_MEMORY_METHODS = frozenset({zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED})


class _Delegate:
    """The in-memory short cut does not apply: go through the unzip facility."""


DELEGATE: Final = _Delegate()

#: Read DIZ's rule (Part 2.4 step 4.4): the upper-cased entry name matches "*.ZIP".
ZIP_PATTERN = "*.ZIP"
#: The other formats the unzip facility reads (7z, RAR, ARJ, LHA/LZH) are taken
#: by their usual extensions, by Read DIZ and by the scan alike.  The facility
#: tells the format by the file's content, so a misnamed archive still opens.
OTHER_ARCHIVE_PATTERNS = ("*.7Z", "*.RAR", "*.ARJ", "*.LZH", "*.LHA")


def is_read_diz_archive(upper_name: str) -> bool:
    """Read DIZ extracts from names ending ".ZIP" (the spec) or another archive extension."""
    return fnmatch.fnmatchcase(upper_name, ZIP_PATTERN) or any(
        fnmatch.fnmatchcase(upper_name, pattern) for pattern in OTHER_ARCHIVE_PATTERNS
    )


def is_scan_archive(upper_name: str) -> bool:
    """The scan extracts from names holding ".ZIP" anywhere (the spec, deliberately
    looser than Read DIZ: A.ZIP.TXT and X.ZIPPED count), or ending in another
    archive extension."""
    return ".ZIP" in upper_name or any(
        fnmatch.fnmatchcase(upper_name, pattern) for pattern in OTHER_ARCHIVE_PATTERNS
    )


def extract_diz(session: Session, archive_path: str) -> int:
    """Extract description member "FILE_ID.DIZ" of *archive_path* into the Work directory.

    Returns the unzip facility's result code (0 = written); callers do not act
    on it, success is judged by whether the extracted file exists.
    """
    return extract_description_member(archive_path, session.work_directory, MEMBER_NAME)


def extracted_description_path(session: Session) -> str | None:
    """The extracted description file in the Work directory, whatever its case, or None."""
    work = session.work_directory
    try:
        names = os.listdir(work)  # a quick look first: the directory is nearly always empty
    except OSError:
        return None
    if not any(fold(name) == _LOOKUP_FOLDED for name in names):
        return None
    return file_exists(work, LOOKUP_NAME)


def _member_name_matches(stored: str) -> bool:
    """The member's last path component is FILE_ID.DIZ, whatever its case."""
    return _SEPARATORS.split(stored.rstrip("/\\"))[-1].casefold() == _MEMBER_FOLDED


def _zip_member_in_memory(archive_path: str) -> bytes | None | _Delegate:
    """The first 1 MiB of a plain ZIP's FILE_ID.DIZ, None when it holds none, else DELEGATE."""
    try:
        if not stat.S_ISREG(os.stat(archive_path).st_mode):
            return DELEGATE  # a FIFO would block open() for ever
        with open(archive_path, "rb") as stream:
            if not stat.S_ISREG(os.fstat(stream.fileno()).st_mode):
                return DELEGATE
            if stream.read(4) not in _ZIP_HEADS:
                return DELEGATE
            stream.seek(0)
            with zipfile.ZipFile(stream) as archive:
                for info in archive.infolist():
                    if not _member_name_matches(info.filename):
                        continue
                    mode = info.external_attr >> 16
                    if (
                        info.filename.endswith(("/", "\\"))
                        or info.flag_bits & 0x1
                        or info.compress_type not in _IN_MEMORY_METHODS
                        or (info.create_system == 3 and (stat.S_ISLNK(mode) or stat.S_ISDIR(mode)))
                        or (info.create_system == 0 and info.external_attr & 0x10)
                    ):
                        return DELEGATE
                    with archive.open(info) as member:
                        return member.read(MAX_DIZ_BYTES)
                return None
    except Exception:  # anything unreadable is the facility's to judge; never the caller's error
        return DELEGATE


def describe_archive(session: Session, archive_path: str) -> str:
    """Extract FILE_ID.DIZ from *archive_path*, build the description, delete the file.

    The result is the spec's "extract description member" followed by "build
    description"; see the module's notes for the in-memory short cut.
    """
    if extracted_description_path(session) is None:
        data = _zip_member_in_memory(archive_path)
        if data is None:
            return NO_DESCRIPTION
        if not isinstance(data, _Delegate):
            return description_from_bytes(data, session.code_page)
    extract_diz(session, archive_path)  # the result code is not looked at
    return build_description(session)


def description_from_text(text: str) -> str:
    """The DIZ rules: the first 20 non-blank lines, each cut to 45 and right-trimmed, CR LF after each."""
    kept: list[str] = []
    for line in _LINE_END.split(text):
        line = line.rstrip(" ")
        if not line:
            continue  # blank and all-space lines are not counted
        kept.append(line[:LINE_WIDTH].rstrip(" ") + "\r\n")
        if len(kept) == MAX_LINES:
            break
    return "".join(kept)


def description_from_bytes(data: bytes, page: str) -> str:
    """The description built from the bytes of a DIZ (8-bit text in code page *page*)."""
    data = data[:MAX_DIZ_BYTES]
    mark = data.find(_END_OF_FILE_MARK)
    if mark >= 0:
        data = data[:mark]
    return description_from_text(code_page(page).decode(data))


def read_description_file(path: str, page: str) -> str:
    """The description built from the file at *path* (its first 1 MiB), in code page *page*."""
    with open(path, "rb") as stream:
        data = stream.read(MAX_DIZ_BYTES)
    return description_from_bytes(data, page)


def delete_extracted_file(path: str) -> bool:
    """Delete the extracted file when its attributes can be reset; true when it is gone."""
    if not ClearAttributes(path):
        return False  # left in place, deliberately without a message
    try:
        os.unlink(path)
    except OSError:
        return False
    return True


def build_description(session: Session) -> str:
    """Build the description from the extracted file, then delete the file.

    "No Description" when no extracted file exists.  A file that exists but
    holds only blank lines gives an empty description.
    """
    path = extracted_description_path(session)
    if path is None:
        return NO_DESCRIPTION
    description = read_description_file(path, session.code_page)
    delete_extracted_file(path)
    return description


__all__ = [
    "LINE_WIDTH",
    "LOOKUP_NAME",
    "MAX_DIZ_BYTES",
    "MAX_LINES",
    "MEMBER_NAME",
    "NO_DESCRIPTION",
    "OTHER_ARCHIVE_PATTERNS",
    "ZIP_PATTERN",
    "build_description",
    "delete_extracted_file",
    "describe_archive",
    "description_from_bytes",
    "description_from_text",
    "extract_diz",
    "extracted_description_path",
    "is_read_diz_archive",
    "is_scan_archive",
    "read_description_file",
]
