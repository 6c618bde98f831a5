#include "platform/Archives.h"

#include "platform/FileNames.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#ifndef Q_OS_WIN
#include <fcntl.h>
#include <unistd.h>
#endif
#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

// 7-Zip gets this long, listing and extracting together, before it is stopped: a damaged
// archive must not hang a scan of the whole area.
constexpr int SevenZipMilliseconds = 10'000;

// 7-Zip's technical listing runs to about 300 bytes a member; more than this is not an
// archive a board holds, and a cut listing cannot tell that the member is absent.
constexpr qsizetype ListingLimit = 16 << 20;

// What one reader made of an archive.
struct Reading
{
    enum class State { Found, Absent, Failed };
    State state = State::Failed;
    std::string data; // the member's first MemberLimit bytes when found
};

char asciiLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// True when storedPath's file-name part is memberName, ignoring case. The archive may come
// from DOS, so "\" separates folders as well as "/".
bool namesMember(std::string_view storedPath, std::string_view memberName)
{
    const std::string_view name = storedPath.substr(storedPath.find_last_of("/\\") + 1);
    return std::ranges::equal(name, memberName, [](char a, char b) { return asciiLower(a) == asciiLower(b); });
}

// A member name that is not a plain file name would put the written file elsewhere than
// flat in the destination.
bool isPlainMemberName(std::string_view memberName)
{
    return !memberName.empty() && memberName != "." && memberName != ".."
        && memberName.find_first_of(std::string_view("/\\\0", 3)) == std::string_view::npos;
}

// ---- In-process reading ---------------------------------------------------------------

struct ReaderDeleter
{
    void operator()(archive* handle) const { archive_read_free(handle); }
};

// The entry's stored path in whichever form libarchive can give. A name the locale cannot
// convert has no locale form but may have a UTF-8 or wide one; with none, nothing names it.
std::optional<std::string> storedPath(archive_entry* entry)
{
    if (const char* utf8 = archive_entry_pathname_utf8(entry))
        return utf8;
    if (const char* local = archive_entry_pathname(entry))
        return local;
    if (const wchar_t* wide = archive_entry_pathname_w(entry))
        return QString::fromWCharArray(wide).toStdString();
    return std::nullopt;
}

// Only a plain file's own data is taken: a link (symbolic or hard) names other data, and
// an encrypted member would give ciphertext or nothing.
bool isWantedMember(archive_entry* entry, std::string_view memberName)
{
    if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_hardlink(entry) || archive_entry_is_encrypted(entry))
        return false;
    const std::optional<std::string> path = storedPath(entry);
    return path && namesMember(*path, memberName);
}

// A reader that knows every format allocates its state, and frees it again, in a block
// larger than the C library keeps at the top of its heap: each archive paid for fresh pages
// from the system, cleared, about 200 microseconds, more than reading its description.
// Keeping up to 32 MB of freed memory makes that a few microseconds. It is set once,
// before the first reader, for the whole program.
std::unique_ptr<archive, ReaderDeleter> newReader()
{
#ifdef __GLIBC__
    static std::once_flag tuned;
    std::call_once(tuned, [] { mallopt(M_TRIM_THRESHOLD, 32 << 20); });
#endif
    return std::unique_ptr<archive, ReaderDeleter>(archive_read_new());
}

