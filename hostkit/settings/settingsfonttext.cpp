// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsfonttext_p.h>

#include <hostkit/settings/settingstexts_p.h>

#include <QFont>
#include <QStringList>

#include <algorithm>

namespace sito::SettingsText {

using namespace Qt::StringLiterals;

namespace {

/// Whether QFont reads \a text without a complaint.
bool isFont(const QString &text)
{
    const QStringList fields = text.split(u',');
    if (fields.first().trimmed().isEmpty())
        return false;
    if (fields.size() <= 2)
        return true;
    const qsizetype most = std::max<qsizetype>(QFont().toString().count(u',') + 1, 17);
    const int weight = fields.value(4).toInt();
    return fields.size() >= 10 && fields.size() <= most && weight >= 1 && weight <= 1000;
}

/// Applies to \a old what \a text says differently from the text of \a old.
std::optional<QFont> changed(const QFont &old, const QString &text)
{
    // Names with commas shift the fields: then only the short form is read.
    const bool plain = !old.family().contains(u',') && !old.styleName().contains(u',');
    QFont now = old;
    if (!isFont(text) || (!plain && text.count(u',') > 1) || !now.fromString(text))
        return std::nullopt;
    QFont before = old;
    if (plain && isFont(old.toString()))
        before.fromString(old.toString());

    QFont result = old;
    const auto take = [&](auto get, auto set) {
        if ((now.*get)() != (before.*get)())
            (result.*set)((now.*get)());
    };
    if (now.family() != before.family())
        result.setFamilies({now.family()});
    if (now.pointSizeF() != before.pointSizeF() && now.pointSizeF() > 0)
        result.setPointSizeF(now.pointSizeF());
    if (now.pixelSize() != before.pixelSize() && now.pixelSize() > 0)
        result.setPixelSize(now.pixelSize());
    if (now.styleHint() != before.styleHint() || now.styleStrategy() != before.styleStrategy())
        result.setStyleHint(now.styleHint(), now.styleStrategy());
    take(&QFont::weight, &QFont::setWeight);
    take(&QFont::style, &QFont::setStyle);
    take(&QFont::underline, &QFont::setUnderline);
    take(&QFont::strikeOut, &QFont::setStrikeOut);
    take(&QFont::fixedPitch, &QFont::setFixedPitch);
    take(&QFont::capitalization, &QFont::setCapitalization);
    if (now.letterSpacingType() != before.letterSpacingType() ||
        now.letterSpacing() != before.letterSpacing())
        result.setLetterSpacing(now.letterSpacingType(), now.letterSpacing());
    take(&QFont::wordSpacing, &QFont::setWordSpacing);
    take(&QFont::stretch, &QFont::setStretch);
    take(&QFont::styleName, &QFont::setStyleName);
    return result;
}

} // namespace

QString fontText(const QFont &font)
{
    return font.toString();
}

std::optional<QFont> fontOf(const QFont &old, const QString &text, QString *problem)
{
    auto font = changed(old, text);
    if (!font)
        *problem = Texts::tr("Шрифт пишется так: семейство,размер - или выбирается кнопкой справа");
    return font;
}

} // namespace sito::SettingsText
