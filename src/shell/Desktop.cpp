#include "shell/Desktop.h"

#include "accessories/Accessories.h"
#include "accessories/AviFiles.h"
#include "board/AreaRecords.h"
#include "board/Session.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/ProgramDirectory.h"
#include "platform/SettingsStore.h"
#include "shell/MainFrame.h"
#include "shell/QtPort.h"

#include <QApplication>
#include <QTimer>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

constexpr std::chrono::milliseconds SplashTime { 1750 };

struct OpenRequest
{
    QString area;
    std::optional<QString> mainNode;
};

// "open AREA [--main-node PATH]"; nothing when the arguments are wrong.
std::optional<OpenRequest> parseOpen(const QStringList& arguments)
{
    OpenRequest request;
    for (qsizetype at = 2; at < arguments.size(); ++at) {
        const QString& argument = arguments.at(at);
        if (argument == u"--main-node" && at + 1 < arguments.size())
            request.mainNode = arguments.at(++at);
        else if (argument.startsWith(u"--main-node="))
            request.mainNode = argument.mid(12);
        else if (request.area.isEmpty() && !argument.startsWith(u"--"))
            request.area = argument;
        else
            return std::nullopt;
    }
    if (request.area.isEmpty())
        return std::nullopt;
    return request;
}

// The number of the area named by a record number or an exact title; 0 for none.
int areaNumberOf(Session& session, const QString& area)
{
    AreaRecordSet& records = session.recordSet();
    records.OpenAreas(session.area.MainNodePath);
    bool isNumber = false;
    const int number = area.toInt(&isNumber);
    int found = 0;
    if (isNumber && number >= 1 && number <= records.AreaCount()) {
        found = number;
    } else {
        for (int candidate = 1; candidate <= records.AreaCount() && found == 0; ++candidate) {
            records.SelectArea(candidate);
            if (session.codePage().toUnicode(records.AreaTitle()) == area)
                found = candidate;
        }
    }
    records.CloseAreas();
    return found;
}

} // namespace

bool startsDesktop(int argc, const char* const* argv)
{
    return argc <= 1 || std::strcmp(argv[1], "open") == 0;
}

int runDesktop(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(u"Kelvane"_s);
    QApplication::setApplicationDisplayName(u"Kelvane"_s);
    QApplication::setApplicationVersion(u"2.0.0"_s);
    QApplication::setDesktopFileName(u"kelvane"_s);

    std::optional<OpenRequest> request;
    if (argc > 1) {
        request = parseOpen(QApplication::arguments());
        if (!request) {
            std::fputs("usage: kelvane open AREA [--main-node PATH]\n", stderr);
            return 2;
        }
    }

    SettingsStore settings;
    const auto directory = programDirectory();
    writeMissingAnimations(directory);
    showSplash(SplashTime);

    QtPort port;
    Session session(port, directory, chosenCodePage(settings));
    MainFrame frame(session, port, settings);
    if (request && request->mainNode)
        session.area.MainNodePath = pathFromUnicode(*request->mainNode);
    int area = 0;
    if (request) {
        try {
            area = areaNumberOf(session, request->area);
        } catch (...) {
            area = 0;
        }
        if (area == 0) {
            std::fprintf(stderr, "kelvane: no File Area \"%s\" on the board at %s\n", qPrintable(request->area),
                         qPrintable(unicodeFromPath(session.area.MainNodePath)));
            return 1;
        }
    }
    frame.showAsSaved();
    if (area != 0)
        QTimer::singleShot(0, &frame, [&frame, area] { frame.openArea(area); });
    return QApplication::exec();
}

} // namespace Kelvane
