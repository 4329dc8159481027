// SPDX-License-Identifier: MIT
#include <browser/window/mainwindow.h>

#include <browser/parts/applicationicon.h>
#include <browser/parts/languages.h>
#include <browser/parts/look.h>
#include <browser/parts/messagebar.h>
#include <browser/parts/sampledatabase.h>
#include <browser/settings/settingswindow.h>
#include <browser/window/openserverdialog.h>
#include <browser/window/tablelist.h>
#include <browser/window/tablepage.h>
#include <hostkit/views/filterpanel.h>
#include <hostkit/views/icons.h>

#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/text/filtertext.h>
#include <hostkit/values/showonlyfilter.h>
#include <hostkit/values/showonlywidget.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/views/filterheader.h>
#include <hostkit/views/tableexport.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/exception.h>
#include <filters/securitiessessionfilter.h>

#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSettings>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTableView>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <exception>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;
using Icons::Shape;

namespace {

constexpr qsizetype maxRecent = 10;
const QString sessionsTable = u"sessions"_s;
/// The filters that read it, in the storage of filters.
const QString sessionKind = u"session"_s;

QString withoutMnemonics(QString text)
{
    return text.replace(u'&', "&&"_L1);
}

/// \a text as the name of one group of settings.
QString groupName(const QString &text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

} // namespace

MainWindow::MainWindow(QSettings &store, Languages &languages, QWidget *parent)
    : QMainWindow(parent),
      m_store(store),
      m_languages(languages),
      m_storage(store),
      m_connection(new SourceConnection(this)),
      m_messages(new MessageBar),
      m_stack(new QStackedWidget)
{
    setObjectName(u"mainWindow"_s);
    setAcceptDrops(true);
    m_storage.registerHostKinds();

    m_empty = new QWidget;
    m_empty->setObjectName(u"emptyPage"_s);
    m_emptyText = new QLabel;
    m_emptyText->setAlignment(Qt::AlignCenter);
    m_emptyText->setWordWrap(true);
    m_emptyText->setForegroundRole(QPalette::PlaceholderText);
    m_emptyText->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto *emptyLayout = new QVBoxLayout(m_empty);
    emptyLayout->addStretch();
    emptyLayout->addWidget(m_emptyText);
    emptyLayout->addStretch();
    m_stack->addWidget(m_empty);

    auto *central = new QWidget;
    auto *layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_messages);
    layout->addWidget(m_stack, 1);
    setCentralWidget(central);

    makeActions();
    makeDocks();
    makeMenus();
    makeToolBar();
    makeStatusBar();

    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(300);
    connect(&m_saveTimer, &QTimer::timeout, this, &MainWindow::saveFilters);
    connect(m_connection, &SourceConnection::opened, this,
            [this](const QList<SourceConnection::TableInfo> &tables) {
                whenPagesMayGo([this, tables] { onOpened(tables); });
            });
    connect(m_connection, &SourceConnection::loaded, this,
            [this](const QStringList &tables) { whenPagesMayGo([this, tables] { onLoaded(tables); }); });
    connect(m_connection, &SourceConnection::failed, this,
            [this](const QString &message) { whenPagesMayGo([this, message] { onFailed(message); }); });
    connect(m_connection, &SourceConnection::cancelled, this,
            [this] { whenPagesMayGo([this] { onCancelled(); }); });
    connect(m_connection, &SourceConnection::progress, this,
            [this](const QString &, qint64 rowsRead, qint64 rowsTotal) {
                m_progress->setRange(0, rowsTotal > 0 ? 1000 : 0);
                if (rowsTotal > 0)
                    m_progress->setValue(int(std::min<qint64>(1000, rowsRead * 1000 / rowsTotal)));
            });

    retranslate();
    resize(fontMetrics().averageCharWidth() * 170, fontMetrics().height() * 44);
    restoreGeometry(m_store.value(u"window/geometry"_s).toByteArray());
    restoreState(m_store.value(u"window/state"_s).toByteArray());
    ValueListFilter::setPopupSize(m_store.value(u"window/valueList"_s).toSize());
    updateActions();
    updateStatus();
}

MainWindow::~MainWindow()
{
    disconnect(m_connection, nullptr, this, nullptr);
    closePages();
    m_connection->cancel();
    m_connection->closeTables();
}

void MainWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        retranslate();
}

// ---------------------------------------------------------------------------------------------------------
// Sources and tables.

void MainWindow::open(const SourceLocation &location, const ShowRequest &request)
{
    Operation operation;
    operation.isOpen = true;
    operation.request = request;
    begin(
        std::move(operation), [this, location] { m_connection->open(location); },
        tr("Открывается %1").arg(location.displayName()));
}

