// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourceconnection.h>

#include <QList>
#include <QString>
#include <QWidget>

class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;

namespace sito {

/// The tables of the source with the numbers of their rows, and a field that narrows them by name.
class TableList : public QWidget
{
    Q_OBJECT
public:
    explicit TableList(QWidget *parent = nullptr);

    void setTables(const QList<SourceConnection::TableInfo> &tables);
    /// Marks the table that is shown; none for an empty \a name. Emits nothing.
    void setCurrent(const QString &name);
    /// Marks the table \a name as one that could not be loaded, or, for no \a problem, no longer.
    void setProblem(const QString &name, const QString &problem);
    /// Shows that the table \a name has \a count rows, as the source has counted them.
    void setRowCount(const QString &name, qint64 count);
    QTreeWidget *tree() const { return m_tree; }

Q_SIGNALS:
    /// The user wants to see the table \a name.
    void chosen(const QString &name);

protected:
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void narrow();
    void retranslate();
    void fillItem(QTreeWidgetItem &item, const SourceConnection::TableInfo &table) const;

    QList<SourceConnection::TableInfo> m_tables;
    QString m_current;
    QLineEdit *m_search;
    QTreeWidget *m_tree;
};

} // namespace sito
