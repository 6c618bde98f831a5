#pragma once

#include "shell/AreaListForm.h"

namespace Kelvane {

/// The move-target chooser: every file area of the board, to pick the one the selected files
/// move to. A refused target keeps the chooser open for another choice; an accepted one hides
/// it and says so, and whoever runs the move closes it afterwards. Closing clears the target.
class MoveFileTitlesForm : public AreaListForm
{
    Q_OBJECT

public:
    explicit MoveFileTitlesForm(FrameHost& host);

Q_SIGNALS:
    /// OK found the target fit (session().target is filled); the chooser is hidden.
    void moveAccepted();
    /// The chooser is closing; the target number is back to 0.
    void closed();

protected:
    void cmdOK_Click() override;
    void cmdCancel_Click() override;
    void formUnloaded() override;
};

} // namespace Kelvane
