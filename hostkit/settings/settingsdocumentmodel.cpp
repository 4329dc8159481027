// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdocumentmodel_p.h>

#include <hostkit/settings/settingsdocumentfile_p.h>
#include <hostkit/settings/settingsrows_p.h>
#include <hostkit/settings/settingsvalue.h>

#include <QSettings>

#include <utility>

namespace sito {

namespace {

bool isNameless(const QModelIndex &index)
{
    return index.siblingAtColumn(0).data().toString().isEmpty();
}

} // namespace

/// Has changes written. While it lives, the model does not write to the store, which has them already.
class SettingsDocumentModel::Written
{
public:
    /// \a known are the values of the rows. Nothing waits, so they are what is known of the store.
    Written(SettingsDocumentModel &model, const QList<SettingsChange> &changes,
            const QHash<QString, QVariant> &known)
        : m_model(model)
    {
        const SettingsOutcome outcome = m_model.m_file.write(changes, known, false);
        Q_EMIT m_model.wrote(outcome);
        if (!outcome.written)
            return;
        m_model.m_written = true;
        m_model.setEditStrategy(OnManualSubmit);
    }
    ~Written()
    {
        if (std::exchange(m_model.m_written, false))
            m_model.setEditStrategy(OnFieldChange);
    }
    explicit operator bool() const { return m_model.m_written; }

private:
    Q_DISABLE_COPY_MOVE(Written)
    SettingsDocumentModel &m_model;
};

SettingsDocumentModel::SettingsDocumentModel(SettingsDocumentFile &file) : m_file(file) {}

bool SettingsDocumentModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (isManual() || !flags(index).testFlag(Qt::ItemIsEditable) || isNameless(index) ||
        (role != Qt::EditRole && role != Qt::DisplayRole))
        return SettingsModel::setData(index, value, role);
    SettingsChange change;
    change.path = settingsPath(index);
    change.newValue = value;
    const Written written(*this, {change}, {{change.path, settingsValue(index)}});
    return written && SettingsModel::setData(index, settings()->value(change.path), role);
}

bool SettingsDocumentModel::removeRows(int row, int count, const QModelIndex &parent)
{
    if (isManual() || readOnly() || row < 0 || count < 1 || row > rowCount(parent) - count)
        return SettingsModel::removeRows(row, count, parent);
    QList<SettingsChange> removals;
    for (int i = row; i < row + count; ++i) {
        const QModelIndex gone = index(i, 0, parent);
        SettingsChange change;
        change.path = settingsPath(gone);
        change.removal = true;
        change.group = hasChildren(gone);
        if (!isNameless(gone))
            removals += change;
    }
    const Written written(*this, removals, settingsRowValues(*this));
    return written && SettingsModel::removeRows(row, count, parent);
}

} // namespace sito
