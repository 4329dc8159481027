// SPDX-License-Identifier: MIT
#include <browser/window/mainwindow.h>

#include <browser/parts/messagebar.h>
#include <browser/window/exportcommands.h>
#include <browser/window/filtercommands.h>
#include <browser/window/keptviews.h>
#include <browser/window/pageactions.h>
#include <browser/window/questions.h>
#include <browser/window/recentmenu.h>
#include <browser/window/refreshcommands.h>
#include <browser/window/settingscommands.h>
#include <browser/window/sidedocks.h>
#include <browser/window/sourcecommands.h>
#include <browser/window/tablelist.h>
#include <browser/window/tablepage.h>
#include <browser/window/tablepages.h>
#include <browser/window/windowactions.h>
#include <browser/window/windowstatus.h>
#include <browser/window/workspace.h>

#include <hostkit/table/tablemodel.h>
#include <hostkit/text/exceptiontext.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/views/filterpanel.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QSettings>
#include <QStatusBar>
#include <QUrl>
#include <QVBoxLayout>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// For messages that take longer to read, in milliseconds.
constexpr int longMessage = 10000;

} // namespace

MainWindow::MainWindow(QSettings &store, Languages &languages, QWidget *parent)
    : QMainWindow(parent),
      m_store(store),
      m_workspace(new Workspace(this)),
      m_views(new KeptViews(store, this)),
      m_pageActions(new PageActions(*this)),
      m_recentMenu(new RecentMenu(*m_views, this)),
      m_sources(new SourceCommands(*m_workspace, *m_recentMenu, *this)),
      m_settings(new SettingsCommands(*m_views, store, *this)),
      m_exports(new ExportCommands(*m_workspace, *m_pageActions, *this)),
      m_status(new WindowStatus(*statusBar())),
      m_messages(new MessageBar),
      m_pages(new TablePages(*m_views, *m_pageActions)),
      m_tableList(new TableList),
      m_refresh(
          new RefreshCommands({*m_workspace, *m_pages, *m_views, *m_exports, *m_messages}, store, *this)),
      m_panel(new FilterPanel),
      m_filterCommands(new FilterCommands(*m_workspace, *m_views, *m_panel, *m_pageActions, *this)),
      m_docks(new SideDocks(*this, *m_tableList, *m_panel)),
      m_actions(new WindowActions(*this,
                                  {m_pageActions, m_refresh, m_docks->showTables(), m_docks->showFilters(),
                                   m_recentMenu, m_panel->setsMenu()},
                                  store, languages))
{
    setObjectName(u"mainWindow"_s);
    setAcceptDrops(true);
    makeCentre();
    connectActions();
    connectCommands();
    connectWorkspace();

    retranslate();
    resize(fontMetrics().averageCharWidth() * 170, fontMetrics().height() * 44);
    restoreGeometry(m_store.value(u"window/geometry"_s).toByteArray());
    restoreState(m_store.value(u"window/state"_s).toByteArray());
    ValueListFilter::setPopupSize(m_store.value(u"window/valueList"_s).toSize());
    updateState();
}

MainWindow::~MainWindow()
{
    m_workspace->disconnect(this);
    m_exports->disconnect(this);
    m_pages->closeAll();
}

// ---------------------------------------------------------------------------------------------------------
// The parts.

void MainWindow::makeCentre()
{
    auto *central = new QWidget;
    auto *layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_messages);
    layout->addWidget(m_pages, 1);
    setCentralWidget(central);
    connect(m_pages, &TablePages::shown, this, &MainWindow::onShown);
    connect(m_pages, &TablePages::failed, this, &MainWindow::report);
    connect(m_pages, &TablePages::restWanted, m_workspace, &Workspace::readRest);
    connect(m_pages, &TablePages::selectionDropped, this,
            [this] { tell(tr("Выделение снято: выделенные строки стоят теперь вразброс"), longMessage); });
    connect(m_pages, &TablePages::changed, this, &MainWindow::updateActions);
    connect(m_pages, &TablePages::passStarted, this, [this] { m_wasSettled = false; });
    connect(m_pages, &TablePages::passChanged, this, [this] {
        m_status->showRows(page() ? page()->model() : nullptr);
        updateActivity();
        checkSettled();
    });
}

void MainWindow::connectActions()
{
    const auto on = [this](QAction *action, const std::function<void()> &work) {
        connect(action, &QAction::triggered, this, [work] { work(); });
    };
    on(m_actions->openFile, [this] { m_sources->askFile(); });
    on(m_actions->openServer, [this] { m_sources->askServer(); });
    on(m_actions->openSample, [this] { m_sources->openSample(); });
    on(m_actions->newWindow, [this] { m_sources->openWindow(tableName()); });
    on(m_actions->refresh, [this] { refresh(); });
    on(m_actions->notes,
       [this] { Questions::showNotes(*this, tableName(), m_workspace->columnNotes(tableName())); });
    on(m_actions->quit, [this] { close(); });
    on(m_actions->settings, [this] { m_settings->show(); });
    on(m_actions->settingsFile, [this] { m_settings->askFile(); });
    on(m_actions->about, [this] { Questions::showAbout(*this); });
    on(m_actions->aboutQt, [] { QApplication::aboutQt(); });
    on(m_actions->goTables, [this] { m_docks->goToTables(); });
    on(m_actions->goFilters, [this] { m_docks->goToFilters(); });
    connect(m_tableList, &TableList::chosen, this, [this](const QString &name) { showTable(name); });
    connect(m_status, &WindowStatus::interrupted, this, &MainWindow::interrupt);
}

