// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingsdelegate.h>

#include <QList>
#include <QPersistentModelIndex>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTreeView>

class SettingsModel;

namespace sito {

class SettingsChanges;
class SettingsSearchModel;
class SettingsViewProxy;

/// The entries of a settings store as a tree, with a search, marks of pending changes, and editors. Groups
/// stay expanded or collapsed also while they are away.
class SettingsTree : public QTreeView
{
    Q_OBJECT

public:
    /// Marks \a changes, which must live as long.
    explicit SettingsTree(const SettingsChanges &changes, QWidget *parent = nullptr);

    /// Shows \a model, or nothing. What was current, expanded and in view is that again, by path.
    void setSource(SettingsModel *model);
    /// Expands all and begins at the first row.
    void showFromTheTop();

    /// Shows only what holds \a text.
    void search(const QString &text);
    QString searchText() const;
    /// Makes the entry \a path the current one; false when it is not shown.
    bool showEntry(const QString &path);
    /// Whether there is an entry \a path, shown or hidden by the search.
    bool hasEntry(const QString &path) const;

    bool isEditing() const;
    /// See SettingsDelegate::finishEditing().
    bool finishEditing(SettingsDelegate::Refused refused);
    bool isCurrentEditable() const;
    void editCurrent();

    /// The selected rows without those below others of them.
    QList<QPersistentModelIndex> selectedRows() const;
    /// The paths of all selected rows, in the order of the tree.
    QStringList selectedPaths() const;
    /// The entries of \a row and all below it, those that the search hides too.
    int countEntries(const QModelIndex &row) const;
    /// Removes \a rows; false when the model refused one.
    bool remove(const QList<QPersistentModelIndex> &rows);

    /// Shows the marks of \a rows of the model as they are now.
    void remark(const QModelIndexList &rows);
    /// Shows the headers in the language as it is now.
    void retranslate();

Q_SIGNALS:
    /// The selection, an editor or the rows at large have changed.
    void stateChanged();
    /// An editor has gone.
    void editingEnded();

private:
    struct Place;
    Place place() const;
    void restore(const Place &place);
    void noteExpanded(const QModelIndex &index);
    void expandAgain(const QModelIndex &parent, int first, int last, bool withChildren);
    QModelIndex sourceOf(const QString &path) const;
    /// Calls \a visit for \a parent's rows and all below them, each before those below it.
    template <typename Visit>
    void visitRows(const Visit &visit, const QModelIndex &parent = {}) const;

    SettingsViewProxy *m_proxy;
    SettingsSearchModel *m_search;
    QSet<QString> m_wereExpanded; ///< paths of the groups that were expanded when they went
    bool m_hasWidths = false;
};

} // namespace sito
