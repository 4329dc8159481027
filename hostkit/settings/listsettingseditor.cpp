// SPDX-License-Identifier: MIT
#include <hostkit/settings/listsettingseditor_p.h>

#include <hostkit/settings/settingsvalue.h>

#include <QApplication>
#include <QBoxLayout>
#include <QKeyEvent>
#include <QListView>
#include <QStandardItemModel>
#include <QToolButton>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// An item that takes every value. A QStandardItem ignores a value that `==` calls equal to the old one.
class ListItem : public QStandardItem
{
public:
    explicit ListItem(const QVariant &value) : m_value(value) {}

    QVariant data(int role) const override
    {
        return role == Qt::EditRole || role == Qt::DisplayRole ? m_value : QStandardItem::data(role);
    }
    void setData(const QVariant &value, int role) override
    {
        if (role != Qt::EditRole && role != Qt::DisplayRole) {
            QStandardItem::setData(value, role);
            return;
        }
        m_value = value;
        emitDataChanged();
    }

private:
    QVariant m_value;
};

} // namespace

ListSettingsEditor::ListSettingsEditor(const QVariant &value, QWidget *parent) : SettingsEditor(value, parent)
{
    setFrameStyle(QFrame::StyledPanel);
    setBackgroundRole(QPalette::Window);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    m_items = new QStandardItemModel(this);
    m_list = new QListView(this);
    m_list->setModel(m_items);
    m_list->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    layout->addWidget(m_list, 1);

    auto *buttons = new QVBoxLayout;
    buttons->setSpacing(2);
    const auto button = [&](auto action) {
        QToolButton *result = makeButton({}, this);
        result->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        result->installEventFilter(this);
        connect(result, &QToolButton::clicked, this, action);
        buttons->addWidget(result);
        m_buttons += result;
    };
    button([this] { add(); });
    button([this] { removeCurrent(); });
    button([this] { moveCurrent(-1); });
    button([this] { moveCurrent(1); });
    buttons->addStretch();
    button([this] { finish(QAbstractItemDelegate::SubmitModelCache, true); });
    button([this] { cancel(); });
    layout->addLayout(buttons);
    setField(m_list);
    ListSettingsEditor::setTexts();
}

void ListSettingsEditor::setTexts()
{
    m_list->setAccessibleName(tr("Элементы списка"));
    const QString texts[] = {tr("Добавить"), tr("Удалить"), tr("Выше"),
                             tr("Ниже"),     tr("Готово"),  tr("Отмена")};
    const QString keys[] = {u"Ins"_s, u"Del"_s, u"Alt+↑"_s, u"Alt+↓"_s, u"Ctrl+Enter"_s, u"Esc"_s};
    for (qsizetype i = 0; i < m_buttons.size(); ++i) {
        m_buttons[i]->setText(texts[i]);
        m_buttons[i]->setToolTip(texts[i] + u" ("_s + keys[i] + u')');
    }
}

void ListSettingsEditor::setItemDelegate(QAbstractItemDelegate *delegate)
{
    m_list->setItemDelegate(delegate);
}

void ListSettingsEditor::display(const QVariant &value)
{
    // Else it would go from an open item to some button.
    if (m_list->isAncestorOf(QApplication::focusWidget()))
        m_list->setFocus(Qt::OtherFocusReason);
    const int row = std::max(m_list->currentIndex().row(), 0);
    m_items->clear();
    const QVariantList items = value.toList();
    for (const QVariant &item : items)
        m_items->appendRow(new ListItem(item));
    m_list->setCurrentIndex(m_items->index(std::min(row, m_items->rowCount() - 1), 0));
}

QVariant ListSettingsEditor::items() const
{
    QVariantList items;
    for (int row = 0; row < m_items->rowCount(); ++row)
        items += m_items->item(row)->data(Qt::EditRole);
    if (m_loaded.typeId() == QMetaType::QVariantList)
        return items;
    QStringList texts;
    for (const QVariant &item : std::as_const(items))
        texts += item.toString();
    return texts;
}

