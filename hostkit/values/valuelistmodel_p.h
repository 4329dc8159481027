// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/distinctvalues_p.h>

#include <QAbstractListModel>

#include <memory>
#include <optional>
#include <vector>

namespace sito {

/// The values to choose from, one in a row, with check boxes: checked means shown. Contains all values, or
/// those that a search has found.
class ValueListModel : public QAbstractListModel
{
    Q_OBJECT
public:
    enum Role {
        CountRole = Qt::UserRole, ///< the number of rows, as text; named "count"
        UnwrittenRole,            ///< bool: see DistinctValues::isUnwritten(); named "unwritten"
    };
    using Numbers = std::vector<quint32>;

    explicit ValueListModel(QObject *parent = nullptr);
    ~ValueListModel() override;

    /// Shows all of \a values; those with a number in \a unchecked are unchecked, all others checked. Resets
    /// the model.
    void setValues(std::shared_ptr<const DistinctValues> values, const std::vector<qsizetype> &unchecked);
    const std::shared_ptr<const DistinctValues> &values() const { return m_values; }
    struct Update
    {
        std::shared_ptr<const DistinctValues> values;
        /// DistinctValues::indexesIn() of those before.
        std::vector<quint32> newNumbers;
        /// The numbers of the values to show; all without.
        std::optional<Numbers> shown;
    };
    /// Takes values that were counted again: rows that vanish are removed, new ones inserted, and what is
    /// selected stays. Checks as setValues() does.
    void update(const Update &update, const std::vector<qsizetype> &unchecked);
    /// Shows the values with these numbers, which must be ascending; without \a numbers, all values. Resets
    /// the model.
    void setShown(std::optional<Numbers> numbers);
    const std::optional<Numbers> &shown() const { return m_shown; }
    /// The number of the value in \a row among all.
    qsizetype numberAt(int row) const { return m_shown ? qsizetype((*m_shown)[size_t(row)]) : row; }
    /// The row of the value \a number, -1 when it is not shown.
    int rowOf(qsizetype number) const;

    bool isChecked(qsizetype number) const { return !m_unchecked[size_t(number)]; }
    /// By number, whether the value is unchecked.
    const std::vector<bool> &unchecked() const { return m_unchecked; }
    qsizetype checkedCount() const { return qsizetype(m_unchecked.size()) - m_uncheckedCount; }
    /// Skips values for which DistinctValues::isKey() is false, as do the next two.
    void setChecked(const QList<int> &rows, bool checked);
    /// Checks or unchecks all rows.
    void setAllChecked(bool checked);
    void invertAll();

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QHash<int, QByteArray> roleNames() const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

Q_SIGNALS:
    /// A value was checked or unchecked.
    void checksChanged();

private:
    void take(std::shared_ptr<const DistinctValues> values, const std::vector<qsizetype> &unchecked);
    /// Brings the rows into the order of \a numbers, which are those that are shown.
    void rearrange(const Numbers &numbers);
    void check(qsizetype number, bool checked);
    void tellChange(int firstRow, int lastRow);

    std::shared_ptr<const DistinctValues> m_values;
    std::optional<Numbers> m_shown;
    std::vector<bool> m_unchecked;
    qsizetype m_uncheckedCount = 0;
};

} // namespace sito
