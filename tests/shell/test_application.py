"""Starting the program: resources installed on first start, AVI files, the animation, the help page."""

from __future__ import annotations

import struct

import pytest

from kelvane.shell.avi_files import DRAWINGS, SIZE, AviError, encode_avi, parse_avi, read_avi
from kelvane.shell.help_window import load_help, parse_help, search_topics

pytest_plugins = ["tests.helpers.qt_boxes"]


def test_the_avi_writer_and_reader_round_trip_frames():
    frames = [bytes([n, 255 - n, 7]) * (3 * 2) for n in (10, 200)]
    data = encode_avi(frames, 3, 2, 50_000)
    assert data[:4] == b"RIFF" and data[8:12] == b"AVI "
    assert struct.unpack_from("<I", data, 4)[0] == len(data) - 8
    clip = parse_avi(data)
    assert (clip.width, clip.height, clip.frame_interval_ms) == (3, 2, 50)
    assert clip.frames == frames


def test_compressed_or_foreign_files_are_refused():
    with pytest.raises(AviError):
        parse_avi(b"RIFF\x04\x00\x00\x00WAVE")
    data = bytearray(encode_avi([b"\0" * 12], 2, 2))
    at = data.index(b"strf") + 8 + 16
    data[at : at + 4] = b"MJPG"
    with pytest.raises(AviError):
        parse_avi(bytes(data))


def test_install_resources_on_first_start_only(isolated_run):
    from kelvane.shell.application import install_resources

    install_resources()
    for name in DRAWINGS:
        clip = read_avi(isolated_run / "AVI" / name)
        assert (clip.width, clip.height, len(clip.frames)) == (SIZE, SIZE, 8)
    assert "<section" in (isolated_run / "KELV32.HLP").read_text(encoding="utf-8")
    (isolated_run / "AVI" / "SEARCH.AVI").unlink()
    install_resources()
    assert not (
        isolated_run / "AVI" / "SEARCH.AVI"
    ).exists()  # what the operator removed stays removed


@pytest.mark.gui
def test_the_animation_plays_the_frames_in_a_loop(qtbot, isolated_run):
    from kelvane.shell.animation import Animation
    from kelvane.shell.application import install_resources

    install_resources()
    animation = Animation()
    qtbot.addWidget(animation)
    assert not animation.open(isolated_run / "AVI" / "MISSING.AVI")
    assert animation.open(isolated_run / "AVI" / "FINDFILE.AVI")
    assert animation.frame_count == 8 and animation.size().width() == SIZE
    assert animation.play()
    qtbot.waitUntil(lambda: animation.current_frame >= 2, timeout=3000)
    animation.stop()
    assert not animation.is_playing and animation.current_frame == 0


@pytest.mark.gui
def test_create_main_frame_installs_the_resources_and_shows_the_frame(
    frame_factory, isolated_run, qtbot
):
    import kelvane

    frame = kelvane.create_main_frame()
    try:
        assert frame.isVisible()
        assert (isolated_run / "AVI" / "FILEMOVE.AVI").is_file()
        assert frame.help_available()
    finally:
        frame._unloaded = True
        frame.close()
        frame.deleteLater()


def test_the_packaged_help_has_a_topic_for_every_command_and_context_13():
    from kelvane.shell.application import help_text

    topics = parse_help(help_text())
    names = {topic.name for topic in topics}
    assert {
        "Options",
        "OpenFileAreas",
        "SwitchingAreas",
        "SaveWork",
        "FileScan",
        "ReadDiz",
        "Sorting",
        "DatesAndSizes",
        "DeleteAndErase",
        "MoveFiles",
        "RemoveUploadedBy",
        "MakeIndex",
    } <= names
    assert [t.title for t in topics if t.context == 13] == ["Selecting files"]
    assert len({t.context for t in topics}) == len(topics)
    assert [t.name for t in search_topics(topics, "FILES.BAK")] == ["SaveWork"]


def test_load_help_reads_a_file(tmp_path):
    page = tmp_path / "help.html"
    page.write_text(
        '<section id="A" data-context="4"><h2>Alpha &amp; more</h2><p>x</p></section>',
        encoding="utf-8",
    )
    [topic] = load_help(page)
    assert (topic.name, topic.context, topic.title) == ("A", 4, "Alpha & more")
