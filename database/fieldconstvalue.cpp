// SPDX-License-Identifier: MIT
#include <data/fieldconstvalue.h>

#include <cstring>

namespace {
// Constants are made while libraries are loaded, in any order. Their definitions must exist before.
constinit const ColumnDef intConstant{FieldType::Int, 0, 0, 0, sizeof(qint32)};
constinit const ColumnDef stringConstant{FieldType::String, 0, 0, 0, sizeof(QString)};
} // namespace

FieldConstValue::FieldConstValue(const QChar &character) : FieldValue(&stringConstant)
{
    *reinterpret_cast<QString *>(data) = QString(character);
    setPresent();
}

FieldConstValue::FieldConstValue(const int &number) : FieldValue(&intConstant)
{
    std::memcpy(data, &number, sizeof number);
    setPresent();
}
