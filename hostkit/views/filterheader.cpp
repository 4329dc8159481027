// SPDX-License-Identifier: MIT
#include <hostkit/views/filterheader.h>

#include <QAbstractItemView>
#include <QAccessible>
#include <QAccessibleWidget>
#include <QContextMenuEvent>
#include <QHash>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QStyle>
#include <QStyleOptionHeader>
#include <QToolTip>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// A funnel that fills \a rect.
QPainterPath funnel(const QRectF &rect)
{
    const auto at = [&rect](qreal x, qreal y) {
        return QPointF(rect.left() + x * rect.width(), rect.top() + y * rect.height());
    };
    QPainterPath path;
    path.moveTo(at(0.06, 0.10));
    path.lineTo(at(0.94, 0.10));
    path.lineTo(at(0.60, 0.52));
    path.lineTo(at(0.60, 0.94));
    path.lineTo(at(0.40, 0.80));
    path.lineTo(at(0.40, 0.52));
    path.closeSubpath();
    return path;
}

QPainterPath arrow(const QRectF &rect, Qt::SortOrder order)
{
    QPainterPath path;
    if (order == Qt::AscendingOrder) {
        path.moveTo(rect.left(), rect.bottom());
        path.lineTo(rect.right(), rect.bottom());
        path.lineTo(rect.center().x(), rect.top());
    } else {
        path.moveTo(rect.left(), rect.top());
        path.lineTo(rect.right(), rect.top());
        path.lineTo(rect.center().x(), rect.bottom());
    }
    path.closeSubpath();
    return path;
}

QColor withAlpha(QColor colour, qreal alpha)
{
    colour.setAlphaF(float(alpha));
    return colour;
}

} // namespace

/// Where the parts of a section lie.
struct FilterHeader::Layout
{
    QRect title;
    QRect arrow;
    QRect number;
    /// Null where there is no room.
    QRect button;
    QFont numberFont;
    QString numberText;
};

// ---------------------------------------------------------------------------------------------------------
// The interface for assistive tools.

namespace {

/// One section's button.
class FilterButtonInterface : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    FilterButtonInterface(FilterHeader *header, int section) : m_header(header), m_section(section) {}

    bool isValid() const override
    {
        return m_header && m_section < m_header->count() && !m_header->isSectionHidden(m_section);
    }
    QObject *object() const override { return nullptr; }
    QWindow *window() const override { return parent() ? parent()->window() : nullptr; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_header.data());
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QString text(QAccessible::Text kind) const override
    {
        return isValid() && kind == QAccessible::Name ? m_header->accessibleText(m_section) : QString();
    }
    void setText(QAccessible::Text, const QString &) override {}
    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect button = m_header->filterButtonRect(m_section);
        return {m_header->viewport()->mapToGlobal(button.topLeft()), button.size()};
    }
    QAccessible::Role role() const override { return QAccessible::ButtonMenu; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invalid = !isValid();
        state.hasPopup = true;
        state.checkable = true;
        state.checked = isValid() && m_header->isFiltered(m_section);
        return state;
    }
    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface *>(this)
                                                    : nullptr;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &name) override
    {
        if (name == pressAction() && isValid())
            m_header->requestFilter(m_section);
    }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    const QPointer<FilterHeader> m_header;
    const int m_section;
};

