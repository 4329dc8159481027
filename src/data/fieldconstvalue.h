// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>
#include <data/fieldvalue.h>

#include <QChar>

/// A present constant, made from a character (a String of that one character) or from an integer (an Int).
///
/// It keeps its own type, whatever the column: Field::compare() orders different types by code, so an Int
/// constant is never equal to an Int64 value of the same number. A filter over an Int64 column that was
/// filled with constants holds other keys than the same filter restored from its text.
///
/// **Threads.** As FieldValue.
///
/// **Cost.** As FieldValue; made without a look at any table.
class DATABASE_EXPORT FieldConstValue : public FieldValue
{
public:
    explicit FieldConstValue(const QChar &character);
    explicit FieldConstValue(const int &number);
    ~FieldConstValue() override = default;
};

/// The fifteen character constants, made when a library that includes this header is loaded and destroyed
/// when it is unloaded, in this order. They belong to database libraries and hosts; libsito never reads them.
///
/// Hidden, so that each library has its own: shared ones would keep the library that was loaded first from
/// ever being unloaded.
Q_DECL_HIDDEN inline const FieldConstValue fieldCharacters[15] = {
    FieldConstValue(QChar(u'D')), FieldConstValue(QChar(u'A')), FieldConstValue(QChar(u'I')),
    FieldConstValue(QChar(u'H')), FieldConstValue(QChar(u'T')), FieldConstValue(QChar(u'O')),
    FieldConstValue(QChar(u'F')), FieldConstValue(QChar(u'C')), FieldConstValue(QChar(u'P')),
    FieldConstValue(QChar(u'A')), FieldConstValue(QChar(u'D')), FieldConstValue(QChar(u'S')),
    FieldConstValue(QChar(u'B')), FieldConstValue(QChar(u'W')), FieldConstValue(QChar(u'A')),
};
