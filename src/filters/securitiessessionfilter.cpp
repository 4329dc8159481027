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
#include <utility>

using namespace Qt::StringLiterals;

namespace {
int toIntFromOther(const Field &field)
{
    switch (field.def->type) {
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

/// An id as a 32-bit integer. Throws Exception for a present value of a type that holds no id.
inline int toInt(const Field &field)
{
    if (!field.isPresent())
        return 0;
    return field.def->type == FieldType::Int ? field.value<qint32>() : toIntFromOther(field);
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

/// What the rows so far say about a security.
struct Latest
{
    /// Its highest session, at least 0.
    int session = 0;
    /// The other security whose row last followed a row of this one.
    std::pair<const int, Latest> *follower = nullptr;
};

/// By security.
using Sessions = std::map<int, Latest>;

Sessions latestSessions(const Table &table, int stockColumn, int sessionColumn)
{
    Sessions sessions;
    // Tables are usually written security by security, or day by day with the securities in the same order.
    // So the security of most rows is that of the row before, or the one that followed it on the day before.
    // The map is searched for the others.
    Sessions::value_type *last = nullptr;
    const IndexList *index = table.masterIndex();
    const IndexIterator end = index->end(); // a virtual call
    for (IndexIterator row = index->begin(); row != end; ++row) {
        const int stock = toInt(table.dataPtr(*row, stockColumn));
        const int session = toInt(table.dataPtr(*row, sessionColumn));
        if (!last || last->first != stock) {
            Sessions::value_type *next = last ? last->second.follower : nullptr;
            if (!next || next->first != stock) {
                next = &*sessions.try_emplace(stock).first;
                if (last)
                    last->second.follower = next;
            }
            last = next;
        }
        if (last->second.session < session)
            last->second.session = session;
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
    for (const auto &[stock, latest] : latestSessions(sessions, stockColumn, sessionColumn)) {
        KeyValue key;
        key.reserve(2);
        key.append(FieldConstValue(stock));
        key.append(FieldConstValue(latest.session));
        addExcludedKey(key);
    }
}

SecuritiesSessionFilter::~SecuritiesSessionFilter() = default;

QWidget *SecuritiesSessionFilter::createFilterWidget(QWidget *)
{
    return nullptr;
}

void SecuritiesSessionFilter::apply(QWidget *) {}

void SecuritiesSessionFilter::init(QWidget *) {}

QString SecuritiesSessionFilter::name() const
{
    return QString();
}
