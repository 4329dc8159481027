// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <sources/openserverdialog.h>
#include <support/postgresconnection.h>
#include <support/postgresserver.h>

#include <QAction>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>

using namespace sito;
using namespace Qt::StringLiterals;

/// The sources that the main window remembers.
class tst_RecentSources : public WindowTest
{
    Q_OBJECT
private:
    /// Makes a database of that name; its path.
    QString makeTable(const QString &name)
    {
        return m_fixture->makeDatabase(name, {u"CREATE TABLE t (a INTEGER)"_s});
    }
    bool open(const QString &file)
    {
        m_fixture->window().openText(file);
        return m_fixture->settle() && m_fixture->rows() == 0;
    }
    QMenu *menu() { return m_fixture->window().findChild<QMenu *>(u"recentMenu"_s); }
    /// The sources that the menu offers, the newest first.
    QStringList offered()
    {
        QStringList result;
        menu()->popup(QPoint(10, 10));
        for (const QAction *entry : menu()->actions()) {
            if (entry->isSeparator())
                break;
            result.append(entry->text());
        }
        menu()->close();
        return result;
    }

private Q_SLOTS:
    void offersEachSourceOnceTheNewestFirst()
    {
        const QString first = makeTable(u"first.sqlite"_s);
        const QString second = makeTable(u"second.sqlite"_s);

        for (const QString &file : {first, second, first})
            QVERIFY(open(file));

        QCOMPARE(offered(), QStringList({first, second}));
    }

    void remembersTheTenNewest()
    {
        QStringList files;
        for (int i = 1; i <= 12; ++i)
            files.prepend(makeTable(u"%1.sqlite"_s.arg(i)));
        for (qsizetype i = files.size() - 1; i >= 0; --i)
            QVERIFY(open(files.at(i)));

        QCOMPARE(offered(), files.first(10));
        QCOMPARE(m_fixture->store().value(u"recent/sources"_s).toStringList().size(), 10);
    }

    void forgetsAllOfThem()
    {
        QVERIFY(open(makeTable(u"first.sqlite"_s)));
        QVERIFY(open(makeTable(u"second.sqlite"_s)));

        menu()->popup(QPoint(10, 10));
        QVERIFY(WindowFixture::chooseInMenu(menu(), u"Забыть все"_s));

        QCOMPARE(offered(), QStringList{u"Пусто"_s});
        QVERIFY(!menu()->actions().constFirst()->isEnabled());
        m_fixture->closeWindow();
        m_fixture->makeWindow();
        QCOMPARE(offered(), QStringList{u"Пусто"_s});
        // What is opened next is remembered again.
        QVERIFY(open(m_fixture->path(u"first.sqlite"_s)));
        QCOMPARE(offered(), QStringList{m_fixture->path(u"first.sqlite"_s)});
    }

    void remembersServersWithoutTheirPasswords()
    {
        PostgresServer server;
        SITO_START_POSTGRES(server);
        const SourceLocation location = server.location();
        QCOMPARE(PostgresConnection(location).execute(u"CREATE TABLE s (a integer)"_s), QString());
        const QString file = makeTable(u"t.sqlite"_s);
        QVERIFY(open(file));

        m_fixture->window().open(location);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());

        QCOMPARE(offered(), QStringList({location.displayName(), file}));
        m_fixture->closeWindow();
        QFile stored(m_fixture->store().fileName());
        QVERIFY(stored.open(QIODevice::ReadOnly));
        const QByteArray text = stored.readAll();
        QVERIFY(text.contains("postgresql://trader@"));
        QVERIFY(!text.contains("p w'd") && !text.contains("p%20w'd") && !text.contains("p%20w%27d"));
        m_fixture->makeWindow();
        menu()->popup(QPoint(10, 10));
        QVERIFY(WindowFixture::chooseInMenu(menu(), location.displayName()));
        auto *dialog = m_fixture->window().findChild<OpenServerDialog *>();
        QVERIFY(dialog);
        QCOMPARE(dialog->location().port, location.port);
        QCOMPARE(dialog->location().user, location.user);
        QCOMPARE(dialog->location().password, QString());
        dialog->reject();
    }

    void asksAgainForAServerThatCouldNotBeOpened()
    {
        PostgresServer server;
        SITO_START_POSTGRES(server);
        SourceLocation location = server.location();
        QCOMPARE(PostgresConnection(location).execute(u"CREATE TABLE s (a integer)"_s), QString());
        location.password = u"wrong"_s;
        const auto dialog = [this] { return m_fixture->window().findChild<OpenServerDialog *>(); };
        m_fixture->window().findChild<QAction *>(u"openServer"_s)->trigger();
        QVERIFY(dialog());
        const QPointer<OpenServerDialog> first = dialog();
        first->setLocation(location);

        first->accept();
        QTRY_VERIFY_WITH_TIMEOUT(!first && dialog() && dialog()->isVisible(), 30'000);

        QCOMPARE(dialog()->location(), location);
        const QString note = dialog()->findChild<QLabel *>(u"note"_s)->text();
        QVERIFY2(note.startsWith(u"Не удалось открыть «%1»: "_s.arg(location.displayName())),
                 qPrintable(note));
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
        auto *password = dialog()->findChild<QLineEdit *>(u"password"_s);
        QTRY_VERIFY(password->hasFocus());
        password->setText(server.location().password);
        dialog()->accept();
        QVERIFY(m_fixture->settle());
        QTRY_VERIFY(!dialog());
        QCOMPARE(offered(), QStringList{location.displayName()});

        // Nobody was asked for this one.
        location.password = u"wrong again"_s;
        m_fixture->window().open(location);
        QVERIFY(m_fixture->settle());
        QVERIFY(!dialog());
        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
    }
};

QTEST_MAIN(tst_RecentSources)
#include "tst_recentsources.moc"
