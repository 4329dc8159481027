// SPDX-License-Identifier: MIT
#pragma once

#include <support/sqlitefile.h>

#include <browser/parts/languages.h>
#include <browser/parts/look.h>
#include <browser/parts/messagebar.h>
#include <browser/window/mainwindow.h>
#include <browser/window/tablepage.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/views/filterheader.h>

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QLoggingCategory>
#include <QMenu>
#include <QRegularExpression>
#include <QSettings>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace sito;

/// A main window with a store of its own, which outlives it and can be opened by a second window.
class WindowFixture
{
public:
    WindowFixture()
        : m_store(m_directory.filePath(QStringLiteral("store.ini")), QSettings::IniFormat), m_languages(true)
    {
        m_languages.apply(Languages::Language::Russian);
    }
    ~WindowFixture() { Look::apply(Look::Scheme::System); }

    /// To be called first in init(): fails the test on every warning, but for what the offscreen platform
    /// says of itself.
    static void failOnWarnings()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!This plugin does not support)")));
        // An exception that was turned into a message has done its work.
        QLoggingCategory::setFilterRules(QStringLiteral("database.exception=false"));
    }

    /// A new window in the place of the one before, shown, with nothing open.
    MainWindow &makeWindow()
    {
        m_window.reset();
        m_window = std::make_unique<MainWindow>(m_store, m_languages);
        m_window->resize(1100, 700);
        m_window->show();
        m_window->activateWindow();
        [[maybe_unused]] const bool isActive = QTest::qWaitForWindowActive(m_window.get());
        return *m_window;
    }
    void closeWindow()
    {
        if (m_window)
            m_window->close();
        m_window.reset();
    }
    MainWindow &window() { return *m_window; }
    QSettings &store() { return m_store; }
    Languages &languages() { return m_languages; }
    QString path(const QString &name) const { return m_directory.filePath(name); }

    /// Whether the window has come to rest.
    bool settle()
    {
        return QTest::qWaitFor([this] { return m_window->isSettled(); }, 30000);
    }
    /// Opens the sample at \a table; whether it came.
    bool openSample(const QString &table, const ShowRequest &request = {})
    {
        ShowRequest wanted = request;
        wanted.table = table;
        m_window->openSample(wanted);
        return settle() && m_window->page() && rows() >= 0;
    }
    int rows() const { return m_window->page() ? m_window->page()->model()->rowCount() : -1; }
    QString text(int row, int section) const
    {
        return m_window->page()->model()->index(row, section).data().toString();
    }

    /// makeSqliteFile() in the directory of the fixture.
    QString makeDatabase(const QString &name, const QStringList &statements)
    {
        return makeSqliteFile(path(name), statements);
    }

    /// What SQLite answers to \a question about the sample; -1 when it cannot be asked.
    static qint64 askSample(const QString &question)
    {
        qint64 answer = -1;
        {
            QSqlDatabase database =
                QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("ask"));
            database.setDatabaseName(QStringLiteral(SITO_SAMPLE));
            database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
            if (database.open()) {
                QSqlQuery query(database);
                if (query.exec(question) && query.next())
                    answer = query.value(0).toLongLong();
            }
        }
        QSqlDatabase::removeDatabase(QStringLiteral("ask"));
        return answer;
    }

    /// The menu that is open.
    static QMenu *openMenu() { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); }
    /// Chooses the entry of \a menu with that object name or text by the keyboard; whether there is one. (A
    /// menu takes a click only of a mouse that has moved far enough since it opened, which depends on where
    /// it is.)
    static bool chooseInMenu(QMenu *menu, const QString &name)
    {
        if (!menu)
            return false;
        const QList<QAction *> actions = menu->actions();
        for (QAction *action : actions) {
            if (action->objectName() != name && action->text() != name)
                continue;
            for (qsizetype i = 0; i < actions.size() && menu->activeAction() != action; ++i)
                QTest::keyClick(menu, Qt::Key_Down);
            if (menu->activeAction() != action)
                return false;
            QTest::keyClick(menu, Qt::Key_Return);
            return true;
        }
        return false;
    }
    /// Clicks with the right button on a cell, as far as the menu is concerned.
    QMenu *openCellMenu(int row, int section)
    {
        QTableView *view = m_window->page()->view();
        const QPoint place = view->visualRect(view->model()->index(row, section)).center();
        QTest::mouseClick(view->viewport(), Qt::RightButton, {}, place);
        QContextMenuEvent event(QContextMenuEvent::Mouse, place, view->viewport()->mapToGlobal(place));
        QApplication::sendEvent(view->viewport(), &event);
        return openMenu();
    }
    void clickCell(int row, int section, Qt::KeyboardModifiers modifiers = {})
    {
        QTableView *view = m_window->page()->view();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, modifiers,
                          view->visualRect(view->model()->index(row, section)).center());
    }
    void clickFilterButton(int section)
    {
        FilterHeader *header = m_window->page()->header();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, header->filterButtonRect(section).center());
    }
    void clickTitle(int section, Qt::KeyboardModifiers modifiers = {})
    {
        FilterHeader *header = m_window->page()->header();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, modifiers,
                          QPoint(header->sectionViewportPosition(section) + 12, header->height() / 2));
    }

private:
    QTemporaryDir m_directory;
    QSettings m_store;
    Languages m_languages;
    std::unique_ptr<MainWindow> m_window;
};
