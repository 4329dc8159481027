// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <browser/window/bytesdialog.h>
#include <hostkit/views/filterpanel.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QDialog>
#include <QLineEdit>
#include <QMenuBar>
#include <QSet>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_Accessibility : public WindowTest
{
    Q_OBJECT
private:
    static QString accessibleName(QObject *object)
    {
        QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(object);
        return interface ? interface->text(QAccessible::Name) : QString();
    }
    static QString describe(const QWidget *widget)
    {
        return u"%1 '%2' in '%3'"_s.arg(
            QString::fromLatin1(widget->metaObject()->className()), widget->objectName(),
            widget->parentWidget() ? widget->parentWidget()->objectName() : QString());
    }
    /// The widgets in \a window that take the focus and have no name.
    static QStringList namelessWidgets(QWidget *window)
    {
        QStringList result;
        const QList<QWidget *> widgets = window->findChildren<QWidget *>();
        for (QWidget *widget : widgets) {
            const bool isControl =
                widget->focusPolicy() != Qt::NoFocus || qobject_cast<QAbstractButton *>(widget);
            // A proxy's name is that of what has the focus; parts of views are told of by the view.
            const bool isPart =
                widget->focusProxy() || qobject_cast<QHeaderView *>(widget) ||
                (widget->parentWidget() && qobject_cast<QAbstractItemView *>(widget->parentWidget()));
            if (widget->isVisible() && isControl && !isPart && accessibleName(widget).trimmed().isEmpty())
                result.append(describe(widget));
        }
        return result;
    }
    static QStringList namelessActions(const QList<QAction *> &actions)
    {
        QStringList result;
        for (const QAction *action : actions) {
            if (!action->isSeparator() && action->text().remove(u'&').trimmed().isEmpty())
                result.append(action->objectName());
            if (action->menu())
                result += namelessActions(action->menu()->actions());
        }
        return result;
    }

private Q_SLOTS:
    void init()
    {
        WindowTest::init();
        QVERIFY(m_fixture->openSample(
            u"quotes"_s, {{}, {{false, {u"stock_id"_s}, u"1"_s}, {true, {u"sess_id"_s}, u"1|2"_s}}, {}}));
    }

    void everyControlHasAName()
    {
        m_fixture->window().openText(u"/no/such/file"_s); // the message bar, too
        QVERIFY(m_fixture->settle());

        QCOMPARE(namelessWidgets(&m_fixture->window()), QStringList());
    }

    void everyControlOfTheBytesHasAName()
    {
        BytesDialog dialog(u"b"_s, QString(), nullptr);
        dialog.setAttribute(Qt::WA_DeleteOnClose, false);
        dialog.showBytes("bytes"_ba);
        dialog.show();

        QCOMPARE(namelessWidgets(&dialog), QStringList());
    }

    void everyActionHasAText()
    {
        for (QMenu *menu : m_fixture->window().findChildren<QMenu *>())
            Q_EMIT menu->aboutToShow();

        QCOMPARE(namelessActions(m_fixture->window().menuBar()->actions()), QStringList());
        QMenu *cells = m_fixture->openCellMenu(0, 0);
        QVERIFY(cells);
        QVERIFY(cells->actions().size() > 4);
        QCOMPARE(namelessActions(cells->actions()), QStringList());
        cells->close();
    }

    void noShortcutIsGivenTwice()
    {
        QSet<QString> seen;
        for (const QAction *action : m_fixture->window().findChildren<QAction *>()) {
            for (const QKeySequence &shortcut : action->shortcuts()) {
                QVERIFY2(!seen.contains(shortcut.toString()), qPrintable(shortcut.toString()));
                seen.insert(shortcut.toString());
            }
        }
        QVERIFY(seen.size() > 12);
    }

    void mnemonicsOfAMenuDiffer_data()
    {
        QTest::addColumn<Languages::Language>("language");
        QTest::newRow("Russian") << Languages::Language::Russian;
        QTest::newRow("English") << Languages::Language::English;
    }
    void mnemonicsOfAMenuDiffer()
    {
        QFETCH(Languages::Language, language);
        m_fixture->languages().apply(language);
        QCoreApplication::processEvents();
        QList<QList<QAction *>> menus{m_fixture->window().menuBar()->actions()};
        for (const QAction *top : m_fixture->window().menuBar()->actions())
            menus.append(top->menu()->actions());
        Q_EMIT m_fixture->window().page()->header()->menuRequested(0, QPoint(300, 100));
        QVERIFY(WindowFixture::openMenu());
        menus.append(WindowFixture::openMenu()->actions());
        WindowFixture::openMenu()->close();
        QMenu *cells = m_fixture->openCellMenu(0, 0);
        QVERIFY(cells);
        menus.append(cells->actions());
        cells->close();

        for (const QList<QAction *> &menu : std::as_const(menus)) {
            QSet<QString> seen;
            for (const QAction *action : menu) {
                const qsizetype at = action->text().indexOf(u'&');
                if (at < 0)
                    continue;
                const QString mnemonic = action->text().sliced(at + 1, 1).toLower();
                QVERIFY2(!seen.contains(mnemonic), qPrintable(action->text()));
                seen.insert(mnemonic);
            }
        }
    }

    void tabReachesEveryPart()
    {
        MainWindow &window = m_fixture->window();
        window.page()->view()->setFocus();
        QSet<QWidget *> reached;

        for (int i = 0; i < 60; ++i) {
            QWidget *focus = QApplication::focusWidget();
            QVERIFY(focus);
            reached.insert(focus);
            QTest::keyClick(focus, Qt::Key_Tab);
        }

        for (const char *name :
             {"tableSearch", "tableTree", "tableView", "clearAll", "sets", "switch", "edit", "remove"}) {
            const QList<QWidget *> parts = window.findChildren<QWidget *>(QString::fromLatin1(name));
            QVERIFY2(!parts.isEmpty(), name);
            for (QWidget *part : parts) {
                if (part->isVisible())
                    QVERIFY2(reached.contains(part), name);
            }
        }
        bool hasToolButton = false;
        for (QWidget *widget : std::as_const(reached))
            hasToolButton = hasToolButton || qobject_cast<QToolBar *>(widget->parentWidget());
        QVERIFY(hasToolButton);
        QVERIFY(reached.contains(window.page()->view())); // all around
    }

    void headerTellsOfTheFilters()
    {
        QAccessibleInterface *header =
            QAccessible::queryAccessibleInterface(m_fixture->window().page()->header());
        QVERIFY(header);

        QCOMPARE(header->child(0)->text(QAccessible::Name), u"stock_id, фильтр включён"_s);
        QCOMPARE(header->child(1)->text(QAccessible::Name), u"sess_id, фильтр включён"_s);
        QCOMPARE(header->child(2)->text(QAccessible::Name), u"open, фильтр"_s);
    }

    void headerCellsOfTheTableTellOfTheFilters()
    {
        QAccessibleInterface *view =
            QAccessible::queryAccessibleInterface(m_fixture->window().page()->view());
        QVERIFY(view);
        const auto description = [view](int section) {
            QAccessibleInterface *header = view->child(1 + section); // after the corner
            return header->text(QAccessible::Name) + u'|' + header->text(QAccessible::Description);
        };

        QCOMPARE(description(0), u"stock_id|фильтр включён"_s);
        QCOMPARE(description(2), u"open|"_s);
    }

    void panelTellsOfTheFilters()
    {
        auto *check = m_fixture->window().panel()->findChild<QAbstractButton *>(u"switch"_s);
        QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(check);

        QCOMPARE(interface->text(QAccessible::Name), u"stock_id"_s);
        QCOMPARE(interface->text(QAccessible::Description), u"кроме: 1"_s);
        QVERIFY(interface->state().checked);
    }

    void messagesAreAlerts()
    {
        m_fixture->window().openText(u"/no/such/file"_s);
        QVERIFY(m_fixture->settle());

        auto *label = m_fixture->window().findChild<QWidget *>(u"messageText"_s);
        QCOMPARE(accessibleName(label), m_fixture->window().messageBar()->messages().first());
    }
};

QTEST_MAIN(tst_Accessibility)
#include "tst_accessibility.moc"
