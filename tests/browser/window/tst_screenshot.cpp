// SPDX-License-Identifier: MIT
#include <support/program.h>

#include <QColor>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

int colours(const QImage &image)
{
    QSet<QRgb> seen;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            seen.insert(image.pixel(x, y));
    }
    return int(seen.size());
}

int meanLightness(const QImage &image)
{
    qint64 sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            sum += qGray(image.pixel(x, y));
    }
    return int(sum / (image.width() * image.height()));
}

} // namespace

class tst_Screenshot : public QObject
{
    Q_OBJECT
private:
    /// The picture that \a arguments make; null when they make none or the program says anything.
    QImage picture(const QStringList &arguments, const QString &locale = u"C"_s)
    {
        const QString file = m_directory.filePath(u"picture%1.png"_s.arg(++m_made));
        const ProgramRun run = runBrowser(arguments + QStringList{u"--screenshot"_s, file}, locale);
        if (run.exitCode != 0 || !run.errors.isEmpty() || !run.output.isEmpty()) {
            qWarning().noquote() << run.exitCode << run.errors << run.output;
            return {};
        }
        return QImage(file);
    }

    QTemporaryDir m_directory;
    int m_made = 0;

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void showsTheWindowWithItsTable()
    {
        const QImage image = picture({u"--table"_s, u"quotes"_s, u"--size"_s, u"1000x600"_s});

        QCOMPARE(image.size(), QSize(1000, 600));
        QVERIFY(colours(image) > 50);
    }

    void differsByTableAndFilters()
    {
        const QStringList size{u"--size"_s, u"800x500"_s};
        const QImage quotes = picture(QStringList{u"--table"_s, u"quotes"_s} + size);
        const QImage securities = picture(QStringList{u"--table"_s, u"securities"_s} + size);
        const QImage excluded =
            picture(QStringList{u"--table"_s, u"quotes"_s, u"--exclude"_s, u"stock_id=1|2"_s} + size);
        const QImage kept =
            picture(QStringList{u"--table"_s, u"quotes"_s, u"--keep"_s, u"stock_id=1|2"_s} + size);
        const QImage sessions = picture(
            QStringList{u"--table"_s, u"quotes"_s, u"--session-filter"_s, u"stock_id,sess_id"_s} + size);

        const QList<QImage> images{quotes, securities, excluded, kept, sessions};
        for (qsizetype i = 0; i < images.size(); ++i) {
            QCOMPARE(images.at(i).size(), QSize(800, 500));
            for (qsizetype j = 0; j < i; ++j)
                QVERIFY2(images.at(i) != images.at(j), qPrintable(u"%1 and %2"_s.arg(i).arg(j)));
        }
    }

    void drawsAtTheScaleAskedFor_data()
    {
        QTest::addColumn<QString>("scale");
        QTest::addColumn<QSize>("size");
        QTest::newRow("100 %") << u"1"_s << QSize(700, 400);
        QTest::newRow("150 %") << u"1.5"_s << QSize(1050, 600);
        QTest::newRow("200 %") << u"2"_s << QSize(1400, 800);
    }
    void drawsAtTheScaleAskedFor()
    {
        QFETCH(QString, scale);
        QFETCH(QSize, size);

        const QImage image =
            picture({u"--table"_s, u"quotes"_s, u"--size"_s, u"700x400"_s, u"--scale"_s, scale});

        QCOMPARE(image.size(), size);
    }

    void takesLanguageAndLook()
    {
        const QStringList common{u"--table"_s, u"quotes"_s, u"--size"_s, u"700x400"_s};
        const QImage english =
            picture(common + QStringList{u"--language"_s, u"en"_s, u"--look"_s, u"light"_s});
        const QImage russian =
            picture(common + QStringList{u"--language"_s, u"ru"_s, u"--look"_s, u"light"_s});
        const QImage dark = picture(common + QStringList{u"--language"_s, u"en"_s, u"--look"_s, u"dark"_s});

        QVERIFY(english != russian);
        QVERIFY(meanLightness(english) > 200);
        QVERIFY(meanLightness(dark) < 90);
    }

