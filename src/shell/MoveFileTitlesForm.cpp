#include "shell/MoveFileTitlesForm.h"

#include "board/Session.h"
#include "sortmove/MoveFiles.h"

using namespace Qt::StringLiterals;

namespace Kelvane {

MoveFileTitlesForm::MoveFileTitlesForm(FrameHost& host)
    : AreaListForm(host,
                   { u"frmMoveFileTitles"_s, u"Move Files to File Area"_s, u"lsvMoveFileTitles"_s,
                     u"Load_frmMoveFileTitles"_s, AreaListKeys::moveFileTitles() })
{
    loadForm();
}

void MoveFileTitlesForm::cmdOK_Click()
{
    const int row = selectedRow();
    if (row < 0)
        return;
    Session& board = session();
    try {
        saveSettings();
    } catch (...) {
        board.ReportError("frmMoveFileTitles_cmdOk");
        return;
    }
    // A refusal has shown its alert and cleared the target; the operator chooses again.
    if (!acceptMoveTarget(board, row + 1))
        return;
    hideForm();
    Q_EMIT moveAccepted();
}

void MoveFileTitlesForm::cmdCancel_Click()
{
    try {
        saveSettings();
    } catch (...) {
        session().ReportError("cmdCancel_Click");
    }
    unload();
}

void MoveFileTitlesForm::formUnloaded()
{
    session().target.TargetAreaNumber = 0;
    Q_EMIT closed();
}

} // namespace Kelvane
