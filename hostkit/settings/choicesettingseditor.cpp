// SPDX-License-Identifier: MIT
#include <hostkit/settings/choicesettingseditor_p.h>

#include <hostkit/settings/settingsvalue.h>

#include <QBoxLayout>
#include <QComboBox>
#include <QEvent>

namespace sito {

using namespace Qt::StringLiterals;

ChoiceSettingsEditor::ChoiceSettingsEditor(const QVariant &value, QWidget *parent)
    : SettingsEditor(value, parent)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins({});
    m_choice = new QComboBox(this);
    m_choice->addItem(QString(), true);
    m_choice->addItem(QString(), false);
    ChoiceSettingsEditor::setTexts();
    layout->addWidget(m_choice);
    setField(m_choice);
}

void ChoiceSettingsEditor::setTexts()
{
    m_choice->setAccessibleName(tr("Значение"));
    for (int i = 0; i < m_choice->count(); ++i)
        m_choice->setItemText(i, settingsValueText(m_choice->itemData(i)));
}

void ChoiceSettingsEditor::display(const QVariant &value)
{
    m_choice->setCurrentIndex(value.toBool() ? 0 : 1);
}

bool ChoiceSettingsEditor::isChanged() const
{
    return m_choice->currentData().toBool() != m_loaded.toBool();
}

std::optional<QVariant> ChoiceSettingsEditor::value(QString *) const
{
    return QVariant(m_choice->currentData().toBool());
}

} // namespace sito
