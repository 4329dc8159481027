// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistwidget.h>

#include <hostkit/values/valuechoice_p.h>
#include <hostkit/values/valuelistjobs_p.h>
#include <hostkit/values/valuelistmodel_p.h>
#include <hostkit/values/valuelistview_p.h>

#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

namespace sito {

using namespace std::chrono_literals;

namespace {

constexpr auto searchDelay = 200ms;
/// Counting that takes less is over before one has read how far it is.
constexpr auto progressDelay = 150ms;
/// Between two counts of a table that changes; of the time that the last one took, so many times that.
constexpr auto leastPause = 200ms;
constexpr int pauseFactor = 10;

/// The numbers of the values with which \a values were counted.
std::vector<qsizetype> uncheckedOf(const DistinctValues &values)
{
    std::vector<qsizetype> numbers;
    for (const qsizetype number : values.keyIndexes()) {
        if (number >= 0)
            numbers.push_back(number);
    }
    return numbers;
}

} // namespace

class ValueListWidgetPrivate
{
public:
    explicit ValueListWidgetPrivate(ValueListWidget *widget);

    void makeWidgets();
    void layOut();
    void connectWidgets();

    /// Stops, and forgets whatever belongs to the table.
    void forget();
    void startCounting();
    void showValues(const std::shared_ptr<const DistinctValues> &values);
    void showFailure(const QString &text);
    /// After a change of the table: counts again as soon as it may be.
    void scheduleRecount();
    void recount();
    void showRecount(const ValueListJobs::Recount &recount);
    void takeRecount(const ValueListJobs::Recount &recount);
    /// The row of the value that follows the one with \a number among those before, which has vanished.
    int rowAfter(size_t number, const std::vector<quint32> &newNumbers) const;
    ValueChoice choice() const { return {model->values(), model->unchecked(), source.keys}; }
    void showMessages();
    /// Makes the list show what the search box says, now.
    void search();
    void showFound(const ValueListModel::Numbers &found);
    void showSearchFailure(const QString &text);
    /// The same, and waits for it: for what acts on the list as the search box says it is. Whether the list
    /// is that now.
    bool finishSearch();
    /// Whether the list does not show yet what the search box says.
    bool isSearchDue() const { return edit->text() != shownNeedle; }
    void showNumbers();
    void retranslate();
    void accept();
    bool searchKey(QKeyEvent *event);
    bool listKey(QKeyEvent *event);

    ValueListWidget *const q;
    QLineEdit *edit;
    QLabel *message;
    ValueListView *view;
    ValueListModel *model;
    QProgressBar *progress;
    QPushButton *all;
    QPushButton *none;
    QPushButton *invert;
    QLabel *numbers;
    QTimer searchTimer;
    QTimer progressTimer;
    /// Runs until the values may be counted again.
    QTimer recountTimer;
    std::chrono::milliseconds recountPause = leastPause;
    QElapsedTimer recountTime;
    /// Whether the table has changed since the values were read; whether they are being counted again.
    bool isOutdated = false;
    bool isRecounting = false;
    ValueListJobs jobs;

    ValueCount::Source source;
    /// Null for a table that is not followed.
    TableChanges *followed = nullptr;
    enum class State { Empty, Counting, Ready, Failed };
    State state = State::Empty;
    bool isReady() const { return state == State::Ready; }
    /// What showMessage() was told; what went wrong, in the words of who says so.
    QString notice;
    QString failure;
    QString searchFailure;
    QString recountFailure;
    /// What is searched for, and what the list shows the finds of.
    QString needle;
    QString shownNeedle;
};

ValueListWidgetPrivate::ValueListWidgetPrivate(ValueListWidget *widget) : q(widget)
{
    makeWidgets();
    layOut();
    searchTimer.setSingleShot(true);
    searchTimer.setInterval(searchDelay);
    progressTimer.setSingleShot(true);
    progressTimer.setInterval(progressDelay);
    recountTimer.setSingleShot(true);
    connectWidgets();
    retranslate();
}

void ValueListWidgetPrivate::makeWidgets()
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

    view = new ValueListView;
    view->setObjectName(QStringLiteral("values"));
    model = new ValueListModel(q);
    view->setModel(model);
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
}

void ValueListWidgetPrivate::layOut()
{
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
}

