#pragma once

#include "board/RunTimeError.h"
#include "board/UserPort.h"

#include <QString>

#include <exception>
#include <functional>
#include <string_view>

namespace Kelvane {

class CodePage;

/// Every procedure traps its own run-time errors and hands them here with its own name:
/// the reporter shows "Kelvane Error Alert!" and appends six lines to "Kelvane.err" in the
/// program's directory. The log only grows; when it cannot be written the program goes on.
class ErrorReporter
{
public:
    ErrorReporter(UserPort& port, QString programDirectory, const CodePage& page);

    /// Reports error (by default the exception being handled) as raised in procedure.
    void ReportError(std::string_view procedure, std::exception_ptr error = std::current_exception());
    void ReportError(std::string_view procedure, const RunTimeError& error);

    /// Appends the log entry only, without the box: for a failure the operator is not told
    /// of at once but must be able to find afterwards.
    void logOnly(std::string_view procedure, const RunTimeError& error) noexcept { appendEntry(procedure, error); }

    QString logPath() const;

    void setPort(UserPort& port) { m_port = &port; }
    void setCodePage(const CodePage& page) { m_page = &page; }
    /// The date and time of a log entry; the locale's short formats unless a test says otherwise.
    void setClock(std::function<QString()> shortDate, std::function<QString()> shortTime);

    /// The text of the error box.
    static QString boxText(std::string_view procedure, const RunTimeError& error);

private:
    void appendEntry(std::string_view procedure, const RunTimeError& error) noexcept;

    UserPort* m_port;
    QString m_programDirectory;
    const CodePage* m_page;
    std::function<QString()> m_shortDate;
    std::function<QString()> m_shortTime;
};

/// Basic's Str: one blank before a non-negative number.
QString basicStr(long long number);

} // namespace Kelvane