    void showsTheFilterOfAColumn()
    {
        const QStringList common{u"--table"_s, u"quotes"_s, u"--size"_s, u"900x600"_s};
        const QImage plain = picture(common);
        const QImage withPopup = picture(common + QStringList{u"--show"_s, u"filter:open"_s});

        QCOMPARE(withPopup.size(), plain.size());
        qint64 different = 0;
        for (int y = 0; y < plain.height(); ++y) {
            for (int x = 0; x < plain.width(); ++x)
                different += plain.pixel(x, y) != withPopup.pixel(x, y);
        }
        QVERIFY2(different > 20000, qPrintable(QString::number(different)));
    }

    void writesNothingAndSaysWhyWhenSomethingIsWrong_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing database")
            << QStringList{u"/no/such.sqlite"_s} << u"sito-browser: There is no file '/no/such.sqlite'\n"_s;
        QTest::newRow("missing table")
            << QStringList{u"--table"_s, u"none"_s} << u"sito-browser: There is no table 'none'\n"_s;
        QTest::newRow("missing column") << QStringList{u"--table"_s, u"quotes"_s, u"--exclude"_s, u"none=1"_s}
                                        << u"sito-browser: Table 'quotes' has no column 'none'\n"_s;
        QTest::newRow("missing column of the popup")
            << QStringList{u"--table"_s, u"quotes"_s, u"--show"_s, u"filter:none"_s}
            << u"sito-browser: There is no column 'none'\n"_s;
        QTest::newRow("no size") << QStringList{u"--size"_s, u"big"_s}
                                 << u"sito-browser: option --size takes a size like 1200x800, not 'big'\n"_s;
        QTest::newRow("unknown scale") << QStringList{u"--scale"_s, u"3"_s}
                                       << u"sito-browser: option --scale takes 1 or 1.5 or 2, not '3'\n"_s;
        QTest::newRow("unknown look") << QStringList{u"--look"_s, u"pink"_s}
                                      << u"sito-browser: option --look takes light or dark, not 'pink'\n"_s;
        QTest::newRow("filters without a table")
            << QStringList{u"--keep"_s, u"stock_id=1"_s} << u"sito-browser: no table is given (--table)\n"_s;
    }
    void writesNothingAndSaysWhyWhenSomethingIsWrong()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const QString file = m_directory.filePath(u"none.png"_s);

        const ProgramRun run =
            runBrowser(arguments + QStringList{u"--language"_s, u"en"_s, u"--screenshot"_s, file});

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.errors, message);
        QVERIFY(!QFile::exists(file));
    }

    void refusesAFileThatCannotBeWritten()
    {
        const ProgramRun run = runBrowser({u"--screenshot"_s, u"/no/such/place/x.png"_s});

        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.errors.startsWith(u"sito-browser: Cannot write '/no/such/place/x.png': "_s));
        QCOMPARE(run.errors.count(u'\n'), 1);
    }

    void wantsTheOptionsOfWindowsWithAWindowOnly_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("size") << QStringList{u"--list"_s, u"--size"_s, u"100x100"_s}
                              << u"sito-browser: option --size needs --screenshot\n"_s;
        QTest::newRow("language") << QStringList{u"--list"_s, u"--language"_s, u"ru"_s}
                                  << u"sito-browser: option --language needs a window\n"_s;
        QTest::newRow("two actions")
            << QStringList{u"--list"_s, u"--screenshot"_s, u"x.png"_s}
            << u"sito-browser: options --list and --screenshot exclude each other\n"_s;
    }
    void wantsTheOptionsOfWindowsWithAWindowOnly()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);

        const ProgramRun run = runBrowser(arguments);

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.errors, message);
    }
};

QTEST_GUILESS_MAIN(tst_Screenshot)
#include "tst_screenshot.moc"
