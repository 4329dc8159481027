// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsvalue.h>

#include <QLockFile>
#include <QSignalSpy>
#include <QTest>

#include "settingsdocumenttest.h"

using namespace sito;
using namespace Qt::StringLiterals;

class tst_SettingsDocument : public SettingsDocumentTest
{
    Q_OBJECT
private Q_SLOTS:
    void writesOnlyTheLinesOfChanges_data() { addManners(); }
    void writesOnlyTheLinesOfChanges()
    {
        QFETCH(bool, manual);
        const QByteArray content = "# why\r\n[g]\r\n a = 1 ; one\r\nb=2\r\n";
        SettingsDocument document;
        const QString file = open(document, content, manual);
        QSignalSpy wrote(&document, &SettingsDocument::wrote);
        QCOMPARE(document.isManual(), manual);
        QCOMPARE(document.unreadableText(), u"Строки, которые не прочитать: 1"_s);

        QVERIFY(edit(document, u"g/a"_s, u"5"_s));
        QVERIFY(remove(document, u"g/b"_s));

        QCOMPARE(wrote.size(), manual ? 0 : 2);
        if (manual) {
            QCOMPARE(contentOf(file), content);
            QVERIFY(document.submit().written);
        }
        QCOMPARE(contentOf(file), QByteArray("# why\r\n[g]\r\n a = 5 ; one\r\n"));
        QVERIFY(document.changes().isEmpty());
        QCOMPARE(treeText(*document.model()), u"g{a=5}"_s);
        QCOMPARE(copies(file).size(), 1);
        QCOMPARE(contentOf(QFileInfo(file).dir().filePath(copies(file).constFirst())), content);
    }

    void writesALostFileAnew()
    {
        const QByteArray content = "; c\na=1\nb=2\n# d\n";
        SettingsDocument document;
        const QString file = open(document, content, true);
        edit(document, u"a"_s, u"5"_s);
        QVERIFY(QFile::remove(file));

        QVERIFY(document.isGone());
        QVERIFY(!document.revert());
        QVERIFY(!document.reload());
        QVERIFY(document.submit().written);

        QCOMPARE(contentOf(file), QByteArray("; c\na=5\nb=2\n# d\n"));
        QVERIFY(!document.isGone());
    }

    void writesNothingWithoutACopy_data() { addManners(); }
    void writesNothingWithoutACopy()
    {
        QFETCH(bool, manual);
        // No room in the name for the end that the copy gets.
        const QTemporaryDir directory;
        const QString file = directory.filePath(QString(245, u'n') + u".ini"_s);
        const QByteArray content = "a=1\n";
        write(file, content);
        SettingsDocument document;
        openFile(document, file, manual);

        const SettingsDocument::Outcome outcome = editAndWrite(document, u"a"_s, u"7"_s);

        QVERIFY(outcome.refused && !outcome.written);
        QVERIFY2(outcome.message.startsWith(u"Ничего не записано: не удалось сохранить копию «"_s),
                 qPrintable(outcome.message));
        QCOMPARE(contentOf(file), content);
        QCOMPARE(pending(document), manual ? QStringList{u"a=7"_s} : QStringList());
        QCOMPARE(treeText(*document.model()), manual ? u"a=7"_s : u"a=1"_s);
    }

