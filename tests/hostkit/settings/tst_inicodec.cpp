// SPDX-License-Identifier: MIT
#include <hostkit/settings/inicodec.h>
#include <hostkit/settings/scratchstore.h>
#include <hostkit/settings/settingsvalue.h>

#include <support/seed.h>

#include <QBitArray>
#include <QColor>
#include <QDateTime>
#include <QFont>
#include <QKeySequence>
#include <QLocale>
#include <QPoint>
#include <QRandomGenerator>
#include <QRect>
#include <QRegularExpression>
#include <QSize>
#include <QTest>
#include <QTimeZone>
#include <QUrl>
#include <QUuid>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// What QSettings writes behind the key "k" for \a value.
QByteArray settingsText(const QVariant &value)
{
    ScratchStore store({});
    store->setValue(u"k"_s, value);
    const QByteArray begin = "[General]\nk=";
    const QByteArray content = store.content();
    return content.startsWith(begin) && content.endsWith('\n')
               ? content.mid(begin.size(), content.size() - begin.size() - 1)
               : "not written: " + content;
}

} // namespace

/// QSettings is the oracle throughout.
class tst_IniCodec : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u"^(?!QVariant::load: unknown user type)"_s)); }

    void writesAndReadsAllTypes_data();
    void writesAndReadsAllTypes();
    void readsTexts_data();
    void readsTexts();
    void readsAnyText();
    void writesAnyText();
    void writesAndReadsAnyKey();
    void namesHeads_data();
    void namesHeads();
};

void tst_IniCodec::writesAndReadsAllTypes_data()
{
    QTest::addColumn<QVariant>("value");
    const auto row = [](const char *name, const QVariant &value) { QTest::newRow(name) << value; };

    row("invalid", {});
    row("empty text", QString());
    row("null text", QVariant(QMetaType(QMetaType::QString)));
    row("null number", QVariant(QMetaType(QMetaType::Int)));
    row("text", u"a; b, \"c\" \\ \u0436\n=\t@x #'?"_s);
    row("text with NUL", QString(QChar::Null) + u"1a"_s);
    row("at", u"@Variant(x)"_s);
    row("coded bytes as text", u"@ByteArray(\u20ac)"_s);
    row("spaces", u"  x  "_s);
    row("trailing space", u"x "_s);
    row("tabs", u"\tx\t"_s);
    row("control characters", u"\u0001f\u0001g\u007f\u0080\u009f9\a\b\f\v\r"_s);
    row("surrogates", u"\U0001F600 a"_s);
    row("high surrogate alone", QString(QChar(0xd83d)));
    row("high surrogate before others", QString(QChar(0xd83d)) + u"\nx"_s);
    row("low surrogate alone", QString(QChar(0xde00)) + u"x"_s);
    row("character", QChar(u'x'));
    row("bool", true);
    row("int", -7);
    row("unsigned", 4'000'000'000U);
    row("long", qint64(-5'000'000'000));
    row("unsigned long", quint64(18'000'000'000'000'000'000ULL));
    row("short", QVariant::fromValue<short>(3));
    row("byte", QVariant::fromValue<uchar>(3));
    row("C long", QVariant::fromValue<long>(3));
    row("double", 0.1);
    row("large double", 1e300);
    row("not a number", qQNaN());
    row("float", 0.1F);
    row("bytes", QByteArray("\0\xff=;1\x7f,\"\\", 9));
    row("no bytes", QByteArray());
    row("bits", QBitArray(3, true));
    row("texts", QStringList{u"a"_s, u"b, c"_s, QString(), u"@x"_s, u" "_s});
    row("one text", QStringList{u"a"_s});
    row("one text with a comma", QStringList{u"a,b"_s});
    row("one empty text", QStringList{QString()});
    row("no texts", QStringList());
    row("list", QVariantList{1, QPoint(1, 2), u"x"_s, QVariant(), QByteArray("\xe9")});
    row("list of texts", QVariantList{u"a"_s, u"b"_s});
    row("list of one", QVariantList{5});
    row("empty list", QVariantList());
    row("list of lists", QVariantList{QVariantList{1, 2}, QStringList{u"a"_s}});
    row("map", QVariantMap{{u"k"_s, 1}, {u"l"_s, QStringList{u"a"_s}}});
    row("hash", QVariantHash{{u"k"_s, 1}});
    row("point", QPoint(3, -4));
    row("real point", QPointF(0.5, -4));
    row("size", QSize(3, -1));
    row("real size", QSizeF(0.5, 4));
    row("rectangle", QRect(1, 2, 3, -4));
    row("real rectangle", QRectF(1, 2, 3, 4.5));
    row("date", QDate(2024, 2, 29));
    row("time", QTime(1, 2, 3, 4));
    row("local time", QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3)));
    row("UTC", QDateTime::fromString(u"2024-02-29T01:02:03Z"_s, Qt::ISODate));
    row("time with an offset", QDateTime::fromString(u"2024-02-29T01:02:03+05:30"_s, Qt::ISODate));
    row("time in a zone", QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3), QTimeZone("Europe/Berlin")));
    row("URL", QUrl(u"https://example.org/a?b=c"_s));
    row("UUID", QUuid(u"{12345678-1234-1234-1234-123456789abc}"_s));
    row("locale", QLocale(u"de_DE"_s));
    row("expression", QRegularExpression(u"a,b;c"_s));
    row("key sequence", QKeySequence(u"Ctrl+,"_s));
    row("color", QColor(1, 2, 3));
    row("font", QFont(u"Arial"_s, 12));
}