Reading readInProcess(const fs::path& file, std::string_view memberName)
{
    const std::unique_ptr<archive, ReaderDeleter> handle = newReader();
    if (!handle)
        return {};
    archive* reader = handle.get();
    archive_read_support_format_all(reader);
    archive_read_support_filter_all(reader);
#ifdef Q_OS_WIN
    if (archive_read_open_filename_w(reader, file.c_str(), 64 * 1024) != ARCHIVE_OK)
#else
    if (archive_read_open_filename(reader, file.c_str(), 64 * 1024) != ARCHIVE_OK)
#endif
        return {};

    archive_entry* entry = nullptr;
    for (;;) {
        const int status = archive_read_next_header(reader, &entry);
        if (status == ARCHIVE_EOF)
            return { Reading::State::Absent, {} };
        // A warning (a name the locale cannot convert, say) still gives a usable entry.
        if (status != ARCHIVE_OK && status != ARCHIVE_WARN)
            return {};
        if (isWantedMember(entry, memberName))
            break;
    }

    // Reading stops at the limit: a member of gigabytes of zeros packed into a few kilobytes
    // costs no more than a real description. The buffer grows with what is read, so a
    // description of a few hundred bytes never costs a cleared megabyte.
    std::string data;
    std::size_t size = 0;
    while (size < MemberLimit) {
        if (size == data.size())
            data.resize(std::min(MemberLimit, std::max<std::size_t>(4096, data.size() * 2)));
        const la_ssize_t count = archive_read_data(reader, data.data() + size, data.size() - size);
        if (count < 0) // a method libarchive lacks, or damaged data
            return {};
        if (count == 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    data.resize(size);
    return { Reading::State::Found, std::move(data) };
}

// ---- 7-Zip ------------------------------------------------------------------------------

// 7zz is what 7-Zip's makers ship; 7z is the name older packages gave it.
QString sevenZipProgram()
{
    for (const QString& name : { u"7zz"_s, u"7z"_s }) {
        QString found = QStandardPaths::findExecutable(name);
        if (!found.isEmpty())
            return found;
    }
    return {};
}

// Runs 7-Zip and gives what it wrote to standard output: all of it when it ended well, or
// its first limit bytes when it wrote more (it is stopped then). Nothing when it could not
// start, failed, or still ran at the deadline.
std::optional<QByteArray>
runSevenZip(const QString& program, const QStringList& arguments, qsizetype limit, const QDeadlineTimer& deadline)
{
    QProcess sevenZip;
    // Paths are listed and given back in UTF-8 whatever the user's locale: under the C locale
    // 7-Zip lists a folder named in another script as question marks and cannot find it again.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    sevenZip.setProcessEnvironment(environment);
    sevenZip.setStandardInputFile(QProcess::nullDevice());
    sevenZip.setStandardErrorFile(QProcess::nullDevice());
    sevenZip.start(program, arguments, QIODevice::ReadOnly);

    const auto remaining = [&deadline] { return static_cast<int>(std::max<qint64>(0, deadline.remainingTime())); };
    const auto stop = [&sevenZip] {
        sevenZip.kill();
        sevenZip.waitForFinished(-1);
    };
    if (!sevenZip.waitForStarted(remaining())) {
        stop();
        return std::nullopt;
    }
    QByteArray output;
    for (;;) {
        // Whether it still runs is asked before reading, so that once it has ended nothing
        // it wrote is left unread.
        const bool running = sevenZip.state() != QProcess::NotRunning;
        output += sevenZip.readAllStandardOutput();
        if (output.size() >= limit) {
            stop();
            output.truncate(limit);
            return output;
        }
        if (!running)
            break;
        if (deadline.hasExpired()) {
            stop();
            return std::nullopt;
        }
        sevenZip.waitForReadyRead(remaining());
    }
    if (sevenZip.exitStatus() != QProcess::NormalExit || sevenZip.exitCode() != 0)
        return std::nullopt;
    return output;
}

// The stored path of the first member of a technical listing ("Key = Value" lines, a blank
// line after each member) that is a plain, unencrypted file named memberName.
std::optional<QString> findListedMember(const QByteArray& listing, std::string_view memberName)
{
    QString path;
    bool wanted = true;
    for (QByteArray line : listing.split('\n')) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.isEmpty()) {
            if (!path.isEmpty() && wanted)
                return path;
            path.clear();
            wanted = true;
            continue;
        }
        const qsizetype equals = line.indexOf(" = ");
        if (equals < 0)
            continue;
        const QByteArray key = line.left(equals);
        const QByteArray value = line.mid(equals + 3);
        if (key == "Path") {
            path = QString::fromUtf8(value);
            wanted = wanted && namesMember(value.toStdString(), memberName);
        } else if (key == "Folder" || key == "Encrypted") {
            wanted = wanted && value != "+";
        } else if (key == "Attributes") {
            // Unix archives add the mode ("-rw-r--r--", "lrwxrwxrwx"): its type must be a file.
            const QByteArray mode = value.split(' ').last();
            wanted = wanted && (mode.size() != 10 || mode.startsWith('-'));
        }
    }
    if (!path.isEmpty() && wanted)
        return path;
    return std::nullopt;
}

