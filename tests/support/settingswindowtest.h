// SPDX-License-Identifier: MIT
#pragma once

#include <browser/parts/noticebar.h>
#include <browser/settings/settingswindow.h>
#include <support/settingsfixtures.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QFrame>
#include <QLineEdit>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>
#include <QTreeView>

#include <algorithm>
#include <functional>

/// The window with what tests look at.
class SettingsWindowFixture
{
public:
    SettingsWindowFixture()
    {
        tree = window.findChild<QTreeView *>(QStringLiteral("tree"));
        pending = window.findChild<QTreeView *>(QStringLiteral("pending"));
        search = window.findChild<QLineEdit *>(QStringLiteral("search"));
        message = window.findChild<sito::NoticeBar *>(QStringLiteral("noticeBar"));
        state = window.findChild<sito::NoticeBar *>(QStringLiteral("stateBar"));
        window.show();
        window.activateWindow();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("the window did not become active");
    }

    QModelIndex at(const QString &path, int column = 0) const
    {
        return find(*tree->model(), path.split(u'/'), column);
    }
    void select(const QString &path, int column = 0)
    {
        tree->setFocus();
        // Whatever modifiers the last key had.
        tree->selectionModel()->setCurrentIndex(at(path, column), QItemSelectionModel::ClearAndSelect |
                                                                      QItemSelectionModel::Rows);
    }
    /// Types \a text as the value of \a path.
    void edit(const QString &path, const QString &text)
    {
        type(path, text);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    }
    /// The same, and leaves the editor open.
    void type(const QString &path, const QString &text)
    {
        select(path, 2);
        QTest::keyClick(tree, Qt::Key_F2);
        QVERIFY2(qobject_cast<QWidget *>(QApplication::focusWidget()) != tree, qPrintable(path));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), text);
    }
    /// Those that have ended are hidden.
    bool isEditing() const
    {
        const QList<QFrame *> editors = tree->findChildren<QFrame *>(QStringLiteral("settingsEditor"));
        return std::any_of(editors.begin(), editors.end(),
                           [](const QFrame *editor) { return editor->isVisible(); });
    }
    void remove(const QString &path)
    {
        select(path);
        answer(QStringLiteral("Удалить"), [&] { press(Qt::Key_Delete); });
    }
    void dismiss(int row)
    {
        pending->setFocus();
        pending->setCurrentIndex(pending->model()->index(row, 0));
        press(Qt::Key_Delete);
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    /// Answers the question that \a action brings by the button whose text begins with \a button; what it
    /// asked.
    QString answer(const QString &button, const std::function<void()> &action)
    {
        QString asked;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (!box)
                return;
            timer.stop();
            asked = box->text() + u'|' + box->informativeText();
            for (QAbstractButton *each : box->buttons()) {
                if (each->text().remove(u'&').startsWith(button))
                    QTest::mouseClick(each, Qt::LeftButton);
            }
        });
        timer.start(1);
        action();
        window.activateWindow();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("the window did not become active");
        return asked;
    }
    QStringList pendingTexts() const
    {
        QStringList texts;
        for (int row = 0; row < pending->model()->rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < 4; ++column)
                cells += pending->model()->index(row, column).data().toString();
            texts += cells.join(u'|');
        }
        return texts;
    }
    bool isMarked(const QString &path) const { return at(path).data(Qt::FontRole).value<QFont>().bold(); }
    QAction *action(const QString &name) const { return window.findChild<QAction *>(name); }

    sito::SettingsWindow window;
    QTreeView *tree;
    QTreeView *pending;
    QLineEdit *search;
    sito::NoticeBar *message;
    sito::NoticeBar *state;
};

/// A test program over the settings window: files to open, and every test fails on warnings.
class SettingsWindowTest : public QObject
{
    Q_OBJECT
protected:
    using Window = SettingsWindowFixture;

    /// Makes a file of its own for \a content, with nothing beside it; its name.
    QString makeFile(const QByteArray &content)
    {
        QDir(m_directory.path()).mkdir(QString::number(++m_made));
        const QString name = m_directory.filePath(QStringLiteral("%1/store.ini").arg(m_made));
        write(name, content);
        return name;
    }
    /// Opens a file of its own with \a content in \a w; its name.
    QString open(Window &w, const QByteArray &content)
    {
        const QString name = makeFile(content);
        w.window.openFile(name);
        return name;
    }
    /// The same, and changes are written at once.
    QString openAtOnce(Window &w, const QByteArray &content)
    {
        const QString name = open(w, content);
        w.action(QStringLiteral("immediate"))->trigger();
        return name;
    }
    static void write(const QString &name, const QByteArray &content)
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write");
    }
    static QStringList copies(const QString &file)
    {
        return QFileInfo(file).dir().entryList({QStringLiteral("store.ini.bak-*")}, QDir::Files);
    }
    static QList<QByteArray> copiedContents(const QString &file)
    {
        QList<QByteArray> contents;
        for (const QString &copy : copies(file))
            contents += contentOf(QFileInfo(file).dir().filePath(copy));
        return contents;
    }
    static QByteArray contentOf(const QString &name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_directory;
    int m_made = 0;

protected Q_SLOTS:
    // A platform without windows complains of what dialogs ask of it, and Qt of types that it does not know.
    void init()
    {
        QTest::failOnWarning(QRegularExpression(
            QStringLiteral("^(?!This plugin does not support|QVariant::load: unknown user type)")));
    }
};
