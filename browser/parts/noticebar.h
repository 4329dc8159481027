// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/views/icons.h>

#include <QFrame>

class QLabel;
class QPushButton;
class QToolButton;

namespace sito {

/// A message above the content of a window, which stays until it is closed or replaced, with at most one button
/// for what can be done about it.
class NoticeBar : public QFrame
{
    Q_OBJECT

public:
    explicit NoticeBar(QWidget *parent = nullptr);

    /// Shows \a text with the icon \a icon; \a button is the text of the button, none when empty.
    void tell(Icons::Shape icon, const QString &text, const QString &button = QString());
    /// Without a button to close it: for what lasts.
    void setClosable(bool closable);
    QString text() const;
    void clear();

Q_SIGNALS:
    /// The button was clicked.
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
