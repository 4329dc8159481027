// SPDX-License-Identifier: MIT
#include <hostkit/text/exceptiontext.h>

#include <data/exception.h>

#include <support/exceptions.h>

#include <QLoggingCategory>
#include <QTest>

#include <functional>
#include <new>
#include <stdexcept>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

class LaterException : public Exception
{
public:
    using Exception::Exception;
};

} // namespace

class tst_ExceptionText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(u"*.warning=false"_s); }
    void init() { failOnAnyWarning(); }

    void tellsWhatWasThrown_data()
    {
        using Throw = std::function<void()>;
        QTest::addColumn<Throw>("throwing");
        QTest::addColumn<QString>("expected");
        QTest::newRow("exception") << Throw([] { throw Exception(u"нет «a»"_s); }) << u"нет «a»"_s;
        QTest::newRow("class of its own") << Throw([] { throw LaterException(u"b"_s); }) << u"b"_s;
        QTest::newRow("exception without a message") << Throw([] { throw Exception(QString()); }) << u""_s;
        QTest::newRow("text") << Throw([] { throw u"c"_s; }) << u"c"_s;
        QTest::newRow("null text") << Throw([] { throw QString(); }) << u""_s;
        QTest::newRow("of the language") << Throw([] { throw std::runtime_error("d €"); }) << u"d €"_s;
        QTest::newRow("no memory") << Throw([] { throw std::bad_alloc(); }) << u"Недостаточно памяти"_s;
        QTest::newRow("no such array")
            << Throw([] { throw std::bad_array_new_length(); }) << u"Недостаточно памяти"_s;
        QTest::newRow("anything else") << Throw([] { throw 5; }) << u"Неизвестная ошибка"_s;
    }
    void tellsWhatWasThrown()
    {
        QFETCH(std::function<void()>, throwing);
        QFETCH(QString, expected);

        QString inHandler;
        std::exception_ptr kept;
        try {
            throwing();
        } catch (...) {
            inHandler = currentExceptionText();
            kept = std::current_exception();
        }

        QCOMPARE(inHandler, expected);
        QVERIFY(!inHandler.isNull());
        QCOMPARE(exceptionText(kept), expected);
        // It can be asked again.
        QCOMPARE(exceptionText(kept), expected);
    }
};

QTEST_GUILESS_MAIN(tst_ExceptionText)
#include "tst_exceptiontext.moc"
