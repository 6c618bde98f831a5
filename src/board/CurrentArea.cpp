#include "board/CurrentArea.h"

#include "board/FileSystem.h"
#include "board/Session.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

constexpr int DiscNumber = 0;

// Steps 1 to 6: the record's fields into the current area.
void readRecord(Session& session)
{
    CurrentArea& area = session.area;
    AreaRecordSet& records = session.recordSet();
    const CodePage& page = session.codePage();
    records.OpenAreas(area.MainNodePath);
    records.SelectArea(area.AreaNumber);
    area.FileListPath = page.toPath(records.AreaFileListPath());
    for (int i = 0; i < DirectorySlots; ++i)
        area.FilePaths[static_cast<std::size_t>(i)]
            = page.toPath(i == 0 ? records.AreaFilePath() : records.AreaAltPath(i));
    area.IsPrivate = isYes(records.AreaPrivate());
    area.IsCDRom = isYes(records.AreaCDRom());
    area.AllowAlias = isYes(records.AreaAlias());
    area.IsOffline = isYes(records.AreaOffline());
    area.UsesMasterIndex = isYes(records.AreaMasterIndex());
    area.IndexPath = page.toPath(records.AreaIndexPath());
    area.TrackForIndex = !area.IndexPath.empty() && !area.UsesMasterIndex;
    records.CloseAreas();
}

// Step 7: the offline CD. The retry loop has no limit of tries: only Cancel ends it.
bool offlinePrompt(Session& session)
{
    const CurrentArea& area = session.area;
    UserPort& port = session.port();
    const QString title = session.codePage().toUnicode(area.AreaTitle);
    const Answer answer = port.messageBox({ u"Kelvane Alert!"_s, offlinePromptText(title, driveRoot(area.FilePaths[0])),
                                            Buttons::OkCancel, Icon::Information });
    port.processEvents();
    if (answer != Answer::Ok)
        return false;
    const MessageBox retry { u"Kelvane"_s,
                             u"Kelvane is having problems Reading this\rCD-ROM Disk or can not find the File Path.\r"_s
                                 + unicodeFromPath(area.FilePaths[0]),
                             Buttons::RetryCancel, Icon::Critical };
    while (!IsValidPath(area.FilePaths[0])) {
        if (port.messageBox(retry) != Answer::Retry)
            return false;
    }
    return true;
}

bool initialize(Session& session)
{
    readRecord(session);
    CurrentArea& area = session.area;
    const fs::path& files = area.FilePaths[0];
    const bool discIn = !session.AskForOfflineDisc && IsValidPath(files);
    if (!files.empty() && area.IsOffline && !discIn && !offlinePrompt(session))
        return false;
    if (files.empty() || !IsValidPath(files)) {
        session.ShowAlert("CanNotFindFileAreaPath");
        return false;
    }
    for (int i = 1; i < DirectorySlots; ++i) {
        const fs::path& extra = area.FilePaths[static_cast<std::size_t>(i)];
        if (!extra.empty() && !IsValidPath(extra) && !MakePath(extra))
            return false; // silently: the operator sees the area not open
    }
    if (area.FileListPath.empty()) {
        session.ShowAlert("CanNotFindFileListPath");
        return false;
    }
    const fs::path listDirectory = PathUtility::DirectoryOf(area.FileListPath);
    if (!IsValidPath(listDirectory)) {
        session.ShowAlert("CanNotFindFileListPath");
        return false;
    }
    if (!MakePath(listDirectory)) {
        session.ShowAlert("ReadOnlyDrive");
        return false;
    }
    if (area.TrackForIndex && !MakePath(PathUtility::DirectoryOf(area.IndexPath)))
        area.TrackForIndex = false;
    return true;
}

} // namespace

QString offlinePromptText(const QString& areaTitle, const QString& root)
{
    return u"Please insert Offline CD Disc #"_s + QString::number(DiscNumber) + u"\rfor File Area: "_s + areaTitle
        + u"\rin CD-ROM Drive "_s + root + u"\r\rClick Ok when ready"_s;
}

bool Farea_Dat_Initialize(Session& session)
{
    try {
        return initialize(session);
    } catch (...) {
        session.ReportError("Farea_Dat_Initialize");
        return false;
    }
}

void AddToMakeIndexList(Session& session, int areaNumber)
{
    if (areaNumber == 0)
        return;
    std::vector<int>& pending = session.makeIndexList;
    if (std::find(pending.begin(), pending.end(), areaNumber) == pending.end())
        pending.push_back(areaNumber);
}

} // namespace Kelvane
