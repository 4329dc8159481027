// SPDX-License-Identifier: MIT
#include <hostkit/settings/linesettingseditor_p.h>

#include <hostkit/settings/settingstext_p.h>
#include <hostkit/settings/settingsvalue.h>

#include <QBoxLayout>
#include <QColorDialog>
#include <QFontDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPointer>
#include <QStyle>
#include <QToolButton>

#include <limits>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// Applies to \a font what differs between \a shown and \a chosen. A dialog does not show the rest, and not
/// even a size in pixels exactly.
QFont changedFont(QFont font, const QFont &shown, const QFont &chosen)
{
    if (chosen.families() != shown.families())
        font.setFamilies(chosen.families());
    if (chosen.weight() != shown.weight() || chosen.style() != shown.style() ||
        chosen.styleName() != shown.styleName()) {
        font.setWeight(chosen.weight());
        font.setStyle(chosen.style());
        font.setStyleName(chosen.styleName());
    }
    if (chosen.pointSizeF() != shown.pointSizeF() && chosen.pointSizeF() > 0)
        font.setPointSizeF(chosen.pointSizeF());
    if (chosen.underline() != shown.underline())
        font.setUnderline(chosen.underline());
    if (chosen.strikeOut() != shown.strikeOut())
        font.setStrikeOut(chosen.strikeOut());
    return font;
}

} // namespace

LineSettingsEditor::LineSettingsEditor(const QVariant &value, QWidget *parent)
    : WrittenSettingsEditor(value, parent)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    m_line = new QLineEdit(this);
    // By itself it cuts what is longer than 32767 characters.
    m_line->setMaxLength(std::numeric_limits<int>::max());
    layout->addWidget(m_line);
    setField(m_line);
    connect(m_line, &QLineEdit::textChanged, this, [this] {
        showSample();
        inputChanged();
    });
    if (value.typeId() == QMetaType::QColor || value.typeId() == QMetaType::QFont) {
        m_button = makeButton(u"…"_s, this);
        m_button->installEventFilter(this);
        layout->addWidget(m_button);
        connect(m_button, &QToolButton::clicked, this, &LineSettingsEditor::choose);
    }
    LineSettingsEditor::setTexts();
}

void LineSettingsEditor::setTexts()
{
    m_line->setAccessibleName(tr("Значение"));
    if (!m_button)
        return;
    m_button->setToolTip(m_loaded.typeId() == QMetaType::QColor ? tr("Выбрать цвет (Alt+Вниз)")
                                                                : tr("Выбрать шрифт (Alt+Вниз)"));
    m_button->setAccessibleName(m_button->toolTip());
}

QString LineSettingsEditor::toText(const QVariant &value) const
{
    return SettingsText::fromValue(value);
}

QString LineSettingsEditor::text() const
{
    return m_line->text();
}

void LineSettingsEditor::setText(const QString &text)
{
    m_line->setText(text);
    m_line->selectAll();
    showSample();
}

std::optional<QVariant> LineSettingsEditor::fromText(const QString &text, QString *problem) const
{
    // Not every font can be read from its text.
    if (m_chosen.isValid() && text == SettingsText::fromValue(m_chosen))
        return m_chosen;
    return SettingsText::toValue(m_loaded, text, problem);
}

bool LineSettingsEditor::handleKey(QObject *watched, QKeyEvent *event)
{
    if (m_button && event->key() == Qt::Key_Down && event->modifiers() == Qt::AltModifier) {
        choose();
        return true;
    }
    if (watched == m_button && (isReturn(event) || event->key() == Qt::Key_Space)) {
        choose();
        return true;
    }
    return SettingsEditor::handleKey(watched, event);
}

void LineSettingsEditor::choose()
{
    QString problem;
    const QVariant now = value(&problem).value_or(m_loaded);
    const QPointer<LineSettingsEditor> self(this);
    QVariant chosen;
    // What a dialog shows may be less than the value: accepted as it came up, it changes nothing.
    if (now.typeId() == QMetaType::QColor) {
        QColorDialog dialog(this);
        dialog.setOptions(QColorDialog::ShowAlphaChannel | QColorDialog::DontUseNativeDialog);
        dialog.setCurrentColor(now.value<QColor>());
        const QColor shown = dialog.currentColor();
        if (dialog.exec() == QDialog::Accepted && dialog.currentColor() != shown)
            chosen = dialog.currentColor();
    } else {
        QFontDialog dialog(this);
        dialog.setOptions(QFontDialog::DontUseNativeDialog);
        dialog.setCurrentFont(now.value<QFont>());
        const QFont shown = dialog.currentFont();
        if (dialog.exec() == QDialog::Accepted)
            chosen = changedFont(now.value<QFont>(), shown, dialog.currentFont());
    }
    if (!self)
        return;
    m_line->setFocus(Qt::OtherFocusReason);
    if (chosen.isValid() && !isSameSettingsValue(chosen, now)) {
        m_chosen = chosen;
        m_line->setText(SettingsText::fromValue(chosen));
    }
}

void LineSettingsEditor::showSample()
{
    if (!m_button)
        return;
    QString problem;
    const std::optional<QVariant> now = value(&problem);
    if (!now || now->typeId() != QMetaType::QColor)
        return;
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    QPixmap sample(QSize(size, size) * devicePixelRatioF());
    sample.setDevicePixelRatio(devicePixelRatioF());
    sample.fill(Qt::transparent);
    QPainter painter(&sample);
    painter.setPen(palette().color(QPalette::Text));
    painter.setBrush(now->value<QColor>());
    painter.drawRect(QRectF(0.5, 0.5, size - 1, size - 1));
    painter.end();
    m_button->setIcon(QIcon(sample));
    m_button->setToolButtonStyle(Qt::ToolButtonIconOnly);
}

} // namespace sito
