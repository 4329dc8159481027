// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistwidget.h>

#include <hostkit/text/exceptiontext.h>
#include <hostkit/text/keychecks_p.h>
#include <hostkit/values/distinctvalues_p.h>
#include <hostkit/values/valuelistmodel_p.h>

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QLocale>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace sito {

using namespace std::chrono_literals;

namespace {

constexpr auto searchDelay = 200ms;
/// Counting that takes less is over before one has read how far it is.
constexpr auto progressDelay = 150ms;

/// The list; letters typed in it are handed on.
class ListView final : public QListView
{
public:
    using QListView::QListView;

    void keyboardSearch(const QString &text) override
    {
        if (search)
            search(text);
    }

    std::function<void(const QString &)> search;
};

/// Paints the count of a value at the right edge, and lets a click anywhere in a row check or uncheck it.
class Delegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &given, const QModelIndex &index) const override
    {
        QStyleOptionViewItem option(given);
        initStyleOption(&option, index);
        const QStyle *style = option.widget ? option.widget->style() : QApplication::style();
        const QRect room = style->subElementRect(QStyle::SE_ItemViewItemText, &option, option.widget);
        const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
        const QString count = index.data(ValueListModel::CountRole).toString();
        const QFontMetrics metrics(given.font);
        QRect countRoom = room.adjusted(margin, 0, -margin, 0);
        const int countWidth = metrics.horizontalAdvance(count);
        const int textWidth = room.width() - 2 * margin - countWidth - metrics.averageCharWidth() * 2;
        option.text = option.fontMetrics.elidedText(option.text, Qt::ElideRight, textWidth);

        // Styles outline check boxes a shade darker than windows, which is next to nothing on a dark list.
        const QColor base = option.palette.color(QPalette::Base);
        if (base.lightness() < 128)
            option.palette.setColor(QPalette::Window, option.palette.color(QPalette::PlaceholderText));

        const bool isSelected = option.state & QStyle::State_Selected;
        const QPalette::ColorGroup group = !(option.state & QStyle::State_Enabled) ? QPalette::Disabled
                                           : option.state & QStyle::State_Active   ? QPalette::Active
                                                                                   : QPalette::Inactive;
        const QColor faint =
            option.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::PlaceholderText);
        style->drawControl(QStyle::CE_ItemViewItem, &option, painter, option.widget);

        painter->save();
        painter->setFont(given.font);
        painter->setPen(faint);
        painter->drawText(countRoom,
                          int(QStyle::visualAlignment(option.direction, Qt::AlignRight | Qt::AlignVCenter)) |
                              Qt::TextSingleLine,
                          count);
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        // As wide as the list, whatever stands in the first row.
        const QSize size = QStyledItemDelegate::sizeHint(option, index);
        const QFontMetrics &metrics = option.fontMetrics;
        return {metrics.averageCharWidth() * 10, std::max(size.height(), metrics.height() * 4 / 3)};
    }

    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override
    {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick: {
            const auto *mouse = static_cast<QMouseEvent *>(event);
            m_pressed = mouse->button() == Qt::LeftButton && mouse->modifiers() == Qt::NoModifier
                            ? QPersistentModelIndex(index)
                            : QPersistentModelIndex();
            return false;
        }
        case QEvent::MouseButtonRelease: {
            const bool isClick = m_pressed == index;
            m_pressed = QPersistentModelIndex();
            const QVariant state = index.data(Qt::CheckStateRole);
            if (!isClick || !state.isValid() ||
                !option.rect.contains(static_cast<QMouseEvent *>(event)->position().toPoint())) {
                return false;
            }
            return model->setData(index, int(state.toInt() == Qt::Checked ? Qt::Unchecked : Qt::Checked),
                                  Qt::CheckStateRole);
        }
        default:
            return false;
        }
    }

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (index.data(ValueListModel::UnwrittenRole).toBool())
            option->font.setItalic(true);
        if (!(option->features & QStyleOptionViewItem::HasCheckIndicator)) {
            // What cannot be chosen by itself shows a box that is neither.
            option->features |= QStyleOptionViewItem::HasCheckIndicator;
            option->checkState = Qt::PartiallyChecked;
        }
        option->fontMetrics = QFontMetrics(option->font);
    }

private:
    QPersistentModelIndex m_pressed;
};

