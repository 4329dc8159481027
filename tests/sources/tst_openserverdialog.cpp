// SPDX-License-Identifier: MIT
#include <sources/openserverdialog.h>

#include <QAccessible>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTemporaryFile>
#include <QTest>
#include <QTranslator>

#include <memory>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

const QStringList installed{u"QSQLITE"_s, u"QPSQL"_s, u"QMYSQL"_s};

/// Puts every text in brackets.
class BracketTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        return qstrcmp(context, "sito::OpenServerDialog") == 0 ? u'[' + QString::fromUtf8(source) + u']'
                                                               : QString();
    }
};

} // namespace

class tst_OpenServerDialog : public QObject
{
    Q_OBJECT
private:
    template <typename Widget = QLineEdit>
    Widget *field(const QString &name) const
    {
        return m_dialog->findChild<Widget *>(name);
    }
    QString note() const { return field<QLabel>(u"note"_s)->text(); }
    void make(const QStringList &drivers)
    {
        m_dialog = std::make_unique<OpenServerDialog>(drivers, nullptr);
        m_dialog->show();
        QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
    }

    std::unique_ptr<OpenServerDialog> m_dialog;

private Q_SLOTS:
    void init()
    {
        // The platform of the tests says so of every dialog.
        QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support propagateSizeHints)"_s));
        make(installed);
    }
    void cleanup() { m_dialog.reset(); }

    void beginsWithTheUsualServer()
    {
        SourceLocation expected;
        expected.driver = u"QPSQL"_s;
        expected.host = u"localhost"_s;
        expected.port = 5432;
        QCOMPARE(m_dialog->location(), expected);
        QVERIFY(field(u"database"_s)->hasFocus());
        QCOMPARE(field(u"password"_s)->echoMode(), QLineEdit::Password);
        QCOMPARE(note(), u"Укажите базу данных"_s);
        QVERIFY(!field<QPushButton>(u"open"_s)->isEnabled());
    }

    void isFilledInWithTheKeyboardAlone()
    {
        QSignalSpy accepted(m_dialog.get(), &QDialog::accepted);
        const auto type = [](const QString &text) {
            QTest::keyClicks(QApplication::focusWidget(), text);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        };

        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        QVERIFY(field(u"host"_s)->hasFocus());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier);
        type(u" db.example "_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier);
        type(u"6543"_s);
        type(u"quotes"_s);
        type(u"trader"_s);
        type(u" p w "_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_End);
        type({});
        type(u"/c a.crt"_s);
        QVERIFY(field<QPushButton>(u"browse"_s)->hasFocus());
        QTest::keyClick(field(u"password"_s), Qt::Key_Return);

        QCOMPARE(accepted.count(), 1);
        SourceLocation expected;
        expected.driver = u"QPSQL"_s;
        expected.host = u"db.example"_s;
        expected.port = 6543;
        expected.database = u"quotes"_s;
        expected.user = u"trader"_s;
        expected.password = u" p w "_s;
        expected.tlsMode = u"verify-full"_s;
        expected.rootCertificate = u"/c a.crt"_s;
        QCOMPARE(m_dialog->location(), expected);
    }

    void acceptsNothingUnfinished()
    {
        QSignalSpy accepted(m_dialog.get(), &QDialog::accepted);
        const QPushButton *open = field<QPushButton>(u"open"_s);

        QTest::keyClick(field(u"database"_s), Qt::Key_Return);
        QCOMPARE(accepted.count(), 0);
        QTest::keyClicks(field(u"database"_s), u"  "_s);
        QVERIFY(!open->isEnabled());
        QTest::keyClicks(field(u"database"_s), u"q"_s);
        QVERIFY(open->isEnabled());
        QCOMPARE(note(), QString());
        field(u"host"_s)->clear();
        QCOMPARE(note(), u"Укажите сервер"_s);
        QCOMPARE(open->accessibleDescription(), note());
        QTest::keyClick(field(u"host"_s), Qt::Key_Return);

        QCOMPARE(accepted.count(), 0);
        QVERIFY(m_dialog->isVisible());
    }

    void escapeClosesIt()
    {
        QSignalSpy rejected(m_dialog.get(), &QDialog::rejected);

        QTest::keyClick(field(u"database"_s), Qt::Key_Escape);

        QCOMPARE(rejected.count(), 1);
    }

    void saysThatTheDriverIsMissing()
    {
        make({u"QSQLITE"_s});

        QTest::keyClicks(field(u"database"_s), u"quotes"_s);

        QCOMPARE(note(), u"Драйвер Qt SQL для PostgreSQL не установлен (в Debian - пакет libqt6sql6-psql)"_s);
        QVERIFY(!field<QPushButton>(u"open"_s)->isEnabled());
    }

    void asksForServersOfOtherKinds()
    {
        auto *kind = field<QComboBox>(u"kind"_s);
        const auto *mode = field<QComboBox>(u"tls"_s);
        SourceLocation location = m_dialog->location();
        location.database = u"quotes"_s;
        location.tlsMode = u"verify-full"_s;
        m_dialog->setLocation(location);

        kind->setCurrentIndex(1);

        location.driver = u"QMYSQL"_s;
        location.port = 3306;
        location.tlsMode = u"require"_s;
        QCOMPARE(m_dialog->location(), location);
        QCOMPARE(mode->findData(u"verify-ca"_s), -1);
        QVERIFY(!mode->itemText(mode->findData(u"require"_s)).isEmpty());

        location.port = 3307;
        m_dialog->setLocation(location);
        kind->setCurrentIndex(0);

        location.driver = u"QPSQL"_s;
        QCOMPARE(m_dialog->location(), location);
        QCOMPARE(mode->count(), 1 + SourceLocation::tlsModes().size());
        QVERIFY(!mode->itemText(mode->findData(u"verify-full"_s)).isEmpty());

        make({u"QPSQL"_s});
        field<QComboBox>(u"kind"_s)->setCurrentIndex(1);
        QCOMPARE(note(),
                 u"Драйвер Qt SQL для MariaDB, MySQL не установлен (в Debian - пакет libqt6sql6-mysql)"_s);
    }

    void showsALocationAndAsksForTheRest()
    {
        SourceLocation location;
        location.driver = u"QPSQL"_s;
        location.host = u"::1"_s;
        location.database = u"quotes"_s;
        location.user = u"trader"_s;

        m_dialog->setLocation(location);

        location.port = 5432;
        QCOMPARE(m_dialog->location(), location);
        QVERIFY(field(u"password"_s)->hasFocus());
    }

    void asksForCertificatesWhereTheyAreChecked()
    {
        auto *mode = field<QComboBox>(u"tls"_s);
        const QLineEdit *certificate = field(u"certificate"_s);
        SourceLocation location = m_dialog->location();
        location.rootCertificate = u"/some.crt"_s;

        const QStringList modes = QStringList{QString()} + SourceLocation::tlsModes();
        QCOMPARE(mode->count(), modes.size());
        for (const QString &name : modes) {
            location.tlsMode = name;
            m_dialog->setLocation(location);

            QCOMPARE(m_dialog->location().tlsMode, name);
            QVERIFY(!mode->currentText().isEmpty());
            const bool isChecked = name == "verify-ca"_L1 || name == "verify-full"_L1;
            QCOMPARE(certificate->isEnabled(), isChecked);
            QCOMPARE(field<QPushButton>(u"browse"_s)->isEnabled(), isChecked);
            QCOMPARE(m_dialog->location().rootCertificate, isChecked ? u"/some.crt"_s : QString());
        }
    }

    void findsTheFileOfCertificates()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        SourceLocation location = m_dialog->location();
        location.tlsMode = u"verify-ca"_s;
        m_dialog->setLocation(location);

        field<QPushButton>(u"browse"_s)->click();
        auto *files = m_dialog->findChild<QFileDialog *>();
        QVERIFY(files);
        QVERIFY(files->isVisible());
        Q_EMIT files->fileSelected(file.fileName());
        files->close();

        QCOMPARE(m_dialog->location().rootCertificate, file.fileName());
    }

    void showsWhatFailedUntilSomethingIsChanged_data()
    {
        QTest::addColumn<QString>("changed");
        for (const char *name : {"host", "database", "user", "password", "port", "tls"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void showsWhatFailedUntilSomethingIsChanged()
    {
        QFETCH(QString, changed);
        SourceLocation location = m_dialog->location();
        location.database = u"quotes"_s;
        location.user = u"trader"_s;
        location.password = u"wrong"_s;
        m_dialog->setLocation(location);

        m_dialog->showError(u"Пароль не подошёл"_s);
        QCOMPARE(note(), u"Пароль не подошёл"_s);
        QCOMPARE(m_dialog->location(), location);
        QVERIFY(field<QPushButton>(u"open"_s)->isEnabled());
        QVERIFY(field(u"password"_s)->hasFocus());
        QCOMPARE(field(u"password"_s)->selectedText().size(), 5);
        QTest::keyClick(field<QWidget>(changed), Qt::Key_End);
        QTest::keyClick(field<QWidget>(changed), changed == "tls"_L1 ? Qt::Key_Up : Qt::Key_1);

        QCOMPARE(note(), QString());
        field(u"database"_s)->clear();
        QCOMPARE(note(), u"Укажите базу данных"_s);
    }

    void everyFieldHasAName()
    {
        for (const QString &name : {u"kind"_s, u"host"_s, u"port"_s, u"database"_s, u"user"_s, u"password"_s,
                                    u"tls"_s, u"certificate"_s}) {
            auto *widget = field<QWidget>(name);
            QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
            QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), qPrintable(name));
            QVERIFY2(!accessible->text(QAccessible::Description).isEmpty(), qPrintable(name));
            QVERIFY2(widget->focusPolicy() & Qt::TabFocus, qPrintable(name));
        }
        // What is typed as a password is not read out.
        QVERIFY(QAccessible::queryAccessibleInterface(field<QWidget>(u"password"_s))->state().passwordEdit);
    }

    void mnemonicsAreNotRepeated()
    {
        QStringList mnemonics;
        const auto labels = m_dialog->findChildren<QLabel *>();
        for (const QLabel *label : labels) {
            const qsizetype mark = label->text().indexOf(u'&');
            if (label->buddy())
                mnemonics.append(mark >= 0 ? label->text().at(mark + 1) : QString());
        }

        const QString button = field<QPushButton>(u"browse"_s)->text();
        mnemonics.append(button.at(button.indexOf(u'&') + 1));

        QCOMPARE(mnemonics.size(), 9);
        mnemonics.removeDuplicates();
        QCOMPARE(mnemonics.size(), 9);
    }

    void followsTheLanguage()
    {
        BracketTranslator translator;
        QCoreApplication::installTranslator(&translator);
        QTRY_COMPARE(m_dialog->windowTitle(), u"[Открыть базу данных на сервере]"_s);
        QCOMPARE(note(), u"[Укажите базу данных]"_s);
        QCOMPARE(field(u"user"_s)->accessibleName(), u"[Пользователь]"_s);
        QCOMPARE(field<QPushButton>(u"cancel"_s)->text(), u"[Отмена]"_s);

        QCoreApplication::removeTranslator(&translator);
        QTRY_COMPARE(m_dialog->windowTitle(), u"Открыть базу данных на сервере"_s);
    }
};

QTEST_MAIN(tst_OpenServerDialog)
#include "tst_openserverdialog.moc"