/// The header with its buttons.
class FilterHeaderInterface : public QAccessibleWidget
{
    Q_DISABLE_COPY_MOVE(FilterHeaderInterface)
public:
    explicit FilterHeaderInterface(FilterHeader *header) : QAccessibleWidget(header, QAccessible::ToolBar) {}
    ~FilterHeaderInterface() override
    {
        for (const QAccessible::Id id : std::as_const(m_buttons))
            QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override { return int(sections().size()); }
    QAccessibleInterface *child(int index) const override
    {
        const QList<int> all = sections();
        if (index < 0 || index >= all.size())
            return nullptr;
        const int section = all.at(index);
        QAccessible::Id &id = m_buttons[section];
        if (id == 0) // not the id of any interface
            id = QAccessible::registerAccessibleInterface(new FilterButtonInterface(header(), section));
        return QAccessible::accessibleInterface(id);
    }
    int indexOfChild(const QAccessibleInterface *button) const override
    {
        for (int i = 0; i < childCount(); ++i) {
            if (child(i) == button)
                return i;
        }
        return -1;
    }
    QAccessibleInterface *childAt(int x, int y) const override
    {
        for (int i = 0; i < childCount(); ++i) {
            QAccessibleInterface *button = child(i);
            if (button->rect().contains(x, y))
                return button;
        }
        return nullptr;
    }

private:
    FilterHeader *header() const { return static_cast<FilterHeader *>(widget()); }
    /// The shown sections in their order.
    QList<int> sections() const
    {
        QList<int> result;
        for (int visual = 0; visual < header()->count(); ++visual) {
            const int section = header()->logicalIndex(visual);
            if (!header()->isSectionHidden(section))
                result.append(section);
        }
        return result;
    }

    mutable QHash<int, QAccessible::Id> m_buttons;
};

QAccessibleInterface *makeInterface(const QString &className, QObject *object)
{
    auto *header = className == "sito::FilterHeader"_L1 ? qobject_cast<FilterHeader *>(object) : nullptr;
    return header ? new FilterHeaderInterface(header) : nullptr;
}

} // namespace

// ---------------------------------------------------------------------------------------------------------

FilterHeader::FilterHeader(QWidget *parent) : QHeaderView(Qt::Horizontal, parent)
{
    static const bool installed = [] {
        QAccessible::installFactory(makeInterface);
        return true;
    }();
    Q_UNUSED(installed)

    setSectionsClickable(true);
    setSectionsMovable(true);
    setHighlightSections(false);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    viewport()->setMouseTracking(true);
    m_anchor = new QWidget(viewport());
    m_anchor->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_anchor->setAttribute(Qt::WA_NoSystemBackground);
    m_anchor->setFocusPolicy(Qt::NoFocus);
    m_anchor->setGeometry(0, 0, 0, 0);

    connect(this, &QHeaderView::sectionClicked, this,
            [this](int section) { Q_EMIT sortRequested(section, m_modifiers); });
    if (auto *view = qobject_cast<QAbstractItemView *>(parent))
        view->installEventFilter(this);
}

FilterHeader::~FilterHeader() = default;

void FilterHeader::setFilteredSections(const QList<int> &sections)
{
    if (m_filtered == sections)
        return;
    m_filtered = sections;
    viewport()->update();
    QAccessibleEvent event(this, QAccessible::StateChanged);
    QAccessible::updateAccessibility(&event);
}

void FilterHeader::setSortMarks(const QList<SortMark> &marks)
{
    if (m_sortMarks == marks)
        return;
    m_sortMarks = marks;
    viewport()->update();
}

FilterHeader::Layout FilterHeader::layoutOf(int section, const QRect &rect) const
{
    Layout layout;
    const int margin = style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, this) + 1;
    const int gripMargin = style()->pixelMetric(QStyle::PM_HeaderGripMargin, nullptr, this);
    const QFontMetrics metrics = fontMetrics();
    QRect inner = rect.adjusted(margin + 1, 0, -std::max(margin, gripMargin / 2), 0);

    const int side = std::min(metrics.height() + 2, rect.height() - 2);
    if (inner.width() >= side) {
        layout.button = QRect(inner.right() - side + 1, rect.top() + (rect.height() - side) / 2, side, side);
        inner.setRight(layout.button.left() - margin);
    }
    const auto mark = std::find_if(m_sortMarks.begin(), m_sortMarks.end(),
                                   [section](const SortMark &one) { return one.section == section; });
    if (mark != m_sortMarks.end()) {
        if (m_sortMarks.size() > 1) {
            layout.numberFont = font();
            if (layout.numberFont.pointSizeF() > 0)
                layout.numberFont.setPointSizeF(layout.numberFont.pointSizeF() * 0.8);
            layout.numberText = QString::number(mark - m_sortMarks.begin() + 1);
            const int width = QFontMetrics(layout.numberFont).horizontalAdvance(layout.numberText);
            if (inner.width() >= width) {
                layout.number = QRect(inner.right() - width + 1, inner.top(), width, inner.height());
                inner.setRight(layout.number.left() - 2);
            }
        }
        const int width = metrics.height() / 2;
        if (inner.width() >= width) {
            const int height = std::max(width / 2 + 1, 3);
            layout.arrow =
                QRect(inner.right() - width + 1, rect.top() + (rect.height() - height) / 2, width, height);
            inner.setRight(layout.arrow.left() - margin);
        }
    }
    layout.title = inner;
    for (QRect *part : {&layout.title, &layout.arrow, &layout.number, &layout.button}) {
        if (part->isValid())
            *part = QStyle::visualRect(layoutDirection(), rect, *part);
    }
    return layout;
}

