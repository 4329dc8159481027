// SPDX-License-Identifier: MIT
#include <sources/openserverdialog.h>

#include <QComboBox>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFileDialog>
#include <QFontMetrics>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QSqlDatabase>
#include <QVBoxLayout>

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// A kind of server, by its driver.
struct ServerKind
{
    QLatin1StringView driver;
    QLatin1StringView name;
    int port;
    QLatin1StringView package;
};

constexpr ServerKind serverKinds[] = {
    {"QPSQL"_L1, "PostgreSQL"_L1, 5432, "libqt6sql6-psql"_L1},
    {"QMYSQL"_L1, "MariaDB, MySQL"_L1, 3306, "libqt6sql6-mysql"_L1},
};
constexpr int shownCharacters = 32;

} // namespace

OpenServerDialog::OpenServerDialog(QWidget *parent) : OpenServerDialog(QSqlDatabase::drivers(), parent) {}

OpenServerDialog::OpenServerDialog(const QStringList &drivers, QWidget *parent)
    : QDialog(parent),
      m_drivers(drivers),
      m_form(new QFormLayout),
      m_kind(new QComboBox),
      m_host(new QLineEdit),
      m_port(new QSpinBox),
      m_database(new QLineEdit),
      m_user(new QLineEdit),
      m_password(new QLineEdit),
      m_tls(new QComboBox),
      m_certificate(new QLineEdit),
      m_browse(new QPushButton),
      m_note(new QLabel),
      m_open(new QPushButton),
      m_cancel(new QPushButton)
{
    setObjectName(u"openServerDialog"_s);
    m_kind->setObjectName(u"kind"_s);
    m_host->setObjectName(u"host"_s);
    m_port->setObjectName(u"port"_s);
    m_database->setObjectName(u"database"_s);
    m_user->setObjectName(u"user"_s);
    m_password->setObjectName(u"password"_s);
    m_tls->setObjectName(u"tls"_s);
    m_certificate->setObjectName(u"certificate"_s);
    m_browse->setObjectName(u"browse"_s);
    m_note->setObjectName(u"note"_s);

    m_host->setText(u"localhost"_s);
    m_host->setMinimumWidth(fontMetrics().averageCharWidth() * shownCharacters);
    for (const ServerKind &kind : serverKinds)
        m_kind->addItem(kind.name, QString(kind.driver));
    m_usualPort = serverKinds[0].port;
    m_port->setRange(1, SourceLocation::lastPort);
    m_port->setValue(m_usualPort);
    m_port->setGroupSeparatorShown(false);
    m_password->setEchoMode(QLineEdit::Password);
    m_note->setWordWrap(true);
    m_note->setTextFormat(Qt::PlainText);
    for (QLineEdit *edit : {m_host, m_database, m_user, m_certificate})
        edit->setInputMethodHints(Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText);

    m_tls->addItem(QString(), QString());
    const QStringList modes = SourceLocation::tlsModes();
    for (const QString &mode : modes)
        m_tls->addItem(QString(), mode);

    for (QWidget *field :
         std::initializer_list<QWidget *>{m_kind, m_host, m_port, m_database, m_user, m_password, m_tls}) {
        auto *label = new QLabel;
        label->setBuddy(field);
        m_form->addRow(label, field);
    }
    auto *certificate = new QHBoxLayout;
    certificate->addWidget(m_certificate);
    certificate->addWidget(m_browse);
    auto *label = new QLabel;
    label->setBuddy(m_certificate);
    m_form->addRow(label, certificate);
    m_browse->setAutoDefault(false);
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
    for (const QLineEdit *edit : {m_host, m_database, m_user, m_password, m_certificate})
        connect(edit, &QLineEdit::textChanged, this, &OpenServerDialog::change);
    connect(m_kind, &QComboBox::currentIndexChanged, this, &OpenServerDialog::changeKind);
    connect(m_port, &QSpinBox::valueChanged, this, &OpenServerDialog::change);
    connect(m_tls, &QComboBox::currentIndexChanged, this, &OpenServerDialog::change);
    connect(m_browse, &QPushButton::clicked, this, &OpenServerDialog::askCertificate);
    m_open->setDefault(true);
    m_database->setFocus();
    retranslate();
}

OpenServerDialog::~OpenServerDialog() = default;

SourceLocation OpenServerDialog::location() const
{
    SourceLocation result;
    result.driver = m_kind->currentData().toString();
    result.host = m_host->text().trimmed();
    result.port = m_port->value();
    result.database = m_database->text().trimmed();
    result.user = m_user->text().trimmed();
    result.password = m_password->text();
    result.tlsMode = m_tls->currentData().toString();
    if (m_certificate->isEnabled())
        result.rootCertificate = m_certificate->text();
    return result;
}

void OpenServerDialog::setLocation(const SourceLocation &location)
{
    m_kind->setCurrentIndex(std::max(0, m_kind->findData(location.driver)));
    m_host->setText(location.host);
    m_port->setValue(location.port > 0 ? location.port : m_usualPort);
    m_database->setText(location.database);
    m_user->setText(location.user);
    m_password->setText(location.password);
    m_tls->setCurrentIndex(std::max(0, m_tls->findData(location.tlsMode)));
    m_certificate->setText(location.rootCertificate);
    for (QLineEdit *edit : {m_host, m_database, m_user, m_password}) {
        if (edit->text().isEmpty()) {
            edit->setFocus();
            return;
        }
    }
    m_open->setFocus();
}

