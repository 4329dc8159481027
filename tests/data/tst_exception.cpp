// SPDX-License-Identifier: MIT
#include <data/exception.h>

#include <support/exceptions.h>

#include <QTest>

namespace {
QStringList reports;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    reports.append(
        QStringLiteral("%1 %2 %3").arg(int(type)).arg(QString::fromLatin1(context.category), message));
}

/// Two members behind the table of virtual functions, as hosts have compiled it in.
struct Twin
{
    virtual ~Twin() = default;
    QString message;
    QStringList lines;
};
static_assert(sizeof(Exception) == sizeof(Twin));
} // namespace

class ExceptionTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        reports.clear();
        m_before = qInstallMessageHandler(collect);
    }
    void cleanup() { qInstallMessageHandler(m_before); }

    void reportsItselfOnceWhenCaughtAndDiscarded()
    {
        try {
            throw Exception(QStringLiteral("broken %1"));
        } catch (const Exception &exception) {
            QCOMPARE(exception.message(), QStringLiteral("broken %1"));
            QCOMPARE(reports, QStringList());
        }

        QCOMPARE(reports.size(), 1);
        QVERIFY2(reports.first().contains(QStringLiteral("broken %1")), qPrintable(reports.first()));
    }

    void reportsItsLines()
    {
        {
            Exception exception(QStringLiteral("broken"));
            exception.addLine(QStringLiteral("inner"));
            exception.addLine(QStringLiteral("outer"));
            QCOMPARE(exception.lines(), QStringList({QStringLiteral("inner"), QStringLiteral("outer")}));
        }

        QCOMPARE(reports.size(), 1);
        const qsizetype inner = reports.first().indexOf(QStringLiteral("inner"));
        QVERIFY2(inner > reports.first().indexOf(QStringLiteral("broken")), qPrintable(reports.first()));
        QVERIFY2(inner < reports.first().indexOf(QStringLiteral("outer")), qPrintable(reports.first()));
    }

    void keepsItsTextBeforeItsLines()
    {
        const Twin twin;
        const Exception exception(QStringLiteral("broken"));
        const auto offsetIn = [](const auto &object, const auto &member) {
            return reinterpret_cast<const char *>(&member) - reinterpret_cast<const char *>(&object);
        };

        QCOMPARE(offsetIn(exception, exception.message()), offsetIn(twin, twin.message));
        QCOMPARE(offsetIn(exception, exception.lines()), offsetIn(twin, twin.lines));
        QCOMPARE(offsetIn(twin, twin.message), std::ptrdiff_t(sizeof(void *)));
    }

    void reportsOnRequest()
    {
        const Exception exception(QStringLiteral("broken"));

        exception.dump();

        QCOMPARE(reports.size(), 1);
    }

    void reportsEachCopy()
    {
        {
            const Exception exception(QStringLiteral("broken"));
            const Exception copy(exception);
        }

        QCOMPARE(reports.size(), 2);
    }

private:
    QtMessageHandler m_before = nullptr;
};

QTEST_APPLESS_MAIN(ExceptionTest)
#include "tst_exception.moc"