void MainWindow::openSample(const ShowRequest &request)
{
    guarded([&] {
        Operation operation;
        operation.isOpen = true;
        operation.isSample = true;
        operation.request = request;
        operation.sample = std::make_unique<SampleDatabase>();
        const SourceLocation location = SourceLocation::fromFile(operation.sample->fileName());
        begin(
            std::move(operation), [this, location] { m_connection->open(location); },
            tr("Открывается пример"));
    });
}

void MainWindow::openText(const QString &text, const ShowRequest &request)
{
    guarded([&] { open(SourceLocation::fromText(text), request); });
}

void MainWindow::begin(Operation operation, const std::function<void()> &start, const QString &activity)
{
    m_wasSettled = false;
    m_operations.append(std::make_shared<Operation>(std::move(operation)));
    m_progress->setRange(0, 0);
    showActivity(activity);
    start();
    updateActions();
}

MainWindow::Operation MainWindow::takeOperation()
{
    const std::shared_ptr<Operation> operation = m_operations.takeFirst();
    if (m_operations.isEmpty())
        showActivity(QString());
    return std::move(*operation);
}

void MainWindow::cancelOperation()
{
    m_operations.last()->table.clear();
    m_connection->cancel();
}

bool MainWindow::isOpeningSource() const
{
    return std::any_of(m_operations.begin(), m_operations.end(),
                       [](const auto &operation) { return operation->isOpen; });
}

void MainWindow::whenPagesMayGo(const std::function<void()> &work)
{
    if (m_exports > 0 || !m_answers.isEmpty())
        m_answers.append(work);
    else
        work();
}

void MainWindow::onOpened(const QList<SourceConnection::TableInfo> &tables)
{
    Operation operation = takeOperation();
    saveFilters();
    stopWaiting();
    closePages();
    m_connection->closeTables();
    m_sample = std::move(operation.sample);
    m_sourceKey = m_sample ? u"sample"_s : keyOf(m_connection->location());
    m_isNewSource = true;
    m_messages->showMessages({});
    m_tableList->setTables(tables);
    if (!m_sample)
        addRecent(m_connection->location());

    QString table = operation.request.table;
    if (table.isEmpty())
        table = m_store.value(u"views/%1/table"_s.arg(groupName(m_sourceKey))).toString();
    const auto isKnown = [&table](const SourceConnection::TableInfo &info) { return info.name == table; };
    if (operation.request.table.isEmpty() && std::none_of(tables.begin(), tables.end(), isKnown)) {
        const auto fits =
            std::find_if(tables.begin(), tables.end(),
                         [](const SourceConnection::TableInfo &info) { return info.error.isEmpty(); });
        table = fits == tables.end() ? QString() : fits->name;
    }
    updateTitle();
    updateActions();
    updateStatus();
    if (!table.isEmpty())
        showTable(table, operation.request);
    updateEmptyText();
    checkSettled();
}

void MainWindow::showTable(const QString &name, const ShowRequest &request)
{
    if (TablePage *page = m_pages.value(name)) {
        // The table that was chosen before must not take the place of this one.
        if (!m_operations.isEmpty() && m_operations.last()->showsTable)
            cancelOperation();
        setPage(page);
        if (request.hasFilters())
            applyRequest(*page, request);
        return;
    }
    const QList<SourceConnection::TableInfo> tables = m_connection->tables();
    const auto info =
        std::find_if(tables.begin(), tables.end(),
                     [&name](const SourceConnection::TableInfo &one) { return one.name == name; });
    if (info == tables.end()) {
        report(tr("Таблицы «%1» нет").arg(name));
        return;
    }
    if (!info->error.isEmpty()) {
        report(info->error);
        m_tableList->setCurrent(m_page ? m_page->table()->name() : QString());
        return;
    }
    // To begin another operation would cancel the opening.
    if (isOpeningSource()) {
        statusBar()->showMessage(tr("Сначала должна открыться база данных"), 10000);
        m_tableList->setCurrent(m_page ? m_page->table()->name() : QString());
        return;
    }
    // A double click asks twice.
    if (!m_operations.isEmpty() && m_operations.last()->table == name && !request.hasFilters())
        return;
    QStringList wanted{name};
    // Filters of sessions among the kept ones read it.
    const bool needsSessions =
        !request.sessionColumns.isEmpty() || m_store.value(viewGroup(name) + "/sessions"_L1).toBool();
    if (needsSessions && name != sessionsTable && hasSessionsTable())
        wanted.append(sessionsTable);
    loadTable(name, wanted, request);
}

void MainWindow::loadTable(const QString &name, const QStringList &wanted, const ShowRequest &request,
                           const QString &earlierError)
{
    Operation operation;
    operation.showsTable = true;
    operation.table = name;
    operation.then = [this, name, request, earlierError] {
        if (!earlierError.isEmpty())
            report(earlierError);
        makePage(name, request);
    };
    // Whatever is wrong with the others, the table itself may be fine; if not, the second failure tells so.
    if (wanted.size() > 1)
        operation.otherwise = [this, name, request](const QString &error) {
            loadTable(name, {name}, request, error);
        };
    m_tableList->setCurrent(name);
    begin(
        std::move(operation), [this, wanted] { m_connection->load(wanted); },
        tr("Загружается таблица %1").arg(name));
}

