#include "boardwide/AreaSet.h"

#include "platform/CodePage.h"

#include <QRegularExpression>

#include <algorithm>
#include <charconv>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

std::optional<int> wholeNumber(std::string_view text)
{
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

class Resolver
{
public:
    Resolver(const std::vector<std::optional<std::string>>& titles, const CodePage& page)
        : m_titles(titles)
        , m_page(page)
    {
    }

    // The whole word first: a number, then an exact title; then a comma list or a range.
    void word(const std::string& text)
    {
        if (whole(text))
            return;
        if (text.find(',') != std::string::npos) {
            std::size_t start = 0;
            for (;;) {
                const std::size_t comma = text.find(',', start);
                const std::string part = text.substr(start, comma == std::string::npos ? comma : comma - start);
                if (part.empty())
                    throw AreaSetError(u"\"%1\" names an empty area between its commas"_s.arg(qText(text)));
                if (!whole(part) && !range(part))
                    throw unknown(part);
                if (comma == std::string::npos)
                    break;
                start = comma + 1;
            }
            return;
        }
        if (!range(text))
            throw unknown(text);
    }

    void glob(const std::string& pattern)
    {
        const QString glob = QString::fromStdString(pattern);
        bool found = false;
        for (std::size_t i = 0; i < m_titles.size(); ++i) {
            if (m_titles[i] && matchesGlob(m_page.toUnicode(*m_titles[i]), glob)) {
                m_numbers.push_back(static_cast<int>(i) + 1);
                found = true;
            }
        }
        if (!found)
            throw AreaSetError(u"no area title on this board matches \"%1\""_s.arg(glob));
    }

    void all()
    {
        for (std::size_t i = 0; i < m_titles.size(); ++i)
            m_numbers.push_back(static_cast<int>(i) + 1);
    }

    std::vector<int> numbers()
    {
        std::sort(m_numbers.begin(), m_numbers.end());
        m_numbers.erase(std::unique(m_numbers.begin(), m_numbers.end()), m_numbers.end());
        return m_numbers;
    }

    int count() const { return static_cast<int>(m_titles.size()); }

    // The one area a single word names, when it names exactly one.
    bool namesOne(const std::string& text) const
    {
        if (wholeNumber(text))
            return true;
        return titleNumber(text) != 0;
    }

private:
    static QString qText(const std::string& text) { return QString::fromStdString(text); }

    AreaSetError unknown(const std::string& text) const
    {
        return AreaSetError(u"there is no area \"%1\" on this board (it has %2)"_s.arg(qText(text)).arg(count()));
    }

    int titleNumber(const std::string& text) const
    {
        const std::string title = m_page.fromUnicode(qText(text));
        for (std::size_t i = 0; i < m_titles.size(); ++i) {
            if (m_titles[i] && *m_titles[i] == title)
                return static_cast<int>(i) + 1;
        }
        return 0;
    }

    bool whole(const std::string& text)
    {
        if (const std::optional<int> number = wholeNumber(text)) {
            if (*number < 1 || *number > count())
                throw unknown(text);
            m_numbers.push_back(*number);
            return true;
        }
        if (const int number = titleNumber(text)) {
            m_numbers.push_back(number);
            return true;
        }
        return false;
    }

    bool range(const std::string& text)
    {
        const std::size_t dash = text.find('-');
        if (dash == std::string::npos)
            return false;
        const std::optional<int> first = wholeNumber(std::string_view(text).substr(0, dash));
        const std::optional<int> last = wholeNumber(std::string_view(text).substr(dash + 1));
        if (!first || !last)
            return false;
        if (*first > *last)
            throw AreaSetError(u"the range \"%1\" runs backwards; write the lower number first"_s.arg(qText(text)));
        if (*first < 1 || *last > count()) {
            throw AreaSetError(
                u"the range \"%1\" goes beyond the board's areas (it has %2)"_s.arg(qText(text)).arg(count()));
        }
        for (int number = *first; number <= *last; ++number)
            m_numbers.push_back(number);
        return true;
    }

    const std::vector<std::optional<std::string>>& m_titles;
    const CodePage& m_page;
    std::vector<int> m_numbers;
};

} // namespace

AreaSetError::AreaSetError(const QString& message)
    : std::runtime_error(message.toStdString())
{
}

bool matchesGlob(const QString& text, const QString& glob)
{
    QString pattern = u"\\A"_s;
    for (const QChar ch : glob) {
        if (ch == u'*')
            pattern += u".*"_s;
        else if (ch == u'?')
            pattern += u'.';
        else
            pattern += QRegularExpression::escape(QString(ch));
    }
    pattern += u"\\z"_s;
    const QRegularExpression expression(pattern, QRegularExpression::CaseInsensitiveOption
                                                     | QRegularExpression::DotMatchesEverythingOption);
    return expression.match(text).hasMatch();
}

AreaSet resolveAreaSet(const AreaSelection& selection,
                       const std::vector<std::optional<std::string>>& titles,
                       const CodePage& page)
{
    Resolver resolver(titles, page);
    if (selection.all)
        resolver.all();
    for (const std::string& word : selection.words)
        resolver.word(word);
    for (const std::string& glob : selection.match)
        resolver.glob(glob);
    AreaSet set;
    set.single = !selection.all && selection.match.empty() && selection.words.size() == 1
        && resolver.namesOne(selection.words.front());
    set.numbers = resolver.numbers();
    return set;
}

} // namespace Kelvane