void OpenServerDialog::showError(const QString &message)
{
    m_error = message;
    validate();
    m_password->selectAll();
    m_password->setFocus();
}

void OpenServerDialog::askCertificate()
{
    auto *dialog = new QFileDialog(this, tr("Сертификаты для проверки сервера"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, m_certificate, &QLineEdit::setText);
    dialog->open();
}

bool OpenServerDialog::isMysql() const
{
    return m_kind->currentData() == "QMYSQL"_L1;
}

void OpenServerDialog::changeKind()
{
    const ServerKind &kind = serverKinds[m_kind->currentIndex()];
    const int former = std::exchange(m_usualPort, kind.port);
    if (m_port->value() == former)
        m_port->setValue(m_usualPort);
    // Those that check a certificate, at the end, are beyond the driver of MariaDB. Encrypted it stays.
    const int checking = isMysql() ? 2 : 0;
    m_tls->setCurrentIndex(
        std::min(m_tls->currentIndex(), int(SourceLocation::tlsModes().size()) - checking));
    while (m_tls->count() > 1 + SourceLocation::tlsModes().size() - checking)
        m_tls->removeItem(m_tls->count() - 1);
    for (int i = m_tls->count() - 1; i < SourceLocation::tlsModes().size() - checking; ++i)
        m_tls->addItem(QString(), SourceLocation::tlsModes().at(i));
    retranslate();
    change();
}

void OpenServerDialog::change()
{
    m_error.clear();
    validate();
}

void OpenServerDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QDialog::changeEvent(event);
}

void OpenServerDialog::retranslate()
{
    setWindowTitle(tr("Открыть базу данных на сервере"));
    const QList<QLabel *> labels = findChildren<QLabel *>();
    const auto name = [&labels](QWidget *field, const QString &label, const QString &accessibleName,
                                const QString &description) {
        for (QLabel *one : labels) {
            if (one->buddy() == field)
                one->setText(label);
        }
        field->setAccessibleName(accessibleName);
        field->setAccessibleDescription(description);
        field->setToolTip(description);
    };
    name(m_kind, tr("&Тип:"), tr("Тип"), tr("Какой системе принадлежит сервер"));
    name(m_host, tr("&Сервер:"), tr("Сервер"), tr("Имя или адрес сервера"));
    name(m_port, tr("&Порт:"), tr("Порт"), tr("Обычный порт - %1").arg(m_usualPort));
    name(m_database, tr("&База данных:"), tr("База данных"), tr("Имя базы данных на сервере"));
    name(m_user, tr("П&ользователь:"), tr("Пользователь"), tr("Если не указан - как в системе"));
    name(m_password, tr("П&ароль:"), tr("Пароль"),
         isMysql() ? tr("Не сохраняется; если не указан, берётся из MYSQL_PWD")
                   : tr("Не сохраняется; если не указан, берётся из PGPASSWORD или файла паролей"));
    name(m_tls, tr("&Шифрование:"), tr("Шифрование"),
         isMysql() ? tr("Сертификат сервера не проверяется")
                   : tr("По умолчанию - как задано в PGSSLMODE, иначе если сервер умеет"));
    // In the order of SourceLocation::tlsModes().
    const QStringList modes{tr("По умолчанию"),
                            tr("Никогда"),
                            tr("Если сервер требует"),
                            tr("Если сервер умеет"),
                            tr("Всегда"),
                            tr("Всегда, с проверкой сертификата"),
                            tr("Всегда, с проверкой сертификата и имени сервера")};
    for (int i = 0; i < m_tls->count(); ++i)
        m_tls->setItemText(i, modes.at(i));
    name(m_certificate, tr("С&ертификаты:"), tr("Сертификаты"),
         tr("Файл, по которому проверяется сертификат сервера; если не указан - как задано в PGSSLROOTCERT "
            "или в каталоге пользователя"));
    m_browse->setText(tr("&Выбрать..."));
    m_open->setText(tr("Открыть"));
    m_cancel->setText(tr("Отмена"));
    validate();
}

void OpenServerDialog::validate()
{
    QString missing;
    const ServerKind &kind = serverKinds[m_kind->currentIndex()];
    if (!m_drivers.contains(kind.driver))
        missing =
            tr("Драйвер Qt SQL для %1 не установлен (в Debian - пакет %2)").arg(kind.name, kind.package);
    else if (m_host->text().trimmed().isEmpty())
        missing = tr("Укажите сервер");
    else if (m_database->text().trimmed().isEmpty())
        missing = tr("Укажите базу данных");
    const QString note = missing.isEmpty() ? m_error : missing;
    m_note->setText(note);
    m_note->setAccessibleName(note);
    m_open->setEnabled(missing.isEmpty());
    const bool checksServer = m_tls->currentData().toString().startsWith("verify-"_L1);
    m_certificate->setEnabled(checksServer);
    m_browse->setEnabled(checksServer);
    m_open->setAccessibleDescription(note);
}

} // namespace sito
