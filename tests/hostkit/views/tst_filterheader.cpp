// SPDX-License-Identifier: MIT
#include <hostkit/views/filterheader.h>

#include <QAccessible>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QImage>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTableView>
#include <QTest>
#include <QToolTip>
#include <QTranslator>

#include <memory>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// Answers for the two texts of the header.
class ShoutingTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        if (qstrcmp(context, "sito::FilterHeader") != 0)
            return QString();
        return QString::fromUtf8(source).replace(u"фильтр"_s, u"FILTER"_s);
    }
};

/// How many pixels of \a image have about the colour \a colour.
int count(const QImage &image, const QColor &colour)
{
    int result = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (qAbs(pixel.red() - colour.red()) + qAbs(pixel.green() - colour.green()) +
                    qAbs(pixel.blue() - colour.blue()) <
                12)
                ++result;
        }
    }
    return result;
}

} // namespace

class tst_FilterHeader : public QObject
{
    Q_OBJECT
private:
    QPoint buttonCentre(int section) const { return m_header->filterButtonRect(section).center(); }
    QPoint titlePoint(int section) const
    {
        return {m_header->sectionViewportPosition(section) + 15, m_header->height() / 2};
    }
    QImage buttonImage(int section) const
    {
        return m_header->viewport()->grab(m_header->filterButtonRect(section)).toImage();
    }

