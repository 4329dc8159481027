// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingseditor_p.h>

namespace sito {

/// An editor whose field holds the value written as a text. The value is the loaded one as long as the text
/// is what was written, which may not tell all of the value.
class WrittenSettingsEditor : public SettingsEditor
{
    Q_OBJECT

public:
    bool isChanged() const override;
    std::optional<QVariant> value(QString *problem) const override;

protected:
    using SettingsEditor::SettingsEditor;

    void display(const QVariant &value) override;
    void rebase(const QVariant &value) override;

    /// Writes \a value as a text.
    virtual QString toText(const QVariant &value) const = 0;
    /// Reads a text that differs from what was written; see value().
    virtual std::optional<QVariant> fromText(const QString &text, QString *problem) const = 0;
    /// The text in the field.
    virtual QString text() const = 0;
    /// Puts \a text into the field and selects it.
    virtual void setText(const QString &text) = 0;

private:
    QString m_shown;
};

} // namespace sito