void MainWindow::onLoaded(const QStringList &)
{
    const Operation operation = takeOperation();
    if (operation.then)
        operation.then();
    serveWaiting();
    updateActions();
    checkSettled();
}

void MainWindow::onFailed(const QString &message)
{
    const Operation operation = takeOperation();
    // To begin another load would cancel what is under way.
    if (operation.otherwise && m_operations.isEmpty()) {
        operation.otherwise(message);
        return;
    }
    report(message);
    if (operation.isForWaiting) {
        m_waiting.removeIf([](const Waiting &one) { return one.isSwitch; });
        finishWaiting();
    }
    serveWaiting();
    m_tableList->setCurrent(m_page ? m_page->table()->name() : QString());
    updateEmptyText();
    updateActions();
    checkSettled();
}

void MainWindow::onCancelled()
{
    takeOperation();
    if (!m_operations.isEmpty()) // superseded
        return;
    statusBar()->showMessage(tr("Прервано"), 5000);
    serveWaiting();
    m_tableList->setCurrent(m_page ? m_page->table()->name() : QString());
    updateEmptyText();
    updateActions();
    checkSettled();
}

void MainWindow::updateEmptyText()
{
    if (m_page)
        m_emptyText->clear();
    else if (!m_operations.isEmpty())
        m_emptyText->setText(m_activity->text());
    else if (m_connection->isOpen())
        m_emptyText->setText(tr("Выберите таблицу в списке слева."));
    else
        m_emptyText->setText(tr("Ничего не открыто.\n\nОткройте файл SQLite или перетащите его сюда."));
}

void MainWindow::closePages()
{
    m_panel->setFilters(nullptr);
    m_page = nullptr;
    m_stack->setCurrentWidget(m_empty);
    for (TablePage *page : std::as_const(m_pages)) {
        saveView(*page);
        delete page;
    }
    m_pages.clear();
    if (m_tableList)
        m_tableList->setCurrent(QString());
}

void MainWindow::makePage(const QString &name, const ShowRequest &request)
{
    guarded([&] {
        auto *page = new TablePage(*MemoryDatabase::instance().table(name));
        m_pages.insert(name, page);
        m_stack->addWidget(page);
        connect(page, &TablePage::failed, this, &MainWindow::report);
        connect(page, &TablePage::copyRequested, this, &MainWindow::copySelection);
        connect(page, &TablePage::selectionDropped, this, [this] {
            statusBar()->showMessage(tr("Выделение снято: выделенные строки стоят теперь вразброс"), 10000);
        });
        connect(page, &TablePage::rowsChanged, this, &MainWindow::updateStatus);
        connect(page->view()->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                &MainWindow::updateActions);
        connect(page->filters(), &FilterList::changed, this, [this, page] {
            updateActions();
            if (m_restoring)
                return;
            if (m_unsaved && m_unsaved != page)
                saveFilters();
            m_unsaved = page;
            m_saveTimer.start();
        });
        TableModel *model = page->model();
        connect(model, &TableModel::passStarted, this, [this] { m_wasSettled = false; });
        connect(model, &TableModel::passProgress, this, [this, page](int percent) {
            if (page != m_page || m_connection->isBusy())
                return;
            m_progress->setRange(0, 100);
            m_progress->setValue(percent);
            showActivity(tr("Отбор и сортировка"));
        });
        const auto end = [this] {
            if (!m_connection->isBusy())
                showActivity(QString());
            updateStatus();
            checkSettled();
        };
        connect(model, &TableModel::passFinished, this, end);
        connect(model, &TableModel::passFailed, this, end);
        connect(model, &TableModel::passCancelled, this, end);

        page->view()->resizeColumns();
        const QString layoutText = m_store.value(viewGroup(name) + "/layout"_L1).toString();
        if (!layoutText.isEmpty())
            page->view()->restoreLayout(layoutText);
        const QStringList notes = m_connection->columnNotes(name);
        if (!notes.isEmpty()) {
            const QString more = tr("и ещё: %1").arg(notes.size() - 1);
            statusBar()->showMessage(notes.size() > 1 ? u"%1; %2"_s.arg(notes.first(), more) : notes.first(),
                                     10000);
        }
        if (!request.hasFilters())
            restoreFilters(*page);
        setPage(page);
        // Else the next change by the user would overwrite the kept filters.
        if (request.hasFilters() && !applyRequest(*page, request))
            restoreFilters(*page);
    });
}

