// SPDX-License-Identifier: MIT
#include <hostkit/values/showonlyfilter.h>

#include <data/table.h>
#include <filterfuncs/filterfunc.h>

#include <hostkit/filters/keypredicates_p.h>
#include <hostkit/text/valuetext_p.h>

#include <QAbstractListModel>
#include <QEvent>
#include <QLabel>
#include <QListView>
#include <QStringList>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// Answers the opposite of another predicate, which it owns; false when there is none.
class OppositeFunc final : public FilterFunc
{
    Q_OBJECT
public:
    OppositeFunc(std::unique_ptr<FilterFunc> func, QObject *parent)
        : FilterFunc(parent), m_func(std::move(func))
    {
    }
    bool filter(const Record &record) const override { return m_func && !m_func->filter(record); }

private:
    const std::unique_ptr<FilterFunc> m_func;
};

/// The keys of a filter, each with a check box.
class KeysModel final : public QAbstractListModel
{
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;

    void fill(const ValueFilter &filter)
    {
        beginResetModel();
        m_keys = filter.getAllExcludedKeys();
        m_isChecked.assign(std::size_t(m_keys.size()), true);
        m_texts.clear();
        m_texts.reserve(m_keys.size());
        for (const KeyValue &key : std::as_const(m_keys))
            m_texts.append(filter.keyToText(key));
        endResetModel();
    }
    bool isAnyChecked() const
    {
        return std::find(m_isChecked.begin(), m_isChecked.end(), true) != m_isChecked.end();
    }
    QList<KeyValue> checkedKeys() const
    {
        QList<KeyValue> keys;
        for (qsizetype i = 0; i < m_keys.size(); ++i) {
            if (m_isChecked[std::size_t(i)])
                keys.append(m_keys.at(i));
        }
        return keys;
    }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : int(m_keys.size());
    }
    Qt::ItemFlags flags(const QModelIndex &) const override
    {
        return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemNeverHasChildren;
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!index.isValid())
            return QVariant();
        if (role == Qt::DisplayRole)
            return m_texts.at(index.row());
        if (role == Qt::CheckStateRole)
            return m_isChecked[std::size_t(index.row())] ? Qt::Checked : Qt::Unchecked;
        return QVariant();
    }
    bool setData(const QModelIndex &index, const QVariant &value, int role) override
    {
        if (!index.isValid() || role != Qt::CheckStateRole)
            return false;
        m_isChecked[std::size_t(index.row())] = value.toInt() == Qt::Checked;
        Q_EMIT dataChanged(index, index, {Qt::CheckStateRole});
        return true;
    }

private:
    QList<KeyValue> m_keys;
    QStringList m_texts;
    std::vector<bool> m_isChecked;
};

const KeysModel &keysModel(const QListView &view)
{
    return *static_cast<const KeysModel *>(view.model());
}

} // namespace

ShowOnlyWidget::ShowOnlyWidget(QWidget *parent)
    : QWidget(parent), m_view(new QListView(this)), m_error(new QLabel(this))
{
    m_view->setObjectName(u"keptKeys"_s);
    m_view->setUniformItemSizes(true);
    m_view->setModel(new KeysModel(m_view));
    m_error->setObjectName(u"error"_s);
    m_error->setWordWrap(true);
    QSizePolicy policy = m_error->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    m_error->setSizePolicy(policy);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_error);
    setFocusProxy(m_view);
    connect(m_view->model(), &QAbstractItemModel::dataChanged, this, &ShowOnlyWidget::updateState);
    connect(m_view->model(), &QAbstractItemModel::modelReset, this, &ShowOnlyWidget::updateState);
    retranslate();
}

ShowOnlyWidget::~ShowOnlyWidget() = default;

void ShowOnlyWidget::setKeys(const ValueFilter &filter)
{
    auto *keys = static_cast<KeysModel *>(m_view->model());
    keys->fill(filter);
    m_view->setCurrentIndex(keys->index(0));
}

QList<KeyValue> ShowOnlyWidget::checkedKeys() const
{
    return keysModel(*m_view).checkedKeys();
}

bool ShowOnlyWidget::isComplete() const
{
    return keysModel(*m_view).isAnyChecked();
}

QString ShowOnlyWidget::error() const
{
    return isComplete() ? QString() : tr("Отметьте хотя бы одно значение");
}

void ShowOnlyWidget::updateState()
{
    const bool isNow = isComplete();
    m_error->setVisible(!isNow);
    m_view->setAccessibleDescription(error());
    if (std::exchange(m_isComplete, isNow) != isNow)
        Q_EMIT completeChanged(isNow);
}

void ShowOnlyWidget::retranslate()
{
    m_view->setAccessibleName(tr("Показываемые значения"));
    m_error->setText(tr("Отметьте хотя бы одно значение"));
    updateState();
}

void ShowOnlyWidget::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        retranslate();
}

ShowOnlyFilter::ShowOnlyFilter(Table &table, const QList<int> &columns, QObject *parent)
    : ColumnsFilter(table, columns, parent)
{
}

ShowOnlyFilter::~ShowOnlyFilter() = default;

FilterFunc *ShowOnlyFilter::createFilterFunc(QObject *parent) const
{
    std::unique_ptr<FilterFunc> func;
    if (hasValue())
        func.reset(keypredicates::make(table(), getAllExcludedKeys(), columns(), nullptr));
    return new OppositeFunc(std::move(func), parent);
}

QWidget *ShowOnlyFilter::createFilterWidget(QWidget *parent)
{
    return new ShowOnlyWidget(parent);
}

void ShowOnlyFilter::apply(QWidget *widget)
{
    const auto *editor = qobject_cast<ShowOnlyWidget *>(widget);
    if (editor && editor->isComplete())
        setAllExcludedKeys(editor->checkedKeys());
}

void ShowOnlyFilter::init(QWidget *widget)
{
    if (auto *editor = qobject_cast<ShowOnlyWidget *>(widget))
        editor->setKeys(*this);
}

QString ShowOnlyFilter::name() const
{
    QStringList names;
    for (const int column : columns())
        names.append(table()->columnName(column));
    return tr("только: %1").arg(names.join(u", "_s));
}

QString ShowOnlyFilter::text() const
{
    return valuetext::summary(*this);
}

QString ShowOnlyFilter::keyToText(const KeyValue &key) const
{
    return valuetext::shown(key);
}

} // namespace sito

#include "showonlyfilter.moc"
