// SPDX-License-Identifier: MIT
#include <browser/window/bytesdialog.h>

#include <QBuffer>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontDatabase>
#include <QImage>
#include <QImageReader>
#include <QLabel>
#include <QLocale>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QScrollArea>
#include <QStringDecoder>
#include <QTabWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// An editor of texts takes its time for more.
constexpr qsizetype shownBytes = 256 << 10;
constexpr qsizetype bytesOfALine = 16;
/// What a picture may take when it is decoded.
constexpr int pictureMegabytes = 64;
constexpr qint64 bytesOfAPixel = 4;

/// Lines of offsets, digits and characters.
QString hexText(const QByteArray &bytes)
{
    QString text;
    for (qsizetype at = 0; at < bytes.size(); at += bytesOfALine) {
        const QByteArray line = bytes.sliced(at, std::min(bytesOfALine, bytes.size() - at));
        QString characters = QString::fromLatin1(line);
        for (QChar &character : characters) {
            if (character < u' ' || character > u'~')
                character = u'.';
        }
        text += u"%1  %2  "_s.arg(at, 8, 16, QChar(u'0'))
                    .arg(QString::fromLatin1(line.toHex(' ')), -int(3 * bytesOfALine - 1)) +
                characters + u'\n';
    }
    text.chop(1);
    return text;
}

/// \a bytes as a text of UTF-8, or of the encoding that a mark at the front tells. Control characters become
/// signs for them, so that an editor shows them.
QString readableText(const QByteArray &bytes)
{
    constexpr char16_t firstPicture = 0x2400;
    QStringDecoder decoder(QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8));
    QString text = decoder.decode(bytes);
    for (QChar &character : text) {
        if (character < u' ' && character != u'\n' && character != u'\t' && character != u'\r')
            character = QChar(char16_t(firstPicture + character.unicode()));
    }
    return text;
}

/// The picture that \a bytes are; null when they are none, or one that is too large. Formats that refer to
/// other files, or that only some machine has a decoder for, count as none.
QImage pictureOf(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    if (!QList<QByteArray>{"png", "jpeg", "gif", "bmp", "webp", "ico"}.contains(reader.format()))
        return {};
    const QSize size = reader.size();
    if (!size.isValid() || qint64(size.width()) * size.height() * bytesOfAPixel > pictureMegabytes << 20)
        return {};
    QImageReader::setAllocationLimit(pictureMegabytes);
    reader.setAutoTransform(true);
    return reader.read();
}

} // namespace

BytesDialog::BytesDialog(const QString &column, const QString &source, QWidget *parent)
    : QDialog(parent),
      m_column(column),
      m_source(source),
      m_state(new QLabel(tr("Значение читается…"))),
      m_views(new QTabWidget)
{
    setObjectName(u"bytesDialog"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Значение столбца «%1»").arg(column));
    m_state->setObjectName(u"state"_s);
    m_state->setWordWrap(true);
    m_state->setTextFormat(Qt::PlainText);
    m_state->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_views->setObjectName(u"views"_s);
    m_views->hide();
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    m_save = buttons->addButton(tr("&Сохранить как…"), QDialogButtonBox::ActionRole);
    m_save->setObjectName(u"save"_s);
    m_save->setEnabled(false);
    connect(m_save, &QPushButton::clicked, this, &BytesDialog::askFile);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_state);
    layout->addWidget(m_views, 1);
    layout->addStretch();
    layout->addWidget(buttons);
    resize(fontMetrics().averageCharWidth() * 110, fontMetrics().height() * 26);
}

void BytesDialog::showBytes(const QByteArray &bytes)
{
    if (bytes.isNull()) {
        showError(tr("Ячейка теперь пуста"));
        return;
    }
    m_bytes = bytes;
    const QByteArray first = bytes.first(std::min(bytes.size(), shownBytes));
    QString state = tr("%1 Б").arg(QLocale().toString(bytes.size()));
    if (first.size() < bytes.size())
        state += u' ' + tr("(показаны первые %1)").arg(QLocale().toString(first.size()));
    m_state->setText(state);
    addText(tr("&Байты"), u"hex"_s, hexText(first), false);
    addText(tr("&Текст"), u"text"_s, readableText(first), true);
    addPicture();
    m_views->show();
    m_views->currentWidget()->setFocus();
    m_save->setEnabled(true);
}

void BytesDialog::showError(const QString &message)
{
    m_state->setText(message);
}

void BytesDialog::addText(const QString &title, const QString &name, const QString &text, bool isWrapped)
{
    auto *view = new QPlainTextEdit(text);
    view->setObjectName(name);
    view->setReadOnly(true);
    view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    view->setLineWrapMode(isWrapped ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
    view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    view->setAccessibleName(windowTitle());
    m_views->addTab(view, title);
}

void BytesDialog::addPicture()
{
    const QImage image = pictureOf(m_bytes);
    if (image.isNull())
        return;
    auto *picture = new QLabel;
    picture->setObjectName(u"picture"_s);
    picture->setPixmap(QPixmap::fromImage(image));
    picture->setAlignment(Qt::AlignCenter);
    auto *area = new QScrollArea;
    area->setWidget(picture);
    area->setWidgetResizable(true);
    area->setAccessibleName(windowTitle());
    m_views->addTab(area, tr("&Изображение"));
    m_views->setCurrentWidget(area);
}

void BytesDialog::askFile()
{
    auto *dialog = new QFileDialog(this, tr("Сохранить значение"));
    dialog->setObjectName(u"saveBytesDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    connect(dialog, &QFileDialog::fileSelected, this, &BytesDialog::write);
    dialog->open();
}

/// All of it or nothing takes the place of what \a file was.
void BytesDialog::write(const QString &file)
{
    // What SQLite keeps beside a database belongs to it.
    const auto isOfSource = [&](QLatin1StringView ending) {
        const QFileInfo kept(m_source + ending);
        return kept.exists() && QFileInfo(file) == kept;
    };
    if (!m_source.isEmpty() &&
        (isOfSource(""_L1) || isOfSource("-wal"_L1) || isOfSource("-shm"_L1) || isOfSource("-journal"_L1))) {
        m_state->setText(tr("В %1 лежит база данных, значение не записано").arg(file));
        return;
    }
    QSaveFile saved(file);
    if (saved.open(QIODevice::WriteOnly) && saved.write(m_bytes) == m_bytes.size() && saved.commit())
        m_state->setText(tr("Записано в %1: %2 Б").arg(file, QLocale().toString(m_bytes.size())));
    else
        m_state->setText(tr("Не удалось записать %1: %2").arg(file, saved.errorString()));
}

} // namespace sito
