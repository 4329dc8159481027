// SPDX-License-Identifier: MIT
#include <filters/securitiessessionfilter.h>

#include <data/database.h>
#include <data/exception.h>
#include <data/fieldconstvalue.h>
#include <data/icore.h>
#include <data/indexlist.h>
#include <data/table.h>

#include <algorithm>
#include <limits>
#include <map>
#include <mutex>

using namespace Qt::StringLiterals;

namespace {
/// An id as a 32-bit integer. Throws Exception for a present value of a type that holds no id.
int toInt(const Field &field)
{
    if (!field.isPresent())
        return 0;
    switch (field.def->type) {
    case FieldType::Int:
        return field.value<qint32>();
    case FieldType::Int64:
        return int(std::clamp<qint64>(field.value<qint64>(), std::numeric_limits<qint32>::min(),
                                      std::numeric_limits<qint32>::max()));
    case FieldType::VarChar:
    case FieldType::String:
        return field.toString().toInt();
    default:
        throw Exception(u"Incorrect type conversion."_s);
    }
}

Table &sessionsTable()
{
    const QString name = u"sessions"_s;
    Table *table = ICore::instance()->database()->tableByName(name);
    if (!table)
        throw Exception(u"There is no table '%1'."_s.arg(name));
    return *table;
}

int requireColumn(const Table &table, const QString &name)
{
    const int column = table.columnIndex(name);
    if (column < 0)
        throw Exception(u"There is no column '%1' in the table '%2'."_s.arg(name, table.name()));
    return column;
}

/// The highest session of every security, at least 0; by security.
using Sessions = std::map<int, int>;

Sessions latestSessions(const Table &table, int stockColumn, int sessionColumn)
{
    Sessions sessions;
    // Tables are usually written day by day, the securities of a day in order, or security by security, so
    // that most rows concern the security of the row before or the one after it. begin() and end() of an
    // index are virtual.
    auto last = sessions.end();
    auto next = sessions.end();
    const IndexList *index = table.masterIndex();
    const IndexIterator end = index->end();
    for (IndexIterator row = index->begin(); row != end; ++row) {
        const int stock = toInt(table.dataPtr(*row, stockColumn));
        const int session = toInt(table.dataPtr(*row, sessionColumn));
        if (last == sessions.end() || last->first != stock) {
            if (next != sessions.end() && next->first == stock) {
                last = next;
            } else {
                last = sessions.lower_bound(stock);
                if (last == sessions.end() || last->first != stock)
                    last = sessions.emplace_hint(last, stock, 0);
            }
            next = std::next(last);
        }
        if (last->second < session)
            last->second = session;
    }
    return sessions;
}
} // namespace

SecuritiesSessionFilter::SecuritiesSessionFilter(Table &table, int firstId, const QList<int> &columns,
                                                 int secondId, QObject *parent)
    : ValueFilter(table, firstId, columns, secondId, parent)
{
    const Table &sessions = sessionsTable();
    const std::lock_guard lock(sessions);
    const int stockColumn = requireColumn(sessions, u"stock_id"_s);
    const int sessionColumn = requireColumn(sessions, u"sess_id"_s);
    for (const auto &[stock, session] : latestSessions(sessions, stockColumn, sessionColumn)) {
        KeyValue key;
        key.reserve(2);
        key.append(FieldConstValue(stock));
        key.append(FieldConstValue(session));
        addExcludedKey(key);
    }
}

SecuritiesSessionFilter::~SecuritiesSessionFilter() = default;

QWidget *SecuritiesSessionFilter::createFilterWidget(QWidget *parent)
{
    Q_UNUSED(parent)
    return nullptr;
}

void SecuritiesSessionFilter::apply(QWidget *widget)
{
    Q_UNUSED(widget)
}

void SecuritiesSessionFilter::init(QWidget *widget){Q_UNUSED(widget)}

QString SecuritiesSessionFilter::name() const
{
    return QString();
}
