// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdelegate.h>

#include <support/settingsview.h>

#include <QColorDialog>
#include <QListView>
#include <QPointer>
#include <QSignalSpy>
#include <QTimeZone>
#include <QToolButton>

#include <algorithm>

using namespace sito;
using namespace Qt::StringLiterals;

class TestListSettingsEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnWarnings(); }

    void editsListsItemByItem()
    {
        SettingsView view({{u"k"_s, QStringList{u"a,b"_s, u"c\nd"_s, QString()}}});
        QSignalSpy changes(&view.model, &QAbstractItemModel::dataChanged);

        auto *list = qobject_cast<QListView *>(view.open(u"k"_s));
        QVERIFY(list);
        QCOMPARE(list->model()->rowCount(), 3);
        press(Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(!view.isEditing());
        QCOMPARE(changes.size(), 0);

        view.open(u"k"_s);
        press(Qt::Key_Down);
        press(Qt::Key_Return); // the second item
        press(Qt::Key_End, Qt::ControlModifier);
        type(u"\ne"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Insert);
        type(u"new"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Up, Qt::AltModifier);
        press(Qt::Key_Up, Qt::AltModifier);
        press(Qt::Key_End);
        press(Qt::Key_Delete);
        press(Qt::Key_Return, Qt::ControlModifier);

        QVERIFY(!view.isEditing());
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(QStringList{u"new"_s, u"a,b"_s, u"c\nd\ne"_s}));
        QCOMPARE(changes.size(), 1);
        // Read back, it still is the list.
        QCOMPARE(bits(view.value(u"k"_s)), bits(QStringList{u"new"_s, u"a,b"_s, u"c\nd\ne"_s}));
    }

    void keepsAnOpenListAcrossARefresh_data()
    {
        QTest::addColumn<QVariant>("list");

        QTest::newRow("texts") << QVariant(QStringList{u"a, b"_s, u"c"_s});
        QTest::newRow("anything") << QVariant(QVariantList{u"a"_s, 1, QStringList{u"b"_s, u"c"_s}});
    }

    void keepsAnOpenListAcrossARefresh()
    {
        QFETCH(QVariant, list);
        SettingsView view({{u"a"_s, 1}, {u"k"_s, list}});
        QSignalSpy changes(&view.model, &QAbstractItemModel::dataChanged);

        // A refresh that changes nothing, and one of another key.
        QPointer<QListView> field = qobject_cast<QListView *>(view.open(u"k"_s));
        QVERIFY(field);
        press(Qt::Key_Down);
        for (int i = 0; i < 2; ++i) {
            view.store->setValue(u"a"_s, i + 1);
            view.model.refresh();
            QCoreApplication::processEvents();
            QVERIFY(view.isEditing());
            QVERIFY(field && field->isVisible());
            QCOMPARE(QApplication::focusWidget(), field.data());
            QCOMPARE(field->currentIndex().row(), 1);
        }
        changes.clear();
        press(Qt::Key_Return, Qt::ControlModifier);

        QVERIFY(!view.isEditing());
        QCOMPARE(changes.size(), 0);
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(list));
    }

    void showsAnotherListAsLongAsNothingWasTyped()
    {
        SettingsView view({{u"k"_s, QStringList{u"a"_s, u"b"_s, u"c"_s}}});
        auto *field = qobject_cast<QListView *>(view.open(u"k"_s));
        QVERIFY(field);
        press(Qt::Key_Down);

        view.store->setValue(u"k"_s, QStringList{u"d"_s, u"e"_s});
        view.model.refresh();

        QVERIFY(view.isEditing());
        QCOMPARE(field->model()->rowCount(), 2);
        QCOMPARE(field->currentIndex().data().toString(), u"e"_s);
    }

    void showsAnotherListOverAnUntouchedItem()
    {
        SettingsView view({{u"k"_s, QStringList{u"a"_s, u"b"_s}}});
        auto *list = qobject_cast<QListView *>(view.open(u"k"_s));
        QVERIFY(list);
        press(Qt::Key_Return);

        view.store->setValue(u"k"_s, QStringList{u"b"_s, u"c"_s, u"d"_s});
        view.model.refresh();

        QVERIFY(view.isEditing());
        QCOMPARE(QApplication::focusWidget(), list);
        press(Qt::Key_Return);
        type(u"x"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(QStringList{u"x"_s, u"c"_s, u"d"_s}));
    }

    void keepsWhatIsTypedInAnItemWhenTheStoreChanges()
    {
        SettingsView view({{u"k"_s, QStringList{u"a"_s, u"b"_s}}});

        view.open(u"k"_s);
        press(Qt::Key_Return);
        type(u"typed"_s);
        QPointer<QWidget> item = QApplication::focusWidget();
        view.store->setValue(u"k"_s, QStringList{u"x"_s, u"y"_s, u"z"_s});
        view.model.refresh();
        QCoreApplication::processEvents();

        QVERIFY(view.isEditing());
        QVERIFY(item);
        QCOMPARE(textOf(item), u"typed"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(QStringList{u"typed"_s, u"b"_s}));
    }

    void keepsAListOverAWrongItem()
    {
        SettingsView view({{u"k"_s, QVariantList{1, 2, 4}}});
        for (int i = 0; i < 20; ++i)
            view.store->setValue(u"other%1"_s.arg(i, 2, 10, QLatin1Char('0')), u"text"_s);
        view.model.refresh();
        QSignalSpy changes(&view.model, &QAbstractItemModel::dataChanged);
        QPointer<QListView> list = qobject_cast<QListView *>(view.open(u"k"_s));
        QVERIFY(list);
        press(Qt::Key_Delete);
        press(Qt::Key_Return);
        type(u"abc"_s);
        QPointer<QWidget> item = QApplication::focusWidget();

        // On its frame, on other rows, and on keys that no line has a use for.
        QWidget *editor = list->parentWidget();
        const QPoint frame(editor->width() / 2, editor->height() - 1);
        QTest::mouseClick(editor, Qt::LeftButton, {}, frame);
        QTest::mouseDClick(editor, Qt::LeftButton, {}, frame);
        QVERIFY(view.isEditing());
        QCOMPARE(QApplication::focusWidget(), list.data());
        const QPoint elsewhere = view.visualRect(view.cell(u"other15"_s)).center();
        QVERIFY(!editor->geometry().contains(elsewhere));
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, elsewhere);
        QVERIFY(view.isEditing());
        QVERIFY(item);
        item->setFocus();
        press(Qt::Key_Down);
        press(Qt::Key_PageUp);
        for (const QString &text : {u"Добавить"_s, u"Ниже"_s, u"Готово"_s}) {
            const QList<QToolButton *> buttons = editor->findChildren<QToolButton *>();
            const auto button = std::find_if(buttons.begin(), buttons.end(),
                                             [&](QToolButton *one) { return one->text() == text; });
            QVERIFY(button != buttons.end());
            QTest::mouseClick(*button, Qt::LeftButton);
            QCOMPARE(list->model()->rowCount(), 2);
            QCOMPARE(list->currentIndex().row(), 0);
            QVERIFY(item && item->isVisible());
        }
        item->setFocus();

        QVERIFY(view.isEditing());
        QCOMPARE(view.currentIndex(), view.cell(u"k"_s));
        QVERIFY(item);
        QCOMPARE(textOf(item), u"abc"_s);
        QCOMPARE(changes.size(), 0);
        press(Qt::Key_A, Qt::ControlModifier);
        type(u"3"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Down);
        press(Qt::Key_Down); // from the last row
        press(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(QVariantList{3, 4}));
    }

    void takesAnOpenItemAlong()
    {
        SettingsView view({{u"k"_s, QStringList{u"a"_s}}, {u"other"_s, 1}});

        view.open(u"k"_s);
        press(Qt::Key_Insert);
        type(u"b"_s);
        view.setFocus();

        QVERIFY(!view.isEditing());
        QCOMPARE(bits(view.value(u"k"_s)), bits(QStringList{u"a"_s, u"b"_s}));
    }

    void dropsAListWithEscape()
    {
        SettingsView view({{u"k"_s, QStringList{u"a"_s}}});
        QSignalSpy changes(&view.model, &QAbstractItemModel::dataChanged);

        view.open(u"k"_s);
        press(Qt::Key_Insert);
        type(u"b"_s);
        press(Qt::Key_Escape); // the item
        QVERIFY(view.isEditing());
        press(Qt::Key_Delete);
        press(Qt::Key_Delete);
        press(Qt::Key_Escape); // the list

        QVERIFY(!view.isEditing());
        QCOMPARE(changes.size(), 0);
    }

    void keepsTheTypesOfItems()
    {
        const QVariantList old{
            1, u"text"_s, 2.5, QColor(1, 2, 3), QStringList{u"x"_s, u"y"_s}, QVariantMap{{u"a"_s, 1}}};
        SettingsView view({{u"k"_s, old}});

        view.open(u"k"_s);
        press(Qt::Key_Return);
        type(u"7"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Insert); // another int
        type(u"8"_s);
        press(Qt::Key_Return);
        press(Qt::Key_End);
        press(Qt::Key_Up);
        press(Qt::Key_Return); // the list within
        press(Qt::Key_Delete);
        press(Qt::Key_Return, Qt::ControlModifier);
        press(Qt::Key_Return, Qt::ControlModifier);

        QVERIFY(!view.isEditing());
        QCOMPARE(bits(view.value(u"k"_s)), bits(QVariantList{7, 8, u"text"_s, 2.5, QColor(1, 2, 3),
                                                             QStringList{u"y"_s}, QVariantMap{{u"a"_s, 1}}}));
    }

    void editsPendingListsAsLists()
    {
        SettingsView view({{u"k"_s, QStringList{u"a"_s}}});
        view.model.setEditStrategy(SettingsModel::OnManualSubmit);

        for (const QString &item : {u"b,c"_s, u"d"_s}) {
            view.open(u"k"_s);
            press(Qt::Key_Insert);
            type(item);
            press(Qt::Key_Return);
            press(Qt::Key_Return, Qt::ControlModifier);
        }

        // The model shows the items joined; the list is what counts.
        QCOMPARE(bits(view.value(u"k"_s)), bits(QStringList{u"a"_s, u"d"_s, u"b,c"_s}));
        QCOMPARE(view.store->value(u"k"_s).toStringList(), QStringList{u"a"_s});
        view.model.submitAll();
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(QStringList{u"a"_s, u"d"_s, u"b,c"_s}));
    }

    void choosesTheColourOfAnItem()
    {
        const QColor old = QColor::fromHslF(.1f, .2f, .3f);
        SettingsView view({{u"k"_s, QVariantList{old, old}}});
        view.open(u"k"_s);

        for (int row = 0; row < 2; ++row) {
            press(Qt::Key_Return);
            QPointer<QWidget> item = QApplication::focusWidget();
            inDialog([row](QWidget *dialog) {
                if (row == 1)
                    qobject_cast<QColorDialog *>(dialog)->setCurrentColor(QColor(9, 8, 7, 6));
            });
            press(Qt::Key_Down, Qt::AltModifier);
            QVERIFY(view.isEditing());
            view.activateWindow();
            QTRY_COMPARE(QApplication::focusWidget(), item.data());
            press(Qt::Key_Return);
            press(Qt::Key_Down);
        }
        press(Qt::Key_Return, Qt::ControlModifier);

        QVERIFY(!view.isEditing());
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(QVariantList{old, QColor(9, 8, 7, 6)}));
    }

    void editsItemsThatStayEqual_data()
    {
        QTest::addColumn<QVariant>("from");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QVariant>("to");

        const QDateTime utc = QDateTime(QDate(2026, 1, 1), QTime(1, 0), QTimeZone::utc()).toUTC();
        QTest::newRow("the same instant")
            << QVariant(utc) << u"2026-01-01T04:00:00+03:00"_s << QVariant(utc.toOffsetFromUtc(3 * 3600));
        QTest::newRow("signed zero") << QVariant(0.) << u"-0"_s << QVariant(-0.);
        QTest::newRow("nearly the same size")
            << QVariant(QSizeF(1, 1)) << u"1.0000000000000002, 1"_s << QVariant(QSizeF(1 + 0x1p-52, 1));
        QTest::newRow("hue of a whole turn") << QVariant(QColor::fromHsv(0, 255, 255)) << u"hsv(1, 1, 1, 1)"_s
                                             << QVariant(QColor::fromHsvF(1, 1, 1, 1));
    }

    void editsItemsThatStayEqual()
    {
        QFETCH(QVariant, from);
        QFETCH(QString, text);
        QFETCH(QVariant, to);
        SettingsView view({{u"k"_s, QVariantList{from, u"a"_s}}});

        view.open(u"k"_s);
        press(Qt::Key_Return);
        press(Qt::Key_A, Qt::ControlModifier);
        type(text);
        press(Qt::Key_Return);
        press(Qt::Key_Return, Qt::ControlModifier);

        QVERIFY(!view.isEditing());
        QVERIFY(bits(from) != bits(to));
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(QVariantList{to, u"a"_s}));
    }

    void staysInsideOfTheView()
    {
        SettingsView view;
        for (int i = 0; i < 40; ++i)
            view.store->setValue(u"k%1"_s.arg(i, 2, 10, QLatin1Char('0')), QStringList{u"a"_s, u"b"_s});
        view.model.refresh();

        for (const QString &key : {u"k00"_s, u"k20"_s, u"k39"_s}) {
            QWidget *list = view.open(key);
            QVERIFY(list);
            QWidget *editor = list->parentWidget();
            QVERIFY2(view.viewport()->rect().contains(editor->geometry()), qPrintable(key));
            QVERIFY(editor->height() >= editor->minimumSizeHint().height());
            press(Qt::Key_Escape);
        }
    }
};

QTEST_MAIN(TestListSettingsEditor)
#include "tst_listsettingseditor.moc"
