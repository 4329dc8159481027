// SPDX-License-Identifier: MIT
// How the window is drawn: at the device pixel ratio that QT_SCALE_FACTOR asks for, under which it is run several
// times, and in the colours of a palette that changes.
#include <support/windowtest.h>

#include <hostkit/views/filterpanel.h>
#include <hostkit/views/icons.h>

#include <QImage>
#include <QLabel>
#include <QMap>
#include <QPainter>
#include <QPixmap>
#include <QScopeGuard>
#include <QToolBar>
#include <QToolButton>

#include <cstdlib>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// The pixels of \a pixmap, whatever it says of the size of a point.
QImage pixels(const QPixmap &pixmap)
{
    QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    image.setDevicePixelRatio(1);
    return image;
}

/// \a icon drawn with \a size pixels.
QImage painted(const QIcon &icon, const QSize &size, const QColor &background = Qt::transparent)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(background);
    QPainter painter(&image);
    icon.paint(&painter, QRect(QPoint(0, 0), size));
    painter.end();
    return image.convertToFormat(QImage::Format_ARGB32);
}

/// How steep the changes from one pixel to the next are, all in all.
double steepness(const QImage &image)
{
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 1; x < image.width(); ++x) {
            const double step = qGray(image.pixel(x, y)) - qGray(image.pixel(x - 1, y));
            sum += step * step;
        }
    }
    return sum;
}

/// Whether \a part is somewhere in \a image, on a background that may be shaded a little.
bool contains(const QImage &image, const QImage &part)
{
    const auto isAt = [&](int left, int top) {
        for (int y = 0; y < part.height(); ++y) {
            for (int x = 0; x < part.width(); ++x) {
                if (std::abs(qGray(image.pixel(left + x, top + y)) - qGray(part.pixel(x, y))) > 12)
                    return false;
            }
        }
        return true;
    };
    for (int y = 0; y + part.height() <= image.height(); ++y) {
        for (int x = 0; x + part.width() <= image.width(); ++x) {
            if (isAt(x, y))
                return true;
        }
    }
    return false;
}

