// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>
#include <QStringList>

class QLabel;
class QToolButton;

namespace sito {

/// A line above the content that tells what went wrong, and stays until it is closed or replaced. It never
/// takes the focus away.
class MessageBar : public QFrame
{
    Q_OBJECT
public:
    explicit MessageBar(QWidget *parent = nullptr);

    /// Shows \a messages, one a line, in the place of those before; hides the bar when there are none.
    void showMessages(const QStringList &messages);
    /// Adds \a message to those that are shown, unless it is there already.
    void addMessage(const QString &message);
    const QStringList &messages() const { return m_messages; }

protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void retranslate();

    QStringList m_messages;
    QLabel *m_icon;
    QLabel *m_text;
    QToolButton *m_close;
};

} // namespace sito
