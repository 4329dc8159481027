// SPDX-License-Identifier: MIT
#include <browser/window/mainwindow.h>

#include <browser/parts/messagebar.h>
#include <browser/settings/settingswindow.h>
#include <browser/window/exportcommands.h>
#include <browser/window/filtercommands.h>
#include <browser/window/keptviews.h>
#include <browser/window/pageactions.h>
#include <browser/window/questions.h>
#include <browser/window/recentmenu.h>
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
#include <sources/openserverdialog.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QSettings>
#include <QStatusBar>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// For messages that take longer to read, in milliseconds.
constexpr int longMessage = 10000;

/// Qt names the buttons of a dock once and for all.
void nameDockButton(const QDockWidget &dock, const QString &objectName, const QString &text)
{
    if (auto *button = dock.findChild<QAbstractButton *>(objectName)) {
        button->setToolTip(text);
        button->setAccessibleName(u"%1: %2"_s.arg(dock.windowTitle(), text));
        button->setAccessibleDescription(QString());
    }
}

} // namespace

MainWindow::MainWindow(QSettings &store, Languages &languages, QWidget *parent)
    : QMainWindow(parent),
      m_store(store),
      m_workspace(new Workspace(this)),
      m_views(new KeptViews(store, this)),
      m_exports(new ExportCommands(*m_workspace, *this)),
      m_status(new WindowStatus(*statusBar())),
      m_pageActions(new PageActions(*this)),
      m_recentMenu(new RecentMenu(*m_views, this)),
      m_messages(new MessageBar),
      m_pages(new TablePages(*m_views, *m_pageActions)),
      m_tableList(new TableList),
      m_panel(new FilterPanel),
      m_filterCommands(new FilterCommands(*m_workspace, *m_views, *m_panel, *this)),
      m_tablesDock(new QDockWidget(this)),
      m_filtersDock(new QDockWidget(this))
{
    setObjectName(u"mainWindow"_s);
    setAcceptDrops(true);
    makeCentre();
    makeDocks();
    const WindowActions::Parts parts{m_pageActions, m_tablesDock->toggleViewAction(),
                                     m_filtersDock->toggleViewAction(), m_recentMenu, m_panel->setsMenu()};
    m_actions = new WindowActions(*this, parts, store, languages);
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

void MainWindow::makeDocks()
{
    m_tablesDock->setObjectName(u"tablesDock"_s);
    m_tablesDock->setWidget(m_tableList);
    addDockWidget(Qt::LeftDockWidgetArea, m_tablesDock);
    connect(m_tableList, &TableList::chosen, this, [this](const QString &name) { showTable(name); });
    m_filtersDock->setObjectName(u"filtersDock"_s);
    m_filtersDock->setWidget(m_panel);
    addDockWidget(Qt::RightDockWidgetArea, m_filtersDock);
    const int character = fontMetrics().averageCharWidth();
    resizeDocks({m_tablesDock, m_filtersDock}, {character * 30, character * 36}, Qt::Horizontal);
}

void MainWindow::connectActions()
{
    const auto on = [this](QAction *action, const std::function<void()> &work) {
        connect(action, &QAction::triggered, this, [work] { work(); });
    };
    on(m_actions->openFile, [this] { askFile(); });
    on(m_actions->openServer, [this] { askServer(); });
    on(m_actions->openSample, [this] { openSample(); });
    on(m_pageActions->exportCsv, [this] { m_exports->ask(); });
    on(m_actions->quit, [this] { close(); });
    on(m_actions->settings, [this] { showSettings(); });
    on(m_actions->settingsFile,
       [this] { Questions::askSettingsFile(*this, [this](const QString &file) { showSettings(file); }); });
    on(m_actions->about, [this] { Questions::showAbout(*this); });
    on(m_actions->aboutQt, [] { QApplication::aboutQt(); });
    on(m_actions->goTables, [this] {
        m_tablesDock->show();
        m_tableList->tree()->setFocus(Qt::ShortcutFocusReason);
    });
    on(m_actions->goFilters, [this] {
        m_filtersDock->show();
        m_panel->focusFirst();
    });
    on(m_pageActions->copy, [this] { copySelection(false); });
    on(m_pageActions->copyWithHeaders, [this] { copySelection(true); });
    connect(m_pageActions->sessions, &QAction::triggered, m_filterCommands, &FilterCommands::switchSessions);
    connect(m_recentMenu, &RecentMenu::chosen, this, [this](const SourceLocation &location) {
        // A password is not kept, and may be needed.
        if (location.isFile())
            open(location);
        else
            askServer(location);
    });
    connect(m_recentMenu, &RecentMenu::failed, this, &MainWindow::report);
    connect(m_status, &WindowStatus::interrupted, this, &MainWindow::interrupt);
}

void MainWindow::connectCommands()
{
    const auto tellShortly = [this](const QString &message) { tell(message); };
    const auto tellLonger = [this](const QString &message) { tell(message, longMessage); };
    connect(m_filterCommands, &FilterCommands::sessionsSwitched, this, &MainWindow::updateActions);
    connect(m_filterCommands, &FilterCommands::failed, this, &MainWindow::report);
    connect(m_filterCommands, &FilterCommands::done, this, tellShortly);
    connect(m_exports, &ExportCommands::failed, this, &MainWindow::report);
    connect(m_exports, &ExportCommands::done, this, tellShortly);
    connect(m_exports, &ExportCommands::refused, this, tellLonger);
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
    m_tablesDock->setWindowTitle(tr("Таблицы"));
    m_filtersDock->setWindowTitle(tr("Фильтры"));
    for (const QDockWidget *dock : {m_tablesDock, m_filtersDock}) {
        nameDockButton(*dock, u"qt_dockwidget_floatbutton"_s, tr("Отделить"));
        nameDockButton(*dock, u"qt_dockwidget_closebutton"_s, tr("Закрыть"));
    }
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
    guarded([&] { m_workspace->openSample(request); });
}

void MainWindow::openText(const QString &text, const ShowRequest &request)
{
    guarded([&] { open(SourceLocation::fromText(text), request); });
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
    } else {
        m_workspace->load(name, request, !request.sessionColumns.isEmpty() || m_views->needsSessions(name));
    }
}