void tst_IniCodec::writesAndReadsAllTypes()
{
    QFETCH(QVariant, value);
    const QByteArray text = settingsText(value);

    QCOMPARE(IniCodec::valueText(value), text);

    const QVariant read = ScratchStore("k=" + text + '\n')->value(u"k"_s);
    QVERIFY2(isSameSettingsValue(IniCodec::value(text), read),
             qPrintable(settingsValueText(read) + u" | "_s + settingsValueText(IniCodec::value(text))));
}

void tst_IniCodec::readsTexts_data()
{
    QTest::addColumn<QByteArray>("text");
    const QByteArrayList texts{"",
                               " x ",
                               "A;B",
                               "\"p;q\"",
                               "a, b",
                               "a ,b\t,",
                               ",",
                               "\"a\" , \"b\" c ",
                               "x \"y z\" w ",
                               "\"x",
                               "x\\",
                               "x\\x",
                               "x\\xg",
                               "x\\x41g",
                               "x\\x4142434445 ",
                               "\\0\\08\\101\\400",
                               "x \\n  ",
                               "x  \\\n  y",
                               "x\\\r\n y",
                               "x\\q\\?\\'",
                               "caf\xe9",
                               "\xd0\\x\xb6",
                               "\xd0, \xb6",
                               "\"two\nrows\"",
                               "@",
                               "@@x",
                               "a, @@x",
                               "a, @x",
                               "a, @",
                               "@Invalid()",
                               "@Invalid(), a",
                               "@Point(1 2)",
                               "@Point(1  2)",
                               "@Point(a 2)",
                               "@Point(1)",
                               "@Size(1 2",
                               "@Rect(1 2 3 4)",
                               "@ByteArray(\\xe9\xc3\xa9)",
                               "@ByteArray(",
                               "@String(a)",
                               "@Variant()",
                               "@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\tForeign?\\0\\0\\x31 \\xe9\\n)",
                               "@DateTime()",
                               "\\x40Point(1 2)",
                               "\"@Point(1 2)\"",
                               "@Nothing(1)"};
    for (const QByteArray &text : texts)
        QTest::addRow("%s", text.toPercentEncoding(" ,;\"@()\\'?").constData()) << text;
}

void tst_IniCodec::readsTexts()
{
    QFETCH(QByteArray, text);

    const QVariant read = ScratchStore("k=" + text)->value(u"k"_s);

    // Without what ends the line for QSettings.
    const qsizetype comment = text.startsWith("A;") ? 1 : text.size();
    QVERIFY2(isSameSettingsValue(IniCodec::value(text.first(comment)), read),
             qPrintable(settingsValueText(read) + u" | "_s +
                        settingsValueText(IniCodec::value(text.first(comment)))));
}

void tst_IniCodec::readsAnyText()
{
    const quint64 seed = testSeed();
    QRandomGenerator random(uint(seed ^ (seed >> 32)));
    const QByteArrayList parts{" ",    "\t",       "\"", "\\",         ",",    "@",           "x",
                               "a",    "0",        "7",  "8",          "g",    "\xe9",        "\xd0",
                               "\xb6", "\xd0\xb6", "(",  ")",          "n",    "@Point(1 2)", "\\x4",
                               "\\",   "Size",     "@@", "@Invalid()", "\\\n", "\\\r\n"};
    QByteArrayList texts;
    QByteArray content;
    for (int i = 0; i < 5000; ++i) {
        QByteArray text;
        for (int length = random.bounded(10); length > 0; --length)
            text += parts.at(random.bounded(int(parts.size())));
        // Nothing that would go on in the next line.
        if (text.count('"') % 2 == 1 || text.contains("\\\"") || text.endsWith('\\') ||
            text.contains("\\\\\n") || text.contains("\\\\\r"))
            continue;
        content += 'k' + QByteArray::number(texts.size()) + '=' + text + '\n';
        texts += text;
    }

    const ScratchStore store(content);
    for (qsizetype i = 0; i < texts.size(); ++i) {
        const QVariant read = store->value(u'k' + QString::number(i));
        QVERIFY2(isSameSettingsValue(IniCodec::value(texts.at(i)), read),
                 seedMessage(seed, QString::fromLatin1(texts.at(i))).constData());
    }
    QVERIFY(texts.size() > 2000);
}

