// SPDX-License-Identifier: MIT
#include <browser/settings/settingswindow.h>

#include <browser/parts/commandline.h>
#include <browser/parts/noticebar.h>
#include <browser/report/settingsreport.h>
#include <hostkit/settings/scratchstore.h>
#include <hostkit/settings/settingsvalue.h>
#include <support/settingsfixtures.h>

#include <QAbstractItemView>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QLockFile>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTest>
#include <QTextStream>
#include <QTimer>
#include <QTranslator>
#include <QTreeView>

#include <algorithm>
#include <functional>
#include <optional>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

QByteArray contentOf(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The window with what tests look at.
class Window
{
public:
    Window()
    {
        tree = window.findChild<QTreeView *>(u"tree"_s);
        pending = window.findChild<QTreeView *>(u"pending"_s);
        search = window.findChild<QLineEdit *>(u"search"_s);
        message = window.findChild<NoticeBar *>(u"noticeBar"_s);
        state = window.findChild<NoticeBar *>(u"stateBar"_s);
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
        const QList<QFrame *> editors = tree->findChildren<QFrame *>(u"settingsEditor"_s);
        return std::any_of(editors.begin(), editors.end(),
                           [](const QFrame *editor) { return editor->isVisible(); });
    }
    void remove(const QString &path)
    {
        select(path);
        answer(u"Удалить"_s, [&] { press(Qt::Key_Delete); });
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

    SettingsWindow window;
    QTreeView *tree;
    QTreeView *pending;
    QLineEdit *search;
    NoticeBar *message;
    NoticeBar *state;
};

} // namespace

class tst_SettingsWindow : public QObject
{
    Q_OBJECT
private:
    QString makeFile(const QByteArray &content)
    {
        QDir(m_directory.path()).mkdir(QString::number(++m_made));
        const QString name = m_directory.filePath(u"%1/store.ini"_s.arg(m_made));
        write(name, content);
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
        return QFileInfo(file).dir().entryList({u"store.ini.bak-*"_s}, QDir::Files);
    }
    static QList<QByteArray> copiedContents(const QString &file)
    {
        QList<QByteArray> contents;
        for (const QString &copy : copies(file))
            contents += contentOf(QFileInfo(file).dir().filePath(copy));
        return contents;
    }

    QTemporaryDir m_directory;
    int m_made = 0;

private Q_SLOTS:
    // A platform without windows complains of what dialogs ask of it, and Qt of types that it does not know.
    void init()
    {
        QTest::failOnWarning(
            QRegularExpression(u"^(?!This plugin does not support|QVariant::load: unknown user type)"_s));
    }

    void showsAFile()
    {
        const QString file = makeFile("top=1\n[g]\nlist=a, b\nk=x\n");
        Window w;

        QVERIFY(w.window.openFile(file));

        QCOMPARE(treeText(*w.tree->model()), u"g{k=x list=a,b} top=1"_s);
        QVERIFY(w.tree->isExpanded(w.at(u"g"_s)));
        QCOMPARE(w.window.windowTitle(), u"store.ini[*] - настройки"_s);
        QCOMPARE(w.window.findChild<QLabel *>(u"status"_s)->text(), QFileInfo(file).fileName());
        QCOMPARE(w.window.findChild<QLabel *>(u"status"_s)->toolTip(), QDir::toNativeSeparators(file));
        QCOMPARE(w.message->text(), QString());
        QCOMPARE(w.state->text(), QString());
        QCOMPARE(copies(file), QStringList());
    }

    void tellsWhatCannotBeOpened_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing") << m_directory.filePath(u"none.ini"_s) << u"Файла «%1» нет"_s;
        QTest::newRow("directory") << m_directory.path() << u"«%1» - каталог, а не файл настроек"_s;
        QTest::newRow("no INI") << makeFile("just\nwords\n") << u"«%1» - не файл INI"_s;
    }
    void tellsWhatCannotBeOpened()
    {
        QFETCH(QString, name);
        QFETCH(QString, message);
        const QString good = makeFile("a=1\n");
        Window w;
        w.window.openFile(good);

        QVERIFY(!w.window.openFile(name));

        QCOMPARE(w.message->text(), message.arg(name));
        QCOMPARE(treeText(*w.tree->model()), u"a=1"_s);
        QCOMPARE(w.window.fileName(), good);
        QTest::mouseClick(w.message->findChild<QWidget *>(u"close"_s), Qt::LeftButton);
        QCOMPARE(w.message->text(), QString());
    }

    void keepsChangesUntilTheyAreSubmitted()
    {
        const QByteArray content = "a=1\n[g]\nk=x\nl=y\n";
        const QString file = makeFile(content);
        Window w;
        w.window.openFile(file);
        QVERIFY(!w.action(u"submit"_s)->isEnabled());

        w.edit(u"g/k"_s, u"new"_s);
        w.select(u"g/l"_s);
        const QString asked = w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });
        QCOMPARE(asked, u"Удалить «g/l»?|Файл изменится после команды «Записать»."_s);

        QCOMPARE(w.pendingTexts(), (QStringList{u"Правка|g/k|x|new"_s, u"Удаление|g/l|y|"_s}));
        QVERIFY(w.isMarked(u"g/k"_s));
        QVERIFY(w.isMarked(u"g"_s)); // has a removal in it
        QVERIFY(!w.isMarked(u"a"_s));
        QCOMPARE(w.at(u"g/k"_s).data(Qt::AccessibleTextRole).toString(), u"k, правка ждёт записи"_s);
        QCOMPARE(w.at(u"g"_s).data(Qt::AccessibleTextRole).toString(), u"g, ждут удаления: 1"_s);
        QVERIFY(w.window.isWindowModified());
        QCOMPARE(contentOf(file), content);
        QCOMPARE(copies(file), QStringList());

        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), QByteArray("a=1\n[g]\nk=new\n"));
        QCOMPARE(w.pendingTexts(), QStringList());
        QVERIFY(!w.isMarked(u"g/k"_s));
        QVERIFY(!w.window.isWindowModified());
        QCOMPARE(copies(file).size(), 1);
        QVERIFY(QRegularExpression(u"^store\\.ini\\.bak-\\d{8}-\\d{6}$"_s)
                    .match(copies(file).constFirst())
                    .hasMatch());
        QCOMPARE(contentOf(QFileInfo(file).dir().filePath(copies(file).constFirst())), content);

        w.edit(u"a"_s, u"2"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);
        QVERIFY(contentOf(file).contains("a=2"));
        QCOMPARE(copies(file).size(), 1);
    }

    void dismissesOneChangeAlone()
    {
        const QByteArray content = "a=1\n[g]\nk=x\nl=y\n";
        const QString file = makeFile(content);
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"2"_s);
        w.edit(u"g/k"_s, u"new"_s);
        w.select(u"g/l"_s);
        w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });

        w.pending->setFocus();
        w.pending->setCurrentIndex(w.pending->model()->index(2, 0));
        w.press(Qt::Key_Delete);
        QCOMPARE(w.pendingTexts(), (QStringList{u"Правка|g/k|x|new"_s, u"Правка|a|1|2"_s}));
        QCOMPARE(treeText(*w.tree->model()), u"g{k=new l=y} a=2"_s);
        w.pending->setCurrentIndex(w.pending->model()->index(0, 0));
        QTest::mouseClick(w.window.findChild<QPushButton *>(u"dismiss"_s), Qt::LeftButton);

        QCOMPARE(w.pendingTexts(), QStringList{u"Правка|a|1|2"_s});
        QCOMPARE(treeText(*w.tree->model()), u"g{k=x l=y} a=2"_s);
        QVERIFY(!w.isMarked(u"g/k"_s));
        QVERIFY(w.isMarked(u"a"_s));
        QCOMPARE(contentOf(file), content);
    }

    void revertsAll()
    {
        const QString file = makeFile("a=1\n[g]\nk=x\nl=y\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"2"_s);
        w.select(u"g"_s);
        QCOMPARE(
            w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); }),
            u"Удалить «g»?|Вместе с содержимым групп записей: 3. Файл изменится после команды «Записать»."_s);
        QCOMPARE(treeText(*w.tree->model()), u"a=2"_s);

        w.press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);

        QCOMPARE(treeText(*w.tree->model()), u"g{k=x l=y} a=1"_s);
        QCOMPARE(w.pendingTexts(), QStringList());
    }

    void tellsOfEditsThatGoWithAGroup()
    {
        const QString file = makeFile("a=1\n[g]\nk=x\nl=y\n[gg]\nk=z\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"g/k"_s, u"new"_s);
        w.edit(u"gg/k"_s, u"new"_s);
        w.remove(u"g/l"_s);

        w.select(u"g"_s);
        QCOMPARE(w.answer(u"Отмена"_s, [&] { w.press(Qt::Key_Delete); }),
                 u"Удалить «g»?|Вместе с содержимым групп записей: 2. Правки, которые ждут записи, "
                 "пропадут: 1. Файл изменится после команды «Записать»."_s);
    }

    void removesNothingWithoutConsent()
    {
        const QString file = makeFile("a=1\nb=2\n");
        Window w;
        w.window.openFile(file);
        w.tree->setFocus();
        w.tree->selectAll();

        QCOMPARE(w.answer(u"Отмена"_s, [&] { w.press(Qt::Key_Delete); }),
                 u"Удалить выбранное? Записей выбрано: 2|Файл изменится после команды «Записать»."_s);

        QCOMPARE(treeText(*w.tree->model()), u"a=1 b=2"_s);
        QCOMPARE(w.pendingTexts(), QStringList());
    }

    void writesAtOnceWhenChosen()
    {
        const QByteArray content = "a=1\nb=2\n";
        const QString file = makeFile(content);
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        QVERIFY(w.pending->isHidden() || !w.pending->isVisible());
        QCOMPARE(copies(file), QStringList());

        // An editor that changes nothing writes nothing.
        w.edit(u"a"_s, u"1"_s);
        QCoreApplication::processEvents();
        QCOMPARE(contentOf(file), content);
        QCOMPARE(copies(file), QStringList());
        w.edit(u"a"_s, u"7"_s);
        QTRY_COMPARE(contentOf(file), QByteArray("a=7\nb=2\n"));
        w.select(u"b"_s);
        QCOMPARE(w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); }),
                 u"Удалить «b»?|Файл изменится сразу."_s);
        QTRY_COMPARE(contentOf(file), QByteArray("a=7\n"));

        QCOMPARE(copies(file).size(), 1);
        QCOMPARE(contentOf(QFileInfo(file).dir().filePath(copies(file).constFirst())), content);
        QCOMPARE(w.pendingTexts(), QStringList());
    }

    void writesNothingWithoutACopy_data()
    {
        QTest::addColumn<bool>("manual");
        QTest::newRow("on command") << true;
        QTest::newRow("at once") << false;
    }
    void writesNothingWithoutACopy()
    {
        QFETCH(bool, manual);
        // No room in the name for the end that the copy gets.
        const QString file = QFileInfo(makeFile({})).dir().filePath(QString(245, u'n') + u".ini"_s);
        const QByteArray content = "a=1\n";
        write(file, content);
        Window w;
        QVERIFY(w.window.openFile(file));
        if (!manual)
            w.action(u"immediate"_s)->trigger();

        w.edit(u"a"_s, u"7"_s);
        w.tree->setFocus();
        if (manual)
            w.press(Qt::Key_S, Qt::ControlModifier);
        QTest::qWait(0);

        QVERIFY2(w.message->text().startsWith(u"Ничего не записано: не удалось сохранить копию «"_s),
                 qPrintable(w.message->text()));
        QCOMPARE(contentOf(file), content);
        if (manual)
            QCOMPARE(w.pendingTexts(), QStringList{u"Правка|a|1|7"_s});
        else
            QVERIFY(w.tree->findChild<QFrame *>(u"settingsEditor"_s)); // with what was typed
    }

    void asksBeforeChangesAreStranded_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("switches");
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("write") << u"Записать"_s << true << QByteArray("a=7\n");
        QTest::newRow("drop") << u"Отбросить"_s << true << QByteArray("a=1\n");
        QTest::newRow("cancel") << u"Отмена"_s << false << QByteArray("a=1\n");
    }
    void asksBeforeChangesAreStranded()
    {
        QFETCH(QString, button);
        QFETCH(bool, switches);
        QFETCH(QByteArray, content);
        for (const bool closing : {false, true}) {
            const QString file = makeFile("a=1\n");
            Window w;
            w.window.openFile(file);
            w.edit(u"a"_s, u"7"_s);

            QCOMPARE(w.answer(button,
                              [&] {
                                  if (closing)
                                      QCOMPARE(w.window.close(), switches);
                                  else
                                      w.action(u"immediate"_s)->trigger();
                                  w.window.show();
                              }),
                     u"Изменений, которые ждут записи: 1. Записать их?|"_s);

            QCOMPARE(contentOf(file), content);
            QCOMPARE(w.pendingTexts().isEmpty(), switches);
            if (!closing) {
                QCOMPARE(w.action(u"immediate"_s)->isChecked(), switches);
                QCOMPARE(w.action(u"manual"_s)->isChecked(), !switches);
            }
            w.action(u"revert"_s)->trigger();
        }
    }

    void refreshesInPlace()
    {
        QByteArray content;
        for (int group = 10; group < 40; ++group)
            content += "[g" + QByteArray::number(group) + "]\nk=1\nl=2\n";
        const QString file = makeFile(content);
        Window w;
        w.window.openFile(file);
        w.edit(u"g21/k"_s, u"mine"_s);
        w.tree->collapse(w.at(u"g12"_s));
        w.select(u"g20/l"_s);
        w.tree->scrollTo(w.at(u"g20/l"_s), QAbstractItemView::PositionAtTop);
        const int place = w.tree->visualRect(w.at(u"g20/l"_s)).top();

        content.replace("[g11]\nk=1\n", "[g11]\n")
            .replace("[g15]\nk=1\nl=2\n", "")
            .replace("[g30]\n", "[g30]\nj=0\n");
        write(file, content);
        QTRY_COMPARE(w.message->text(), u"Файл изменён другой программой"_s);
        QVERIFY(w.at(u"g15"_s).isValid());
        w.press(Qt::Key_F5);

        QCOMPARE(w.message->text(), QString());
        QVERIFY(!w.at(u"g15"_s).isValid());
        QVERIFY(!w.at(u"g11/k"_s).isValid());
        QVERIFY(w.at(u"g30/j"_s).isValid());
        QVERIFY(!w.tree->isExpanded(w.at(u"g12"_s)));
        QVERIFY(w.tree->isExpanded(w.at(u"g39"_s)));
        QCOMPARE(w.tree->currentIndex(), w.at(u"g20/l"_s));
        QVERIFY(w.tree->selectionModel()->isSelected(w.at(u"g20/l"_s)));
        QCOMPARE(w.tree->visualRect(w.at(u"g20/l"_s)).top(), place);
        QCOMPARE(w.pendingTexts(), QStringList{u"Правка|g21/k|1|mine"_s});
    }

    void submitsOntoWhatAnotherProgramWrote()
    {
        const QString file = makeFile("a=1\nb=2\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"7"_s);
        write(file, "a=1\nb=3\nc=4\n");

        w.tree->setFocus();
        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), QByteArray("a=7\nb=3\nc=4\n"));
        QCOMPARE(treeText(*w.tree->model()), u"a=7 b=3 c=4"_s);
    }

    void showsWhatAnotherProgramWroteBeforeAnEditAtOnce()
    {
        const QString file = makeFile("a=1\nb=2\n");
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        const QByteArray others = "a=1\nb=300\nc=4\n";
        write(file, others);

        w.edit(u"a"_s, u"7"_s);

        QTRY_COMPARE(w.message->text(),
                     u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
        QCOMPARE(contentOf(file), QByteArray("a=7\nb=300\nc=4\n"));
        QCOMPARE(treeText(*w.tree->model()), u"a=7 b=300 c=4"_s);
        QCOMPARE(copiedContents(file), QList<QByteArray>{others});
        w.action(u"manual"_s)->trigger();
        w.edit(u"c"_s, u"5"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(contentOf(file), QByteArray("a=7\nb=300\nc=5\n"));
        QCOMPARE(w.message->text(), QString());
    }

    void showsWhatAnotherProgramWroteWhenChangesAreToWait()
    {
        const QString file = makeFile("a=1\nb=2\n");
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        write(file, "a=1\nb=300\nc=4\n");

        w.action(u"manual"_s)->trigger();

        QCOMPARE(w.message->text(), u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
        QCOMPARE(treeText(*w.tree->model()), u"a=1 b=300 c=4"_s);
        QCOMPARE(w.pendingTexts(), QStringList());
        QTest::qWait(300); // no second word of it
        QCOMPARE(w.message->text(), u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
    }

    void asksAgainWhenTheSameWasChangedInTheFile_data()
    {
        QTest::addColumn<QString>("removed"); // a is edited when empty
        QTest::addColumn<QByteArray>("others");
        QTest::addColumn<QString>("conflict");
        QTest::addColumn<QString>("pending");
        QTest::addColumn<QByteArray>("written");
        const QByteArray rest = "[g]\nk=x\nl=y\n";
        QTest::newRow("edit") << QString() << QByteArray("a=500\n" + rest) << u"a"_s << u"Правка|a|500|7"_s
                              << QByteArray("a=7\n[g]\nk=x\nl=y\n");
        QTest::newRow("same edit") << QString() << QByteArray("a=7\nb=22\n" + rest) << QString() << QString()
                                   << QByteArray("a=7\nb=22\n[g]\nk=x\nl=y\n");
        QTest::newRow("edit of what is gone")
            << QString() << rest << u"a"_s << u"Правка удалённой записи|a||7"_s
            << rest + "\n[General]\na=7\n";
        QTest::newRow("removal") << u"g/k"_s << QByteArray("a=1\n[g]\nk=other\nl=y\n") << u"g/k"_s
                                 << u"Удаление|g/k|other|"_s << QByteArray("a=1\n[g]\nl=y\n");
        QTest::newRow("in a group") << u"g"_s << QByteArray("a=1\n[g]\nk=x\nl=other\n") << u"g"_s
                                    << u"Удаление группы|g||"_s << QByteArray("a=1\n");
        QTest::newRow("new in a group") << u"g"_s << QByteArray("a=1\n[g]\nk=x\nl=y\nm=z\n") << u"g"_s
                                        << u"Удаление группы|g||"_s << QByteArray("a=1\n");
        QTest::newRow("gone from a group") << u"g"_s << QByteArray("a=1\n[g]\nk=x\n") << u"g"_s
                                           << u"Удаление группы|g||"_s << QByteArray("a=1\n");
        QTest::newRow("beside the group") << u"g"_s << QByteArray("a=1\n[g]\nk=x\nl=y\n[gg]\nk=1\n")
                                          << QString() << QString() << QByteArray("a=1\n[gg]\nk=1\n");
    }
    void asksAgainWhenTheSameWasChangedInTheFile()
    {
        QFETCH(QString, removed);
        QFETCH(QByteArray, others);
        QFETCH(QString, conflict);
        QFETCH(QString, pending);
        QFETCH(QByteArray, written);
        const QString file = makeFile("a=1\n[g]\nk=x\nl=y\n");
        Window w;
        w.window.openFile(file);
        if (removed.isEmpty()) {
            w.edit(u"a"_s, u"7"_s);
        } else {
            w.select(removed);
            w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });
        }
        write(file, others);

        w.tree->setFocus();
        w.press(Qt::Key_S, Qt::ControlModifier);
        if (!conflict.isEmpty()) {
            const QString reason = pending.startsWith(u"Правка удалённой"_s)
                                       ? u"изменено здесь, а другой программой удалено"_s
                                       : u"изменено и здесь, и в файле другой программой"_s;
            QCOMPARE(w.message->text(),
                     u"Ничего не записано: %1: %2. Повторите, чтобы заменить то, что в файле"_s.arg(
                         reason, conflict));
            QCOMPARE(contentOf(file), others);
            QCOMPARE(w.pendingTexts(), QStringList{pending});
            QCOMPARE(copies(file), QStringList());
            w.tree->setFocus();
            w.press(Qt::Key_S, Qt::ControlModifier);
        }

        QCOMPARE(contentOf(file), written);
        QCOMPARE(w.pendingTexts(), QStringList());
        QCOMPARE(copiedContents(file), QList<QByteArray>{others});
    }

    void asksAgainAtOnceWhenTheSameWasChangedInTheFile()
    {
        const QString file = makeFile("a=1\nb=2\n");
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        const QByteArray others = "a=500\nb=2\n";
        write(file, others);

        w.edit(u"a"_s, u"7"_s);

        QTRY_VERIFY2(w.message->text().startsWith(u"Ничего не записано: изменено и здесь, и в файле"_s),
                     qPrintable(w.message->text()));
        QCOMPARE(contentOf(file), others);
        QTRY_COMPARE(treeText(*w.tree->model()), u"a=500 b=2"_s);
        QVERIFY(w.tree->findChild<QFrame *>(u"settingsEditor"_s)); // with what was typed
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_COMPARE(contentOf(file), QByteArray("a=7\nb=2\n"));
        QCOMPARE(treeText(*w.tree->model()), u"a=7 b=2"_s);
    }

    void writesARefusedValueOnlyWhenToldTo_data()
    {
        using Way = std::function<void(Window &)>;
        QTest::addColumn<Way>("way");
        QTest::newRow("search key") << Way([](Window &w) { w.action(u"find"_s)->trigger(); });
        QTest::newRow("click") << Way([](Window &w) { QTest::mouseClick(w.search, Qt::LeftButton); });
        QTest::newRow("click in the tree") << Way([](Window &w) {
            QTest::mouseClick(w.tree->viewport(), Qt::LeftButton, {},
                              w.tree->visualRect(w.at(u"b"_s)).center());
        });
        QTest::newRow("key in the tree") << Way([](Window &w) {
            w.tree->setFocus();
            w.press(Qt::Key_Down);
        });
        QTest::newRow("tab") << Way([](Window &w) { w.press(Qt::Key_Tab); });
        QTest::newRow("search") << Way([](Window &w) {
            w.search->setText(u"b"_s);
            QTest::keyClick(w.search, Qt::Key_Return);
        });
        QTest::newRow("refresh") << Way([](Window &w) { w.press(Qt::Key_F5); });
        QTest::newRow("close") << Way([](Window &w) { QVERIFY(!w.window.close()); });
        QTest::newRow("typed anew") << Way([](Window &w) {
            w.press(Qt::Key_X);
            w.press(Qt::Key_Backspace);
            w.press(Qt::Key_F5);
        });
    }
    void writesARefusedValueOnlyWhenToldTo()
    {
        QFETCH(std::function<void(Window &)>, way);
        const QByteArray others = "a=theirs\nb=2\n";
        const QString file = makeFile("a=1\nb=2\n");
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        w.type(u"a"_s, u"mine"_s);
        QPointer<QWidget> field = QApplication::focusWidget();
        write(file, others);
        w.press(Qt::Key_Return);
        QTRY_COMPARE(w.message->text(),
                     u"Ничего не записано: изменено и здесь, и в файле другой программой: a. В файле теперь: "
                     "theirs. Повторите, чтобы заменить то, что в файле"_s);

        way(w);
        QTest::qWait(50);

        QCOMPARE(contentOf(file), others);
        QVERIFY(field && field->isVisible());
        way(w);
        QTest::qWait(50);
        QCOMPARE(contentOf(file), others);
        QVERIFY(field && field->isVisible());
        QVERIFY(w.window.isVisible());
        QVERIFY2(w.message->text().contains(u"не записано"_s) || w.message->text().contains(u"Ничего"_s),
                 qPrintable(w.message->text()));
        field->setFocus();
        w.press(Qt::Key_Return);
        QCOMPARE(contentOf(file), QByteArray("a=mine\nb=2\n"));
        QTRY_VERIFY(!w.isEditing());
    }

    void tellsOfAValueThatWasNotWritten()
    {
        const QString file = makeFile("a=1\nb=2\n");
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        w.type(u"a"_s, u"mine"_s);
        write(file, "a=theirs\nb=2\n");
        // Not tried before.
        w.press(Qt::Key_F5);
        QTRY_VERIFY2(w.message->text().contains(u"В файле теперь: theirs"_s), qPrintable(w.message->text()));

        w.press(Qt::Key_F5);

        QCOMPARE(w.message->text(),
                 u"Введённое значение не записано. Enter в его поле повторит запись, Esc отменит правку"_s);
        QCOMPARE(contentOf(file), QByteArray("a=theirs\nb=2\n"));
        // The command to write is explicit, too.
        w.action(u"submit"_s)->trigger();
        QCOMPARE(contentOf(file), QByteArray("a=mine\nb=2\n"));
    }

    void keepsARefusedValueInItsEditor_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("others");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("tree");
        QTest::addColumn<QByteArray>("written");
        const QByteArray plain = "a=1\nb=2\n";
        const QByteArray twice = "a=1\nb=2\n[b]\nc=3\n";
        const QString gone = u"изменено здесь, а другой программой удалено: a"_s;
        const QString changed = u"изменено и здесь, и в файле другой программой: a. В файле теперь: theirs"_s;
        QTest::newRow("gone") << plain << QByteArray("b=2\n") << gone << u"b=2"_s
                              << QByteArray("a=mine\nb=2\n");
        QTest::newRow("ambiguous") << twice << QByteArray("a=theirs\nb=2\n[b]\nc=3\n") << changed
                                   << u"b{c=3} a=theirs b=2"_s << QByteArray("a=mine\nb=2\n[b]\nc=3\n");
        QTest::newRow("gone from ambiguous ones") << twice << QByteArray("b=2\n[b]\nc=3\n") << gone
                                                  << u"b{c=3} b=2"_s << QByteArray("a=mine\nb=2\n[b]\nc=3\n");
        QTest::newRow("became ambiguous")
            << plain << QByteArray("a=theirs\nb=2\n[b]\nc=3\n") << changed << u"b{c=3} a=theirs b=2"_s
            << QByteArray("a=mine\nb=2\n[b]\nc=3\n");
    }
    void keepsARefusedValueInItsEditor()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, others);
        QFETCH(QString, reason);
        QFETCH(QString, tree);
        QFETCH(QByteArray, written);
        for (const bool again : {false, true}) {
            const QString file = makeFile(content);
            Window w;
            w.window.openFile(file);
            w.action(u"immediate"_s)->trigger();
            w.type(u"a"_s, u"mine"_s);
            QPointer<QWidget> field = QApplication::focusWidget();
            write(file, others);
            w.press(Qt::Key_Return);
            QTest::qWait(50);

            QCOMPARE(w.message->text(),
                     u"Ничего не записано: %1. Повторите, чтобы заменить то, что в файле"_s.arg(reason));
            QVERIFY(field && field->isVisible());
            QCOMPARE(contentOf(file), others);
            if (again) {
                // What is there now was not told of yet.
                write(file, "a=last\n" + others.mid(others.indexOf("b=")));
                w.press(Qt::Key_Return);
                QTRY_VERIFY2(w.message->text().contains(u"В файле теперь: last"_s),
                             qPrintable(w.message->text()));
                QVERIFY(field && field->isVisible());
                w.press(Qt::Key_Return);
                QTRY_COMPARE(contentOf(file), written);
                QTRY_COMPARE(treeText(*w.tree->model()),
                             QString(tree)
                                 .remove(u" a=theirs"_s)
                                 .replace(tree.contains(u'}') ? u"}"_s : u"b=2"_s,
                                          tree.contains(u'}') ? u"} a=mine"_s : u"a=mine b=2"_s));
            } else {
                w.press(Qt::Key_Escape);
                QTRY_COMPARE(treeText(*w.tree->model()), tree);
                QCOMPARE(contentOf(file), others);
                QCOMPARE(w.message->text(),
                         u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
            }
            QVERIFY(!w.isEditing());
        }
    }

    void showsWhatAnotherProgramWroteAfterTheNextEdit()
    {
        const QString file = makeFile("a=1\nb=2\nc=1\n[b]\nx=3\n");
        Window w;
        w.window.openFile(file);
        write(file, "a=1\nb=2\nc=theirs\n[b]\nx=3\n");
        w.type(u"a"_s, u"one"_s);

        w.press(Qt::Key_Tab); // begins to edit b
        QTest::keyClicks(QApplication::focusWidget(), u"two"_s);
        QTest::qWait(50);

        QVERIFY(w.isEditing());
        w.press(Qt::Key_Return);
        QTRY_COMPARE(treeText(*w.tree->model()), u"b{x=3} a=one b=two c=theirs"_s);
        QCOMPARE(contentOf(file), QByteArray("a=one\nb=two\nc=theirs\n[b]\nx=3\n"));
    }

    void noticesWhatIsWrittenDuringARefresh_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("refreshes");
        QTest::newRow("refresh") << QByteArray("a=1\nb=2\n") << true;
        QTest::newRow("shown after an edit") << QByteArray("a=1\nb=2\n") << false;
        QTest::newRow("ambiguous") << QByteArray("a=1\nb=2\n[a]\nc=3\n") << true;
    }
    void noticesWhatIsWrittenDuringARefresh()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, refreshes);
        const QString file = makeFile(content);
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        const QByteArray others = QByteArray(content).replace("b=2", "b=20");
        write(file, others);
        QObject middle;
        const auto interfere = [&] {
            if (w.at(u"b"_s, 2).data().toString() == u"20"_s && !contentOf(file).contains("theirs"))
                write(file, QByteArray(contentOf(file)).replace("b=20", "b=theirs"));
        };
        connect(w.tree->model(), &QAbstractItemModel::dataChanged, &middle, interfere);
        connect(w.tree->model(), &QAbstractItemModel::modelReset, &middle, interfere);

        if (refreshes)
            w.action(u"refresh"_s)->trigger();
        else
            w.edit(u"a"_s, u"7"_s);

        QTRY_VERIFY(contentOf(file).contains("theirs"));
        QTRY_COMPARE(w.message->text(), u"Файл изменён другой программой"_s);
        w.edit(u"b"_s, u"mine"_s);
        QTRY_VERIFY2(w.message->text().contains(u"В файле теперь: theirs"_s), qPrintable(w.message->text()));
        QVERIFY(contentOf(file).contains("theirs"));
    }

    void asksAgainBeforeEachOfSeveralRemovals()
    {
        const QString file = makeFile("a=1\nb=2\nc=3\n");
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        write(file, "a=1\nb=200\nc=3\n");
        w.select(u"a"_s);
        w.tree->selectionModel()->select(w.at(u"b"_s),
                                         QItemSelectionModel::Select | QItemSelectionModel::Rows);

        w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });

        QTRY_COMPARE(
            w.message->text(),
            u"Ничего не записано: изменено и здесь, и в файле другой программой: b. Повторите, чтобы "
            "заменить то, что в файле"_s);
        QCOMPARE(contentOf(file), QByteArray("b=200\nc=3\n"));
        QCOMPARE(treeText(*w.tree->model()), u"b=200 c=3"_s);
        w.select(u"b"_s);
        w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });
        QCOMPARE(contentOf(file), QByteArray("c=3\n"));
        QCOMPARE(treeText(*w.tree->model()), u"c=3"_s);
    }

    void copiesAgainWhatAnotherProgramWrote()
    {
        const QByteArray content = "a=1\nb=2\n";
        const QString file = makeFile(content);
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"7"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(copiedContents(file), QList<QByteArray>{content});
        const QByteArray others = "a=7\nb=2\nc=4\n";
        write(file, others);

        w.edit(u"a"_s, u"8"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);
        w.edit(u"a"_s, u"9"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), QByteArray("a=9\nb=2\nc=4\n"));
        QCOMPARE(copiedContents(file), (QList<QByteArray>{content, others}));
    }

    void writesNothingWhereItMustNot_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("manual");
        for (const bool manual : {true, false}) {
            const auto row = [&](const char *name, const QString &message) {
                QTest::addRow("%s, %s", name, manual ? "on command" : "at once")
                    << QString::fromLatin1(name) << u"Ничего не записано: "_s + message << manual;
            };
            row("no INI", u"«%1» - не файл INI"_s);
            row("directory", u"«%1» - каталог, а не файл настроек"_s);
            if (manual)
                row("dangling link", u"не удалось записать «%1»: "_s);
            row("marked", u"файл «%1» доступен только для чтения"_s);
            row("locked", u"файл «%1» занят другой программой"_s);
            row("closed directory", u"не удалось записать «%1»: "_s);
        }
        for (const char *gone : {"gone", "dangling link"}) {
            QTest::addRow("%s, at once", gone)
                << QString::fromLatin1(gone)
                << u"Ничего не записано. Файла «%1» больше нет. Показано то, что в нём было. "
                   "Чтобы создать его заново, перейдите к записи по команде"_s
                << false;
        }
    }
    void writesNothingWhereItMustNot()
    {
        QFETCH(QString, obstacle);
        QFETCH(QString, message);
        QFETCH(bool, manual);
        const QByteArray content = "a=1\nb=2\n";
        const QString file = makeFile(content);
        const QString place = QFileInfo(file).path();
        Window w;
        w.window.openFile(file);
        if (!manual)
            w.action(u"immediate"_s)->trigger();
        QByteArray left = content;
        if (obstacle == u"closed directory"_s) {
            // No copy is wanted a second time.
            w.edit(u"a"_s, u"0"_s);
            w.press(Qt::Key_S, Qt::ControlModifier);
            w.edit(u"a"_s, u"1"_s);
            w.press(Qt::Key_S, Qt::ControlModifier);
            left = "a=1\nb=2\n";
            QTRY_COMPARE(contentOf(file), left);
        }
        if (manual)
            w.edit(u"a"_s, u"7"_s);
        QLockFile lock(file + u".lock"_s);
        if (obstacle == u"no INI"_s) {
            left = "just\nwords\n";
            write(file, left);
        } else if (obstacle == u"marked"_s) {
            QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        } else if (obstacle == u"locked"_s) {
            QVERIFY(lock.lock());
        } else if (obstacle == u"closed directory"_s) {
            QVERIFY(QFile::setPermissions(place, QFile::ReadOwner | QFile::ExeOwner));
            if (QFileInfo(place).isWritable())
                QSKIP("the administrator may write everywhere");
        } else {
            left.clear();
            QVERIFY(QFile::remove(file));
            if (obstacle == u"directory"_s)
                QVERIFY(QDir().mkdir(file));
            else if (obstacle == u"dangling link"_s)
                QVERIFY(QFile::link(place + u"/none/store.ini"_s, file));
        }

        if (manual) {
            w.tree->setFocus();
            w.press(Qt::Key_S, Qt::ControlModifier);
        } else {
            w.edit(u"a"_s, u"7"_s);
        }
        const QString told = w.message->text();
        const QStringList pending = w.pendingTexts();
        const QString shown = treeText(*w.tree->model());

        QVERIFY2(told.startsWith(message.arg(file)), qPrintable(told));
        QCOMPARE(contentOf(file), left);
        QCOMPARE(pending, manual ? QStringList{u"Правка|a|1|7"_s} : QStringList());
        QCOMPARE(shown, manual ? u"a=7 b=2"_s : u"a=1 b=2"_s);
        QVERIFY(!QFileInfo::exists(place + u"/none"_s));

        // And later.
        lock.unlock();
        QVERIFY(QFile::setPermissions(place, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        if (QFileInfo(file).isDir())
            QVERIFY(QDir().rmdir(file));
        else if (QFileInfo(file).isSymLink())
            QVERIFY(QFile::remove(file));
        else if (QFileInfo::exists(file))
            QVERIFY(QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner));
        if (contentOf(file) != left || obstacle != u"closed directory"_s)
            write(file, content);
        if (manual) {
            w.press(Qt::Key_S, Qt::ControlModifier);
        } else {
            QVERIFY(w.tree->findChild<QFrame *>(u"settingsEditor"_s)); // with what was typed
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        }
        QCOMPARE(contentOf(file), QByteArray("a=7\nb=2\n"));
        QCOMPARE(w.message->text(), QString());
        QCOMPARE(w.pendingTexts(), QStringList());
    }

    void keepsTextsOfValuesThatCannotBeRead_data()
    {
        QTest::addColumn<QByteArray>("value");
        // Of a type that this program has not.
        const QByteArray foreign = "Variant(\\0\\0\\0\\x7f\\0\\0\\0\\tForeign?\\0\\0\\x31 \\xe9\\n)";
        QTest::newRow("alone") << "@" + foreign;
        QTest::newRow("quoted") << "\"@" + QByteArray(foreign).replace('?', ',') + '"';
        QTest::newRow("item of a list") << "one, @" + foreign + ", @Invalid(), two";
        QTest::newRow("none") << QByteArray("@Invalid()");
        QTest::newRow("escaped") << "\\x40" + foreign;
    }
    void keepsTextsOfValuesThatCannotBeRead()
    {
        QFETCH(QByteArray, value);
        const QByteArray content = "a=1\nx=" + value + "\n";
        const QString file = makeFile(content);
        // As texts.
        const auto textsIn = [&] {
            QByteArray texts = contentOf(file);
            texts.replace("@", "@@").replace("\\x40", "@@").replace("\\x28", "(").replace("\\x29", ")");
            return QSettings(makeFile(texts), QSettings::IniFormat).value(u"x"_s);
        };
        const QVariant before = textsIn();
        QVERIFY(before.isValid());
        for (const bool manual : {true, false}) {
            Window w;
            w.window.openFile(file);
            if (!manual)
                w.action(u"immediate"_s)->trigger();
            w.edit(u"a"_s, manual ? u"7"_s : u"8"_s);
            w.tree->setFocus();
            if (manual)
                w.press(Qt::Key_S, Qt::ControlModifier);

            const QByteArray rest = content.mid(content.indexOf('\n'));
            QCOMPARE(contentOf(file), (manual ? "a=7" : "a=8") + rest);
            QCOMPARE(w.message->text(), QString());
            QCOMPARE(w.pendingTexts(), QStringList());
            QCOMPARE(textsIn(), before);
            w.action(u"revert"_s)->trigger();
        }
    }

    void namesWhatCannotBeRead()
    {
        const QByteArray content = "# note\na=1\nsome words\n[g]\nb=2\n";
        const QString file = makeFile(content);
        Window w;

        QVERIFY(w.window.openFile(file));
        QCOMPARE(w.state->text(), u"Строки, которые не прочитать: 1, 3"_s);
        QCOMPARE(treeText(*w.tree->model()), u"g{b=2} a=1"_s);
        w.edit(u"g/b"_s, u"9"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), QByteArray(content).replace("b=2", "b=9"));
        QCOMPARE(w.message->text(), QString());
        write(file, "a=1\n");
        w.press(Qt::Key_F5);
        QCOMPARE(w.state->text(), QString());
    }

    void writesTheSameAsTheCommandLine_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("as another program wrote it")
            << QByteArray("; why\r\n[g]\r\n a = 1 ; one\r\nb=2\r\nlist=A;B\r\n\r\n[h]\r\nc=3");
        QTest::newRow("as QSettings wrote it") << QByteArray("[g]\na=1\nb=2\n\n[h]\nc=3\n");
    }
    void writesTheSameAsTheCommandLine()
    {
        QFETCH(QByteArray, content);
        const QString windowFile = makeFile(content);
        const QString lineFile = makeFile(content);

        Window w;
        w.window.openFile(windowFile);
        w.edit(u"g/a"_s, u"x;y "_s);
        w.remove(u"g/b"_s);
        w.remove(u"h"_s);
        w.action(u"submit"_s)->trigger();
        QString output;
        QTextStream out(&output);
        SettingsReport(CommandLine::parse({u"--settings"_s, lineFile, u"--set"_s, u"g/a=x;y "_s,
                                           u"--remove"_s, u"g/b"_s, u"--remove"_s, u"h"_s},
                                          false),
                       out)
            .run();

        QVERIFY(contentOf(windowFile) != content);
        QCOMPARE(contentOf(lineFile), contentOf(windowFile));
        QCOMPARE(copiedContents(lineFile), copiedContents(windowFile));
    }

    void keepsWhatQSettingsDoesNotRead()
    {
        const QByteArray rest = "; remark\nlist=A;B;C\nname=caf\xe9\n#b=2\nm=@Variant(\\0\\0\\x4\\0)\n";
        const QString file = makeFile("a=1\n" + rest);
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"7"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(contentOf(file), "a=7\n" + rest);

        QVERIFY(QFile::remove(file));
        w.edit(u"a"_s, u"8"_s);
        w.tree->setFocus();
        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), "a=8\n" + rest);
    }

    void tellsWhatListsAnIniFileDoesNotHold_data()
    {
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("one item") << QStringList{u"b"_s} << QByteArray("l=b\n");
        QTest::newRow("none") << QStringList() << QByteArray("l=@Invalid()\n");
        QTest::newRow("two") << QStringList{u"b"_s, u"c"_s} << QByteArray("l=b, c\n");
    }
    void tellsWhatListsAnIniFileDoesNotHold()
    {
        QFETCH(QStringList, list);
        QFETCH(QByteArray, text);
        const QString file = makeFile("[General]\nl=a, b\n");
        Window w;
        w.window.openFile(file);
        w.tree->model()->setData(w.at(u"l"_s, 2), list);

        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), QByteArray("[General]\n" + text));
        QCOMPARE(w.pendingTexts(), QStringList());
        QCOMPARE(settingsValue(w.at(u"l"_s, 2)), QVariant(list));
        QCOMPARE(w.message->text(),
                 list.size() > 1 ? QString()
                                 : u"Файл INI хранит список из одного элемента как текст, а пустой - как "
                                   "пустое значение: l"_s);
    }

    void keepsTypesThatAStoreKnows()
    {
        const QString file = QFileInfo(makeFile({})).dir().filePath(u"typed.conf"_s);
        QSettings other(file, QSettings::IniFormat);
        other.setValue(u"edited"_s, 1);
        other.setValue(u"number"_s, 5);
        other.setValue(u"choice"_s, true);
        other.sync();
        Window w;
        w.window.openStore(std::make_unique<QSettings>(file, QSettings::IniFormat));

        w.edit(u"edited"_s, u"6"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), QByteArray("[General]\nchoice=true\nedited=6\nnumber=5\n"));
        QVERIFY(isSameSettingsValue(other.value(u"edited"_s), 6));
        QVERIFY(isSameSettingsValue(other.value(u"number"_s), 5));
        QVERIFY(isSameSettingsValue(other.value(u"choice"_s), true));
        QCOMPARE(w.message->text(), QString());
    }

    void tellsOfAFileThatIsGone()
    {
        const QString file = makeFile("a=1\n");
        Window w;
        w.window.openFile(file);

        QVERIFY(QFile::remove(file));

        const QString message = u"Файла «%1» больше нет. Показано то, что в нём было. "
                                "Команда «Записать» создаст его заново"_s.arg(file);
        QTRY_COMPARE(w.message->text(), message);
        QVERIFY(w.action(u"submit"_s)->isEnabled());
        w.press(Qt::Key_F5);
        QCOMPARE(w.message->text(), message);
        QCOMPARE(treeText(*w.tree->model()), u"a=1"_s);
        write(file, "a=2\n");
        QTRY_COMPARE(w.message->text(), u"Файл изменён другой программой"_s);
        QTest::mouseClick(w.message->findChild<QPushButton *>(u"button"_s), Qt::LeftButton);
        QCOMPARE(treeText(*w.tree->model()), u"a=2"_s);
    }

    void losesNoChangeWithTheFile_data()
    {
        QTest::addColumn<bool>("gone");
        QTest::newRow("gone") << true;
        QTest::newRow("no INI any more") << false;
    }
    void losesNoChangeWithTheFile()
    {
        QFETCH(bool, gone);
        const QByteArray broken = "just\nwords\n";
        const QString file = makeFile("a=1\nb=2\n[g]\nk=x\n[h]\nl=y\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"9"_s);
        w.edit(u"g/k"_s, u"new"_s);
        w.remove(u"b"_s);
        const QStringList pending{u"Правка|g/k|x|new"_s, u"Правка|a|1|9"_s, u"Удаление|b|2|"_s};
        QCOMPARE(w.pendingTexts(), pending);
        QString problem = u"«%1» - не файл INI"_s.arg(file);
        if (gone) {
            QVERIFY(QFile::remove(file));
            problem = u"Файла «%1» больше нет. Показано то, что в нём было. "
                      "Команда «Записать» создаст его заново"_s.arg(file);
        } else {
            write(file, broken);
        }
        w.action(u"revert"_s)->trigger();
        QCOMPARE(w.message->text(), u"Ничего не отменено. "_s + problem);
        QCOMPARE(w.message->findChild<QPushButton *>(u"button"_s)->text(), u"Обновить"_s);
        w.message->clear();
        w.dismiss(2);
        QCOMPARE(w.message->text(), u"Ничего не отменено. "_s + problem);
        w.press(Qt::Key_F5);
        QCOMPARE(w.message->text(), problem);
        w.action(u"immediate"_s)->trigger();
        QCOMPARE(w.message->text(), problem);
        QVERIFY(w.action(u"manual"_s)->isChecked());
        QCOMPARE(w.pendingTexts(), pending);
        QCOMPARE(treeText(*w.tree->model()), u"g{k=new} h{l=y} a=9"_s);

        w.dismiss(0);
        QCOMPARE(w.pendingTexts(), pending.mid(1));
        QCOMPARE(treeText(*w.tree->model()), u"g{k=x} h{l=y} a=9"_s);

        problem = u"Ничего не записано: "_s + problem;
        w.press(Qt::Key_S, Qt::ControlModifier);
        if (gone) {
            QCOMPARE(contentOf(file), QByteArray("a=9\n[g]\nk=x\n[h]\nl=y\n"));
            QCOMPARE(w.pendingTexts(), QStringList());
            QCOMPARE(w.message->text(), QString());
            QVERIFY(!w.action(u"submit"_s)->isEnabled());
        } else {
            QCOMPARE(contentOf(file), broken);
            QCOMPARE(w.message->text(), problem);
            QCOMPARE(w.pendingTexts(), pending.mid(1));
        }
    }

    void writesNoLoneEntryAtOnce()
    {
        const QString file = makeFile("a=1\nb=2\n");
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        QVERIFY(QFile::remove(file));

        w.edit(u"a"_s, u"9"_s);
        QTest::qWait(0);

        QVERIFY(!QFile::exists(file));
        QCOMPARE(w.message->text(),
                 u"Ничего не записано. Файла «%1» больше нет. Показано то, что в нём было. "
                 "Чтобы создать его заново, перейдите к записи по команде"_s.arg(file));
        QVERIFY(w.isEditing());
        w.action(u"manual"_s)->trigger();
        w.press(Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(contentOf(file), QByteArray("a=9\nb=2\n"));
    }

    void takesAlongWhatIsTyped_data()
    {
        QTest::addColumn<std::function<void(Window &)>>("action");
        QTest::addColumn<bool>("asks");
        QTest::addColumn<bool>("writes");

        const QString other = makeFile("z=1\n");
        const auto row = [](const char *name, const std::function<void(Window &)> &action, bool asks,
                            bool writes) { QTest::newRow(name) << action << asks << writes; };
        row(
            "write", [](Window &w) { w.press(Qt::Key_S, Qt::ControlModifier); }, false, true);
        row(
            "close", [](Window &w) { w.window.close(), w.window.show(); }, true, true);
        row(
            "write at once", [](Window &w) { w.action(u"immediate"_s)->trigger(); }, true, true);
        row(
            "another file", [other](Window &w) { w.window.openFile(other); }, true, true);
        row(
            "refresh", [](Window &w) { w.press(Qt::Key_F5); }, false, false);
        row(
            "search",
            [](Window &w) {
                w.search->setText(u"k"_s);
                QTRY_COMPARE(treeText(*w.tree->model()), u"g{k=new}"_s);
            },
            false, false);
    }
    void takesAlongWhatIsTyped()
    {
        QFETCH(std::function<void(Window &)>, action);
        QFETCH(bool, asks);
        QFETCH(bool, writes);
        const QByteArray content = "a=1\n[g]\nk=x\n";
        const QString file = makeFile(content);
        Window w;
        w.window.openFile(file);
        w.type(u"g/k"_s, u"new"_s);

        if (asks)
            QCOMPARE(w.answer(u"Записать"_s, [&] { action(w); }),
                     u"Изменений, которые ждут записи: 1. Записать их?|"_s);
        else
            action(w);

        QVERIFY(!w.isEditing());
        QCOMPARE(contentOf(file), writes ? QByteArray("a=1\n[g]\nk=new\n") : content);
        QCOMPARE(w.pendingTexts(), writes ? QStringList() : QStringList{u"Правка|g/k|x|new"_s});
    }

    void waitsForWhatIsNoValueYet_data() { takesAlongWhatIsTyped_data(); }
    void waitsForWhatIsNoValueYet()
    {
        QFETCH(std::function<void(Window &)>, action);
        const QByteArray content = "a=1\nsize=@Size(1 2)\n[g]\nk=x\n";
        const QString file = makeFile(content);
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"9"_s);
        w.type(u"size"_s, u"words"_s);
        auto *line = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        QVERIFY(line);
        w.message->clear();

        if (QByteArray(QTest::currentDataTag()) == "search") {
            w.search->setText(u"none"_s);
            QTRY_VERIFY(!w.message->text().isEmpty());
        } else {
            action(w);
        }

        QCOMPARE(w.message->text(), u"Сначала исправьте введённое значение или отмените его правку (Esc)"_s);
        QVERIFY(w.isEditing());
        QCOMPARE(line->text(), u"words"_s);
        QCOMPARE(w.window.fileName(), file);
        QVERIFY(w.window.isVisible());
        QVERIFY(w.action(u"manual"_s)->isChecked());
        QCOMPARE(contentOf(file), content);
        QCOMPARE(w.pendingTexts(), QStringList{u"Правка|a|1|9"_s});
        w.press(Qt::Key_Escape);
        QVERIFY(!w.isEditing());
    }

    void keepsAnEditorWhenAllIsReverted()
    {
        const QString file = makeFile("a=1\nb=2\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"9"_s);
        w.type(u"b"_s, u"typed"_s);

        w.action(u"revert"_s)->trigger();

        QCOMPARE(w.pendingTexts(), QStringList());
        QVERIFY(w.isEditing());
        w.press(Qt::Key_Return);
        QCOMPARE(treeText(*w.tree->model()), u"a=1 b=typed"_s);
        w.edit(u"a"_s, u"9"_s);
        w.type(u"b"_s, u"more"_s);
        write(file, "a=1\n");
        w.action(u"revert"_s)->trigger();
        QVERIFY(!w.isEditing());
        QCOMPARE(w.message->text(), u"Отброшено правок, записей которых больше нет: 1"_s);
    }

    void dismissesWhatItWasAskedToAlone()
    {
        const QString file = makeFile("a=1\nb=2\nc=3\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"9"_s);
        w.remove(u"b"_s);
        w.remove(u"c"_s);

        // What another program removed is found with the next refresh.
        write(file, "b=2\nc=3\n");
        w.dismiss(1);
        QCOMPARE(w.pendingTexts(), (QStringList{u"Правка|a|1|9"_s, u"Удаление|c|3|"_s}));

        // A store of the same file in this program holds the same.
        QSettings(file, QSettings::IniFormat).sync();
        w.dismiss(1);
        QCOMPARE(w.pendingTexts(), QStringList{u"Правка удалённой записи|a||9"_s});
        QCOMPARE(treeText(*w.tree->model()), u"b=2 c=3"_s);
        QCOMPARE(w.message->text(),
                 u"Другая программа удалила записи, правки которых ждут: a. «Записать» создаст их снова, "
                 "«Отменить это» оставит удалёнными"_s);
    }

    void offersToCreateAgainWhatOthersRemoved_data()
    {
        QTest::addColumn<bool>("writes");
        QTest::newRow("write") << true;
        QTest::newRow("let go") << false;
    }
    void offersToCreateAgainWhatOthersRemoved()
    {
        QFETCH(bool, writes);
        const QString file = makeFile("a=1\nb=2\nc=3\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"mine"_s);
        w.edit(u"c"_s, u"5"_s);
        write(file, "b=2\nc=3\n");

        w.press(Qt::Key_F5);

        QCOMPARE(w.message->text(),
                 u"Другая программа удалила записи, правки которых ждут: a. «Записать» создаст их снова, "
                 "«Отменить это» оставит удалёнными"_s);
        QCOMPARE(treeText(*w.tree->model()), u"b=2 c=5"_s);
        QCOMPARE(w.pendingTexts(), (QStringList{u"Правка|c|3|5"_s, u"Правка удалённой записи|a||mine"_s}));
        QCOMPARE(w.pending->model()->index(1, 0).data(Qt::ToolTipRole).toString(),
                 u"«a»: запись удалена другой программой. «Записать» создаст её снова"_s);
        w.press(Qt::Key_F5); // they are still there
        QCOMPARE(w.pendingTexts().size(), 2);
        if (!writes) {
            w.pending->setCurrentIndex(w.pending->model()->index(1, 0));
            QTest::mouseClick(w.window.findChild<QPushButton *>(u"dismiss"_s), Qt::LeftButton);
            QCOMPARE(w.pendingTexts(), QStringList{u"Правка|c|3|5"_s});
        }
        w.action(u"submit"_s)->trigger();

        QCOMPARE(contentOf(file), writes ? QByteArray("b=2\nc=5\na=mine\n") : QByteArray("b=2\nc=5\n"));
        QCOMPARE(treeText(*w.tree->model()), writes ? u"a=mine b=2 c=5"_s : u"b=2 c=5"_s);
        QCOMPARE(w.pendingTexts(), QStringList());
    }

    void asksBeforeARefreshDropsChanges()
    {
        const QByteArray content = "a=1\nx=2\n[x]\ny=3\n";
        const QString file = makeFile("a=1\nx=2\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"9"_s);
        w.remove(u"x"_s);
        const QStringList pending{u"Правка|a|1|9"_s, u"Удаление|x|2|"_s};
        write(file, content);
        const QString question =
            u"Обновление отбросит изменения, которые ждут записи: 2. Обновить?|Другая программа записала "
            "в файл записи без имени или имена, которые сразу и группа, и ключ."_s;

        for (const QString &name : {u"refresh"_s, u"revert"_s}) {
            w.message->clear();
            QCOMPARE(w.answer(u"Отмена"_s, [&] { w.action(name)->trigger(); }), question);
            QCOMPARE(w.message->text(), u"Файл изменён другой программой"_s);
            QCOMPARE(w.pendingTexts(), pending);
            QCOMPARE(treeText(*w.tree->model()), u"a=9"_s);
        }
        w.tree->setFocus();
        w.press(Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(w.message->text(),
                 u"Ничего не записано: файл изменён другой программой, и в нём теперь есть записи без "
                 "имени или имена, которые сразу и группа, и ключ"_s);
        w.action(u"immediate"_s)->trigger();
        QCOMPARE(w.message->text(), u"Файл изменён другой программой"_s);
        QVERIFY(w.action(u"manual"_s)->isChecked());
        w.dismiss(1);
        QCOMPARE(treeText(*w.tree->model()), u"a=9 x=2"_s);
        QCOMPARE(w.pendingTexts(), pending.mid(0, 1));
        QCOMPARE(contentOf(file), content);

        w.answer(u"Обновить"_s, [&] { w.press(Qt::Key_F5); });

        QCOMPARE(w.message->text(), u"Отброшено изменений, которые ждали записи: 1"_s);
        QCOMPARE(w.pendingTexts(), QStringList());
        QCOMPARE(treeText(*w.tree->model()), u"x{y=3} a=1 x=2"_s);
        QVERIFY(w.action(u"immediate"_s)->isChecked());
    }

    void waitsAgainWhenNamesArePlainAgain()
    {
        const QByteArray plain = "a=1\nb=2\n";
        const QByteArray twice = "a=1\nb=2\n[b]\nc=3\n";
        const QString file = makeFile(plain);
        Window w;
        w.window.openFile(file);
        const auto refresh = [&](const QByteArray &content) {
            write(file, content);
            w.action(u"refresh"_s)->trigger();
        };

        refresh(twice);
        QVERIFY(w.action(u"immediate"_s)->isChecked());
        refresh(plain);

        QVERIFY(w.action(u"manual"_s)->isChecked());
        w.edit(u"a"_s, u"7"_s);
        QCOMPARE(contentOf(file), plain);
        QCOMPARE(w.pendingTexts(), QStringList{u"Правка|a|1|7"_s});
        w.action(u"revert"_s)->trigger();

        // The choice of the user, too.
        w.action(u"immediate"_s)->trigger();
        refresh(twice);
        refresh(plain);
        QVERIFY(w.action(u"immediate"_s)->isChecked());
    }

    void searchesWhenTheEditorIsClosed()
    {
        const QString file = makeFile("alpha=@Size(1 2)\nbeta=2\n");
        Window w;
        w.window.openFile(file);
        w.type(u"alpha"_s, u"words"_s);
        QPointer<QWidget> field = QApplication::focusWidget();
        w.search->setText(u"beta"_s);
        QTRY_VERIFY(!w.message->text().isEmpty());
        QCOMPARE(w.tree->model()->rowCount(), 2);

        field->setFocus();
        w.press(Qt::Key_Escape);

        QTRY_COMPARE(treeText(*w.tree->model()), u"beta=2"_s);
    }

    void showsPendingChangesThatTheSearchHides()
    {
        const QString file = makeFile("alpha=1\nbeta=2\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"alpha"_s, u"5"_s);
        w.remove(u"beta"_s);
        const auto search = [&](const QString &text) {
            w.search->setText(text);
            QTest::keyClick(w.search, Qt::Key_Return);
        };
        const auto activate = [&](int row) {
            w.pending->setFocus();
            w.pending->setCurrentIndex(w.pending->model()->index(row, 0));
            w.press(Qt::Key_Return);
        };
        search(u"5"_s);
        activate(0);
        QCOMPARE(w.search->text(), u"5"_s);
        search(u"none"_s);
        QCOMPARE(w.tree->model()->rowCount(), 0);

        // Without the search it is not there either.
        activate(1);
        QCOMPARE(w.search->text(), u"none"_s);
        activate(0);

        QCOMPARE(w.search->text(), QString());
        QCOMPARE(w.tree->currentIndex().siblingAtColumn(0), w.at(u"alpha"_s));
    }

    void keepsWhatIsNoValueYetWhenAPendingChangeIsChosen()
    {
        const QString file = makeFile("a=1\nb=2\nsize=@Size(1 2)\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"5"_s);
        w.type(u"size"_s, u"words"_s);
        auto *line = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        QVERIFY(line);

        Q_EMIT w.pending->activated(w.pending->model()->index(0, 0));

        QCOMPARE(w.message->text(), u"Сначала исправьте введённое значение или отмените его правку (Esc)"_s);
        QVERIFY(w.isEditing());
        QCOMPARE(line->text(), u"words"_s);
    }

    void keepsGroupsExpandedThatWereAway()
    {
        const QString file = makeFile("a=1\n[g]\nk=1\ndeep\\k=2\nflat\\k=3\n[h]\nk=4\n");
        Window w;
        w.window.openFile(file);
        w.tree->collapse(w.at(u"g/flat"_s));
        w.tree->collapse(w.at(u"h"_s));
        const auto expanded = [&w] {
            QStringList paths;
            for (const QString &path : {u"g"_s, u"g/deep"_s, u"g/flat"_s, u"h"_s}) {
                if (w.tree->isExpanded(w.at(path)))
                    paths += path;
            }
            return paths.join(u' ');
        };
        QCOMPARE(expanded(), u"g g/deep"_s);

        w.remove(u"g"_s);
        w.remove(u"h"_s);
        QCOMPARE(expanded(), QString());
        w.action(u"revert"_s)->trigger();
        QCOMPARE(expanded(), u"g g/deep"_s);

        w.remove(u"g/deep"_s);
        w.dismiss(0);
        QCOMPARE(expanded(), u"g g/deep"_s);

        w.search->setFocus();
        for (const QString &text : {u"nothing at all"_s, QString()}) {
            w.search->setText(text);
            w.press(Qt::Key_Return);
            w.search->setFocus();
        }
        QCOMPARE(expanded(), u"g g/deep"_s);
    }

    void showsReadOnlyFilesReadOnly()
    {
        const QString file = makeFile("a=1\n");
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        Window w;
        w.window.openFile(file);

        QCOMPARE(w.state->text(), u"Файл доступен только для чтения: изменить его нельзя"_s);
        QVERIFY(!w.at(u"a"_s, 2).flags().testFlag(Qt::ItemIsEditable));
        w.select(u"a"_s, 2);
        QTest::keyClick(w.tree, Qt::Key_F2);
        QCOMPARE(QApplication::focusWidget(), w.tree);
        for (const QString &name :
             {u"submit"_s, u"revert"_s, u"remove"_s, u"immediate"_s, u"manual"_s, u"edit"_s})
            QVERIFY2(!w.action(name)->isEnabled(), qPrintable(name));
        QVERIFY(w.action(u"copyPath"_s)->isEnabled());
    }

    void losesNothingWhereNamesAreAmbiguous_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("group and key") << QByteArray("a=1\nx=2\n[x]\ny=3\n");
        QTest::newRow("in a group") << QByteArray("a=1\n[g]\nx=2\nx\\y=3\n");
        QTest::newRow("nameless key") << QByteArray("a=1\n[g]\n=2\n");
    }
    void losesNothingWhereNamesAreAmbiguous()
    {
        QFETCH(QByteArray, content);
        const QString file = makeFile(content);
        Window w;
        w.window.openFile(file);
        const auto before = QSettings(file, QSettings::IniFormat).allKeys();

        QVERIFY(w.state->text().contains(u"запись по команде"_s));
        QVERIFY(!w.action(u"manual"_s)->isEnabled());
        QVERIFY(w.action(u"immediate"_s)->isChecked());
        w.edit(u"a"_s, u"7"_s);
        QTRY_VERIFY(contentOf(file).contains("a=7"));
        w.press(Qt::Key_F5);

        QCOMPARE(QSettings(file, QSettings::IniFormat).allKeys(), before);
        QVERIFY(treeText(*w.tree->model()).contains(u"a=7"_s));
    }

    void keepsWhatAnotherProgramWroteWhereNamesAreAmbiguous()
    {
        const QString file = makeFile("a=1\nx=2\n[x]\ny=3\n");
        Window w;
        w.window.openFile(file);
        write(file, "a=1\nx=2\nz=1\n[x]\ny=30\n");

        w.edit(u"a"_s, u"7"_s);

        QTRY_COMPARE(w.message->text(),
                     u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
        QCOMPARE(contentOf(file), QByteArray("a=7\nx=2\nz=1\n[x]\ny=30\n"));
        QCOMPARE(treeText(*w.tree->model()), u"x{y=30} a=7 x=2 z=1"_s);
        const QByteArray others = "a=500\nx=2\n[x]\ny=3\n";
        write(file, others);
        w.select(u"a"_s);
        w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });
        QTRY_COMPARE(
            w.message->text(),
            u"Ничего не записано: изменено и здесь, и в файле другой программой: a. Повторите, чтобы "
            "заменить то, что в файле"_s);
        QCOMPARE(contentOf(file), others);
        QCOMPARE(treeText(*w.tree->model()), u"x{y=3} a=500 x=2"_s);
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        w.select(u"a"_s);
        w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });
        QCOMPARE(w.message->text(), u"Ничего не записано: файл «%1» доступен только для чтения"_s.arg(file));
        QCOMPARE(contentOf(file), others);
    }

    void writesNothingWhereNamesBecameAmbiguous()
    {
        const QString file = makeFile("a=1\nx=2\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"7"_s);
        const QByteArray others = "a=1\nx=2\n[x]\ny=3\n";
        write(file, others);

        w.tree->setFocus();
        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(
            w.message->text(),
            u"Ничего не записано: файл изменён другой программой, и в нём теперь есть записи без имени или "
            "имена, которые сразу и группа, и ключ"_s);
        QCOMPARE(contentOf(file), others);
        QCOMPARE(w.pendingTexts(), QStringList{u"Правка|a|1|7"_s});
    }

    void searchesAllColumns_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("tree");
        QTest::newRow("name") << u"COLO"_s << u"window{colour=#010203}"_s;
        QTest::newRow("path") << u"window/s"_s << u"window{size=}"_s;
        QTest::newRow("type") << u"stringlist"_s << u"g{list=a,b}"_s;
        QTest::newRow("value") << u"hello"_s << u"g{deep{k=Hello world}}"_s;
        QTest::newRow("text of a value") << u"640 × 4"_s << u"window{size=}"_s;
        QTest::newRow("group") << u"deep"_s << u"g{deep{k=Hello world}}"_s;
        QTest::newRow("nothing") << u"none"_s << QString();
    }
    void searchesAllColumns()
    {
        QFETCH(QString, text);
        QFETCH(QString, tree);
        const QString file =
            makeFile("top=1\n[g]\nlist=a, b\ndeep\\k=Hello world\n[window]\nsize=@Size(640 480)\n"
                     "colour=@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\x1\\x1\\x2\\x2\\x3\\x3\\0\\0)\n");
        Window w;
        w.window.openFile(file);
        const QString all = treeText(*w.tree->model());

        w.window.setFocus();
        w.tree->setFocus();
        w.press(Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(QApplication::focusWidget(), w.search);
        QTest::keyClicks(w.search, text.left(1));
        w.search->setText(text);
        QCOMPARE(treeText(*w.tree->model()), all); // not yet
        QTRY_COMPARE(treeText(*w.tree->model()), tree);
        w.search->clear();
        w.press(Qt::Key_Return); // at once

        QCOMPARE(treeText(*w.tree->model()), all);
        QCOMPARE(QApplication::focusWidget(), w.tree);
    }

    void removesWhatTheSearchHides()
    {
        const QString file = makeFile("top=1\n[g]\nfound=1\nother=2\n");
        Window w;
        w.window.openFile(file);
        w.search->setFocus();
        QTest::keyClicks(w.search, u"found"_s);
        w.press(Qt::Key_Return);
        QCOMPARE(treeText(*w.tree->model()), u"g{found=1}"_s);

        w.select(u"g"_s);
        QVERIFY(w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); }).contains(u"групп записей: 3."_s));

        QCOMPARE(w.pendingTexts(), QStringList{u"Удаление группы|g||"_s});
    }

    void copiesPaths()
    {
        const QString file = makeFile("top=1\n[g]\nk=1\n");
        Window w;
        w.window.openFile(file);
        w.select(u"g/k"_s);
        w.press(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(QApplication::clipboard()->text(), u"g/k"_s);

        w.tree->selectAll();
        w.press(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(QApplication::clipboard()->text().split(u'\n'), (QStringList{u"g"_s, u"g/k"_s, u"top"_s}));
    }

    void changesEntriesBelowNamesWithPercents_data()
    {
        QTest::addColumn<QString>("strategy");
        QTest::newRow("by command") << u"manual"_s;
        QTest::newRow("at once") << u"immediate"_s;
    }
    void changesEntriesBelowNamesWithPercents()
    {
        QFETCH(QString, strategy);
        const bool manual = strategy == u"manual"_s;
        const QString group = u"views/%2Fhome%2Fx"_s;
        const QString file = makeFile({});
        {
            QSettings store(file, QSettings::IniFormat);
            store.setValue(group + u"/other"_s, u"x"_s);
            store.setValue(group + u"/table"_s, u"Customers"_s);
            store.setValue(group + u"/deep%1/k"_s, u"y"_s);
        }
        Window w;
        w.window.openFile(file);
        w.action(strategy)->trigger();
        const auto stored = [&] { return entries(*ScratchStore(contentOf(file))); };

        w.edit(group + u"/table"_s, u"Orders"_s);
        w.select(group + u"/table"_s);
        w.action(u"copyPath"_s)->trigger();
        QCOMPARE(QApplication::clipboard()->text(), group + u"/table"_s);
        QCOMPARE(w.isMarked(group + u"/table"_s), manual);
        QCOMPARE(w.at(group + u"/table"_s).data(Qt::ToolTipRole).toString(), group + u"/table"_s);
        w.select(group + u"/other"_s);
        QVERIFY(w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); }).startsWith(u"Удалить «"_s + group));
        QCOMPARE(w.isMarked(group), manual);
        w.remove(group + u"/deep%1"_s);

        const QStringList pending{u"Правка|"_s + group + u"/table|Customers|Orders"_s,
                                  u"Удаление|"_s + group + u"/other|x|"_s,
                                  u"Удаление группы|"_s + group + u"/deep%1||"_s};
        QCOMPARE(w.pendingTexts(), manual ? pending : QStringList());
        if (manual) {
            w.pending->setFocus();
            w.pending->setCurrentIndex(w.pending->model()->index(0, 0));
            w.press(Qt::Key_Return);
            QCOMPARE(w.tree->currentIndex(), w.at(group + u"/table"_s));
            w.dismiss(1);
            QCOMPARE(treeText(*w.tree->model(), w.at(group)), u"other=x table=Orders"_s);
            w.remove(group + u"/other"_s);
            w.action(u"refresh"_s)->trigger();
            QCOMPARE(w.pendingTexts(), (QStringList{pending.at(0), pending.at(2), pending.at(1)}));
        }
        w.action(u"submit"_s)->trigger();

        QCOMPARE(w.pendingTexts(), QStringList());
        QCOMPARE(w.message->text(), QString());
        QCOMPARE(treeText(*w.tree->model()), u"views{%2Fhome%2Fx{table=Orders}}"_s);
        QCOMPARE(stored(), QStringList{group + u"/table=Orders"_s});
    }

    void forgetsWhatWasRemovedAtOnce()
    {
        const QString file = makeFile("a=1\nb=2\n[g]\nk=x\n");
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        w.remove(u"b"_s);
        w.remove(u"g"_s);
        QCOMPARE(contentOf(file), QByteArray("a=1\n"));

        QFile::remove(file);
        w.action(u"manual"_s)->trigger();
        w.action(u"submit"_s)->trigger();

        QCOMPARE(contentOf(file), QByteArray("a=1\n"));
        QCOMPARE(treeText(*w.tree->model()), u"a=1"_s);
    }

    void seesNoConflictWithARemovalOfItsOwn()
    {
        const QString file = makeFile("a=1\n[g]\nk=x\nl=y\n");
        Window w;
        w.window.openFile(file);
        w.action(u"immediate"_s)->trigger();
        w.remove(u"g/k"_s);

        write(file, "a=9\n[g]\nl=y\n");
        w.remove(u"g"_s);

        QCOMPARE(contentOf(file), QByteArray("a=9\n"));
        QTRY_COMPARE(w.message->text(),
                     u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
    }

    void keepsWhatOthersAddToAGroupToBeRemoved_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("tree");
        QTest::addColumn<QString>("also");
        QTest::newRow("added") << QByteArray("a=1\n[g]\nk=x\nnew=precious\n") << u"g{k=x new=precious} a=5"_s
                               << QString();
        QTest::newRow("added deeper")
            << QByteArray("a=1\n[g]\nh\\new=precious\nk=x\n") << u"g{h{new=precious} k=x} a=5"_s << QString();
        QTest::newRow("changed") << QByteArray("a=1\n[g]\nk=precious\n") << u"g{k=precious} a=5"_s
                                 << QString();
        QTest::newRow("and an edited key is gone")
            << QByteArray("[g]\nk=precious\n") << u"g{k=precious}"_s
            << u"Другая программа удалила записи, правки которых ждут: a. «Записать» создаст их снова, "
               "«Отменить это» оставит удалёнными. "_s;
    }
    void keepsWhatOthersAddToAGroupToBeRemoved()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, tree);
        QFETCH(QString, also);
        const QString file = makeFile("a=1\n[g]\nk=x\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"5"_s);
        w.remove(u"g"_s);
        QCOMPARE(w.pendingTexts(), (QStringList{u"Правка|a|1|5"_s, u"Удаление группы|g||"_s}));

        write(file, content);
        w.action(u"refresh"_s)->trigger();

        QCOMPARE(w.message->text(),
                 also + u"Отменено удаление групп, в которые другая программа записала новое: g"_s);
        QCOMPARE(treeText(*w.tree->model()), tree);
        QCOMPARE(w.pendingTexts(),
                 QStringList{also.isEmpty() ? u"Правка|a|1|5"_s : u"Правка удалённой записи|a||5"_s});
        w.action(u"submit"_s)->trigger();
        QVERIFY(contentOf(file).contains("precious"));
        w.remove(u"g"_s);
        w.action(u"submit"_s)->trigger();
        QCOMPARE(contentOf(file), QByteArray(also.isEmpty() ? "a=5\n" : "[General]\na=5\n"));
    }

    void tellsThatAStoreIsSpoilt()
    {
        const QByteArray content = "just\nwords\n";
        const QString file = makeFile(content);
        Window w;

        w.window.openStore(std::make_unique<QSettings>(file, QSettings::IniFormat));

        QCOMPARE(w.message->text(), u"«%1» - не файл INI"_s.arg(file));
        QVERIFY(!w.action(u"submit"_s)->isEnabled());
        QCOMPARE(w.window.fileName(), QString());
        w.window.close();
        QCOMPARE(contentOf(file), content);
        write(file, "a=1\n");
        w.window.openStore(std::make_unique<QSettings>(file, QSettings::IniFormat));
        QCOMPARE(w.message->text(), QString());
        QCOMPARE(treeText(*w.tree->model()), u"a=1"_s);
    }

    void showsAStoreWhoseFileIsToCome()
    {
        const QString file = QFileInfo(makeFile({})).dir().filePath(u"new.conf"_s);
        auto store = std::make_unique<QSettings>(file, QSettings::IniFormat);
        Window w;

        w.window.openStore(std::move(store));

        QCOMPARE(w.message->text(), QString());
        QCOMPARE(w.state->text(), QString());
        QCOMPARE(w.tree->model()->rowCount(), 0);
        QSettings other(file, QSettings::IniFormat);
        other.setValue(u"k"_s, 5);
        other.sync();
        QTRY_COMPARE(w.message->text(), u"Файл изменён другой программой"_s);
        w.press(Qt::Key_F5);
        QCOMPARE(treeText(*w.tree->model()), u"k=5"_s);
        w.edit(u"k"_s, u"6"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(other.value(u"k"_s), QVariant(6)); // a number still
    }

    void isReachedByKeyboardAndNamed()
    {
        const QString file = makeFile("a=1\n");
        Window w;
        w.window.openFile(file);
        w.edit(u"a"_s, u"2"_s);

        QSet<QWidget *> reached;
        w.tree->setFocus();
        for (int i = 0; i < 40; ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            reached.insert(QApplication::focusWidget());
        }
        for (QWidget *widget : std::initializer_list<QWidget *>{w.tree, w.pending, w.search})
            QVERIFY2(reached.contains(widget), qPrintable(widget->objectName()));
        for (QWidget *widget : std::as_const(reached)) {
            QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
            QVERIFY(accessible);
            QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), widget->metaObject()->className());
        }
    }

    void followsTheLanguage()
    {
        class Shouting : public QTranslator
        {
        public:
            QString translate(const char *, const char *source, const char *, int) const override
            {
                return QString::fromUtf8(source).toUpper();
            }
            bool isEmpty() const override { return false; }
        };
        const QString file = makeFile("a=1\n");
        Window w;
        w.window.openFile(file);
        const Shouting translator;

        QCoreApplication::installTranslator(const_cast<Shouting *>(&translator));
        QCoreApplication::processEvents();
        const QString label = w.action(u"refresh"_s)->text();
        const QString header = w.tree->model()->headerData(2, Qt::Horizontal).toString();
        const QString placeholder = w.search->placeholderText();
        QCoreApplication::removeTranslator(const_cast<Shouting *>(&translator));
        QCoreApplication::processEvents();

        QCOMPARE(label, u"О&БНОВИТЬ"_s);
        QCOMPARE(header, u"ЗНАЧЕНИЕ"_s);
        QCOMPARE(placeholder, u"ПОИСК ПО ИМЕНИ, ПУТИ, ТИПУ И ЗНАЧЕНИЮ"_s);
        QCOMPARE(w.action(u"refresh"_s)->text(), u"О&бновить"_s);
    }
};

QTEST_MAIN(tst_SettingsWindow)
#include "tst_settingswindow.moc"