void MainWindow::onTableLoaded(const QString &name, const ShowRequest &request)
{
    const QStringList notes = m_workspace->columnNotes(name);
    if (!notes.isEmpty()) {
        const QString more = tr("и ещё: %1").arg(notes.size() - 1);
        tell(notes.size() > 1 ? u"%1; %2"_s.arg(notes.first(), more) : notes.first(), longMessage);
    }
    guarded([&] { m_pages->add(*MemoryDatabase::instance().table(name), request); });
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

void MainWindow::askFile()
{
    const SourceLocation current = m_workspace->location();
    const bool isBeside = !m_workspace->isSample() && current.isFile() && !current.file.isEmpty();
    Questions::askFile(*this, isBeside ? QFileInfo(current.file).absolutePath() : QString(),
                       [this](const QString &file) { open(SourceLocation::fromFile(file)); });
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

void MainWindow::exportTo(const QString &fileName, bool withHeaders)
{
    guarded([&] { m_exports->write(fileName, withHeaders); });
}

void MainWindow::copySelection(bool withHeaders)
{
    guarded([&] { m_exports->copySelection(withHeaders); });
}

SettingsWindow *MainWindow::showSettings(const QString &fileName)
{
    if (!m_settingsWindow) {
        m_settingsWindow = new SettingsWindow(this);
        m_settingsWindow->setWindowFlag(Qt::Window);
        m_settingsWindow->setAttribute(Qt::WA_DeleteOnClose);
    }
    if (fileName.isEmpty()) {
        m_views->flush();
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
    // It may have changes that are not written yet, and asks.
    if (m_settingsWindow && !m_settingsWindow->close()) {
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
    if (m_workspace->isBusy())
        m_workspace->interrupt();
    else if (m_pages->passed() < 0 && !m_exports->activity().isEmpty())
        m_exports->cancel();
    else if (page())
        page()->model()->cancelPass();
}

bool MainWindow::isSettled() const
{
    return m_workspace->isSettled() && !m_exports->isBusy() && (!page() || !page()->model()->isPassRunning());
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
    updateActivity();
    updateEmptyText();
    updateTitle();
    updateActions();
    checkSettled();
}

void MainWindow::updateActivity()
{
    if (m_workspace->isBusy())
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
        m_pages->setText(tr("Ничего не открыто.\n\nОткройте файл SQLite или перетащите его сюда."));
}

void MainWindow::updateActions()
{
    m_pageActions->update();
    for (QAction *action : {m_pageActions->copy, m_pageActions->copyWithHeaders})
        action->setEnabled(m_exports->canCopy());
    m_pageActions->sessions->setEnabled(m_filterCommands->canSwitchSessions());
    m_pageActions->sessions->setChecked(m_filterCommands->areSessionsOn());
    m_pageActions->exportCsv->setEnabled(m_exports->canWrite());
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
