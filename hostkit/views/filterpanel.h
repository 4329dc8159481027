// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/filters/filterlist.h>
#include <hostkit/hostkit_export.h>

#include <filters/filter.h>

#include <QHash>
#include <QPointer>
#include <QStringList>
#include <QWidget>

class QLabel;
class QMenu;
class QScrollArea;
class QToolButton;
class QVBoxLayout;

namespace sito {

class FilterPanelItem;

/// Shows the filters of a table one below the other, also those over hidden columns. Each can be switched
/// on and off, read, edited and removed. Buttons above them clear all filters, and save and restore sets of
/// them.
///
/// **Threads.** For the GUI thread.
///
/// **Cost.** Some widgets for each filter.
class HOSTKIT_EXPORT FilterPanel : public QWidget
{
    Q_OBJECT
public:
    explicit FilterPanel(QWidget *parent = nullptr);
    ~FilterPanel() override;

    /// Shows \a filters, which are not owned; null for none.
    void setFilters(FilterList *filters);
    /// The list that is shown; null for none, and after it was deleted.
    FilterList *filters() const { return m_filters; }
    /// The names of the sets that can be restored.
    void setSetNames(const QStringList &names);

    /// Sets the focus to the first filter or, when there is none, to the buttons above.
    void focusFirst();

    /// The entries for sets: save, restore by name, delete by name. Belongs to the panel.
    QMenu *setsMenu() const { return m_setsMenu; }

Q_SIGNALS:
    /// Emitted when the user wants to edit \a filter; \a button is the one that was clicked.
    void editRequested(Filter *filter, QWidget *button);
    /// Emitted when the user wants to save the filters as a set; the host asks for its name.
    void saveRequested();
    /// Emitted when the user has chosen the set \a name to be restored.
    void restoreRequested(const QString &name);
    /// Emitted when the user has chosen the set \a name to be deleted.
    void deletionRequested(const QString &name);

protected:
    void changeEvent(QEvent *event) override;

private:
    friend class FilterPanelItem;
    void addItem(Filter *filter);
    void removeItem(Filter *filter);
    void updateState();
    void fillSetsMenu();
    void retranslate();

    QPointer<FilterList> m_filters;
    QHash<Filter *, FilterPanelItem *> m_items;
    QStringList m_setNames;
    QToolButton *m_clear;
    QToolButton *m_sets;
    QMenu *m_setsMenu;
    QScrollArea *m_scrollArea;
    QVBoxLayout *m_rows;
    QLabel *m_note;
};

} // namespace sito
