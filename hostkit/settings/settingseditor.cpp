// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingseditor_p.h>

#include <hostkit/settings/settingsdelegate.h>
#include <hostkit/settings/settingsescapes_p.h>
#include <hostkit/settings/settingstext_p.h>
#include <hostkit/settings/settingsvalue.h>

#include <QApplication>
#include <QBoxLayout>
#include <QColorDialog>
#include <QComboBox>
#include <QFontDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QStyle>
#include <QTextBlock>
#include <QTextDocument>
#include <QToolButton>

#include <algorithm>
#include <limits>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

bool isReturn(const QKeyEvent *event)
{
    return event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
}

/// Whether \a widget is \a ancestor or below it, dialogs of it included.
bool belongsTo(const QWidget *widget, const QWidget *ancestor)
{
    for (; widget; widget = widget->parentWidget()) {
        if (widget == ancestor)
            return true;
    }
    return false;
}

bool needsEscapes(const QString &text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            ++i;
        else if (SettingsText::isLostInTextFields(text.at(i)))
            return true;
    }
    return false;
}

/// \a font with what differs between \a shown and \a chosen: a dialog shows nothing of the rest, and not even
/// a size in pixels as it is.
QFont changedFont(QFont font, const QFont &shown, const QFont &chosen)
{
    if (chosen.families() != shown.families())
        font.setFamilies(chosen.families());
    if (chosen.weight() != shown.weight() || chosen.style() != shown.style() ||
        chosen.styleName() != shown.styleName()) {
        font.setWeight(chosen.weight());
        font.setStyle(chosen.style());
        font.setStyleName(chosen.styleName());
    }
    if (chosen.pointSizeF() != shown.pointSizeF() && chosen.pointSizeF() > 0)
        font.setPointSizeF(chosen.pointSizeF());
    if (chosen.underline() != shown.underline())
        font.setUnderline(chosen.underline());
    if (chosen.strikeOut() != shown.strikeOut())
        font.setStrikeOut(chosen.strikeOut());
    return font;
}

/// In the items of a list. Takes every value that it is given, where a QStandardItem leaves out what is equal
/// by `==`.
class ListItem : public QStandardItem
{
public:
    explicit ListItem(const QVariant &value) : m_value(value) {}

    QVariant data(int role) const override
    {
        return role == Qt::EditRole || role == Qt::DisplayRole ? m_value : QStandardItem::data(role);
    }
    void setData(const QVariant &value, int role) override
    {
        if (role != Qt::EditRole && role != Qt::DisplayRole) {
            QStandardItem::setData(value, role);
            return;
        }
        m_value = value;
        emitDataChanged();
    }

private:
    QVariant m_value;
};

QToolButton *makeButton(const QString &text, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setText(text);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

} // namespace

// SettingsEditor

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
    delete m_message;
}

bool SettingsEditor::exists(const QVariant &value)
{
    return value.typeId() == QMetaType::Bool || value.typeId() == QMetaType::QStringList ||
           value.typeId() == QMetaType::QVariantList || SettingsText::isKnown(value.metaType());
}

SettingsEditor *SettingsEditor::create(const QVariant &value, QWidget *parent)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return new ChoiceSettingsEditor(value, parent);
    case QMetaType::QString:
        return new TextSettingsEditor(value, parent);
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return new ListSettingsEditor(value, parent);
    default:
        return exists(value) ? new LineSettingsEditor(value, parent) : nullptr;
    }
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
    // Without a focus another program was turned to. Popups and dialogs are not left for good.
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

// LineSettingsEditor

LineSettingsEditor::LineSettingsEditor(const QVariant &value, QWidget *parent) : SettingsEditor(value, parent)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    m_line = new QLineEdit(this);
    // By itself it cuts what is longer than 32767 characters.
    m_line->setMaxLength(std::numeric_limits<int>::max());
    m_line->setAccessibleName(tr("Значение"));
    layout->addWidget(m_line);
    setField(m_line);
    connect(m_line, &QLineEdit::textChanged, this, [this] {
        showSample();
        inputChanged();
    });
    const bool color = value.typeId() == QMetaType::QColor;
    if (color || value.typeId() == QMetaType::QFont) {
        m_button = makeButton(u"…"_s, this);
        m_button->setToolTip(color ? tr("Выбрать цвет (Alt+Вниз)") : tr("Выбрать шрифт (Alt+Вниз)"));
        m_button->setAccessibleName(m_button->toolTip());
        m_button->installEventFilter(this);
        layout->addWidget(m_button);
        connect(m_button, &QToolButton::clicked, this, &LineSettingsEditor::choose);
    }
}

void LineSettingsEditor::display(const QVariant &value)
{
    m_shown = SettingsText::fromValue(value);
    m_line->setText(m_shown);
    m_line->selectAll();
    showSample();
}

