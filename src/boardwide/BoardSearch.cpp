#include "boardwide/BoardSearch.h"

#include "board/BasicText.h"
#include "boardwide/BoardProgress.h"
#include "platform/CodePage.h"

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

// Whether text matches glob, both folded: "*" any run of bytes, "?" exactly one. On a
// mismatch the last "*" takes one more byte, so the test stays linear for patterns with
// one star and never worse than quadratic.
bool globMatches(std::string_view text, std::string_view glob)
{
    std::size_t t = 0;
    std::size_t g = 0;
    std::size_t starAt = std::string_view::npos;
    std::size_t resumeAt = 0;
    while (t < text.size()) {
        if (g < glob.size() && glob[g] == '*') {
            starAt = g++;
            resumeAt = t;
        } else if (g < glob.size() && (glob[g] == '?' || glob[g] == text[t])) {
            ++g;
            ++t;
        } else if (starAt != std::string_view::npos) {
            g = starAt + 1;
            t = ++resumeAt;
        } else {
            return false;
        }
    }
    while (g < glob.size() && glob[g] == '*')
        ++g;
    return g == glob.size();
}

} // namespace

SearchPatternError::SearchPatternError(const QString& message)
    : std::runtime_error(message.toStdString())
{
}

SearchPattern::SearchPattern(const QString& pattern, SearchIn in, const CodePage& page)
    : m_text(pattern)
    , m_in(in)
    , m_page(&page)
{
    if (pattern.isEmpty())
        throw SearchPatternError(u"the pattern is empty"_s);
    if (!page.canEncode(pattern))
        throw SearchPatternError(u"the pattern \"%1\" holds characters the board's code page (%2) cannot hold"_s.arg(
            pattern, page.name()));
    m_needle = page.upper(page.fromUnicode(pattern));
    m_glob = m_needle;
    if (m_glob.find_first_of("*?") == std::string::npos)
        m_glob = '*' + m_glob + '*';
}

void SearchPattern::fold(std::string_view bytes) const
{
    m_folded.resize(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i)
        m_folded[i] = m_page->upper(bytes[i]);
}

bool SearchPattern::matchesName(std::string_view name) const
{
    fold(name);
    return globMatches(m_folded, m_glob);
}

bool SearchPattern::matchesDescription(std::string_view description) const
{
    if (description.size() < m_needle.size())
        return false;
    fold(description);
    return m_folded.find(m_needle) != std::string::npos;
}

bool SearchPattern::matches(const Entry& entry) const
{
    return (m_in != SearchIn::Descriptions && matchesName(entry.FileName))
        || (m_in != SearchIn::Names && matchesDescription(entry.Description));
}

std::string_view firstDescriptionLine(std::string_view description)
{
    return description.substr(0, description.find_first_of("\r\n"));
}

namespace {

// The reader's visitor: each area's entries tested as it is read, the hits handed on.
class Searcher : public AreaVisitor
{
public:
    Searcher(const SearchPattern& pattern, SearchSink& sink, SearchSummary& summary)
        : m_pattern(pattern)
        , m_sink(sink)
        , m_summary(summary)
    {
    }

    void areaRead(AreaContents& contents) override
    {
        std::vector<SearchHit> hits;
        const EntryList& entries = contents.entries;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (i > 0 && i % BoardSearch::CancelStride == 0 && m_sink.cancelRequested()) {
                m_summary.cancelled = true;
                break;
            }
            ++m_summary.entries;
            const Entry& entry = entries[i];
            if (!m_pattern.matches(entry))
                continue;
            hits.push_back({ contents.area.number, i, entry.FileName, static_cast<long long>(Val(entry.Size)),
                             entry.Date, std::string(firstDescriptionLine(entry.Description)) });
        }
        m_summary.hits += hits.size();
        // The hits found before a cancel within the area are still shown.
        m_sink.areaSearched(contents.area, contents.position, contents.count, hits);
    }

    void areaSkipped(const AreaProblem& problem) override { m_sink.areaSkipped(problem); }

    bool stopRequested() override { return m_summary.cancelled || m_sink.cancelRequested(); }

private:
    const SearchPattern& m_pattern;
    SearchSink& m_sink;
    SearchSummary& m_summary;
};

} // namespace

BoardSearch::BoardSearch(const Board& board, const SearchPattern& pattern)
    : m_board(board)
    , m_pattern(pattern)
{
}

SearchSummary BoardSearch::run(const std::vector<int>& numbers, SearchSink& sink)
{
    SearchSummary summary;
    Searcher searcher(m_pattern, sink, summary);
    BoardReader reader(m_board, { .entries = true, .files = false });
    reader.setProgress(m_progress);
    const ReadSummary read = reader.read(numbers, searcher);
    summary.areasSearched = read.areasRead;
    summary.skipped = read.skipped;
    summary.cancelled = summary.cancelled || read.stopped;
    return summary;
}

} // namespace Kelvane
