#pragma once

#include "shell/AreaListForm.h"

namespace Kelvane {

/// The area chooser: every file area of the board, to open one in the editor. OK fills the
/// frame's area box with the same rows, so later switches need no chooser, has the frame open
/// the chosen area and closes the chooser whether the area opened or not. Closing gives Open
/// File Areas back to the frame.
class FileAreaTitlesForm : public AreaListForm
{
    Q_OBJECT

public:
    explicit FileAreaTitlesForm(FrameHost& host);

protected:
    void cmdOK_Click() override;
    void cmdCancel_Click() override;
    void formUnloaded() override;
};

} // namespace Kelvane