/// The numbers of the values whose text contains \a needle, of \a among or of all; nothing when stopped.
std::optional<ValueListModel::Numbers> find(const DistinctValues &values, const QString &needle,
                                            const std::optional<ValueListModel::Numbers> &among,
                                            const std::stop_token &stop)
{
    ValueListModel::Numbers found;
    const size_t count = among ? among->size() : size_t(values.size());
    for (size_t i = 0; i < count; ++i) {
        if (i % 256 == 0 && stop.stop_requested())
            return std::nullopt;
        const quint32 number = among ? (*among)[i] : quint32(i);
        if (values.text(number).contains(needle, Qt::CaseInsensitive))
            found.push_back(number);
    }
    return found;
}

} // namespace

class ValueListWidgetPrivate
{
public:
    explicit ValueListWidgetPrivate(ValueListWidget *widget);
    ~ValueListWidgetPrivate() { stop(); }

    /// What the threads hand over. They post an event after they have put something in. The text of a failure is
    /// made by who shows it: the thread that failed may be out of memory.
    struct Mail
    {
        int percent = 0;
        std::shared_ptr<const DistinctValues> values;
        std::exception_ptr failure;
        std::optional<ValueListModel::Numbers> found;
        std::exception_ptr searchFailure;
    };
    static QEvent::Type mailEvent()
    {
        static const int type = QEvent::registerEventType();
        return QEvent::Type(type);
    }
    /// Called by the threads.
    template <typename Put>
    void post(Put put)
    {
        {
            const std::lock_guard guard(m_mailMutex);
            put(m_mail);
        }
        QCoreApplication::postEvent(q, new QEvent(mailEvent()));
    }
    void takeMail();

    void stop();
    /// Stops, and forgets whatever belongs to the table.
    void forget();
    void startCounting();
    void count(const std::stop_token &stop);
    void showValues(std::shared_ptr<const DistinctValues> values);
    void showFailure(const QString &text);
    void showMessages();
    /// Makes the list show what the search box says, now.
    void search();
    void showFound(ValueListModel::Numbers numbers);
    void showSearchFailure(const QString &text);
    /// The same, and waits for it: for what acts on the list as the search box says it is. Whether the list
    /// is that now.
    bool finishSearch();
    /// Whether the list does not show yet what the search box says.
    bool isSearchDue() const { return edit->text() != shownNeedle; }
    void showNumbers();
    void retranslate();
    void toggleSelected();
    void accept();
    bool searchKey(QKeyEvent *event);
    bool listKey(QKeyEvent *event);

    ValueListWidget *const q;
    QLineEdit *edit;
    QLabel *message;
    ListView *view;
    ValueListModel *model;
    QProgressBar *progress;
    QPushButton *all;
    QPushButton *none;
    QPushButton *invert;
    QLabel *numbers;
    QTimer searchTimer;
    QTimer progressTimer;

    DistinctValues::Source source;
    enum class State { Empty, Counting, Ready, Failed };
    State state = State::Empty;
    bool isReady() const { return state == State::Ready; }
    /// What showMessage() was told; what went wrong, in the words of who says so.
    QString notice;
    QString failure;
    QString searchFailure;
    /// What is searched for, and what the list shows the finds of.
    QString needle;
    QString shownNeedle;

private:
    std::mutex m_mailMutex;
    Mail m_mail;
    std::jthread m_counting;
    std::jthread m_searching;
};

