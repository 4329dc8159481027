// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingseditor_p.h>

class QComboBox;

namespace sito {

/// Edits a yes or no by a choice of both.
class ChoiceSettingsEditor : public SettingsEditor
{
    Q_OBJECT

public:
    ChoiceSettingsEditor(const QVariant &value, QWidget *parent);
    bool isChanged() const override;
    std::optional<QVariant> value(QString *problem) const override;

protected:
    void display(const QVariant &value) override;
    void setTexts() override;

private:
    QComboBox *m_choice;
};

} // namespace sito
