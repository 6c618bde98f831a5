#pragma once

#include "shell/QtPort.h"
#include "support/ScriptedPort.h"

namespace Kelvane::Testing {

/// The desktop port with its boxes answered from a script: every box is still built as the
/// program builds it, then answered by script instead of a user. Each turn of the event
/// loop runs Qt's and then the script's hook, so a test can press a button mid-operation.
class ScriptedQtPort : public QtPort
{
public:
    ScriptedPort script;

    void processEvents() override
    {
        QtPort::processEvents();
        script.processEvents();
    }
    QString browseForFolder(const QString& prompt) override { return script.browseForFolder(prompt); }

protected:
    Answer execBox(QMessageBox& box, const MessageBox& message) override
    {
        (void)box;
        return script.messageBox(message);
    }
};

} // namespace Kelvane::Testing
