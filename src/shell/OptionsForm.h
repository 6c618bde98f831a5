#pragma once

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;

namespace Kelvane {

class FrameHost;

/// The Options form: the board's main node directory, whether Kelvane starts maximized,
/// whether the new-file scan takes real file dates, the code page of the board's files, and a
/// reset of the frame's placement. Apply and OK validate the main node and write the values to
/// the settings store and the session; OK then accepts the dialog, while Cancel and Escape
/// reject it and leave everything as it was.
class OptionsForm : public QDialog
{
    Q_OBJECT

public:
    explicit OptionsForm(FrameHost& host);

    /// Validates the form's values and applies them; true when they were applied.
    bool UpDate_TBMainNode();

private:
    void formLoad();
    void enableApply();
    void cmdBrowseForFolder_Click();
    void cmdReset_Click();
    void cmdOK_Click();

    FrameHost& m_host;
    QLineEdit* m_txtMainNode = nullptr;
    QPushButton* m_cmdBrowseForFolder = nullptr;
    QCheckBox* m_check1 = nullptr;
    QCheckBox* m_check2 = nullptr;
    QComboBox* m_cboCodePage = nullptr;
    QPushButton* m_cmdOK = nullptr;
    QPushButton* m_cmdCancel = nullptr;
    QPushButton* m_cmdApply = nullptr;
    QPushButton* m_cmdReset = nullptr;
    bool m_resetPressed = false; // Reset was pressed since the last apply
};

} // namespace Kelvane
