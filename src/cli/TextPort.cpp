#include "cli/TextPort.h"

#include <QStringList>

#include <istream>
#include <ostream>
#include <string>

using namespace Qt::StringLiterals;

namespace Kelvane {

TextPort::TextPort(std::ostream& err, std::istream& in, bool interactive, bool assumeYes)
    : m_err(err)
    , m_in(in)
    , m_interactive(interactive)
    , m_assumeYes(assumeYes)
{
}

QString TextPort::render(const MessageBox& box)
{
    QString text = box.text;
    text.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    QStringList lines = text.split(u'\n');
    while (!lines.isEmpty() && lines.back().trimmed().isEmpty())
        lines.removeLast();
    QString rendered = box.title;
    for (const QString& line : std::as_const(lines))
        rendered += u"\n  "_s + line;
    return rendered;
}

bool TextPort::ask(const QString& question)
{
    m_err << question.toStdString() << " [y/N] " << std::flush;
    std::string reply;
    if (!std::getline(m_in, reply))
        return false;
    const QString answer = QString::fromStdString(reply).trimmed().toLower();
    return answer == u"y"_s || answer == u"yes"_s;
}

Answer TextPort::messageBox(const MessageBox& box)
{
    m_err << render(box).toStdString() << '\n' << std::flush;
    switch (box.buttons) {
    case Buttons::Ok:
    case Buttons::OkHelp:
        return Answer::Ok;
    case Buttons::RetryCancel:
        if (m_interactive)
            return ask(u"Retry?"_s) ? Answer::Retry : Answer::Cancel;
        return Answer::Cancel;
    case Buttons::OkCancel:
        if (m_assumeYes)
            return Answer::Ok;
        if (m_interactive)
            return ask(u"OK?"_s) ? Answer::Ok : Answer::Cancel;
        return Answer::Cancel;
    case Buttons::YesNo:
        if (m_assumeYes)
            return Answer::Yes;
        if (m_interactive)
            return ask(u"Yes?"_s) ? Answer::Yes : Answer::No;
        return Answer::No;
    }
    return safeAnswer(box.buttons);
}

void TextPort::progressText(ProgressLine line, const QString& text)
{
    if (line == ProgressLine::Path)
        m_path = text;
    else if (line == ProgressLine::Item)
        m_item = text;
}

// One line on the terminal, rewritten in place: the folder, the position and the item.
void TextPort::progressValue(qint64 value, qint64 maximum)
{
    if (!m_showProgress)
        return;
    m_err << '\r' << m_path.toStdString() << "  " << value << '/' << maximum << "  " << m_item.toStdString() << "\x1b[K"
          << std::flush;
}

void TextPort::endProgress()
{
    if (m_showProgress)
        m_err << "\r\x1b[K" << std::flush;
}

} // namespace Kelvane
