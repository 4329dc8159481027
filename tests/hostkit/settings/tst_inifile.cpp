// SPDX-License-Identifier: MIT
#include <hostkit/settings/inifile.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QPoint>
#include <QRandomGenerator>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <utility>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

using Change = SettingsChange;
using Changes = QList<Change>;

Change set(const QString &path, const QVariant &value)
{
    Change change;
    change.path = path;
    change.newValue = value;
    return change;
}

Change removal(const QString &path)
{
    Change change;
    change.path = path;
    change.removal = true;
    return change;
}

/// An INI file with a store over it.
class Stored
{
public:
    explicit Stored(const QByteArray &content)
    {
        QFile file(name());
        if (!m_directory.isValid() || !file.open(QIODevice::WriteOnly) ||
            file.write(content) != content.size())
            qFatal("the file could not be made");
    }

    QString name() const { return m_directory.filePath(u"store.ini"_s); }
    QByteArray content() const
    {
        QFile file(name());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QString write(const Changes &changes)
    {
        IniFile file(name());
        return file.error().isEmpty() ? file.write(changes) : file.error();
    }

private:
    QTemporaryDir m_directory;
};

/// What a QSettings reads, and a plain one is given.
QMap<QString, QVariant> readingOf(const QByteArray &content, const Changes &changes = {})
{
    const Stored stored(content);
    {
        QSettings settings(stored.name(), QSettings::IniFormat);
        // Removes nothing from sections that it has not parsed.
        settings.allKeys();
        for (const Change &change : changes) {
            if (change.removal)
                settings.remove(change.path);
            else
                settings.setValue(change.path, change.newValue);
        }
    }
    const Stored read(stored.content());
    QSettings settings(read.name(), QSettings::IniFormat);
    QMap<QString, QVariant> values;
    const QStringList keys = settings.allKeys();
    for (const QString &key : keys)
        values.insert(key, settings.value(key));
    return values;
}

} // namespace

class tst_IniFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changesOnlyTheLinesOfEntries_data();
    void changesOnlyTheLinesOfEntries();
    void keepsWhatIsReadInPart_data();
    void keepsWhatIsReadInPart();
    void writesValuesOfAllKinds_data();
    void writesValuesOfAllKinds();
    void endsWhatNothingEnds_data();
    void endsWhatNothingEnds();
    void keepsACopy();
    void writesALostFileAnew();
    void agreesWithQSettings();
};