void MainWindow::setPage(TablePage *page)
{
    m_page = page;
    m_stack->setCurrentWidget(page);
    m_emptyText->clear();
    m_tableList->setCurrent(page->table()->name());
    m_panel->setFilters(page->filters());
    m_panel->setSetNames(m_storage.setNames(viewKey(page->table()->name())));
    m_store.setValue(u"views/%1/table"_s.arg(groupName(m_sourceKey)), page->table()->name());
    if (!page->view()->currentIndex().isValid() && page->model()->rowCount() > 0) {
        const int first = page->header()->logicalIndex(0);
        page->view()->selectionModel()->setCurrentIndex(page->model()->index(0, first),
                                                        QItemSelectionModel::NoUpdate);
    }
    if (std::exchange(m_isNewSource, false))
        page->view()->setFocus(Qt::OtherFocusReason);
    updateTitle();
    updateActions();
    updateStatus();
    checkSettled();
}

void MainWindow::restoreFilters(TablePage &page)
{
    m_restoring = true;
    const QStringList messages = m_storage.restore(viewKey(page.table()->name()), *page.filters());
    m_restoring = false;
    for (const QString &message : messages)
        report(message);
}

bool MainWindow::applyRequest(TablePage &page, const ShowRequest &request)
{
    // What the user changed before is kept; these filters are not, until the user changes them.
    saveFilters();
    const QScopedValueRollback restoring(m_restoring, true);
    bool isApplied = false;
    guarded([&] {
        MemoryTable &table = *page.table();
        std::vector<std::unique_ptr<ValueFilter>> made;
        for (const KeyOption &option : request.keyOptions) {
            const QList<int> columns = ColumnsFilter::columnsByName(table, option.columns);
            std::unique_ptr<ValueFilter> filter;
            if (option.keep)
                filter = std::make_unique<ShowOnlyFilter>(table, columns);
            else
                filter = std::make_unique<ValueListFilter>(table, columns);
            const auto same = std::find_if(made.begin(), made.end(), [&filter](const auto &one) {
                return one->metaObject() == filter->metaObject() && one->columns() == filter->columns();
            });
            filter->setValue(option.keys);
            if (same == made.end()) {
                filter->setEnabled(true);
                made.push_back(std::move(filter));
            } else {
                for (const KeyValue &key : filter->getAllExcludedKeys())
                    (*same)->addExcludedKey(key);
            }
        }
        if (!request.sessionColumns.isEmpty()) {
            const QList<int> columns = ColumnsFilter::columnsByName(table, request.sessionColumns);
            auto filter = std::make_unique<SecuritiesSessionFilter>(table, columns.first(), columns,
                                                                    columns.last(), nullptr);
            filter->setEnabled(true);
            made.push_back(std::move(filter));
        }
        page.filters()->clear();
        for (auto &filter : made)
            page.filters()->add(filter.release());
        isApplied = true;
    });
    return isApplied;
}

TablePage *MainWindow::page() const
{
    return m_page;
}

bool MainWindow::isSettled() const
{
    return m_operations.isEmpty() && m_waiting.isEmpty() && (!m_page || !m_page->model()->isPassRunning());
}

void MainWindow::checkSettled()
{
    if (m_wasSettled || !isSettled())
        return;
    m_wasSettled = true;
    Q_EMIT settled();
}

// ---------------------------------------------------------------------------------------------------------
// Filters.

bool MainWindow::hasSessionsTable() const
{
    const QList<SourceConnection::TableInfo> tables = m_connection->tables();
    return std::any_of(tables.begin(), tables.end(), [](const SourceConnection::TableInfo &info) {
        return info.name == sessionsTable && info.error.isEmpty();
    });
}

void MainWindow::withSessions(TablePage &page, bool isSwitch, const std::function<void()> &work)
{
    if (m_connection->loadedTables().contains(sessionsTable)) {
        work();
        return;
    }
    m_waiting.append({&page, isSwitch, work});
    // To begin another operation would cancel the one under way.
    if (isOpeningSource())
        statusBar()->showMessage(tr("Сначала должна открыться база данных"), 10000);
    serveWaiting();
}

void MainWindow::serveWaiting()
{
    if (!m_operations.isEmpty() || m_waiting.isEmpty())
        return;
    if (m_connection->loadedTables().contains(sessionsTable)) {
        finishWaiting();
        return;
    }
    Operation operation;
    operation.isForWaiting = true;
    begin(
        std::move(operation), [this] { m_connection->load({sessionsTable}); },
        tr("Загружается таблица %1").arg(sessionsTable));
}

void MainWindow::stopWaiting()
{
    m_waiting.clear();
}

void MainWindow::finishWaiting()
{
    const QList<Waiting> waiting = std::exchange(m_waiting, {});
    for (const Waiting &one : waiting)
        one.work();
}

bool MainWindow::isSessionFilterAwaited(const TablePage *page) const
{
    return std::any_of(m_waiting.begin(), m_waiting.end(),
                       [page](const Waiting &one) { return one.isSwitch && one.page == page; });
}

