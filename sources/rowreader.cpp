// SPDX-License-Identifier: MIT
#include <sources/rowreader_p.h>

#include <sources/sqlrows_p.h>
#include <sources/tableloader.h>

#include <hostkit/text/shortenedtext.h>

#include <data/exception.h>

#include <QLocale>
#include <QMetaType>
#include <QVariant>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype maxShownText = 61;

/// \a value in one short line.
QString shown(const QVariant &value)
{
    if (value.isNull())
        return u"NULL"_s;
    if (value.typeId() == QMetaType::QByteArray) {
        const auto bytes = value.toByteArray();
        const QString start = QString::fromLatin1(bytes.first(std::min<qsizetype>(bytes.size(), 8)).toHex());
        return bytes.size() <= 8 ? u"x'%1'"_s.arg(start)
                                 : u"x'%1…' (%2)"_s.arg(start, QString::number(bytes.size()));
    }
    if (value.typeId() == QMetaType::Double)
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    if (value.typeId() == QMetaType::LongLong)
        return QString::number(value.toLongLong());
    QString text = shortenedText(value.toString(), maxShownText);
    for (QChar &character : text) {
        if (character.category() == QChar::Other_Control)
            character = QChar::ReplacementCharacter;
    }
    return u"'%1'"_s.arg(text);
}

QString reason(CellProblem problem)
{
    switch (problem) {
    case CellProblem::Absent:
        return TableLoader::tr("столбец не допускает пустых значений");
    case CellProblem::WrongKind:
        return TableLoader::tr("значение другого рода");
    case CellProblem::OutOfRange:
        return TableLoader::tr("число вне пределов типа");
    case CellProblem::NotExact:
        return TableLoader::tr("число нельзя сохранить точно");
    case CellProblem::Digits:
        return TableLoader::tr("в числе больше цифр, чем объявлено");
    case CellProblem::TextLength:
        return TableLoader::tr("текст длиннее, чем объявлено");
    case CellProblem::NulInText:
        return TableLoader::tr("в тексте есть нулевой символ");
    case CellProblem::Date:
        return TableLoader::tr("не дата");
    case CellProblem::EpochDate:
        return TableLoader::tr("это мгновение обозначает отсутствие даты");
    case CellProblem::Fraction:
        return TableLoader::tr("время точнее миллисекунды");
    case CellProblem::ByteCount:
        return TableLoader::tr("другое число байтов");
    case CellProblem::Encoding:
        return TableLoader::tr("байты не составляют текста");
    case CellProblem::None:
        break;
    }
    return {};
}

Exception cellError(const QString &table, qint64 row, const SourceColumn &column, const QVariant &value,
                    CellProblem problem)
{
    return Exception(
        TableLoader::tr("Таблица «%1», строка %2, столбец «%3»: значение %4 не подходит к типу %5 (%6)")
            .arg(table, QString::number(row), column.spec().name, shown(value), column.typeText(),
                 reason(problem)));
}

} // namespace

RowReader::RowReader(const QString &table, SqlRows &rows, std::vector<SourceColumn> &columns, bool canWiden)
    : m_table(table), m_rows(rows), m_columns(columns), m_canWiden(canWiden), m_cells(columns.size())
{
}

bool RowReader::next()
{
    if (!m_rows.next())
        return false;
    for (size_t i = 0; i < m_columns.size(); ++i)
        readCell(i);
    ++m_rowsRead;
    return true;
}

void RowReader::readCell(size_t index)
{
    SourceColumn &column = m_columns[index];
    const QVariant value = m_rows.value(int(index));
    CellProblem problem = column.read(value, m_cells[index]);
    const bool needsRoom = problem == CellProblem::Digits || problem == CellProblem::TextLength ||
                           (problem == CellProblem::OutOfRange && column.spec().type == FieldType::Int);
    if (needsRoom && m_canWiden && column.widen()) {
        m_isWidened = true;
        return;
    }
    // Some drivers give no value in place of one that they cannot read.
    if (value.isNull() && !m_rows.isNull(int(index)))
        problem = CellProblem::WrongKind;
    if (problem == CellProblem::None && column.isText()) {
        const auto *text = std::get_if<QString>(&m_cells[index]);
        if (text && !m_rows.isText(int(index), *text))
            problem = CellProblem::Encoding;
    }
    if (problem == CellProblem::None)
        return;
    throw cellError(m_table, m_rowsRead + 1, column, value, problem);
}

} // namespace sito
