// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcelocation.h>

#include <QDialog>
#include <QStringList>

class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace sito {

/// Asks for a database of a PostgreSQL server. Nothing that was entered is stored, least of all the password.
class OpenServerDialog : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OpenServerDialog)
public:
    explicit OpenServerDialog(QWidget *parent = nullptr);
    /// As if \a drivers were the Qt SQL drivers that are installed.
    OpenServerDialog(const QStringList &drivers, QWidget *parent);
    ~OpenServerDialog() override;

    /// What was entered; host, database and user without blanks at their ends.
    SourceLocation location() const;
    /// Shows \a location, and puts the focus where something is still to be entered.
    void setLocation(const SourceLocation &location);

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
    /// Tells what is missing and lets nothing be accepted without it.
    void validate();

    const bool m_hasDriver;
    QFormLayout *m_form;
    QLineEdit *m_host;
    QSpinBox *m_port;
    QLineEdit *m_database;
    QLineEdit *m_user;
    QLineEdit *m_password;
    QLabel *m_note;
    QPushButton *m_open;
    QPushButton *m_cancel;
};

} // namespace sito
