// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingseditor_p.h>

class QPlainTextEdit;

namespace sito {

/// Edits a text of any number of lines. Writes it with escapes when a text field would lose a character.
class TextSettingsEditor : public SettingsEditor
{
    Q_OBJECT

public:
    TextSettingsEditor(const QVariant &value, QWidget *parent);
    bool isChanged() const override;
    std::optional<QVariant> value(QString *problem) const override;

protected:
    void display(const QVariant &value) override;
    void rebase(const QVariant &value) override;
    bool handleKey(QObject *watched, QKeyEvent *event) override;
    QSize neededSize(const QRect &cell) const override;

private:
    QString text() const;

    QPlainTextEdit *m_text;
    QString m_shown;
    bool m_escaped = false;
};

} // namespace sito