void ValueListWidgetPrivate::connectWidgets()
{
    QObject::connect(view, &ValueListView::typed, q, [this](const QString &text) {
        edit->setFocus(Qt::OtherFocusReason);
        edit->insert(text);
    });
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
    QObject::connect(&jobs, &ValueListJobs::progressed, progress, &QProgressBar::setValue);
    QObject::connect(&jobs, &ValueListJobs::counted, q, [this](const auto &values) { showValues(values); });
    QObject::connect(&jobs, &ValueListJobs::changed, q, [this] {
        isOutdated = true;
        scheduleRecount();
    });
    QObject::connect(&recountTimer, &QTimer::timeout, q, [this] { recount(); });
    QObject::connect(&jobs, &ValueListJobs::recounted, q,
                     [this](const ValueListJobs::Recount &recount) { showRecount(recount); });
    QObject::connect(&jobs, &ValueListJobs::countFailed, q,
                     [this](const QString &text) { showFailure(text); });
    QObject::connect(&jobs, &ValueListJobs::found, q, [this](const auto &found) { showFound(found); });
    QObject::connect(&jobs, &ValueListJobs::searchFailed, q,
                     [this](const QString &text) { showSearchFailure(text); });
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

void ValueListWidgetPrivate::forget()
{
    jobs.stop();
    state = State::Empty;
    source = {};
    notice.clear();
    failure.clear();
    searchFailure.clear();
    recountFailure.clear();
    needle.clear();
    shownNeedle.clear();
    searchTimer.stop();
    progressTimer.stop();
    recountTimer.stop();
    isOutdated = false;
    isRecounting = false;
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
    jobs.watch(followed);
    recountTime.start();
    jobs.count(source);
    // From here on the predicates are those of the job.
    if (!followed)
        source.hiddenBy.clear();
}

void ValueListWidgetPrivate::showValues(const std::shared_ptr<const DistinctValues> &values)
{
    progressTimer.stop();
    progress->hide();
    state = State::Ready;
    model->setValues(values, uncheckedOf(*values));
    view->setCurrentRow(0);
    showNumbers();
    if (isSearchDue())
        search();
    recountPause = pauseFactor * std::chrono::milliseconds(recountTime.elapsed());
    scheduleRecount();
    Q_EMIT q->ready();
}

void ValueListWidgetPrivate::scheduleRecount()
{
    if (isOutdated && isReady() && !isRecounting && !recountTimer.isActive())
        recountTimer.start(std::max(leastPause, recountPause));
}

void ValueListWidgetPrivate::recount()
{
    isOutdated = false;
    isRecounting = true;
    recountTime.start();
    jobs.recount(source, choice(), shownNeedle);
}

void ValueListWidgetPrivate::showRecount(const ValueListJobs::Recount &recount)
{
    isRecounting = false;
    recountPause = pauseFactor * std::chrono::milliseconds(recountTime.elapsed());
    recountFailure.clear();
    // What the user has done meanwhile is not in it.
    if (recount.unchecked == model->unchecked() && recount.needle == shownNeedle)
        takeRecount(recount);
    else
        isOutdated = true;
    showMessages();
    scheduleRecount();
}

void ValueListWidgetPrivate::takeRecount(const ValueListJobs::Recount &recount)
{
    // Its finds would be numbers of the values before.
    jobs.cancelSearch();
    source.keys = recount.keys;
    const std::vector<quint32> &newNumbers = recount.update.newNumbers;
    const QModelIndex current = view->currentIndex();
    const auto number = size_t(current.isValid() ? model->numberAt(current.row()) : 0);
    view->keepPlace([&] { model->update(recount.update, uncheckedOf(*recount.update.values)); });
    if (current.isValid() && newNumbers[number] == DistinctValues::nowhere)
        view->setCurrentRow(rowAfter(number, newNumbers));
    showNumbers();
    if (isSearchDue() && !searchTimer.isActive())
        search();
}

int ValueListWidgetPrivate::rowAfter(size_t number, const std::vector<quint32> &newNumbers) const
{
    const auto next =
        std::find_if(newNumbers.begin() + qptrdiff(number), newNumbers.end(), [this](quint32 other) {
            return other != DistinctValues::nowhere && model->rowOf(other) >= 0;
        });
    return next == newNumbers.end() ? model->rowCount() - 1 : model->rowOf(*next);
}

void ValueListWidgetPrivate::showFailure(const QString &text)
{
    if (isRecounting) {
        isRecounting = false;
        recountFailure = text;
        showMessages();
        return;
    }
    progressTimer.stop();
    progress->hide();
    state = State::Failed;
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
    else if (!recountFailure.isNull())
        text = ValueListWidget::tr("Список не обновлён: %1").arg(recountFailure);
    message->setText(text);
    message->setVisible(!text.isEmpty());
}

void ValueListWidgetPrivate::search()
{
    searchTimer.stop();
    if (!isReady() || (needle == edit->text() && (needle == shownNeedle || jobs.isSearching())))
        return;
    jobs.cancelSearch();
    searchFailure.clear();
    showMessages();
    const QString before = shownNeedle;
    needle = edit->text();
    if (needle.isEmpty()) {
        const qsizetype current =
            view->currentIndex().isValid() ? model->numberAt(view->currentIndex().row()) : 0;
        shownNeedle.clear();
        model->setShown(std::nullopt);
        view->setCurrentRow(model->rowOf(current));
        showNumbers();
        return;
    }
    // A longer text is among the finds of a part of it.
    const bool isPart = !before.isEmpty() && needle.contains(before, Qt::CaseInsensitive);
    jobs.search(model->values(), needle, isPart ? model->shown() : std::nullopt);
}

bool ValueListWidgetPrivate::finishSearch()
{
    if (isSearchDue()) {
        search();
        jobs.waitForSearch();
    }
    return !isSearchDue();
}

void ValueListWidgetPrivate::showSearchFailure(const QString &text)
{
    searchFailure = text;
    showMessages();
}

void ValueListWidgetPrivate::showFound(const ValueListModel::Numbers &found)
{
    shownNeedle = needle;
    model->setShown(found);
    view->setCurrentRow(0);
    showNumbers();
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
        view->toggleSelected();
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

ValueListWidget::~ValueListWidget() = default;

void ValueListWidget::fill(Table &table, const QList<int> &columns,
                           const std::vector<std::shared_ptr<const FilterFunc>> &hiddenBy,
                           const QList<KeyValue> &excluded, TableChanges *changes)
{
    // The caller's lists may be of this widget's own.
    ValueCount::Source source = {.table = &table, .columns = columns, .hiddenBy = hiddenBy, .keys = excluded};
    d->forget();
    d->source = std::move(source);
    d->followed = changes;
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
    return d->choice().excludedKeys(d->source.columns.size());
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
