// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingseditor_p.h>

#include <hostkit/settings/settingstext_p.h>
#include <hostkit/settings/settingsvalue.h>

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QStyle>
#include <QToolButton>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// Whether \a widget is \a ancestor or below it, dialogs of it included.
bool belongsTo(const QWidget *widget, const QWidget *ancestor)
{
    for (; widget; widget = widget->parentWidget()) {
        if (widget == ancestor)
            return true;
    }
    return false;
}

} // namespace

SettingsEditor::SettingsEditor(const QVariant &value, QWidget *parent) : QFrame(parent), m_loaded(value)
{
    setObjectName(u"settingsEditor"_s);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    m_mark = new QLabel(this);
    m_mark->setVisible(false);
    m_mark->setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { focusMoved(now); });
    m_message = new QLabel(parent ? parent : this);
    m_message->setObjectName(u"settingsProblem"_s);
    m_message->setVisible(false);
    m_message->setWordWrap(true);
    m_message->setFrameStyle(QFrame::Box | QFrame::Plain);
    m_message->setAutoFillBackground(true);
    m_message->setBackgroundRole(QPalette::ToolTipBase);
    m_message->setForegroundRole(QPalette::ToolTipText);
    m_message->setMargin(2);
    if (parent)
        parent->installEventFilter(this);
}

SettingsEditor::~SettingsEditor()
{
    // QWidget's destructor moves the focus, when this is no editor any more.
    disconnect(qApp, nullptr, this, nullptr);
    delete m_message;
}

bool SettingsEditor::exists(const QVariant &value)
{
    return value.typeId() == QMetaType::Bool || value.typeId() == QMetaType::QStringList ||
           value.typeId() == QMetaType::QVariantList || SettingsText::isKnown(value.metaType());
}

void SettingsEditor::setField(QWidget *field)
{
    m_field = field;
    // A click beside the field must not give the focus to the view.
    setFocusPolicy(Qt::ClickFocus);
    setFocusProxy(field);
    field->installEventFilter(this);
}

void SettingsEditor::load(const QVariant &value)
{
    const bool first = std::exchange(m_empty, false);
    if (!first && isChanged()) {
        // What was typed stays; it is compared with what is there now.
        if (value.metaType() == m_loaded.metaType())
            rebase(value);
        return;
    }
    if (!first && isSameSettingsValue(value, m_loaded))
        return;
    if (!first && value.metaType() != m_loaded.metaType()) {
        // The editor of another type is needed.
        QMetaObject::invokeMethod(this, &SettingsEditor::cancel, Qt::QueuedConnection);
        return;
    }
    m_loaded = value;
    display(value);
}

void SettingsEditor::inputChanged()
{
    QString problem;
    setProblem(newValue(&problem) ? QString() : problem);
}

void SettingsEditor::setProblem(const QString &problem)
{
    m_problem = problem;
    const bool wrong = !problem.isEmpty();
    const int size = std::min(style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this), height());
    if (wrong)
        m_mark->setPixmap(style()
                              ->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this)
                              .pixmap(QSize(size, size), devicePixelRatioF()));
    m_mark->setVisible(wrong);
    if (wrong && m_field) {
        m_mark->adjustSize();
        const QRect place = QRect(m_field->mapTo(this, QPoint()), m_field->size());
        m_mark->move(place.right() - m_mark->width() - 2,
                     place.top() + (std::min(place.height(), m_mark->height() * 2) - m_mark->height()) / 2);
        m_mark->raise();
    }
    if (m_field)
        m_field->setAccessibleDescription(problem);
    m_message->setText(problem);
    placeMessage();
}

/// Below the editor, or above it where there is no room.
void SettingsEditor::placeMessage()
{
    m_message->setVisible(!m_problem.isEmpty() && isVisible() && parentWidget());
    if (!m_message->isVisible())
        return;
    const QRect all = parentWidget()->rect();
    const int margins =
        2 * (m_message->margin() + m_message->frameWidth()) + m_message->fontMetrics().averageCharWidth();
    const int width = std::min(all.width(), m_message->fontMetrics().horizontalAdvance(m_problem) + margins);
    QRect place(x(), geometry().bottom() + 1, width, m_message->heightForWidth(width));
    place.moveRight(std::min(place.right(), all.right()));
    if (place.bottom() > all.bottom() && y() - place.height() >= all.top())
        place.moveBottom(y() - 1);
    m_message->setGeometry(place);
    m_message->raise();
}

void SettingsEditor::focusField()
{
    if (m_field && !isAncestorOf(QApplication::focusWidget()))
        m_field->setFocus(Qt::OtherFocusReason);
}

