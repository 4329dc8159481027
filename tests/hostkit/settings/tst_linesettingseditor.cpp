// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdelegate.h>

#include <support/settingsview.h>

#include <QColorDialog>
#include <QFontDialog>
#include <QPointer>
#include <QSignalSpy>

#include <functional>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

QFont with(QFont font, const std::function<void(QFont &)> &change)
{
    change(font);
    return font;
}

} // namespace

class TestLineSettingsEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnWarnings(); }

    void choosesColoursAndFontsInDialogs()
    {
        SettingsView view({{u"c"_s, QColor(1, 2, 3)}, {u"f"_s, QFont(u"Sans"_s, 9)}});

        view.open(u"c"_s);
        inDialog([](QWidget *dialog) {
            qobject_cast<QColorDialog *>(dialog)->setCurrentColor(QColor(9, 8, 7, 6));
        });
        press(Qt::Key_Down, Qt::AltModifier);
        QVERIFY(view.isEditing());
        view.activateWindow();
        QTRY_VERIFY(qobject_cast<QLineEdit *>(QApplication::focusWidget()));
        press(Qt::Key_Return);
        QCOMPARE(bits(view.value(u"c"_s)), bits(QColor(9, 8, 7, 6)));

        view.open(u"f"_s);
        QFont chosen(u"Sans"_s, 17);
        chosen.setItalic(true);
        inDialog([chosen](QWidget *dialog) { qobject_cast<QFontDialog *>(dialog)->setCurrentFont(chosen); });
        press(Qt::Key_Down, Qt::AltModifier);
        QVERIFY(view.isEditing());
        view.activateWindow();
        QTRY_VERIFY(qobject_cast<QLineEdit *>(QApplication::focusWidget()));
        press(Qt::Key_Return);
        QCOMPARE(view.value(u"f"_s).value<QFont>().pointSize(), 17);
        QCOMPARE(view.value(u"f"_s).typeId(), int(QMetaType::QFont));
    }

    void changesNothingByADialogAcceptedAsItCameUp_data()
    {
        QTest::addColumn<QVariant>("value");

        QTest::newRow("HSL") << QVariant(QColor::fromHslF(0.123f, 0.4f, 0.5f, 0.6f));
        QTest::newRow("HSV") << QVariant(QColor::fromHsvF(0.123f, 0.4f, 0.5f, 0.6f));
        QTest::newRow("CMYK") << QVariant(QColor::fromCmykF(0.1f, 0.2f, 0.3f, 0.4f));
        QTest::newRow("16 bits") << QVariant(QColor(QRgba64::fromRgba64(1, 2, 3, 40000)));
        QTest::newRow("beyond RGB") << QVariant(QColor::fromRgbF(1.5f, 0.5f, -0.5f));
        QTest::newRow("half transparent") << QVariant(QColor(1, 2, 3, 128));
        QTest::newRow("no colour") << QVariant(QColor());
        QTest::newRow("font") << QVariant(richFont());
        QTest::newRow("font of a fractional size")
            << QVariant(with(QFont(u"DejaVu Sans"_s), [](QFont &font) { font.setPointSizeF(9.123456789); }));
        QTest::newRow("font that is not there") << QVariant(QFont(u"Nowhere"_s, 1234));
    }

    void changesNothingByADialogAcceptedAsItCameUp()
    {
        QFETCH(QVariant, value);
        SettingsView view({{u"k"_s, value}});
        QSignalSpy changes(&view.model, &QAbstractItemModel::dataChanged);

        QPointer<QWidget> field = view.open(u"k"_s);
        QVERIFY(field);
        const QString text = textOf(field);
        bool shown = false;
        inDialog([&shown](QWidget *) { shown = true; });
        press(Qt::Key_Down, Qt::AltModifier);
        QVERIFY(shown);
        view.activateWindow();
        QTRY_COMPARE(QApplication::focusWidget(), field.data());
        QCOMPARE(textOf(field), text);
        press(Qt::Key_Return);

        QVERIFY(!view.isEditing());
        QCOMPARE(changes.size(), 0);
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(value));
    }

    void keepsWhatTheFontDialogDoesNotShow_data()
    {
        QTest::addColumn<QFont>("old");
        QTest::addColumn<std::function<void(QFont &)>>("change");

        using Change = std::function<void(QFont &)>;
        const QFont odd = with(richFont(), [](QFont &font) { font.setFamilies({u"A,B"_s}); });
        QTest::newRow("size") << richFont() << Change([](QFont &font) { font.setPointSizeF(20); });
        QTest::newRow("strike") << richFont() << Change([](QFont &font) { font.setStrikeOut(true); });
        QTest::newRow("underline") << richFont() << Change([](QFont &font) { font.setUnderline(true); });
        QTest::newRow("name with a comma") << odd << Change([](QFont &font) { font.setUnderline(true); });
    }

    void keepsWhatTheFontDialogDoesNotShow()
    {
        QFETCH(QFont, old);
        QFETCH(std::function<void(QFont &)>, change);
        SettingsView view({{u"k"_s, old}});
        QPointer<QWidget> field = view.open(u"k"_s);
        QVERIFY(field);

        inDialog([&](QWidget *widget) {
            auto *dialog = qobject_cast<QFontDialog *>(widget);
            dialog->setCurrentFont(with(dialog->currentFont(), change));
        });
        press(Qt::Key_Down, Qt::AltModifier);
        view.activateWindow();
        QTRY_COMPARE(QApplication::focusWidget(), field.data());
        press(Qt::Key_Return);

        QVERIFY(!view.isEditing());
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(with(old, change)));
    }

    void keepsWhatTheTextOfAFontDoesNotTell_data()
    {
        QTest::addColumn<QFont>("old");
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<std::function<void(QFont &)>>("change");

        using Change = std::function<void(QFont &)>;
        const QFont old = richFont();
        const QFont sized = with(old, [](QFont &font) { font.setPointSizeF(9.123456789); });
        const QFont odd = with(old, [](QFont &font) { font.setFamilies({u"A,B"_s}); });
        QTest::newRow("weight") << old << u",640,"_s << u",300,"_s
                                << Change([](QFont &font) { font.setWeight(QFont::Light); });
        QTest::newRow("pixels") << old << u",17,"_s << u",18,"_s
                                << Change([](QFont &font) { font.setPixelSize(18); });
        QTest::newRow("pixels to points")
            << old << u",-1,17,"_s << u",8.5,-1,"_s << Change([](QFont &font) { font.setPointSizeF(8.5); });
        QTest::newRow("family") << old << u"DejaVu Sans"_s << u"Mine"_s
                                << Change([](QFont &font) { font.setFamilies({u"Mine"_s}); });
        QTest::newRow("fractional size")
            << sized << u",640,"_s << u",300,"_s << Change([](QFont &font) { font.setWeight(QFont::Light); });
        QTest::newRow("short form") << old << QString() << u"Mine,12"_s << Change([](QFont &font) {
            font.setFamilies({u"Mine"_s});
            font.setPointSizeF(12);
        });
        QTest::newRow("short form over a name with a comma")
            << odd << QString() << u"Mine,12"_s << Change([](QFont &font) {
                   font.setFamilies({u"Mine"_s});
                   font.setPointSizeF(12);
               });
        QTest::newRow("name with a comma") << odd << u",640,"_s << u",300,"_s << Change();
    }

    void keepsWhatTheTextOfAFontDoesNotTell()
    {
        QFETCH(QFont, old);
        QFETCH(QString, from);
        QFETCH(QString, to);
        QFETCH(std::function<void(QFont &)>, change);
        SettingsView view({{u"k"_s, old}});
        QPointer<QWidget> field = view.open(u"k"_s);
        QVERIFY(field);

        const QString text = textOf(field);
        QVERIFY(from.isEmpty() || text.count(from) == 1);
        press(Qt::Key_A, Qt::ControlModifier);
        type(from.isEmpty() ? to : QString(text).replace(from, to));
        press(Qt::Key_Return);

        // A text that would be misread is told of.
        QCOMPARE(view.isEditing(), !change);
        press(Qt::Key_Escape);
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(change ? with(old, change) : old));
    }
};

QTEST_MAIN(TestLineSettingsEditor)
#include "tst_linesettingseditor.moc"
