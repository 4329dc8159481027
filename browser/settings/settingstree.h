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
/// that come back are expanded or collapsed as before.
class SettingsTree : public QTreeView
{
    Q_OBJECT

public:
    /// Marks \a changes, which must outlive the tree.
    explicit SettingsTree(const SettingsChanges &changes, QWidget *parent = nullptr);

    /// Shows \a model, or nothing when it is null. Restores the current row, the expanded groups and the
    /// scroll position, by path.
    void setSource(SettingsModel *model);
    /// Expands all groups and makes the first row current.
    void showFromTheTop();

    /// Shows only rows that contain \a text, see SettingsSearchModel::search().
    void search(const QString &text);
    QString searchText() const;
    /// Makes the entry \a path the current one; false when it is not shown.
    bool showEntry(const QString &path);
    /// Whether the model has an entry \a path, also one that the search hides.
    bool hasEntry(const QString &path) const;

    bool isEditing() const;
    /// See SettingsDelegate::finishEditing().
    bool finishEditing(SettingsDelegate::Refused refused);
    bool isCurrentEditable() const;
    void editCurrent();

    /// The selected rows, without those below another selected row.
    QList<QPersistentModelIndex> selectedRows() const;
    /// The paths of all selected rows, in the order of the tree.
    QStringList selectedPaths() const;
    /// The paths of \a row and of all rows below it, including those that the search hides.
    int countEntries(const QModelIndex &row) const;
    /// Removes \a rows; false when the model refused one.
    bool remove(const QList<QPersistentModelIndex> &rows);

    /// Updates the marks of \a rows, which are rows of the SettingsModel.
    void remark(const QModelIndexList &rows);
    /// Sets all texts again, in the current language.
    void retranslate();

Q_SIGNALS:
    /// Emitted when the selection or the rows have changed, and when an editor was opened or closed.
    void stateChanged();
    /// Emitted when an editor was deleted.
    void editingEnded();

private:
    struct Place;
    Place place() const;
    void restore(const Place &place);
    void noteExpanded(const QModelIndex &index);
    void expandAgain(const QModelIndex &parent, int first, int last, bool withChildren);
    QModelIndex sourceOf(const QString &path) const;
    /// Calls \a visit for all rows below \a parent, top down.
    template <typename Visit>
    void visitRows(const Visit &visit, const QModelIndex &parent = {}) const;

    SettingsViewProxy *m_proxy;
    SettingsSearchModel *m_search;
    QSet<QString> m_wereExpanded; ///< the paths of groups that were removed while expanded
    bool m_hasWidths = false;
};

} // namespace sito
