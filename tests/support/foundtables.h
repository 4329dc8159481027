// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>

#include <algorithm>

/// What the tests over tables as they are found have in common.
namespace foundtables {

/// The statements of the script \a fileName, each of which ends with a semicolon at the end of a line.
inline QStringList statements(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList result{QString()};
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    for (const QString &line : lines) {
        if (line.startsWith(QLatin1String("--")))
            continue;
        result.last() += line + u'\n';
        if (line.endsWith(u';'))
            result.append(QString());
    }
    result.removeLast();
    return result;
}

/// How \a size bytes are shown that begin with \a bytes.
inline QString bytesText(qint64 size, const QByteArray &bytes)
{
    QString text = QStringLiteral("%1 Б").arg(size);
    if (size > 0)
        text +=
            QStringLiteral(": ") + QString::fromLatin1(bytes.first(std::min<qsizetype>(size, 16)).toHex(' '));
    return size > 16 ? text + u'…' : text;
}

} // namespace foundtables
