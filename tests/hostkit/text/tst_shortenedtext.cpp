// SPDX-License-Identifier: MIT
#include <hostkit/text/shortenedtext.h>

#include <support/exceptions.h>

#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_ShortenedText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void keepsToItsLength_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("null") << QString() << QString();
        QTest::newRow("empty") << u""_s << u""_s;
        QTest::newRow("as long as may be") << u"abcd"_s << u"abcd"_s;
        QTest::newRow("longer by one") << u"abcde"_s << u"abc…"_s;
        QTest::newRow("pair at the end of what fits") << u"ab😀"_s << u"ab😀"_s;
        QTest::newRow("pair before the cut") << u"a😀bc"_s << u"a😀…"_s;
        QTest::newRow("pair across the cut") << u"ab😀c"_s << u"ab…"_s;
        QTest::newRow("half a pair before the cut")
            << QString(u"ab"_s + QChar(u'\xd83d') + u"cd"_s) << QString(u"ab"_s + QChar(u'\xd83d') + u'…');
    }
    void keepsToItsLength()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);

        const QString result = shortenedText(text, 4);

        QCOMPARE(result, expected);
        QCOMPARE(result.isNull(), text.isNull());
    }

    void mayLeaveTheMarkAlone()
    {
        QCOMPARE(shortenedText(u"ab"_s, 1), u"…"_s);
        QCOMPARE(shortenedText(u"😀"_s, 1), u"…"_s);
        QCOMPARE(shortenedText(u"😀a"_s, 2), u"…"_s);
    }
};

QTEST_GUILESS_MAIN(tst_ShortenedText)
#include "tst_shortenedtext.moc"
