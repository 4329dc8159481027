// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/tablemodel.h>

#include <QString>
#include <QStringList>

#include <utility>

/// What a model announces, in order.
class ModelLog
{
public:
    explicit ModelLog(const sito::TableModel &model)
    {
        const auto note = [this](const QString &what) { m_entries.append(what); };
        const auto range = [note](const QString &what) {
            return [note, what](const QModelIndex &, int first, int last) {
                note(QStringLiteral("%1 %2-%3").arg(what).arg(first).arg(last));
            };
        };
        using Model = sito::TableModel;
        QObject::connect(&model, &Model::passStarted, [note] { note(QStringLiteral("started")); });
        QObject::connect(&model, &Model::passFinished, [note] { note(QStringLiteral("finished")); });
        QObject::connect(&model, &Model::passFailed,
                         [note](const QString &text) { note(QStringLiteral("failed: ") + text); });
        QObject::connect(&model, &Model::passCancelled, [note] { note(QStringLiteral("cancelled")); });
        QObject::connect(&model, &Model::aboutToShow, [note] { note(QStringLiteral("about")); });
        QObject::connect(&model, &Model::rowsInserted, range(QStringLiteral("inserted")));
        QObject::connect(&model, &Model::rowsRemoved, range(QStringLiteral("removed")));
        QObject::connect(&model, &Model::layoutChanged,
                         [note](const QList<QPersistentModelIndex> &parents, Model::LayoutChangeHint hint) {
                             note(QStringLiteral("layout %1 %2").arg(parents.size()).arg(int(hint)));
                         });
        QObject::connect(
            &model, &Model::dataChanged,
            [note](const QModelIndex &first, const QModelIndex &last, const QList<int> &roles) {
                note(QStringLiteral("changed %1:%2-%3:%4%5")
                         .arg(first.row())
                         .arg(first.column())
                         .arg(last.row())
                         .arg(last.column())
                         .arg(roles.isEmpty() ? QStringLiteral("") : QStringLiteral(" some roles")));
            });
        QObject::connect(&model, &Model::changesShown, [note] { note(QStringLiteral("shown")); });
        QObject::connect(&model, &Model::modelReset, [note] { note(QStringLiteral("reset")); });
    }

    const QStringList &entries() const { return m_entries; }
    QStringList take() { return std::exchange(m_entries, {}); }

private:
    QStringList m_entries;
};
