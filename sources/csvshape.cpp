// SPDX-License-Identifier: MIT
#include <sources/csvshape_p.h>

#include <sources/sourcelocation.h>
#include <sources/writtenvalue_p.h>

#include <data/exception.h>

#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// The bytes are no UTF-8, though nobody said that they were.
struct NotUtf8
{
};

constexpr int recordsOfSample = 200;

/// The text at the beginning of a file, for guesses.
QString sampleOf(const CsvText::Start &start, const QString &fileName, CsvEncoding encoding)
{
    CsvText text(fileName, encoding, std::min<qint64>(start.bytes.size(), start.size));
    QString sample = text.next();
    // A guess needs no more than the marks, which are ASCII; the last character may be cut.
    return sample.isEmpty() ? QString::fromLatin1(start.bytes) : sample;
}

/// The first records of \a sample, up to one that may be cut off.
std::vector<QStringList> recordsOf(const QString &sample, QChar separator)
{
    std::vector<QStringList> result;
    QString rest = sample;
    CsvRecords records([&rest] { return std::exchange(rest, {}); }, separator);
    try {
        while (int(result.size()) < recordsOfSample && records.next()) {
            QStringList fields;
            for (int i = 0; i < records.size(); ++i)
                fields.append(records.field(i).toString());
            if (!records.isEmptyLine())
                result.push_back(fields);
        }
    } catch (const CsvRecords::Malformed &) {
        // A quotation mark that is closed behind the sample. What was read counts.
        return result;
    }
    return result;
}

/// The separator that divides most records of \a sample into the same number of fields. A comma may well
/// stand in the numbers of a file with semicolons, and either of them in the texts of one with tabs.
QChar separatorOf(const QString &sample, const QString &fileName)
{
    const bool isTab = fileName.endsWith(".tsv"_L1, Qt::CaseInsensitive) ||
                       fileName.endsWith(".tab"_L1, Qt::CaseInsensitive);
    QChar best = isTab ? u'\t' : u',';
    double bestShare = 0;
    for (const QChar separator : {QChar(u'\t'), QChar(u';'), QChar(u',')}) {
        const auto records = recordsOf(sample, separator);
        QHash<qsizetype, int> widths;
        for (const QStringList &record : records)
            ++widths[record.size()];
        for (auto it = widths.cbegin(); it != widths.cend(); ++it) {
            const double share = double(it.value()) / double(records.size());
            if (it.key() > 1 && share > bestShare) {
                bestShare = share;
                best = separator;
            }
        }
    }
    return best;
}

/// Whether \a record may be the names of columns: different texts, none of them a number or a date.
bool looksLikeHeader(const QStringList &record)
{
    QSet<QString> names;
    for (const QString &name : record) {
        if (writtenKind(name) != WrittenKind::Text || names.contains(name))
            return false;
        if (!name.isEmpty())
            names.insert(name);
    }
    return !names.isEmpty();
}

std::optional<CsvEncoding> encodingNamed(const QString &name)
{
    // In the order of SourceLocation::encodings().
    constexpr std::array encodings{CsvEncoding::Utf8, CsvEncoding::Utf16LittleEndian,
                                   CsvEncoding::Utf16BigEndian, CsvEncoding::Windows1251};
    const qsizetype index = SourceLocation::encodings().indexOf(name);
    return index < 0 ? std::nullopt : std::optional(encodings[size_t(index)]);
}

std::unique_ptr<CsvRecords> recordsIn(const CsvShape &shape, bool isGuess)
{
    auto text = std::make_shared<CsvText>(shape.fileName, shape.encoding, shape.size);
    return std::make_unique<CsvRecords>(
        [text, isGuess] {
            QString piece = text->next();
            if (text->isBroken() && isGuess)
                throw NotUtf8();
            if (text->isBroken())
                text->failBroken();
            return piece;
        },
        shape.separator);
}

/// How many records are not as they should be, and where the first of them begins.
struct Oddity
{
    qint64 count = 0;
    qint64 firstLine = 0;

