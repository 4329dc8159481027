// SPDX-License-Identifier: MIT
#include <sources/rowreader_p.h>

#include <sources/bytestext_p.h>
#include <sources/sourcerows_p.h>
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

RowReader::RowReader(const QString &table, SourceRows &rows, std::vector<SourceColumn> &columns,
                     Misfits misfits)
    : m_table(table), m_rows(rows), m_columns(columns), m_misfits(misfits), m_cells(columns.size())
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
    // Some drivers give no value in place of one that they cannot read. As a text it is read as absent.
    if (value.isNull() && !column.isShownAsText() && !m_rows.isNull(int(index)))
        problem = CellProblem::WrongKind;
    if (problem == CellProblem::None && column.isText() && value.typeId() == QMetaType::QString)
        problem = checkText(index, value);
    while (problem != CellProblem::None) {
        if (!change(column, problem, value))
            throw cellError(m_table, m_rowsRead + 1, column, value, problem);
        m_isChanged = true;
        if (problem != CellProblem::Absent)
            column.setCause(m_rowsRead + 1, shown(value));
        problem = column.read(value, m_cells[index]);
    }
}

/// Checks that \a value, a text that was just read, is what the database holds; otherwise shows the bytes.
CellProblem RowReader::checkText(size_t index, const QVariant &value)
{
    const auto bytes = m_rows.strayBytes(int(index), *static_cast<const QString *>(value.constData()));
    if (!bytes)
        return CellProblem::None;
    if (m_misfits != Misfits::Shown)
        return CellProblem::Encoding;
    m_columns[index].noteStrayBytes();
    if (bytes->isEmpty())
        return CellProblem::None;
    return m_columns[index].read(textOfUtf8(*bytes), m_cells[index]);
}

/// Whether \a column could be changed for \a value.
bool RowReader::change(SourceColumn &column, CellProblem problem, const QVariant &value) const
{
    if (m_misfits != Misfits::Shown)
        return m_misfits == Misfits::GetRoom && column.widen(problem);
    column.admit(problem, value);
    return true;
}

} // namespace sito
