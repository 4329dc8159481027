// SPDX-License-Identifier: MIT
#include <support/panelitems.h>
#include <support/windowtest.h>

#include <hostkit/views/filterpanel.h>

#include <QCheckBox>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QUrl>

using namespace sito;
using namespace Qt::StringLiterals;

/// What stays and what goes in the main window when a source is opened, and what it takes for one.
class tst_Opening : public WindowTest
{
    Q_OBJECT
private:
    QString makeTable(const QString &file)
    {
        return m_fixture->makeDatabase(file, {u"CREATE TABLE t (a INTEGER NOT NULL, b TEXT)"_s,
                                              u"INSERT INTO t VALUES (1, 'x'), (2, 'y'), (3, 'z')"_s});
    }
    /// What the panel shows of the filters.
    QStringList panelNames()
    {
        QStringList result;
        for (const QFrame *item : panelItems(*m_fixture->window().panel())) {
            if (item->isVisible())
                result.append(panelSwitch(item)->accessibleName());
        }
        return result;
    }

private Q_SLOTS:
    void keepsTheFiltersInThePanelWhenASourceFails()
    {
        m_fixture->window().openText(makeTable(u"t.sqlite"_s));
        QVERIFY(m_fixture->settle());
        m_fixture->clickCell(0, 1);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_H, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 2);
        QCOMPARE(panelNames(), QStringList{u"b"_s});

        m_fixture->window().openText(m_fixture->path(u"none.sqlite"_s));
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        QCOMPARE(panelNames(), QStringList{u"b"_s});
        // Its switch still works on the rows.
        QTest::keyClick(panelSwitch(panelItem(*m_fixture->window().panel())), Qt::Key_Space);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 3);
    }

    void forgetsOldMessagesWhenASourceOpens()
    {
        const QString file = makeTable(u"t.sqlite"_s);
        m_fixture->window().openText(m_fixture->path(u"none.sqlite"_s));
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        QVERIFY(m_fixture->window().messageBar()->isVisible());

        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 3);
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
        QVERIFY(m_fixture->window().messageBar()->isHidden());
    }

    void takesOnlyLocalFiles_data()
    {
        QTest::addColumn<QList<QUrl>>("addresses");
        QTest::addColumn<bool>("isTaken");
        QTest::newRow("local file") << QList<QUrl>{QUrl(u"file:%1"_s)} << true;
        QTest::newRow("local CSV file") << QList<QUrl>{QUrl(u"file:csv"_s)} << true;
        QTest::newRow("address in the web") << QList<QUrl>{QUrl(u"http://example.org/t.sqlite"_s)} << false;
        QTest::newRow("address of a server")
            << QList<QUrl>{QUrl(u"postgresql://127.0.0.1:1/base"_s)} << false;
        QTest::newRow("no address") << QList<QUrl>() << false;
    }
    void takesOnlyLocalFiles()
    {
        QFETCH(QList<QUrl>, addresses);
        QFETCH(const bool, isTaken);
        const QString file = makeTable(u"t.sqlite"_s);
        QFile csv(QFileInfo(file).absoluteDir().filePath(u"t.csv"_s));
        QVERIFY(csv.open(QIODevice::WriteOnly) && csv.write("a;b\n1;x\n2;y\n3;z\n") > 0);
        csv.close();
        for (QUrl &address : addresses) {
            if (address.scheme() == "file"_L1)
                address = QUrl::fromLocalFile(address.path() == "csv"_L1 ? csv.fileName() : file);
        }
        QMimeData data;
        data.setUrls(addresses);

        QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        enter.ignore();
        QCoreApplication::sendEvent(&m_fixture->window(), &enter);
        QDropEvent drop(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        drop.ignore();
        QCoreApplication::sendEvent(&m_fixture->window(), &drop);
        QCOMPARE(m_fixture->window().isSettled(), !isTaken);
        QVERIFY(m_fixture->settle());

        QCOMPARE(enter.isAccepted(), isTaken);
        QCOMPARE(drop.isAccepted(), isTaken);
        QCOMPARE(m_fixture->rows(), isTaken ? 3 : -1);
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
    }
};

QTEST_MAIN(tst_Opening)
#include "tst_opening.moc"
