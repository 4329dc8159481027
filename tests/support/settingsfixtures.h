// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractItemModel>
#include <QFile>
#include <QObject>
#include <QSettings>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>

#include <functional>
#include <memory>

/// Settings files in a temporary directory.
class SettingsFiles
{
public:
    /// A file name that no QSettings of this process has used.
    QString newFile() { return m_dir.filePath(QStringLiteral("store%1.ini").arg(++m_count)); }

    /// A store over a new file with \a content, so that QSettings parses the text.
    std::unique_ptr<QSettings> parsed(const QByteArray &content)
    {
        const QString name = newFile();
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", qPrintable(name));
        file.close();
        return std::make_unique<QSettings>(name, QSettings::IniFormat);
    }

    /// An empty store over a new file.
    std::unique_ptr<QSettings> empty()
    {
        return std::make_unique<QSettings>(newFile(), QSettings::IniFormat);
    }

    /// A store over a new file that holds \a values, by path.
    std::unique_ptr<QSettings> filled(const QVariantMap &values)
    {
        auto store = empty();
        for (auto it = values.begin(); it != values.end(); ++it)
            store->setValue(it.key(), it.value());
        return store;
    }

    /// A store with what another process would read from the file of \a store.
    std::unique_ptr<QSettings> reparsed(QSettings &store)
    {
        store.sync();
        QFile file(store.fileName());
        return parsed(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
    }

private:
    QTemporaryDir m_dir;
    int m_count = 0;
};

/// Every entry of \a store with its value, below its current group: "key=value".
inline QStringList entries(const QSettings &store)
{
    QStringList result;
    for (const QString &key : store.allKeys()) {
        const QVariant value = store.value(key);
        result +=
            key + u'=' +
            (value.typeId() == QMetaType::QStringList ? value.toStringList().join(u'|') : value.toString());
    }
    return result;
}

/// The tree below \a parent on one line: groups as "name{…}", keys as "name=value", both followed by "{…}"
/// when a key holds rows.
inline QString treeText(const QAbstractItemModel &model, const QModelIndex &parent = {})
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        QString text = index.data().toString();
        if (!model.hasChildren(index))
            text += u'=' + model.index(row, 2, parent).data().toString();
        if (model.hasChildren(index) || model.rowCount(index) > 0)
            text += u'{' + treeText(model, index) + u'}';
        rows += text;
    }
    return rows.join(u' ');
}

/// The first row with these names from the top, in \a column.
inline QModelIndex find(const QAbstractItemModel &model, const QStringList &names, int column = 0)
{
    QModelIndex index;
    for (const QString &name : names) {
        QModelIndex next;
        for (int row = 0; row < model.rowCount(index) && !next.isValid(); ++row) {
            if (model.index(row, 0, index).data().toString() == name)
                next = model.index(row, 0, index);
        }
        if (!next.isValid())
            return {};
        index = next;
    }
    return index.siblingAtColumn(column);
}

/// "none" for the invalid index, "root" for a valid one that is no row of its model, else the names from the
/// top.
inline QString indexText(QModelIndex index)
{
    if (!index.isValid())
        return QStringLiteral("none");
    QStringList names;
    for (; index.isValid(); index = index.parent()) {
        if (index.model()->index(index.row(), index.column(), index.parent()) != index) {
            names.prepend(QStringLiteral("root"));
            break;
        }
        names.prepend(index.siblingAtColumn(0).data().toString());
    }
    return names.join(u'/');
}

/// Writes down every notification of an item model, in order: "inserted root 0-0", "changed a/k 0-2 []", …
class ModelRecorder : public QObject
{
public:
    explicit ModelRecorder(QAbstractItemModel *model)
    {
        const auto range = [this](const QString &what) {
            return [this, what](const QModelIndex &parent, int first, int last) {
                note(what + u' ' + indexText(parent) + u' ' + QString::number(first) + QStringLiteral("..") +
                     QString::number(last));
            };
        };
        const auto plain = [this](const QString &what) { return [this, what] { note(what); }; };
        using Model = QAbstractItemModel;
        connect(model, &Model::rowsAboutToBeInserted, this, range(QStringLiteral("inserting")));
        connect(model, &Model::rowsInserted, this, range(QStringLiteral("inserted")));
        connect(model, &Model::rowsAboutToBeRemoved, this, range(QStringLiteral("removing")));
        connect(model, &Model::rowsRemoved, this, range(QStringLiteral("removed")));
        connect(model, &Model::rowsMoved, this, plain(QStringLiteral("moved")));
        connect(model, &Model::columnsInserted, this, plain(QStringLiteral("columns inserted")));
        connect(model, &Model::columnsRemoved, this, plain(QStringLiteral("columns removed")));
        connect(model, &Model::columnsMoved, this, plain(QStringLiteral("columns moved")));
        connect(model, &Model::layoutAboutToBeChanged, this, plain(QStringLiteral("laying out")));
        connect(model, &Model::layoutChanged, this, plain(QStringLiteral("laid out")));
        connect(model, &Model::headerDataChanged, this, plain(QStringLiteral("header changed")));
        connect(model, &Model::modelAboutToBeReset, this, plain(QStringLiteral("resetting")));
        connect(model, &Model::modelReset, this, plain(QStringLiteral("reset")));
        connect(model, &Model::dataChanged, this,
                [this](const QModelIndex &left, const QModelIndex &right, const QList<int> &roles) {
                    QStringList numbers;
                    for (int role : roles)
                        numbers += QString::number(role);
                    QString place = indexText(left.siblingAtColumn(0));
                    if (left.row() != right.row() || left.parent() != right.parent())
                        place += QStringLiteral(" to ") + indexText(right.siblingAtColumn(0));
                    note(QStringLiteral("changed ") + place + u' ' + QString::number(left.column()) + u'-' +
                         QString::number(right.column()) + QStringLiteral(" [") + numbers.join(u',') + u']');
                });
    }

    /// The notifications since the last call.
    QStringList take() { return std::exchange(m_notes, {}); }

    /// Called after each notification; its result is appended to the note.
    std::function<QString()> snapshot;

private:
    void note(const QString &text) { m_notes += snapshot ? text + QStringLiteral(": ") + snapshot() : text; }

    QStringList m_notes;
};
