// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdelegate.h>
#include <hostkit/settings/settingsvalue.h>

#include <support/seed.h>
#include <support/settingsview.h>

#include <QBitArray>
#include <QComboBox>
#include <QHelpEvent>
#include <QKeySequence>
#include <QLabel>
#include <QLine>
#include <QListView>
#include <QLocale>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTimeZone>
#include <QToolTip>
#include <QUrl>
#include <QUuid>

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <type_traits>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

template <typename Number>
Number randomNumber(QRandomGenerator &random)
{
    using Limits = std::numeric_limits<Number>;
    switch (random.bounded(6)) {
    case 0:
        return Limits::lowest();
    case 1:
        return Limits::max();
    case 2:
        return Number(random.bounded(-100, 100));
    case 3:
        return Number(0);
    default:
        break;
    }
    if constexpr (std::is_same_v<Number, double>) {
        const auto number = std::bit_cast<double>(random.generate64());
        return std::isnan(number) ? Limits::quiet_NaN() : number;
    } else if constexpr (std::is_same_v<Number, float>) {
        const auto number = std::bit_cast<float>(random.generate());
        return std::isnan(number) ? -Limits::infinity() : number;
    } else {
        return Number(random.generate64());
    }
}

QString randomText(QRandomGenerator &random, const QString &letters)
{
    QString text;
    for (int length = random.bounded(12); length > 0; --length)
        text += letters.at(random.bounded(int(letters.size())));
    return text;
}

const QString typed = u"aZ 09,;\"'\\/%=яЖ€\u00a0漢\n"_s;

QDate randomDate(QRandomGenerator &random)
{
    return random.bounded(8) ? QDate::fromJulianDay(random.bounded(1500000, 3000000)) : QDate();
}

QTime randomTime(QRandomGenerator &random)
{
    return random.bounded(8) ? QTime::fromMSecsSinceStartOfDay(random.bounded(86400000)) : QTime(12, 30);
}

QDateTime randomDateTime(QRandomGenerator &random)
{
    const qint64 msecs = random.bounded(qint64(4102444800000)) - 1000000000000;
    switch (random.bounded(5)) {
    case 0:
        return QDateTime::fromMSecsSinceEpoch(msecs).toUTC();
    case 1:
        return QDateTime::fromMSecsSinceEpoch(msecs).toOffsetFromUtc(random.bounded(-55, 55) * 900 + 1);
    case 2:
        return QDateTime::fromMSecsSinceEpoch(msecs, QTimeZone("America/New_York"));
    case 3:
        // The hour that comes twice.
        return QDateTime::fromMSecsSinceEpoch(1729987200000 + random.bounded(4 * 3600000),
                                              QTimeZone("Europe/Berlin"));
    default:
        return QDateTime::fromMSecsSinceEpoch(msecs);
    }
}

QColor randomColor(QRandomGenerator &random)
{
    const auto part = [&] { return random.bounded(65536); };
    const auto fraction = [&] { return float(random.generateDouble()); };
    switch (random.bounded(6)) {
    case 0:
        return QColor(random.bounded(256), random.bounded(256), random.bounded(256), random.bounded(256));
    case 1:
        return QColor(QRgba64::fromRgba64(ushort(part()), ushort(part()), ushort(part()), ushort(part())));
    case 2:
        return QColor::fromHsvF(fraction(), fraction(), fraction(), fraction());
    case 3:
        return QColor::fromHslF(fraction(), fraction(), fraction());
    case 4:
        return QColor::fromCmykF(fraction(), fraction(), fraction(), fraction());
    default:
        return QColor::fromRgb(random.generate() & 0xffffff);
    }
}

using Maker = std::function<QVariant(QRandomGenerator &)>;

template <typename Value>
Maker numbers()
{
    return [](QRandomGenerator &random) { return QVariant::fromValue(randomNumber<Value>(random)); };
}

} // namespace

Q_DECLARE_METATYPE(Maker)

