#pragma once

#include "board/AreaRecords.h"
#include "board/CurrentArea.h"
#include "board/ErrorReporter.h"
#include "board/ListStamp.h"
#include "board/UserPort.h"

#include <QString>

#include <exception>
#include <filesystem>
#include <string_view>
#include <vector>

namespace Kelvane {

class CodePage;

/// The area chosen as the target of a move.
struct MoveTarget
{
    int TargetAreaNumber = 0;
    std::filesystem::path TargetFilePath;
    std::filesystem::path TargetFileListPath;
    bool TargetIsCDRom = false;
    bool TargetIsOffline = false;
    bool TargetUsesMasterIndex = false;
    bool TargetTrackForIndex = false;
};

/// Everything that lives for the whole run, in one object handed to what needs it: the
/// current area, the move target, the flags, the Make Index list, the board's record set,
/// the program's directory, the code page and the user port. A test builds a fresh one.
class Session
{
public:
    Session(UserPort& port, std::filesystem::path programDirectory, const CodePage& page);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    UserPort& port() const { return *m_port; }
    void setPort(UserPort& port);
    const CodePage& codePage() const { return *m_page; }
    void setCodePage(const CodePage& page);

    /// The program's directory as given: one at a drive root keeps its trailing separator.
    const std::filesystem::path& programDirectory() const { return m_programDirectory; }
    QString programDirectoryText() const;
    /// Where an archive's description is extracted to be read.
    std::filesystem::path workDirectory() const;

    AreaRecordSet& recordSet() { return m_recordSet; }
    ErrorReporter& errorReporter() { return m_reporter; }

    bool ShowAlert(std::string_view key);
    void ReportError(std::string_view procedure, std::exception_ptr error = std::current_exception());

    CurrentArea area;
    MoveTarget target;

    bool ChangesMade = false; // the open list has unsaved changes
    bool IndexPending = false; // an area was put on the Make Index list
    bool ListIsEmpty = false;
    qsizetype FileCount = 0;
    bool SwitchingAreas = false;
    bool RealFileDates = false;
    bool SortToggle = false;
    bool SearchCancel = false;
    bool CancelMove = false;
    // An unattended run over many areas opens an offline area whose disc is in without the
    // insert-disc box; one whose disc is not in never gets that far.
    bool AskForOfflineDisc = true;

    /// The open Files List as it was on disk when it was last read or written.
    ListStamp listStamp;
    /// The areas whose index files wait to be rebuilt, in the order they were added.
    std::vector<int> makeIndexList;

private:
    UserPort* m_port;
    std::filesystem::path m_programDirectory;
    const CodePage* m_page;
    AreaRecordSet m_recordSet;
    ErrorReporter m_reporter;
};

} // namespace Kelvane