void LineSettingsEditor::rebase(const QVariant &value)
{
    SettingsEditor::rebase(value);
    m_shown = SettingsText::fromValue(value);
}

bool LineSettingsEditor::isChanged() const
{
    return m_line->text() != m_shown;
}

std::optional<QVariant> LineSettingsEditor::value(QString *problem) const
{
    if (!isChanged())
        return m_loaded;
    const QString text = m_line->text();
    // Not every font can be read from its text.
    if (m_chosen.isValid() && text == SettingsText::fromValue(m_chosen))
        return m_chosen;
    return SettingsText::toValue(m_loaded, text, problem);
}

bool LineSettingsEditor::handleKey(QObject *watched, QKeyEvent *event)
{
    if (m_button && event->key() == Qt::Key_Down && event->modifiers() == Qt::AltModifier) {
        choose();
        return true;
    }
    if (watched == m_button && (isReturn(event) || event->key() == Qt::Key_Space)) {
        choose();
        return true;
    }
    return SettingsEditor::handleKey(watched, event);
}

void LineSettingsEditor::choose()
{
    QString problem;
    const QVariant now = value(&problem).value_or(m_loaded);
    const QPointer<LineSettingsEditor> self(this);
    QVariant chosen;
    // What a dialog shows may be less than the value: accepted as it came up, it changes nothing.
    if (now.typeId() == QMetaType::QColor) {
        QColorDialog dialog(this);
        dialog.setOptions(QColorDialog::ShowAlphaChannel | QColorDialog::DontUseNativeDialog);
        dialog.setCurrentColor(now.value<QColor>());
        const QColor shown = dialog.currentColor();
        if (dialog.exec() == QDialog::Accepted && dialog.currentColor() != shown)
            chosen = dialog.currentColor();
    } else {
        QFontDialog dialog(this);
        dialog.setOptions(QFontDialog::DontUseNativeDialog);
        dialog.setCurrentFont(now.value<QFont>());
        const QFont shown = dialog.currentFont();
        if (dialog.exec() == QDialog::Accepted)
            chosen = changedFont(now.value<QFont>(), shown, dialog.currentFont());
    }
    if (!self)
        return;
    m_line->setFocus(Qt::OtherFocusReason);
    if (chosen.isValid() && !isSameSettingsValue(chosen, now)) {
        m_chosen = chosen;
        m_line->setText(SettingsText::fromValue(chosen));
    }
}

void LineSettingsEditor::showSample()
{
    if (!m_button)
        return;
    QString problem;
    const std::optional<QVariant> now = value(&problem);
    if (!now || now->typeId() != QMetaType::QColor)
        return;
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    QPixmap sample(QSize(size, size) * devicePixelRatioF());
    sample.setDevicePixelRatio(devicePixelRatioF());
    sample.fill(Qt::transparent);
    QPainter painter(&sample);
    painter.setPen(palette().color(QPalette::Text));
    painter.setBrush(now->value<QColor>());
    painter.drawRect(QRectF(0.5, 0.5, size - 1, size - 1));
    painter.end();
    m_button->setIcon(QIcon(sample));
    m_button->setToolButtonStyle(Qt::ToolButtonIconOnly);
}

// ChoiceSettingsEditor

ChoiceSettingsEditor::ChoiceSettingsEditor(const QVariant &value, QWidget *parent)
    : SettingsEditor(value, parent)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins({});
    m_choice = new QComboBox(this);
    m_choice->addItem(QString(), true);
    m_choice->addItem(QString(), false);
    setTexts();
    layout->addWidget(m_choice);
    setField(m_choice);
}

void ChoiceSettingsEditor::setTexts()
{
    m_choice->setAccessibleName(tr("Значение"));
    for (int i = 0; i < m_choice->count(); ++i)
        m_choice->setItemText(i, settingsValueText(m_choice->itemData(i)));
}

void ChoiceSettingsEditor::changeEvent(QEvent *event)
{
    SettingsEditor::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        setTexts();
}

void ChoiceSettingsEditor::display(const QVariant &value)
{
    m_choice->setCurrentIndex(value.toBool() ? 0 : 1);
}

bool ChoiceSettingsEditor::isChanged() const
{
    return m_choice->currentData().toBool() != m_loaded.toBool();
}

std::optional<QVariant> ChoiceSettingsEditor::value(QString *) const
{
    return QVariant(m_choice->currentData().toBool());
}

// TextSettingsEditor

TextSettingsEditor::TextSettingsEditor(const QVariant &value, QWidget *parent) : SettingsEditor(value, parent)
{
    setFrameStyle(QFrame::StyledPanel);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins({});
    m_text = new QPlainTextEdit(this);
    m_text->setFrameStyle(QFrame::NoFrame);
    m_text->document()->setDocumentMargin(1);
    m_text->setAccessibleName(tr("Значение"));
    m_text->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    layout->addWidget(m_text);
    setField(m_text);
    connect(m_text, &QPlainTextEdit::textChanged, this, [this] {
        if (!m_cell.isNull())
            place(m_cell);
        inputChanged();
    });
}

