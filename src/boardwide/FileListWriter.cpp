#include "boardwide/FileListWriter.h"

#include "board/BasicText.h"
#include "board/FileDates.h"
#include "platform/CodePage.h"

#include <QByteArray>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

const std::string Rule(79, '=');
const std::string ThinRule(79, '-');

QString filesAndBytes(std::size_t files, std::uint64_t bytes)
{
    return QString::fromStdString(groupedNumber(files) + (files == 1 ? " file, " : " files, ") + groupedNumber(bytes)
                                  + (bytes == 1 ? " byte" : " bytes"));
}

// Text for a web page: the characters that would be markup, escaped.
void appendEscaped(std::string& out, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    for (const char ch : utf8) {
        switch (ch) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += ch;
        }
    }
}

std::string escaped(const QString& text)
{
    std::string out;
    appendEscaped(out, text);
    return out;
}

// Everything a browser needs is in the page: no script, no font or picture from elsewhere.
// Descriptions keep their columns (and their box-drawing) in a fixed-width font.
const char* const PageStyle = R"(<style>
body { font-family: system-ui, "DejaVu Sans", Arial, sans-serif; margin: 2em auto; max-width: 60em;
       padding: 0 1em; color: #1d2430; background: #fdfdfb; }
h1 { margin-bottom: 0.2em; }
.meta { color: #5a6372; margin-top: 0; }
nav ol { columns: 2; padding-left: 1.5em; }
nav li span, .count { color: #5a6372; }
section { margin-top: 2.5em; }
h2 { border-bottom: 2px solid #3b5b8c; padding-bottom: 0.2em; }
table { border-collapse: collapse; width: 100%; table-layout: fixed; }
th:nth-child(1) { width: 11em; } th:nth-child(2) { width: 6.5em; } th:nth-child(3) { width: 6em; }
th { text-align: left; background: #3b5b8c; color: #fff; padding: 0.3em 0.6em; }
td { vertical-align: top; padding: 0.25em 0.6em; border-bottom: 1px solid #d8dce3; }
tbody tr:nth-child(even) { background: #f0f3f8; }
td.name { font-weight: bold; overflow-wrap: anywhere; }
td.size, th.size { text-align: right; white-space: nowrap; }
td.date { white-space: nowrap; }
pre { margin: 0; font-family: "DejaVu Sans Mono", "Courier New", monospace; font-size: 0.9em; line-height: 1.15;
      white-space: pre-wrap; }
tfoot td { font-weight: bold; border-bottom: none; }
footer { margin-top: 2.5em; border-top: 2px solid #3b5b8c; padding-top: 0.5em; font-weight: bold; }
</style>
)";

// A JSON string: quotes, backslashes and control characters escaped.
std::string jsonString(const QString& text)
{
    std::string out = "\"";
    const QByteArray utf8 = text.toUtf8();
    for (const char ch : utf8) {
        const auto byte = static_cast<unsigned char>(ch);
        if (ch == '"' || ch == '\\') {
            out += '\\';
            out += ch;
        } else if (byte < 0x20) {
            static const char* const hex = "0123456789abcdef";
            out += "\\u00";
            out += hex[byte >> 4];
            out += hex[byte & 15];
        } else {
            out += ch;
        }
    }
    return out + '"';
}

} // namespace

std::string groupedNumber(std::uint64_t number)
{
    std::string digits = std::to_string(number);
    for (auto at = static_cast<std::ptrdiff_t>(digits.size()) - 3; at > 0; at -= 3)
        digits.insert(static_cast<std::size_t>(at), 1, ',');
    return digits;
}

FileListWriter::FileListWriter(const CodePage& page,
                               FileListOptions options,
                               FilesListFormat::Sink sink,
                               std::function<void(const QString&)> warn)
    : m_page(page)
    , m_options(std::move(options))
    , m_sink(std::move(sink))
    , m_warn(std::move(warn))
{
    // The text list in the board's own page is written as the bytes were read.
    if (m_options.format == ListFormat::Text && m_options.encoding && m_options.encoding->name() == page.name())
        m_options.encoding = &page;
}

FileListWriter::~FileListWriter()
{
    if (m_spool)
        std::fclose(m_spool);
}

QString FileListWriter::heading() const
{
    const QString day = QString::fromStdString(listDate(m_options.date));
    if (m_options.since)
        return u"New files since %1, listed %2"_s.arg(QString::fromStdString(listDate(*m_options.since)), day);
    return u"All files, listed %1"_s.arg(day);
}

void FileListWriter::emitText(std::string_view boardBytes)
{
    if (m_options.encoding == &m_page) {
        m_sink(boardBytes);
        return;
    }
    const QString text = m_page.toUnicode(boardBytes);
    if (m_options.encoding)
        m_sink(m_options.encoding->fromUnicode(text));
    else
        m_sink(text.toUtf8().toStdString());
}

void FileListWriter::spool(std::string_view bytes)
{
    if (!m_spool) {
        m_spool = std::tmpfile();
        if (!m_spool)
            throw std::runtime_error("no temporary file for the web page's areas");
    }
    if (std::fwrite(bytes.data(), 1, bytes.size(), m_spool) != bytes.size())
        throw std::runtime_error("the web page's areas could not be kept aside (disk full?)");
}

void FileListWriter::areaRead(AreaContents& contents)
{
    EntryList kept;
    const EntryList* entries = &contents.entries;
    if (m_options.since) {
        for (Entry& entry : contents.entries) {
            const std::optional<QDate> date = parseListDate(entry.Date);
            if (date && *date >= *m_options.since)
                kept.push_back(std::move(entry));
        }
        entries = &kept;
        // NEWFILES leaves out the areas with nothing new.
        if (kept.empty())
            return;
    }
    std::uint64_t bytes = 0;
    for (const Entry& entry : *entries) {
        const double size = Val(entry.Size);
        bytes += size > 0 ? static_cast<std::uint64_t>(size) : 0;
    }
    switch (m_options.format) {
    case ListFormat::Text:
        writeText(contents.area, *entries, bytes);
        break;
    case ListFormat::Html:
        writeHtml(contents.area, *entries, bytes);
        break;
    case ListFormat::Json:
        writeJson(contents.area, *entries, bytes);
        break;
    }
    m_files += entries->size();
    m_bytes += bytes;
    ++m_areas;
}

void FileListWriter::writeText(const BoardArea& area, const EntryList& entries, std::uint64_t bytes)
{
    const auto line = [&](const QString& text) {
        const std::string bytesOfLine = m_page.fromUnicode(text) + "\r\n";
        emitText(bytesOfLine);
    };
    if (!m_begun) {
        m_begun = true;
        line(m_options.title);
        line(heading());
        line(QString::fromLatin1(Rule));
    }
    line(QString());
    emitText("Area " + std::to_string(area.number) + ": " + area.title() + "\r\n");
    line(QString::fromLatin1(ThinRule));
    if (m_options.encoding && m_options.encoding != &m_page) {
        for (const Entry& entry : entries) {
            const QString name = m_page.toUnicode(entry.FileName);
            if (!m_options.encoding->canEncode(name) && m_warn)
                m_warn(u"area %1 (%2): the name \"%3\" cannot be shown in %4; it is written with \"?\""_s.arg(
                    QString::number(area.number), m_page.toUnicode(area.title()), name, m_options.encoding->name()));
        }
    }
    FilesListFormat::format(entries, {}, [&](std::string_view chunk) { emitText(chunk); });
    line(u"  "_s + filesAndBytes(entries.size(), bytes));
}

void FileListWriter::writeHtml(const BoardArea& area, const EntryList& entries, std::uint64_t bytes)
{
    const QString title = m_page.toUnicode(area.title());
    const std::string anchor = "area-" + std::to_string(area.number);
    m_contents += "<li><a href=\"#" + anchor + "\">" + escaped(title) + "</a> <span>"
        + escaped(filesAndBytes(entries.size(), bytes)) + "</span></li>\n";

    std::string out = "<section id=\"" + anchor + "\">\n<h2>Area " + std::to_string(area.number) + ": "
        + escaped(title) + "</h2>\n<table>\n<thead><tr><th>File</th><th class=\"size\">Size</th><th>Date</th>"
                           "<th>Description</th></tr></thead>\n<tbody>\n";
    for (const Entry& entry : entries) {
        out += "<tr><td class=\"name\">";
        appendEscaped(out, m_page.toUnicode(entry.FileName));
        const double size = Val(entry.Size);
        out += "</td><td class=\"size\">" + groupedNumber(size > 0 ? static_cast<std::uint64_t>(size) : 0)
            + "</td><td class=\"date\">";
        appendEscaped(out, m_page.toUnicode(entry.Date));
        out += "</td><td><pre>";
        std::string_view description = entry.Description;
        while (description.ends_with("\r\n"))
            description.remove_suffix(2);
        QString text = m_page.toUnicode(description);
        text.replace(u"\r\n"_s, u"\n"_s);
        appendEscaped(out, text);
        out += "</pre></td></tr>\n";
        if (out.size() > 1 << 16) {
            spool(out);
            out.clear();
        }
    }
    out += "</tbody>\n<tfoot><tr><td colspan=\"4\">" + escaped(filesAndBytes(entries.size(), bytes))
        + "</td></tr></tfoot>\n</table>\n<p><a href=\"#top\">Back to the areas</a></p>\n</section>\n";
    spool(out);
}

void FileListWriter::writeJson(const BoardArea& area, const EntryList& entries, std::uint64_t bytes)
{
    // Written by hand in pieces, so a million entries never stand in memory as one document.
    const auto quoted = jsonString;
    std::string out = m_begun ? "," : jsonHead();
    m_begun = true;
    out += "\n    {\n      \"area\": " + std::to_string(area.number) + ",\n      \"title\": "
        + quoted(m_page.toUnicode(area.title())) + ",\n      \"files\": " + std::to_string(entries.size())
        + ",\n      \"bytes\": " + std::to_string(bytes) + ",\n      \"entries\": [";
    bool first = true;
    for (const Entry& entry : entries) {
        const double size = Val(entry.Size);
        out += first ? "\n        {" : ",\n        {";
        first = false;
        out += "\"name\": " + quoted(m_page.toUnicode(entry.FileName))
            + ", \"size\": " + std::to_string(size > 0 ? static_cast<std::uint64_t>(size) : 0)
            + ", \"date\": " + quoted(m_page.toUnicode(entry.Date)) + ", \"description\": [";
        std::string_view rest = entry.Description;
        bool firstLine = true;
        while (!rest.empty()) {
            const std::size_t end = rest.find("\r\n");
            out += (firstLine ? "" : ", ") + quoted(m_page.toUnicode(rest.substr(0, end)));
            firstLine = false;
            rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 2);
        }
        out += "]}";
        if (out.size() > 1 << 16) {
            m_sink(out);
            out.clear();
        }
    }
    out += first ? "]\n    }" : "\n      ]\n    }";
    m_sink(out);
}

std::string FileListWriter::jsonHead() const
{
    std::string out = "{\n  \"board\": " + jsonString(m_options.title) + ",\n  \"date\": \""
        + m_options.date.toString(Qt::ISODate).toStdString() + "\",\n";
    if (m_options.since)
        out += "  \"since\": \"" + m_options.since->toString(Qt::ISODate).toStdString() + "\",\n";
    return out + "  \"areas\": [";
}

void FileListWriter::finish()
{
    const QString total = u"%1 in %2"_s.arg(filesAndBytes(m_files, m_bytes),
                                            m_areas == 1 ? u"1 area"_s : u"%1 areas"_s.arg(m_areas));
    switch (m_options.format) {
    case ListFormat::Text: {
        if (!m_begun) {
            m_begun = true;
            emitText(m_page.fromUnicode(m_options.title) + "\r\n" + m_page.fromUnicode(heading()) + "\r\n" + Rule
                     + "\r\n");
        }
        emitText("\r\n" + Rule + "\r\n" + m_page.fromUnicode(u"Total: "_s + total) + "\r\n");
        break;
    }
    case ListFormat::Html: {
        std::string head = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>"
            + escaped(m_options.title) + " - " + escaped(heading()) + "</title>\n" + PageStyle
            + "</head>\n<body>\n<h1 id=\"top\">" + escaped(m_options.title) + "</h1>\n<p class=\"meta\">"
            + escaped(heading()) + " &middot; " + escaped(total) + "</p>\n";
        head += m_areas == 0 ? "<p>No files.</p>\n" : "<nav>\n<h2>Areas</h2>\n<ol>\n" + m_contents + "</ol>\n</nav>\n";
        m_sink(head);
        if (m_spool) {
            std::rewind(m_spool);
            char buffer[1 << 16];
            std::size_t got = 0;
            while ((got = std::fread(buffer, 1, sizeof buffer, m_spool)) > 0)
                m_sink(std::string_view(buffer, got));
            if (std::ferror(m_spool))
                throw std::runtime_error("the web page's areas could not be read back");
        }
        m_sink("<footer>Total: " + escaped(total) + "</footer>\n</body>\n</html>\n");
        break;
    }
    case ListFormat::Json: {
        std::string out = m_begun ? "\n  " : jsonHead();
        m_begun = true;
        out += "],\n  \"files\": " + std::to_string(m_files) + ",\n  \"bytes\": " + std::to_string(m_bytes) + "\n}\n";
        m_sink(out);
        break;
    }
    }
}

} // namespace Kelvane
