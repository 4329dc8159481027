// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingseditor_p.h>

class QLineEdit;

namespace sito {

/// Edits a value by its text on one line. Colours and fonts have a button for their dialog, too.
class LineSettingsEditor : public SettingsEditor
{
    Q_OBJECT

public:
    LineSettingsEditor(const QVariant &value, QWidget *parent);
    bool isChanged() const override;
    std::optional<QVariant> value(QString *problem) const override;

protected:
    void display(const QVariant &value) override;
    void rebase(const QVariant &value) override;
    bool handleKey(QObject *watched, QKeyEvent *event) override;

private:
    void choose();
    void showSample();

    QLineEdit *m_line;
    QToolButton *m_button = nullptr;
    QString m_shown;
    /// Chosen in the dialog. The line shows its text, which may not tell all of it.
    QVariant m_chosen;
};

} // namespace sito
