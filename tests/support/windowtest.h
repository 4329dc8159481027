// SPDX-License-Identifier: MIT
#pragma once

#include <support/windowfixture.h>

#include <QFile>
#include <QLabel>
#include <QObject>
#include <QToolButton>
#include <QTreeWidget>

#include <memory>

/// A test program over the main window: every test has a new window with nothing open, and fails on warnings.
class WindowTest : public QObject
{
    Q_OBJECT
protected:
    QLabel *label(const QString &name) { return m_fixture->window().findChild<QLabel *>(name); }
    QAction *action(const QString &name) { return m_fixture->window().findChild<QAction *>(name); }
    QTreeWidget *tree() { return m_fixture->window().findChild<QTreeWidget *>(QStringLiteral("tableTree")); }
    QToolButton *cancelButton()
    {
        return m_fixture->window().findChild<QToolButton *>(QStringLiteral("cancel"));
    }
    /// Makes a database whose only table "t" has the columns a and b and five rows.
    QString smallDatabase()
    {
        return m_fixture->makeDatabase(
            QStringLiteral("small.sqlite"),
            {QStringLiteral("CREATE TABLE t (a INTEGER NOT NULL, b TEXT)"),
             QStringLiteral(
                 "INSERT INTO t VALUES (1, 'x,y'), (2, NULL), (3, ''), (4, 'say \"so\"'), (5, 'x,y')")});
    }
    bool openSmall()
    {
        m_fixture->window().openText(smallDatabase());
        return m_fixture->settle() && m_fixture->rows() == 5;
    }
    static QByteArray contentOf(const QString &name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::unique_ptr<WindowFixture> m_fixture;

protected Q_SLOTS:
    void init()
    {
        WindowFixture::failOnWarnings();
        m_fixture = std::make_unique<WindowFixture>();
        m_fixture->makeWindow();
    }
    void cleanup() { m_fixture.reset(); }
};