void tst_IniFile::changesOnlyTheLinesOfEntries_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<Changes>("changes");
    QTest::addColumn<QByteArray>("after");
    const auto row = [](const char *name, const QByteArray &before, const Changes &changes,
                        const QByteArray &after) { QTest::newRow(name) << before << changes << after; };

    row("value", "; c\n[g]\n a = 1\nb=2\n", {set(u"g/a"_s, 5)}, "; c\n[g]\n a = 5\nb=2\n");
    row("same value", "; c\n[g]\na=\"x\"\n", {set(u"g/a"_s, u"x"_s)}, "; c\n[g]\na=\"x\"\n");
    row("CR LF", "; c\r\n[g]\r\na=1\r\n\r\n[h]\r\nb=1\r\n",
        {set(u"g/a"_s, 5), set(u"g/n"_s, 1), set(u"k/n"_s, 1), removal(u"h/b"_s)},
        "; c\r\n[g]\r\na=5\r\nn=1\r\n\r\n[k]\r\nn=1\r\n");
    row("CR", "; c\r[g]\ra=1\r", {set(u"g/a"_s, 5), set(u"g/n"_s, 1)}, "; c\r[g]\ra=5\rn=1\r");
    row("no end, value", ";c\na=1", {set(u"a"_s, 5)}, ";c\na=5");
    row("no end, new key", ";c\na=1", {set(u"b"_s, 5)}, ";c\na=1\nb=5");
    row("no end, new section", ";c\na=1", {set(u"g/b"_s, 5)}, ";c\na=1\n\n[g]\nb=5\n");
    row("no end, removal", ";c\na=1\nb=2", {removal(u"b"_s)}, ";c\na=1\n");
    row("duplicates, value", "a=1\na=2\nb=1\n", {set(u"a"_s, 5)}, "a=1\na=5\nb=1\n");
    row("duplicates, removal", "a=1\na=2\nb=1\n", {removal(u"a"_s)}, "b=1\n");
    row("section twice", "[g]\na=1\n[h]\na=1\n[g]\nb=1\n;end\n", {set(u"g/a"_s, 5), set(u"g/c"_s, 3)},
        "[g]\na=5\n[h]\na=1\n[g]\nb=1\nc=3\n;end\n");
    row("overlapping sections", "[g]\nh\\a=1\n[g/h]\na=2\n", {set(u"g/h/a"_s, 5)},
        "[g]\nh\\a=5\n[g/h]\na=5\n");
    row("percent and slash", ";c\n[a%20b]\nx%2Fy\\z=1\n%U0416=2\n",
        {set(u"a b/x/y/z"_s, 5), set(u"a b/\u0416"_s, 6)}, ";c\n[a%20b]\nx%2Fy\\z=5\n%U0416=6\n");
    row("Cyrillic", ";c\n[g]\na=1\n", {set(u"g/\u0436 \u0436%"_s, 5)},
        ";c\n[g]\na=1\n%U0436%20%U0436%25=5\n");
    row("nested groups", ";c\n[g]\nh\\a=1\nh\\k\\b=2\nc=3\n", {removal(u"g/h"_s)}, ";c\n[g]\nc=3\n");
    row("removed group", ";c\n[g]\na=1\nb=2\n\n[h]\nc=3\n\n[empty]\n", {removal(u"g"_s)},
        ";c\n[h]\nc=3\n\n[empty]\n");
    row("removed group with comments", "[g]\n; why\na=1\n[h]\nc=3\n", {removal(u"g"_s)},
        "[g]\n; why\n[h]\nc=3\n");
    row("removed and set again", ";c\n[g]\na=1\nb=2\n", {removal(u"g"_s), set(u"g/b"_s, 5)},
        ";c\n[g]\nb=5\n");
    row("set and removed", ";c\n[g]\na=1\n[h]\nb=2\n", {set(u"g/b"_s, 5), removal(u"g"_s)}, ";c\n[h]\nb=2\n");
    row("General", "; c\n[General]\na=1\n[g]\nb=1\n", {set(u"c"_s, 5)},
        "; c\n[General]\na=1\nc=5\n[g]\nb=1\n");
    row("General by another case", "; c\n[GENERAL]\na=1\n", {set(u"a"_s, 5)}, "; c\n[GENERAL]\na=5\n");
    row("no General", "; c\n[g]\nb=1\n", {set(u"c"_s, 5)}, "; c\n[g]\nb=1\n\n[General]\nc=5\n");
    row("group General", "; c\n[General]\na=1\n[%General]\na=2\n", {set(u"General/a"_s, 5)},
        "; c\n[General]\na=1\n[%General]\na=5\n");
    row("over several lines", ";c\na=x\\\n  y\nb=\"p\nq\"\nc=1\n", {set(u"a"_s, 5), removal(u"b"_s)},
        ";c\na=5\nc=1\n");
    row("remark behind a value", "a=1 ; one\nb=2 ; two\n", {set(u"a"_s, 5), removal(u"b"_s)}, "a=5 ; one\n");
    row("comment in front of a shifted section", "; c\na=1\n  [g]\nb=2\n",
        {removal(u"a"_s), set(u"g/b"_s, 5)}, "; c\n  [g]\nb=5\n");
    row("commented out", "#b=2\na=1\n", {set(u"a"_s, 5), set(u"b"_s, 1)}, "#b=2\na=5\nb=1\n");
    row("only comments", "; c\n", {set(u"a"_s, 5)}, "; c\n\n[General]\na=5\n");
}

void tst_IniFile::changesOnlyTheLinesOfEntries()
{
    QFETCH(QByteArray, before);
    QFETCH(Changes, changes);
    Stored stored(before);

    QCOMPARE(stored.write(changes), QString());

    QTEST(stored.content(), "after");
    QCOMPARE(readingOf(stored.content()), readingOf(before, changes));
}

void tst_IniFile::keepsWhatIsReadInPart_data()
{
    QTest::addColumn<QByteArray>("line");

    QTest::newRow("byte of another encoding") << QByteArray("name=caf\xe9");
    QTest::newRow("semicolons") << QByteArray("list=A;B;C");
    QTest::newRow("unknown escapes") << QByteArray("path=C:\\Users\\me\\new");
    QTest::newRow("duplicates") << QByteArray("b=2\nb=3");
    QTest::newRow("commented out by a hash") << QByteArray("#b=2");
    QTest::newRow("quotes inside") << QByteArray("cmd=sh -c \"x y\" z");
    QTest::newRow("comment and empty group") << QByteArray("; a remark\n[empty]\n\n[more]\n;b=2\nc=3");
    QTest::newRow("type of another program") << QByteArray(
        "m=\"@Variant(\\0\\0\\0\\b\\0\\0\\0\\x1\\0\\0\\0\\x2\\0k\\0\\0\\x4\\0\\0\\0\\0\\x4Zzz\\0)\"");
    QTest::newRow("coded value alone")
        << QByteArray("m=@Variant(\\0\\0\\x4\\0\\0\\0\\0\\x4Zzz\\0\\0\\0\\0\\x1)");
    QTest::newRow("key without a name") << QByteArray("=2");
    QTest::newRow("slashes") << QByteArray("a//b=2");
}

