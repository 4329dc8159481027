// SPDX-License-Identifier: MIT
#include <browser/window/questions.h>

#include <browser/parts/applicationicon.h>

#include <sito_version.h>

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

template <typename Dialog>
Dialog *prepared(Dialog *dialog, const QString &name)
{
    dialog->setObjectName(name);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    return dialog;
}

} // namespace

void Questions::askFile(QWidget &parent, const QString &directory,
                        const std::function<void(const QString &file)> &then)
{
    auto *dialog = prepared(new QFileDialog(&parent, tr("Открыть базу данных")), u"openFileDialog"_s);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters(
        {tr("Базы данных и таблицы (*.sqlite *.sqlite3 *.db *.db3 *.csv *.tsv *.tab *.txt)"),
         tr("Базы данных SQLite (*.sqlite *.sqlite3 *.db *.db3)"), tr("Файлы CSV (*.csv *.tsv *.tab *.txt)"),
         tr("Все файлы (*)")});
    if (!directory.isEmpty())
        dialog->setDirectory(directory);
    QObject::connect(dialog, &QFileDialog::fileSelected, &parent, then);
    dialog->open();
}

void Questions::askExportFile(QWidget &parent, const QString &suggestedName, bool hasBytes,
                              const std::function<void(const QString &file, ExportForm form)> &then)
{
    auto *dialog = prepared(new QFileDialog(&parent, tr("Записать показанные строки")), u"exportDialog"_s);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setDefaultSuffix(u"csv"_s);
    QList<QPair<QString, ExportForm>> forms{{tr("CSV с заголовками (*.csv)"), {}},
                                            {tr("CSV без заголовков (*.csv)"), {.hasHeaders = false}}};
    if (hasBytes) {
        forms.append({tr("CSV с заголовками, байты целиком (*.csv)"), {.hasWholeBytes = true}});
        forms.append(
            {tr("CSV без заголовков, байты целиком (*.csv)"), {.hasHeaders = false, .hasWholeBytes = true}});
    }
    QStringList filters;
    for (const auto &form : std::as_const(forms))
        filters.append(form.first);
    dialog->setNameFilters(filters);
    dialog->selectFile(suggestedName);
    QObject::connect(dialog, &QFileDialog::fileSelected, &parent,
                     [dialog, forms, filters, then](const QString &file) {
                         then(file, forms.value(filters.indexOf(dialog->selectedNameFilter())).second);
                     });
    dialog->open();
}

void Questions::askOldRows(QWidget &parent, const std::function<void()> &then)
{
    auto *box = prepared(new QMessageBox(&parent), u"oldRowsBox"_s);
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(tr("Записать показанные строки"));
    box->setText(tr("Показаны не те строки, что задают фильтры и сортировка."));
    box->setInformativeText(tr("Записать всё же те, что показаны?"));
    QPushButton *accept = box->addButton(tr("&Записать показанные"), QMessageBox::AcceptRole);
    box->setDefaultButton(box->addButton(QMessageBox::Cancel));
    QObject::connect(accept, &QPushButton::clicked, &parent, then);
    box->open();
}

void Questions::askSetName(QWidget &parent, const QStringList &names,
                           const std::function<void(const QString &name)> &then)
{
    auto *dialog = prepared(new QInputDialog(&parent), u"setNameDialog"_s);
    dialog->setWindowTitle(tr("Сохранить набор фильтров"));
    dialog->setLabelText(tr("Имя набора. Набор с тем же именем будет заменён."));
    dialog->setComboBoxItems(names);
    dialog->setComboBoxEditable(true);
    dialog->setTextValue(QString());
    QObject::connect(dialog, &QInputDialog::textValueSelected, &parent, then);
    dialog->open();
}

void Questions::askSettingsFile(QWidget &parent, const std::function<void(const QString &file)> &then)
{
    auto *dialog = prepared(new QFileDialog(&parent, tr("Открыть файл настроек")), u"settingsFileDialog"_s);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({tr("Файлы INI (*.ini *.conf)"), tr("Все файлы (*)")});
    QObject::connect(dialog, &QFileDialog::fileSelected, &parent, then);
    dialog->open();
}

void Questions::showNotes(QWidget &parent, const QString &table, const QStringList &notes)
{
    auto *dialog = prepared(new QDialog(&parent), u"notesDialog"_s);
    dialog->setWindowTitle(tr("Замечания о таблице %1").arg(table));
    auto *text = new QPlainTextEdit(notes.join(u'\n'));
    text->setReadOnly(true);
    text->setAccessibleName(dialog->windowTitle());
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    auto *layout = new QVBoxLayout(dialog);
    layout->addWidget(text);
    layout->addWidget(buttons);
    dialog->resize(dialog->fontMetrics().averageCharWidth() * 100, dialog->fontMetrics().height() * 16);
    dialog->open();
}

void Questions::showAbout(QWidget &parent)
{
    auto *box = prepared(new QMessageBox(&parent), u"aboutBox"_s);
    box->setWindowTitle(tr("О программе"));
    box->setIconPixmap(applicationIcon().pixmap(QSize(64, 64), parent.devicePixelRatioF()));
    box->setText(u"<h3>Sito %1</h3>"_s.arg(QStringLiteral(SITO_VERSION_STRING)));
    box->setInformativeText(
        tr("Показывает таблицы торговых баз данных, отобранные фильтрами по значениям. Сделано на библиотеке "
           "libsito; исходные тексты - по лицензии MIT.") +
        u"<br><br>Qt %1"_s.arg(QString::fromLatin1(qVersion())));
    box->setStandardButtons(QMessageBox::Close);
    box->open();
}

} // namespace sito
