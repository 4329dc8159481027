// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingsdocument.h>

#include <settings/settingsmodel.h>
#include <support/settingsfixtures.h>

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

/// A test program over documents: files to open, and every test fails on warnings.
class SettingsDocumentTest : public QObject
{
    Q_OBJECT
protected:
    using SettingsDocument = sito::SettingsDocument;

    SettingsFiles m_files;

    static QByteArray contentOf(const QString &name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    static void write(const QString &name, const QByteArray &content)
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write");
    }

    static QStringList copies(const QString &file)
    {
        const QFileInfo info(file);
        return info.dir().entryList({info.fileName() + QStringLiteral(".bak-*")}, QDir::Files);
    }

    static QList<QByteArray> copiedContents(const QString &file)
    {
        QList<QByteArray> contents;
        for (const QString &copy : copies(file))
            contents += contentOf(QFileInfo(file).dir().filePath(copy));
        return contents;
    }

    QString open(SettingsDocument &document, const QByteArray &content, bool manual)
    {
        auto store = m_files.parsed(content);
        const QString name = store->fileName();
        document.open(std::move(store));
        document.setManual(manual);
        return name;
    }
    static void openFile(SettingsDocument &document, const QString &name, bool manual)
    {
        document.open(std::make_unique<QSettings>(name, QSettings::IniFormat));
        document.setManual(manual);
    }
    static bool edit(SettingsDocument &document, const QString &path, const QVariant &value)
    {
        return document.model()->setData(find(*document.model(), path.split(u'/'), 2), value);
    }
    /// Edits \a path, and writes it also when changes wait; what came of that.
    static SettingsDocument::Outcome editAndWrite(SettingsDocument &document, const QString &path,
                                                  const QVariant &value)
    {
        SettingsDocument::Outcome outcome;
        const auto wrote = connect(&document, &SettingsDocument::wrote, &document,
                                   [&outcome](const SettingsDocument::Outcome &made) { outcome = made; });
        edit(document, path, value);
        disconnect(wrote);
        return document.isManual() ? document.submit() : outcome;
    }
    static bool remove(SettingsDocument &document, const QString &path)
    {
        const QModelIndex index = find(*document.model(), path.split(u'/'));
        return document.model()->removeRow(index.row(), index.parent());
    }

    /// "path=value", behind "gone " when another program removed the entry, "-path" for removals.
    static QStringList pending(const SettingsDocument &document)
    {
        QStringList texts;
        for (const sito::SettingsChange &change : document.changes().changes())
            texts += change.removal ? u'-' + change.path
                                    : (change.gone ? QStringLiteral("gone ") : QString()) + change.path +
                                          u'=' + change.newValue.toString();
        return texts;
    }

    /// Data: whether changes wait.
    static void addManners()
    {
        QTest::addColumn<bool>("manual");
        QTest::newRow("by command") << true;
        QTest::newRow("at once") << false;
    }

protected Q_SLOTS:
    // Qt complains of types that it does not know.
    void init()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!QVariant::load: unknown user type)")));
    }
};