Reading readWithSevenZip(const fs::path& file, std::string_view memberName)
{
    const QString program = sevenZipProgram();
    if (program.isEmpty())
        return {};
    const QDeadlineTimer deadline(SevenZipMilliseconds);
    const QString archivePath = unicodeFromPath(file);

    // 7-Zip extracts nothing, and says so by no error, when a path names no member, so the
    // member's exact stored path is found first. "--" ends the switches, so a name beginning
    // with "-" or "@" is a name; -spd takes "*" and "?" in a name literally; a password is
    // given so that it never asks for one.
    const std::optional<QByteArray> listing
        = runSevenZip(program, { u"l"_s, u"-slt"_s, u"-ba"_s, u"-p"_s, u"--"_s, archivePath }, ListingLimit, deadline);
    if (!listing || listing->size() >= ListingLimit)
        return {};
    const std::optional<QString> path = findListedMember(*listing, memberName);
    if (!path)
        return { Reading::State::Absent, {} };

    const std::optional<QByteArray> data = runSevenZip(
        program, { u"e"_s, u"-so"_s, u"-spd"_s, u"-p"_s, u"--"_s, archivePath, *path }, MemberLimit, deadline);
    if (!data)
        return {};
    return { Reading::State::Found, data->toStdString() };
}

// ---- Testing whole archives ------------------------------------------------------------

// 7-Zip may take this long to test one archive: it reads every byte of every member, and a
// board's archives run to gigabytes.
constexpr int SevenZipTestMilliseconds = 300'000;

std::string libarchiveError(archive* reader, const char* otherwise)
{
    const char* text = archive_error_string(reader);
    return text && *text ? std::string(text) : std::string(otherwise);
}

// What the archive library made of the archive; cannotRead is set when another reader may
// do better (a format or a packing method the library lacks).
ArchiveTest testInProcess(const fs::path& file, bool& cannotRead)
{
    using State = ArchiveTest::State;
    cannotRead = false;
    const std::unique_ptr<archive, ReaderDeleter> handle = newReader();
    if (!handle)
        return { State::Unreadable, "out of memory" };
    archive* reader = handle.get();
    archive_read_support_format_all(reader);
    archive_read_support_filter_all(reader);
#ifdef Q_OS_WIN
    if (archive_read_open_filename_w(reader, file.c_str(), 64 * 1024) != ARCHIVE_OK) {
#else
    if (archive_read_open_filename(reader, file.c_str(), 64 * 1024) != ARCHIVE_OK) {
#endif
        cannotRead = true;
        return { State::Unreadable, libarchiveError(reader, "not an archive") };
    }

    // Members are only read, never written, so a stored name that climbs out of a folder
    // ("../../etc/passwd", "/etc/passwd") harms nothing here; a nested archive is one more
    // member whose checksum is checked, never opened in turn. The data passes through this
    // one buffer: a zip bomb costs time, never memory.
    std::vector<char> buffer(64 * 1024);
    std::size_t members = 0;
    for (;;) {
        archive_entry* entry = nullptr;
        const int status = archive_read_next_header(reader, &entry);
        if (status == ARCHIVE_EOF)
            break;
        if (status != ARCHIVE_OK && status != ARCHIVE_WARN) {
            // Nothing read at all: the library may not know this kind of archive.
            cannotRead = members == 0;
            return { members == 0 ? State::Unreadable : State::Damaged, libarchiveError(reader, "damaged") };
        }
        ++members;
        const std::string name = storedPath(entry).value_or(std::string("a member"));
        if (archive_entry_is_encrypted(entry))
            return { State::Encrypted, name + " is encrypted" };
        for (;;) {
            const la_ssize_t count = archive_read_data(reader, buffer.data(), buffer.size());
            if (count == 0)
                break;
            if (count > 0)
                continue;
            // FAILED is a method the library lacks (ZIP implode, shrink, deflate64); FATAL
            // (data cut short) and WARN (a checksum that disagrees) are damage.
            const std::string error = name + ": " + libarchiveError(reader, "damaged");
            if (count == ARCHIVE_FAILED) {
                cannotRead = true;
                return { State::Unreadable, error };
            }
            return { State::Damaged, error };
        }
    }
    if (members == 0 && archive_format(reader) == ARCHIVE_FORMAT_EMPTY)
        return { State::Unreadable, "the file is empty" };
    return { State::Good, {} };
}

// 7-Zip's verdict: a listing first, which names the encrypted members, then its own test.
std::optional<ArchiveTest> testWithSevenZip(const fs::path& file)
{
    using State = ArchiveTest::State;
    const QString program = sevenZipProgram();
    if (program.isEmpty())
        return std::nullopt;
    const QDeadlineTimer deadline(SevenZipTestMilliseconds);
    const QString archivePath = unicodeFromPath(file);
    const std::optional<QByteArray> listing
        = runSevenZip(program, { u"l"_s, u"-slt"_s, u"-ba"_s, u"-p"_s, u"--"_s, archivePath }, ListingLimit, deadline);
    if (!listing || listing->size() >= ListingLimit)
        return ArchiveTest { State::Unreadable, "7-Zip cannot read it either" };
    QByteArray path;
    for (QByteArray line : listing->split('\n')) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.startsWith("Path = "))
            path = line.mid(7);
        else if (line == "Encrypted = +")
            return ArchiveTest { State::Encrypted, path.toStdString() + " is encrypted" };
    }
    // The test writes a line per member at most; its exit status is the verdict.
    if (!runSevenZip(program, { u"t"_s, u"-p"_s, u"--"_s, archivePath }, ListingLimit, deadline))
        return ArchiveTest { State::Damaged, deadline.hasExpired() ? "7-Zip's test did not end in time"
                                                                   : "7-Zip's test found damage" };
    return ArchiveTest { State::Good, {} };
}

