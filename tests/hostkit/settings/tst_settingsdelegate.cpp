// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdelegate.h>
#include <hostkit/settings/settingsvalue.h>
#include <hostkit/settings/settingsviewproxy.h>

#include <settings/settingsmodel.h>
#include <support/seed.h>
#include <support/settingsfixtures.h>

#include <QApplication>
#include <QBitArray>
#include <QColorDialog>
#include <QComboBox>
#include <QDataStream>
#include <QFont>
#include <QFontDialog>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLabel>
#include <QLine>
#include <QLineEdit>
#include <QListView>
#include <QLocale>
#include <QPlainTextEdit>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSortFilterProxyModel>
#include <QTest>
#include <QTimeZone>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>
#include <QTreeView>
#include <QUrl>
#include <QUuid>

#include <algorithm>
#include <bit>
#include <limits>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// Type and every bit.
QByteArray bits(const QVariant &value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    if (value.typeId() == QMetaType::Long || value.typeId() == QMetaType::ULong)
        stream << value.toLongLong();
    else if (value.typeId() == QMetaType::QString && value.toString().isEmpty())
        stream << u""_s; // null or not
    else
        stream << value;
    return QByteArray(value.typeName()) + ' ' + bytes.toHex();
}

/// One key per character, as a keyboard sends them; line breaks are told with Shift.
void type(const QString &text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        QString character = text.mid(i, 1);
        if (text.at(i).isHighSurrogate() && i + 1 < text.size())
            character = text.mid(i++, 2);
        if (character == u"\n"_s) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return, Qt::ShiftModifier);
            continue;
        }
        QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, character);
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_unknown, Qt::NoModifier, character);
        QApplication::sendEvent(QApplication::focusWidget(), &press);
        QApplication::sendEvent(QApplication::focusWidget(), &release);
    }
}

void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
{
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
}

/// A store in a stock view, as hosts have it.
class Window : public QTreeView
{
    Q_OBJECT

public:
    explicit Window(std::unique_ptr<QSettings> settings) : store(std::move(settings))
    {
        model.setSettings(store.get());
        model.setReadOnly(false);
        proxy.setSourceModel(&model);
        sorted.setSourceModel(&proxy);
        sorted.setRecursiveFilteringEnabled(true);
        sorted.sort(0);
        setItemDelegate(new SettingsDelegate(this));
        setModel(&sorted);
        expandAll();
        resize(700, 400);
        show();
        activateWindow();
        if (!QTest::qWaitForWindowActive(this))
            qFatal("the window did not become active");
    }
    ~Window() override { QTreeView::setModel(nullptr); }

    QModelIndex cell(const QString &key) const { return ::find(sorted, {key}, 2); }
    QVariant value(const QString &key) const { return settingsValue(cell(key)); }
    bool isEditing() const { return state() == EditingState; }

    /// Opens the editor of \a key with the keyboard; the widget that is typed in.
    QWidget *open(const QString &key)
    {
        setFocus();
        setCurrentIndex(cell(key));
        QTest::keyClick(this, Qt::Key_F2);
        return isEditing() ? QApplication::focusWidget() : nullptr;
    }

    std::unique_ptr<QSettings> store;
    SettingsModel model;
    SettingsViewProxy proxy;
    QSortFilterProxyModel sorted;
};

QString textOf(QWidget *field)
{
    if (auto *line = qobject_cast<QLineEdit *>(field))
        return line->text();
    if (auto *text = qobject_cast<QPlainTextEdit *>(field))
        return text->document()->toRawText().replace(QChar::ParagraphSeparator, u'\n');
    return {};
}

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

/// Runs \a action on the dialog that comes up next, and accepts it.
void inDialog(const std::function<void(QWidget *)> &action)
{
    QTimer::singleShot(0, qApp, [action] {
        QTRY_VERIFY(QApplication::activeModalWidget());
        QWidget *dialog = QApplication::activeModalWidget();
        action(dialog);
        QTest::keyClick(dialog, Qt::Key_Return);
    });
}

/// A font with much that neither a text nor a dialog shows.
QFont richFont()
{
    QFont font;
    font.setFamilies({u"DejaVu Sans"_s, u"Noto Mono"_s});
    font.setPixelSize(17);
    font.setWeight(QFont::Weight(640));
    font.setOverline(true);
    font.setKerning(false);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 1.23456789);
    font.setCapitalization(QFont::SmallCaps);
    font.setFixedPitch(false);
    return font;
}

QFont with(QFont font, const std::function<void(QFont &)> &change)
{
    change(font);
    return font;
}

} // namespace

Q_DECLARE_METATYPE(Maker)