/// \a image as it would be, had it been drawn \a ratio times smaller and blown up.
QImage blownUp(const QImage &image, double ratio)
{
    const QSize small = (QSizeF(image.size()) / ratio).toSize();
    return image.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .scaled(image.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

class tst_Drawing : public WindowTest
{
    Q_OBJECT
private:
    static double wantedRatio()
    {
        const QByteArray factor = qgetenv("QT_SCALE_FACTOR");
        return factor.isEmpty() ? 1 : factor.toDouble();
    }
    bool openSample()
    {
        return m_fixture->openSample(u"quotes"_s, {{}, {{false, {u"stock_id"_s}, u"1"_s}}, {}}) &&
               QTest::qWaitFor([this] { return m_fixture->window().areRowsCounted(); });
    }
    QMap<QString, QImage> parts()
    {
        MainWindow &window = m_fixture->window();
        // A message with its icon; the progress is at rest again.
        window.openText(u"/no/such/file"_s);
        if (!m_fixture->settle())
            return {};
        QCoreApplication::processEvents();
        return {
            {u"tool bar"_s, pixels(window.findChild<QToolBar *>()->grab())},
            {u"tables"_s, pixels(window.findChild<QWidget *>(u"tableTree"_s)->grab())},
            {u"header"_s, pixels(window.page()->header()->grab())},
            {u"rows"_s, pixels(window.page()->view()->viewport()->grab())},
            {u"panel"_s, pixels(window.panel()->grab())},
            {u"messages"_s, pixels(window.messageBar()->grab())},
        };
    }

private Q_SLOTS:
    void init()
    {
        WindowTest::init();
        QVERIFY(openSample());
    }

    void windowHasTheRatio()
    {
        QCOMPARE(m_fixture->window().devicePixelRatioF(), wantedRatio());
        QCOMPARE(m_fixture->window().grab().size(),
                 (QSizeF(m_fixture->window().size()) * wantedRatio()).toSize());
    }

    void iconsAreDrawnPixelByPixel()
    {
        const double ratio = m_fixture->window().devicePixelRatioF();
        int count = 0;
        for (const QToolButton *button : m_fixture->window().findChildren<QToolButton *>()) {
            if (button->icon().isNull() || !button->isVisible())
                continue;
            ++count;
            const QPixmap pixmap = button->icon().pixmap(button->iconSize(), ratio);
            const QSize wanted = (QSizeF(button->iconSize()) * ratio).toSize();

            QVERIFY2(qFuzzyCompare(pixmap.devicePixelRatio(), ratio), qPrintable(button->objectName()));
            QVERIFY2(pixmap.size() == wanted, qPrintable(button->objectName()));
            if (button->isEnabled() && button->parentWidget() == m_fixture->window().findChild<QToolBar *>())
                QCOMPARE(pixels(pixmap), painted(button->icon(), wanted));
        }
        QVERIFY(count > 8);
    }

    void pixmapsOfLabelsHaveTheRatio()
    {
        QVERIFY(!parts().isEmpty());
        const double ratio = m_fixture->window().devicePixelRatioF();
        int count = 0;
        for (const QLabel *label : m_fixture->window().findChildren<QLabel *>()) {
            const QPixmap pixmap = label->pixmap();
            if (pixmap.isNull() || !label->isVisible())
                continue;
            ++count;
            QCOMPARE(pixmap.devicePixelRatio(), ratio);
            QCOMPARE(pixels(pixmap), painted(Icons::icon(Icons::Shape::Warning), pixmap.size()));
        }
        QVERIFY(count > 0);
    }

    void buttonsAreFinerThanAPoint()
    {
        const double ratio = m_fixture->window().devicePixelRatioF();
        if (ratio == 1)
            QSKIP("a pixel is a point");
        FilterHeader *header = m_fixture->window().page()->header();
        const QImage funnel = pixels(header->viewport()->grab(header->filterButtonRect(1)));
        const double left = steepness(blownUp(funnel, ratio)) / steepness(funnel);
        // Of one that was blown up already, half or more is left.
        QVERIFY2(left < 0.35, qPrintable(QString::number(left)));
        for (QToolButton *button :
             m_fixture->window().findChild<QToolBar *>()->findChildren<QToolButton *>()) {
            if (!button->isVisible() || !button->isEnabled() || button->icon().isNull())
                continue;
            const QImage image = pixels(button->grab());
            const QImage icon = painted(button->icon(), (QSizeF(button->iconSize()) * ratio).toSize(),
                                        image.pixelColor(2, 2));
            QVERIFY2(contains(image, icon), qPrintable(button->text()));
        }
    }

    void isRedrawnInNewColours_data()
    {
        QTest::addColumn<Look::Scheme>("before");
        QTest::addColumn<Look::Scheme>("after");
        QTest::newRow("light to dark") << Look::Scheme::Light << Look::Scheme::Dark;
        QTest::newRow("dark to light") << Look::Scheme::Dark << Look::Scheme::Light;
    }
    /// A window that saw the change looks as one that was made after it.
    void isRedrawnInNewColours()
    {
        QFETCH(const Look::Scheme, before);
        QFETCH(const Look::Scheme, after);
        Look::apply(before);
        m_fixture->makeWindow();
        QVERIFY(openSample());
        const QMap<QString, QImage> old = parts();
        QCOMPARE(old.size(), 6);

        Look::apply(after);
        const QMap<QString, QImage> changed = parts();
        m_fixture->makeWindow();
        QVERIFY(openSample());
        const QMap<QString, QImage> made = parts();

        for (auto part = changed.begin(); part != changed.end(); ++part) {
            QVERIFY2(part.value() != old.value(part.key()), qPrintable(part.key()));
            QVERIFY2(part.value() == made.value(part.key()), qPrintable(part.key()));
        }
    }

    /// The same where the program does not choose the palette.
    void isRedrawnInThePaletteOfTheSystem()
    {
        const auto restore = qScopeGuard([] { QApplication::setPalette(QPalette()); });
        const QMap<QString, QImage> old = parts();
        QPalette palette(QColor(0x30, 0x10, 0x50));
        palette.setColor(QPalette::Highlight, QColor(0xff, 0x80, 0x00));

        QApplication::setPalette(palette);
        const QMap<QString, QImage> changed = parts();
        m_fixture->makeWindow();
        QVERIFY(openSample());
        const QMap<QString, QImage> made = parts();

        QCOMPARE(changed.size(), 6);
        for (auto part = changed.begin(); part != changed.end(); ++part) {
            QVERIFY2(part.value() != old.value(part.key()), qPrintable(part.key()));
            QVERIFY2(part.value() == made.value(part.key()), qPrintable(part.key()));
        }
    }
};

QTEST_MAIN(tst_Drawing)
#include "tst_drawing.moc"
