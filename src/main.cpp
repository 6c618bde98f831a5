#include "accessories/Accessories.h"
#include "board/AreaRecords.h"
#include "board/Session.h"
#include "cli/CommandLine.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/ProgramDirectory.h"
#include "platform/SettingsStore.h"
#include "shell/MainFrame.h"
#include "shell/QtPort.h"

#include <QApplication>
#include <QTimer>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <optional>

#ifndef _WIN32
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

using namespace Kelvane;

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

// Whether the arguments start the desktop program: none at all, or the command "open".
bool startsDesktop(int argc, const char* const* argv)
{
    return argc <= 1 || std::strcmp(argv[1], "open") == 0;
}

// The desktop program: the splash, then the main frame until it closes. "open AREA
// [--main-node PATH]" opens that area (a record number or an exact title) at once.
int runDesktop(int argc, char* argv[])
{
    QApplication application(argc, argv);
    setApplicationIdentity();

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
    QtPort port;
    Session session(port, directory, chosenCodePage(settings));

    // The area to open is found before anything is shown, so a wrong one costs no splash.
    const auto mainNode = pathFromUnicode(request && request->mainNode
                                              ? *request->mainNode
                                              : settings.GetSetting(u"Vandor Startup"_s, u"Vandor Main Path"_s));
    int area = 0;
    if (request) {
        session.area.MainNodePath = mainNode;
        try {
            area = areaNumberOf(session, request->area);
        } catch (...) {
            area = 0; // no board there, or a damaged one: the same answer
        }
        if (area == 0) {
            std::fprintf(stderr, "kelvane: no File Area \"%s\" on the board at %s\n", qPrintable(request->area),
                         qPrintable(unicodeFromPath(mainNode)));
            return 1;
        }
    }

    setUpProgramDirectory(directory);
    std::optional<MainFrame> frame;
    showSplash(SplashTime, [&] {
        frame.emplace(session, port, settings);
        session.area.MainNodePath = mainNode;
        frame->showAsSaved();
    });
    if (area != 0)
        QTimer::singleShot(0, &*frame, [&frame, area] { frame->openArea(area); });
    return QApplication::exec();
}

} // namespace

int main(int argc, char* argv[])
{
    // The program's directory is the data directory of this name, for the command line too,
    // which runs without an application object to give it one.
    QCoreApplication::setApplicationName(u"Kelvane"_s);
#ifndef _WIN32
    // A closed output pipe ("kelvane show 1 | head") ends the program quietly.
    std::signal(SIGPIPE, SIG_IGN);
    const bool interactive = ::isatty(STDIN_FILENO) != 0;
    const bool errorIsTerminal = ::isatty(STDERR_FILENO) != 0;
#else
    const bool interactive = false;
    const bool errorIsTerminal = false;
#endif
    try {
        if (startsDesktop(argc, argv))
            return runDesktop(argc, argv);
        Kelvane::CommandContext context { std::cout, std::cerr, std::cin, interactive, errorIsTerminal };
        const int status = Kelvane::runCommandLine(argc, argv, context);
        std::cout.flush();
        return status;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kelvane: %s\n", error.what());
    } catch (...) {
        std::fprintf(stderr, "kelvane: an unexpected error ended the program\n");
    }
    return 1;
}