ValueListWidgetPrivate::ValueListWidgetPrivate(ValueListWidget *widget) : q(widget)
{
    edit = new QLineEdit;
    edit->setObjectName(QStringLiteral("search"));
    edit->setClearButtonEnabled(true);
    edit->installEventFilter(q);
    message = new QLabel;
    message->setObjectName(QStringLiteral("message"));
    message->setWordWrap(true);
    message->setTextFormat(Qt::PlainText);
    message->hide();

    view = new ListView;
    view->setObjectName(QStringLiteral("values"));
    model = new ValueListModel(q);
    view->setModel(model);
    view->setItemDelegate(new Delegate(view));
    view->setUniformItemSizes(true);
    view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setTabKeyNavigation(false);
    view->search = [this](const QString &text) {
        edit->setFocus(Qt::OtherFocusReason);
        edit->insert(text);
    };
    view->installEventFilter(q);

    progress = new QProgressBar;
    progress->setObjectName(QStringLiteral("progress"));
    progress->setRange(0, 100);
    progress->hide();

    all = new QPushButton;
    all->setObjectName(QStringLiteral("all"));
    none = new QPushButton;
    none->setObjectName(QStringLiteral("none"));
    invert = new QPushButton;
    invert->setObjectName(QStringLiteral("invert"));
    numbers = new QLabel;
    numbers->setObjectName(QStringLiteral("numbers"));
    numbers->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(all);
    buttons->addWidget(none);
    buttons->addWidget(invert);
    buttons->addStretch();
    auto *layout = new QVBoxLayout(q);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(edit);
    layout->addWidget(message);
    layout->addWidget(view, 1);
    layout->addWidget(progress);
    layout->addWidget(numbers);
    layout->addLayout(buttons);
    QWidget::setTabOrder(edit, view);
    QWidget::setTabOrder(view, all);
    QWidget::setTabOrder(all, none);
    QWidget::setTabOrder(none, invert);
    q->setFocusProxy(edit);

    searchTimer.setSingleShot(true);
    searchTimer.setInterval(searchDelay);
    progressTimer.setSingleShot(true);
    progressTimer.setInterval(progressDelay);
    QObject::connect(edit, &QLineEdit::textChanged, q, [this] { searchTimer.start(); });
    QObject::connect(&searchTimer, &QTimer::timeout, q, [this] { search(); });
    QObject::connect(&progressTimer, &QTimer::timeout, q, [this] { progress->show(); });
    QObject::connect(all, &QPushButton::clicked, q, [this] {
        if (finishSearch())
            model->setAllChecked(true);
    });
    QObject::connect(none, &QPushButton::clicked, q, [this] {
        if (finishSearch())
            model->setAllChecked(false);
    });
    QObject::connect(invert, &QPushButton::clicked, q, [this] {
        if (finishSearch())
            model->invertAll();
    });
    QObject::connect(model, &ValueListModel::checksChanged, q, [this] {
        showNumbers();
        Q_EMIT q->changed();
    });
    retranslate();
}

void ValueListWidgetPrivate::retranslate()
{
    edit->setPlaceholderText(ValueListWidget::tr("Поиск"));
    edit->setAccessibleName(ValueListWidget::tr("Поиск значений"));
    view->setAccessibleName(ValueListWidget::tr("Значения"));
    view->setAccessibleDescription(ValueListWidget::tr("Отмеченные показаны; пробел отмечает и снимает"));
    progress->setAccessibleName(ValueListWidget::tr("Подсчёт значений"));
    all->setText(ValueListWidget::tr("&Все"));
    all->setToolTip(ValueListWidget::tr("Отметить всё, что в списке"));
    none->setText(ValueListWidget::tr("&Ничего"));
    none->setToolTip(ValueListWidget::tr("Снять отметки со всего, что в списке"));
    invert->setText(ValueListWidget::tr("&Обратить"));
    invert->setToolTip(ValueListWidget::tr("Отметить неотмеченное, что в списке, и наоборот"));
    view->viewport()->update();
    showNumbers();
    showMessages();
}

void ValueListWidgetPrivate::showNumbers()
{
    for (QPushButton *button : {all, none, invert})
        button->setEnabled(model->rowCount() > 0);
    if (!isReady()) {
        numbers->setText(state == State::Counting ? ValueListWidget::tr("Значения подсчитываются…")
                                                  : QString());
        return;
    }
    const QLocale locale;
    const qsizetype count = model->values() ? model->values()->size() : 0;
    const QString checked = ValueListWidget::tr("Отмечено: %1 из %2")
                                .arg(locale.toString(model->checkedCount()), locale.toString(count));
    numbers->setText(
        model->shown()
            ? ValueListWidget::tr("Найдено: %1. %2").arg(locale.toString(model->rowCount()), checked)
            : checked);
}

void ValueListWidgetPrivate::stop()
{
    m_counting.request_stop();
    m_searching.request_stop();
    if (m_counting.joinable())
        m_counting.join();
    if (m_searching.joinable())
        m_searching.join();
    // Nobody writes it any more; an event on its way finds it empty.
    const std::lock_guard guard(m_mailMutex);
    m_mail = Mail();
}

void ValueListWidgetPrivate::forget()
{
    stop();
    state = State::Empty;
    source = {};
    notice.clear();
    failure.clear();
    searchFailure.clear();
    needle.clear();
    shownNeedle.clear();
    searchTimer.stop();
    progressTimer.stop();
    progress->hide();
    progress->setValue(0);
    model->setValues(nullptr, {});
    showNumbers();
    showMessages();
}

void ValueListWidgetPrivate::startCounting()
{
    state = State::Counting;
    progressTimer.start();
    showNumbers();
    m_counting = std::jthread([this](const std::stop_token &token) { count(token); });
}