void MainWindow::interrupt()
{
    if (m_connection->isBusy()) {
        // Else it would be loaded again at once.
        if (m_operations.last()->isForWaiting)
            stopWaiting();
        cancelOperation();
    } else if (m_page) {
        m_page->model()->cancelPass();
    }
}

void MainWindow::switchSessions(bool on)
{
    const QPointer<TablePage> page = m_page;
    if (!page)
        return;
    const auto change = [this, page, on] {
        guarded([&] {
            if (page)
                page->setSessionFilterOn(on);
        });
        updateActions();
    };
    m_waiting.removeIf([&page](const Waiting &one) { return one.isSwitch && one.page == page; });
    if (on)
        withSessions(*page, true, change);
    else
        change();
    updateActions();
}

void MainWindow::editFilter(Filter *filter, QWidget *button)
{
    if (!m_page)
        return;
    if (auto *selectable = qobject_cast<SelectFilter *>(filter)) {
        m_page->view()->select(*selectable, {button->mapToGlobal(QPoint(0, 0)), button->size()});
        return;
    }
    auto *dialog = new QDialog(this);
    QWidget *editor = filter->createFilterWidget(dialog);
    if (!editor) {
        delete dialog;
        return;
    }
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(u"filterDialog"_s);
    dialog->setWindowTitle(displayName(*filter));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    auto *layout = new QVBoxLayout(dialog);
    layout->addWidget(editor);
    layout->addWidget(buttons);
    if (auto *kept = qobject_cast<ShowOnlyWidget *>(editor)) {
        QPushButton *ok = buttons->button(QDialogButtonBox::Ok);
        const auto update = [kept, ok] {
            ok->setEnabled(kept->isComplete());
            ok->setToolTip(kept->error());
        };
        connect(kept, &ShowOnlyWidget::completeChanged, ok, update);
        update();
    }
    filter->init(editor);
    connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    connect(filter, &QObject::destroyed, dialog, &QDialog::reject);
    connect(dialog, &QDialog::accepted, filter,
            [this, filter, editor, filters = QPointer<FilterList>(m_page->filters())] {
                guarded([&] {
                    filter->apply(editor);
                    if (filters)
                        filters->notifyChanged(filter);
                });
            });
    dialog->open();
}

void MainWindow::askSetName()
{
    if (!m_page)
        return;
    auto *dialog = new QInputDialog(this);
    dialog->setObjectName(u"setNameDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Сохранить набор фильтров"));
    dialog->setLabelText(tr("Имя набора. Набор с тем же именем будет заменён."));
    dialog->setComboBoxItems(m_storage.setNames(viewKey(m_page->table()->name())));
    dialog->setComboBoxEditable(true);
    dialog->setTextValue(QString());
    connect(dialog, &QInputDialog::textValueSelected, this, [this, page = m_page](const QString &name) {
        if (page)
            saveSet(*page, name);
        else
            report(tr("Таблица уже закрыта, набор не сохранён"));
    });
    dialog->open();
}

void MainWindow::saveSet(TablePage &page, const QString &name)
{
    if (name.trimmed().isEmpty())
        return;
    guarded([&] {
        const QString table = page.table()->name();
        m_storage.saveSet(viewKey(table), name.trimmed(), *page.filters());
        saveNeedOfSessions(table);
        if (&page == m_page)
            m_panel->setSetNames(m_storage.setNames(viewKey(table)));
        statusBar()->showMessage(tr("Набор «%1» сохранён").arg(name.trimmed()), 5000);
    });
}

void MainWindow::restoreSet(const QString &name)
{
    const QPointer<TablePage> page = m_page;
    if (!page)
        return;
    const QString table = page->table()->name();
    const auto restore = [this, page, name] {
        if (!page)
            return;
        const QStringList messages =
            m_storage.restoreSet(viewKey(page->table()->name()), name, *page->filters());
        for (const QString &message : messages)
            report(message);
    };
    if (m_store.value(viewGroup(table) + "/sessions"_L1).toBool() && hasSessionsTable())
        withSessions(*page, false, restore);
    else
        restore();
}

void MainWindow::deleteSet(const QString &name)
{
    if (!m_page)
        return;
    guarded([&] {
        const QString view = viewKey(m_page->table()->name());
        m_storage.removeSet(view, name);
        saveNeedOfSessions(m_page->table()->name());
        m_panel->setSetNames(m_storage.setNames(view));
        statusBar()->showMessage(tr("Набор «%1» удалён").arg(name), 5000);
    });
}

// ---------------------------------------------------------------------------------------------------------
// The store.

QString MainWindow::keyOf(const SourceLocation &location)
{
    SourceLocation absolute = location;
    if (absolute.isFile())
        absolute.file = QFileInfo(absolute.file).absoluteFilePath();
    return absolute.toUrl();
}

