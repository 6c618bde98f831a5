#include "board/BasicText.h"
#include "board/FileDates.h"
#include "board/FileLookup.h"
#include "board/Session.h"
#include "editor/EntryTable.h"
#include "editor/Operations.h"
#include "editor/Selection.h"
#include "platform/CodePage.h"
#include "platform/FileIdentity.h"

#include <array>
#include <initializer_list>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

// One look at a selected entry's file, shared by File Date and File Length when both run:
// one look-up and one stat give the date and the length.
struct Looked
{
    std::size_t index;
    bool found = false;
    std::optional<FileStatus> status;
    // Set only where the look failed or found no ordinary file: the take then calls
    // fileListDate or file_size on it, so a fault is reported with the error those raise.
    fs::path file;
};

std::vector<Looked> lookAtSelectedFiles(Session& session, const EntryTable& table)
{
    const DirectoryPaths& directories = session.area.FilePaths;
    const CodePage& page = session.codePage();
    FileLookup lookup(page);
    std::array<std::unique_ptr<OpenDirectory>, DirectorySlots> opened;
    std::vector<Looked> looked;
    looked.reserve(table.selectedCount());
    for (const std::size_t index : table.selectedIndices()) {
        Looked& file = looked.emplace_back(Looked { index, false, std::nullopt, {} });
        // The name is trimmed for the look-up: a name with blanks around it still finds its file.
        const auto found = lookup.locateInSlots(directories, page.toUnicode(trimSpaces(table.at(index).FileName)));
        if (!found)
            continue;
        file.found = true;
        const fs::path& directory = directories[static_cast<std::size_t>(found->slot)];
        const fs::path& name = found->listing->namesOnDisk()[found->index];
        std::unique_ptr<OpenDirectory>& held = opened[static_cast<std::size_t>(found->slot)];
        if (!held)
            held = std::make_unique<OpenDirectory>(directory);
        file.status = held->statusOf(name);
        if (!file.status || !file.status->regular)
            file.file = directory / name;
    }
    return looked;
}

struct Take
{
    const char* procedure;
    QString notFoundTitle;
    void (*store)(Entry& entry, const Looked& file);
};

void storeDate(Entry& entry, const Looked& file)
{
    entry.Date = file.status ? listDate(modifiedSeconds(file.status->identity)) : fileListDate(file.file);
}

void storeLength(Entry& entry, const Looked& file)
{
    const std::uintmax_t length
        = file.status && file.status->regular ? file.status->identity.size : fs::file_size(file.file);
    entry.Size = plainNumber(static_cast<double>(length));
}

const Take DateTake { "mnuFileDate_Click", u"Kelvane Alert!"_s, &storeDate };
const Take LengthTake { "mnuFileLength_Click", u"Kelvane Alert Message!"_s, &storeLength };

// File Date, File Length, or one then the other on the same selection, with one look at
// each file. Each take stores its value in every selected entry whose file is found, in
// list order, even when the value is the one already held, so the list counts as changed;
// it traps its own errors under its own name, and with boxes names the entries whose files
// were not found. An entry leaves the selection once every take has stored its value.
// Answers each take's entries not found, or nothing for a take stopped by an error.
std::vector<std::optional<std::vector<std::size_t>>> takeFromFiles(Session& session,
                                                                   EntryTable& table,
                                                                   std::initializer_list<const Take*> takes,
                                                                   bool boxes)
{
    std::vector<std::optional<std::vector<std::size_t>>> outcomes;
    std::optional<std::vector<Looked>> looked;
    std::vector<std::size_t> takenBy; // per looked file, how many takes stored its value
    std::size_t done = 0;
    for (const Take* take : takes) {
        const bool last = ++done == takes.size();
        if (boxes && nothingSelected(session, table)) {
            outcomes.emplace_back();
            continue;
        }
        std::optional<std::vector<std::size_t>> notFound;
        {
            OperationScope scope(session);
            try {
                if (!looked) {
                    looked = lookAtSelectedFiles(session, table);
                    takenBy.assign(looked->size(), 0);
                }
                EntryTable::Batch batch(table);
                std::vector<std::size_t> missing;
                for (std::size_t i = 0; i < looked->size(); ++i) {
                    const Looked& file = (*looked)[i];
                    if (!file.found) {
                        missing.push_back(file.index);
                        continue;
                    }
                    table.update(file.index, [&](Entry& entry) { take->store(entry, file); });
                    session.ChangesMade = true;
                    if (++takenBy[i] == done && last)
                        table.setSelected(file.index, false);
                }
                notFound = std::move(missing);
            } catch (...) {
                session.ReportError(take->procedure);
            }
        }
        if (boxes && notFound)
            showNotFound(session, table, *notFound, take->notFoundTitle);
        outcomes.push_back(std::move(notFound));
    }
    return outcomes;
}

} // namespace

void mnuFileDate_Click(Session& session, EntryTable& table)
{
    takeFromFiles(session, table, { &DateTake }, true);
}

void mnuFileLength_Click(Session& session, EntryTable& table)
{
    takeFromFiles(session, table, { &LengthTake }, true);
}

void RefreshDatesAndLengths(Session& session, EntryTable& table)
{
    takeFromFiles(session, table, { &DateTake, &LengthTake }, true);
}

std::vector<std::size_t> TakeFileDates(Session& session, EntryTable& table)
{
    return takeFromFiles(session, table, { &DateTake }, false).front().value_or(std::vector<std::size_t> {});
}

std::vector<std::size_t> TakeFileLengths(Session& session, EntryTable& table)
{
    return takeFromFiles(session, table, { &LengthTake }, false).front().value_or(std::vector<std::size_t> {});
}

} // namespace Kelvane
