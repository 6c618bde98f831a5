#include "shell/HelpMenu.h"

#include "shell/FrameHost.h"

#include <QMenu>
#include <QMenuBar>

using namespace Qt::StringLiterals;

namespace Kelvane {

QMenu* addHelpMenu(QMenuBar& bar, FrameHost& host)
{
    QMenu* help = bar.addMenu(u"&Help"_s);
    help->setObjectName(u"mnuHelp"_s);
    const auto addItem = [help](const QString& name, const QString& caption, auto handler) {
        QAction* item = help->addAction(caption);
        item->setObjectName(name);
        QObject::connect(item, &QAction::triggered, help, handler);
    };
    addItem(u"mnuHelpContents"_s, u"&Contents"_s, [&host] { host.showHelpTopic({}); });
    addItem(u"mnuHelpSearch"_s, u"&Search For Help On..."_s, [&host] { host.showHelpSearch(); });
    help->addSeparator();
    addItem(u"mnuHelpAbout"_s, u"&About Kelvane..."_s, [&host] { host.showAbout(); });
    addItem(u"mnuTechSupportInfo"_s, u"&Technical Support Info"_s, [&host] { host.showTechSupport(); });
    return help;
}

} // namespace Kelvane
