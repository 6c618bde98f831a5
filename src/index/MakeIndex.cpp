#include "index/MakeIndex.h"

#include "board/AreaRecords.h"
#include "board/BasicText.h"
#include "board/FileLookup.h"
#include "board/FileSystem.h"
#include "board/RunTimeError.h"
#include "board/Session.h"
#include "platform/CodePage.h"
#include "platform/DurableFile.h"
#include "platform/FileNames.h"
#include "platform/ShortNames.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <vector>

using namespace Qt::StringLiterals;

// Choices the rebuild makes where the index's readers do not care:
//
// - An error (an area record that cannot be read, a directory that cannot be listed, an index
//   file that cannot be written) is reported under "Make_Index_File" and the run goes on with
//   the next pending area; the rows collected for the failed area, and any carried to it, are
//   dropped. The list is emptied and IndexPending cleared whatever happened.
// - An area whose record has no index path (empty or blanks) is passed over before its
//   directories are listed: such an area is never tracked, so it can only be pending when its
//   record changed meanwhile, and it is not the index path that cannot be taken apart (for
//   which the program ends). Rows carried to it go on to the next area.
// - An old index file is found whatever the case of its name, and replaced as spelled on disk.

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view ProcedureName = "Make_Index_File";
constexpr std::size_t RecordSize = 15;
constexpr std::size_t NameFieldSize = 13;
/// A name longer than this is indexed under its short (8.3) alias.
constexpr qsizetype LongestName = 12;

using Row = IndexRow;

/// What the rebuild reads from an area's record: an unused slot is left empty.
struct AreaPaths
{
    bool hasIndexPath = false;
    fs::path indexPath;
    DirectoryPaths directories;
};

/// Records that are written, as byte ranges of the index: an overwrite in place writes only
/// these, so the records of skipped names keep the old file's bytes.
struct Run
{
    std::size_t begin;
    std::size_t end;
};

bool isSkipped(std::string_view name)
{
    return matchesPattern(name, "*.BAK") || matchesPattern(name, "FILES.*");
}

/// Trimmed of spaces only, as the board's tools trim.
QStringView trimBlanks(QStringView text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text[begin] == u' ')
        ++begin;
    while (end > begin && text[end - 1] == u' ')
        --end;
    return text.sliced(begin, end - begin);
}

AreaPaths readArea(Session& session, int number)
{
    AreaRecordSet& records = session.recordSet();
    const CodePage& page = session.codePage();
    AreaPaths area;
    try {
        records.OpenAreas(session.area.MainNodePath);
        records.SelectArea(number);
        area.hasIndexPath = !trimSpaces(records.AreaIndexPath()).empty();
        area.indexPath = page.toPath(records.AreaIndexPath());
        for (int slot = 0; slot < DirectorySlots; ++slot) {
            const std::string& path = slot == 0 ? records.AreaFilePath() : records.AreaAltPath(slot);
            if (!trimSpaces(path).empty())
                area.directories[static_cast<std::size_t>(slot)] = page.toPath(path);
        }
    } catch (...) {
        records.CloseAreas();
        throw;
    }
    records.CloseAreas();
    return area;
}

/// Every file of one directory becomes a row, in listing order.
void collectRows(Session& session, const fs::path& directory, int slot, std::vector<Row>& rows)
{
    UserPort& port = session.port();
    const CodePage& page = session.codePage();
    const std::vector<ListedFile> files = listDirectory(directory);
    port.processEvents();
    const auto count = static_cast<qint64>(files.size());
    const qint64 maximum = std::max<qint64>(count, 1);
    port.progressValue(0, maximum);
    port.progressText(ProgressLine::Path, u"Scanning File Directory: "_s + unicodeFromPath(directory));
    const std::size_t first = rows.size();
    rows.reserve(rows.size() + files.size());
    // Computed over this same listing, and only when a name needs its alias.
    std::optional<DirectoryAliases> aliases;
    for (qint64 position = 0; position < count; ++position) {
        port.progressValue(position, maximum);
        const QString& listed = files[static_cast<std::size_t>(position)].text;
        const QStringView trimmed = trimBlanks(listed);
        // A name the code page cannot hold goes under its alias too, as the Files List's
        // names do: never as "?" characters that name no file.
        const bool encodable = page.canEncode(trimmed);
        std::string name = page.upper(page.fromUnicode(trimmed));
        port.progressText(ProgressLine::Status,
                          u"Reading File: "_s + (encodable ? page.toUnicode(name) : trimmed.toString().toUpper()));
        if (trimmed.size() > LongestName || !encodable) {
            if (!aliases) {
                std::vector<QString> texts;
                texts.reserve(files.size());
                for (const ListedFile& file : files)
                    texts.push_back(file.text);
                aliases.emplace(texts, page);
            }
            name = page.upper(page.fromUnicode(trimBlanks(aliases->aliasOf(listed))));
        }
        rows.push_back({ std::move(name), slot });
    }
    // The directory's rows go to the working list together: one insertion per directory, not
    // one per file.
    port.indexRows(std::span<const Row>(rows).subspan(first));
}

