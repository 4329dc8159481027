// SPDX-License-Identifier: MIT
#include <browser/parts/question.h>

#include <QCoreApplication>
#include <QPushButton>

namespace sito {

bool isConfirmed(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &question,
                 const QString &details, const QString &yes)
{
    QMessageBox box(icon, title, question, QMessageBox::NoButton, parent);
    box.setInformativeText(details);
    const QPushButton *accept = box.addButton(yes, QMessageBox::DestructiveRole);
    QPushButton *reject =
        box.addButton(QCoreApplication::translate("Question", "От&мена"), QMessageBox::RejectRole);
    box.setDefaultButton(reject);
    box.setEscapeButton(reject);
    box.exec();
    return box.clickedButton() == accept;
}

} // namespace sito
