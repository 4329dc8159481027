// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdelegate.h>
#include <hostkit/settings/settingsvalue.h>

#include <QColor>
#include <QDateTime>
#include <QFont>
#include <QLine>
#include <QLocale>
#include <QPoint>
#include <QRect>
#include <QRegularExpression>
#include <QSize>
#include <QTest>
#include <QTimeZone>

#include <limits>

using namespace sito;
using namespace Qt::StringLiterals;

class TestSettingsValue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void showsValuesOnOneLine_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("text");

        QTest::newRow("nothing") << QVariant() << QString();
        QTest::newRow("bool") << QVariant(true) << u"Да"_s;
        QTest::newRow("text") << QVariant(u"a, b"_s) << u"a, b"_s;
        QTest::newRow("lines") << QVariant(u"a\nb\tc\x7f"_s) << u"a↵b␉c␡"_s;
        QTest::newRow("long text") << QVariant(QString(2000, u'x')) << QString(500, u'x') + u'…';
        QTest::newRow("long text with a character of two units across the cut")
            << QVariant(QString(499, u'x') + u"😀yz"_s) << QString(499, u'x') + u'…';
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
};

QTEST_MAIN(TestSettingsValue)
#include "tst_settingsvalue.moc"