void tst_IniFile::keepsWhatIsReadInPart()
{
    QFETCH(QByteArray, line);
    const QByteArray before = "[g]\n" + line + "\n\n[h]\nx=1\ny=2\n";
    Stored stored(before);

    QCOMPARE(stored.write({set(u"h/x"_s, 5), removal(u"h/y"_s), set(u"h/z"_s, u"new"_s)}), QString());

    QCOMPARE(stored.content(), "[g]\n" + line + "\n\n[h]\nx=5\nz=new\n");
}

void tst_IniFile::writesValuesOfAllKinds_data()
{
    QTest::addColumn<QVariant>("value");

    QTest::newRow("empty") << QVariant(QString());
    QTest::newRow("none") << QVariant();
    QTest::newRow("text") << QVariant(u"a; b, \"c\" \\ \u0436\n=\t@x #"_s);
    QTest::newRow("at") << QVariant(u"@Variant(x)"_s);
    QTest::newRow("spaces") << QVariant(u"  x  "_s);
    QTest::newRow("number") << QVariant(-7);
    QTest::newRow("bool") << QVariant(true);
    QTest::newRow("double") << QVariant(0.1);
    QTest::newRow("bytes") << QVariant(QByteArray("\0\xff=;", 4));
    QTest::newRow("texts") << QVariant(QStringList{u"a"_s, u"b, c"_s, QString()});
    QTest::newRow("one text") << QVariant(QStringList{u"a"_s});
    QTest::newRow("list") << QVariant(QVariantList{1, QPoint(1, 2), u"x"_s});
    QTest::newRow("point") << QVariant(QPoint(3, -4));
    QTest::newRow("date") << QVariant(QDate(2024, 2, 29));
    QTest::newRow("map") << QVariant(QVariantMap{{u"k"_s, 1}});
}

void tst_IniFile::writesValuesOfAllKinds()
{
    QFETCH(QVariant, value);
    const Changes changes{set(u"g/old"_s, value), set(u"g/new"_s, value), set(u"other/deep/new"_s, value)};
    const QByteArray before = "; first\n[g]\nold=1\n; last\nlist=A;B\n";
    Stored stored(before);

    QCOMPARE(stored.write(changes), QString());

    QCOMPARE(readingOf(stored.content()), readingOf(before, changes));
    const QByteArrayList rows = stored.content().split('\n');
    QCOMPARE(rows.mid(0, 2).join('\n'), "; first\n[g]");
    QVERIFY(rows.at(2).startsWith("old="));
    QCOMPARE(rows.mid(3, 2).join('\n'), "; last\nlist=A;B");
}

void tst_IniFile::endsWhatNothingEnds_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("quotes") << QByteArray("; c\na=1\nb=\"x\n") << QByteArray("; c\na=1\nb=\"x\n\"\nn=5\n");
    QTest::newRow("escape") << QByteArray("b=x\\") << QByteArray("b=x\\\n\nn=5\n");
    QTest::newRow("escape in quotes") << QByteArray("b=\"x\\") << QByteArray("b=\"x\\\n\"\nn=5\n");
    QTest::newRow("unreadable") << QByteArray("b=1\n# \"x") << QByteArray("b=1\nn=5\n# \"x");
}

/// A new entry would be in quotes that nobody closed.
void tst_IniFile::endsWhatNothingEnds()
{
    QFETCH(QByteArray, before);
    const Changes changes{set(u"n"_s, 5)};
    Stored stored(before);

    QCOMPARE(stored.write(changes), QString());

    QTEST(stored.content(), "after");
    QCOMPARE(readingOf(stored.content()), readingOf(before, changes));
}

void tst_IniFile::keepsACopy()
{
    const QByteArray content = "a=1\n";
    const Stored stored(content);

    QCOMPARE(IniFile(stored.name()).backUp(), QString());

    const QDir place = QFileInfo(stored.name()).dir();
    const QStringList copies = place.entryList({u"store.ini.bak-*"_s}, QDir::Files);
    QCOMPARE(copies.size(), 1);
    QFile copy(place.filePath(copies.constFirst()));
    QVERIFY(copy.open(QIODevice::ReadOnly));
    QCOMPARE(copy.readAll(), content);
}

