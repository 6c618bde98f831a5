#include "support/RuntimeDirectory.h"

#include <QApplication>
#include <gtest/gtest.h>

namespace {

QtMessageHandler qtHandler = nullptr;

// The offscreen platform says, for every window, which window-system requests it cannot
// honour; nothing a test could act on, so it stays out of the test output.
void filterPlatformNotes(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (message.startsWith(QLatin1String("This plugin does not support")))
        return;
    qtHandler(type, context, message);
}

} // namespace

// Widgets need an application object before the first test builds one; the tests run
// headless on the offscreen platform.
int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qtHandler = qInstallMessageHandler(filterPlatformNotes);
    Kelvane::Testing::RuntimeDirectory runtimeDirectory;
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
