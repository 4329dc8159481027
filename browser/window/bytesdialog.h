// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDialog>
#include <QString>

class QLabel;
class QPushButton;
class QTabWidget;

namespace sito {

/// Shows the bytes of a cell: as hexadecimal digits, as a text and, if they are one, as a picture. They can
/// be written into a file. Of many bytes the first are shown, and all are written.
class BytesDialog : public QDialog
{
    Q_OBJECT
public:
    /// The most bytes that a caller should fetch to show them.
    static constexpr qint64 longest = 64 << 20;

    /// For the column \a column, until the bytes are there. The dialog never overwrites \a source, the file
    /// of the database if it is one.
    BytesDialog(const QString &column, const QString &source, QWidget *parent);

    /// Null bytes stand for a cell that is empty.
    void showBytes(const QByteArray &bytes);
    /// Says in place of the bytes why there are none.
    void showError(const QString &message);

private:
    void addText(const QString &title, const QString &name, const QString &text, bool isWrapped);
    void addPicture();
    void askFile();
    void write(const QString &file);

    const QString m_column;
    const QString m_source;
    QByteArray m_bytes;
    QLabel *m_state;
    QTabWidget *m_views;
    QPushButton *m_save;
};

} // namespace sito
