#pragma once

#include "FakeFrameHost.h"
#include "shell/ScriptedQtPort.h"

namespace Kelvane::Testing {

/// What the frame of the long operations owns: built before the frame host that uses them.
struct OperationsHostParts
{
    TestBoard board;
    ScriptedQtPort port;
    QWidget frame;
};

/// A frame for the forms of the long operations and the sort view: the fake frame with a
/// board of its own, a scripted desktop port and a real window to parent the forms.
class OperationsHost : public OperationsHostParts, public FakeFrameHost
{
public:
    OperationsHost()
        : FakeFrameHost(board, port)
    {
        port.setDialogParent(&frame);
    }

    QtPort* qtPort() override { return &port; }
    QWidget* frameWindow() override { return &frame; }
    void addChildForm(QWidget* form) override { form->show(); }
};

} // namespace Kelvane::Testing
