// SPDX-License-Identifier: MIT
#include <hostkit/settings/writtensettingseditor_p.h>

namespace sito {

bool WrittenSettingsEditor::isChanged() const
{
    return text() != m_shown;
}

std::optional<QVariant> WrittenSettingsEditor::value(QString *problem) const
{
    return isChanged() ? fromText(text(), problem) : m_loaded;
}

void WrittenSettingsEditor::display(const QVariant &value)
{
    m_shown = toText(value);
    setText(m_shown);
}

void WrittenSettingsEditor::rebase(const QVariant &value)
{
    SettingsEditor::rebase(value);
    m_shown = toText(value);
}

} // namespace sito