QRect FilterHeader::filterButtonRect(int section) const
{
    if (section < 0 || section >= count() || isSectionHidden(section))
        return {};
    return layoutOf(section,
                    QRect(sectionViewportPosition(section), 0, sectionSize(section), viewport()->height()))
        .button;
}

QWidget *FilterHeader::popupAnchor(int section)
{
    QRect rect = filterButtonRect(section);
    if (rect.isNull())
        rect = QRect(sectionViewportPosition(section), 0, 1, viewport()->height());
    const QRect visible = viewport()->rect();
    rect.moveLeft(std::clamp(rect.left(), 0, std::max(0, visible.right() - rect.width())));
    m_anchor->setGeometry(rect);
    return m_anchor;
}

QString FilterHeader::accessibleText(int section) const
{
    const QString title = model() ? model()->headerData(section, orientation()).toString() : QString();
    return isFiltered(section) ? tr("%1, фильтр включён").arg(title) : tr("%1, фильтр").arg(title);
}

void FilterHeader::requestFilter(int section)
{
    if (section < 0 || section >= count())
        return;
    const QRect button = popupAnchor(section)->geometry();
    Q_EMIT filterRequested(section, QRect(viewport()->mapToGlobal(button.topLeft()), button.size()));
}

int FilterHeader::buttonAt(const QPoint &position) const
{
    const int section = logicalIndexAt(position);
    return section >= 0 && filterButtonRect(section).contains(position) ? section : -1;
}

void FilterHeader::setHovered(int section)
{
    if (m_hovered == section)
        return;
    m_hovered = section;
    viewport()->update();
}

void FilterHeader::paintSection(QPainter *painter, const QRect &rect, int logicalIndex) const
{
    if (!rect.isValid())
        return;
    QStyleOptionHeaderV2 option;
    initStyleOption(&option);
    option.rect = rect;
    initStyleOptionForIndex(&option, logicalIndex);
    if (m_hovered == logicalIndex || m_pressed == logicalIndex) // the button is highlighted, not the section
        option.state &= ~(QStyle::State_Sunken | QStyle::State_MouseOver);

    painter->save();
    style()->drawControl(QStyle::CE_HeaderSection, &option, painter, this);
    painter->restore();

    const Layout layout = layoutOf(logicalIndex, rect);
    const QPalette::ColorGroup group = isEnabled() ? QPalette::Active : QPalette::Disabled;
    const QColor text = option.palette.color(group, QPalette::ButtonText);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);

    painter->setFont(font());
    painter->setPen(text);
    const QString title = fontMetrics().elidedText(
        option.text, textElideMode() == Qt::ElideNone ? Qt::ElideRight : textElideMode(),
        layout.title.width());
    painter->drawText(layout.title, int(option.textAlignment | Qt::AlignVCenter | Qt::TextSingleLine), title);

    if (layout.arrow.isValid()) {
        const auto mark =
            std::find_if(m_sortMarks.begin(), m_sortMarks.end(),
                         [logicalIndex](const SortMark &one) { return one.section == logicalIndex; });
        painter->fillPath(arrow(layout.arrow, mark->order), withAlpha(text, 0.8));
        if (layout.number.isValid()) {
            painter->setFont(layout.numberFont);
            painter->drawText(layout.number, Qt::AlignCenter, layout.numberText);
        }
    }

    if (layout.button.isValid()) {
        const bool isPressed = m_pressed == logicalIndex && m_hovered == logicalIndex;
        const bool isHovered = m_hovered == logicalIndex && m_pressed == -1;
        const QRectF button(layout.button);
        if (isPressed || isHovered) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(withAlpha(text, isPressed ? 0.25 : 0.13));
            painter->drawRoundedRect(button, button.width() / 6, button.width() / 6);
        }
        const qreal inset = button.width() * 0.15;
        const QPainterPath path = funnel(button.adjusted(inset, inset, -inset, -inset));
        if (isFiltered(logicalIndex)) {
            const QColor highlight = option.palette.color(group, QPalette::Highlight);
            painter->setPen(QPen(highlight, 1));
            painter->setBrush(highlight);
        } else {
            painter->setPen(QPen(withAlpha(text, isHovered || isPressed ? 0.9 : 0.5), 1));
            painter->setBrush(Qt::NoBrush);
        }
        painter->drawPath(path);
    }
    painter->restore();
}