std::optional<QVariant> SettingsEditor::newValue(QString *problem) const
{
    std::optional<QVariant> typed = value(problem);
    if (typed && m_refused && isSameSettingsValue(*typed, *m_refused)) {
        *problem = m_refusal;
        return std::nullopt;
    }
    return typed;
}

bool SettingsEditor::isRefused() const
{
    QString problem;
    return m_refused && !newValue(&problem) && problem == m_refusal;
}

bool SettingsEditor::finish(EndHint hint, bool again)
{
    if (m_ended)
        return true;
    if (again)
        m_refused.reset();
    QString problem;
    if (!newValue(&problem)) {
        setProblem(problem);
        focusField();
        return false;
    }
    m_ended = true;
    Q_EMIT ended(hint);
    return m_ended;
}

void SettingsEditor::cancel()
{
    if (!std::exchange(m_ended, true))
        Q_EMIT ended(QAbstractItemDelegate::RevertModelCache);
}

void SettingsEditor::refuse(const QString &problem)
{
    m_ended = false;
    QString none;
    m_refused = value(&none);
    m_refusal = problem;
    setProblem(problem);
    focusField();
}

void SettingsEditor::focusMoved(QWidget *now)
{
    // Without a focus, the user has turned to another program. Popups and dialogs are left only for a while.
    if (!now || m_ended || !isVisible() || belongsTo(now, this) || QApplication::activePopupWidget())
        return;
    if (QApplication::activeModalWidget() && !belongsTo(this, QApplication::activeModalWidget()))
        return;
    QString problem;
    if (newValue(&problem)) {
        finish(QAbstractItemDelegate::NoHint);
        return;
    }
    setProblem(problem);
    // Keys would move the view's current index, which drops what is typed. A list has keys of its own.
    if (parentWidget() && now == parentWidget()->parentWidget() &&
        !qobject_cast<SettingsEditor *>(now->parentWidget()))
        focusField();
}

bool SettingsEditor::handleKey(QObject *, QKeyEvent *event)
{
    if (isReturn(event)) {
        finish(QAbstractItemDelegate::SubmitModelCache, true);
        return true;
    }
    if (event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab) {
        finish(event->key() == Qt::Key_Tab ? QAbstractItemDelegate::EditNextItem
                                           : QAbstractItemDelegate::EditPreviousItem);
        return true;
    }
    return false;
}

bool SettingsEditor::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parentWidget()) {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            if (m_ended || m_problem.isEmpty() || !isVisible())
                break;
            focusField();
            return true;
        case QEvent::Resize:
            if (!m_cell.isNull())
                place(m_cell);
            break;
        default:
            break;
        }
        return false;
    }
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent *>(event)->matches(QKeySequence::Cancel)) {
        event->accept();
        return true;
    }
    if (event->type() == QEvent::KeyPress) {
        auto *key = static_cast<QKeyEvent *>(event);
        if (key->matches(QKeySequence::Cancel)) {
            cancel();
            return true;
        }
        return handleKey(watched, key);
    }
    return false;
}

void SettingsEditor::changeEvent(QEvent *event)
{
    QFrame::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        setTexts();
}

void SettingsEditor::keyPressEvent(QKeyEvent *event)
{
    event->accept();
}

void SettingsEditor::mousePressEvent(QMouseEvent *event)
{
    event->accept();
}

void SettingsEditor::mouseDoubleClickEvent(QMouseEvent *event)
{
    event->accept();
}

QSize SettingsEditor::neededSize(const QRect &) const
{
    return {minimumSizeHint().width(), sizeHint().height()};
}

void SettingsEditor::place(const QRect &cell)
{
    m_cell = cell;
    const QRect all = parentWidget() ? parentWidget()->rect() : cell;
    QRect place(cell.topLeft(), neededSize(cell).expandedTo(cell.size()));
    if (place.height() - cell.height() < cell.height() / 2)
        place.moveTop(cell.top() - (place.height() - cell.height()) / 2);
    place.setSize(place.size().boundedTo(all.size()));
    place.moveRight(std::min(place.right(), std::max(all.right(), cell.right())));
    place.moveBottom(std::min(place.bottom(), std::max(all.bottom(), cell.bottom())));
    if (place.top() < all.top() && cell.top() >= all.top())
        place.moveTop(all.top());
    if (place.left() < all.left() && cell.left() >= all.left())
        place.moveLeft(all.left());
    setGeometry(place);
    placeMessage();
}

bool SettingsEditor::isReturn(const QKeyEvent *event)
{
    return event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
}

QToolButton *SettingsEditor::makeButton(const QString &text, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setText(text);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

} // namespace sito