void tst_IniCodec::writesAnyText()
{
    const quint64 seed = testSeed();
    QRandomGenerator random(uint(seed ^ (seed >> 32)));
    const auto anyText = [&random] {
        QString text;
        for (int length = random.bounded(8); length > 0; --length) {
            const int kind = random.bounded(4);
            text += QChar(kind == 0   ? random.bounded(0x30)
                          : kind == 1 ? random.bounded(0x100)
                          : kind == 2 ? int(u"@\\\", ;=a9"_s.at(random.bounded(9)).unicode())
                                      : random.bounded(0x10000));
        }
        return text;
    };
    ScratchStore store({});
    QByteArray expected = "[General]\n";
    for (int i = 0; i < 3000; ++i) {
        QVariant value = anyText();
        if (i % 3 == 1)
            value = QStringList{anyText(), anyText()};
        else if (i % 3 == 2)
            value = anyText().toUtf8();
        const QString key = u"k%1"_s.arg(i, 4, 10, QChar(u'0'));
        store->setValue(key, value);
        expected += key.toLatin1() + '=' + IniCodec::valueText(value) + '\n';
    }

    const QByteArrayList rows = store.content().split('\n');
    const QByteArrayList expectedRows = expected.split('\n');
    for (qsizetype i = 0; i < expectedRows.size(); ++i)
        QVERIFY2(expectedRows.at(i) == rows.value(i),
                 seedMessage(seed, QString::fromLatin1(rows.value(i))).constData());
}

void tst_IniCodec::writesAndReadsAnyKey()
{
    const quint64 seed = testSeed();
    QRandomGenerator random(uint(seed ^ (seed >> 32)));
    QStringList keys;
    for (int i = 0; i < 1000; ++i) {
        QString key = u"k%1_"_s.arg(i, 4, 10, QChar(u'0'));
        for (int length = random.bounded(6); length > 0; --length)
            key += QChar(random.bounded(2) == 0 ? random.bounded(0x80) : random.bounded(0x10000));
        keys += key.remove(u'/') + u"/x"_s;
    }
    ScratchStore store({});
    QByteArray expected;
    for (const QString &key : std::as_const(keys)) {
        store->setValue(u"g/"_s + key, 1);
        expected += IniCodec::keyText(key) + "=1\n";
        QVERIFY2(IniCodec::key(IniCodec::keyText(key)) == key, seedMessage(seed, key).constData());
    }
    QVERIFY2(store.content() == "[g]\n" + expected, seedMessage(seed, {}).constData());

    const QByteArrayList parts{"%", "%U", "%20",  "%u",       "4", "16", "F", "f",
                               "g", "\\", "\xe9", "\xd0\xb6", " ", "Z",  "+", "-"};
    for (int i = 0; i < 1000; ++i) {
        QByteArray text = "k";
        for (int length = random.bounded(8); length > 0; --length)
            text += parts.at(random.bounded(int(parts.size())));
        // It would escape the sign behind the key.
        while (text.endsWith('\\'))
            text.chop(1);
        QVERIFY2(QStringList{IniCodec::key(text)} == ScratchStore(text + "=1\n")->allKeys(),
                 seedMessage(seed, QString::fromLatin1(text)).constData());
    }
}

void tst_IniCodec::namesHeads_data()
{
    QTest::addColumn<QByteArray>("head");
    for (const char *head : {"[General]", "[general]", "[%General]", "[%GENERAL]", "[a]", "[ a b ]", "[a]b]",
                             "[abc", "[a/b]", "[a\\b]", "[%U0436]", "[\xd0\xb6]", "[%]", "[General/a]"})
        QTest::addRow("%s", head) << QByteArray(head);
}

void tst_IniCodec::namesHeads()
{
    QFETCH(QByteArray, head);
    const ScratchStore store(head + "\nk=1\n");

    QCOMPARE(store->allKeys(), QStringList{IniCodec::prefix(head) + u'k'});

    ScratchStore again({});
    again->setValue(store->allKeys().constFirst(), 1);
    const QString section = store->allKeys().constFirst().section(u'/', 0, -2).section(u'/', 0, 0);
    QVERIFY2(again.content().startsWith(IniCodec::headText(section) + '\n'), again.content().constData());
}

QTEST_MAIN(tst_IniCodec)
#include "tst_inicodec.moc"
