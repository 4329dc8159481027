// SPDX-License-Identifier: MIT
#pragma once

#include <data/datetime.h>
#include <data/decimal.h>
#include <data/xdecimal.h>

#include <QByteArray>
#include <QString>

#include <variant>

/// A value to be stored in a cell. std::monostate stands for an absent value; the others must have the
/// column's type: qint32 for Int, qint64 for Int64, double, decimal, xdecimal, datetime, QString for
/// VarChar and String, QByteArray of exactly the column's width for Raw and Block. Nothing is converted.
using CellValue =
    std::variant<std::monostate, qint32, qint64, double, decimal, xdecimal, datetime, QString, QByteArray>;
