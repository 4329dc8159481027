// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdelegate.h>

#include <hostkit/settings/choicesettingseditor_p.h>
#include <hostkit/settings/linesettingseditor_p.h>
#include <hostkit/settings/listsettingseditor_p.h>
#include <hostkit/settings/settingsvalue.h>
#include <hostkit/settings/textsettingseditor_p.h>

#include <QAbstractItemView>
#include <QColor>
#include <QFont>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace sito {

namespace {

/// Excludes editors already scheduled for deletion.
QList<SettingsEditor *> openEditors(const QAbstractItemView *view)
{
    auto editors = view->viewport()->findChildren<SettingsEditor *>(QString(), Qt::FindDirectChildrenOnly);
    editors.removeIf([](const SettingsEditor *editor) { return !editor->isOpen(); });
    return editors;
}

/// An editor for values of the type of \a value; null when there is none.
SettingsEditor *makeEditor(const QVariant &value, QWidget *parent)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return new ChoiceSettingsEditor(value, parent);
    case QMetaType::QString:
        return new TextSettingsEditor(value, parent);
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        auto *editor = new ListSettingsEditor(value, parent);
        editor->setItemDelegate(new SettingsDelegate(editor));
        return editor;
    }
    default:
        return SettingsEditor::exists(value) ? new LineSettingsEditor(value, parent) : nullptr;
    }
}

} // namespace

SettingsDelegate::SettingsDelegate(QObject *parent) : QStyledItemDelegate(parent) {}

SettingsDelegate::~SettingsDelegate() = default;

bool SettingsDelegate::isEditable(const QVariant &value)
{
    return SettingsEditor::exists(value);
}

bool SettingsDelegate::isEditing(const QAbstractItemView *view)
{
    return !openEditors(view).isEmpty();
}

bool SettingsDelegate::isRefused(const QAbstractItemView *view)
{
    const QList<SettingsEditor *> editors = openEditors(view);
    return std::any_of(editors.begin(), editors.end(),
                       [](const SettingsEditor *editor) { return editor->isRefused(); });
}

bool SettingsDelegate::finishEditing(const QAbstractItemView *view, Refused refused)
{
    const QList<SettingsEditor *> editors = openEditors(view);
    return std::all_of(editors.begin(), editors.end(), [refused](SettingsEditor *editor) {
        return editor->finish(SubmitModelCache, refused == Refused::TryAgain);
    });
}

QWidget *SettingsDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &,
                                        const QModelIndex &index) const
{
    SettingsEditor *editor = makeEditor(settingsValue(index), parent);
    if (!editor)
        return nullptr;
    editor->setIndex(index);
    auto *self = const_cast<SettingsDelegate *>(this);
    connect(editor, &SettingsEditor::ended, this, [self, editor](SettingsEditor::EndHint hint) {
        if (hint != RevertModelCache)
            Q_EMIT self->commitData(editor);
        // It may have been refused.
        if (editor->hasEnded())
            Q_EMIT self->closeEditor(editor, hint);
    });
    return editor;
}

void SettingsDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    if (auto *own = qobject_cast<SettingsEditor *>(editor))
        own->load(settingsValue(index));
}

void SettingsDelegate::setModelData(QWidget *editor, QAbstractItemModel *model,
                                    const QModelIndex &index) const
{
    auto *own = qobject_cast<SettingsEditor *>(editor);
    if (!own)
        return;
    QString problem;
    // A view that moves its current index also asks for a refused value.
    const std::optional<QVariant> value = own->newValue(&problem);
    // Setting the value that is there already would change nothing.
    if (!value || isSameSettingsValue(*value, settingsValue(index)))
        return;
    if (!model->setData(index, *value, Qt::EditRole))
        own->refuse(tr("Значение не принято"));
}

void SettingsDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                            const QModelIndex &) const
{
    if (auto *own = qobject_cast<SettingsEditor *>(editor))
        own->place(option.rect);
}

QString SettingsDelegate::displayText(const QVariant &value, const QLocale &) const
{
    return settingsValueText(value);
}

bool SettingsDelegate::eventFilter(QObject *watched, QEvent *event)
{
    // The editors know by themselves when to end.
    return qobject_cast<SettingsEditor *>(watched) ? false : QStyledItemDelegate::eventFilter(watched, event);
}

bool SettingsDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view,
                                 const QStyleOptionViewItem &option, const QModelIndex &index)
{
    const QVariant value = event->type() == QEvent::ToolTip ? settingsValue(index) : QVariant();
    if (value.isValid() && !isEditable(value)) {
        const QString why =
            tr("Значения типа %1 здесь не меняются").arg(QString::fromLatin1(value.typeName()));
        const QString path = index.data(Qt::ToolTipRole).toString();
        QToolTip::showText(event->globalPos(), path.isEmpty() ? why : path + u'\n' + why, view);
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

void SettingsDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const QVariant value = settingsValue(index);
    if (!value.isValid())
        return;
    option->text = settingsValueText(value);
    option->features |= QStyleOptionViewItem::HasDisplay;
    option->displayAlignment = Qt::AlignLeft | Qt::AlignVCenter;
    if (value.typeId() == QMetaType::QFont) {
        option->font.setFamily(value.value<QFont>().family());
        option->font.setItalic(value.value<QFont>().italic());
        option->fontMetrics = QFontMetrics(option->font);
    } else if (value.typeId() == QMetaType::QColor && value.value<QColor>().isValid()) {
        const qreal ratio = option->widget ? option->widget->devicePixelRatioF() : 1;
        const int size = option->fontMetrics.height() * 3 / 4;
        QPixmap sample(QSize(size, size) * ratio);
        sample.setDevicePixelRatio(ratio);
        sample.fill(Qt::transparent);
        QPainter painter(&sample);
        painter.setPen(option->palette.color(QPalette::Text));
        painter.setBrush(value.value<QColor>());
        painter.drawRect(QRectF(0.5, 0.5, size - 1, size - 1));
        painter.end();
        option->icon = QIcon(sample);
        option->features |= QStyleOptionViewItem::HasDecoration;
        option->decorationSize = QSize(size, size);
    }
}

} // namespace sito