void TextSettingsEditor::display(const QVariant &value)
{
    m_escaped = needsEscapes(value.toString());
    m_shown = m_escaped ? SettingsText::escaped(value.toString()) : value.toString();
    m_text->setPlainText(m_shown);
    m_text->selectAll();
    m_text->setToolTip(m_escaped ? tr("В тексте есть управляющие символы: они записаны как \\n, \\r, \\u0000")
                                 : tr("Enter - готово, Shift+Enter - новая строка"));
}

void TextSettingsEditor::rebase(const QVariant &value)
{
    SettingsEditor::rebase(value);
    m_shown = m_escaped ? SettingsText::escaped(value.toString()) : value.toString();
}

QString TextSettingsEditor::text() const
{
    // The plain text would turn no-break spaces into spaces.
    return m_text->document()->toRawText().replace(QChar::ParagraphSeparator, u'\n');
}

bool TextSettingsEditor::isChanged() const
{
    return text() != m_shown;
}

std::optional<QVariant> TextSettingsEditor::value(QString *problem) const
{
    if (!isChanged())
        return m_loaded;
    if (!m_escaped)
        return QVariant(text());
    const std::optional<QString> plain = SettingsText::unescaped(text());
    if (plain)
        return QVariant(*plain);
    *problem = tr("После «\\» пишется n, r, t, ещё одна «\\» или u и четыре шестнадцатеричные цифры");
    return std::nullopt;
}

bool TextSettingsEditor::handleKey(QObject *watched, QKeyEvent *event)
{
    if (isReturn(event) && event->modifiers() & (Qt::ShiftModifier | Qt::AltModifier)) {
        m_text->insertPlainText(u"\n"_s);
        m_text->ensureCursorVisible();
        return true;
    }
    return SettingsEditor::handleKey(watched, event);
}

QSize TextSettingsEditor::neededSize(const QRect &cell) const
{
    constexpr int mostLines = 12;
    const int lineHeight = m_text->fontMetrics().lineSpacing();
    const int frame = 2 * (frameWidth() + int(m_text->document()->documentMargin())) + 2;
    // How the lines wrap is known after the width.
    const int width = std::max(cell.width(), lineHeight * 12);
    int lines = 0;
    for (QTextBlock block = m_text->document()->begin(); block.isValid() && lines < mostLines;
         block = block.next())
        lines += 1 + m_text->fontMetrics().horizontalAdvance(block.text()) / std::max(width - frame - 4, 1);
    return {width, lineHeight * std::clamp(lines, 1, mostLines) + frame};
}

// ListSettingsEditor

ListSettingsEditor::ListSettingsEditor(const QVariant &value, QWidget *parent) : SettingsEditor(value, parent)
{
    setFrameStyle(QFrame::StyledPanel);
    setBackgroundRole(QPalette::Window);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    m_items = new QStandardItemModel(this);
    m_list = new QListView(this);
    m_list->setModel(m_items);
    m_list->setItemDelegate(new SettingsDelegate(m_list));
    m_list->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    m_list->setAccessibleName(tr("Элементы списка"));
    layout->addWidget(m_list, 1);

    auto *buttons = new QVBoxLayout;
    buttons->setSpacing(2);
    const auto button = [&](const QString &text, const QString &keys, auto action) {
        QToolButton *result = makeButton(text, this);
        result->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        result->setToolTip(text + u" ("_s + keys + u')');
        result->installEventFilter(this);
        connect(result, &QToolButton::clicked, this, action);
        buttons->addWidget(result);
        return result;
    };
    button(tr("Добавить"), u"Ins"_s, [this] { add(); });
    button(tr("Удалить"), u"Del"_s, [this] { removeCurrent(); });
    button(tr("Выше"), u"Alt+↑"_s, [this] { moveCurrent(-1); });
    button(tr("Ниже"), u"Alt+↓"_s, [this] { moveCurrent(1); });
    buttons->addStretch();
    button(tr("Готово"), u"Ctrl+Enter"_s, [this] { finish(QAbstractItemDelegate::SubmitModelCache, true); });
    button(tr("Отмена"), u"Esc"_s, [this] { cancel(); });
    layout->addLayout(buttons);
    setField(m_list);
}

void ListSettingsEditor::display(const QVariant &value)
{
    // Else it would go from an open item to some button.
    if (m_list->isAncestorOf(QApplication::focusWidget()))
        m_list->setFocus(Qt::OtherFocusReason);
    const int row = std::max(m_list->currentIndex().row(), 0);
    m_items->clear();
    const QVariantList items = value.toList();
    for (const QVariant &item : items)
        m_items->appendRow(new ListItem(item));
    m_list->setCurrentIndex(m_items->index(std::min(row, m_items->rowCount() - 1), 0));
}