QString MainWindow::viewKey(const QString &table) const
{
    return u"%1#%2"_s.arg(m_sourceKey, table);
}

QString MainWindow::viewGroup(const QString &table) const
{
    return u"views/%1/%2"_s.arg(groupName(m_sourceKey), groupName(table));
}

void MainWindow::saveView(TablePage &page)
{
    m_store.setValue(viewGroup(page.table()->name()) + "/layout"_L1, page.view()->layoutText());
}

void MainWindow::saveFilters()
{
    m_saveTimer.stop();
    TablePage *page = std::exchange(m_unsaved, nullptr);
    if (!page)
        return;
    guarded([&] {
        const QString table = page->table()->name();
        m_storage.save(viewKey(table), *page->filters());
        saveNeedOfSessions(table);
    });
}

void MainWindow::saveNeedOfSessions(const QString &table)
{
    m_store.setValue(viewGroup(table) + "/sessions"_L1, m_storage.containsKind(viewKey(table), sessionKind));
}

void MainWindow::addRecent(const SourceLocation &location)
{
    const QString key = keyOf(location);
    QStringList recent = m_store.value(u"recent/sources"_s).toStringList();
    recent.removeAll(key);
    recent.prepend(key);
    m_store.setValue(u"recent/sources"_s, recent.first(std::min(recent.size(), maxRecent)));
}

void MainWindow::fillRecentMenu()
{
    m_recentMenu->clear();
    const QStringList recent = m_store.value(u"recent/sources"_s).toStringList();
    for (const QString &url : recent) {
        guarded([&] {
            const SourceLocation location = SourceLocation::fromUrl(url);
            if (location.isFile() && !QFileInfo::exists(location.file))
                return;
            QAction *action =
                m_recentMenu->addAction(Icons::icon(location.isFile() ? Shape::Open : Shape::Server),
                                        withoutMnemonics(location.displayName()));
            connect(action, &QAction::triggered, this, [this, location] {
                // A password is not kept, and may be needed.
                if (location.isFile())
                    open(location);
                else
                    askServer(location);
            });
        });
    }
    if (m_recentMenu->isEmpty()) {
        m_recentMenu->addAction(tr("Пусто"))->setEnabled(false);
        return;
    }
    m_recentMenu->addSeparator();
    connect(m_recentMenu->addAction(tr("Забыть все")), &QAction::triggered, this,
            [this] { m_store.remove(u"recent/sources"_s); });
}

void MainWindow::fillColumnsMenu()
{
    m_columnsMenu->clear();
    if (m_page)
        m_page->fillColumnsMenu(*m_columnsMenu);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    // It may have changes that are not written yet, and asks.
    if (m_settingsWindow && !m_settingsWindow->close()) {
        event->ignore();
        return;
    }
    saveFilters();
    for (TablePage *page : std::as_const(m_pages))
        saveView(*page);
    m_store.setValue(u"window/geometry"_s, saveGeometry());
    m_store.setValue(u"window/state"_s, saveState());
    if (ValueListFilter::popupSize().isValid())
        m_store.setValue(u"window/valueList"_s, ValueListFilter::popupSize());
    m_store.sync();
    QMainWindow::closeEvent(event);
}

// ---------------------------------------------------------------------------------------------------------
// Questions to the user.

