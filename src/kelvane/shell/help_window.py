"""Kelvane's help window: the program's HTML help, by topic name or context number.

The help file (installed as the spec's "KELV32.HLP" in the program's
directory, porting.md "User interface") is an HTML page whose topics are
``<section id="Name" data-context="N">`` blocks, each opening with an
``<h2>`` title.  The window offers the contents (every topic), a search
box (topics whose text holds every word typed), and a reader.
"""

from __future__ import annotations

import html
import os
import re
from dataclasses import dataclass

from PySide6.QtCore import Qt, QUrl
from PySide6.QtGui import QKeyEvent
from PySide6.QtWidgets import (
    QHBoxLayout,
    QLabel,
    QLineEdit,
    QListWidget,
    QListWidgetItem,
    QSplitter,
    QTextBrowser,
    QVBoxLayout,
    QWidget,
)

_SECTION = re.compile(
    r'<section\s+id="(?P<name>[^"]+)"\s+data-context="(?P<context>\d+)"\s*>(?P<body>.*?)</section>',
    re.DOTALL | re.IGNORECASE,
)
_TITLE = re.compile(r"<h2[^>]*>(?P<title>.*?)</h2>", re.DOTALL | re.IGNORECASE)
_TAG = re.compile(r"<[^>]+>")


@dataclass(frozen=True)
class HelpTopic:
    name: str
    context: int
    title: str
    html: str

    @property
    def plain_text(self) -> str:
        return html.unescape(_TAG.sub(" ", self.html))


def parse_help(text: str) -> list[HelpTopic]:
    """The topics of a help page, in page order."""
    topics = []
    for match in _SECTION.finditer(text):
        body = match.group("body").strip()
        title_match = _TITLE.search(body)
        title = (
            html.unescape(_TAG.sub("", title_match.group("title"))).strip()
            if title_match
            else match["name"]
        )
        topics.append(
            HelpTopic(match["name"], int(match["context"]), " ".join(title.split()), body)
        )
    return topics


def load_help(path: str | os.PathLike[str]) -> list[HelpTopic]:
    with open(path, encoding="utf-8") as stream:
        return parse_help(stream.read())


def search_topics(topics: list[HelpTopic], query: str) -> list[HelpTopic]:
    """Topics whose title or text holds every word of *query*, ignoring case."""
    words = query.casefold().split()
    if not words:
        return list(topics)
    found = []
    for topic in topics:
        haystack = (topic.title + " " + topic.plain_text).casefold()
        if all(word in haystack for word in words):
            found.append(topic)
    return found


class HelpWindow(QWidget):
    """Contents and search on the left, the topic on the right."""

    def __init__(self, topics: list[HelpTopic], parent: QWidget | None = None) -> None:
        super().__init__(parent, Qt.WindowType.Window)
        self.setObjectName("frmHelp")
        self.setWindowTitle("Kelvane Help")
        self.topics = topics
        self.current: HelpTopic | None = None

        self.txtSearch = QLineEdit(self)
        self.txtSearch.setObjectName("txtSearch")
        self.txtSearch.setPlaceholderText("Search for help on...")
        self.txtSearch.setClearButtonEnabled(True)
        self.txtSearch.textChanged.connect(self._search_changed)
        self.lstTopics = QListWidget(self)
        self.lstTopics.setObjectName("lstTopics")
        self.lstTopics.setUniformItemSizes(True)
        self.lstTopics.currentItemChanged.connect(self._topic_chosen)
        self.txtTopic = QTextBrowser(self)
        self.txtTopic.setObjectName("txtTopic")
        self.txtTopic.setOpenLinks(False)
        self.txtTopic.anchorClicked.connect(self._link_clicked)

        left = QWidget(self)
        left_layout = QVBoxLayout(left)
        left_layout.setContentsMargins(0, 0, 0, 0)
        for caption, control in (("&Search:", self.txtSearch), ("&Topics:", self.lstTopics)):
            label = QLabel(caption, left)
            label.setBuddy(control)
            left_layout.addWidget(label)
            left_layout.addWidget(control)
        splitter = QSplitter(self)
        splitter.addWidget(left)
        splitter.addWidget(self.txtTopic)
        splitter.setStretchFactor(1, 3)
        layout = QHBoxLayout(self)
        layout.addWidget(splitter)
        self.resize(760, 480)
        self._fill(self.topics)

    # -- what the frame asks for -----------------------------------------------------

    def show_contents(self) -> None:
        self.txtSearch.clear()
        if self.topics:
            self.show_topic(self.topics[0].name)
        self._present()

    def show_search(self, query: str = "") -> None:
        self.txtSearch.setText(query)
        self._present()
        self.txtSearch.setFocus()

    def show_topic(self, name: str) -> bool:
        """Show the topic called *name* (its id or its title, ignoring case)."""
        wanted = name.casefold()
        for topic in self.topics:
            if wanted in (topic.name.casefold(), topic.title.casefold()):
                self._display(topic)
                self._present()
                return True
        return False

    def show_context(self, context: int) -> bool:
        for topic in self.topics:
            if topic.context == context:
                self._display(topic)
                self._present()
                return True
        return False

    def visible_topic_names(self) -> list[str]:
        return [
            self.lstTopics.item(row).data(Qt.ItemDataRole.UserRole)
            for row in range(self.lstTopics.count())
        ]

    def keyPressEvent(self, event: QKeyEvent) -> None:
        """Escape closes the help window."""
        if event.key() == Qt.Key.Key_Escape:
            self.close()
            event.accept()
            return
        super().keyPressEvent(event)

    # -- inside --------------------------------------------------------------------------

    def _present(self) -> None:
        self.show()
        self.raise_()
        self.activateWindow()

    def _fill(self, topics: list[HelpTopic]) -> None:
        self.lstTopics.blockSignals(True)
        self.lstTopics.clear()
        for topic in topics:
            item = QListWidgetItem(topic.title)
            item.setData(Qt.ItemDataRole.UserRole, topic.name)
            self.lstTopics.addItem(item)
        self.lstTopics.blockSignals(False)
        self._mark_current()

    def _mark_current(self) -> None:
        self.lstTopics.blockSignals(True)
        self.lstTopics.setCurrentRow(-1)
        if self.current is not None:
            for row in range(self.lstTopics.count()):
                if self.lstTopics.item(row).data(Qt.ItemDataRole.UserRole) == self.current.name:
                    self.lstTopics.setCurrentRow(row)
        self.lstTopics.blockSignals(False)

    def _display(self, topic: HelpTopic) -> None:
        self.current = topic
        self.txtTopic.setHtml(topic.html)
        self._mark_current()

    def _search_changed(self, text: str) -> None:
        found = search_topics(self.topics, text)
        self._fill(found)
        if found and (self.current is None or self.current not in found):
            self._display(found[0])

    def _topic_chosen(self, item: QListWidgetItem | None) -> None:
        if item is not None:
            self.show_topic(item.data(Qt.ItemDataRole.UserRole))

    def _link_clicked(self, url: QUrl) -> None:
        if url.fragment():
            self.show_topic(url.fragment())
