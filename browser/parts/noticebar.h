// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/views/icons.h>

#include <QFrame>

class QLabel;
class QPushButton;
class QToolButton;

namespace sito {

/// A message above the content of a window, shown until it is closed or replaced. It may have one button for
/// what the user can do about it.
class NoticeBar : public QFrame
{
    Q_OBJECT

public:
    explicit NoticeBar(QWidget *parent = nullptr);

    /// Shows \a text with \a icon; \a button is the text of the button. There is none when it is empty.
    void tell(Icons::Shape icon, const QString &text, const QString &button = QString());
    /// Whether the bar has a button to close it; false for a lasting state.
    void setClosable(bool closable);
    QString text() const;
    void clear();

Q_SIGNALS:
    /// Emitted when the button is clicked.
    void triggered();

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
    void showIcon();

    Icons::Shape m_shape = Icons::Shape::Information;
    QLabel *m_icon;
    QLabel *m_text;
    QPushButton *m_button;
    QToolButton *m_close;
};

} // namespace sito
