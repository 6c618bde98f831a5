#pragma once

#include "editor/AreaCheck.h"

#include <QWidget>

#include <functional>
#include <optional>

class QCheckBox;
class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;

namespace Kelvane {

class EntryTable;
class FrameHost;

/// frmCheckArea: where the open area's Files List and its directories disagree, with the
/// repairs to choose and archive testing. Apply changes the editor's entries through the
/// same operations as the editor's commands; nothing is saved until Save Work.
class CheckAreaForm : public QWidget
{
    Q_OBJECT

public:
    /// changed is called after Apply changed the entries, for the editor to bring its
    /// controls up to date.
    CheckAreaForm(FrameHost& host, EntryTable& table, std::function<void()> changed, QWidget* parent = nullptr);

    /// Checks the area again and shows the report.
    void refreshReport();
    void cmdApply_Click();

private:
    void buildControls();
    void updateControls();
    QString reportText() const;
    void testArchives();

    FrameHost& m_host;
    EntryTable& m_table;
    std::function<void()> m_changed;
    AreaCheckReport m_report;
    std::optional<AreaArchiveReport> m_archives;
    bool m_readOnly = false;

    QPlainTextEdit* m_text = nullptr;
    QCheckBox* m_eraseMissing = nullptr;
    QCheckBox* m_zeroAsMissing = nullptr;
    QCheckBox* m_adopt = nullptr;
    QCheckBox* m_refresh = nullptr;
    QCheckBox* m_testArchives = nullptr;
    QPushButton* m_apply = nullptr;
    QPushButton* m_close = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_status = nullptr;
};

} // namespace Kelvane
