// SPDX-License-Identifier: MIT
#pragma once

#include <QListView>
#include <QString>

namespace sito {

/// The view of a ValueListModel. Does not search by itself.
class ValueListView final : public QListView
{
    Q_OBJECT
public:
    explicit ValueListView(QWidget *parent = nullptr);

    /// Emits typed() instead.
    void keyboardSearch(const QString &text) override;
    /// Gives the selected values the opposite check of the current one; that one alone when it is not
    /// selected.
    void toggleSelected();
    /// Makes the value in \a row the current one, and selects none.
    void setCurrentRow(int row);

Q_SIGNALS:
    /// Letters were typed in the list.
    void typed(const QString &text);
};

} // namespace sito
