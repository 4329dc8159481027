// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/writtensettingseditor_p.h>

class QLineEdit;

namespace sito {

/// Edits a value by its text on one line. Colours and fonts have a button for their dialog, too.
class LineSettingsEditor : public WrittenSettingsEditor
{
    Q_OBJECT

public:
    LineSettingsEditor(const QVariant &value, QWidget *parent);

protected:
    QString toText(const QVariant &value) const override;
    std::optional<QVariant> fromText(const QString &text, QString *problem) const override;
    QString text() const override;
    void setText(const QString &text) override;
    bool handleKey(QObject *watched, QKeyEvent *event) override;
    void setTexts() override;

private:
    void choose();
    void showSample();

    QLineEdit *m_line;
    QToolButton *m_button = nullptr;
    /// Chosen in the dialog. The line shows its text, which may leave out a part of it.
    QVariant m_chosen;
};

} // namespace sito