    void add(const CsvRecords &record)
    {
        if (count++ == 0)
            firstLine = record.line();
    }
    void note(const QString &text, QStringList &notes) const
    {
        if (count > 0)
            notes.append(text.arg(QString::number(count), QString::number(firstLine)));
    }
};

/// Reads the whole file for its numbers of rows and columns.
void measure(CsvShape &shape, bool isGuess, const parallel::StopToken &stop)
{
    const auto records = recordsIn(shape, isGuess);
    shape.names.clear();
    shape.rows = 0;
    qsizetype expected = 0;
    qsizetype width = 0;
    Oddity shorter;
    Oddity longer;
    Oddity marred;
    qint64 empty = 0;
    while (shape.next(*records)) {
        stop.throwIfStopped();
        const qsizetype size = records->size();
        if (expected == 0) {
            if (records->isEmptyLine()) {
                empty += shape.hasHeader ? 0 : 1;
                continue;
            }
            expected = width = size;
            for (int i = 0; shape.hasHeader && i < size; ++i)
                shape.names.append(records->field(i).toString());
            if (records->isMarred())
                marred.add(*records);
            shape.rows = shape.hasHeader ? 0 : 1;
            continue;
        }
        if (records->isEmptyLine()) {
            ++empty;
            continue;
        }
        ++shape.rows;
        width = std::max(width, size);
        if (size < expected)
            shorter.add(*records);
        else if (size > expected)
            longer.add(*records);
        if (records->isMarred())
            marred.add(*records);
    }
    if (width == 0)
        throw Exception(CsvText::tr("Файл «%1» пуст").arg(shape.fileName));
    if (width == 1)
        shape.rows += empty;
    for (qsizetype i = shape.names.size(); i < width; ++i)
        shape.names.append(u"c%1"_s.arg(i + 1));
    shape.notes.clear();
    shorter.note(CsvText::tr("Записей, в которых полей меньше, чем столбцов: %1 (первая - в строке файла "
                             "%2); недостающие значения пусты"),
                 shape.notes);
    longer.note(CsvText::tr("Записей, в которых полей больше, чем в первой: %1 (первая такая - в строке "
                            "файла %2); для лишних добавлены столбцы"),
                shape.notes);
    marred.note(CsvText::tr("Записей, в которых после закрывающей кавычки стоит не разделитель: %1 (первая "
                            "- в строке файла %2); такие поля показаны, как записаны"),
                shape.notes);
}

} // namespace

CsvShape CsvShape::find(const SourceLocation &location, const parallel::StopToken &stop)
{
    CsvShape shape;
    shape.fileName = location.file;
    // Before it is read: what is written meanwhile is found to be new.
    shape.modified = QFileInfo(location.file).lastModified();
    const CsvText::Start start = CsvText::start(location.file);
    shape.size = start.size;
    auto encoding = encodingNamed(location.encoding);
    if (!encoding)
        encoding = CsvText::encodingOf(start);
    shape.encoding = encoding.value_or(CsvEncoding::Utf8);
    const QString sample = sampleOf(start, location.file, shape.encoding);
    shape.separator =
        location.separator.isEmpty() ? separatorOf(sample, location.file) : location.separator.front();
    if (location.header.isEmpty()) {
        const auto records = recordsOf(sample, shape.separator);
        shape.hasHeader = !records.empty() && looksLikeHeader(records.front());
    } else {
        shape.hasHeader = location.header == "yes"_L1;
    }
    try {
        measure(shape, !encoding, stop);
    } catch (const NotUtf8 &) {
        shape.encoding = CsvEncoding::Windows1251;
        measure(shape, false, stop);
    }
    return shape;
}

bool CsvShape::isCurrent() const
{
    const QFileInfo info(fileName);
    return info.size() == size && info.lastModified() == modified;
}

bool CsvShape::next(CsvRecords &records) const
{
    try {
        return records.next();
    } catch (const CsvRecords::Malformed &malformed) {
        throw Exception(CsvText::messageAt(fileName, malformed.place, malformed.message));
    }
}

std::unique_ptr<CsvRecords> CsvShape::records() const
{
    return recordsIn(*this, false);
}

} // namespace sito
