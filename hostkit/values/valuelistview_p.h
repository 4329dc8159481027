// SPDX-License-Identifier: MIT
#pragma once

#include <QListView>

#include <QString>
#include <functional>

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

    /// Calls \a change, which changes the rows of the model. The value under the pointer, or else the first
    /// one that is seen, stays at its place as far as the list can be scrolled.
    void keepPlace(const std::function<void()> &change);

Q_SIGNALS:
    /// Letters were typed in the list.
    void typed(const QString &text);
};

} // namespace sito
