#pragma once

// The file lists callers download: every area's entries in one document (ALLFILES), or
// only those of the last days (NEWFILES), as text in the Files List's own columns, as one
// web page, or as JSON for a web site to build on.
//
// The writer is a visitor of the board reader: areas are written as they are read, so a
// list of a million entries holds one area in memory at a time. The bytes go to a sink (a
// temporary file that is renamed into place at the end, or standard output).

#include "board/FilesList.h"
#include "boardwide/BoardReader.h"

#include <QDate>
#include <QString>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Kelvane {

class CodePage;

enum class ListFormat { Text, Html, Json };

struct FileListOptions
{
    ListFormat format = ListFormat::Text;
    /// The text list's code page; none for UTF-8. HTML and JSON are always UTF-8.
    const CodePage* encoding = nullptr;
    QString title; // the board's name
    QDate date; // the day the list is made
    std::optional<QDate> since; // keep only entries dated on or after this day (NEWFILES)
};

/// Writes a callers' file list area by area.
class FileListWriter : public AreaVisitor
{
public:
    /// page is the board's code page (the entries' bytes); warn receives the line about an
    /// entry that cannot be written as it is (a name the list's code page cannot show).
    FileListWriter(const CodePage& page,
                   FileListOptions options,
                   FilesListFormat::Sink sink,
                   std::function<void(const QString&)> warn = {});
    ~FileListWriter() override;

    void areaRead(AreaContents& contents) override;
    void areaSkipped(const AreaProblem&) override { }

    /// Ends the document: the grand total, and for a web page everything before the areas
    /// (which needs the totals) followed by the areas kept aside.
    void finish();

    std::size_t files() const { return m_files; }
    std::uint64_t bytes() const { return m_bytes; }
    int areas() const { return m_areas; }

private:
    void writeText(const BoardArea& area, const EntryList& entries, std::uint64_t bytes);
    void writeHtml(const BoardArea& area, const EntryList& entries, std::uint64_t bytes);
    void writeJson(const BoardArea& area, const EntryList& entries, std::uint64_t bytes);
    void emitText(std::string_view boardBytes);
    void spool(std::string_view bytes);
    QString heading() const;
    std::string jsonHead() const;

    const CodePage& m_page;
    FileListOptions m_options;
    FilesListFormat::Sink m_sink;
    std::function<void(const QString&)> m_warn;
    std::size_t m_files = 0;
    std::uint64_t m_bytes = 0;
    int m_areas = 0;
    bool m_begun = false;
    std::string m_contents; // a web page's table of contents, written at the end
    std::FILE* m_spool = nullptr; // a web page's areas, kept aside until the totals are known
};

/// A count with thousands separators: "1,234,567".
std::string groupedNumber(std::uint64_t number);

} // namespace Kelvane
