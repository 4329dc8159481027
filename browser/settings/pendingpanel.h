// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QAction;
class QLabel;
class QPushButton;
class QTreeView;

namespace sito {

class SettingsChanges;

/// The list of the changes that wait. Each can be dismissed alone. An edit whose entry another program
/// removed is shown as such: a write creates the entry again, dismissing the edit leaves it removed.
class PendingPanel : public QWidget
{
    Q_OBJECT

public:
    /// Shows \a changes, which must outlive the panel.
    explicit PendingPanel(SettingsChanges &changes, QWidget *parent = nullptr);

    /// Whether changes can be dismissed.
    void setWritable(bool writable);
    /// Makes the change at \a row current; the last one if there are fewer.
    void setCurrentRow(int row);

Q_SIGNALS:
    /// Emitted when the user wants to see the entry \a path.
    void activated(const QString &path);
    /// Emitted when the user wants to dismiss the change at \a row.
    void dismissed(int row);

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
    void updateState();

    SettingsChanges &m_changes;
    bool m_writable = false;
    QLabel *m_title;
    QTreeView *m_list;
    QAction *m_dismiss;
    QPushButton *m_button;
};

} // namespace sito