void MainWindow::connectCommands()
{
    for (const Commands *commands :
         std::initializer_list<Commands *>{m_sources, m_exports, m_filterCommands, m_refresh}) {
        connect(commands, &Commands::failed, this, &MainWindow::report);
        connect(commands, &Commands::done, this, [this](const QString &message) { tell(message); });
        connect(commands, &Commands::refused, this,
                [this](const QString &message) { tell(message, longMessage); });
    }
    connect(m_exports, &ExportCommands::changed, this, [this] {
        m_wasSettled = m_wasSettled && !m_exports->isBusy();
        updateActivity();
        updateActions();
        checkSettled();
    });
    connect(m_views, &KeptViews::failed, this, &MainWindow::report);
}

void MainWindow::connectWorkspace()
{
    connect(m_workspace, &Workspace::aboutToClose, this, [this] {
        m_views->flush();
        m_pages->closeAll();
    });
    connect(m_workspace, &Workspace::opened, this, &MainWindow::onOpened);
    connect(m_workspace, &Workspace::tableLoaded, this, &MainWindow::onTableLoaded);
    connect(m_workspace, &Workspace::tableFailed, m_tableList, &TableList::setProblem);
    connect(m_workspace, &Workspace::restLoaded, this, &MainWindow::tellNotes);
    connect(m_workspace, &Workspace::refreshed, this, [this] {
        updateAsOf();
        checkSettled();
    });
    connect(m_workspace, &Workspace::counted, m_tableList, &TableList::setRowCount);
    connect(m_workspace, &Workspace::refreshFailed, this, &MainWindow::checkSettled);
    connect(m_workspace, &Workspace::failed, this, &MainWindow::report);
    connect(m_workspace, &Workspace::refused, this,
            [this](const QString &message) { tell(message, longMessage); });
    connect(m_workspace, &Workspace::interrupted, this, [this] { tell(tr("Прервано")); });
    connect(m_workspace, &Workspace::progress, this, [this](int thousandths) {
        m_loaded = thousandths;
        updateActivity();
    });
    connect(m_workspace, &Workspace::changed, this, &MainWindow::updateState);
}

void MainWindow::retranslate()
{
    m_actions->retranslate();
    m_pageActions->retranslate();
    m_status->retranslate();
    m_docks->retranslate();
    updateEmptyText();
    m_status->showRows(page() ? page()->model() : nullptr);
    updateTitle();
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
    m_workspace->open(location, request);
}

void MainWindow::openSample(const ShowRequest &request)
{
    m_sources->openSample(request);
}

void MainWindow::openText(const QString &text, const ShowRequest &request)
{
    m_sources->openText(text, request);
}

void MainWindow::onOpened(const ShowRequest &request)
{
    m_views->setSource(m_workspace->sourceKey());
    if (!m_workspace->isSample())
        m_views->addRecentSource(m_workspace->sourceKey());
    m_messages->showMessages({});
    m_tableList->setTables(m_workspace->tables());
    const QString table =
        request.table.isEmpty() ? m_workspace->tableToShow(m_views->lastTable()) : request.table;
    if (!table.isEmpty())
        showTable(table, request);
}

void MainWindow::showTable(const QString &name, const ShowRequest &request)
{
    if (TablePage *page = m_pages->find(name)) {
        // The table that was chosen before must not take the place of this one.
        m_workspace->cancelLoad();
        m_pages->showPage(*page, request);
        m_workspace->readRest(name);
    } else {
        m_workspace->load(name, request, !request.sessionColumns.isEmpty() || m_views->needsSessions(name));
    }
}

void MainWindow::onTableLoaded(const QString &name, const ShowRequest &request)
{
    m_tableList->setProblem(name, {});
    guarded([&] {
        MemoryTable &table = *MemoryDatabase::instance().table(name);
        if (m_workspace->isComplete(name)) {
            tellNotes(name);
        } else if (!m_views->fitFilters(table)) {
            m_workspace->dropTable(name);
            m_workspace->load(name, request, false, SourceConnection::Extent::Whole);
            return;
        }
        m_pages->add(table, request);
    });
}

/// Says what is not shown as it is declared in a table that is complete.
void MainWindow::tellNotes(const QString &table)
{
    const QStringList notes = m_workspace->columnNotes(table);
    if (notes.isEmpty())
        return;
    const QString more = tr("и ещё: %1").arg(notes.size() - 1);
    tell(notes.size() > 1 ? u"%1; %2"_s.arg(notes.first(), more) : notes.first(), longMessage);
}

