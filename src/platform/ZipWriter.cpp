#include "platform/ZipWriter.h"

#include "platform/DurableFile.h"
#include "platform/FileNames.h"

#include <archive.h>
#include <archive_entry.h>

#include <ctime>
#include <memory>
#include <stdexcept>

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

struct ArchiveDeleter
{
    void operator()(archive* handle) const { archive_write_free(handle); }
};

struct EntryDeleter
{
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

std::runtime_error failure(const fs::path& file, const std::string& reason)
{
    return std::runtime_error("cannot write the ZIP archive " + unicodeFromPath(file).toStdString() + ": " + reason);
}

[[noreturn]] void fail(archive* handle, const fs::path& file, const std::string& step)
{
    const char* reason = archive_error_string(handle);
    throw failure(file, step + ": " + (reason ? reason : "unknown archive error"));
}

la_ssize_t appendTo(archive*, void* client, const void* buffer, size_t length)
{
    static_cast<std::string*>(client)->append(static_cast<const char*>(buffer), length);
    return static_cast<la_ssize_t>(length);
}

// Every member carries the same moment, so the same members always give the same bytes.
// A ZIP stores local DOS time, so the moment is taken in local time: the archive lists
// 05-17-96 12:00 wherever it is read.
std::time_t memberTime()
{
    std::tm moment {};
    moment.tm_year = 1996 - 1900;
    moment.tm_mon = 5 - 1;
    moment.tm_mday = 17;
    moment.tm_hour = 12;
    moment.tm_isdst = -1;
    return std::mktime(&moment);
}

} // namespace

void writeZip(const fs::path& file, const std::vector<ZipMember>& members)
{
    std::string bytes;
    {
        const std::unique_ptr<archive, ArchiveDeleter> handle(archive_write_new());
        if (!handle)
            throw failure(file, "out of memory");
        archive* zip = handle.get();
        if (archive_write_set_format_zip(zip) != ARCHIVE_OK
            || archive_write_zip_set_compression_deflate(zip) != ARCHIVE_OK
            || archive_write_set_options(zip, "zip:hdrcharset=UTF-8") != ARCHIVE_OK)
            fail(zip, file, "format");
        // No blocking: a ZIP padded to a block size would hide its directory's end record
        // from readers that look for it at the end of the file.
        if (archive_write_set_bytes_per_block(zip, 0) != ARCHIVE_OK
            || archive_write_set_bytes_in_last_block(zip, 1) != ARCHIVE_OK)
            fail(zip, file, "blocking");
        if (archive_write_open2(zip, &bytes, nullptr, appendTo, nullptr, nullptr) != ARCHIVE_OK)
            fail(zip, file, "open");

        const std::time_t moment = memberTime();
        for (const ZipMember& member : members) {
            const std::unique_ptr<archive_entry, EntryDeleter> entry(archive_entry_new());
            if (!entry)
                throw failure(file, "out of memory");
            archive_entry_set_pathname_utf8(entry.get(), member.name.c_str());
            archive_entry_set_filetype(entry.get(), AE_IFREG);
            archive_entry_set_perm(entry.get(), 0644);
            archive_entry_set_size(entry.get(), static_cast<la_int64_t>(member.data.size()));
            archive_entry_set_mtime(entry.get(), moment, 0);
            if (archive_write_header(zip, entry.get()) != ARCHIVE_OK)
                fail(zip, file, member.name);
            if (!member.data.empty()
                && archive_write_data(zip, member.data.data(), member.data.size())
                    != static_cast<la_ssize_t>(member.data.size()))
                fail(zip, file, member.name);
        }
        if (archive_write_close(zip) != ARCHIVE_OK)
            fail(zip, file, "close");
    }

    // Written beside the old file and renamed over it: a read-only archive is replaced too,
    // and a failure leaves the old one whole.
    TemporaryFile written(file);
    written.write(bytes);
    written.finish();
    written.renameTo(file);
}

} // namespace Kelvane
