// SPDX-License-Identifier: MIT
#include <sources/decimaltext_p.h>

namespace sito {

std::optional<DecimalText> DecimalText::read(QStringView text)
{
    DecimalText number;
    qsizetype i = 0;
    const auto isDigit = [&text, &i] { return i < text.size() && text[i] >= u'0' && text[i] <= u'9'; };
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+'))
        number.negative = text[i++] == u'-';
    bool hasDigit = false;
    bool hasPoint = false;
    for (; isDigit() || (i < text.size() && text[i] == u'.' && !hasPoint); ++i) {
        if (text[i] == u'.') {
            hasPoint = true;
            continue;
        }
        hasDigit = true;
        if (hasPoint)
            ++number.scale;
        if (text[i] != u'0' || !number.digits.isEmpty())
            number.digits += text[i];
    }
    if (!hasDigit)
        return std::nullopt;
    if (i < text.size()) {
        if (text[i] != u'e' && text[i] != u'E')
            return std::nullopt;
        const QStringView exponent = text.sliced(i + 1);
        bool ok = false;
        number.scale -= exponent.toInt(&ok);
        if (!ok || exponent.front().isSpace() || exponent.back().isSpace())
            return std::nullopt;
    }
    while (number.digits.endsWith(u'0')) {
        number.digits.chop(1);
        --number.scale;
    }
    return number;
}

} // namespace sito
