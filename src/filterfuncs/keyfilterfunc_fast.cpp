// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc_fast.h>

#include <filterfuncs/keyruns_p.h>
#include <filterfuncs/keytorecord.h>

#include <QString>

#include <cassert>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

bool isSupported(FieldType::Type type)
{
    switch (type) {
    case FieldType::Int:
    case FieldType::Int64:
    case FieldType::Decimal:
    case FieldType::VarChar:
    case FieldType::DateTime:
        return true;
    default:
        return false;
    }
}

} // namespace

KeyFilterFunc_Fast::KeyFilterFunc_Fast(Table *keyTable, const QList<KeyValue> &keys,
                                       const QList<int> &keyColumns, QObject *parent)
    : FilterFunc(parent), table(keyTable), columns(keyColumns)
{
    setup();
    keyRecords = keyconversion::keysToRecords(table, columns, keys);
    keyRuns = std::make_unique<const KeyRuns>(keyRecords, keyOffset, keyLength);
}

KeyFilterFunc_Fast::~KeyFilterFunc_Fast() = default;

void KeyFilterFunc_Fast::setup()
{
    if (columns.isEmpty())
        throw u"Columns can't be empty"_s;

    keyLength = 0;
    int expected = columns.constFirst();
    for (const int column : std::as_const(columns)) {
        if (column != expected) {
            throw u"Columns must be sequenced: %1(%3) / %2"_s.arg(
                QString::number(column), QString::number(expected), table->columnName(column));
        }
        const ColumnDef *def = table->columnDef(column);
        if (!isSupported(def->type)) {
            throw u"Type '%1' unsuported for %2"_s.arg(FieldType::typeName(def->type),
                                                       table->columnName(column));
        }
        if (def->nullable)
            throw u"Columns can't be nullable %1"_s.arg(table->columnName(column));
        if (keyLength == 0)
            keyOffset = def->offset + sizeof(RowHeader);
        // The database library's duty. Q_ASSERT() would be left out of all builds but those named Debug.
        assert(def->offset % 8 == 0 && def->offset + sizeof(RowHeader) == keyOffset + keyLength);
        keyLength += (def->size + 7) & ~quint64(7);
        ++expected;
    }
}

bool KeyFilterFunc_Fast::filter(const Record &record) const
{
    return keyRuns->contains(record.row() + keyOffset);
}

Record KeyFilterFunc_Fast::keyToRecord(const KeyValue &key) const
{
    return keyconversion::keyToRecord(table, columns, key);
}
