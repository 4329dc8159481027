// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingscolortext_p.h>

#include <hostkit/settings/settingsnumbertext_p.h>
#include <hostkit/settings/settingstexts_p.h>

#include <QColor>
#include <QRegularExpression>
#include <QRgba64>
#include <QStringList>

#include <algorithm>
#include <array>
#include <span>

namespace sito::SettingsText {

using namespace Qt::StringLiterals;

namespace {

template <typename... Numbers>
QString call(QLatin1StringView name, Numbers... numbers)
{
    return name + u'(' + QStringList{numberText(numbers)...}.join(u", "_s) + u')';
}

bool areFractions(std::span<const float> numbers)
{
    return std::all_of(numbers.begin(), numbers.end(),
                       [](float number) { return number >= 0 && number <= 1; });
}

/// The colour that call() wrote; an invalid one when its numbers are out of range.
std::optional<QColor> called(const QString &name, const QString &numbers, QString *problem)
{
    if (name == u"rgba64"_s) {
        const auto n = numbersOf<ushort, 4>(numbers, problem);
        return n ? std::optional(QColor(QRgba64::fromRgba64((*n)[0], (*n)[1], (*n)[2], (*n)[3])))
                 : std::nullopt;
    }
    if (name == u"cmyk"_s) {
        const auto n = numbersOf<float, 5>(numbers, problem);
        if (!n)
            return std::nullopt;
        return areFractions(*n) ? QColor::fromCmykF((*n)[0], (*n)[1], (*n)[2], (*n)[3], (*n)[4]) : QColor();
    }
    const auto n = numbersOf<float, 4>(numbers, problem);
    if (!n)
        return std::nullopt;
    if (name == u"rgb"_s)
        return QColor::fromRgbF((*n)[0], (*n)[1], (*n)[2], (*n)[3]).convertTo(QColor::ExtendedRgb);
    const bool noHue = (*n)[0] == -1;
    if (!areFractions(std::span(*n).subspan(noHue ? 1 : 0)))
        return QColor();
    const auto make = name == u"hsv"_s ? &QColor::fromHsvF : &QColor::fromHslF;
    return make((*n)[0], (*n)[1], (*n)[2], (*n)[3]);
}

} // namespace

QString colorText(const QColor &color)
{
    switch (color.spec()) {
    case QColor::Invalid:
        return {};
    case QColor::Rgb: {
        QString name = color.name(color.alpha() == 255 ? QColor::HexRgb : QColor::HexArgb);
        if (QColor(name) == color)
            return name;
        const QRgba64 exact = color.rgba64();
        return call("rgba64"_L1, exact.red(), exact.green(), exact.blue(), exact.alpha());
    }
    case QColor::Hsv:
        return call("hsv"_L1, color.hsvHueF(), color.hsvSaturationF(), color.valueF(), color.alphaF());
    case QColor::Hsl:
        return call("hsl"_L1, color.hslHueF(), color.hslSaturationF(), color.lightnessF(), color.alphaF());
    case QColor::Cmyk:
        return call("cmyk"_L1, color.cyanF(), color.magentaF(), color.yellowF(), color.blackF(),
                    color.alphaF());
    case QColor::ExtendedRgb:
        return call("rgb"_L1, color.redF(), color.greenF(), color.blueF(), color.alphaF());
    }
    return {};
}

std::optional<QColor> colorOf(const QString &text, QString *problem)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return QColor();
    static const QRegularExpression form(u"^(rgba64|hsv|hsl|cmyk|rgb)\\((.*)\\)$"_s);
    const QRegularExpressionMatch match = form.match(trimmed);
    std::optional<QColor> color = QColor();
    if (match.hasMatch())
        color = called(match.captured(1), match.captured(2), problem);
    else if (QColor::isValidColorName(trimmed))
        color = QColor(trimmed);
    if (!color || color->isValid())
        return color;
    *problem = Texts::tr("Цвет пишется как #RRGGBB, #AARRGGBB или по-английски: red");
    return std::nullopt;
}

} // namespace sito::SettingsText
