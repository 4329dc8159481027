// SPDX-License-Identifier: MIT
#include <sources/bytestext_p.h>

#include <QCoreApplication>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// The length of the valid UTF-8 character that \a bytes begin with, or 0.
qsizetype characterSize(QByteArrayView bytes)
{
    for (qsizetype size = 1; size <= 4 && size <= bytes.size(); ++size) {
        if (QString::fromUtf8(bytes.first(size)).toUtf8() == bytes.first(size))
            return size;
    }
    return 0;
}

} // namespace

QString BytesStart::text() const
{
    QString result = size == 1 ? QCoreApplication::translate("BytesText", "1 Б")
                               : QCoreApplication::translate("BytesText", "%1 Б").arg(size);
    if (size > 0)
        result +=
            u": "_s + QString::fromLatin1(bytes.first(std::min<qsizetype>(bytes.size(), shown)).toHex(' '));
    if (size > shown)
        result += u'…';
    return result;
}

QString textOfUtf8(QByteArrayView bytes)
{
    QString text;
    for (QByteArrayView rest = bytes; !rest.isEmpty();) {
        const qsizetype size = characterSize(rest);
        if (size > 0)
            text += QString::fromUtf8(rest.first(size));
        else
            text += u"\\x"_s + QString::fromLatin1(rest.first(1).toByteArray().toHex().toUpper());
        rest = rest.sliced(size > 0 ? size : 1);
    }
    return text;
}

} // namespace sito
