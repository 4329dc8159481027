// SPDX-License-Identifier: MIT
#pragma once

#include <sources/cellproblem_p.h>

#include <QStringView>

namespace sito {

/// Reads "2017-01-31", "2017-01-31 14:30:00.125" and, where \a isServers, "0044-03-15 BC"; elsewhere also "T"
/// in the place of the blank, a time without seconds, and "Z" behind it. \a milliseconds count from 1970 in
/// UTC; they are set unless the text is no date or too fine.
CellProblem readIsoDate(QStringView text, bool isServers, qint64 &milliseconds);

} // namespace sito