    std::unique_ptr<QStandardItemModel> m_model;
    std::unique_ptr<QTableView> m_view;
    FilterHeader *m_header = nullptr;

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_model = std::make_unique<QStandardItemModel>(5, 4);
        m_model->setHorizontalHeaderLabels({u"stock"_s, u"session"_s, u"price"_s, u"volume"_s});
        m_view = std::make_unique<QTableView>();
        m_header = new FilterHeader(m_view.get());
        m_view->setHorizontalHeader(m_header);
        m_view->setModel(m_model.get());
        m_view->resize(640, 300);
        for (int section = 0; section < 4; ++section)
            m_view->setColumnWidth(section, 130);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    }
    void cleanup()
    {
        m_view.reset();
        m_model.reset();
    }

    void asksForTheFilterOfTheButtonThatIsClicked()
    {
        QSignalSpy requests(m_header, &FilterHeader::filterRequested);
        QSignalSpy sorts(m_header, &FilterHeader::sortRequested);

        QTest::mouseClick(m_header->viewport(), Qt::LeftButton, {}, buttonCentre(2));

        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests.at(0).at(0).toInt(), 2);
        const QRect button = m_header->filterButtonRect(2);
        QCOMPARE(requests.at(0).at(1).toRect(),
                 QRect(m_header->viewport()->mapToGlobal(button.topLeft()), button.size()));
        QCOMPARE(sorts.size(), 0);
        QCOMPARE(m_header->popupAnchor(2)->geometry(), button);
    }

    void asksForNothingWhenTheMouseLeavesTheButton()
    {
        QSignalSpy requests(m_header, &FilterHeader::filterRequested);
        QSignalSpy sorts(m_header, &FilterHeader::sortRequested);

        QTest::mousePress(m_header->viewport(), Qt::LeftButton, {}, buttonCentre(1));
        QTest::mouseMove(m_header->viewport(), titlePoint(1));
        QTest::mouseRelease(m_header->viewport(), Qt::LeftButton, {}, titlePoint(1));

        QCOMPARE(requests.size(), 0);
        QCOMPARE(sorts.size(), 0);
    }

    void takesBothPressesOfADoubleClickOnTheButton()
    {
        QSignalSpy requests(m_header, &FilterHeader::filterRequested);

        QTest::mouseClick(m_header->viewport(), Qt::LeftButton, {}, buttonCentre(1));
        QTest::mouseDClick(m_header->viewport(), Qt::LeftButton, {}, buttonCentre(1));
        QTest::mouseRelease(m_header->viewport(), Qt::LeftButton, {}, buttonCentre(1));

        QCOMPARE(requests.size(), 2);
    }

    void asksForSortingElsewhere_data()
    {
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::newRow("plain") << Qt::KeyboardModifiers(Qt::NoModifier);
        QTest::newRow("shift") << Qt::KeyboardModifiers(Qt::ShiftModifier);
        QTest::newRow("control") << Qt::KeyboardModifiers(Qt::ControlModifier);
    }
    void asksForSortingElsewhere()
    {
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QSignalSpy requests(m_header, &FilterHeader::filterRequested);
        QSignalSpy sorts(m_header, &FilterHeader::sortRequested);

        QTest::mouseClick(m_header->viewport(), Qt::LeftButton, modifiers, titlePoint(1));

        QCOMPARE(sorts.size(), 1);
        QCOMPARE(sorts.at(0).at(0).toInt(), 1);
        QCOMPARE(sorts.at(0).at(1).value<Qt::KeyboardModifiers>(), modifiers);
        QCOMPARE(requests.size(), 0);
    }

    void movesTheSectionThatIsDragged()
    {
        QSignalSpy sorts(m_header, &FilterHeader::sortRequested);
        QWidget *viewport = m_header->viewport();

        QTest::mousePress(viewport, Qt::LeftButton, {}, titlePoint(0));
        QTest::mouseMove(viewport, titlePoint(1));
        QTest::mouseMove(viewport, titlePoint(2) + QPoint(60, 0));
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, titlePoint(2) + QPoint(60, 0));

        QCOMPARE(m_header->visualIndex(0), 2);
        QCOMPARE(sorts.size(), 0);
    }

    void followsMovedHiddenAndNarrowSections()
    {
        m_header->moveSection(0, 3);
        m_header->hideSection(1);
        m_header->setMinimumSectionSize(8);
        m_header->resizeSection(3, 12);

        QCOMPARE(m_header->filterButtonRect(1), QRect());
        QCOMPARE(m_header->filterButtonRect(3), QRect());
        QCOMPARE(m_header->filterButtonRect(7), QRect());
        QVERIFY(m_header->filterButtonRect(0).left() > m_header->filterButtonRect(2).left());
        QSignalSpy requests(m_header, &FilterHeader::filterRequested);
        QTest::mouseClick(m_header->viewport(), Qt::LeftButton, {}, buttonCentre(0));
        QCOMPARE(requests.at(0).at(0).toInt(), 0);
    }

    void leavesTheBordersToResizing()
    {
        const QRect button = m_header->filterButtonRect(1);
        const int border = m_header->sectionViewportPosition(2);
        QWidget *viewport = m_header->viewport();
        QVERIFY(button.right() < border - 1);

        QTest::mousePress(viewport, Qt::LeftButton, {}, QPoint(border - 1, 5));
        QTest::mouseMove(viewport, QPoint(border + 20, 5));
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, QPoint(border + 20, 5));

        QVERIFY(m_header->sectionSize(1) > 145);
    }

    void asksByTheKeyboardForTheCurrentColumn()
    {
        QSignalSpy requests(m_header, &FilterHeader::filterRequested);
        QSignalSpy sorts(m_header, &FilterHeader::sortRequested);
        m_view->setCurrentIndex(QModelIndex());
        QTest::keyClick(m_view.get(), Qt::Key_Down, Qt::AltModifier | Qt::ControlModifier);
        QCOMPARE(requests.size(), 0); // no current cell
        m_view->setCurrentIndex(m_model->index(1, 3));

        QTest::keyClick(m_view.get(), Qt::Key_Down, Qt::AltModifier);
        QTest::keyClick(m_view.get(), Qt::Key_Up, Qt::AltModifier | Qt::ShiftModifier);

        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests.at(0).at(0).toInt(), 3);
        QCOMPARE(sorts.size(), 1);
        QCOMPARE(sorts.at(0).at(0).toInt(), 3);
        QCOMPARE(sorts.at(0).at(1).value<Qt::KeyboardModifiers>(), Qt::KeyboardModifiers(Qt::ShiftModifier));
        QCOMPARE(m_view->currentIndex(), m_model->index(1, 3));
    }

    void placesThePopupWithinTheHeader()
    {
        for (int section = 0; section < 4; ++section)
            m_view->setColumnWidth(section, 400);
        QSignalSpy requests(m_header, &FilterHeader::filterRequested);

        m_view->setCurrentIndex(m_model->index(0, 0));
        QTest::keyClick(m_view.get(), Qt::Key_Down, Qt::AltModifier);
        m_header->requestFilter(3); // scrolled out of sight
        m_header->requestFilter(9);

        QCOMPARE(requests.size(), 2);
        const QRect header(m_header->viewport()->mapToGlobal(QPoint(0, 0)), m_header->viewport()->size());
        QVERIFY(header.contains(requests.at(0).at(1).toRect()));
        QVERIFY(header.contains(requests.at(1).at(1).toRect()));
    }

    void asksForAMenu()
    {
        QSignalSpy menus(m_header, &FilterHeader::menuRequested);

        for (const QPoint &position : {titlePoint(2), QPoint(610, 5)}) {
            QContextMenuEvent event(QContextMenuEvent::Mouse, position,
                                    m_header->viewport()->mapToGlobal(position));
            QCoreApplication::sendEvent(m_header->viewport(), &event);
        }

        QCOMPARE(menus.size(), 2);
        QCOMPARE(menus.at(0).at(0).toInt(), 2);
        QCOMPARE(menus.at(0).at(1).toPoint(), m_header->viewport()->mapToGlobal(titlePoint(2)));
        QCOMPARE(menus.at(1).at(0).toInt(), -1);
    }

    void fillsTheFunnelInTheHighlightColourWhileFiltered()
    {
        const QColor highlight = m_header->palette().color(QPalette::Active, QPalette::Highlight);
        QCOMPARE(count(buttonImage(1), highlight), 0);

        m_header->setFilteredSections({1, 3});

        QVERIFY(m_header->isFiltered(1));
        QVERIFY(!m_header->isFiltered(2));
        const int marked = count(buttonImage(1), highlight);
        QVERIFY2(marked > buttonImage(1).width() * buttonImage(1).height() / 12,
                 qPrintable(QString::number(marked)));
        QCOMPARE(count(buttonImage(2), highlight), 0);
        m_header->setFilteredSections({});
        QCOMPARE(count(buttonImage(1), highlight), 0);
    }

    void followsThePalette()
    {
        const QImage before = buttonImage(1);
        QPalette dark;
        dark.setColor(QPalette::Button, Qt::black);
        dark.setColor(QPalette::Window, Qt::black);
        dark.setColor(QPalette::ButtonText, Qt::white);
        dark.setColor(QPalette::Highlight, Qt::magenta);
        const QPalette old = QApplication::palette();

        QApplication::setPalette(dark);
        m_header->setFilteredSections({2});
        QTRY_COMPARE(m_header->palette().color(QPalette::Button), QColor(Qt::black));
        const QImage after = buttonImage(1);
        const int highlighted = count(buttonImage(2), Qt::magenta);
        QApplication::setPalette(old);

        QVERIFY(before.pixelColor(0, 0).lightness() > 128);
        QVERIFY(after.pixelColor(0, 0).lightness() < 128);
        QVERIFY(highlighted > 10);
        QTRY_COMPARE(buttonImage(1), before);
    }

    void answersToHoverAndPress()
    {
        const QImage idle = buttonImage(2);

        QTest::mouseMove(m_header->viewport(), buttonCentre(2));
        const QImage hovered = buttonImage(2);
        QTest::mousePress(m_header->viewport(), Qt::LeftButton, {}, buttonCentre(2));
        const QImage pressed = buttonImage(2);
        QTest::mouseRelease(m_header->viewport(), Qt::LeftButton, {}, buttonCentre(2));
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(m_header->viewport(), &leave);
        const QImage left = buttonImage(2);

        QVERIFY(hovered != idle);
        QVERIFY(pressed != hovered);
        QCOMPARE(left, idle);
    }

    void showsTheSortKeysWithTheirNumbers()
    {
        const auto image = [this](int section) {
            return m_header->viewport()
                ->grab(QRect(m_header->sectionViewportPosition(section), 0, 130, m_header->height()))
                .toImage();
        };
        const QImage none = image(1);

        m_header->setSortMarks({{1, Qt::AscendingOrder}});
        const QImage ascending = image(1);
        m_header->setSortMarks({{1, Qt::DescendingOrder}});
        const QImage descending = image(1);
        m_header->setSortMarks({{0, Qt::AscendingOrder}, {1, Qt::DescendingOrder}});
        const QImage second = image(1);

        QVERIFY(ascending != none);
        QVERIFY(descending != ascending);
        QVERIFY(second != descending);
        QCOMPARE(m_header->sortMarks().size(), 2);
    }

    void elidesTitlesInNarrowSections()
    {
        m_model->setHeaderData(1, Qt::Horizontal, u"WWWWWWWWWWWWWWWWWWWWWWWWWW"_s);
        m_header->setFilteredSections({1});
        const QColor text = m_header->palette().color(QPalette::Active, QPalette::ButtonText);

        const QImage image = buttonImage(1);

        QCOMPARE(count(image, text), 0);
        QVERIFY(m_header->sectionSizeHint(1) > 200);
    }

    void isSharpAtAnyScale()
    {
        QImage small(130, 30, QImage::Format_ARGB32_Premultiplied);
        QImage large(260, 60, QImage::Format_ARGB32_Premultiplied);
        large.setDevicePixelRatio(2);
        m_header->setFilteredSections({0});
        for (QImage *image : {&small, &large}) {
            image->fill(Qt::white);
            m_header->viewport()->render(image, {}, QRect(0, 0, 130, 30));
        }

        // Drawn again, not scaled up.
        QVERIFY(large != small.scaled(260, 60));
    }

    void tellsAssistiveToolsWhatItShows()
    {
        m_header->setFilteredSections({2});
        m_header->hideSection(1);
        m_header->moveSection(m_header->visualIndex(3), 0);

        QAccessibleInterface *header = QAccessible::queryAccessibleInterface(m_header);

        QVERIFY(header);
        QStringList names;
        for (int i = 0; i < header->childCount(); ++i) {
            QAccessibleInterface *button = header->child(i);
            QVERIFY(button->isValid());
            QCOMPARE(button->role(), QAccessible::ButtonMenu);
            QCOMPARE(button->parent(), header);
            QCOMPARE(header->indexOfChild(button), i);
            QCOMPARE(bool(button->state().checked), button->text(QAccessible::Name).startsWith(u"price"_s));
            const QPoint centre = button->rect().center();
            QCOMPARE(header->childAt(centre.x(), centre.y()), button);
            names.append(button->text(QAccessible::Name));
        }
        QCOMPARE(names, (QStringList{u"volume, фильтр"_s, u"stock, фильтр"_s, u"price, фильтр включён"_s}));
        QCOMPARE(header->child(3), nullptr);
        QCOMPARE(header->child(-1), nullptr);

        QSignalSpy requests(m_header, &FilterHeader::filterRequested);
        header->child(0)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests.at(0).at(0).toInt(), 3);
    }

    void showsTheTextOfTheButtonAsToolTip()
    {
        // Said by the platform plugin when a window is shown above others.
        QTest::ignoreMessage(QtWarningMsg, "This plugin does not support raise()");
        m_header->setFilteredSections({2});
        QHelpEvent event(QEvent::ToolTip, buttonCentre(2),
                         m_header->viewport()->mapToGlobal(buttonCentre(2)));

        QCoreApplication::sendEvent(m_header->viewport(), &event);

        QCOMPARE(QToolTip::text(), u"price, фильтр включён"_s);
        QToolTip::hideText();
    }

    void speaksTheLanguageOfTheMoment()
    {
        ShoutingTranslator translator;

        QCoreApplication::installTranslator(&translator);
        const QString text = m_header->accessibleText(0);
        QCoreApplication::removeTranslator(&translator);

        QCOMPARE(text, u"stock, FILTER"_s);
    }
};

QTEST_MAIN(tst_FilterHeader)
#include "tst_filterheader.moc"
