// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistmodel_p.h>

#include <QLocale>

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>

namespace sito {

using namespace Qt::StringLiterals;

namespace {
/// The units from which on a text may not fit the width of the list.
constexpr qsizetype longText = 24;
} // namespace

ValueListModel::ValueListModel(QObject *parent) : QAbstractListModel(parent) {}

ValueListModel::~ValueListModel() = default;

void ValueListModel::setValues(std::shared_ptr<const DistinctValues> values,
                               const std::vector<qsizetype> &unchecked)
{
    beginResetModel();
    m_shown.reset();
    take(std::move(values), unchecked);
    endResetModel();
}

void ValueListModel::take(std::shared_ptr<const DistinctValues> values,
                          const std::vector<qsizetype> &unchecked)
{
    m_values = std::move(values);
    m_unchecked.assign(size_t(m_values ? m_values->size() : 0), false);
    m_uncheckedCount = 0;
    for (const qsizetype number : unchecked)
        check(number, false);
}

void ValueListModel::update(const Update &update, const std::vector<qsizetype> &unchecked)
{
    const auto numbersOf = [](const std::optional<Numbers> &shown, qsizetype count) {
        if (shown)
            return *shown;
        Numbers all;
        all.resize(size_t(count));
        std::iota(all.begin(), all.end(), quint32(0));
        return all;
    };
    const Numbers before = numbersOf(m_shown, m_values->size());
    const Numbers after = numbersOf(update.shown, update.values->size());
    // What stays has the same order before and after.
    Numbers staying;
    Numbers stayingLater;
    Numbers going;
    auto later = after.begin();
    for (const quint32 number : before) {
        const quint32 newNumber = update.newNumbers[number];
        if (newNumber != DistinctValues::nowhere)
            later = std::lower_bound(later, after.end(), newNumber);
        if (newNumber == DistinctValues::nowhere || later == after.end() || *later != newNumber) {
            going.push_back(number);
        } else {
            staying.push_back(number);
            stayingLater.push_back(newNumber);
        }
    }
    Numbers coming;
    std::set_difference(after.begin(), after.end(), stayingLater.begin(), stayingLater.end(),
                        std::back_inserter(coming));

    if (!going.empty()) {
        const size_t kept = staying.size();
        m_shown = before;
        staying.insert(staying.end(), going.begin(), going.end());
        rearrange(staying);
        beginRemoveRows({}, int(kept), int(before.size()) - 1);
        m_shown->resize(kept);
        endRemoveRows();
    }
    take(update.values, unchecked);
    m_shown = std::move(stayingLater);
    const size_t kept = m_shown->size();
    if (!coming.empty()) {
        beginInsertRows({}, int(kept), int(after.size()) - 1);
        m_shown->insert(m_shown->end(), coming.begin(), coming.end());
        endInsertRows();
        rearrange(after);
    }
    m_shown = update.shown;
    if (kept > 0)
        Q_EMIT dataChanged(index(0), index(rowCount() - 1));
}

void ValueListModel::rearrange(const Numbers &numbers)
{
    if (numbers == *m_shown)
        return;
    Q_EMIT layoutAboutToBeChanged();
    const QModelIndexList old = persistentIndexList();
    if (!old.isEmpty()) {
        std::vector<int> rows(m_unchecked.size());
        for (size_t row = 0; row < numbers.size(); ++row)
            rows[numbers[row]] = int(row);
        QModelIndexList now;
        for (const QModelIndex &one : old)
            now.append(index(rows[(*m_shown)[size_t(one.row())]]));
        changePersistentIndexList(old, now);
    }
    m_shown = numbers;
    Q_EMIT layoutChanged();
}

void ValueListModel::setShown(std::optional<Numbers> numbers)
{
    beginResetModel();
    m_shown = std::move(numbers);
    endResetModel();
}

int ValueListModel::rowOf(qsizetype number) const
{
    if (!m_shown)
        return int(number);
    const auto found = std::lower_bound(m_shown->begin(), m_shown->end(), quint32(number));
    return found == m_shown->end() || *found != quint32(number) ? -1 : int(found - m_shown->begin());
}

void ValueListModel::check(qsizetype number, bool checked)
{
    if (isChecked(number) == checked || !m_values->isKey(number))
        return;
    m_unchecked[size_t(number)] = !checked;
    m_uncheckedCount += checked ? -1 : 1;
}

void ValueListModel::tellChange(int firstRow, int lastRow)
{
    if (firstRow > lastRow)
        return;
    Q_EMIT dataChanged(index(firstRow), index(lastRow), {Qt::CheckStateRole});
    Q_EMIT checksChanged();
}

void ValueListModel::setChecked(const QList<int> &rows, bool checked)
{
    int first = std::numeric_limits<int>::max();
    int last = -1;
    for (const int row : rows) {
        check(numberAt(row), checked);
        first = std::min(first, row);
        last = std::max(last, row);
    }
    tellChange(first, last);
}

void ValueListModel::setAllChecked(bool checked)
{
    const int rows = rowCount();
    for (int row = 0; row < rows; ++row)
        check(numberAt(row), checked);
    tellChange(0, rows - 1);
}

void ValueListModel::invertAll()
{
    const int rows = rowCount();
    for (int row = 0; row < rows; ++row)
        check(numberAt(row), !isChecked(numberAt(row)));
    tellChange(0, rows - 1);
}

int ValueListModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid() || !m_values)
        return 0;
    return m_shown ? int(m_shown->size()) : int(m_values->size());
}

QHash<int, QByteArray> ValueListModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert({{Qt::CheckStateRole, "checkState"_ba},
                  {Qt::AccessibleTextRole, "accessibleText"_ba},
                  {Qt::AccessibleDescriptionRole, "accessibleDescription"_ba},
                  {CountRole, "count"_ba},
                  {UnwrittenRole, "unwritten"_ba}});
    return names;
}

QVariant ValueListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const qsizetype number = numberAt(index.row());
    const auto count = [&] { return QLocale().toString(m_values->count(number)); };
    switch (role) {
    case Qt::DisplayRole:
        return m_values->text(number);
    case Qt::CheckStateRole:
        if (!m_values->isKey(number))
            return QVariant();
        return int(isChecked(number) ? Qt::Checked : Qt::Unchecked);
    case Qt::AccessibleTextRole:
        return tr("%1, строк: %2").arg(m_values->text(number), count());
    case Qt::ToolTipRole:
        if (m_values->isKey(number)) {
            const QString text = m_values->text(number);
            // As rich text, so that long lines are broken and what looks like markup is shown as it is.
            return text.size() < longText ? QVariant()
                                          : QVariant(u"<p>"_s + text.toHtmlEscaped() + u"</p>"_s);
        }
        [[fallthrough]];
    case Qt::AccessibleDescriptionRole:
        if (m_values->isKey(number))
            return QVariant();
        return tr("Не число. Отдельно не выбирается: скрыто, как только скрыто любое число");
    case CountRole:
        return count();
    case UnwrittenRole:
        return m_values->isUnwritten(number);
    default:
        return QVariant();
    }
}

bool ValueListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::CheckStateRole || !index.isValid() || !m_values->isKey(numberAt(index.row()))) {
        return false;
    }
    setChecked({index.row()}, value.toInt() == Qt::Checked);
    return true;
}

Qt::ItemFlags ValueListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    return m_values->isKey(numberAt(index.row())) ? flags | Qt::ItemIsUserCheckable : flags;
}

} // namespace sito
