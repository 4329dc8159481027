// SPDX-License-Identifier: MIT
#include <browser/parts/printable.h>

namespace sito {

QString printable(QString text)
{
    for (QChar &character : text) {
        const QChar::Category category = character.category();
        const bool isUnsafe = category == QChar::Other_Control || category == QChar::Separator_Line ||
                              category == QChar::Separator_Paragraph;
        if (isUnsafe)
            character = QChar::ReplacementCharacter;
    }
    return text;
}

} // namespace sito