// ---- Writing ----------------------------------------------------------------------------

// Writes data as a new file. Whatever stood at the name is removed first (a link itself,
// not what it points to), and the file is created exclusively without following links, so
// nothing placed there meanwhile redirects the write.
bool writeNewFile(const fs::path& file, const std::string& data)
{
    std::error_code ignored;
    fs::remove(file, ignored);
    QFile out;
#ifdef Q_OS_WIN
    out.setFileName(unicodeFromPath(file));
    if (!out.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return false;
#else
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (descriptor < 0)
        return false;
    if (!out.open(descriptor, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle)) {
        ::close(descriptor);
        return false;
    }
#endif
    const auto size = static_cast<qint64>(data.size());
    const bool written = out.write(data.data(), size) == size && out.flush();
    out.close();
    if (!written)
        fs::remove(file, ignored);
    return written;
}

} // namespace

MemberRead readMember(const fs::path& archive, std::string_view memberName, ArchiveReaders readers)
{
    try {
        if (!isPlainMemberName(memberName))
            return { ExtractResult::NoMember, {} };
        // libarchive reads most archives; what it cannot open, or a member of a method it
        // lacks (ZIP shrink, implode, deflate64; all of ARJ), 7-Zip may.
        Reading reading = readInProcess(archive, memberName);
        if (reading.state == Reading::State::Failed && readers == ArchiveReaders::WithSevenZip)
            reading = readWithSevenZip(archive, memberName);

        switch (reading.state) {
        case Reading::State::Found:
            return { ExtractResult::Extracted, std::move(reading.data) };
        case Reading::State::Absent:
            return { ExtractResult::NoMember, {} };
        case Reading::State::Failed:
            break;
        }
    } catch (...) {
        // Out of memory or a path that cannot be converted: still only "no description".
    }
    return { ExtractResult::Unreadable, {} };
}

ExtractResult
extractMember(const fs::path& archive, const fs::path& destination, std::string_view memberName, ArchiveReaders readers)
{
    MemberRead read = readMember(archive, memberName, readers);
    if (read.result != ExtractResult::Extracted)
        return read.result;
    try {
        // The stored path is never used: the member lands flat in destination.
        if (writeNewFile(destination / fs::path(std::string(memberName)), read.data))
            return ExtractResult::Extracted;
    } catch (...) {
        // A destination path that cannot be converted: nothing written.
    }
    return ExtractResult::Unreadable;
}

} // namespace Kelvane

namespace Kelvane {

ArchiveTest testArchive(const fs::path& archive, ArchiveReaders readers)
{
    try {
        bool cannotRead = false;
        ArchiveTest test = testInProcess(archive, cannotRead);
        if (!cannotRead || readers != ArchiveReaders::WithSevenZip)
            return test;
        if (std::optional<ArchiveTest> other = testWithSevenZip(archive))
            return *other;
        test.reason += "; 7-Zip (7zz) is not installed";
        return test;
    } catch (...) {
        return { ArchiveTest::State::Unreadable, "out of memory" };
    }
}

} // namespace Kelvane
