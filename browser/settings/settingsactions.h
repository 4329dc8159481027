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
    /// Becomes a child of \a window, as all that is made here.
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

    /// Gives all their texts in the language as it is now.
    void retranslate();

private:
    QMenu *m_fileMenu;
    QMenu *m_editMenu;
    QMenu *m_viewMenu;
};

} // namespace sito
