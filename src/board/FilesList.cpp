#include "board/FilesList.h"

#include "board/AreaRecords.h"
#include "board/BasicText.h"
#include "board/FileLookup.h"
#include "board/FileSystem.h"
#include "board/ListStamp.h"
#include "board/RunTimeError.h"
#include "board/Session.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t NameWidth = 12;
constexpr std::size_t SizeWidth = 9;
constexpr std::size_t DateWidth = 10;
constexpr std::size_t AliasTilde = 6; // "ABCDEF~1.ZIP": the tilde of an alias stands at column 7
constexpr std::string_view Continuation = "                               "; // 31 blanks
constexpr std::size_t WriteChunk = 1 << 20;

bool allDigits(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char ch) { return ch >= '0' && ch <= '9'; });
}

std::string_view withoutLeadingZeros(std::string_view digits)
{
    const std::size_t first = digits.find_first_not_of('0');
    return first == std::string_view::npos ? std::string_view("0") : digits.substr(first);
}

// The size as held in memory: the number with Basic's blank before it.
std::string sizeAsRead(std::string_view field)
{
    const std::string_view digits = trimSpaces(field);
    if (allDigits(digits))
        return ' ' + std::string(withoutLeadingZeros(digits));
    return Str(Val(field));
}

// The size as written: a plain number, right-aligned in 9 columns.
void appendSize(std::string& out, std::string_view size)
{
    const std::string_view digits = trimSpaces(size);
    std::string number;
    std::string_view text;
    if (allDigits(digits) && digits.size() <= 15) {
        text = withoutLeadingZeros(digits);
    } else {
        number = plainNumber(Val(size));
        text = number;
    }
    if (text.size() < SizeWidth)
        out.append(SizeWidth - text.size(), ' ');
    out.append(text);
}

void appendPadded(std::string& out, std::string_view text, std::size_t width)
{
    out.append(text);
    if (text.size() < width)
        out.append(width - text.size(), ' ');
}

std::string removeAll(std::string_view text, std::string_view piece)
{
    return PathUtility::RemoveText(text, piece);
}

} // namespace

void FilesListFormat::forEachLine(std::string_view text, const std::function<void(std::string_view)>& visit)
{
    const bool unixText = text.find('\r') == std::string_view::npos;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end;
        std::size_t next;
        if (unixText) {
            end = text.find('\n', start);
            next = end == std::string_view::npos ? text.size() : end + 1;
        } else {
            end = text.find('\r', start);
            next = end == std::string_view::npos                   ? text.size()
                : (end + 1 < text.size() && text[end + 1] == '\n') ? end + 2
                                                                   : end + 1;
        }
        if (end == std::string_view::npos)
            end = text.size();
        visit(text.substr(start, end - start));
        start = next;
    }
}

FilesListFormat::Parsed FilesListFormat::parse(std::string_view data, const AliasResolver& resolveAlias)
{
    Parsed parsed;
    std::vector<Entry>& entries = parsed.entries;
    // The first pass counts the entry lines, so the second fills a list of the right size.
    std::size_t entryLines = 0;
    forEachLine(data, [&](std::string_view line) {
        if (!rtrimSpaces(mid(line, 1, NameWidth)).empty())
            ++entryLines;
    });
    entries.reserve(entryLines);
    forEachLine(data, [&](std::string_view line) {
        const std::string_view name = rtrimSpaces(mid(line, 1, NameWidth));
        if (name.empty()) {
            // A continuation line; those before the first entry have no entry to belong to.
            if (!entries.empty()) {
                std::string& description = entries.back().Description;
                description.append(rtrimSpaces(mid(line, 32, FilesListFormat::DescriptionWidth)));
                description.append("\r\n");
            }
            return;
        }
        ++parsed.entryLines;
        Entry& entry = entries.emplace_back();
        entry.FileName = name;
        if (name.find('~') == AliasTilde && resolveAlias) {
            if (std::optional<std::string> longName = resolveAlias(name))
                entry.FileName = std::move(*longName);
        }
        entry.Size = sizeAsRead(rtrimSpaces(mid(line, 14, 8)));
        const std::string_view date = rtrimSpaces(mid(line, 23, 9));
        entry.Date = date.find("\r\n") == std::string_view::npos ? std::string(date) : removeAll(date, "\r\n");
        const std::string_view first = rtrimSpaces(mid(line, 32, FilesListFormat::DescriptionWidth));
        entry.Description.reserve(first.size() + 2);
        entry.Description.append(first);
        entry.Description.append("\r\n");
    });
    return parsed;
}

std::pair<std::string_view, std::string_view> FilesListFormat::splitDescriptionLine(std::string_view text)
{
    const std::size_t cr = text.find('\r');
    if (cr != std::string_view::npos && cr <= FilesListFormat::DescriptionWidth) // a CR at column 1 to 46
        return { text.substr(0, cr), text.substr(cr + 1) };
    if (text.size() >= FilesListFormat::DescriptionWidth) {
        const std::size_t space = text.substr(0, FilesListFormat::DescriptionWidth).rfind(' ');
        const std::size_t cut = space == std::string_view::npos ? FilesListFormat::DescriptionWidth : space + 1;
        return { text.substr(0, cut), text.substr(cut) };
    }
    return { text, {} };
}