QSize FilterHeader::sectionSizeFromContents(int logicalIndex) const
{
    QSize size = QHeaderView::sectionSizeFromContents(logicalIndex);
    const int margin = style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, this) + 1;
    const int side = fontMetrics().height() + 2;
    size.setHeight(std::max(size.height(), side + 4));
    // Room for the button, and for the sort mark even while there is none.
    return {size.width() + side + fontMetrics().height() / 2 + 4 * margin, size.height()};
}

void FilterHeader::mousePressEvent(QMouseEvent *event)
{
    const int section = event->button() == Qt::LeftButton ? buttonAt(event->position().toPoint()) : -1;
    if (section < 0) {
        QHeaderView::mousePressEvent(event);
        return;
    }
    m_pressed = section;
    m_hovered = section;
    viewport()->update();
}

void FilterHeader::mouseMoveEvent(QMouseEvent *event)
{
    setHovered(buttonAt(event->position().toPoint()));
    if (m_pressed < 0)
        QHeaderView::mouseMoveEvent(event);
}

void FilterHeader::mouseReleaseEvent(QMouseEvent *event)
{
    if (m_pressed < 0 || event->button() != Qt::LeftButton) {
        m_modifiers = event->modifiers();
        QHeaderView::mouseReleaseEvent(event);
        m_modifiers = Qt::NoModifier;
        return;
    }
    const int pressed = std::exchange(m_pressed, -1);
    viewport()->update();
    if (buttonAt(event->position().toPoint()) == pressed)
        requestFilter(pressed);
}

void FilterHeader::mouseDoubleClickEvent(QMouseEvent *event)
{
    // The second press of two quick ones.
    if (buttonAt(event->position().toPoint()) >= 0)
        mousePressEvent(event);
    else
        QHeaderView::mouseDoubleClickEvent(event);
}

void FilterHeader::contextMenuEvent(QContextMenuEvent *event)
{
    Q_EMIT menuRequested(logicalIndexAt(event->pos()), event->globalPos());
    event->accept();
}

bool FilterHeader::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::Leave)
        setHovered(-1);
    if (event->type() == QEvent::ToolTip) {
        const auto *help = static_cast<QHelpEvent *>(event);
        const int section = buttonAt(help->pos());
        if (section >= 0) {
            QToolTip::showText(help->globalPos(), accessibleText(section), viewport());
            return true;
        }
    }
    return QHeaderView::viewportEvent(event);
}

bool FilterHeader::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        auto *view = qobject_cast<QAbstractItemView *>(watched);
        const bool isAlt =
            key->modifiers().testFlag(Qt::AltModifier) && !key->modifiers().testFlag(Qt::ControlModifier);
        if (view && isAlt && view->currentIndex().isValid()) {
            const int section = view->currentIndex().column();
            if (key->key() == Qt::Key_Down) {
                view->scrollTo(view->currentIndex());
                requestFilter(section);
                return true;
            }
            if (key->key() == Qt::Key_Up) {
                Q_EMIT sortRequested(section, key->modifiers() & ~Qt::AltModifier);
                return true;
            }
        }
    }
    return QHeaderView::eventFilter(watched, event);
}

void FilterHeader::changeEvent(QEvent *event)
{
    QHeaderView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange ||
        event->type() == QEvent::LanguageChange)
        viewport()->update();
}

} // namespace sito
