// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QAction;
class QMainWindow;
class QMenu;
class QSettings;
class QToolBar;

namespace sito {

class ChoiceMenu;
class Languages;
class PageActions;
class RefreshCommands;

/// The actions of the main window, and the menus and the tool bar that show them and those of the page.
///
/// The look and the language are chosen and stored here; whoever has the window connects the other actions.
class WindowActions : public QObject
{
    Q_OBJECT
public:
    /// What the menus show of the other parts of the window.
    struct Parts
    {
        PageActions *page;
        RefreshCommands *refresh;
        QAction *showTables;
        QAction *showFilters;
        QMenu *recent;
        QMenu *sets;
    };

    /// Fills the menu bar of \a window, its parent, and adds the tool bar. \a store and \a languages are not
    /// owned.
    WindowActions(QMainWindow &window, const Parts &parts, QSettings &store, Languages &languages);

    void retranslate();

    QAction *openFile = nullptr;
    QAction *openServer = nullptr;
    QAction *openSample = nullptr;
    QAction *newWindow = nullptr;
    QAction *refresh = nullptr;
    QAction *quit = nullptr;
    QAction *notes = nullptr;
    QAction *goTables = nullptr;
    QAction *goFilters = nullptr;
    QAction *settings = nullptr;
    QAction *settingsFile = nullptr;
    QAction *about = nullptr;
    QAction *aboutQt = nullptr;

private:
    void makeMenus(QMainWindow &window, const Parts &parts);
    void makeViewMenu(const Parts &parts);
    void makeLookMenus();
    void makeToolBar(QMainWindow &window, const PageActions &page);

    QSettings &m_store;
    Languages &m_languages;
    QMenu *m_fileMenu = nullptr;
    QMenu *m_recentMenu = nullptr;
    ChoiceMenu *m_intervalMenu = nullptr;
    ChoiceMenu *m_growthMenu = nullptr;
    QMenu *m_editMenu = nullptr;
    QMenu *m_viewMenu = nullptr;
    QMenu *m_sortMenu = nullptr;
    QMenu *m_goMenu = nullptr;
    ChoiceMenu *m_lookMenu = nullptr;
    ChoiceMenu *m_languageMenu = nullptr;
    QMenu *m_filtersMenu = nullptr;
    QMenu *m_settingsMenu = nullptr;
    QMenu *m_helpMenu = nullptr;
    QToolBar *m_toolBar = nullptr;
};

} // namespace sito
