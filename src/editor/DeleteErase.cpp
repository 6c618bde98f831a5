#include "board/FileLookup.h"
#include "board/FileSystem.h"
#include "board/RunTimeError.h"
#include "board/Session.h"
#include "editor/EntryTable.h"
#include "editor/Operations.h"
#include "editor/Selection.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <cerrno>
#include <unordered_map>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

constexpr const char* DeleteProcedure = "mnuDeleteFiles_Click";

// Deletes the file the look-up found: never a directory, and a symbolic link as the link,
// never its target. A failure is logged, not shown, as the operator is not told at once.
bool deleteFound(Session& session, const fs::path& file)
{
    std::error_code error;
    const fs::file_status status = fs::symlink_status(file, error);
    if (!error && fs::is_directory(status))
        error = std::make_error_code(std::errc::is_a_directory);
    else if (!error)
        fs::remove(file, error);
    if (!error)
        return true;
    try {
        throw fs::filesystem_error("delete", file, error);
    } catch (...) {
        session.errorReporter().logOnly(DeleteProcedure, RunTimeError::from(std::current_exception()));
    }
    return false;
}

} // namespace

void mnuEraseFilesListOnly_Click(Session& session, EntryTable& table)
{
    if (nothingSelected(session, table))
        return;
    if (!session.ShowAlert("DeleteFilesListOnly"))
        return;
    EraseSelectedEntries(session, table);
}

void EraseSelectedEntries(Session& session, EntryTable& table)
{
    OperationScope scope(session);
    try {
        // Every selected entry goes, the others keep their order: one pass, one repaint.
        table.removeIf([&](std::size_t index) { return table.isSelected(index); });
        session.ChangesMade = true;
    } catch (...) {
        session.ReportError("mnuEraseFilesListOnly_Click");
    }
}

DeleteReport mnuDeleteFiles_Click(Session& session, EntryTable& table)
{
    DeleteReport report;
    if (nothingSelected(session, table))
        return report;
    if (!session.ShowAlert("DeleteFiles"))
        return report;
    // The question comes first and the refusal second: the operator confirms, then learns
    // that a CD-ROM or offline area keeps its files.
    const CurrentArea& area = session.area;
    if (area.IsCDRom || area.IsOffline) {
        session.ShowAlert("CDRomOffline");
        return report;
    }
    report.asked = true;
    OperationScope scope(session);
    const CodePage& page = session.codePage();
    std::vector<char> remove(table.size(), 0);
    try {
        FileLookup lookup(page);
        const std::vector<std::size_t> selected = table.selectedIndices();
        // A name listed twice looks again after its first file is gone, so the directory is
        // listed again only for such names.
        std::unordered_map<std::string, int> pending;
        for (const std::size_t index : selected)
            ++pending[page.upper(table.at(index).FileName)];
        for (const std::size_t index : selected) {
            // The entry leaves the list whether or not its file is found or deleted.
            remove[index] = 1;
            const std::string& name = table.at(index).FileName;
            const int later = --pending[page.upper(name)];
            const auto found = lookup.findInSlots(area.FilePaths, name);
            if (!found) {
                report.notFound.push_back(name);
                continue;
            }
            if (!ClearAttributes(found->second) || !deleteFound(session, found->second)) {
                report.notDeleted.push_back(name);
                continue;
            }
            if (later > 0)
                lookup.forget(found->second.parent_path());
            report.deleted.push_back(name);
            session.ChangesMade = true;
            if (area.TrackForIndex)
                session.IndexPending = true;
        }
        table.removeIf([&](std::size_t index) { return remove[index] != 0; });
    } catch (...) {
        // Entries handled before the error stay removed, as their files stay deleted.
        table.removeIf([&](std::size_t index) { return remove[index] != 0; });
        session.ReportError(DeleteProcedure);
        return report;
    }
    if (session.ChangesMade && area.TrackForIndex)
        AddToMakeIndexList(session, area.AreaNumber);
    return report;
}

void mnuSelectAllFiles_Click(EntryTable& table)
{
    table.selectAll();
}

void mnuNoSelectAllFiles_Click(EntryTable& table)
{
    table.clearSelection();
}

void mnuRemoveUploadBy_Click(Session& session, EntryTable& table)
{
    if (nothingSelected(session, table))
        return;
    OperationScope scope(session);
    try {
        EntryTable::Batch batch(table);
        for (const std::size_t index : table.selectedIndices()) {
            const std::size_t marker = table.at(index).Description.find("Uploaded By");
            if (marker != std::string::npos) {
                // Everything from the marker on goes; what stood before it stays exactly.
                table.update(index, [marker](Entry& entry) { entry.Description.resize(marker); });
                session.ChangesMade = true;
            }
            table.setSelected(index, false);
        }
    } catch (...) {
        session.ReportError("mnuRemoveUploadBy_Click");
    }
}

} // namespace Kelvane
