// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsnumbertext_p.h>

#include <hostkit/settings/settingstexts_p.h>

#include <QRegularExpression>

namespace sito::SettingsText {

using namespace Qt::StringLiterals;

namespace {

template <typename Place, typename Size>
QString placeText(Place left, Place top, Size width, Size height)
{
    return numberText(left) + u", "_s + numberText(top) + u", "_s + numberText(width) + u" × "_s +
           numberText(height);
}

} // namespace

QString noNumber(bool whole)
{
    return whole ? Texts::tr("Это не целое число") : Texts::tr("Это не число");
}

QString outOfRange()
{
    return Texts::tr("Число не помещается в тип значения");
}

QString outOfRange(const QString &least, const QString &most)
{
    return Texts::tr("Допустимы целые числа от %1 до %2").arg(least, most);
}

std::optional<QStringList> partsOf(const QString &text, qsizetype count, QString *problem)
{
    static const QRegularExpression separators(u"\\s*[,;×xXхХ]\\s*|\\s+"_s);
    QStringList parts = text.trimmed().split(separators);
    if (parts.size() == count)
        return parts;
    *problem = Texts::tr("Чисел должно быть %1").arg(count);
    return std::nullopt;
}

QString rectText(const QRect &rect)
{
    // QRect::width() and height() overflow where the edges are further apart than an int tells.
    return placeText(rect.left(), rect.top(), qint64(rect.right()) - rect.left() + 1,
                     qint64(rect.bottom()) - rect.top() + 1);
}

QString exactRectText(const QRectF &rect)
{
    return placeText(rect.x(), rect.y(), rect.width(), rect.height());
}

std::optional<QRect> rectOf(const QString &text, QString *problem)
{
    const auto parts = partsOf(text, 4, problem);
    const auto left = parts ? numberOf<int>(parts->at(0), problem) : std::nullopt;
    const auto top = left ? numberOf<int>(parts->at(1), problem) : std::nullopt;
    if (!top)
        return std::nullopt;
    // The size may be beyond an int, the edges may not.
    const auto lastOf = [problem](int first, const QString &size) -> std::optional<int> {
        using Edge = std::numeric_limits<int>;
        const qint64 before = qint64(first) - 1;
        const auto number = numberBetween<qint64>(Edge::min() - before, Edge::max() - before, size, problem);
        return number ? std::optional(int(before + *number)) : std::nullopt;
    };
    const auto right = lastOf(*left, parts->at(2));
    const auto bottom = right ? lastOf(*top, parts->at(3)) : std::nullopt;
    return bottom ? std::optional(QRect(QPoint(*left, *top), QPoint(*right, *bottom))) : std::nullopt;
}

std::optional<QRectF> exactRectOf(const QString &text, QString *problem)
{
    const auto n = numbersOf<qreal, 4>(text, problem);
    return n ? std::optional(QRectF((*n)[0], (*n)[1], (*n)[2], (*n)[3])) : std::nullopt;
}

} // namespace sito::SettingsText
