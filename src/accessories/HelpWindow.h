#pragma once

#include <QWidget>
#include <filesystem>
#include <vector>

class QKeyEvent;
class QLineEdit;
class QListWidget;
class QTextBrowser;

namespace Kelvane {

/// Kelvane's help: one HTML file in the program's directory, shown with its contents, a
/// search over its topics, and topics reached by name ("Sorting") or by context number (13).
class HelpWindow : public QWidget
{
    Q_OBJECT

public:
    explicit HelpWindow(QWidget* parent = nullptr);

    /// The one help window of the program, made on first use.
    static HelpWindow& instance();

    /// "kelvane_help.html", the help's name in the program's directory.
    static QString fileName();
    /// Writes the help the program carries to path; false when it cannot be written.
    static bool writeHelpFile(const std::filesystem::path& path);

    /// Reads the topics from the help file at path (a resource path too); false, with no
    /// topics left, when it cannot be read.
    bool open(const QString& path);

    void showContents();
    void showSearch();
    /// The topic whose title or anchor is name; the contents when there is none.
    void showTopic(const QString& name);
    /// The topic of a message box's Help button; the contents when the number has none.
    void showContext(int context);

    /// The anchor shown last, for the tests.
    QString currentTopic() const;

private:
    struct Topic
    {
        QString name; // the section's anchor
        int context = 0;
        QString title;
        QString html;
        QString words; // title and text, folded, for the search
    };

    void keyPressEvent(QKeyEvent* event) override;
    void readTopics(const QString& page);
    void display(const Topic* topic); // the contents when null
    void present();
    void filterTopics(const QString& query);
    void markCurrentRow();

    QString m_page;
    std::vector<Topic> m_topics;
    QString m_current;
    QTextBrowser* m_browser = nullptr;
    QLineEdit* m_searchText = nullptr;
    QListWidget* m_results = nullptr;
};

} // namespace Kelvane
