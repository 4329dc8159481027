// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingschange.h>

#include <settings/settingsmodel.h>

#include <QList>

#include <functional>

namespace sito {

/// With `OnFieldChange`, has changes written by somebody else, and makes them when they are written.
class SettingsDocumentModel : public SettingsModel
{
public:
    /// Writes changes; false when they were not.
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
