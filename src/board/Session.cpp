#include "board/Session.h"

#include "board/Alerts.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/ProgramDirectory.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace Kelvane {

Session::Session(UserPort& port, std::filesystem::path programDirectory, const CodePage& page)
    : m_port(&port)
    , m_programDirectory(std::move(programDirectory))
    , m_page(&page)
    , m_reporter(port, unicodeFromPath(m_programDirectory), page)
{
}

void Session::setPort(UserPort& port)
{
    m_port = &port;
    m_reporter.setPort(port);
}

void Session::setCodePage(const CodePage& page)
{
    m_page = &page;
    m_reporter.setCodePage(page);
}

QString Session::programDirectoryText() const
{
    return unicodeFromPath(m_programDirectory);
}

std::filesystem::path Session::workDirectory() const
{
    return pathFromUnicode(joinProgramPath(programDirectoryText(), u"Work"_s));
}

bool Session::ShowAlert(std::string_view key)
{
    return Kelvane::ShowAlert(*m_port, key,
                              { unicodeFromPath(area.MainNodePath), programDirectoryText(),
                                QDir::toNativeSeparators(unicodeFromPath(area.FileListPath)) });
}

void Session::ReportError(std::string_view procedure, std::exception_ptr error)
{
    m_reporter.ReportError(procedure, error);
}

} // namespace Kelvane
