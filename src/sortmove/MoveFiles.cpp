#include "sortmove/MoveFiles.h"

#include "board/BasicText.h"
#include "board/FileLookup.h"
#include "board/FileSystem.h"
#include "board/FilesList.h"
#include "board/Session.h"
#include "editor/EntryTable.h"
#include "editor/Selection.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <cerrno>
#include <fstream>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

// A rename that fails when the destination exists (whatever the case of its name, as on
// the board's system) or the source is missing; across file systems a copy and a delete.
bool moveFile(const fs::path& source, const fs::path& destination, FileLookup& targetLookup)
{
    std::error_code error;
    if (!fs::exists(fs::symlink_status(source, error)) || fs::is_directory(fs::symlink_status(source, error)))
        return false;
    if (fs::exists(fs::symlink_status(destination, error))
        || targetLookup.findText(destination.parent_path(), fileNameText(destination)))
        return false;
    fs::rename(source, destination, error);
    if (error == std::errc::cross_device_link) {
        error.clear();
        fs::copy_file(source, destination, fs::copy_options::none, error);
        if (error) {
            fs::remove(destination, error);
            return false;
        }
        fs::remove(source, error);
    }
    targetLookup.forget(destination.parent_path());
    return !error;
}

// The entry as the move appends it to the target's list: the size text as it stands, an
// empty description as 45 blanks ("No Description" is the writer's, not the move's).
std::string movedEntryText(const Entry& entry, const std::string& name)
{
    std::string line = name;
    if (line.size() < 12)
        line.append(12 - line.size(), ' ');
    if (entry.Size.size() < 9)
        line.append(9 - entry.Size.size(), ' ');
    line += entry.Size;
    const std::size_t date = entry.Date.size() + 2;
    if (date < 10)
        line.append(10 - date, ' ');
    line += ' ' + entry.Date + ' ';
    std::string description(rtrimSpaces(entry.Description));
    description.erase(std::remove(description.begin(), description.end(), '\n'), description.end());
    std::string_view rest = description;
    auto [first, remaining] = FilesListFormat::splitDescriptionLine(rest);
    line.append(first).append(45 - std::min<std::size_t>(first.size(), 45), ' ').append("\r\n");
    while (!remaining.empty()) {
        std::string_view next;
        std::tie(next, remaining) = FilesListFormat::splitDescriptionLine(remaining);
        line.append(31, ' ').append(next).append(45 - std::min<std::size_t>(next.size(), 45), ' ').append("\r\n");
    }
    return line;
}

} // namespace

bool GetNewFileArea(Session& session)
{
    try {
        MoveTarget& target = session.target;
        AreaRecordSet& records = session.recordSet();
        const CodePage& page = session.codePage();
        records.OpenAreaRecord(session.area.MainNodePath, target.TargetAreaNumber);
        target.TargetFileListPath = page.toPath(records.AreaFileListPath());
        target.TargetFilePath = page.toPath(records.AreaFilePath());
        target.TargetIsCDRom = isYes(records.AreaCDRom());
        target.TargetIsOffline = isYes(records.AreaOffline());
        target.TargetUsesMasterIndex = isYes(records.AreaMasterIndex());
        target.TargetTrackForIndex = !records.AreaIndexPath().empty() && !target.TargetUsesMasterIndex;
        records.CloseAreas();
        return target.TargetIsCDRom || target.TargetIsOffline || !MakePath(target.TargetFilePath);
    } catch (...) {
        session.ReportError("GetNewFileArea");
        return true;
    }
}

bool acceptMoveTarget(Session& session, int targetNumber)
{
    MoveTarget& target = session.target;
    try {
        target.TargetAreaNumber = targetNumber;
        if (targetNumber == session.area.AreaNumber) {
            session.ShowAlert("NoMoveSameFileArea");
            target.TargetAreaNumber = 0;
            return false;
        }
        if (GetNewFileArea(session)) {
            // An offline target and one whose directory cannot be made get the CD-ROM text.
            session.ShowAlert("NoMoveFileToCDROM");
            target.TargetAreaNumber = 0;
            return false;
        }
        AreaRecordSet& records = session.recordSet();
        records.OpenAreaRecord(session.area.MainNodePath, targetNumber);
        const fs::path filePath = session.codePage().toPath(records.AreaFilePath());
        const fs::path listPath = session.codePage().toPath(records.AreaFileListPath());
        records.CloseAreas();
        if (filePath.empty() || !IsValidPath(filePath)) {
            session.ShowAlert("CanNotFindFileAreaPath");
            return false;
        }
        if (listPath.empty() || !IsValidPath(PathUtility::DirectoryOf(listPath))) {
            session.ShowAlert("CanNotFindFileListPath");
            return false;
        }
        // A target whose Files List does not exist yet is refused here too: files only move
        // into an area that already has a list.
        if (!MakePath(PathUtility::DirectoryOf(listPath)) || !ClearAttributes(listPath)) {
            session.ShowAlert("ReadOnlyDrive");
            return false;
        }
        // The index directory checked here is that of a path this check never fills, so a
        // tracked target always stops being tracked; kept as the board has always had it.
        if (target.TargetTrackForIndex && !MakePath(fs::path()))
            target.TargetTrackForIndex = false;
        return true;
    } catch (...) {
        session.ReportError("frmMoveFileTitles_cmdOk");
        return false;
    }
}

