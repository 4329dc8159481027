// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingsoutcome.h>

#include <settings/settingsmodel.h>

namespace sito {

class SettingsDocumentFile;

/// With `OnFieldChange`, writes changes to a file, and applies those that were written.
class SettingsDocumentModel : public SettingsModel
{
    Q_OBJECT

public:
    /// \a file outlives the model.
    explicit SettingsDocumentModel(SettingsDocumentFile &file);

    /// Whether changes wait.
    bool isManual() const { return editStrategy() == OnManualSubmit && !m_written; }

    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    bool removeRows(int row, int count, const QModelIndex &parent = QModelIndex()) override;

Q_SIGNALS:
    /// Emitted after a change was written or refused, and before it is applied.
    void wrote(const sito::SettingsOutcome &outcome);

private:
    class Written;

    SettingsDocumentFile &m_file;
    bool m_written = false;
};

} // namespace sito
