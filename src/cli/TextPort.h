#pragma once

#include "board/UserPort.h"

#include <iosfwd>

namespace Kelvane {

/// The command line's user port: every box is written to standard error; --yes answers OK
/// or Yes; a terminal is asked y/n; without a terminal a box gets the answer that changes
/// nothing. The retry box of a missing offline CD is never answered by --yes: its loop
/// would have no end.
class TextPort : public UserPort
{
public:
    TextPort(std::ostream& err, std::istream& in, bool interactive, bool assumeYes);

    Answer messageBox(const MessageBox& box) override;
    void progressText(ProgressLine line, const QString& text) override;
    void progressValue(qint64 value, qint64 maximum) override;
    /// Progress is shown on a terminal only.
    void setShowProgress(bool show) { m_showProgress = show; }
    /// Clears the progress line.
    void endProgress();

    /// The text of a box as the command line writes it.
    static QString render(const MessageBox& box);

private:
    bool ask(const QString& question);

    std::ostream& m_err;
    std::istream& m_in;
    bool m_interactive;
    bool m_assumeYes;
    bool m_showProgress = false;
    QString m_path;
    QString m_item;
};

} // namespace Kelvane
