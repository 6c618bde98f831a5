#include "accessories/HelpWindow.h"

#include "platform/FileNames.h"

#include <QFile>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSplitter>
#include <QTextBrowser>
#include <QTextDocumentFragment>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::StringLiterals;

// The help is compiled into the library; a static library's resources are registered by
// hand, from outside any namespace.
static void registerHelpResource()
{
    Q_INIT_RESOURCE(accessories);
}

namespace Kelvane {

namespace {

const QString ContentsName = u"Contents"_s;
const QString BuiltInHelp = u":/help/kelvane_help.html"_s;

QString plainText(const QString& html)
{
    return QTextDocumentFragment::fromHtml(html).toPlainText().simplified();
}

} // namespace

HelpWindow::HelpWindow(QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(u"frmHelp"_s);
    setWindowTitle(u"Kelvane Help"_s);
    // Left open, the help must not keep the program running once the main window closes.
    setAttribute(Qt::WA_QuitOnClose, false);

    m_searchText = new QLineEdit(this);
    m_searchText->setObjectName(u"txtSearch"_s);
    m_searchText->setPlaceholderText(u"Words to look for"_s);
    m_searchText->setClearButtonEnabled(true);
    m_results = new QListWidget(this);
    m_results->setObjectName(u"lstTopics"_s);
    m_results->setUniformItemSizes(true);
    m_browser = new QTextBrowser(this);
    m_browser->setObjectName(u"txtTopic"_s);
    m_browser->setOpenLinks(false);

    auto* left = new QWidget(this);
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    auto* searchLabel = new QLabel(u"&Search:"_s, left);
    searchLabel->setBuddy(m_searchText);
    auto* topicsLabel = new QLabel(u"&Topics:"_s, left);
    topicsLabel->setBuddy(m_results);
    leftLayout->addWidget(searchLabel);
    leftLayout->addWidget(m_searchText);
    leftLayout->addWidget(topicsLabel);
    leftLayout->addWidget(m_results);
    auto* splitter = new QSplitter(this);
    splitter->addWidget(left);
    splitter->addWidget(m_browser);
    splitter->setStretchFactor(1, 3);
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(splitter);
    resize(760, 480);

    connect(m_searchText, &QLineEdit::textChanged, this, &HelpWindow::filterTopics);
    connect(m_searchText, &QLineEdit::returnPressed, this, [this] {
        for (int row = 0; row < m_results->count(); ++row) {
            if (!m_results->item(row)->isHidden()) {
                display(&m_topics[static_cast<size_t>(row)]);
                return;
            }
        }
    });
    connect(m_results, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0 && row < static_cast<int>(m_topics.size()))
            display(&m_topics[static_cast<size_t>(row)]);
    });
    connect(m_browser, &QTextBrowser::anchorClicked, this, [this](const QUrl& url) {
        if (url.hasFragment())
            showTopic(url.fragment());
    });
    display(nullptr);
}

QString HelpWindow::fileName()
{
    return u"kelvane_help.html"_s;
}

bool HelpWindow::writeHelpFile(const std::filesystem::path& path)
{
    registerHelpResource();
    QFile builtIn(BuiltInHelp);
    if (!builtIn.open(QIODevice::ReadOnly))
        return false;
    // Written under a temporary name and renamed into place, so a failure never leaves half
    // a help file.
    QSaveFile file(unicodeFromPath(path));
    return file.open(QIODevice::WriteOnly) && file.write(builtIn.readAll()) == builtIn.size() && file.commit();
}

bool HelpWindow::open(const QString& path)
{
    registerHelpResource();
    QFile file(path);
    const bool readable = file.open(QIODevice::ReadOnly);
    readTopics(readable ? QString::fromUtf8(file.readAll()) : QString());
    return readable;
}

