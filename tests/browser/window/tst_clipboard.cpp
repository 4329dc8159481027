// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <browser/window/bytesdialog.h>

#include <QBuffer>
#include <QClipboard>
#include <QFileDialog>
#include <QImage>
#include <QLabel>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QTabWidget>

using namespace Qt::StringLiterals;

/// What the main window copies of its rows.
class tst_Clipboard : public WindowTest
{
    Q_OBJECT
private:
    /// Three columns, three rows.
    bool openTable()
    {
        m_fixture->window().openText(m_fixture->makeDatabase(
            u"t.sqlite"_s, {u"CREATE TABLE t (a INTEGER NOT NULL, b TEXT, c INTEGER)"_s,
                            u"INSERT INTO t VALUES (1, 'x', 10), (2, 'y', 20), (3, 'z', 30)"_s}));
        return m_fixture->settle() && m_fixture->rows() == 3;
    }
    /// Makes the columns stand as c, a, b, and hides b.
    void arrangeColumns()
    {
        QTableView *view = m_fixture->window().page()->view();
        m_fixture->clickCell(0, 2);
        for (int i = 0; i < 2; ++i)
            QTest::keyClick(view, Qt::Key_Left, Qt::ControlModifier | Qt::ShiftModifier);
        FilterHeader *header = m_fixture->window().page()->header();
        Q_EMIT header->menuRequested(1, header->mapToGlobal(QPoint(0, 0)));
        QVERIFY(WindowFixture::chooseInMenu(WindowFixture::openMenu(), u"hideColumn"_s));
        QCOMPARE(header->logicalIndex(0), 2);
        QVERIFY(header->isSectionHidden(1));
    }

    /// A table of 17 bytes, a picture, a text among them, nothing, more than is shown, and one without a key.
    bool openBytes(const QString &table = u"t"_s)
    {
        QFile::remove(m_fixture->path(u"b.sqlite"_s));
        m_fixture->window().openText(m_fixture->makeDatabase(
            u"b.sqlite"_s,
            {u"CREATE TABLE t (id INTEGER PRIMARY KEY, b BLOB)"_s,
             u"INSERT INTO t VALUES (1, x'%1'), (2, x'%2'), (3, 'word'), (4, NULL), (5, zeroblob(300000))"_s
                 .arg(QString::fromLatin1(seventeen().toHex()), QString::fromLatin1(picture().toHex())),
             u"CREATE TABLE plain (b BLOB)"_s, u"INSERT INTO plain VALUES (x'0102')"_s,
             u"CREATE TABLE n (id INTEGER)"_s, u"INSERT INTO n VALUES (1)"_s}));
        return m_fixture->settle() && showTable(table) && m_fixture->rows() > 0;
    }
    bool showTable(const QString &name)
    {
        m_fixture->window().showTable(name);
        return m_fixture->settle();
    }
    static QByteArray seventeen() { return "\x89\x00PNG <b>\n12345\xc3\xa9"_ba; }
    static QByteArray picture(const char *format = "png")
    {
        QImage image(3, 2, QImage::Format_RGB32);
        image.fill(Qt::red);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, format);
        return bytes;
    }
    BytesDialog *bytesDialog() { return m_fixture->window().findChild<BytesDialog *>(); }
    /// Whether the keys go to the main window again.
    bool closeDialog()
    {
        QTest::keyClick(bytesDialog(), Qt::Key_Escape);
        const bool isGone = QTest::qWaitFor([this] { return !bytesDialog(); });
        m_fixture->window().activateWindow();
        return isGone && QTest::qWaitForWindowActive(&m_fixture->window());
    }
    QString state() { return bytesDialog()->findChild<QLabel *>(u"state"_s)->text(); }
    QString shown(const QString &view)
    {
        return bytesDialog()->findChild<QPlainTextEdit *>(view)->toPlainText();
    }
    /// Opens the dialog of a cell by the key; whether it has its bytes or the reason why not.
    bool lookAt(int row)
    {
        m_fixture->clickCell(row, m_fixture->window().page()->model()->columnCount() - 1);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_F4);
        return bytesDialog() && m_fixture->settle();
    }