QVariant ListSettingsEditor::items() const
{
    QVariantList items;
    for (int row = 0; row < m_items->rowCount(); ++row)
        items += m_items->item(row)->data(Qt::EditRole);
    if (m_loaded.typeId() == QMetaType::QVariantList)
        return items;
    QStringList texts;
    for (const QVariant &item : std::as_const(items))
        texts += item.toString();
    return texts;
}

QList<SettingsEditor *> ListSettingsEditor::openEditors() const
{
    QList<SettingsEditor *> editors =
        m_list->viewport()->findChildren<SettingsEditor *>(QString(), Qt::FindDirectChildrenOnly);
    // Hidden are those that the view dropped with their rows, until they are deleted.
    editors.removeIf([](const SettingsEditor *editor) { return editor->hasEnded() || editor->isHidden(); });
    return editors;
}

bool ListSettingsEditor::isChanged() const
{
    // What is typed in an open item counts too.
    const QList<SettingsEditor *> open = openEditors();
    return std::any_of(open.begin(), open.end(),
                       [](const SettingsEditor *editor) { return editor->isChanged(); }) ||
           !isSameSettingsValue(items(), m_loaded);
}

std::optional<QVariant> ListSettingsEditor::value(QString *problem) const
{
    const QList<SettingsEditor *> open = openEditors();
    for (SettingsEditor *editor : open) {
        if (!editor->value(problem))
            return std::nullopt;
        editor->finish(QAbstractItemDelegate::NoHint);
    }
    return items();
}

bool ListSettingsEditor::handleKey(QObject *watched, QKeyEvent *event)
{
    const bool inList = watched == m_list;
    if (isReturn(event) && event->modifiers() & Qt::ControlModifier) {
        finish(QAbstractItemDelegate::SubmitModelCache, true);
        return true;
    }
    if (isReturn(event)) {
        if (auto *button = qobject_cast<QToolButton *>(watched))
            button->click();
        else if (m_list->currentIndex().isValid())
            m_list->edit(m_list->currentIndex());
        return true;
    }
    if (inList && event->key() == Qt::Key_Insert) {
        add();
        return true;
    }
    if (inList && event->key() == Qt::Key_Delete) {
        removeCurrent();
        return true;
    }
    if (inList && event->modifiers() == Qt::AltModifier &&
        (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down)) {
        moveCurrent(event->key() == Qt::Key_Up ? -1 : 1);
        return true;
    }
    // Tab goes round within the editor.
    return false;
}

QSize ListSettingsEditor::neededSize(const QRect &cell) const
{
    const QSize least = minimumSizeHint();
    return {std::max({cell.width(), least.width(), fontMetrics().averageCharWidth() * 40}),
            std::max(least.height(), fontMetrics().lineSpacing() * 9)};
}

/// Whether no item is open any more. One with a wrong input stays, and must not be closed by another one.
bool ListSettingsEditor::endItems()
{
    const QList<SettingsEditor *> open = openEditors();
    return std::all_of(open.begin(), open.end(),
                       [](SettingsEditor *editor) { return editor->finish(QAbstractItemDelegate::NoHint); });
}

void ListSettingsEditor::add()
{
    if (!endItems())
        return;
    const QModelIndex current = m_list->currentIndex();
    // Of the type of its neighbour, where that has an empty value; else a text.
    QVariant item = QString();
    if (current.isValid() && m_loaded.typeId() == QMetaType::QVariantList) {
        const QVariant neighbour(settingsValue(current).metaType());
        if (exists(neighbour))
            item = neighbour;
    }
    auto *row = new ListItem(item);
    const int at = current.isValid() ? current.row() + 1 : m_items->rowCount();
    m_items->insertRow(at, row);
    m_list->setFocus(Qt::OtherFocusReason);
    m_list->setCurrentIndex(row->index());
    m_list->edit(row->index());
}

void ListSettingsEditor::removeCurrent()
{
    const int row = m_list->currentIndex().row();
    if (row < 0)
        return;
    m_items->removeRow(row);
    m_list->setCurrentIndex(m_items->index(std::min(row, m_items->rowCount() - 1), 0));
}

void ListSettingsEditor::moveCurrent(int by)
{
    if (!endItems())
        return;
    const int row = m_list->currentIndex().row();
    const int to = row + by;
    if (row < 0 || to < 0 || to >= m_items->rowCount())
        return;
    m_items->insertRow(to, m_items->takeRow(row));
    m_list->setCurrentIndex(m_items->index(to, 0));
}

} // namespace sito
