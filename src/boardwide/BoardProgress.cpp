#include "boardwide/BoardProgress.h"

#include "boardwide/BoardReader.h"
#include "platform/CodePage.h"

#include <algorithm>
#include <cmath>
#include <ostream>

namespace Kelvane {

namespace {

// A terminal redrawn more often than this only flickers, and a run over many small areas
// would spend its time writing the line.
constexpr std::chrono::milliseconds RedrawEvery { 100 };

std::string grouped(std::size_t number)
{
    std::string digits = std::to_string(number);
    for (auto at = static_cast<std::ptrdiff_t>(digits.size()) - 3; at > 0; at -= 3)
        digits.insert(static_cast<std::size_t>(at), 1, ',');
    return digits;
}

} // namespace

TerminalProgress::TerminalProgress(std::ostream& err, bool isTerminal, const CodePage& page)
    : m_err(err)
    , m_on(isTerminal)
    , m_page(page)
    , m_start(std::chrono::steady_clock::now())
{
}

std::string TerminalProgress::line(int position,
                                   int count,
                                   const std::string& title,
                                   std::size_t files,
                                   std::chrono::duration<double> elapsed,
                                   int areasDone)
{
    std::string text = "area " + std::to_string(position) + " of " + std::to_string(count);
    if (!title.empty())
        text += "  " + title;
    text += "  " + grouped(files) + (files == 1 ? " file" : " files");
    if (areasDone > 0 && areasDone < count) {
        const double left = elapsed.count() / areasDone * (count - areasDone);
        const long seconds = std::lround(std::ceil(left));
        text += seconds < 120 ? "  about " + std::to_string(std::max(seconds, 1L)) + " s left"
                              : "  about " + std::to_string((seconds + 59) / 60) + " min left";
    }
    return text;
}

void TerminalProgress::areaBegun(int position, int count, const BoardArea& area)
{
    m_position = position;
    m_count = count;
    m_title = m_page.toUnicode(area.title()).toStdString();
    draw(position == 1);
}

void TerminalProgress::areaEnded(int position, int count, std::size_t files)
{
    m_position = position;
    m_count = count;
    m_done = position;
    m_files = files;
    draw(false);
}

void TerminalProgress::finished()
{
    if (m_on && m_shown)
        m_err << "\r\x1b[K" << std::flush;
    m_shown = false;
}

void TerminalProgress::draw(bool always)
{
    if (!m_on)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (!always && m_shown && now - m_lastDrawn < RedrawEvery)
        return;
    m_lastDrawn = now;
    m_shown = true;
    m_err << '\r' << line(m_position, m_count, m_title, m_files, now - m_start, m_done) << "\x1b[K" << std::flush;
}

} // namespace Kelvane