void ValueListWidgetPrivate::count(const std::stop_token &stop)
{
    auto told = std::chrono::steady_clock::now();
    const auto tell = [this, &told](int percent) {
        const auto now = std::chrono::steady_clock::now();
        if (now - told < 50ms)
            return;
        told = now;
        post([percent](Mail &mail) { mail.percent = percent; });
    };
    try {
        for (const KeyValue &key : source.keys)
            keychecks::requireWhole(key, source.columns.size());
        auto values = DistinctValues::count(source, stop, tell);
        if (values)
            post([&values](Mail &mail) { mail.values = std::move(values); });
    } catch (...) {
        post([](Mail &mail) { mail.failure = std::current_exception(); });
    }
}

void ValueListWidgetPrivate::takeMail()
{
    Mail mail;
    {
        const std::lock_guard guard(m_mailMutex);
        mail = std::exchange(
            m_mail,
            Mail{.percent = m_mail.percent, .values = {}, .failure = {}, .found = {}, .searchFailure = {}});
    }
    if (mail.values)
        showValues(std::move(mail.values));
    else if (mail.failure)
        showFailure(exceptionText(mail.failure));
    else if (state == State::Counting)
        progress->setValue(mail.percent);
    if (mail.found)
        showFound(*std::move(mail.found));
    else if (mail.searchFailure)
        showSearchFailure(exceptionText(mail.searchFailure));
}

void ValueListWidgetPrivate::showValues(std::shared_ptr<const DistinctValues> values)
{
    progressTimer.stop();
    progress->hide();
    state = State::Ready;
    source.hiddenBy.clear();
    std::vector<qsizetype> unchecked;
    for (const qsizetype number : values->keyIndexes()) {
        if (number >= 0)
            unchecked.push_back(number);
    }
    model->setValues(std::move(values), unchecked);
    view->setCurrentIndex(model->index(0));
    view->clearSelection();
    showNumbers();
    if (isSearchDue())
        search();
    Q_EMIT q->ready();
}

void ValueListWidgetPrivate::showFailure(const QString &text)
{
    progressTimer.stop();
    progress->hide();
    state = State::Failed;
    source.hiddenBy.clear();
    failure = text;
    showNumbers();
    showMessages();
    Q_EMIT q->ready();
}

void ValueListWidgetPrivate::showMessages()
{
    // What keeps the list from being right goes before what is said about it.
    QString text = notice;
    if (state == State::Failed)
        text = ValueListWidget::tr("Значения не подсчитаны: %1").arg(failure);
    else if (!searchFailure.isNull())
        text = ValueListWidget::tr("Поиск не удался: %1").arg(searchFailure);
    message->setText(text);
    message->setVisible(!text.isEmpty());
}

void ValueListWidgetPrivate::search()
{
    searchTimer.stop();
    if (!isReady() || (needle == edit->text() && (needle == shownNeedle || m_searching.joinable())))
        return;
    m_searching.request_stop();
    if (m_searching.joinable())
        m_searching.join();
    {
        // What the thread may have found in the meantime is out of date.
        const std::lock_guard guard(m_mailMutex);
        m_mail.found.reset();
        m_mail.searchFailure = nullptr;
    }
    searchFailure.clear();
    showMessages();
    const QString before = shownNeedle;
    needle = edit->text();
    if (needle.isEmpty()) {
        const qsizetype current =
            view->currentIndex().isValid() ? model->numberAt(view->currentIndex().row()) : 0;
        shownNeedle.clear();
        model->setShown(std::nullopt);
        view->setCurrentIndex(model->index(model->rowOf(current)));
        view->clearSelection();
        showNumbers();
        return;
    }
    // A longer text is among the finds of a part of it.
    auto among = !before.isEmpty() && needle.contains(before, Qt::CaseInsensitive)
                     ? model->shown()
                     : std::optional<ValueListModel::Numbers>();
    m_searching = std::jthread([this, values = model->values(), text = needle,
                                among = std::move(among)](const std::stop_token &token) {
        try {
            auto found = find(*values, text, among, token);
            if (found)
                post([&found](Mail &mail) { mail.found = std::move(found); });
        } catch (...) {
            post([](Mail &mail) { mail.searchFailure = std::current_exception(); });
        }
    });
}

bool ValueListWidgetPrivate::finishSearch()
{
    if (isSearchDue()) {
        search();
        if (m_searching.joinable())
            m_searching.join();
        takeMail();
    }
    return !isSearchDue();
}