void MainWindow::askFile()
{
    auto *dialog = new QFileDialog(this, tr("Открыть базу данных"));
    dialog->setObjectName(u"openFileDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({tr("Базы данных SQLite (*.sqlite *.sqlite3 *.db *.db3)"), tr("Все файлы (*)")});
    const SourceLocation current = m_connection->location();
    if (!m_sample && current.isFile() && !current.file.isEmpty())
        dialog->setDirectory(QFileInfo(current.file).absolutePath());
    connect(dialog, &QFileDialog::fileSelected, this,
            [this](const QString &file) { open(SourceLocation::fromFile(file)); });
    dialog->open();
}

void MainWindow::askServer(const SourceLocation &location)
{
    auto *dialog = new OpenServerDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (!location.driver.isEmpty())
        dialog->setLocation(location);
    connect(dialog, &QDialog::accepted, this, [this, dialog] { open(dialog->location()); });
    dialog->open();
}

void MainWindow::askExportFile()
{
    if (!m_page)
        return;
    auto *dialog = new QFileDialog(this, tr("Записать показанные строки"));
    dialog->setObjectName(u"exportDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setDefaultSuffix(u"csv"_s);
    const QString withHeaders = tr("CSV с заголовками (*.csv)");
    dialog->setNameFilters({withHeaders, tr("CSV без заголовков (*.csv)")});
    dialog->selectFile(m_page->table()->name() + ".csv"_L1);
    connect(dialog, &QFileDialog::fileSelected, this,
            [this, dialog, withHeaders, page = m_page](const QString &file) {
                const bool hasHeaders = dialog->selectedNameFilter() == withHeaders;
                const auto write = [this, page, file, hasHeaders] {
                    // A load that ended meanwhile may have shown another table, or another source.
                    if (!page) {
                        report(tr("Таблица уже закрыта, файл не записан"));
                        return;
                    }
                    if (page != m_page)
                        showTable(page->table()->name());
                    exportTo(file, hasHeaders);
                };
                if (page && !page->model()->isUpToDate())
                    askOldRows(write);
                else
                    write();
            });
    dialog->open();
}

/// Calls \a write if the user wants the rows that are shown, though they are not what the filters say.
void MainWindow::askOldRows(const std::function<void()> &write)
{
    auto *box = new QMessageBox(this);
    box->setObjectName(u"oldRowsBox"_s);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(tr("Записать показанные строки"));
    box->setText(tr("Показаны не те строки, что задают фильтры и сортировка."));
    box->setInformativeText(tr("Записать всё же те, что показаны?"));
    QPushButton *accept = box->addButton(tr("&Записать показанные"), QMessageBox::AcceptRole);
    box->setDefaultButton(box->addButton(QMessageBox::Cancel));
    connect(accept, &QPushButton::clicked, this, write);
    box->open();
}

void MainWindow::askSettingsFile()
{
    auto *dialog = new QFileDialog(this, tr("Открыть файл настроек"));
    dialog->setObjectName(u"settingsFileDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({tr("Файлы INI (*.ini *.conf)"), tr("Все файлы (*)")});
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &file) { showSettings(file); });
    dialog->open();
}

namespace {

/// A progress function that shows a dialog when the work lasts.
class ProgressReporter
{
public:
    ProgressReporter(QWidget *parent, const QString &text)
        : m_dialog(text, MainWindow::tr("Прервать"), 0, 1000, parent)
    {
        m_dialog.setWindowModality(Qt::WindowModal);
        m_dialog.setMinimumDuration(500);
    }
    bool operator()(qint64 done, qint64 total)
    {
        m_dialog.setValue(total > 0 ? int(done * 1000 / total) : 1000);
        return !m_dialog.wasCanceled();
    }

private:
    QProgressDialog m_dialog;
};

} // namespace

/// Calls \a work, which runs events, and keeps the page and its table until it is done.
void MainWindow::exportRows(const std::function<void()> &work)
{
    // The page is about to go, and the connection may already tell of the source to come.
    if (isOpeningSource()) {
        statusBar()->showMessage(tr("Сначала должна открыться база данных"), 10000);
        return;
    }
    ++m_exports;
    guarded(work);
    if (--m_exports > 0 || m_answers.isEmpty())
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            while (m_exports == 0 && !m_answers.isEmpty()) {
                const std::function<void()> answer = m_answers.takeFirst();
                answer();
            }
        },
        Qt::QueuedConnection);
}

void MainWindow::exportTo(const QString &fileName, bool withHeaders)
{
    if (!m_page)
        return;
    exportRows([&] {
        TableExport rows =
            TableExport::shown(*m_page->model(), TableExport::shownSections(*m_page->header()));
        rows.setHeaders(withHeaders);
        ProgressReporter progress(this, tr("Запись в %1").arg(QFileInfo(fileName).fileName()));
        const QString source = m_connection->location().isFile() ? m_connection->location().file : QString();
        const bool done = exportCsvFile(fileName, rows, source, std::ref(progress));
        statusBar()->showMessage(
            done ? tr("Записано строк: %1").arg(QLocale().toString(rows.rowCount())) : tr("Прервано"), 5000);
    });
}

void MainWindow::copySelection(bool withHeaders)
{
    if (!m_page || !m_page->view()->hasSelection())
        return;
    exportRows([&] {
        TableExport rows =
            TableExport::selected(*m_page->model(), TableExport::shownSections(*m_page->header()),
                                  m_page->view()->selectionModel()->selection());
        rows.setHeaders(withHeaders);
        ProgressReporter progress(this, tr("Копирование"));
        std::unique_ptr<QMimeData> copied = rows.mimeData(std::ref(progress));
        if (!copied) {
            statusBar()->showMessage(tr("Прервано"), 5000);
            return;
        }
        QApplication::clipboard()->setMimeData(copied.release());
        statusBar()->showMessage(tr("Скопировано строк: %1").arg(QLocale().toString(rows.rowCount())), 5000);
    });
}

SettingsWindow *MainWindow::showSettings(const QString &fileName)
{
    if (!m_settingsWindow) {
        m_settingsWindow = new SettingsWindow(this);
        m_settingsWindow->setWindowFlag(Qt::Window);
        m_settingsWindow->setAttribute(Qt::WA_DeleteOnClose);
    }
    if (fileName.isEmpty()) {
        saveFilters();
        m_store.sync();
        if (m_settingsWindow->fileName() != m_store.fileName())
            m_settingsWindow->openStore(
                std::make_unique<QSettings>(m_store.fileName(), QSettings::IniFormat));
    } else {
        m_settingsWindow->openFile(fileName);
    }
    m_settingsWindow->show();
    m_settingsWindow->activateWindow();
    return m_settingsWindow;
}

