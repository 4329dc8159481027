// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcelocation.h>
#include <sources/sources_export.h>

#include <QDialog>
#include <QStringList>

class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace sito {

/// Asks for a database of a PostgreSQL, MariaDB or MySQL server. Stores nothing of what was entered, least of
/// all the password.
///
/// **Threads.** For the GUI thread.
///
/// **Cost.** Connects to nothing, so it never waits.
class SOURCES_EXPORT OpenServerDialog : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OpenServerDialog)
public:
    explicit OpenServerDialog(QWidget *parent = nullptr);
    /// The same with \a drivers in place of the Qt SQL drivers that are installed.
    OpenServerDialog(const QStringList &drivers, QWidget *parent);
    ~OpenServerDialog() override;

    /// What was entered; host, database and user without blanks at their ends.
    SourceLocation location() const;
    /// Shows \a location, and moves the focus to the first field that is still empty.
    void setLocation(const SourceLocation &location);
    /// Shows in \a message why what was entered could not be opened, until something is changed, and moves
    /// the focus to the password.
    void showError(const QString &message);

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
    void askCertificate();
    /// What was entered is no longer what failed.
    void change();
    /// Shows what is missing, without which the dialog is not accepted, or else what failed.
    void validate();

    /// The usual port and the words of another kind of server.
    void changeKind();
    bool isMysql() const;

    const QStringList m_drivers;
    QFormLayout *m_form;
    QComboBox *m_kind;
    int m_usualPort = 0;
    QLineEdit *m_host;
    QSpinBox *m_port;
    QLineEdit *m_database;
    QLineEdit *m_user;
    QLineEdit *m_password;
    QComboBox *m_tls;
    QLineEdit *m_certificate;
    QPushButton *m_browse;
    QLabel *m_note;
    QPushButton *m_open;
    QPushButton *m_cancel;
    QString m_error;
};

} // namespace sito