bool FilesListFormat::format(const std::vector<Entry>& entries, const ShortNamer& shortName, const Sink& sink)
{
    std::string out;
    out.reserve(WriteChunk + 4096);
    bool complete = true;
    for (const Entry& entry : entries) {
        std::string name = entry.FileName.find('\0') == std::string::npos
            ? entry.FileName
            : removeAll(entry.FileName, std::string_view("\0", 1));
        // A name of blanks would read back as a continuation line of the entry before, and
        // a line break inside a name would split its line: the first counts as empty, the
        // second is written as the file's alias or with "?" for each break.
        if (trimSpaces(name).empty()) {
            complete = false;
            break;
        }
        if (name.find_first_of("\r\n") != std::string::npos) {
            name = shortName ? shortName(name) : name;
            std::replace_if(
                name.begin(), name.end(), [](char ch) { return ch == '\r' || ch == '\n'; }, '?');
        }
        if (name.size() > NameWidth) {
            if (shortName)
                name = shortName(name);
            out.append(name);
            if (name.size() < NameWidth)
                out.append(NameWidth - name.size(), ' ');
        } else {
            appendPadded(out, name, NameWidth);
        }
        appendSize(out, entry.Size);
        const std::size_t dateLength = entry.Date.size() + 2;
        if (dateLength < DateWidth)
            out.append(DateWidth - dateLength, ' ');
        out.append(1, ' ').append(entry.Date).append(1, ' ');

        std::string_view rest = rtrimSpaces(entry.Description);
        std::string withoutLineFeeds;
        if (rest.find('\n') != std::string_view::npos) {
            withoutLineFeeds = removeAll(rest, "\n");
            rest = withoutLineFeeds;
        }
        if (rest.empty())
            rest = "No Description";
        auto [line, remaining] = splitDescriptionLine(rest);
        appendPadded(out, line, FilesListFormat::DescriptionWidth);
        out.append("\r\n");
        while (!remaining.empty()) {
            std::tie(line, remaining) = splitDescriptionLine(remaining);
            out.append(Continuation);
            appendPadded(out, line, FilesListFormat::DescriptionWidth);
            out.append("\r\n");
        }
        if (out.size() >= WriteChunk) {
            sink(out);
            out.clear();
        }
    }
    if (!out.empty())
        sink(out);
    return complete;
}

std::optional<fs::path> backupPathOf(const fs::path& filesList)
{
    const auto& text = filesList.native();
    const std::size_t at = text.find(fs::path("FILES.LST").native());
    if (at == fs::path::string_type::npos)
        return std::nullopt;
    return fs::path(text.substr(0, at) + fs::path("FILES.BAK").native());
}

// Opened without blocking, so a FIFO of that name is refused at once instead of waiting
// for a writer.
std::string readFilesListBytes(const fs::path& path)
{
#ifdef _WIN32
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        throwFileError(errno ? errno : ENOENT, path, "open");
    return std::string(std::istreambuf_iterator<char>(stream), {});
#else
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        throwFileError(errno, path, "open");
    struct Closer
    {
        int descriptor;
        ~Closer() { ::close(descriptor); }
    } closer { descriptor };
    struct stat info
    {
    };
    if (::fstat(descriptor, &info) != 0)
        throwFileError(errno, path, "stat");
    if (!S_ISREG(info.st_mode))
        throwFileError(EISDIR, path, "read");
    // One byte more than the file holds, so that reading to its end needs no second buffer.
    std::string data;
    data.resize(static_cast<std::size_t>(info.st_size) + 1);
    std::size_t filled = 0;
    for (;;) {
        if (filled == data.size())
            data.resize(data.size() + 65536); // the file grew while it was read
        const ssize_t got = ::read(descriptor, data.data() + filled, data.size() - filled);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            throwFileError(errno, path, "read");
        }
        if (got == 0)
            break;
        filled += static_cast<std::size_t>(got);
    }
    data.resize(filled);
    return data;
#endif
}