void MainWindow::showAbout()
{
    auto *box = new QMessageBox(this);
    box->setObjectName(u"aboutBox"_s);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(tr("О программе"));
    box->setIconPixmap(applicationIcon().pixmap(QSize(64, 64), devicePixelRatioF()));
    box->setText(u"<h3>Sito %1</h3>"_s.arg(QStringLiteral(SITO_VERSION)));
    box->setInformativeText(
        tr("Показывает таблицы торговых баз данных, отобранные фильтрами по значениям. Сделано на библиотеке "
           "libsito; исходные тексты - по лицензии MIT.") +
        u"<br><br>Qt %1"_s.arg(QString::fromLatin1(qVersion())));
    box->setStandardButtons(QMessageBox::Close);
    box->open();
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (!urls.isEmpty() && urls.first().isLocalFile())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.isEmpty() || !urls.first().isLocalFile())
        return;
    event->acceptProposedAction();
    const QString file = urls.first().toLocalFile();
    if (file.endsWith(".ini"_L1, Qt::CaseInsensitive))
        showSettings(file);
    else
        open(SourceLocation::fromFile(file));
}

// ---------------------------------------------------------------------------------------------------------
// What the window tells.

void MainWindow::report(const QString &message)
{
    m_messages->addMessage(message.simplified());
}

void MainWindow::guarded(const std::function<void()> &work)
{
    try {
        work();
    } catch (const Exception &exception) {
        report(exception.message());
    } catch (const QString &text) {
        report(text);
    } catch (const std::exception &exception) {
        report(QString::fromLocal8Bit(exception.what()));
    }
}

void MainWindow::showActivity(const QString &text)
{
    const QString shown = text.isEmpty() ? text : text + u'…';
    m_activity->setText(shown);
    for (QWidget *widget : std::initializer_list<QWidget *>{m_activity, m_progress, m_cancel})
        widget->setVisible(!text.isEmpty());
    if (!text.isEmpty())
        updateEmptyText();
}

void MainWindow::updateActions()
{
    const bool hasPage = m_page;
    const bool hasSelection = hasPage && m_page->view()->hasSelection();
    for (QAction *action :
         {m_actions.selectAll, m_actions.resizeColumns, m_actions.moveLeft, m_actions.moveRight,
          m_actions.columnFilter, m_actions.sortAscending, m_actions.sortDescending, m_actions.goRows})
        action->setEnabled(hasPage);
    m_actions.exportCsv->setEnabled(hasPage && !isOpeningSource());
    for (QAction *action : {m_actions.hideValues, m_actions.showOnly})
        action->setEnabled(hasSelection);
    for (QAction *action : {m_actions.copy, m_actions.copyWithHeaders})
        action->setEnabled(hasSelection && !isOpeningSource());
    m_columnsMenu->setEnabled(hasPage);
    m_actions.unsort->setEnabled(hasPage);
    m_actions.clearFilters->setEnabled(hasPage && !m_page->filters()->filters().isEmpty());
    const bool isOpening = !m_operations.isEmpty() && m_operations.last()->isOpen;
    m_actions.sessions->setEnabled(hasPage && !isOpening && m_page->hasSessionColumns() &&
                                   hasSessionsTable());
    m_actions.sessions->setChecked(hasPage &&
                                   (m_page->isSessionFilterOn() || isSessionFilterAwaited(m_page)));
}

void MainWindow::updateStatus()
{
    if (!m_page) {
        m_rowsLabel->clear();
        m_timeLabel->clear();
        return;
    }
    const QLocale locale;
    TableModel *model = m_page->model();
    m_rowsLabel->setText(
        tr("Показано строк: %1 из %2")
            .arg(locale.toString(model->rowCount()), locale.toString(model->totalRowCount())));
    const double milliseconds = double(model->lastPassNanoseconds()) / 1e6;
    m_timeLabel->setText(
        model->lastPassNanoseconds() > 0
            ? tr("Проход: %1 мс").arg(locale.toString(milliseconds, 'f', milliseconds < 10 ? 2 : 0))
            : QString());
}

void MainWindow::updateTitle()
{
    QString source;
    if (m_sample)
        source = tr("Пример");
    else if (m_connection->isOpen() && m_connection->location().isFile())
        source = QFileInfo(m_connection->location().file).fileName();
    else if (m_connection->isOpen())
        source = m_connection->location().displayName();
    QStringList parts;
    if (m_page)
        parts.append(m_page->table()->name());
    if (!source.isEmpty())
        parts.append(source);
    parts.append(u"Sito"_s);
    setWindowTitle(parts.join(u" — "_s));
}

} // namespace sito
