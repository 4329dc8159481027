// SPDX-License-Identifier: MIT
#include <hostkit/table/tablecells_p.h>

#include <hostkit/text/celltext.h>
#include <hostkit/text/shortenedtext.h>

#include <data/table.h>

#include <QFont>
#include <QGuiApplication>
#include <QPalette>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// Texts of more units may well be cut off in their cell.
constexpr qsizetype longText = 24;
constexpr qsizetype longestToolTip = 4001;
// More than fits on a screen; drawing costs time in proportion.
constexpr qsizetype longestCell = 501;

bool isNumber(FieldType::Type type)
{
    switch (type) {
    case FieldType::Int:
    case FieldType::Int64:
    case FieldType::Double:
    case FieldType::Decimal:
    case FieldType::XDecimal:
        return true;
    default:
        return false;
    }
}

bool hasLength(FieldType::Type type)
{
    switch (type) {
    case FieldType::Decimal:
    case FieldType::XDecimal:
    case FieldType::VarChar:
    case FieldType::Raw:
        return true;
    default:
        return false;
    }
}

} // namespace

TableCells::TableCells(const Table &table, const QList<int> &columns)
    : m_table(table),
      m_columns(columns),
      m_left(int(Qt::AlignLeft | Qt::AlignVCenter)),
      m_right(int(Qt::AlignRight | Qt::AlignVCenter)),
      m_dash(u"—"_s)
{
    for (const int column : columns)
        m_sections.push_back({column, isNumber(table.columnDef(column)->type)});
}

QVariant TableCells::data(unsigned char *row, int section, int role) const
{
    const Section &shown = m_sections[size_t(section)];
    switch (role) {
    case Qt::TextAlignmentRole:
        return shown.isNumber ? m_right : m_left;
    case Qt::DisplayRole:
    case Qt::EditRole:
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
    case Qt::FontRole:
    case Qt::ForegroundRole:
        break;
    default:
        return QVariant();
    }

    const Field field = m_table.dataPtr(row, shown.column);
    if (!field.isPresent())
        return absentData(role);
    switch (role) {
    case Qt::DisplayRole:
        return shortenedText(*cellText(field), longestCell);
    case Qt::EditRole:
        return *cellText(field);
    case Qt::ToolTipRole:
        return toolTip(field);
    default:
        return QVariant();
    }
}

bool TableCells::isAbsent(unsigned char *row, int section) const
{
    return !m_table.dataPtr(row, m_sections[size_t(section)].column).isPresent();
}

TableCells::Painted TableCells::painted(unsigned char *row, int section) const
{
    return {data(row, section, Qt::DisplayRole), isAbsent(row, section)};
}

std::optional<QVariant> TableCells::data(const Painted &cell, int section, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return cell.text;
    case Qt::TextAlignmentRole:
        return m_sections[size_t(section)].isNumber ? m_right : m_left;
    case Qt::FontRole:
    case Qt::ForegroundRole:
    case Qt::AccessibleTextRole:
        return cell.isAbsent ? absentData(role) : QVariant();
    case Qt::BackgroundRole:
    case Qt::CheckStateRole:
    case Qt::DecorationRole:
        return QVariant();
    default:
        return std::nullopt;
    }
}

QVariant TableCells::columnHeader(int section, int role, bool isFiltered) const
{
    const Section &shown = m_sections[size_t(section)];
    switch (role) {
    case Qt::DisplayRole:
        return m_table.columnName(shown.column);
    case Qt::ToolTipRole:
        return columnToolTip(shown.column);
    case Qt::TextAlignmentRole:
        return shown.isNumber ? m_right : m_left;
    case Qt::AccessibleDescriptionRole:
        return isFiltered ? tr("фильтр включён") : QVariant();
    default:
        return QVariant();
    }
}

QVariant TableCells::rowHeader(int row, int role) const
{
    if (role == Qt::DisplayRole)
        return row + 1;
    return role == Qt::TextAlignmentRole ? m_right : QVariant();
}

QVariant TableCells::absentData(int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return m_dash;
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
        return tr("нет значения");
    case Qt::FontRole:
        if (!m_absentFont.isValid()) {
            QFont font;
            font.setItalic(true);
            m_absentFont = font;
        }
        return m_absentFont;
    case Qt::ForegroundRole:
        return QGuiApplication::palette().color(QPalette::Disabled, QPalette::Text);
    default:
        return QVariant();
    }
}

/// The text of \a field where its cell may be too narrow for it.
QVariant TableCells::toolTip(const Field &field)
{
    QString text = cellText(field).value_or(QString());
    if (text.size() <= longText && !text.contains(u'\n'))
        return QVariant();
    text = shortenedText(std::move(text), longestToolTip);
    // As rich text, so that long lines are broken and what looks like markup is shown as it is.
    return QString(u"<div style=\"white-space: pre-wrap\">"_s + text.toHtmlEscaped() + u"</div>"_s);
}

QString TableCells::columnToolTip(int column) const
{
    const ColumnDef &def = *m_table.columnDef(column);
    QString type = FieldType::typeName(def.type);
    if (hasLength(def.type))
        type += u'(' + QString::number(def.length) + u')';
    const QString text = def.nullable ? tr("%1\nТип: %2, значения может не быть") : tr("%1\nТип: %2");
    return text.arg(m_table.columnName(column), type);
}

} // namespace sito