    void writesNothingWhereItMustNot_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("manual");
        for (const bool manual : {true, false}) {
            const auto row = [&](const char *name, const QString &message) {
                QTest::addRow("%s, %s", name, manual ? "on command" : "at once")
                    << QString::fromLatin1(name) << u"Ничего не записано: "_s + message << manual;
            };
            row("no INI", u"«%1» - не файл INI"_s);
            row("directory", u"«%1» - каталог, а не файл настроек"_s);
            if (manual)
                row("dangling link", u"не удалось записать «%1»: "_s);
            row("marked", u"файл «%1» доступен только для чтения"_s);
            row("locked", u"файл «%1» занят другой программой"_s);
            row("closed directory", u"не удалось записать «%1»: "_s);
        }
        for (const char *gone : {"gone", "dangling link"}) {
            QTest::addRow("%s, at once", gone)
                << QString::fromLatin1(gone)
                << u"Ничего не записано. Файла «%1» больше нет. Показано то, что в нём было. "
                   "Чтобы создать его заново, перейдите к записи по команде"_s
                << false;
        }
    }
    void writesNothingWhereItMustNot()
    {
        QFETCH(QString, obstacle);
        QFETCH(QString, message);
        QFETCH(bool, manual);
        const QByteArray content = "a=1\nb=2\n";
        const QTemporaryDir directory;
        const QString place = directory.filePath(u"place"_s);
        const QString file = place + u"/store.ini"_s;
        QVERIFY(QDir().mkdir(place));
        write(file, content);
        SettingsDocument document;
        openFile(document, file, manual);
        QByteArray left = content;
        if (obstacle == u"closed directory"_s) {
            // No copy is wanted a second time.
            QVERIFY(editAndWrite(document, u"a"_s, u"0"_s).written);
            QVERIFY(editAndWrite(document, u"a"_s, u"1"_s).written);
            QCOMPARE(contentOf(file), left);
        }
        QLockFile lock(file + u".lock"_s);
        if (obstacle == u"no INI"_s) {
            left = "just\nwords\n";
            write(file, left);
        } else if (obstacle == u"marked"_s) {
            QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        } else if (obstacle == u"locked"_s) {
            QVERIFY(lock.lock());
        } else if (obstacle == u"closed directory"_s) {
            QVERIFY(QFile::setPermissions(place, QFile::ReadOwner | QFile::ExeOwner));
            if (QFileInfo(place).isWritable())
                QSKIP("the administrator may write everywhere");
        } else {
            left.clear();
            QVERIFY(QFile::remove(file));
            if (obstacle == u"directory"_s)
                QVERIFY(QDir().mkdir(file));
            else if (obstacle == u"dangling link"_s)
                QVERIFY(QFile::link(place + u"/none/store.ini"_s, file));
        }

        const SettingsDocument::Outcome outcome = editAndWrite(document, u"a"_s, u"7"_s);

        QVERIFY(outcome.refused && !outcome.written);
        QVERIFY2(outcome.message.startsWith(message.arg(file)), qPrintable(outcome.message));
        QCOMPARE(contentOf(file), left);
        QCOMPARE(pending(document), manual ? QStringList{u"a=7"_s} : QStringList());
        QCOMPARE(treeText(*document.model()), manual ? u"a=7 b=2"_s : u"a=1 b=2"_s);
        QVERIFY(!QFileInfo::exists(place + u"/none"_s));

        // And later.
        lock.unlock();
        QVERIFY(QFile::setPermissions(place, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        if (QFileInfo(file).isDir())
            QVERIFY(QDir().rmdir(file));
        else if (QFileInfo(file).isSymLink())
            QVERIFY(QFile::remove(file));
        else if (QFileInfo::exists(file))
            QVERIFY(QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner));
        if (contentOf(file) != left || obstacle != u"closed directory"_s)
            write(file, content);
        const SettingsDocument::Outcome later =
            manual ? document.submit() : editAndWrite(document, u"a"_s, u"7"_s);
        QVERIFY2(later.written, qPrintable(later.message));
        QCOMPARE(later.message, QString());
        QCOMPARE(contentOf(file), QByteArray("a=7\nb=2\n"));
        QCOMPARE(pending(document), QStringList());
    }

    void keepsTextsOfValuesThatCannotBeRead_data()
    {
        QTest::addColumn<QByteArray>("value");
        // Of a type that this program has not.
        const QByteArray foreign = "Variant(\\0\\0\\0\\x7f\\0\\0\\0\\tForeign?\\0\\0\\x31 \\xe9\\n)";
        QTest::newRow("alone") << "@" + foreign;
        QTest::newRow("quoted") << "\"@" + QByteArray(foreign).replace('?', ',') + '"';
        QTest::newRow("item of a list") << "one, @" + foreign + ", @Invalid(), two";
        QTest::newRow("none") << QByteArray("@Invalid()");
        QTest::newRow("escaped") << "\\x40" + foreign;
    }
    void keepsTextsOfValuesThatCannotBeRead()
    {
        QFETCH(QByteArray, value);
        const QByteArray content = "a=1\nx=" + value + "\n";
        for (const bool manual : {true, false}) {
            SettingsDocument document;
            const QString file = open(document, content, manual);
            // As texts.
            const auto textsIn = [&] {
                QByteArray texts = contentOf(file);
                texts.replace("@", "@@").replace("\\x40", "@@").replace("\\x28", "(").replace("\\x29", ")");
                return m_files.parsed(texts)->value(u"x"_s);
            };
            const QVariant before = textsIn();
            QVERIFY(before.isValid());

            const SettingsDocument::Outcome outcome = editAndWrite(document, u"a"_s, u"7"_s);

            QVERIFY(outcome.written);
            QCOMPARE(outcome.message, QString());
            QCOMPARE(contentOf(file), "a=7" + content.mid(content.indexOf('\n')));
            QCOMPARE(pending(document), QStringList());
            QCOMPARE(textsIn(), before);
        }
    }

    void keepsWhatQSettingsDoesNotRead()
    {
        const QByteArray rest = "; remark\nlist=A;B;C\nname=caf\xe9\n#b=2\nm=@Variant(\\0\\0\\x4\\0)\n";
        SettingsDocument document;
        const QString file = open(document, "a=1\n" + rest, true);
        QVERIFY(editAndWrite(document, u"a"_s, u"7"_s).written);
        QCOMPARE(contentOf(file), "a=7\n" + rest);

        QVERIFY(QFile::remove(file));
        QVERIFY(editAndWrite(document, u"a"_s, u"8"_s).written);

        QCOMPARE(contentOf(file), "a=8\n" + rest);
    }

    void tellsWhatListsAnIniFileDoesNotHold_data()
    {
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("one item") << QStringList{u"b"_s} << QByteArray("l=b\n");
        QTest::newRow("none") << QStringList() << QByteArray("l=@Invalid()\n");
        QTest::newRow("two") << QStringList{u"b"_s, u"c"_s} << QByteArray("l=b, c\n");
    }
    void tellsWhatListsAnIniFileDoesNotHold()
    {
        QFETCH(QStringList, list);
        QFETCH(QByteArray, text);
        SettingsDocument document;
        const QString file = open(document, "[General]\nl=a, b\n", true);

        const SettingsDocument::Outcome outcome = editAndWrite(document, u"l"_s, list);

        QVERIFY(outcome.written);
        QCOMPARE(contentOf(file), QByteArray("[General]\n" + text));
        QCOMPARE(pending(document), QStringList());
        QCOMPARE(settingsValue(find(*document.model(), {u"l"_s}, 2)), QVariant(list));
        QCOMPARE(outcome.message,
                 list.size() > 1 ? QString()
                                 : u"Файл INI хранит список из одного элемента как текст, а пустой - как "
                                   "пустое значение: l"_s);
    }

    void forgetsWhatWasRemovedAtOnce()
    {
        SettingsDocument document;
        const QString file = open(document, "a=1\nb=2\n[g]\nk=x\n", false);
        QVERIFY(remove(document, u"b"_s));
        QVERIFY(remove(document, u"g"_s));
        QCOMPARE(contentOf(file), QByteArray("a=1\n"));

        QFile::remove(file);
        document.setManual(true);
        QVERIFY(document.submit().written);

        QCOMPARE(contentOf(file), QByteArray("a=1\n"));
        QCOMPARE(treeText(*document.model()), u"a=1"_s);
    }

    void keepsTypesThatTheStoreKnows_data()
    {
        QTest::addColumn<QByteArray>("comment");
        QTest::addColumn<bool>("keeps");
        QTest::newRow("as QSettings wrote it") << QByteArray() << true;
        // The store would lose it by writing.
        QTest::newRow("with a comment") << QByteArray("; c\n") << false;
    }
    void keepsTypesThatTheStoreKnows()
    {
        QFETCH(QByteArray, comment);
        QFETCH(bool, keeps);
        const QString name = m_files.newFile();
        QSettings other(name, QSettings::IniFormat);
        other.setValue(u"a"_s, 1);
        other.setValue(u"b"_s, 2);
        other.setValue(u"g/c"_s, true);
        other.sync();
        SettingsDocument document;
        document.open(std::make_unique<QSettings>(name, QSettings::IniFormat));
        if (!comment.isEmpty())
            write(name, comment + contentOf(name));

        edit(document, u"a"_s, 5);
        QVERIFY(document.submit().written);

        QCOMPARE(contentOf(name), comment + "[General]\na=5\nb=2\n\n[g]\nc=true\n");
        QVERIFY(isSameSettingsValue(other.value(u"a"_s), keeps ? QVariant(5) : QVariant(u"5"_s)));
    }
};

QTEST_MAIN(tst_SettingsDocument)
#include "tst_settingsdocument.moc"
