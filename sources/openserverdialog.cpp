// SPDX-License-Identifier: MIT
#include <sources/openserverdialog.h>

#include <QDialogButtonBox>
#include <QEvent>
#include <QFontMetrics>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QSqlDatabase>
#include <QVBoxLayout>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

const QString driver = u"QPSQL"_s;
constexpr int usualPort = 5432;
constexpr int shownCharacters = 32;

} // namespace

OpenServerDialog::OpenServerDialog(QWidget *parent) : OpenServerDialog(QSqlDatabase::drivers(), parent) {}

OpenServerDialog::OpenServerDialog(const QStringList &drivers, QWidget *parent)
    : QDialog(parent),
      m_hasDriver(drivers.contains(driver)),
      m_form(new QFormLayout),
      m_host(new QLineEdit),
      m_port(new QSpinBox),
      m_database(new QLineEdit),
      m_user(new QLineEdit),
      m_password(new QLineEdit),
      m_note(new QLabel),
      m_open(new QPushButton),
      m_cancel(new QPushButton)
{
    setObjectName(u"openServerDialog"_s);
    m_host->setObjectName(u"host"_s);
    m_port->setObjectName(u"port"_s);
    m_database->setObjectName(u"database"_s);
    m_user->setObjectName(u"user"_s);
    m_password->setObjectName(u"password"_s);
    m_note->setObjectName(u"note"_s);

    m_host->setText(u"localhost"_s);
    m_host->setMinimumWidth(fontMetrics().averageCharWidth() * shownCharacters);
    m_port->setRange(1, SourceLocation::lastPort);
    m_port->setValue(usualPort);
    m_port->setGroupSeparatorShown(false);
    m_password->setEchoMode(QLineEdit::Password);
    m_note->setWordWrap(true);
    m_note->setTextFormat(Qt::PlainText);
    for (QLineEdit *edit : {m_host, m_database, m_user})
        edit->setInputMethodHints(Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText);

    for (QWidget *field : std::initializer_list<QWidget *>{m_host, m_port, m_database, m_user, m_password}) {
        auto *label = new QLabel;
        label->setBuddy(field);
        m_form->addRow(label, field);
    }
    // Buttons of its own: the box would put texts of Qt's own catalogue on standard ones.
    auto *buttons = new QDialogButtonBox;
    buttons->addButton(m_open, QDialogButtonBox::AcceptRole);
    buttons->addButton(m_cancel, QDialogButtonBox::RejectRole);
    m_open->setObjectName(u"open"_s);
    m_cancel->setObjectName(u"cancel"_s);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(m_form);
    layout->addWidget(m_note);
    layout->addStretch();
    layout->addWidget(buttons);

    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    for (const QLineEdit *edit : {m_host, m_database})
        connect(edit, &QLineEdit::textChanged, this, &OpenServerDialog::validate);
    m_open->setDefault(true);
    m_database->setFocus();
    retranslate();
}

OpenServerDialog::~OpenServerDialog() = default;

SourceLocation OpenServerDialog::location() const
{
    SourceLocation result;
    result.driver = driver;
    result.host = m_host->text().trimmed();
    result.port = m_port->value();
    result.database = m_database->text().trimmed();
    result.user = m_user->text().trimmed();
    result.password = m_password->text();
    return result;
}

void OpenServerDialog::setLocation(const SourceLocation &location)
{
    m_host->setText(location.host);
    m_port->setValue(location.port > 0 ? location.port : usualPort);
    m_database->setText(location.database);
    m_user->setText(location.user);
    m_password->setText(location.password);
    for (QLineEdit *edit : {m_host, m_database, m_user, m_password}) {
        if (edit->text().isEmpty()) {
            edit->setFocus();
            return;
        }
    }
    m_open->setFocus();
}

void OpenServerDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QDialog::changeEvent(event);
}

void OpenServerDialog::retranslate()
{
    setWindowTitle(tr("Открыть базу данных PostgreSQL"));
    const auto name = [this](QWidget *field, const QString &label, const QString &accessibleName,
                             const QString &description) {
        qobject_cast<QLabel *>(m_form->labelForField(field))->setText(label);
        field->setAccessibleName(accessibleName);
        field->setAccessibleDescription(description);
        field->setToolTip(description);
    };
    name(m_host, tr("&Сервер:"), tr("Сервер"), tr("Имя или адрес сервера"));
    name(m_port, tr("&Порт:"), tr("Порт"), tr("Обычный порт - %1").arg(usualPort));
    name(m_database, tr("&База данных:"), tr("База данных"), tr("Имя базы данных на сервере"));
    name(m_user, tr("П&ользователь:"), tr("Пользователь"), tr("Если не указан - как в системе"));
    name(m_password, tr("П&ароль:"), tr("Пароль"),
         tr("Не сохраняется; если не указан, берётся из PGPASSWORD или файла паролей"));
    m_open->setText(tr("Открыть"));
    m_cancel->setText(tr("Отмена"));
    validate();
}

void OpenServerDialog::validate()
{
    QString note;
    if (!m_hasDriver)
        note = tr("Драйвер Qt SQL для PostgreSQL не установлен (в Debian - пакет libqt6sql6-psql)");
    else if (m_host->text().trimmed().isEmpty())
        note = tr("Укажите сервер");
    else if (m_database->text().trimmed().isEmpty())
        note = tr("Укажите базу данных");
    m_note->setText(note);
    m_note->setAccessibleName(note);
    m_open->setEnabled(note.isEmpty());
    m_open->setAccessibleDescription(note);
}

} // namespace sito
