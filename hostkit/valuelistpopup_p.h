// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QRect>

class QFrame;
class QPushButton;

/// A popup that holds an editor and asks to apply or drop what is set in it. A click elsewhere drops it.
/// Deletes itself when it is closed.
class ValueListPopup final : public QDialog
{
    Q_OBJECT
public:
    /// Takes \a content over and gives it the focus.
    ValueListPopup(const QString &title, QWidget *content, QWidget *parent);

    /// Whether what is set can be applied; it cannot at first.
    void setApplicable(bool applicable);
    /// Shows it below \a place, a rectangle on the screen, or above it where there is more room.
    void popup(const QRect &place);

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    QFrame *m_frame;
    QPushButton *m_apply;
    QPushButton *m_cancel;
    QWidget *m_content;
};
