// SPDX-License-Identifier: MIT
#pragma once

#include <QMessageBox>
#include <QString>

namespace sito {

/// Shows \a question in a message box over \a parent; returns whether the user presses the button \a yes.
/// Enter and Esc mean no.
bool isConfirmed(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &question,
                 const QString &details, const QString &yes);

} // namespace sito