void tst_IniFile::writesALostFileAnew()
{
    const QByteArray before = "; c\n[g]\nname=caf\xe9\nm=@Variant(\\0\\0\\x4\\0\\0\\0\\0\\x4Zzz\\0)\nx=1\n";
    Stored stored(before);
    QVERIFY(QFile::remove(stored.name()));
    IniFile file(stored.name(), before);
    QVERIFY(!file.exists());
    QCOMPARE(file.fingerprint(), QByteArray());

    QCOMPARE(file.write({set(u"g/x"_s, 5)}), QString());

    QByteArray after = before;
    QCOMPARE(stored.content(), after.replace("x=1", "x=5"));
    QCOMPARE(file.text().content(), after);
}

void tst_IniFile::agreesWithQSettings()
{
    const QStringList paths{u"a"_s,         u"b"_s,      u"c/d"_s,       u"c/e f"_s,
                            u"c/g/h"_s,     u"c/g/%"_s,  u"General/a"_s, u"\u0436/\u0436"_s,
                            u"c.x/y-z_1"_s, u"c/list"_s, u"q r/s"_s};
    const QByteArrayList heads{"[General]", "[c]",     "[%General]", "[c/g]",
                               "[%U0436]",  "[q%20r]", " [c.x] ",    "[none]"};
    const QByteArrayList keys{"a",      "b",     "d",    "e%20f", "g\\h", "g\\%25",
                              "%U0436", "y-z_1", "list", "s",     "h",    "#a"};
    const QByteArrayList values{
        "1",       " x ",      "A;B;C",         "\"p;q\"", "a, b",       "C:\\Users\\new", "x \"y z\" w",
        "caf\xe9", "x\\\n  y", "\"two\nrows\"", "",        "@Invalid()", "@Point(1 2)"};
    const QByteArrayList remarks{"; remark", ";", "", "  ", ";a=5"};
    const QVariantList given{5, u"t; x"_s, QStringList{u"p"_s, u"q"_s}, QPoint(1, 2), QString(), true};
    QRandomGenerator random(20240229);
    const auto any = [&random](const auto &list) { return list.at(random.bounded(int(list.size()))); };

    int patched = 0;
    for (int round = 0; round < 150; ++round) {
        const QByteArray rowEnd = round % 5 == 0 ? "\r\n" : "\n";
        QByteArray before;
        for (int i = random.bounded(25); i >= 0; --i) {
            const int kind = random.bounded(10);
            before += kind == 0   ? any(heads)
                      : kind == 1 ? "\n" + any(remarks)
                                  : any(keys) + (kind == 2 ? " = " : "=") + any(values);
            before += i == 0 && round % 7 == 0 ? QByteArray() : rowEnd;
        }
        Changes changes;
        for (int i = random.bounded(4); i >= 0; --i) {
            const bool removes = random.bounded(3) == 0;
            const QString path = any(paths);
            changes += removes ? removal(random.bounded(2) == 0 ? path : path.section(u'/', 0, 0))
                               : set(path, any(given));
        }
        const QByteArray told = "round " + QByteArray::number(round) + '\n' + before;
        Stored stored(before);

        const QString error = stored.write(changes);
        // Some are no INI files.
        if (error.contains(u"INI"_s))
            continue;
        QVERIFY2(error.isEmpty(), (told + qPrintable(error)).constData());

        QVERIFY2(readingOf(stored.content()) == readingOf(before, changes),
                 (told + "-----\n" + stored.content()).constData());
        ++patched;
        // Rows that differ in number belong to entries that were changed.
        QHash<QByteArray, int> rows;
        for (const QByteArray &row : before.split('\n'))
            ++rows[row.trimmed()];
        for (const QByteArray &row : stored.content().split('\n'))
            --rows[row.trimmed()];
        for (auto it = rows.cbegin(); it != rows.cend(); ++it) {
            const QByteArray &row = it.key();
            bool concerned =
                it.value() <= 0 || row.isEmpty() || row.startsWith('[') || row == "y" || row == "rows\"";
            if (!concerned && row.contains('=')) {
                QByteArray probe;
                for (const QByteArray &head : heads)
                    probe += head + '\n' + row.left(row.indexOf('=')) + "=1\n";
                const QStringList read = readingOf(probe).keys();
                concerned = std::any_of(changes.begin(), changes.end(), [&](const Change &change) {
                    return read.contains(change.path) ||
                           (change.removal && !read.filter(change.path + u'/').isEmpty());
                });
            }
            QVERIFY2(concerned, (told + "-----\n" + stored.content() + "\nlost: " + row).constData());
        }
    }
    QVERIFY2(patched > 100, QByteArray::number(patched).constData());
}

QTEST_GUILESS_MAIN(tst_IniFile)

#include "tst_inifile.moc"