namespace {

bool pathExists(const fs::path& path)
{
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

std::vector<Entry> readList(Session& session)
{
    CurrentArea& area = session.area;
    AreaRecordSet& records = session.recordSet();
    const CodePage& page = session.codePage();
    records.OpenAreaRecord(area.MainNodePath, area.AreaNumber);
    area.FileListPath = page.toPath(records.AreaFileListPath());
    records.CloseAreas();
    const fs::path& path = area.FileListPath;
    if (path.empty())
        throwFileError(ENOENT, path, "open");
    if (!pathExists(path)) {
        std::ofstream create(path, std::ios::binary | std::ios::app);
        if (!create)
            throwFileError(errno ? errno : EACCES, path, "create");
    }
    ListStamp stamp = stampOf(path);
    const std::string data = readFilesListBytes(path);
    stamp.hash = hashOf(data);
    session.listStamp = stamp;
    FileLookup lookup(page);
    const auto resolveAlias = [&](std::string_view alias) -> std::optional<std::string> {
        const QString text = page.toUnicode(alias);
        for (const fs::path& directory : area.FilePaths) {
            if (directory.empty())
                break;
            if (const std::optional<QString> longName = lookup.listing(directory).nameOfAlias(text))
                return page.upper(page.fromUnicode(*longName));
        }
        return std::nullopt;
    };
    return FilesListFormat::parse(data, resolveAlias).entries;
}

// The backup rule, then the new list renamed into place.
void putInPlace(TemporaryFile& written, const fs::path& path, const SaveStepHook& hook)
{
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    if (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_symlink(status))
        throwFileError(EISDIR, path, "replace"); // a directory or FIFO of the list's name stays
    const std::optional<fs::path> backup = backupPathOf(path);
    if (!backup) {
        // No backup for a list of another name: the old list is replaced in one rename.
        if (fs::exists(status))
            ClearAttributes(path);
        written.renameTo(path);
        return;
    }
    if (pathExists(*backup) && ClearAttributes(*backup)) {
        if (hook)
            hook(SaveStep::RemoveBackup);
        fs::remove(*backup);
    }
    bool moved = false;
    if (fs::exists(status)) {
        if (pathExists(*backup))
            throwFileError(EEXIST, *backup, "rename");
        if (hook)
            hook(SaveStep::RenameToBackup);
        // The backup is made as a second name of the old list, and the new list then takes
        // the list's name in one rename: killed at any moment, the save leaves a whole list
        // under that name. A file system without second names gets the old list renamed.
        std::error_code linkError;
        fs::create_hard_link(path, *backup, linkError);
        if (linkError) {
            fs::rename(path, *backup);
            moved = true;
        }
    }
    try {
        written.renameTo(path);
    } catch (...) {
        if (moved) {
            std::error_code ignored;
            fs::rename(*backup, path, ignored); // else the old list stays whole as the backup
        }
        throw;
    }
}

} // namespace

bool Load_fEditFileArealsv(Session& session, EntryList& entries)
{
    try {
        entries = readList(session);
        session.FileCount = static_cast<qsizetype>(entries.size());
        session.ListIsEmpty = entries.empty();
        return true;
    } catch (...) {
        entries.clear();
        session.listStamp = {}; // nothing was read: no stamp of another area's list stays
        session.FileCount = 0;
        session.ListIsEmpty = true;
        session.ReportError("Load_fEditFileArealsv");
        return false;
    }
}

bool SaveWork(Session& session, const EntryList& entries, const SaveStepHook& hook)
{
    return SaveWork(session, entries, session.listStamp, hook);
}

bool SaveWork(Session& session, const EntryList& entries, ListStamp& origin, const SaveStepHook& hook)
{
    const CurrentArea& area = session.area;
    const CodePage& page = session.codePage();
    const fs::path& path = area.FileListPath;
    bool complete = true;
    try {
        if (path.empty())
            throwFileError(ENOENT, path, "open");
        if (!origin.list.empty() && origin.list != path) {
            // Error 75, Path/File access error: the entries of one list never reach another.
            throw RunTimeError(75, QString::fromUtf16(RunTimeError::ProgramSource),
                               u"The entries read from "_s + unicodeFromPath(origin.list)
                                   + u" cannot be saved over "_s + unicodeFromPath(path));
        }
        FileLookup lookup(page);
        // A long name is written as the alias of the file of that name in each area
        // directory in turn; one that no directory holds is written whole.
        const auto shortName = [&](std::string_view name) {
            std::string shortened(name);
            for (const fs::path& directory : area.FilePaths) {
                if (directory.empty())
                    break;
                if (const std::optional<fs::path> found = lookup.find(directory, shortened))
                    shortened = page.upper(page.fromUnicode(lookup.listing(directory).aliasOf(fileNameText(*found))));
            }
            return shortened;
        };
        // The board may have added an upload's entry since the list was read: overwriting
        // it is the operator's choice, never a silent one.
        if (changedOnDisk(path, origin) && !session.ShowAlert("FilesListChanged"))
            return false;
        TemporaryFile written(path, hook);
        ListHash hash;
        complete = FilesListFormat::format(entries, shortName, [&](std::string_view bytes) {
            written.write(bytes);
            hash.add(bytes);
        });
        written.finish();
        putInPlace(written, path, hook);
        origin = stampOf(path);
        origin.hash = hash.value();
        session.listStamp = origin;
    } catch (...) {
        session.ReportError("SaveWork");
        return false;
    }
    if (!entries.empty() && complete) {
        session.port().messageBox({ u"Kelvane Information"_s, u"Changes were saved to "_s + unicodeFromPath(path),
                                    Buttons::Ok, Icon::Information });
    }
    return true;
}

} // namespace Kelvane
