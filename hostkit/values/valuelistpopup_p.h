// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QRect>

class QPushButton;

namespace sito {

class SizeGrip;

/// A popup that holds an editor and asks to apply or drop what is set in it. A click elsewhere drops it.
/// Deletes itself when it is closed.
///
/// A grip in one corner, the one with the most room around it, makes it larger and smaller: by the mouse or,
/// as the last in the order of the Tab key, by the arrow keys.
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
    /// Moves the corner of the grip \a by so much, beginning with \a from, as far as the screen and the content
    /// let it. The size is that of the popups to come.
    void stretch(const QRect &from, const QPoint &by);

    /// The size that the user gave the popups of this program; not valid if none.
    static QSize wantedSize();
    static void setWantedSize(const QSize &size);

protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void retranslate();
    void placeGrip();

    SizeGrip *m_grip;
    QPushButton *m_apply;
    QPushButton *m_cancel;
    QWidget *m_content;
};

} // namespace sito
