// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/writtensettingseditor_p.h>

class QPlainTextEdit;

namespace sito {

/// Edits a text of any number of lines. Writes it with escapes when a text field would lose a character.
class TextSettingsEditor : public WrittenSettingsEditor
{
    Q_OBJECT

public:
    TextSettingsEditor(const QVariant &value, QWidget *parent);

protected:
    void display(const QVariant &value) override;
    QString toText(const QVariant &value) const override;
    std::optional<QVariant> fromText(const QString &text, QString *problem) const override;
    QString text() const override;
    void setText(const QString &text) override;
    bool handleKey(QObject *watched, QKeyEvent *event) override;
    QSize neededSize(const QRect &cell) const override;
    void setTexts() override;

private:
    QPlainTextEdit *m_text;
    bool m_escaped = false;
};

} // namespace sito
