// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>
#include <QStringList>

class QLabel;
class QToolButton;

namespace sito {

/// A bar above the content with error messages, shown until it is closed or replaced. It never takes the
/// focus.
class MessageBar : public QFrame
{
    Q_OBJECT
public:
    explicit MessageBar(QWidget *parent = nullptr);

    /// Replaces the messages by \a messages, one a line; hides the bar when there are none.
    void showMessages(const QStringList &messages);
    /// Adds \a message unless it is already shown.
    void addMessage(const QString &message);
    /// Takes \a message away if it is shown.
    void removeMessage(const QString &message);
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
