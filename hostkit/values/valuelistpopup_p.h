// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QRect>

class QPushButton;

namespace sito {

class SizeGrip;

/// A popup that holds an editor, with a button to apply and one to cancel. A click elsewhere cancels. Deletes
/// itself when it is closed.
///
/// A grip in one corner, the one with the most room around it, makes it larger and smaller: by the mouse or,
/// as the last in the order of the Tab key, by the arrow keys.
class ValueListPopup final : public QDialog
{
    Q_OBJECT
public:
    /// Takes ownership of \a content; popup() gives it the focus.
    ValueListPopup(const QString &title, QWidget *content, QWidget *parent);

    /// Enables or disables the button to apply, which is disabled at first.
    void setApplicable(bool applicable);
    /// Shows it below \a place, a rectangle on the screen, or above it where there is more room.
    void popup(const QRect &place);
    /// Moves the corner with the grip by \a by from where it is when the geometry is \a from, as far as the
    /// screen and the content allow. Later popups get this size.
    void stretch(const QRect &from, const QPoint &by);

    /// The size that the user gave the popups of this program; invalid if none was given.
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