std::size_t MoveFiles(Session& session, EntryTable& table)
{
    const MoveTarget& target = session.target;
    const CurrentArea& area = session.area;
    const CodePage& page = session.codePage();
    UserPort& port = session.port();
    std::error_code error;
    if (!fs::is_directory(target.TargetFilePath, error) && !MakePath(target.TargetFilePath))
        return 0;
    session.CancelMove = false;
    std::vector<char> moved(table.size(), 0);
    std::size_t count = 0;
    try {
        FileLookup sourceLookup(page);
        FileLookup targetLookup(page);
        const std::vector<std::size_t> selected = table.selectedIndices();
        port.progressValue(0, static_cast<qint64>(selected.size()));
        std::ofstream targetList;
        for (const std::size_t index : selected) {
            port.processEvents(); // where a press of Cancel is seen
            if (session.CancelMove)
                break;
            const Entry& entry = table.at(index);
            const std::string name = page.upper(entry.FileName);
            fs::path source;
            for (const fs::path& directory : area.FilePaths) {
                if (directory.empty())
                    continue;
                if (session.CancelMove)
                    break;
                source = directory / page.toPath(name);
                if (const std::optional<fs::path> found = sourceLookup.find(directory, name)) {
                    source = *found;
                    break;
                }
            }
            const std::string trimmed(trimSpaces(name));
            const fs::path destination = target.TargetFilePath / page.toPath(trimmed);
            port.progressText(ProgressLine::Status, u"Moving File: "_s + page.toUnicode(trimmed));
            port.progressValue(static_cast<qint64>(++count), static_cast<qint64>(selected.size()));
            if (!moveFile(source, destination, targetLookup) && ClearAttributes(source)) {
                // The target already holds the name: its copy stays, the source copy goes.
                fs::remove(source, error);
            }
            sourceLookup.forget(source.parent_path());
            std::string listedName = entry.FileName;
            if (listedName.size() > 12) {
                if (const std::optional<fs::path> there
                    = targetLookup.findText(target.TargetFilePath, page.toUnicode(listedName)))
                    listedName = page.upper(
                        page.fromUnicode(targetLookup.listing(target.TargetFilePath).aliasOf(fileNameText(*there))));
            }
            if (!targetList.is_open()) {
                targetList.open(target.TargetFileListPath, std::ios::binary | std::ios::app);
                if (!targetList)
                    throw fs::filesystem_error("open", target.TargetFileListPath,
                                               std::error_code(errno, std::generic_category()));
            }
            const std::string text = movedEntryText(entry, listedName);
            targetList.write(text.data(), static_cast<std::streamsize>(text.size()));
            targetList.flush();
            if (!targetList)
                throw fs::filesystem_error("write", target.TargetFileListPath,
                                           std::error_code(errno ? errno : EIO, std::generic_category()));
            moved[index] = 1;
        }
    } catch (...) {
        session.ReportError("MoveFiles");
    }
    // The entries moved leave the open list; selected ones not reached (after Cancel) stay.
    std::size_t removed = 0;
    table.removeIf([&](std::size_t index) {
        removed += moved[index] != 0;
        return moved[index] != 0;
    });
    session.ChangesMade = true;
    if (area.TrackForIndex) {
        AddToMakeIndexList(session, area.AreaNumber);
        session.IndexPending = true;
    }
    if (target.TargetTrackForIndex) {
        AddToMakeIndexList(session, target.TargetAreaNumber);
        session.IndexPending = true;
    }
    return removed;
}

} // namespace Kelvane
