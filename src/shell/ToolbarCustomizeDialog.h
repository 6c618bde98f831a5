#pragma once

#include <QDialog>

class QListWidget;
class QListWidgetItem;
class QToolBar;

namespace Kelvane {

/// The editor toolbar's customize dialog: every button of the toolbar with a check mark
/// that shows or hides it, and Reset to show them all again.
class ToolbarCustomizeDialog : public QDialog
{
    Q_OBJECT

public:
    ToolbarCustomizeDialog(QToolBar* toolBar, QWidget* parent = nullptr);

private:
    void fill();
    void itemChanged(QListWidgetItem* item);
    void reset();

    QToolBar* m_toolBar;
    QListWidget* m_buttons;
};

} // namespace Kelvane
