#include "shell/FileAreaTitlesForm.h"

#include "board/Session.h"
#include "shell/FrameHost.h"

using namespace Qt::StringLiterals;

namespace Kelvane {

FileAreaTitlesForm::FileAreaTitlesForm(FrameHost& host)
    : AreaListForm(host,
                   { u"frmFileAreaTitles"_s, u"Open File Areas"_s, u"lsvFileAreaTitles"_s, u"Load_frmFileAreaTitles"_s,
                     AreaListKeys::fileAreaTitles(), true })
{
    loadForm();
}

void FileAreaTitlesForm::cmdOK_Click()
{
    const int row = selectedRow();
    if (row < 0)
        return; // a board without area records: there is nothing to open
    Session& board = session();
    try {
        BusyPointer busy(board.port());
        saveSettings();
        if (host().areaOpen()) {
            unload(); // the open area keeps its number and its editor
            return;
        }
        board.area.AreaNumber = row + 1;
        board.area.AreaTitle = titleBytes(row);
        const QString title = titles().at(row);
        host().fillAreaBox(titles(), board.area.AreaNumber - 1);
        host().openChosenArea(title);
    } catch (...) {
        board.ReportError("frmFileAreaTitles_cmdOk");
    }
    // OK ends with the chooser gone, whether the area opened or not.
    unload();
}

void FileAreaTitlesForm::cmdCancel_Click()
{
    unload();
}

void FileAreaTitlesForm::formUnloaded()
{
    host().setOpenFileAreasEnabled(true);
    host().setStatusText({});
}

} // namespace Kelvane
