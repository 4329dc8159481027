// SPDX-License-Identifier: MIT
#include <hostkit/settings/textsettingseditor_p.h>

#include <hostkit/settings/settingsescapes_p.h>

#include <QBoxLayout>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

bool needsEscapes(const QString &text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            ++i;
        else if (SettingsText::isLostInTextFields(text.at(i)))
            return true;
    }
    return false;
}

} // namespace

TextSettingsEditor::TextSettingsEditor(const QVariant &value, QWidget *parent)
    : WrittenSettingsEditor(value, parent)
{
    setFrameStyle(QFrame::StyledPanel);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins({});
    m_text = new QPlainTextEdit(this);
    m_text->setFrameStyle(QFrame::NoFrame);
    m_text->document()->setDocumentMargin(1);
    m_text->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    layout->addWidget(m_text);
    setField(m_text);
    connect(m_text, &QPlainTextEdit::textChanged, this, [this] {
        if (!m_cell.isNull())
            place(m_cell);
        inputChanged();
    });
    TextSettingsEditor::setTexts();
}

void TextSettingsEditor::setTexts()
{
    m_text->setAccessibleName(tr("Значение"));
    m_text->setToolTip(m_escaped ? tr("В тексте есть управляющие символы: они записаны как \\n, \\r, \\u0000")
                                 : tr("Enter - готово, Shift+Enter - новая строка"));
}

void TextSettingsEditor::display(const QVariant &value)
{
    m_escaped = needsEscapes(value.toString());
    WrittenSettingsEditor::display(value);
    setTexts();
}

QString TextSettingsEditor::toText(const QVariant &value) const
{
    return m_escaped ? SettingsText::escaped(value.toString()) : value.toString();
}

QString TextSettingsEditor::text() const
{
    // The plain text would turn no-break spaces into spaces.
    return m_text->document()->toRawText().replace(QChar::ParagraphSeparator, u'\n');
}

void TextSettingsEditor::setText(const QString &text)
{
    m_text->setPlainText(text);
    m_text->selectAll();
}

std::optional<QVariant> TextSettingsEditor::fromText(const QString &text, QString *problem) const
{
    if (!m_escaped)
        return QVariant(text);
    const std::optional<QString> plain = SettingsText::unescaped(text);
    if (plain)
        return QVariant(*plain);
    *problem = tr("После «\\» пишется n, r, t, ещё одна «\\» или u и четыре шестнадцатеричные цифры");
    return std::nullopt;
}

bool TextSettingsEditor::handleKey(QObject *watched, QKeyEvent *event)
{
    if (isReturn(event) && event->modifiers() & (Qt::ShiftModifier | Qt::AltModifier)) {
        m_text->insertPlainText(u"\n"_s);
        m_text->ensureCursorVisible();
        return true;
    }
    return SettingsEditor::handleKey(watched, event);
}

QSize TextSettingsEditor::neededSize(const QRect &cell) const
{
    constexpr int mostLines = 12;
    const int lineHeight = m_text->fontMetrics().lineSpacing();
    const int frame = 2 * (frameWidth() + int(m_text->document()->documentMargin())) + 2;
    // How the lines wrap is known after the width.
    const int width = std::max(cell.width(), lineHeight * 12);
    int lines = 0;
    for (QTextBlock block = m_text->document()->begin(); block.isValid() && lines < mostLines;
         block = block.next())
        lines += 1 + m_text->fontMetrics().horizontalAdvance(block.text()) / std::max(width - frame - 4, 1);
    return {width, lineHeight * std::clamp(lines, 1, mostLines) + frame};
}

} // namespace sito
