// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace sito {

/// A decimal number as it was written: digits / 10^scale. Without zeros at either end the digits are as few
/// as can be; there are none for zero.
struct DecimalText
{
    bool negative = false;
    QString digits;
    qint64 scale = 0;

    static std::optional<DecimalText> read(QStringView text);
};

} // namespace sito