class TestSettingsDelegate : public QObject
{
    Q_OBJECT

private:
    SettingsFiles m_files;

private Q_SLOTS:
    // A platform without windows complains of what dialogs ask of it, and fonts of what they have no signs for.
    void init()
    {
        QTest::failOnWarning(
            QRegularExpression(u"^(?!\\s*(OpenType support missing|This plugin does not support))"_s));
    }

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
        Window window(m_files.empty());
        for (int i = 0; i < 12; ++i) {
            const QVariant from = maker(random);
            const QVariant to = maker(random);
            const QByteArray where = seedMessage(seed, u"round %1"_s.arg(i));
            window.store->setValue(u"from"_s, from);
            window.store->setValue(u"to"_s, to);
            window.model.refresh();
            const QString typeName = find(window.sorted, {u"from"_s}, 1).data().toString();
            QCOMPARE(typeName, QString::fromLatin1(from.typeName()));

            // Opened and ended, each value stays, and nothing is written.
            QSignalSpy changes(&window.model, &QAbstractItemModel::dataChanged);
            QWidget *field = window.open(u"to"_s);
            QVERIFY2(field, where.constData());
            const QString text = textOf(field);
            press(Qt::Key_Return);
            QVERIFY(!window.isEditing());
            QCOMPARE(changes.size(), 0);

            // One value is turned into the other by typing its text.
            field = window.open(u"from"_s);
            QVERIFY2(field, where.constData());
            if (auto *choice = qobject_cast<QComboBox *>(field)) {
                QCOMPARE(choice->currentText(), from.toBool() ? u"Да"_s : u"Нет"_s);
                press(to.toBool() ? Qt::Key_Up : Qt::Key_Down);
            } else {
                press(Qt::Key_A, Qt::ControlModifier);
                press(Qt::Key_Delete);
                type(text);
            }
            press(Qt::Key_Return);

            QVERIFY2(!window.isEditing(), (where + ": " + text.toUtf8()).constData());
            QVERIFY2(bits(window.value(u"from"_s)) == bits(to),
                     (where + ": " + text.toUtf8() + ' ' + bits(window.value(u"from"_s)) + ' ' + bits(to))
                         .constData());
            QVERIFY2(bits(window.store->value(u"from"_s)) == bits(to), where.constData());
            QCOMPARE(changes.size(), bits(from) == bits(to) ? 0 : 1);
        }
    }

    void appendsToAnyTextWithoutLosingTheRest()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(static_cast<quint32>(seed));
        const QString letters = u"a\\я \u00a0\u200b\u2028\u2029\ufdd0\ufffc\u0085\u007f\t\n\r"_s + QChar(0) +
                                QChar(1) + QChar(0xd800) + QChar(0xdc00);
        Window window(m_files.empty());
        for (int i = 0; i < 60; ++i) {
            const QString text = randomText(random, letters);
            window.store->setValue(u"k"_s, text);
            window.model.refresh();

            QVERIFY(window.open(u"k"_s));
            press(Qt::Key_End, Qt::ControlModifier);
            type(u"x"_s);
            press(Qt::Key_Return);

            QVERIFY2(bits(window.value(u"k"_s)) == bits(QString(text + u'x')),
                     seedMessage(seed, QString::fromLatin1(bits(text) + ' ' + bits(window.value(u"k"_s))))
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
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, value);
        Window window(std::move(settings));
        QSignalSpy changes(&window.model, &QAbstractItemModel::dataChanged);
        const bool list = value.typeId() == QMetaType::QVariantList;
        const auto open = [&] {
            QVERIFY(window.open(u"k"_s));
            if (list)
                press(Qt::Key_Return); // the item
        };
        const auto end = [&] {
            press(Qt::Key_Return);
            if (list)
                press(Qt::Key_Return, Qt::ControlModifier);
            QVERIFY(!window.isEditing());
        };

        open();
        end();
        QCOMPARE(changes.size(), 0);
        QVERIFY(bits(window.store->value(u"k"_s)) == bits(value));

        open();
        const bool line = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        press(Qt::Key_End, line ? Qt::NoModifier : Qt::ControlModifier);
        type(u"x"_s);
        end();
        QCOMPARE(changes.size(), 1);
        QVERIFY(bits(window.store->value(u"k"_s)) == bits(longer));
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
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, old);
        Window window(std::move(settings));

        QVERIFY(window.open(u"k"_s));
        press(Qt::Key_A, Qt::ControlModifier);
        press(Qt::Key_Delete);
        type(text);
        press(Qt::Key_Return);

        QVERIFY(!window.isEditing());
        QCOMPARE(bits(window.value(u"k"_s)), bits(value));
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
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, value);
        settings->setValue(u"other"_s, u"text"_s);
        Window window(std::move(settings));
        QSignalSpy changes(&window.model, &QAbstractItemModel::dataChanged);
        const QPoint elsewhere = window.visualRect(window.cell(u"other"_s)).center();

        QPointer<QWidget> field = window.open(u"k"_s);
        QVERIFY(field);
        press(Qt::Key_A, Qt::ControlModifier);
        press(Qt::Key_Delete);
        type(text);
        QCOMPARE(field->accessibleDescription(), problem);
        // Keys that a line has no use for do not get to the view.
        for (Qt::Key key : {Qt::Key_Down, Qt::Key_Up, Qt::Key_PageDown, Qt::Key_F2}) {
            press(key);
            QVERIFY(window.isEditing());
            QCOMPARE(QApplication::focusWidget(), field.data());
            QCOMPARE(window.currentIndex(), window.cell(u"k"_s));
        }
        for (Qt::Key key : {Qt::Key_Return, Qt::Key_Tab}) {
            press(key);
            QVERIFY(window.isEditing());
            QCOMPARE(QApplication::focusWidget(), field.data());
            auto *message = window.viewport()->findChild<QLabel *>(u"settingsProblem"_s);
            QVERIFY(message && message->isVisible());
            QCOMPARE(message->text(), problem);
            QVERIFY(window.viewport()->rect().contains(message->geometry()));
        }
        QTest::mouseClick(window.viewport(), Qt::LeftButton, {}, elsewhere);
        QVERIFY(window.isEditing());
        QCOMPARE(window.currentIndex(), window.cell(u"k"_s));
        window.setFocus();
        QVERIFY(window.isEditing());
        QVERIFY(field);
        QCOMPARE(textOf(field), text);
        field->setFocus();

        press(Qt::Key_Escape);
        QVERIFY(!window.isEditing());
        QCOMPARE(changes.size(), 0);
        QCOMPARE(bits(window.value(u"k"_s)), bits(value));
        QTRY_VERIFY(!window.viewport()->findChild<QLabel *>(u"settingsProblem"_s));
        QTest::mouseClick(window.viewport(), Qt::LeftButton, {}, elsewhere);
        QCOMPARE(window.currentIndex(), window.cell(u"other"_s));
    }

    void endsWithAClickElsewhere()
    {
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, 5);
        settings->setValue(u"other"_s, u"text"_s);
        Window window(std::move(settings));

        QVERIFY(window.open(u"k"_s));
        type(u"77"_s);
        QTest::mouseClick(window.viewport(), Qt::LeftButton, {},
                          window.visualRect(window.cell(u"other"_s)).center());

        QVERIFY(!window.isEditing());
        QCOMPARE(bits(window.value(u"k"_s)), bits(77));
    }

    void goesOnToTheNextValueWithTab()
    {
        auto settings = m_files.empty();
        settings->setValue(u"a"_s, 5);
        settings->setValue(u"b"_s, true);
        Window window(std::move(settings));

        QVERIFY(window.open(u"a"_s));
        type(u"6"_s);
        press(Qt::Key_Tab);

        QCOMPARE(bits(window.value(u"a"_s)), bits(6));
        QTRY_VERIFY(qobject_cast<QComboBox *>(QApplication::focusWidget()));
        press(Qt::Key_Down);
        press(Qt::Key_Backtab);
        QCOMPARE(bits(window.value(u"b"_s)), bits(false));
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
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, 5);
        Refusing model;
        model.setSettings(settings.get());
        model.setReadOnly(false);
        Window window(m_files.empty());
        window.proxy.setSourceModel(&model);

        QPointer<QWidget> field = window.open(u"k"_s);
        QVERIFY(field);
        type(u"6"_s);
        press(Qt::Key_Return);
        QVERIFY(window.isEditing());
        QCOMPARE(textOf(field), u"6"_s);
        QCOMPARE(field->accessibleDescription(), u"Значение не принято"_s);
        model.refuses = false;
        press(Qt::Key_Return);

        QVERIFY(!window.isEditing());
        QCOMPARE(bits(window.value(u"k"_s)), bits(6));
        window.proxy.setSourceModel(nullptr);
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
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, 5);
        settings->setValue(u"l"_s, 5);
        Refusing model;
        model.setSettings(settings.get());
        model.setReadOnly(false);
        Window window(m_files.empty());
        window.proxy.setSourceModel(&model);
        QLineEdit other;
        other.show();

        QPointer<QWidget> field = window.open(u"k"_s);
        QVERIFY(field);
        type(u"6"_s);
        QVERIFY(!SettingsDelegate::isRefused(&window));
        press(Qt::Key_Return);
        QCOMPARE(model.calls, 1);
        QVERIFY(SettingsDelegate::isRefused(&window));

        other.activateWindow();
        other.setFocus();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QVERIFY(!SettingsDelegate::finishEditing(&window));
        field->setFocus();
        press(Qt::Key_Tab);
        window.setFocus();
        press(Qt::Key_Down);
        type(u"7"_s);
        QVERIFY(!SettingsDelegate::isRefused(&window));
        QCOMPARE(field->accessibleDescription(), QString());
        press(Qt::Key_Backspace);
        QVERIFY(SettingsDelegate::isRefused(&window));
        QCOMPARE(field->accessibleDescription(), u"Значение не принято"_s);
        QVERIFY(!SettingsDelegate::finishEditing(&window));
        QCOMPARE(model.calls, 1);
        QCOMPARE(textOf(field), u"6"_s);

        QVERIFY(!SettingsDelegate::finishEditing(&window, SettingsDelegate::Refused::TryAgain));
        QCOMPARE(model.calls, 2);
        press(Qt::Key_Return);
        QCOMPARE(model.calls, 3);
        QVERIFY(SettingsDelegate::isRefused(&window));
        // Another value is another try.
        type(u"8"_s);
        QVERIFY(!SettingsDelegate::finishEditing(&window));
        QCOMPARE(model.calls, 4);
        window.proxy.setSourceModel(nullptr);
    }

    void keepsWhatWasTypedWhenTheStoreChanges()
    {
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, 5);
        Window window(std::move(settings));

        // Nothing typed: the new value shows.
        QPointer<QWidget> field = window.open(u"k"_s);
        window.store->setValue(u"k"_s, 6);
        window.model.refresh();
        QVERIFY(field);
        QCOMPARE(textOf(field), u"6"_s);

        // Typed: it stays, and is written over what came.
        type(u"7"_s);
        window.store->setValue(u"k"_s, 8);
        window.model.refresh();
        QVERIFY(field);
        QCOMPARE(textOf(field), u"7"_s);
        press(Qt::Key_Return);
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(7));
    }

    void shutsTheEditorOfAnotherType()
    {
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, 5);
        Window window(std::move(settings));
        QVERIFY(window.open(u"k"_s));

        window.store->setValue(u"k"_s, u"text"_s);
        window.model.refresh();

        QTRY_VERIFY(!window.isEditing());
        QVERIFY(qobject_cast<QPlainTextEdit *>(window.open(u"k"_s)));
    }

    void endsWhenTheHostAsks()
    {
        SettingsFiles files;
        auto settings = files.empty();
        settings->setValue(u"number"_s, 5);
        settings->setValue(u"list"_s, QStringList{u"a"_s, u"b"_s});
        Window window(std::move(settings));
        QVERIFY(!SettingsDelegate::isEditing(&window));
        QVERIFY(SettingsDelegate::finishEditing(&window));

        QVERIFY(window.open(u"number"_s));
        type(u"12"_s);
        QVERIFY(SettingsDelegate::isEditing(&window));
        QVERIFY(SettingsDelegate::finishEditing(&window));
        QVERIFY(!SettingsDelegate::isEditing(&window));
        QVERIFY(!window.isEditing());
        QCOMPARE(window.value(u"number"_s), QVariant(12));

        QVERIFY(window.open(u"number"_s));
        type(u"words"_s);
        QVERIFY(!SettingsDelegate::finishEditing(&window));
        QVERIFY(SettingsDelegate::isEditing(&window));
        QVERIFY(window.isEditing());
        QCOMPARE(window.value(u"number"_s), QVariant(12));
        press(Qt::Key_Escape);
        QVERIFY(!SettingsDelegate::isEditing(&window));

        QVERIFY(window.open(u"number"_s));
        type(u"13"_s);
        window.model.setReadOnly(true);
        QVERIFY(!SettingsDelegate::finishEditing(&window));
        QVERIFY(window.isEditing());
        window.model.setReadOnly(false);
        QVERIFY(SettingsDelegate::finishEditing(&window, SettingsDelegate::Refused::TryAgain));
        QCOMPARE(window.value(u"number"_s), QVariant(13));

        // The item that is open in the list goes along.
        QVERIFY(window.open(u"list"_s));
        press(Qt::Key_Return);
        type(u"x"_s);
        QVERIFY(SettingsDelegate::finishEditing(&window));
        QCOMPARE(window.value(u"list"_s), QVariant(QStringList{u"x"_s, u"b"_s}));
    }

    void editsListsItemByItem()
    {
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, QStringList{u"a,b"_s, u"c\nd"_s, QString()});
        Window window(std::move(settings));
        QSignalSpy changes(&window.model, &QAbstractItemModel::dataChanged);

        auto *list = qobject_cast<QListView *>(window.open(u"k"_s));
        QVERIFY(list);
        QCOMPARE(list->model()->rowCount(), 3);
        press(Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(!window.isEditing());
        QCOMPARE(changes.size(), 0);

        window.open(u"k"_s);
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

        QVERIFY(!window.isEditing());
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(QStringList{u"new"_s, u"a,b"_s, u"c\nd\ne"_s}));
        QCOMPARE(changes.size(), 1);
        // Read back, it still is the list.
        QCOMPARE(bits(window.value(u"k"_s)), bits(QStringList{u"new"_s, u"a,b"_s, u"c\nd\ne"_s}));
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
        auto settings = m_files.empty();
        settings->setValue(u"a"_s, 1);
        settings->setValue(u"k"_s, list);
        Window window(std::move(settings));
        QSignalSpy changes(&window.model, &QAbstractItemModel::dataChanged);

        // A refresh that changes nothing, and one of another key.
        QPointer<QListView> field = qobject_cast<QListView *>(window.open(u"k"_s));
        QVERIFY(field);
        press(Qt::Key_Down);
        for (int i = 0; i < 2; ++i) {
            window.store->setValue(u"a"_s, i + 1);
            window.model.refresh();
            QCoreApplication::processEvents();
            QVERIFY(window.isEditing());
            QVERIFY(field && field->isVisible());
            QCOMPARE(QApplication::focusWidget(), field.data());
            QCOMPARE(field->currentIndex().row(), 1);
        }
        changes.clear();
        press(Qt::Key_Return, Qt::ControlModifier);

        QVERIFY(!window.isEditing());
        QCOMPARE(changes.size(), 0);
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(list));
    }

    void showsAnotherListAsLongAsNothingWasTyped()
    {
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, QStringList{u"a"_s, u"b"_s, u"c"_s});
        Window window(std::move(settings));
        auto *field = qobject_cast<QListView *>(window.open(u"k"_s));
        QVERIFY(field);
        press(Qt::Key_Down);

        window.store->setValue(u"k"_s, QStringList{u"d"_s, u"e"_s});
        window.model.refresh();

        QVERIFY(window.isEditing());
        QCOMPARE(field->model()->rowCount(), 2);
        QCOMPARE(field->currentIndex().data().toString(), u"e"_s);
    }

    void showsAnotherListOverAnUntouchedItem()
    {
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, QStringList{u"a"_s, u"b"_s});
        Window window(std::move(settings));
        auto *list = qobject_cast<QListView *>(window.open(u"k"_s));
        QVERIFY(list);
        press(Qt::Key_Return);

        window.store->setValue(u"k"_s, QStringList{u"b"_s, u"c"_s, u"d"_s});
        window.model.refresh();

        QVERIFY(window.isEditing());
        QCOMPARE(QApplication::focusWidget(), list);
        press(Qt::Key_Return);
        type(u"x"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(QStringList{u"x"_s, u"c"_s, u"d"_s}));
    }

    void keepsWhatIsTypedInAnItemWhenTheStoreChanges()
    {
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, QStringList{u"a"_s, u"b"_s});
        Window window(std::move(settings));

        window.open(u"k"_s);
        press(Qt::Key_Return);
        type(u"typed"_s);
        QPointer<QWidget> item = QApplication::focusWidget();
        window.store->setValue(u"k"_s, QStringList{u"x"_s, u"y"_s, u"z"_s});
        window.model.refresh();
        QCoreApplication::processEvents();

        QVERIFY(window.isEditing());
        QVERIFY(item);
        QCOMPARE(textOf(item), u"typed"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(QStringList{u"typed"_s, u"b"_s}));
    }

    void keepsAListOverAWrongItem()
    {
        auto settings = m_files.empty();
        for (int i = 0; i < 20; ++i)
            settings->setValue(u"other%1"_s.arg(i, 2, 10, QLatin1Char('0')), u"text"_s);
        settings->setValue(u"k"_s, QVariantList{1, 2, 4});
        Window window(std::move(settings));
        QSignalSpy changes(&window.model, &QAbstractItemModel::dataChanged);
        QPointer<QListView> list = qobject_cast<QListView *>(window.open(u"k"_s));
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
        QVERIFY(window.isEditing());
        QCOMPARE(QApplication::focusWidget(), list.data());
        const QPoint elsewhere = window.visualRect(window.cell(u"other15"_s)).center();
        QVERIFY(!editor->geometry().contains(elsewhere));
        QTest::mouseClick(window.viewport(), Qt::LeftButton, {}, elsewhere);
        QVERIFY(window.isEditing());
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

        QVERIFY(window.isEditing());
        QCOMPARE(window.currentIndex(), window.cell(u"k"_s));
        QVERIFY(item);
        QCOMPARE(textOf(item), u"abc"_s);
        QCOMPARE(changes.size(), 0);
        press(Qt::Key_A, Qt::ControlModifier);
        type(u"3"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Down);
        press(Qt::Key_Down); // from the last row
        press(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(QVariantList{3, 4}));
    }

    void takesAnOpenItemAlong()
    {
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, QStringList{u"a"_s});
        settings->setValue(u"other"_s, 1);
        Window window(std::move(settings));

        window.open(u"k"_s);
        press(Qt::Key_Insert);
        type(u"b"_s);
        window.setFocus();

        QVERIFY(!window.isEditing());
        QCOMPARE(bits(window.value(u"k"_s)), bits(QStringList{u"a"_s, u"b"_s}));
    }

    void dropsAListWithEscape()
    {
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, QStringList{u"a"_s});
        Window window(std::move(settings));
        QSignalSpy changes(&window.model, &QAbstractItemModel::dataChanged);

        window.open(u"k"_s);
        press(Qt::Key_Insert);
        type(u"b"_s);
        press(Qt::Key_Escape); // the item
        QVERIFY(window.isEditing());
        press(Qt::Key_Delete);
        press(Qt::Key_Delete);
        press(Qt::Key_Escape); // the list

        QVERIFY(!window.isEditing());
        QCOMPARE(changes.size(), 0);
    }

    void keepsTheTypesOfItems()
    {
        const QVariantList old{
            1, u"text"_s, 2.5, QColor(1, 2, 3), QStringList{u"x"_s, u"y"_s}, QVariantMap{{u"a"_s, 1}}};
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, old);
        Window window(std::move(settings));

        window.open(u"k"_s);
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

        QVERIFY(!window.isEditing());
        QCOMPARE(bits(window.value(u"k"_s)),
                 bits(QVariantList{7, 8, u"text"_s, 2.5, QColor(1, 2, 3), QStringList{u"y"_s},
                                   QVariantMap{{u"a"_s, 1}}}));
    }

    void editsPendingListsAsLists()
    {
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, QStringList{u"a"_s});
        Window window(std::move(settings));
        window.model.setEditStrategy(SettingsModel::OnManualSubmit);

        for (const QString &item : {u"b,c"_s, u"d"_s}) {
            window.open(u"k"_s);
            press(Qt::Key_Insert);
            type(item);
            press(Qt::Key_Return);
            press(Qt::Key_Return, Qt::ControlModifier);
        }

        // The model shows the items joined; the list is what counts.
        QCOMPARE(bits(window.value(u"k"_s)), bits(QStringList{u"a"_s, u"d"_s, u"b,c"_s}));
        QCOMPARE(window.store->value(u"k"_s).toStringList(), QStringList{u"a"_s});
        window.model.submitAll();
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(QStringList{u"a"_s, u"d"_s, u"b,c"_s}));
    }

    void choosesColoursAndFontsInDialogs()
    {
        auto settings = m_files.empty();
        settings->setValue(u"c"_s, QColor(1, 2, 3));
        settings->setValue(u"f"_s, QFont(u"Sans"_s, 9));
        Window window(std::move(settings));

        window.open(u"c"_s);
        inDialog([](QWidget *dialog) {
            qobject_cast<QColorDialog *>(dialog)->setCurrentColor(QColor(9, 8, 7, 6));
        });
        press(Qt::Key_Down, Qt::AltModifier);
        QVERIFY(window.isEditing());
        window.activateWindow();
        QTRY_VERIFY(qobject_cast<QLineEdit *>(QApplication::focusWidget()));
        press(Qt::Key_Return);
        QCOMPARE(bits(window.value(u"c"_s)), bits(QColor(9, 8, 7, 6)));

        window.open(u"f"_s);
        QFont chosen(u"Sans"_s, 17);
        chosen.setItalic(true);
        inDialog([chosen](QWidget *dialog) { qobject_cast<QFontDialog *>(dialog)->setCurrentFont(chosen); });
        press(Qt::Key_Down, Qt::AltModifier);
        QVERIFY(window.isEditing());
        window.activateWindow();
        QTRY_VERIFY(qobject_cast<QLineEdit *>(QApplication::focusWidget()));
        press(Qt::Key_Return);
        QCOMPARE(window.value(u"f"_s).value<QFont>().pointSize(), 17);
        QCOMPARE(window.value(u"f"_s).typeId(), int(QMetaType::QFont));
    }

    void choosesTheColourOfAnItem()
    {
        const QColor old = QColor::fromHslF(.1f, .2f, .3f);
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, QVariantList{old, old});
        Window window(std::move(settings));
        window.open(u"k"_s);

        for (int row = 0; row < 2; ++row) {
            press(Qt::Key_Return);
            QPointer<QWidget> item = QApplication::focusWidget();
            inDialog([row](QWidget *dialog) {
                if (row == 1)
                    qobject_cast<QColorDialog *>(dialog)->setCurrentColor(QColor(9, 8, 7, 6));
            });
            press(Qt::Key_Down, Qt::AltModifier);
            QVERIFY(window.isEditing());
            window.activateWindow();
            QTRY_COMPARE(QApplication::focusWidget(), item.data());
            press(Qt::Key_Return);
            press(Qt::Key_Down);
        }
        press(Qt::Key_Return, Qt::ControlModifier);

        QVERIFY(!window.isEditing());
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(QVariantList{old, QColor(9, 8, 7, 6)}));
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
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, value);
        Window window(std::move(settings));
        QSignalSpy changes(&window.model, &QAbstractItemModel::dataChanged);

        QPointer<QWidget> field = window.open(u"k"_s);
        QVERIFY(field);
        const QString text = textOf(field);
        bool shown = false;
        inDialog([&shown](QWidget *) { shown = true; });
        press(Qt::Key_Down, Qt::AltModifier);
        QVERIFY(shown);
        window.activateWindow();
        QTRY_COMPARE(QApplication::focusWidget(), field.data());
        QCOMPARE(textOf(field), text);
        press(Qt::Key_Return);

        QVERIFY(!window.isEditing());
        QCOMPARE(changes.size(), 0);
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(value));
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
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, old);
        Window window(std::move(settings));
        QPointer<QWidget> field = window.open(u"k"_s);
        QVERIFY(field);

        inDialog([&](QWidget *widget) {
            auto *dialog = qobject_cast<QFontDialog *>(widget);
            dialog->setCurrentFont(with(dialog->currentFont(), change));
        });
        press(Qt::Key_Down, Qt::AltModifier);
        window.activateWindow();
        QTRY_COMPARE(QApplication::focusWidget(), field.data());
        press(Qt::Key_Return);

        QVERIFY(!window.isEditing());
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(with(old, change)));
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
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, old);
        Window window(std::move(settings));
        QPointer<QWidget> field = window.open(u"k"_s);
        QVERIFY(field);

        const QString text = textOf(field);
        QVERIFY(from.isEmpty() || text.count(from) == 1);
        press(Qt::Key_A, Qt::ControlModifier);
        type(from.isEmpty() ? to : QString(text).replace(from, to));
        press(Qt::Key_Return);

        // A text that would be misread is told of.
        QCOMPARE(window.isEditing(), !change);
        press(Qt::Key_Escape);
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(change ? with(old, change) : old));
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
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, QVariantList{from, u"a"_s});
        Window window(std::move(settings));

        window.open(u"k"_s);
        press(Qt::Key_Return);
        press(Qt::Key_A, Qt::ControlModifier);
        type(text);
        press(Qt::Key_Return);
        press(Qt::Key_Return, Qt::ControlModifier);

        QVERIFY(!window.isEditing());
        QVERIFY(bits(from) != bits(to));
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(QVariantList{to, u"a"_s}));
    }

    void comparesWhatIsTypedWithTheValueThatCame()
    {
        auto settings = m_files.empty();
        settings->setValue(u"n"_s, 5);
        settings->setValue(u"t"_s, u"old"_s);
        Window window(std::move(settings));

        for (const QString &key : {u"n"_s, u"t"_s}) {
            const QVariant old = window.store->value(key);
            window.open(key);
            press(Qt::Key_A, Qt::ControlModifier);
            type(u"7"_s);
            window.store->setValue(key, key == u"n"_s ? QVariant(8) : QVariant(u"new"_s));
            window.model.refresh();
            press(Qt::Key_A, Qt::ControlModifier);
            type(old.toString());
            press(Qt::Key_Return);

            // What the editor showed is written, not taken for untouched.
            QVERIFY(!window.isEditing());
            QCOMPARE(bits(window.store->value(key)), bits(old));
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
        auto settings = m_files.empty();
        settings->setValue(u"k"_s, value);
        Window window(std::move(settings));
        QSignalSpy changes(&window.model, &QAbstractItemModel::dataChanged);
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
        QCOMPARE(window.open(u"k"_s) != nullptr, editable);
        if (qobject_cast<QListView *>(QApplication::focusWidget()))
            visitItems();
        else
            press(Qt::Key_Return);
        QVERIFY(!window.isEditing());
        QCOMPARE(changes.size(), 0);
        QCOMPARE(bits(window.store->value(u"k"_s)), bits(value));
        QVERIFY(isSameSettingsValue(window.store->value(u"k"_s), value));

        // Beside an item that is edited.
        window.store->setValue(u"k"_s, QVariantList{value, u"end"_s});
        window.model.refresh();
        changes.clear();
        QVERIFY(window.open(u"k"_s));
        visitItems();
        QVERIFY(!window.isEditing());
        QCOMPARE(changes.size(), 0);
        window.open(u"k"_s);
        press(Qt::Key_Down);
        press(Qt::Key_Return);
        type(u"another end"_s);
        press(Qt::Key_Return);
        press(Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(!window.isEditing());
        QCOMPARE(changes.size(), 1);
        const QVariantList now = window.store->value(u"k"_s).toList();
        QCOMPARE(now.size(), 2);
        QCOMPARE(bits(now.first()), bits(value));
        QCOMPARE(now.first().isNull(), value.isNull());
        QCOMPARE(now.last(), QVariant(u"another end"_s));
    }

    void editsNoMapsAndSaysWhy()
    {
        for (const QVariant &value :
             {QVariant(QVariantMap{{u"a"_s, 1}}), QVariant(QLine(1, 2, 3, 4)), QVariant(QVariantHash())}) {
            auto settings = m_files.empty();
            settings->setValue(u"k"_s, value);
            Window window(std::move(settings));

            QVERIFY(!window.open(u"k"_s));
            QTest::mouseDClick(window.viewport(), Qt::LeftButton, {},
                               window.visualRect(window.cell(u"k"_s)).center());
            QVERIFY(!window.isEditing());
            const QPoint place = window.visualRect(window.cell(u"k"_s)).center();
            QHelpEvent help(QEvent::ToolTip, place, window.viewport()->mapToGlobal(place));
            QApplication::sendEvent(window.viewport(), &help);

            QCOMPARE(QToolTip::text(),
                     u"k\nЗначения типа %1 здесь не меняются"_s.arg(QString::fromLatin1(value.typeName())));
            QToolTip::hideText();
        }
    }

    void showsValuesOnOneLine_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("text");

        QTest::newRow("nothing") << QVariant() << QString();
        QTest::newRow("bool") << QVariant(true) << u"Да"_s;
        QTest::newRow("text") << QVariant(u"a, b"_s) << u"a, b"_s;
        QTest::newRow("lines") << QVariant(u"a\nb\tc\x7f"_s) << u"a↵b␉c␡"_s;
        QTest::newRow("long text") << QVariant(QString(2000, u'x')) << QString(500, u'x') + u'…';
        QTest::newRow("float") << QVariant(.1f) << u"0.1"_s;
        QTest::newRow("huge double") << QVariant(1e300) << u"1e+300"_s;
        QTest::newRow("list") << QVariant(QStringList{u"a"_s, u"b"_s}) << u"a, b"_s;
        QTest::newRow("list that would be misread")
            << QVariant(QStringList{u"a, b"_s, QString(), u" c"_s, u"d\"e"_s})
            << u"\"a, b\", \"\", \" c\", \"d\\\"e\""_s;
        QTest::newRow("empty list") << QVariant(QStringList()) << u"(пустой список)"_s;
        QTest::newRow("lists in lists")
            << QVariant(QVariantList{1, QVariantList{2, u"x"_s}}) << u"1, [2, x]"_s;
        QTest::newRow("map") << QVariant(QVariantMap{{u"a"_s, 1}, {u"b"_s, u"x"_s}}) << u"{a: 1, b: x}"_s;
        QTest::newRow("bytes") << QVariant(QByteArray("a\n\xff")) << u"a\\x0a\\xff"_s;
        QTest::newRow("moment")
            << QVariant(QDateTime(QDate(2024, 2, 3), QTime(4, 5, 6, 7), QTimeZone::utc()).toUTC())
            << u"2024-02-03 04:05:06.007Z"_s;
        QTest::newRow("colour") << QVariant(QColor(1, 2, 255)) << u"#0102ff"_s;
        QTest::newRow("font") << QVariant(QFont(u"Sans"_s, 10, QFont::Bold)) << u"Sans, 10 пт, жирный"_s;
        QTest::newRow("size") << QVariant(QSize(640, 480)) << u"640 × 480"_s;
        QTest::newRow("rectangle of the full range")
            << QVariant(QRect(QPoint(std::numeric_limits<int>::min(), 1),
                              QPoint(std::numeric_limits<int>::max(), std::numeric_limits<int>::min())))
            << u"-2147483648, 1, 4294967296 × -2147483648"_s;
        QTest::newRow("unknown") << QVariant(QLine(1, 2, 3, 4)) << u"<QLine>"_s;
    }

    void showsValuesOnOneLine()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, text);

        QCOMPARE(settingsValueText(value), text);
        QCOMPARE(SettingsDelegate().displayText(value, QLocale()), text);
    }

    void tellsValuesApartToTheLastBit()
    {
        QVERIFY(isSameSettingsValue(5, 5));
        QVERIFY(!isSameSettingsValue(5, 5u));
        QVERIFY(!isSameSettingsValue(5, u"5"_s));
        QVERIFY(!isSameSettingsValue(0., -0.));
        QVERIFY(isSameSettingsValue(std::numeric_limits<double>::quiet_NaN(),
                                    std::numeric_limits<double>::quiet_NaN()));
        QVERIFY(!isSameSettingsValue(QPointF(1, 1), QPointF(1 + 1e-15, 1)));
        const QDateTime noon = QDateTime(QDate(2024, 1, 1), QTime(12, 0), QTimeZone::utc()).toUTC();
        QVERIFY(!isSameSettingsValue(noon, noon.toOffsetFromUtc(3600)));
        QVERIFY(!isSameSettingsValue(QVariantList{1}, QVariantList{1.}));
        QVERIFY(!isSameSettingsValue(QVariantList{1}, QVariantList{1, 1}));
        QVERIFY(!isSameSettingsValue(QVariantMap{{u"a"_s, 0.}}, QVariantMap{{u"a"_s, -0.}}));
        QVERIFY(!isSameSettingsValue(QVariantMap{{u"a"_s, 0.}}, QVariantMap{{u"b"_s, 0.}}));
        QVERIFY(isSameSettingsValue(QVariant(), QVariant()));
    }

    void staysInsideOfTheView()
    {
        auto settings = m_files.empty();
        for (int i = 0; i < 40; ++i)
            settings->setValue(u"k%1"_s.arg(i, 2, 10, QLatin1Char('0')), QStringList{u"a"_s, u"b"_s});
        Window window(std::move(settings));

        for (const QString &key : {u"k00"_s, u"k20"_s, u"k39"_s}) {
            QWidget *list = window.open(key);
            QVERIFY(list);
            QWidget *editor = list->parentWidget();
            QVERIFY2(window.viewport()->rect().contains(editor->geometry()), qPrintable(key));
            QVERIFY(editor->height() >= editor->minimumSizeHint().height());
            press(Qt::Key_Escape);
        }
    }
};

QTEST_MAIN(TestSettingsDelegate)
#include "tst_settingsdelegate.moc"