void HelpWindow::readTopics(const QString& page)
{
    // The same help again keeps the search and the topic on show.
    if (page == m_page && !m_topics.empty())
        return;
    m_page = page;
    m_topics.clear();
    // A topic is <section id="Name" data-context="N"> ... </section>, titled by its <h2>.
    static const QRegularExpression section(
        uR"re(<section\s+id="([^"]+)"\s+data-context="(\d+)"\s*>(.*?)</section>)re"_s,
        QRegularExpression::DotMatchesEverythingOption | QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression heading(uR"re(<h2[^>]*>(.*?)</h2>)re"_s,
                                            QRegularExpression::DotMatchesEverythingOption
                                                | QRegularExpression::CaseInsensitiveOption);
    for (const QRegularExpressionMatch& match : section.globalMatch(page)) {
        Topic topic;
        topic.name = match.captured(1);
        topic.context = match.captured(2).toInt();
        topic.html = match.captured(3).trimmed();
        const QRegularExpressionMatch title = heading.match(topic.html);
        topic.title = title.hasMatch() ? plainText(title.captured(1)) : topic.name;
        topic.words = (topic.title + u' ' + plainText(topic.html)).toCaseFolded();
        m_topics.push_back(std::move(topic));
    }
    const QSignalBlocker blocker(m_results);
    m_results->clear();
    for (const Topic& topic : m_topics)
        m_results->addItem(topic.title);
    m_searchText->clear();
    display(nullptr);
}

HelpWindow& HelpWindow::instance()
{
    static QPointer<HelpWindow> window;
    if (!window)
        window = new HelpWindow;
    return *window;
}

void HelpWindow::showContents()
{
    m_searchText->clear();
    display(nullptr);
    present();
}

void HelpWindow::showSearch()
{
    present();
    m_searchText->setFocus(Qt::OtherFocusReason);
    m_searchText->selectAll();
}

void HelpWindow::showTopic(const QString& name)
{
    const QString wanted = name.trimmed();
    for (const Topic& topic : m_topics) {
        if (topic.name.compare(wanted, Qt::CaseInsensitive) == 0
            || topic.title.compare(wanted, Qt::CaseInsensitive) == 0) {
            display(&topic);
            present();
            return;
        }
    }
    showContents();
}

void HelpWindow::showContext(int context)
{
    for (const Topic& topic : m_topics) {
        if (topic.context == context) {
            display(&topic);
            present();
            return;
        }
    }
    showContents();
}

QString HelpWindow::currentTopic() const
{
    return m_current;
}

// Escape closes the help, as it closes the program's boxes.
void HelpWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void HelpWindow::display(const Topic* topic)
{
    if (topic) {
        m_current = topic->name;
        m_browser->setHtml(topic->html);
    } else {
        QString html = u"<h2>Contents</h2><ul>"_s;
        for (const Topic& each : m_topics)
            html += u"<li><a href=\"#%1\">%2</a></li>"_s.arg(each.name, each.title.toHtmlEscaped());
        html += u"</ul>"_s;
        m_current = ContentsName;
        m_browser->setHtml(html);
    }
    markCurrentRow();
}

void HelpWindow::present()
{
    show();
    raise();
    activateWindow();
}

// Keeps the topics whose title or text hold every word typed; when the topic on show is
// no longer among them, the first that is takes its place.
void HelpWindow::filterTopics(const QString& query)
{
    const QStringList words = query.toCaseFolded().split(u' ', Qt::SkipEmptyParts);
    const Topic* first = nullptr;
    bool currentFound = false;
    for (size_t row = 0; row < m_topics.size(); ++row) {
        const Topic& topic = m_topics[row];
        const bool found = std::all_of(words.begin(), words.end(),
                                       [&topic](const QString& word) { return topic.words.contains(word); });
        m_results->item(static_cast<int>(row))->setHidden(!found);
        if (found && !first)
            first = &topic;
        currentFound = currentFound || (found && topic.name == m_current);
    }
    if (!words.isEmpty() && first && !currentFound)
        display(first);
    else
        markCurrentRow();
}

void HelpWindow::markCurrentRow()
{
    const QSignalBlocker blocker(m_results);
    m_results->setCurrentRow(-1);
    for (size_t row = 0; row < m_topics.size(); ++row) {
        if (m_topics[row].name == m_current && !m_results->item(static_cast<int>(row))->isHidden())
            m_results->setCurrentRow(static_cast<int>(row));
    }
}

} // namespace Kelvane