QList<SettingsEditor *> ListSettingsEditor::openEditors() const
{
    QList<SettingsEditor *> editors =
        m_list->viewport()->findChildren<SettingsEditor *>(QString(), Qt::FindDirectChildrenOnly);
    // Hidden are those that the view dropped with their rows, until they are deleted.
    editors.removeIf([](const SettingsEditor *editor) { return editor->hasEnded() || editor->isHidden(); });
    return editors;
}

bool ListSettingsEditor::isChanged() const
{
    // What is typed in an open item counts too.
    const QList<SettingsEditor *> open = openEditors();
    return std::any_of(open.begin(), open.end(),
                       [](const SettingsEditor *editor) { return editor->isChanged(); }) ||
           !isSameSettingsValue(items(), m_loaded);
}

std::optional<QVariant> ListSettingsEditor::value(QString *problem) const
{
    const QList<SettingsEditor *> open = openEditors();
    for (SettingsEditor *editor : open) {
        if (!editor->value(problem))
            return std::nullopt;
        editor->finish(QAbstractItemDelegate::NoHint);
    }
    return items();
}

bool ListSettingsEditor::handleKey(QObject *watched, QKeyEvent *event)
{
    const bool inList = watched == m_list;
    if (isReturn(event) && event->modifiers() & Qt::ControlModifier) {
        finish(QAbstractItemDelegate::SubmitModelCache, true);
        return true;
    }
    if (isReturn(event)) {
        if (auto *button = qobject_cast<QToolButton *>(watched))
            button->click();
        else if (m_list->currentIndex().isValid())
            m_list->edit(m_list->currentIndex());
        return true;
    }
    if (inList && event->key() == Qt::Key_Insert) {
        add();
        return true;
    }
    if (inList && event->key() == Qt::Key_Delete) {
        removeCurrent();
        return true;
    }
    if (inList && event->modifiers() == Qt::AltModifier &&
        (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down)) {
        moveCurrent(event->key() == Qt::Key_Up ? -1 : 1);
        return true;
    }
    // Tab goes round within the editor.
    return false;
}

QSize ListSettingsEditor::neededSize(const QRect &cell) const
{
    const QSize least = minimumSizeHint();
    return {std::max({cell.width(), least.width(), fontMetrics().averageCharWidth() * 40}),
            std::max(least.height(), fontMetrics().lineSpacing() * 9)};
}

/// Closes the open item; returns false when its input is wrong. Such an item stays open, and opening another
/// one would close it.
bool ListSettingsEditor::endItems()
{
    const QList<SettingsEditor *> open = openEditors();
    return std::all_of(open.begin(), open.end(),
                       [](SettingsEditor *editor) { return editor->finish(QAbstractItemDelegate::NoHint); });
}

void ListSettingsEditor::add()
{
    if (!endItems())
        return;
    const QModelIndex current = m_list->currentIndex();
    // Of the type of its neighbour, where that has an empty value; else a text.
    QVariant item = QString();
    if (current.isValid() && m_loaded.typeId() == QMetaType::QVariantList) {
        const QVariant neighbour(settingsValue(current).metaType());
        if (exists(neighbour))
            item = neighbour;
    }
    auto *row = new ListItem(item);
    const int at = current.isValid() ? current.row() + 1 : m_items->rowCount();
    m_items->insertRow(at, row);
    m_list->setFocus(Qt::OtherFocusReason);
    m_list->setCurrentIndex(row->index());
    m_list->edit(row->index());
}

void ListSettingsEditor::removeCurrent()
{
    const int row = m_list->currentIndex().row();
    if (row < 0)
        return;
    m_items->removeRow(row);
    m_list->setCurrentIndex(m_items->index(std::min(row, m_items->rowCount() - 1), 0));
}

void ListSettingsEditor::moveCurrent(int by)
{
    if (!endItems())
        return;
    const int row = m_list->currentIndex().row();
    const int to = row + by;
    if (row < 0 || to < 0 || to >= m_items->rowCount())
        return;
    m_items->insertRow(to, m_items->takeRow(row));
    m_list->setCurrentIndex(m_items->index(to, 0));
}

} // namespace sito