void MainWindow::onShown(TablePage *page)
{
    m_filterCommands->setPage(page);
    m_exports->setPage(page);
    m_pageActions->setPage(page);
    updateState();
}

TablePage *MainWindow::page() const
{
    return m_pages->page();
}

QString MainWindow::tableName() const
{
    return page() ? page()->table()->name() : QString();
}

// ---------------------------------------------------------------------------------------------------------
// Files.

void MainWindow::exportTo(const QString &fileName, bool withHeaders)
{
    m_exports->write(fileName, withHeaders);
}

void MainWindow::copySelection(bool withHeaders)
{
    m_exports->copySelection(withHeaders);
}

void MainWindow::refresh()
{
    m_refresh->refresh();
}

SettingsWindow *MainWindow::showSettings(const QString &fileName)
{
    return m_settings->show(fileName);
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

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (!m_settings->close()) {
        event->ignore();
        return;
    }
    m_exports->stop();
    m_views->flush();
    m_pages->keepLayouts();
    m_store.setValue(u"window/geometry"_s, saveGeometry());
    m_store.setValue(u"window/state"_s, saveState());
    if (ValueListFilter::popupSize().isValid())
        m_store.setValue(u"window/valueList"_s, ValueListFilter::popupSize());
    m_store.sync();
    QMainWindow::closeEvent(event);
}

// ---------------------------------------------------------------------------------------------------------
// What the window tells.

void MainWindow::report(const QString &message)
{
    m_messages->addMessage(message.simplified());
}

void MainWindow::tell(const QString &message, int milliseconds)
{
    statusBar()->showMessage(message, milliseconds);
}

void MainWindow::guarded(const std::function<void()> &work)
{
    try {
        work();
    } catch (...) {
        report(currentExceptionText());
    }
}

void MainWindow::interrupt()
{
    // What updateActivity() tells of.
    if (!m_workspace->activity().isEmpty())
        m_workspace->interrupt();
    else if (m_pages->passed() < 0 && !m_exports->activity().isEmpty())
        m_exports->cancel();
    else if (page())
        page()->model()->cancelPass();
}

bool MainWindow::isSettled() const
{
    const TableModel *model = page() ? page()->model() : nullptr;
    return m_workspace->isSettled() && !m_exports->isBusy() &&
           (!model || (!model->isPassRunning() && !(model->isUpToDate() && model->hasChangesToShow())));
}

bool MainWindow::areRowsCounted() const
{
    return m_workspace->areRowsCounted();
}

void MainWindow::checkSettled()
{
    if (m_wasSettled || !isSettled())
        return;
    m_wasSettled = true;
    Q_EMIT settled();
}

void MainWindow::updateState()
{
    m_wasSettled = m_wasSettled && isSettled();
    const QString coming = m_workspace->comingTable();
    m_tableList->setCurrent(coming.isEmpty() ? tableName() : coming);
    m_status->showRows(page() ? page()->model() : nullptr);
    updateRest();
    updateAsOf();
    updateActivity();
    updateEmptyText();
    updateTitle();
    updateActions();
    checkSettled();
}

void MainWindow::updateRest()
{
    if (!page())
        return;
    if (m_workspace->isComplete(tableName()))
        page()->setRest(TablePage::Rest::None);
    else
        page()->setRest(m_workspace->isSettled() ? TablePage::Rest::Missing : TablePage::Rest::Coming);
}

void MainWindow::updateAsOf()
{
    m_status->showAsOf(page() ? m_workspace->asOf(tableName()) : QDateTime());
}

void MainWindow::updateActivity()
{
    if (!m_workspace->activity().isEmpty())
        m_status->showActivity(m_workspace->activity(), qMax(m_loaded, 0), m_loaded < 0 ? 0 : 1000);
    else if (m_pages->passed() >= 0)
        m_status->showActivity(tr("Отбор и сортировка"), m_pages->passed(), 100);
    else
        m_status->showActivity(m_exports->activity(), m_exports->progress(), 100);
}

void MainWindow::updateEmptyText()
{
    if (page())
        m_pages->setText(QString());
    else if (m_workspace->isBusy())
        m_pages->setText(m_workspace->activity() + u'…');
    else if (m_workspace->isOpen())
        m_pages->setText(tr("Выберите таблицу в списке слева."));
    else
        m_pages->setText(tr("Ничего не открыто.\n\nОткройте файл SQLite или CSV или перетащите его сюда."));
}

void MainWindow::updateActions()
{
    m_actions->refresh->setEnabled(page());
    m_actions->notes->setEnabled(page() && !m_workspace->columnNotes(tableName()).isEmpty());
    m_pageActions->update();
    m_exports->updateActions();
    m_filterCommands->updateActions();
}

void MainWindow::updateTitle()
{
    QStringList parts;
    if (page())
        parts.append(tableName());
    if (!m_workspace->sourceName().isEmpty())
        parts.append(m_workspace->sourceName());
    parts.append(u"Sito"_s);
    setWindowTitle(parts.join(u" — "_s));
}

} // namespace sito
