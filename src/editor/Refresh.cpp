#include "board/BasicText.h"
#include "board/FileDates.h"
#include "board/FileLookup.h"
#include "board/Session.h"
#include "editor/EntryTable.h"
#include "editor/Operations.h"
#include "editor/Selection.h"

#include <optional>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

// File Date and File Length share one shape: take a value from each selected entry's file
// and store it, even when it is the value already held, so the list counts as changed.
// Answers the entries whose files were not found, or nothing after an error.
std::optional<std::vector<std::size_t>> takeFromFiles(Session& session,
                                                      EntryTable& table,
                                                      const char* procedure,
                                                      const std::function<void(Entry&, const std::filesystem::path&)>& take)
{
    OperationScope scope(session);
    try {
        FileLookup lookup(session.codePage());
        return forEachSelectedFile(session, table, lookup,
                                   [&](std::size_t index, const std::filesystem::path& file) {
                                       table.update(index, [&](Entry& entry) { take(entry, file); });
                                       session.ChangesMade = true;
                                   })
            .notFound;
    } catch (...) {
        session.ReportError(procedure);
        return std::nullopt;
    }
}

void takeDate(Entry& entry, const std::filesystem::path& file)
{
    entry.Date = fileListDate(file);
}

void takeLength(Entry& entry, const std::filesystem::path& file)
{
    entry.Size = plainNumber(static_cast<double>(std::filesystem::file_size(file)));
}

void refresh(Session& session,
             EntryTable& table,
             const char* procedure,
             const QString& notFoundTitle,
             void (*take)(Entry&, const std::filesystem::path&))
{
    if (nothingSelected(session, table))
        return;
    if (const auto notFound = takeFromFiles(session, table, procedure, take))
        showNotFound(session, table, *notFound, notFoundTitle);
}

} // namespace

void mnuFileDate_Click(Session& session, EntryTable& table)
{
    refresh(session, table, "mnuFileDate_Click", u"Kelvane Alert!"_s, &takeDate);
}

void mnuFileLength_Click(Session& session, EntryTable& table)
{
    refresh(session, table, "mnuFileLength_Click", u"Kelvane Alert Message!"_s, &takeLength);
}

std::vector<std::size_t> TakeFileDates(Session& session, EntryTable& table)
{
    return takeFromFiles(session, table, "mnuFileDate_Click", &takeDate).value_or(std::vector<std::size_t> {});
}

std::vector<std::size_t> TakeFileLengths(Session& session, EntryTable& table)
{
    return takeFromFiles(session, table, "mnuFileLength_Click", &takeLength).value_or(std::vector<std::size_t> {});
}

} // namespace Kelvane