void ValueListWidgetPrivate::showSearchFailure(const QString &text)
{
    if (m_searching.joinable())
        m_searching.join();
    searchFailure = text;
    showMessages();
}

void ValueListWidgetPrivate::showFound(ValueListModel::Numbers found)
{
    if (m_searching.joinable())
        m_searching.join();
    shownNeedle = needle;
    model->setShown(std::move(found));
    view->setCurrentIndex(model->index(0));
    view->clearSelection();
    showNumbers();
}

void ValueListWidgetPrivate::toggleSelected()
{
    const QModelIndex current = view->currentIndex();
    if (!current.isValid())
        return;
    QList<int> rows;
    for (const QItemSelectionRange &range : view->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.append(row);
    }
    if (!rows.contains(current.row()))
        rows = {current.row()};
    model->setChecked(rows, !model->isChecked(model->numberAt(current.row())));
}

void ValueListWidgetPrivate::accept()
{
    if (isReady())
        Q_EMIT q->accepted();
}

bool ValueListWidgetPrivate::searchKey(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (isSearchDue())
            search();
        else
            accept();
        return true;
    case Qt::Key_Down:
        finishSearch();
        view->setFocus(Qt::TabFocusReason);
        if (!view->currentIndex().isValid())
            view->setCurrentIndex(model->index(0));
        return true;
    default:
        return false;
    }
}

bool ValueListWidgetPrivate::listKey(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        accept();
        return true;
    case Qt::Key_Space:
    case Qt::Key_Select:
        if (event->modifiers() != Qt::NoModifier)
            return false;
        toggleSelected();
        return true;
    case Qt::Key_Up:
        if (event->modifiers() != Qt::NoModifier || view->currentIndex().row() > 0)
            return false;
        edit->setFocus(Qt::BacktabFocusReason);
        return true;
    default:
        return false;
    }
}

ValueListWidget::ValueListWidget(QWidget *parent)
    : QWidget(parent), d(std::make_unique<ValueListWidgetPrivate>(this))
{
}

ValueListWidget::~ValueListWidget()
{
    d->stop();
}

void ValueListWidget::fill(Table &table, const QList<int> &columns,
                           const std::vector<std::shared_ptr<const FilterFunc>> &hiddenBy,
                           const QList<KeyValue> &excluded)
{
    // The caller's lists may be of this widget's own.
    DistinctValues::Source source = {
        .table = &table, .columns = columns, .hiddenBy = hiddenBy, .keys = excluded};
    d->forget();
    d->source = std::move(source);
    d->startCounting();
}

void ValueListWidget::cancel()
{
    d->forget();
}

bool ValueListWidget::isReady() const
{
    return d->isReady();
}

void ValueListWidget::showMessage(const QString &message)
{
    d->notice = message;
    d->showMessages();
}

QList<KeyValue> ValueListWidget::excludedKeys() const
{
    if (!d->isReady())
        return d->source.keys;
    const std::shared_ptr<const DistinctValues> &values = d->model->values();
    QList<KeyValue> keys;
    for (qsizetype number = 0; number < values->size(); ++number) {
        if (!d->model->isChecked(number))
            keys.append(values->key(number));
    }
    for (qsizetype i = 0; i < d->source.keys.size(); ++i) {
        if (values->keyIndexes()[size_t(i)] >= 0)
            continue;
        // Without the values that predicates ignore: keys of one set are compared value by value.
        KeyValue key = d->source.keys.at(i);
        key.remove(d->source.columns.size(), key.size() - d->source.columns.size());
        keys.append(key);
    }
    return keys;
}

QSize ValueListWidget::sizeHint() const
{
    const QSize hint = QWidget::sizeHint();
    const QFontMetrics metrics(d->view->font());
    const int rows = metrics.height() * 3 / 2 * 14;
    const int units = std::min(40 + 12 * int(d->source.columns.size()), 100);
    return {std::max(hint.width(), metrics.averageCharWidth() * units),
            hint.height() - d->view->sizeHint().height() + rows};
}

bool ValueListWidget::event(QEvent *event)
{
    if (event->type() != ValueListWidgetPrivate::mailEvent())
        return QWidget::event(event);
    d->takeMail();
    return true;
}

void ValueListWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        d->retranslate();
    QWidget::changeEvent(event);
}

bool ValueListWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress) {
        auto *key = static_cast<QKeyEvent *>(event);
        if (watched == d->edit && d->searchKey(key))
            return true;
        if (watched == d->view && d->listKey(key))
            return true;
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace sito
