// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingseditor_p.h>

namespace sito {

/// An editor whose field holds the value as a text. The text may leave out a part of the value; so the value
/// stays the loaded one until the text is changed.
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

    /// The text for \a value.
    virtual QString toText(const QVariant &value) const = 0;
    /// The value of a changed text, as value() returns it.
    virtual std::optional<QVariant> fromText(const QString &text, QString *problem) const = 0;
    /// The text in the field.
    virtual QString text() const = 0;
    /// Shows \a text in the field and selects it.
    virtual void setText(const QString &text) = 0;

private:
    QString m_shown;
};

} // namespace sito