private Q_SLOTS:
    void init()
    {
        WindowTest::init();
        QApplication::clipboard()->setText(u"before"_s);
    }

    void copiesTheShownColumnsInTheShownOrder_data()
    {
        QTest::addColumn<bool>("headers");
        QTest::addColumn<QString>("text");
        QTest::newRow("without headers") << false << u"10\t1\n20\t2\n30\t3\n"_s;
        QTest::newRow("with headers") << true << u"c\ta\n10\t1\n20\t2\n30\t3\n"_s;
    }
    void copiesTheShownColumnsInTheShownOrder()
    {
        QFETCH(const bool, headers);
        QFETCH(const QString, text);
        QVERIFY(openTable());
        arrangeColumns();
        QTableView *view = m_fixture->window().page()->view();

        QTest::keyClick(view, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(view, Qt::Key_C,
                        headers ? Qt::ControlModifier | Qt::ShiftModifier : Qt::ControlModifier);
        QVERIFY(m_fixture->settle());

        QCOMPARE(QApplication::clipboard()->text(), text);
        // The other forms say the same.
        QString csv = QString::fromUtf8(QApplication::clipboard()->mimeData()->data(u"text/csv"_s));
        QCOMPARE(csv.replace(u',', u'\t').remove(u'\r'), text);
    }

    void tellsHowManyRowsWereCopied()
    {
        QVERIFY(openTable());
        m_fixture->clickCell(0, 0);
        m_fixture->clickCell(1, 2, Qt::ShiftModifier);

        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().statusBar()->currentMessage(), u"Скопировано строк: 2"_s);
        QCOMPARE(QApplication::clipboard()->text(), u"1\tx\t10\n2\ty\t20\n"_s);
    }

    void copiesNothingWithoutASelection()
    {
        QVERIFY(openTable());
        m_fixture->window().page()->view()->clearSelection();

        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());

        QCOMPARE(QApplication::clipboard()->text(), u"before"_s);
        QCOMPARE(m_fixture->window().statusBar()->currentMessage(), QString());
    }

    void copiesNothingWhileASourceOpens()
    {
        QVERIFY(openTable());
        m_fixture->clickCell(0, 0);

        m_fixture->window().openSample();
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);

        QVERIFY(!m_fixture->window().isSettled());
        QCOMPARE(QApplication::clipboard()->text(), u"before"_s);
        QVERIFY(m_fixture->settle());
    }

    void copiesAllBytesOfOneCell()
    {
        QVERIFY(openBytes());
        const auto copied = [this](int row, int lastRow) {
            m_fixture->clickCell(row, 1);
            if (lastRow != row)
                m_fixture->clickCell(lastRow, 1, Qt::ShiftModifier);
            QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);
            return m_fixture->settle() ? QApplication::clipboard()->text() : QString();
        };
        const QString shortForm = u"17 Б: 89 00 50 4e 47 20 3c 62 3e 0a 31 32 33 34 35 c3…"_s;

        QCOMPARE(copied(0, 0), QString::fromLatin1(seventeen().toHex()));
        QCOMPARE(m_fixture->window().statusBar()->currentMessage(), u"Скопировано байтов: 17"_s);
        QCOMPARE(copied(2, 2), u"word"_s);
        QCOMPARE(m_fixture->window().statusBar()->currentMessage(),
                 u"Скопировано то, что видно в ячейке: Значение — не байты"_s);
        QVERIFY(copied(0, 2).startsWith(shortForm + u'\n'));
        QVERIFY(openBytes(u"plain"_s));
        m_fixture->clickCell(0, 0);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());
        QCOMPARE(QApplication::clipboard()->text(), u"2 Б: 01 02"_s);
    }

    void writesAllBytesIntoAFile()
    {
        QVERIFY(openBytes());
        const QString file = m_fixture->path(u"bytes.csv"_s);
        QStringList filters;
        const auto write = [&](int form) {
            QFile::remove(file);
            m_fixture->window().activateWindow();
            if (!QTest::qWaitForWindowActive(&m_fixture->window()))
                return QByteArray();
            QTest::keyClick(&m_fixture->window(), Qt::Key_E, Qt::ControlModifier);
            auto *dialog = m_fixture->window().findChild<QFileDialog *>(u"exportDialog"_s);
            if (!dialog)
                return QByteArray("no dialog");
            filters = dialog->nameFilters();
            dialog->selectNameFilter(filters.value(form));
            dialog->selectFile(file);
            QMetaObject::invokeMethod(dialog, "accept");
            return m_fixture->settle() ? contentOf(file) : QByteArray();
        };
        const QByteArray zeros(600'000, '0');

        QCOMPARE(write(2), "id,b\r\n1," + seventeen().toHex() + "\r\n2," + picture().toHex() +
                               "\r\n3,word\r\n4,\r\n5," + zeros + "\r\n");
        QCOMPARE(filters.size(), 4);
        QVERIFY(write(3).startsWith("1," + seventeen().toHex() + "\r\n2,"));
        QVERIFY(write(0).startsWith("id,b\r\n1,17 Б: 89 00 "));
        QTRY_COMPARE(m_fixture->window().statusBar()->currentMessage(), u"Записано строк: 5"_s);

        QVERIFY(openBytes(u"plain"_s));
        const QString noKey = u"У таблицы «plain» нет первичного ключа, строку не найти, чтобы прочитать "
                              "значение целиком"_s;
        QCOMPARE(write(2), QByteArray());
        QVERIFY(!QFile::exists(file));
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList(noKey));

        QVERIFY(showTable(u"n"_s));
        write(0);
        QCOMPARE(filters.size(), 2);
    }

    void keepsWhatIsCopiedBeforeTheBytesCome()
    {
        QVERIFY(openBytes());
        m_fixture->clickCell(0, 1);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);
        QApplication::clipboard()->setText(u"mine"_s);
        QVERIFY(m_fixture->settle());
        QCOMPARE(QApplication::clipboard()->text(), u"mine"_s);
    }

    void looksAtAllBytesOfACell()
    {
        QVERIFY(openBytes());
        QVERIFY(lookAt(0));

        QCOMPARE(state(), u"17 Б"_s);
        QCOMPARE(shown(u"hex"_s),
                 u"00000000  89 00 50 4e 47 20 3c 62 3e 0a 31 32 33 34 35 c3  ..PNG <b>.12345.\n"
                 "00000010  a9                                               ."_s);
        QCOMPARE(shown(u"text"_s), u"\ufffd\u2400PNG <b>\n12345é"_s);
        QVERIFY(!bytesDialog()->findChild<QLabel *>(u"picture"_s));
        QVERIFY(closeDialog());
        // The cell of nothing has nothing to be looked at.
        QVERIFY(!lookAt(3));
        m_fixture->clickCell(0, 0);
        QVERIFY(!action(u"showValue"_s)->isEnabled());

        QVERIFY(WindowFixture::chooseInMenu(m_fixture->openCellMenu(4, 1), u"showValue"_s));
        QVERIFY(bytesDialog() && m_fixture->settle());
        QCOMPARE(state().remove(QLocale().groupSeparator()), u"300000 Б (показаны первые 262144)"_s);
        QCOMPARE(shown(u"hex"_s).count(u'\n') + 1, 16384);
        QVERIFY(shown(u"hex"_s).endsWith(
            u"0003fff0  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  ................"_s));
    }

    void showsPicturesAndWritesBytes()
    {
        QVERIFY(openBytes());
        QVERIFY(lookAt(1));

        const auto *label = bytesDialog()->findChild<QLabel *>(u"picture"_s);
        QVERIFY(label && label->isVisible());
        QCOMPARE(label->pixmap().size(), QSize(3, 2));
        const auto save = [this](const QString &file) {
            QTest::mouseClick(bytesDialog()->findChild<QPushButton *>(u"save"_s), Qt::LeftButton);
            auto *dialog = bytesDialog()->findChild<QFileDialog *>(u"saveBytesDialog"_s);
            QVERIFY(dialog);
            Q_EMIT dialog->fileSelected(file);
            dialog->close();
        };
        save(m_fixture->path(u"out.png"_s));
        QCOMPARE(contentOf(m_fixture->path(u"out.png"_s)), picture());
        QVERIFY(state().startsWith(u"Записано в "_s));
        save(m_fixture->path(u"b.sqlite"_s));
        QVERIFY(state().endsWith(u"лежит база данных, значение не записано"_s));
        save(u"/no/such/place"_s);
        QVERIFY(state().startsWith(u"Не удалось записать /no/such/place: "_s));
        QVERIFY(contentOf(m_fixture->path(u"b.sqlite"_s)).startsWith("SQLite"));
    }

    void saysWhyThereAreNoBytesToLookAt()
    {
        QVERIFY(openBytes());
        QVERIFY(lookAt(2));
        QCOMPARE(state(), u"Значение — не байты"_s);
        QVERIFY(!bytesDialog()->findChild<QPushButton *>(u"save"_s)->isEnabled());
        QVERIFY(closeDialog());

        // What is opened meanwhile takes the table away; and the dialog may go before the answer.
        m_fixture->clickCell(4, 1);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_F4);
        m_fixture->window().openSample();
        QVERIFY(m_fixture->settle());
        QCOMPARE(state(), u"Прервано"_s);
        QVERIFY(closeDialog());
        QVERIFY(openBytes());
        m_fixture->clickCell(4, 1);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_F4);
        delete bytesDialog();
        QVERIFY(m_fixture->settle());
    }

    void decodesNoPictureThatIsTooLarge()
    {
        const auto pictures = [](const QByteArray &bytes) {
            BytesDialog dialog(u"b"_s, QString(), nullptr);
            dialog.setAttribute(Qt::WA_DeleteOnClose, false);
            dialog.showBytes(bytes);
            return dialog.findChildren<QLabel *>(u"picture"_s).size();
        };
        QByteArray bitmap = picture("bmp");
        QCOMPARE(pictures(bitmap), 1);
        // Width and height: it would take 40 gigabytes.
        bitmap.replace(18, 8, QByteArray::fromHex("a0860100a0860100"));

        QCOMPARE(pictures(bitmap), 0);
    }

    void copiesByTheKeyboardAndByTheMenu()
    {
        QVERIFY(openSmall());
        m_fixture->clickCell(0, 0);
        m_fixture->clickCell(1, 1, Qt::ShiftModifier);

        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());
        const QString plain = QApplication::clipboard()->text();
        QVERIFY(WindowFixture::chooseInMenu(m_fixture->openCellMenu(0, 0), u"copyWithHeaders"_s));
        QVERIFY(m_fixture->settle());
        const QString withHeaders = QApplication::clipboard()->text();

        QCOMPARE(plain, u"1\tx,y\n2\t\n"_s);
        QCOMPARE(withHeaders, u"a\tb\n1\tx,y\n2\t\n"_s);
    }
};

QTEST_MAIN(tst_Clipboard)
#include "tst_clipboard.moc"
