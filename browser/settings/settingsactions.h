// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QAction;
class QMenu;
class QMenuBar;
class QToolBar;
class QWidget;

namespace sito {

/// The actions of the settings window, with its menus and its tool bar; the window connects and enables them.
class SettingsActions : public QObject
{
    Q_OBJECT

public:
    /// \a window becomes the parent of this object and of everything it creates.
    explicit SettingsActions(QWidget *window);

    QAction *const open;
    QAction *const submit;
    QAction *const revert;
    QAction *const refresh;
    QAction *const immediate;
    QAction *const manual;
    QAction *const edit;
    QAction *const remove;
    QAction *const copyPath;
    QAction *const find;
    QAction *const expandAll;
    QAction *const collapseAll;
    QAction *const close;
    QMenuBar *const menuBar;
    QToolBar *const toolBar;

    /// Sets all texts again, in the current language.
    void retranslate();

private:
    QMenu *m_fileMenu;
    QMenu *m_editMenu;
    QMenu *m_viewMenu;
};

} // namespace sito
