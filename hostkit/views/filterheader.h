// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QHeaderView>
#include <QList>
#include <QRect>

namespace sito {

/// A horizontal header with a filter button in every section, for tables whose columns are filtered.
///
/// A section shows, from the left: its title, elided where it does not fit; the sort mark, with the number of
/// the sort key when there are several; the filter button, a funnel, which is filled in the highlight colour
/// while a filter over the column is active. Everything is drawn from paths in the current colours of the
/// palette, so it is sharp at any scale and follows the palette.
///
/// A click on the button requests the filter, a click elsewhere requests sorting. Dragging moves the section,
/// and dragging a border resizes it. While the focus is in the view that is the header's parent, Alt+Down
/// requests the filter of the current column, and Alt+Up sorting by it.
///
/// The header itself neither filters nor sorts: its owner does, and calls setFilteredSections() and
/// setSortMarks() with what to show. Do not switch on the view's own sorting.
///
/// For assistive tools the header has one child per shown section, in the order shown: a button with a menu,
/// named by the title, which says whether the filter is on and can be pressed.
///
/// **Threads.** For the GUI thread.
///
/// **Cost.** Grows with the sections that are shown; rows cost nothing.
class HOSTKIT_EXPORT FilterHeader : public QHeaderView
{
    Q_OBJECT
public:
    /// A section that is sorted by, by logical index.
    struct SortMark
    {
        int section = -1;
        Qt::SortOrder order = Qt::AscendingOrder;

        bool operator==(const SortMark &) const = default;
    };

    /// A header of movable, clickable sections. \a parent should be the view.
    explicit FilterHeader(QWidget *parent = nullptr);
    ~FilterHeader() override;

    /// The sections, by logical index, whose button is marked.
    void setFilteredSections(const QList<int> &sections);
    /// Whether the button of \a section is marked.
    bool isFiltered(int section) const { return m_filtered.contains(section); }

    /// Shows \a marks as the sort keys, the most significant one first.
    void setSortMarks(const QList<SortMark> &marks);
    /// As given to setSortMarks().
    const QList<SortMark> &sortMarks() const { return m_sortMarks; }

    /// Where the button of \a section lies in the viewport; null for a hidden section, and for one that is
    /// too narrow for a button.
    QRect filterButtonRect(int section) const;
    /// An invisible widget to place a popup by, moved onto the button of \a section or to the nearest visible
    /// place of the header. There is just one; it lives as long as the header.
    QWidget *popupAnchor(int section);

    /// The text of \a section for assistive tools: its title, and whether its filter is on.
    QString accessibleText(int section) const;
    /// Does what a click on the button of \a section does.
    void requestFilter(int section);

Q_SIGNALS:
    /// Emitted when the user asks for the filter over the column of \a section; \a buttonRect is in global
    /// coordinates.
    void filterRequested(int section, const QRect &buttonRect);
    /// Emitted when the user asks for sorting by \a section; with Shift or Control, in addition to the
    /// existing sort keys.
    void sortRequested(int section, Qt::KeyboardModifiers modifiers);
    /// Emitted when the user asks for a menu; \a section is -1 beyond the last one.
    void menuRequested(int section, const QPoint &globalPosition);

protected:
    void paintSection(QPainter *painter, const QRect &rect, int logicalIndex) const override;
    QSize sectionSizeFromContents(int logicalIndex) const override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    struct Layout;
    Layout layoutOf(int section, const QRect &rect) const;
    int buttonAt(const QPoint &position) const;
    void setHovered(int section);

    QList<int> m_filtered;
    QList<SortMark> m_sortMarks;
    QWidget *m_anchor = nullptr;
    Qt::KeyboardModifiers m_modifiers;
    int m_hovered = -1;
    int m_pressed = -1;
};

} // namespace sito
