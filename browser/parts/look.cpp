// SPDX-License-Identifier: MIT
#include <browser/parts/look.h>

#include <QApplication>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

Look::Scheme applied = Look::Scheme::System;

struct Colours
{
    QRgb window, windowText, base, alternateBase, button, mid, light, midlight, dark, shadow, toolTipBase,
        placeholder, disabledText, highlight, highlightedText, link;
};

constexpr Colours lightColours = {0xfff3f3f2, 0xff1d1f21, 0xffffffff, 0xfff6f8fa, 0xffececeb, 0xffb8b8b6,
                                  0xffffffff, 0xfff7f7f6, 0xff9d9d9b, 0xff6f6f6d, 0xfffffbe6, 0xff6c7073,
                                  0xff8a8d90, 0xff1f6f8b, 0xffffffff, 0xff1a5fb4};
constexpr Colours darkColours = {0xff2b2d30, 0xffe6e7e8, 0xff1f2123, 0xff26292b, 0xff373a3d, 0xff46494c,
                                 0xff54585c, 0xff45484b, 0xff1a1b1d, 0xff0d0e0f, 0xff3b3e41, 0xff9aa0a5,
                                 0xff7f8488, 0xff3d9cbd, 0xff0d1114, 0xff78b7f0};

QPalette paletteOf(const Colours &colours)
{
    QPalette palette;
    const auto set = [&palette](QPalette::ColorRole role, QRgb colour) {
        palette.setColor(role, QColor(colour));
    };
    set(QPalette::Window, colours.window);
    set(QPalette::WindowText, colours.windowText);
    set(QPalette::Base, colours.base);
    set(QPalette::AlternateBase, colours.alternateBase);
    set(QPalette::Text, colours.windowText);
    set(QPalette::Button, colours.button);
    set(QPalette::ButtonText, colours.windowText);
    set(QPalette::BrightText, 0xffffffff);
    set(QPalette::Light, colours.light);
    set(QPalette::Midlight, colours.midlight);
    set(QPalette::Mid, colours.mid);
    set(QPalette::Dark, colours.dark);
    set(QPalette::Shadow, colours.shadow);
    set(QPalette::ToolTipBase, colours.toolTipBase);
    set(QPalette::ToolTipText, colours.windowText);
    set(QPalette::PlaceholderText, colours.placeholder);
    set(QPalette::Highlight, colours.highlight);
    set(QPalette::HighlightedText, colours.highlightedText);
    set(QPalette::Link, colours.link);
    set(QPalette::LinkVisited, colours.link);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::PlaceholderText})
        palette.setColor(QPalette::Disabled, role, QColor(colours.disabledText));
    // Styles draw it below disabled text, shifted by one pixel.
    palette.setColor(QPalette::Disabled, QPalette::Light, QColor(colours.window));
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(colours.mid));
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, QColor(colours.disabledText));
    return palette;
}

} // namespace

QStringList Look::names()
{
    return {u"system"_s, u"light"_s, u"dark"_s};
}

QString Look::name(Scheme scheme)
{
    return names().at(qsizetype(scheme));
}

Look::Scheme Look::fromName(const QString &name)
{
    return Scheme(std::max<qsizetype>(0, names().indexOf(name)));
}

void Look::apply(Scheme scheme)
{
    // Initialised before any change.
    static const QString systemStyle = QApplication::style()->name();
    if (scheme == applied)
        return;
    applied = scheme;
    // Other styles do not take all their colours from the palette.
    const QString style = scheme == Scheme::System ? systemStyle : u"fusion"_s;
    if (QApplication::style()->name() != style)
        QApplication::setStyle(QStyleFactory::create(style));
    if (scheme == Scheme::System)
        QApplication::setPalette(QPalette());
    else
        QApplication::setPalette(paletteOf(scheme == Scheme::Light ? lightColours : darkColours));
}

Look::Scheme Look::current()
{
    return applied;
}

} // namespace sito
