// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingschange.h>

#include <settings/settingsmodel.h>

#include <QList>

#include <functional>

namespace sito {

/// With `OnFieldChange`, passes changes to a function that writes them, and applies those that were written.
class SettingsDocumentModel : public SettingsModel
{
public:
    /// Writes changes; returns whether they were written.
    using Write = std::function<bool(const QList<SettingsChange> &)>;

    explicit SettingsDocumentModel(Write write);

    /// Whether changes wait.
    bool isManual() const { return editStrategy() == OnManualSubmit && !m_written; }

    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    bool removeRows(int row, int count, const QModelIndex &parent = QModelIndex()) override;

private:
    class Written;

    const Write m_write;
    bool m_written = false;
};

} // namespace sito