/// The index's bytes: record r (from 1) at (r - 1) * 15; a skipped name leaves its record
/// as zeros, and skipped names at the end make the file shorter.
std::string indexBytes(UserPort& port, const CodePage& page, const std::vector<Row>& rows, std::vector<Run>& runs)
{
    std::string bytes(rows.size() * RecordSize, '\0');
    std::size_t end = 0;
    const auto maximum = static_cast<qint64>(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        port.progressValue(static_cast<qint64>(i + 1), maximum);
        const Row& row = rows[i];
        if (isSkipped(row.name))
            continue;
        port.progressText(ProgressLine::Status, u"Writing File Name: "_s + page.toUnicode(row.name));
        const std::size_t offset = i * RecordSize;
        char* record = bytes.data() + offset;
        const auto area = static_cast<std::uint16_t>(static_cast<std::int16_t>(row.slot));
        record[0] = static_cast<char>(area & 0xFF);
        record[1] = static_cast<char>(area >> 8);
        char* field = record + 2;
        const std::size_t length = std::min(row.name.size(), NameFieldSize);
        std::copy_n(row.name.data(), length, field);
        if (length < NameFieldSize) {
            field[length] = '\0';
            std::fill(field + length + 1, field + NameFieldSize, ' ');
        }
        if (!runs.empty() && runs.back().end == offset)
            runs.back().end = offset + RecordSize;
        else
            runs.push_back({ offset, offset + RecordSize });
        end = offset + RecordSize;
    }
    bytes.resize(end);
    return bytes;
}

/// The file named by the index path, whatever the case of its name: the exact spelling wins.
std::optional<fs::path> existingIndex(const fs::path& indexPath, const CodePage& page)
{
    std::error_code error;
    if (fs::is_regular_file(indexPath, error))
        return indexPath;
    const fs::path directory = indexPath.parent_path();
    if (const std::optional<fs::path> found = DirectoryListing(directory, page).find(fileNameText(indexPath)))
        return directory / *found;
    return std::nullopt;
}

/// The old file could not be made writable, so it cannot be replaced: the new records go over
/// it where they fall, and what lies past the new end or under a skipped name stays.
void overwriteInPlace(const fs::path& file, const std::string& bytes, const std::vector<Run>& runs)
{
    errno = 0;
    std::fstream out(file, std::ios::in | std::ios::out | std::ios::binary);
    if (!out)
        throwFileError(errno != 0 ? errno : EACCES, file, "open");
    for (const Run& run : runs) {
        out.seekp(static_cast<std::streamoff>(run.begin));
        out.write(bytes.data() + run.begin, static_cast<std::streamsize>(run.end - run.begin));
    }
    out.close();
    if (!out)
        throwFileError(errno != 0 ? errno : EIO, file, "write");
}

/// Writes one area's index from the rows collected; false when the index path names a
/// directory, which leaves the rows to be written at the head of the next area's index.
bool writeIndex(Session& session, const fs::path& indexPath, const std::vector<Row>& rows)
{
    UserPort& port = session.port();
    const CodePage& page = session.codePage();
    const fs::path directory = PathUtility::DirectoryOf(indexPath);
    // An index path with no directory part ends the program at once, without a word and
    // without saving anything further: the program's deliberate answer to a path it cannot
    // take apart.
    if (directory == fs::path("-1"))
        std::_Exit(0);
    MakePath(directory); // a directory that cannot be made fails the write below
    port.progressValue(0, static_cast<qint64>(rows.size()));
    port.progressText(ProgressLine::Path, u"Writing File: "_s + unicodeFromPath(indexPath));

    std::error_code error;
    if (fs::is_directory(indexPath, error))
        return false;
    const std::optional<fs::path> existing = existingIndex(indexPath, page);
    const bool inPlace = existing && !ClearAttributes(*existing);

    std::vector<Run> runs;
    const std::string bytes = indexBytes(port, page, rows, runs);
    if (inPlace) {
        overwriteInPlace(*existing, bytes, runs);
        return true;
    }
    // Written beside the old index and renamed over it, so a full disk or a failed write
    // leaves the previous index whole instead of a deleted or half-written one.
    const fs::path target = existing.value_or(indexPath);
    TemporaryFile file(target);
    file.write(bytes);
    file.finish();
    file.renameTo(target);
    return true;
}

/// One pending area; rows holds what an earlier area carried over.
void indexArea(Session& session, int number, std::vector<Row>& rows)
{
    try {
        const AreaPaths area = readArea(session, number);
        if (!area.hasIndexPath)
            return;
        for (int slot = 0; slot < DirectorySlots; ++slot) {
            const fs::path& directory = area.directories[static_cast<std::size_t>(slot)];
            if (!directory.empty())
                collectRows(session, directory, slot, rows);
        }
        if (writeIndex(session, area.indexPath, rows)) {
            rows.clear();
            session.port().clearIndexRows();
        }
    } catch (...) {
        session.ReportError(ProcedureName);
        rows.clear();
        session.port().clearIndexRows();
    }
}

} // namespace

bool matchesPattern(std::string_view name, std::string_view pattern)
{
    // After a "*", a mismatch retries with the star taking one more character; only the
    // latest star needs retrying, as an earlier one can never help a later part match.
    std::size_t n = 0;
    std::size_t p = 0;
    std::size_t star = std::string_view::npos;
    std::size_t starName = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            starName = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            n = ++starName;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

void Make_Index_File(Session& session)
{
    try {
        if (!session.makeIndexList.empty()) {
            UserPort& port = session.port();
            BusyPointer busy(port);
            port.processEvents(); // the progress is drawn before the work begins
            const std::vector<int> pending = session.makeIndexList;
            std::vector<Row> rows;
            for (const int number : pending)
                indexArea(session, number, rows);
        }
    } catch (...) {
        session.ReportError(ProcedureName);
    }
    session.makeIndexList.clear();
    session.IndexPending = false;
}

} // namespace Kelvane