class TestSettingsDelegate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnWarnings(); }

    void editsRandomValuesInTheirTypes_data()
    {
        QTest::addColumn<Maker>("maker");

        QTest::newRow("bool") << Maker([](QRandomGenerator &r) { return QVariant(r.bounded(2) == 1); });
        QTest::newRow("char") << numbers<char>();
        QTest::newRow("signed char") << numbers<signed char>();
        QTest::newRow("uchar") << numbers<uchar>();
        QTest::newRow("short") << numbers<short>();
        QTest::newRow("ushort") << numbers<ushort>();
        QTest::newRow("int") << numbers<int>();
        QTest::newRow("uint") << numbers<uint>();
        QTest::newRow("long") << numbers<long>();
        QTest::newRow("ulong") << numbers<ulong>();
        QTest::newRow("qlonglong") << numbers<qlonglong>();
        QTest::newRow("qulonglong") << numbers<qulonglong>();
        QTest::newRow("float") << numbers<float>();
        QTest::newRow("double") << numbers<double>();
        QTest::newRow("QString") << Maker([](QRandomGenerator &r) { return QVariant(randomText(r, typed)); });
        QTest::newRow("QChar") << Maker([](QRandomGenerator &r) {
            return QVariant(QChar(ushort(r.bounded(2) ? r.bounded(0x500) : r.bounded(0x10000))));
        });
        QTest::newRow("QByteArray") << Maker([](QRandomGenerator &r) {
            QByteArray bytes;
            for (int size = r.bounded(10); size > 0; --size)
                bytes += r.bounded(2) ? char(r.bounded(32, 127)) : char(r.bounded(256));
            return QVariant(bytes);
        });
        QTest::newRow("QDate") << Maker([](QRandomGenerator &r) { return QVariant(randomDate(r)); });
        QTest::newRow("QTime") << Maker([](QRandomGenerator &r) { return QVariant(randomTime(r)); });
        QTest::newRow("QDateTime") << Maker([](QRandomGenerator &r) { return QVariant(randomDateTime(r)); });
        QTest::newRow("QColor") << Maker([](QRandomGenerator &r) { return QVariant(randomColor(r)); });
        QTest::newRow("QFont") << Maker([](QRandomGenerator &r) {
            QFont font(u"Family %1"_s.arg(r.bounded(9)), r.bounded(1, 40));
            font.setItalic(r.bounded(2));
            font.setWeight(QFont::Weight(r.bounded(1, 1000)));
            font.setPointSizeF(r.bounded(100) / 4. + 1);
            font.setStrikeOut(r.bounded(2));
            return QVariant(font);
        });
        const auto n = [](QRandomGenerator &r) { return randomNumber<int>(r); };
        const auto f = [](QRandomGenerator &r) {
            const double number = randomNumber<double>(r);
            return std::isnan(number) ? 0.1 : number;
        };
        QTest::newRow("QSize") << Maker([=](QRandomGenerator &r) { return QVariant(QSize(n(r), n(r))); });
        QTest::newRow("QSizeF") << Maker([=](QRandomGenerator &r) { return QVariant(QSizeF(f(r), f(r))); });
        QTest::newRow("QPoint") << Maker([=](QRandomGenerator &r) { return QVariant(QPoint(n(r), n(r))); });
        QTest::newRow("QPointF") << Maker([=](QRandomGenerator &r) { return QVariant(QPointF(f(r), f(r))); });
        QTest::newRow("QRect") << Maker(
            [=](QRandomGenerator &r) { return QVariant(QRect(QPoint(n(r), n(r)), QPoint(n(r), n(r)))); });
        QTest::newRow("QRectF") << Maker(
            [=](QRandomGenerator &r) { return QVariant(QRectF(f(r), f(r), f(r), f(r))); });
        QTest::newRow("QKeySequence") << Maker([](QRandomGenerator &r) {
            const auto key = [&] {
                const int modifiers = int(Qt::CTRL) * r.bounded(2) | int(Qt::SHIFT) * r.bounded(2) |
                                      int(Qt::ALT) * r.bounded(2);
                const QList<Qt::Key> keys{Qt::Key_A,    Qt::Key_F12,    Qt::Key_Comma,
                                          Qt::Key_Plus, Qt::Key_Escape, Qt::Key_Delete};
                return modifiers | keys.at(r.bounded(int(keys.size())));
            };
            return QVariant::fromValue(r.bounded(2) ? QKeySequence(key()) : QKeySequence(key(), key()));
        });
        QTest::newRow("QUuid") << Maker([](QRandomGenerator &r) {
            return QVariant(QUuid(r.generate(), ushort(r.generate()), ushort(r.generate()), 1, 2, 3, 4, 5, 6,
                                  7, uchar(r.generate())));
        });
        QTest::newRow("QUrl") << Maker([](QRandomGenerator &r) {
            QUrl url;
            url.setScheme(u"https"_s);
            url.setHost(u"example.org"_s);
            url.setPath(u'/' + randomText(r, u"aяЖ %#?&+"_s));
            url.setFragment(randomText(r, u"abc"_s));
            return QVariant(url);
        });
    }

    void editsRandomValuesInTheirTypes()
    {
        QFETCH(Maker, maker);
        const quint64 seed = testSeed();
        QRandomGenerator random(static_cast<quint32>(seed));
        SettingsView view;
        for (int i = 0; i < 12; ++i) {
            const QVariant from = maker(random);
            const QVariant to = maker(random);
            const QByteArray where = seedMessage(seed, u"round %1"_s.arg(i));
            view.store->setValue(u"from"_s, from);
            view.store->setValue(u"to"_s, to);
            view.model.refresh();
            const QString typeName = find(view.sorted, {u"from"_s}, 1).data().toString();
            QCOMPARE(typeName, QString::fromLatin1(from.typeName()));

            // Opened and ended, each value stays, and nothing is written.
            QSignalSpy changes(&view.model, &QAbstractItemModel::dataChanged);
            QWidget *field = view.open(u"to"_s);
            QVERIFY2(field, where.constData());
            const QString text = textOf(field);
            press(Qt::Key_Return);
            QVERIFY(!view.isEditing());
            QCOMPARE(changes.size(), 0);

            // One value is turned into the other by typing its text.
            field = view.open(u"from"_s);
            QVERIFY2(field, where.constData());
            if (auto *choice = qobject_cast<QComboBox *>(field)) {
                QCOMPARE(choice->currentText(), from.toBool() ? u"Да"_s : u"Нет"_s);
                press(to.toBool() ? Qt::Key_Up : Qt::Key_Down);
            } else {
                typeOver(text);
            }
            press(Qt::Key_Return);

            QVERIFY2(!view.isEditing(), (where + ": " + text.toUtf8()).constData());
            QVERIFY2(bits(view.value(u"from"_s)) == bits(to),
                     (where + ": " + text.toUtf8() + ' ' + bits(view.value(u"from"_s)) + ' ' + bits(to))
                         .constData());
            QVERIFY2(bits(view.store->value(u"from"_s)) == bits(to), where.constData());
            QCOMPARE(changes.size(), bits(from) == bits(to) ? 0 : 1);
        }
    }

    void appendsToAnyTextWithoutLosingTheRest()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(static_cast<quint32>(seed));
        const QString letters = u"a\\я \u00a0\u200b\u2028\u2029\ufdd0\ufffc\u0085\u007f\t\n\r"_s + QChar(0) +
                                QChar(1) + QChar(0xd800) + QChar(0xdc00);
        SettingsView view;
        for (int i = 0; i < 60; ++i) {
            const QString text = randomText(random, letters);
            view.store->setValue(u"k"_s, text);
            view.model.refresh();

            QVERIFY(view.open(u"k"_s));
            press(Qt::Key_End, Qt::ControlModifier);
            type(u"x"_s);
            press(Qt::Key_Return);

            QVERIFY2(bits(view.value(u"k"_s)) == bits(QString(text + u'x')),
                     seedMessage(seed, QString::fromLatin1(bits(text) + ' ' + bits(view.value(u"k"_s))))
                         .constData());
        }
    }

    void keepsLongValuesWhole_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QVariant>("longer");

        constexpr int size = 40000;
        const QByteArray bytes(size, 'b');
        const QByteArray controls(size, '\x01');
        const QString text(size, u'я');
        const QString path = u"https://example.org/"_s + QString(size, u'p');
        QTest::newRow("text") << QVariant(text) << QVariant(text + u'x');
        QTest::newRow("text with escapes")
            << QVariant(QString(size, u'\r')) << QVariant(QString(size, u'\r') + u'x');
        QTest::newRow("bytes") << QVariant(bytes) << QVariant(bytes + 'x');
        QTest::newRow("bytes with escapes") << QVariant(controls) << QVariant(controls + 'x');
        QTest::newRow("address") << QVariant(QUrl(path)) << QVariant(QUrl(path + u'x'));
        QTest::newRow("item") << QVariant(QVariantList{bytes, 1}) << QVariant(QVariantList{bytes + 'x', 1});
    }

    void keepsLongValuesWhole()
    {
        QFETCH(QVariant, value);
        QFETCH(QVariant, longer);
        SettingsView view({{u"k"_s, value}});
        QSignalSpy changes(&view.model, &QAbstractItemModel::dataChanged);
        const bool list = value.typeId() == QMetaType::QVariantList;
        const auto open = [&] {
            QVERIFY(view.open(u"k"_s));
            if (list)
                press(Qt::Key_Return); // the item
        };
        const auto end = [&] {
            press(Qt::Key_Return);
            if (list)
                press(Qt::Key_Return, Qt::ControlModifier);
            QVERIFY(!view.isEditing());
        };

        open();
        end();
        QCOMPARE(changes.size(), 0);
        QVERIFY(bits(view.store->value(u"k"_s)) == bits(value));

        open();
        const bool line = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        press(Qt::Key_End, line ? Qt::NoModifier : Qt::ControlModifier);
        type(u"x"_s);
        end();
        QCOMPARE(changes.size(), 1);
        QVERIFY(bits(view.store->value(u"k"_s)) == bits(longer));
    }

    void readsWhatPeopleWrite_data()
    {
        QTest::addColumn<QVariant>("old");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QVariant>("value");

        QTest::newRow("text that looks like a number") << QVariant(u"5"_s) << u"6"_s << QVariant(u"6"_s);
        QTest::newRow("text that looks like a bool")
            << QVariant(u"true"_s) << u"false"_s << QVariant(u"false"_s);
        QTest::newRow("text that looks like a list") << QVariant(u"a"_s) << u"a,b"_s << QVariant(u"a,b"_s);
        QTest::newRow("number with blanks and plus") << QVariant(1) << u" +7 "_s << QVariant(7);
        QTest::newRow("leading zeros") << QVariant(1u) << u"007"_s << QVariant(7u);
        QTest::newRow("decimal comma") << QVariant(1.5) << u"2,25"_s << QVariant(2.25);
        QTest::newRow("whole double") << QVariant(1.5) << u"2"_s << QVariant(2.);
        QTest::newRow("infinity") << QVariant(1.5) << u"-inf"_s
                                  << QVariant(-std::numeric_limits<double>::infinity());
        QTest::newRow("negative zero") << QVariant(0.) << u"-0"_s << QVariant(-0.);
        QTest::newRow("time to the minute")
            << QVariant(QTime(1, 2, 3, 4)) << u"5:06"_s << QVariant(QTime(5, 6));
        QTest::newRow("tenth of a second")
            << QVariant(QTime(1, 2)) << u"05:06:07.8"_s << QVariant(QTime(5, 6, 7, 800));
        QTest::newRow("year before the era")
            << QVariant(QDate(1, 2, 3)) << u"-0044-03-15"_s << QVariant(QDate(-44, 3, 15));
        QTest::newRow("year of five digits")
            << QVariant(QDate(1, 2, 3)) << u"12024-03-15"_s << QVariant(QDate(12024, 3, 15));
        QTest::newRow("UTC") << QVariant(QDateTime(QDate(2024, 1, 1), QTime(1, 0)))
                             << u"2024-02-03 04:05:06Z"_s
                             << QVariant(
                                    QDateTime(QDate(2024, 2, 3), QTime(4, 5, 6), QTimeZone::utc()).toUTC());
        QTest::newRow("zone, offset of another season")
            << QVariant(QDateTime(QDate(2024, 1, 1), QTime(1, 0), QTimeZone("Europe/Berlin")))
            << u"2024-07-01T01:00:00+01:00[Europe/Berlin]"_s
            << QVariant(QDateTime(QDate(2024, 7, 1), QTime(1, 0), QTimeZone("Europe/Berlin")));
        const QTimeZone own("Sito/Own", 5400, u"Own"_s, u"OWN"_s);
        QTest::newRow("day in a zone that no name leads to")
            << QVariant(QDateTime(QDate(2024, 1, 1), QTime(1, 0), own))
            << u"2024-01-02T01:00:00+01:30[Sito/Own]"_s
            << QVariant(QDateTime(QDate(2024, 1, 2), QTime(1, 0), own));
        QTest::newRow("colour by name")
            << QVariant(QColor(1, 2, 3)) << u"red"_s << QVariant(QColor(255, 0, 0));
        QTest::newRow("no colour") << QVariant(QColor(1, 2, 3)) << QString() << QVariant(QColor());
        QTest::newRow("size with a plain x")
            << QVariant(QSize(1, 2)) << u"640x480"_s << QVariant(QSize(640, 480));
        QTest::newRow("rectangle by blanks")
            << QVariant(QRect()) << u"1 2 3 4"_s << QVariant(QRect(1, 2, 3, 4));
        QTest::newRow("rectangle of the full range")
            << QVariant(QRect()) << u"-2147483648, 2147483647, 4294967296 × -4294967294"_s
            << QVariant(QRect(QPoint(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()),
                              QPoint(std::numeric_limits<int>::max(), std::numeric_limits<int>::min())));
        QTest::newRow("address of letters beyond ASCII")
            << QVariant(QUrl(u"https://a.org"_s)) << u"https://a.org/я"_s
            << QVariant(QUrl(u"https://a.org/я"_s));
    }

    void readsWhatPeopleWrite()
    {
        QFETCH(QVariant, old);
        QFETCH(QString, text);
        QFETCH(QVariant, value);
        SettingsView view({{u"k"_s, old}});

        QVERIFY(view.open(u"k"_s));
        typeOver(text);
        press(Qt::Key_Return);

        QVERIFY(!view.isEditing());
        QCOMPARE(bits(view.value(u"k"_s)), bits(value));
    }

    void keepsTheEditorOverWrongInput_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("problem");

        QTest::newRow("no whole number") << QVariant(5) << u"5.5"_s << u"Это не целое число"_s;
        QTest::newRow("empty number") << QVariant(5) << QString() << u"Это не целое число"_s;
        QTest::newRow("beyond int") << QVariant(5) << u"2147483648"_s
                                    << u"Допустимы целые числа от -2147483648 до 2147483647"_s;
        QTest::newRow("below uint") << QVariant(5u) << u"-1"_s
                                    << u"Допустимы целые числа от 0 до 4294967295"_s;
        QTest::newRow("beyond qulonglong") << QVariant(5ull) << u"18446744073709551616"_s
                                           << u"Допустимы целые числа от 0 до 18446744073709551615"_s;
        QTest::newRow("no number") << QVariant(.5) << u"1.2.3"_s << u"Это не число"_s;
        QTest::newRow("beyond double")
            << QVariant(.5) << u"1e309"_s << u"Число не помещается в тип значения"_s;
        QTest::newRow("beyond float")
            << QVariant(.5f) << u"1e39"_s << u"Число не помещается в тип значения"_s;
        QTest::newRow("no date") << QVariant(QDate(2024, 1, 1)) << u"2023-02-29"_s
                                 << u"Дата пишется так: 2024-12-31"_s;
        QTest::newRow("no time") << QVariant(QTime(1, 1)) << u"24:00"_s
                                 << u"Время пишется так: 23:59:59.999"_s;
        QTest::newRow("no zone") << QVariant(QDateTime::fromMSecsSinceEpoch(0).toUTC())
                                 << u"2024-01-01T00:00[Nowhere]"_s << u"Часовой пояс «Nowhere» неизвестен"_s;
        QTest::newRow("time that the clocks skip")
            << QVariant(QDateTime::fromMSecsSinceEpoch(0).toUTC()) << u"2024-03-31T02:30:00[Europe/Berlin]"_s
            << u"Такого времени в этот день нет: часы переводят вперёд"_s;
        QTest::newRow("offset of days")
            << QVariant(QDateTime::fromMSecsSinceEpoch(0).toUTC()) << u"2024-03-31T02:30:00+24:00"_s
            << u"Смещение от UTC бывает от -14:00 до +14:00"_s;
        QTest::newRow("no colour") << QVariant(QColor(1, 2, 3)) << u"reddish"_s
                                   << u"Цвет пишется как #RRGGBB, #AARRGGBB или по-английски: red"_s;
        QTest::newRow("three numbers") << QVariant(QSize(1, 2)) << u"1, 2, 3"_s << u"Чисел должно быть 2"_s;
        QTest::newRow("right edge beyond int") << QVariant(QRect()) << u"2, 0, 2147483647 × 1"_s
                                               << u"Допустимы целые числа от -2147483649 до 2147483646"_s;
        QTest::newRow("bottom edge below int") << QVariant(QRect()) << u"0, -9, 1 × -2147483639"_s
                                               << u"Допустимы целые числа от -2147483638 до 2147483657"_s;
        QTest::newRow("width beyond any number") << QVariant(QRect()) << u"1, 0, 99999999999999999999 × 1"_s
                                                 << u"Допустимы целые числа от -2147483648 до 2147483647"_s;
        QTest::newRow("half a byte")
            << QVariant(QByteArray("a")) << u"\\x1"_s
            << u"После «\\» пишется x и две шестнадцатеричные цифры или ещё одна «\\»"_s;
        QTest::newRow("byte beyond ASCII")
            << QVariant(QByteArray("a")) << u"я"_s << u"Символ «я» пишется байтами, как \\x0a"_s;
        QTest::newRow("two characters")
            << QVariant(QChar(u'a')) << u"ab"_s << u"Здесь нужен ровно один символ"_s;
        QTest::newRow("no key") << QVariant::fromValue(QKeySequence(Qt::Key_A)) << u"Ctrl+Nonsense"_s
                                << u"Сочетание пишется так: Ctrl+Shift+F5"_s;
        QTest::newRow("no UUID") << QVariant(QUuid(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11)) << u"{1}"_s
                                 << u"UUID пишется так: {00000000-0000-0000-0000-000000000000}"_s;
        QTest::newRow("wrong escape") << QVariant(u"a\r"_s) << u"\\q"_s
                                      << u"После «\\» пишется n, r, t, ещё одна «\\» или u и четыре "
                                         "шестнадцатеричные цифры"_s;
    }

    void keepsTheEditorOverWrongInput()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, text);
        QFETCH(QString, problem);
        SettingsView view({{u"k"_s, value}, {u"other"_s, u"text"_s}});
        QSignalSpy changes(&view.model, &QAbstractItemModel::dataChanged);
        const QPoint elsewhere = view.visualRect(view.cell(u"other"_s)).center();

        QPointer<QWidget> field = view.open(u"k"_s);
        QVERIFY(field);
        typeOver(text);
        QCOMPARE(field->accessibleDescription(), problem);
        // Keys that a line has no use for do not get to the view.
        for (Qt::Key key : {Qt::Key_Down, Qt::Key_Up, Qt::Key_PageDown, Qt::Key_F2}) {
            press(key);
            QVERIFY(view.isEditing());
            QCOMPARE(QApplication::focusWidget(), field.data());
            QCOMPARE(view.currentIndex(), view.cell(u"k"_s));
        }
        for (Qt::Key key : {Qt::Key_Return, Qt::Key_Tab}) {
            press(key);
            QVERIFY(view.isEditing());
            QCOMPARE(QApplication::focusWidget(), field.data());
            auto *message = view.viewport()->findChild<QLabel *>(u"settingsProblem"_s);
            QVERIFY(message && message->isVisible());
            QCOMPARE(message->text(), problem);
            QVERIFY(view.viewport()->rect().contains(message->geometry()));
        }
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, elsewhere);
        QVERIFY(view.isEditing());
        QCOMPARE(view.currentIndex(), view.cell(u"k"_s));
        view.setFocus();
        QVERIFY(view.isEditing());
        QVERIFY(field);
        QCOMPARE(textOf(field), text);
        field->setFocus();

        press(Qt::Key_Escape);
        QVERIFY(!view.isEditing());
        QCOMPARE(changes.size(), 0);
        QCOMPARE(bits(view.value(u"k"_s)), bits(value));
        QTRY_VERIFY(!view.viewport()->findChild<QLabel *>(u"settingsProblem"_s));
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, elsewhere);
        QCOMPARE(view.currentIndex(), view.cell(u"other"_s));
    }

    void endsWithAClickElsewhere()
    {
        SettingsView view({{u"k"_s, 5}, {u"other"_s, u"text"_s}});

        QVERIFY(view.open(u"k"_s));
        type(u"77"_s);
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {},
                          view.visualRect(view.cell(u"other"_s)).center());

        QVERIFY(!view.isEditing());
        QCOMPARE(bits(view.value(u"k"_s)), bits(77));
    }

    void goesOnToTheNextValueWithTab()
    {
        SettingsView view({{u"a"_s, 5}, {u"b"_s, true}});

        QVERIFY(view.open(u"a"_s));
        type(u"6"_s);
        press(Qt::Key_Tab);

        QCOMPARE(bits(view.value(u"a"_s)), bits(6));
        QTRY_VERIFY(qobject_cast<QComboBox *>(QApplication::focusWidget()));
        press(Qt::Key_Down);
        press(Qt::Key_Backtab);
        QCOMPARE(bits(view.value(u"b"_s)), bits(false));
        QTRY_VERIFY(qobject_cast<QLineEdit *>(QApplication::focusWidget()));
    }

    void staysWhenTheModelRefuses()
    {
        class Refusing : public SettingsModel
        {
        public:
            bool setData(const QModelIndex &index, const QVariant &value, int role) override
            {
                return !refuses && SettingsModel::setData(index, value, role);
            }
            bool refuses = true;
        };
        Refusing model;
        SettingsView view({{u"k"_s, 5}});
        model.setSettings(view.store.get());
        model.setReadOnly(false);
        view.proxy.setSourceModel(&model);

        QPointer<QWidget> field = view.open(u"k"_s);
        QVERIFY(field);
        type(u"6"_s);
        press(Qt::Key_Return);
        QVERIFY(view.isEditing());
        QCOMPARE(textOf(field), u"6"_s);
        QCOMPARE(field->accessibleDescription(), u"Значение не принято"_s);
        model.refuses = false;
        press(Qt::Key_Return);

        QVERIFY(!view.isEditing());
        QCOMPARE(bits(view.value(u"k"_s)), bits(6));
        view.proxy.setSourceModel(nullptr);
    }

    void triesARefusedValueAgainOnlyWhenToldTo()
    {
        class Refusing : public SettingsModel
        {
        public:
            bool setData(const QModelIndex &, const QVariant &, int) override
            {
                ++calls;
                return false;
            }
            int calls = 0;
        };
        Refusing model;
        SettingsView view({{u"k"_s, 5}, {u"l"_s, 5}});
        model.setSettings(view.store.get());
        model.setReadOnly(false);
        view.proxy.setSourceModel(&model);
        QLineEdit other;
        other.show();

        QPointer<QWidget> field = view.open(u"k"_s);
        QVERIFY(field);
        type(u"6"_s);
        QVERIFY(!SettingsDelegate::isRefused(&view));
        press(Qt::Key_Return);
        QCOMPARE(model.calls, 1);
        QVERIFY(SettingsDelegate::isRefused(&view));

        other.activateWindow();
        other.setFocus();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&view));
        QVERIFY(!SettingsDelegate::finishEditing(&view));
        field->setFocus();
        press(Qt::Key_Tab);
        view.setFocus();
        press(Qt::Key_Down);
        type(u"7"_s);
        QVERIFY(!SettingsDelegate::isRefused(&view));
        QCOMPARE(field->accessibleDescription(), QString());
        press(Qt::Key_Backspace);
        QVERIFY(SettingsDelegate::isRefused(&view));
        QCOMPARE(field->accessibleDescription(), u"Значение не принято"_s);
        QVERIFY(!SettingsDelegate::finishEditing(&view));
        QCOMPARE(model.calls, 1);
        QCOMPARE(textOf(field), u"6"_s);

        QVERIFY(!SettingsDelegate::finishEditing(&view, SettingsDelegate::Refused::TryAgain));
        QCOMPARE(model.calls, 2);
        press(Qt::Key_Return);
        QCOMPARE(model.calls, 3);
        QVERIFY(SettingsDelegate::isRefused(&view));
        // Another value is another try.
        type(u"8"_s);
        QVERIFY(!SettingsDelegate::finishEditing(&view));
        QCOMPARE(model.calls, 4);
        view.proxy.setSourceModel(nullptr);
    }

    void keepsWhatWasTypedWhenTheStoreChanges()
    {
        SettingsView view({{u"k"_s, 5}});

        // Nothing typed: the new value shows.
        QPointer<QWidget> field = view.open(u"k"_s);
        view.store->setValue(u"k"_s, 6);
        view.model.refresh();
        QVERIFY(field);
        QCOMPARE(textOf(field), u"6"_s);

        // Typed: it stays, and is written over what came.
        type(u"7"_s);
        view.store->setValue(u"k"_s, 8);
        view.model.refresh();
        QVERIFY(field);
        QCOMPARE(textOf(field), u"7"_s);
        press(Qt::Key_Return);
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(7));
    }

    void shutsTheEditorOfAnotherType()
    {
        SettingsView view({{u"k"_s, 5}});
        QVERIFY(view.open(u"k"_s));

        view.store->setValue(u"k"_s, u"text"_s);
        view.model.refresh();

        QTRY_VERIFY(!view.isEditing());
        QVERIFY(qobject_cast<QPlainTextEdit *>(view.open(u"k"_s)));
    }

    void endsWhenTheHostAsks()
    {
        SettingsView view({{u"number"_s, 5}, {u"list"_s, QStringList{u"a"_s, u"b"_s}}});
        QVERIFY(!SettingsDelegate::isEditing(&view));
        QVERIFY(SettingsDelegate::finishEditing(&view));

        QVERIFY(view.open(u"number"_s));
        type(u"12"_s);
        QVERIFY(SettingsDelegate::isEditing(&view));
        QVERIFY(SettingsDelegate::finishEditing(&view));
        QVERIFY(!SettingsDelegate::isEditing(&view));
        QVERIFY(!view.isEditing());
        QCOMPARE(view.value(u"number"_s), QVariant(12));

        QVERIFY(view.open(u"number"_s));
        type(u"words"_s);
        QVERIFY(!SettingsDelegate::finishEditing(&view));
        QVERIFY(SettingsDelegate::isEditing(&view));
        QVERIFY(view.isEditing());
        QCOMPARE(view.value(u"number"_s), QVariant(12));
        press(Qt::Key_Escape);
        QVERIFY(!SettingsDelegate::isEditing(&view));

        QVERIFY(view.open(u"number"_s));
        type(u"13"_s);
        view.model.setReadOnly(true);
        QVERIFY(!SettingsDelegate::finishEditing(&view));
        QVERIFY(view.isEditing());
        view.model.setReadOnly(false);
        QVERIFY(SettingsDelegate::finishEditing(&view, SettingsDelegate::Refused::TryAgain));
        QCOMPARE(view.value(u"number"_s), QVariant(13));

        // The item that is open in the list goes along.
        QVERIFY(view.open(u"list"_s));
        press(Qt::Key_Return);
        type(u"x"_s);
        QVERIFY(SettingsDelegate::finishEditing(&view));
        QCOMPARE(view.value(u"list"_s), QVariant(QStringList{u"x"_s, u"b"_s}));
    }

    void comparesWhatIsTypedWithTheValueThatCame()
    {
        SettingsView view({{u"n"_s, 5}, {u"t"_s, u"old"_s}});

        for (const QString &key : {u"n"_s, u"t"_s}) {
            const QVariant old = view.store->value(key);
            view.open(key);
            press(Qt::Key_A, Qt::ControlModifier);
            type(u"7"_s);
            view.store->setValue(key, key == u"n"_s ? QVariant(8) : QVariant(u"new"_s));
            view.model.refresh();
            press(Qt::Key_A, Qt::ControlModifier);
            type(old.toString());
            press(Qt::Key_Return);

            // What the editor showed is written, not taken for untouched.
            QVERIFY(!view.isEditing());
            QCOMPARE(bits(view.store->value(key)), bits(old));
        }
    }

    void keepsEveryKindUntouched_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("editable");

        using Double = std::numeric_limits<double>;
        const auto edited = [](const char *name, const QVariant &value) {
            QTest::newRow(name) << value << true;
        };
        const auto shown = [](const char *name, const QVariant &value) {
            QTest::newRow(name) << value << false;
        };
        edited("true", true);
        edited("false", false);
        edited("int", std::numeric_limits<int>::min());
        edited("uint", std::numeric_limits<uint>::max());
        edited("qlonglong", std::numeric_limits<qlonglong>::min());
        edited("qulonglong", std::numeric_limits<qulonglong>::max());
        edited("short", QVariant::fromValue(short(-32768)));
        edited("char", QVariant::fromValue(char(-128)));
        edited("float", QVariant::fromValue(0.1f));
        edited("double", 0.1);
        edited("double of a third", 1. / 3);
        edited("NaN", Double::quiet_NaN());
        edited("negative NaN", -Double::quiet_NaN());
        edited("NaN with a payload", std::bit_cast<double>(0x7ff8000000000123ull));
        edited("infinity", -Double::infinity());
        edited("negative zero", -0.);
        edited("greatest double", Double::max());
        edited("least double", Double::denorm_min());
        edited("empty text", u""_s);
        edited("null text", QString());
        edited("text with lines", u"a\n\nb\r\nc\r\n"_s);
        edited("text with NUL", u"a"_s + QChar(0) + u"b"_s + QChar(0));
        edited("text with pairs", u"😀 e\u0301 \u202eabc\u202c\ufeff"_s);
        edited("text with half of a pair", QString(u"a"_s + QChar(0xd83d)));
        edited("text with blanks", u"  a\t\u00a0\u3000 "_s);
        edited("text with paragraphs", u"a\u2028b\u2029c\ufffc\ufdd0"_s);
        edited("text like a value", u"@Variant(\\0\\0)"_s);
        edited("long text", QString(100000, u'ы') + u"\n"_s);
        edited("many lines", u"line\n"_s.repeated(5000));
        edited("no texts", QStringList());
        edited("one text", QStringList{u"a"_s});
        edited("one empty text", QStringList{QString()});
        edited("two texts", QStringList{u"a"_s, QString()});
        edited("texts with commas", QStringList{u", "_s, u"a, b"_s, u"\"c\""_s, u"d\ne"_s + QChar(0)});
        edited("no items", QVariantList());
        edited("items of all sorts", QVariantList{true, 1, 1u, .1, Double::quiet_NaN(), QString(), u"a\nb"_s,
                                                  QByteArray("\0\xff", 2), QDate(2024, 2, 29),
                                                  QColor::fromHslF(.1f, .2f, .3f), richFont()});
        edited("items without an editor",
               QVariantList{QVariant(), QVariantMap{{u"a"_s, 1}}, QLine(1, 2, 3, 4)});
        edited("lists in lists",
               QVariantList{QVariantList{QVariantList{1, 2.}, QStringList{u", "_s}}, QVariantList()});
        shown("map", QVariantMap{{u"a"_s, -0.}, {QString(), QVariantList{1, QVariantMap()}}});
        shown("hash", QVariantHash{{u"a"_s, 1}});
        edited("bytes", QByteArray("a\\x00\0\r\n\xff\xfe", 10));
        edited("no bytes", QByteArray());
        edited("every byte", [] {
            QByteArray bytes;
            for (int i = 0; i < 256; ++i)
                bytes += char(i);
            return bytes;
        }());
        edited("date", QDate(2024, 2, 29));
        edited("date before the era", QDate(-4000, 1, 1));
        edited("date of the far future", QDate::fromJulianDay(784354017364));
        edited("no date", QDate());
        edited("time", QTime(23, 59, 59, 999));
        edited("midnight", QTime(0, 0));
        edited("no time", QTime());
        const QDateTime utc = QDateTime(QDate(2024, 10, 27), QTime(0, 30, 0, 1), QTimeZone::utc()).toUTC();
        edited("moment in UTC", utc);
        edited("moment at an offset", utc.toOffsetFromUtc(-3 * 3600 - 1800 - 1));
        edited("moment at no offset", utc.toOffsetFromUtc(0));
        edited("moment in a zone", utc.toTimeZone(QTimeZone("Europe/Berlin")));
        edited("the same reading an hour later", utc.addSecs(3600).toTimeZone(QTimeZone("Europe/Berlin")));
        edited("moment in the zone of UTC", QDateTime(utc.date(), utc.time(), QTimeZone::utc()));
        edited("moment in a zone of an offset", utc.toTimeZone(QTimeZone(5400)));
        edited("local moment", utc.toLocalTime());
        edited("no moment", QDateTime());
        edited("date without a time", QDateTime(QDate(2024, 1, 1), QTime(), QTimeZone("Asia/Tokyo")));
        edited("point", QPoint(-1, std::numeric_limits<int>::max()));
        edited("exact point", QPointF(.1, -0.));
        edited("size", QSize(-1, -1));
        edited("exact size", QSizeF(1. / 3, Double::infinity()));
        edited("rectangle", QRect(1, 2, -3, 0));
        edited("rectangle of the full range",
               QRect(QPoint(std::numeric_limits<int>::min(), 0), QPoint(std::numeric_limits<int>::max(), 0)));
        edited("exact rectangle", QRectF(.1, .2, -.3, 1e300));
        edited("colour", QColor(1, 2, 3));
        edited("transparent colour", QColor(1, 2, 3, 0));
        edited("colour of 16 bits", QColor(QRgba64::fromRgba64(1, 2, 3, 65534)));
        edited("HSV", QColor::fromHsvF(.1f, .2f, .3f, .4f));
        edited("HSV without a hue", QColor::fromHsv(-1, 0, 100));
        edited("HSL", QColor::fromHslF(.1f, .2f, .3f, .4f));
        edited("CMYK", QColor::fromCmykF(.1f, .2f, .3f, .4f, .5f));
        edited("colour beyond RGB", QColor::fromRgbF(1.5f, -.5f, .1f));
        edited("no colour", QColor());
        edited("font", QFont(u"Sans"_s, 9));
        edited("font with all", richFont());
        edited("font with a comma", QFont(u"A,B"_s, 9));
        edited("keys", QKeySequence(Qt::CTRL | Qt::Key_K, Qt::SHIFT | Qt::Key_Comma));
        edited("unknown key", QKeySequence(0x0110abcd));
        edited("no keys", QKeySequence());
        edited("address", QUrl(u"https://u:p@example.org:1/a%2Fb%20c?q=%26#ф"_s));
        edited("relative address", QUrl(u"../a b"_s));
        edited("wrong address", QUrl(u"http://a:b:c/"_s));
        edited("no address", QUrl());
        edited("UUID", QUuid(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
        edited("no UUID", QUuid());
        edited("character", QChar(u'я'));
        edited("half of a pair", QChar(0xdc00));
        edited("NUL character", QChar());
        shown("locale", QLocale(QLocale::Russian));
        shown("line", QLineF(.1, .2, .3, .4));
        shown("bits", QBitArray(9, true));
        shown("expression", QRegularExpression(u"a+"_s, QRegularExpression::CaseInsensitiveOption));
        shown("list of bytes", QVariant::fromValue(QByteArrayList{"a", "b"}));
        shown("nothing", QVariant());
        for (const int type :
             {int(QMetaType::Bool), int(QMetaType::Int), int(QMetaType::Double), int(QMetaType::QString),
              int(QMetaType::QStringList), int(QMetaType::QVariantList), int(QMetaType::QDateTime)})
            QTest::addRow("null %s", QMetaType(type).name()) << QVariant(QMetaType(type)) << true;
    }

    void keepsEveryKindUntouched()
    {
        QFETCH(QVariant, value);
        QFETCH(bool, editable);
        SettingsView view({{u"k"_s, value}});
        QSignalSpy changes(&view.model, &QAbstractItemModel::dataChanged);
        // Opens and ends every item, that of lists within too; ends the list.
        std::function<void()> visitItems = [&] {
            auto *list = qobject_cast<QListView *>(QApplication::focusWidget());
            QVERIFY(list);
            for (int row = 0; row < list->model()->rowCount(); ++row) {
                const QVariant item = list->model()->index(row, 0).data(Qt::EditRole);
                QCOMPARE(list->currentIndex().row(), row);
                press(Qt::Key_Return);
                QCOMPARE(QApplication::focusWidget() != list, SettingsDelegate::isEditable(item));
                if (qobject_cast<QListView *>(QApplication::focusWidget()) != list &&
                    qobject_cast<QListView *>(QApplication::focusWidget()))
                    visitItems();
                else if (QApplication::focusWidget() != list)
                    press(Qt::Key_Return);
                QCOMPARE(QApplication::focusWidget(), list);
                press(Qt::Key_Down);
            }
            press(Qt::Key_Return, Qt::ControlModifier);
        };

        // By itself.
        QCOMPARE(SettingsDelegate::isEditable(value), editable);
        QCOMPARE(view.open(u"k"_s) != nullptr, editable);
        if (qobject_cast<QListView *>(QApplication::focusWidget()))
            visitItems();
        else
            press(Qt::Key_Return);
        QVERIFY(!view.isEditing());
        QCOMPARE(changes.size(), 0);
        QCOMPARE(bits(view.store->value(u"k"_s)), bits(value));
        QVERIFY(isSameSettingsValue(view.store->value(u"k"_s), value));

        // Beside an item that is edited.
        view.store->setValue(u"k"_s, QVariantList{value, u"end"_s});
        view.model.refresh();
        changes.clear();
        QVERIFY(view.open(u"k"_s));
        visitItems();
        QVERIFY(!view.isEditing());
        QCOMPARE(changes.size(), 0);
        view.open(u"k"_s);
        press(Qt::Key_Down);
        press(Qt::Key_Return);
        type(u"another end"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(!view.isEditing());
        QCOMPARE(changes.size(), 1);
        const QVariantList now = view.store->value(u"k"_s).toList();
        QCOMPARE(now.size(), 2);
        QCOMPARE(bits(now.first()), bits(value));
        QCOMPARE(now.first().isNull(), value.isNull());
        QCOMPARE(now.last(), QVariant(u"another end"_s));
    }

    void editsNoMapsAndSaysWhy()
    {
        for (const QVariant &value :
             {QVariant(QVariantMap{{u"a"_s, 1}}), QVariant(QLine(1, 2, 3, 4)), QVariant(QVariantHash())}) {
            SettingsView view({{u"k"_s, value}});

            QVERIFY(!view.open(u"k"_s));
            QTest::mouseDClick(view.viewport(), Qt::LeftButton, {},
                               view.visualRect(view.cell(u"k"_s)).center());
            QVERIFY(!view.isEditing());
            const QPoint place = view.visualRect(view.cell(u"k"_s)).center();
            QHelpEvent help(QEvent::ToolTip, place, view.viewport()->mapToGlobal(place));
            QApplication::sendEvent(view.viewport(), &help);

            QCOMPARE(QToolTip::text(),
                     u"k\nЗначения типа %1 здесь не меняются"_s.arg(QString::fromLatin1(value.typeName())));
            QToolTip::hideText();
        }
    }
};

QTEST_MAIN(TestSettingsDelegate)
#include "tst_settingsdelegate.moc"
