// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingseditor_p.h>

class QListView;
class QStandardItemModel;
class QToolButton;

namespace sito {

/// Edits a list whose items are edited in their own types, added, removed and moved.
class ListSettingsEditor : public SettingsEditor
{
    Q_OBJECT

public:
    ListSettingsEditor(const QVariant &value, QWidget *parent);
    /// Sets the delegate that shows and edits the items. Does not own it.
    void setItemDelegate(QAbstractItemDelegate *delegate);
    bool isChanged() const override;
    std::optional<QVariant> value(QString *problem) const override;

protected:
    void display(const QVariant &value) override;
    bool handleKey(QObject *watched, QKeyEvent *event) override;
    QSize neededSize(const QRect &cell) const override;
    void setTexts() override;

private:
    QVariant items() const;
    QList<SettingsEditor *> openEditors() const;
    bool endItems();
    void add();
    void removeCurrent();
    void moveCurrent(int by);

    QListView *m_list;
    QList<QToolButton *> m_buttons; ///< from top to bottom
    QStandardItemModel *m_items;
};

} // namespace sito
