// SPDX-License-Identifier: MIT
#include <hostkit/text/shortenedtext.h>

namespace sito {

QString shortenedText(QString text, qsizetype longest)
{
    if (text.size() <= longest)
        return text;
    const qsizetype kept = longest - 1;
    const bool cutsPair = kept > 0 && text.at(kept - 1).isHighSurrogate() && text.at(kept).isLowSurrogate();
    text.truncate(cutsPair ? kept - 1 : kept);
    return text += u'…';
}

} // namespace sito
