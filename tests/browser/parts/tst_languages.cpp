// SPDX-License-Identifier: MIT
#include <support/windowfixture.h>

#include <hostkit/views/filterpanel.h>
#include <hostkit/views/icons.h>

#include <QAbstractButton>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_Languages : public QObject
{
    Q_OBJECT
private:
    QAction *action(const QString &name) { return m_fixture->window().findChild<QAction *>(name); }
    /// Every text that the window shows or tells, but for the values of tables.
    QStringList texts()
    {
        QStringList result;
        const QList<QAction *> actions = m_fixture->window().findChildren<QAction *>();
        for (const QAction *one : actions) {
            if (!one->objectName().startsWith(u"language-"_s) && !one->text().contains(u"Language"_s))
                result += {one->text(), one->toolTip(), one->statusTip()};
        }
        const QList<QWidget *> widgets = m_fixture->window().findChildren<QWidget *>();
        for (const QWidget *widget : widgets) {
            result += {widget->toolTip(), widget->accessibleName(), widget->accessibleDescription(),
                       widget->windowTitle()};
            if (const auto *label = qobject_cast<const QLabel *>(widget))
                result.append(label->text());
            if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
                result.append(button->text());
            if (const auto *edit = qobject_cast<const QLineEdit *>(widget))
                result.append(edit->placeholderText());
        }
        const auto *tree = m_fixture->window().findChild<QTreeWidget *>(u"tableTree"_s);
        result +=
            {tree->headerItem()->text(0), tree->headerItem()->text(1), tree->topLevelItem(0)->toolTip(0)};
        result.append(m_fixture->window().windowTitle());
        result.append(m_fixture->window().page()->header()->accessibleText(0));
        return result;
    }
    QStringList cyrillicTexts()
    {
        static const QRegularExpression cyrillic(u"[А-Яа-яЁё]"_s);
        return texts().filter(cyrillic);
    }
    int lightness(QPalette::ColorRole role) { return m_fixture->window().palette().color(role).lightness(); }

    std::unique_ptr<WindowFixture> m_fixture;

private Q_SLOTS:
    void init()
    {
        WindowFixture::failOnWarnings();
        m_fixture = std::make_unique<WindowFixture>();
        m_fixture->makeWindow();
        QVERIFY(m_fixture->openSample(u"quotes"_s, {{}, {{false, {u"stock_id"_s}, u"1"_s}}, {}}));
    }
    void cleanup() { m_fixture.reset(); }

    void switchesEveryTextAtOnce()
    {
        const QStringList russian = texts();
        QVERIFY(cyrillicTexts().size() > 60);

        action(u"language-en"_s)->trigger();
        QCoreApplication::processEvents();

        QCOMPARE(cyrillicTexts(), QStringList());
        QCOMPARE(m_fixture->window().windowTitle(), u"quotes — Sample — Sito"_s);
        QCOMPARE(m_fixture->window().findChild<QLabel *>(u"rows"_s)->text(), u"Rows shown: 5,056 of 5,086"_s);
        action(u"language-ru"_s)->trigger();
        QCoreApplication::processEvents();
        QCOMPARE(texts(), russian);
    }

    void keepsTheChoice()
    {
        action(u"language-en"_s)->trigger();

        QCOMPARE(m_fixture->store().value(u"window/language"_s).toString(), u"en"_s);
        QCOMPARE(m_fixture->languages().current(), Languages::Language::English);
        action(u"language-system"_s)->trigger();
        QCOMPARE(m_fixture->store().value(u"window/language"_s).toString(), u"system"_s);
        QVERIFY(m_fixture->languages().isRussian()); // the fixture's system is
    }

    void marksTheChoiceInTheMenu()
    {
        m_fixture->languages().apply(Languages::Language::English);
        for (QMenu *menu : m_fixture->window().findChildren<QMenu *>())
            Q_EMIT menu->aboutToShow();

        QVERIFY(action(u"language-en"_s)->isChecked());
        QVERIFY(!action(u"language-ru"_s)->isChecked());
        QVERIFY(action(u"look-system"_s)->isChecked());
    }

    void switchesTheTextsOfQt()
    {
        if (!QFileInfo::exists(QLibraryInfo::path(QLibraryInfo::TranslationsPath) + "/qtbase_ru.qm"_L1))
            QSKIP("Qt's translations are not installed");
        m_fixture->languages().apply(Languages::Language::Russian);
        const QDialogButtonBox russian(QDialogButtonBox::Cancel);
        m_fixture->languages().apply(Languages::Language::English);
        const QDialogButtonBox english(QDialogButtonBox::Cancel);

        QCOMPARE(russian.button(QDialogButtonBox::Cancel)->text().remove(u'&'), u"Отмена"_s);
        QCOMPARE(english.button(QDialogButtonBox::Cancel)->text().remove(u'&'), u"Cancel"_s);
    }

    void readsTheSystemsLanguage_data()
    {
        QTest::addColumn<QByteArray>("locale");
        QTest::addColumn<bool>("russian");
        QTest::newRow("Russian") << QByteArray("ru_RU.UTF-8") << true;
        QTest::newRow("German") << QByteArray("de_DE.UTF-8") << false;
        QTest::newRow("C") << QByteArray("C") << false;
    }
    void readsTheSystemsLanguage()
    {
        QFETCH(QByteArray, locale);
        QFETCH(bool, russian);
        const QByteArray before = qgetenv("LC_ALL");

        qputenv("LC_ALL", locale);
        const bool isRussian = Languages::isSystemRussian();
        qputenv("LC_ALL", before);

        QCOMPARE(isRussian, russian);
        for (const auto language :
             {Languages::Language::System, Languages::Language::Russian, Languages::Language::English})
            QCOMPARE(Languages::fromName(Languages::name(language)), language);
        QCOMPARE(Languages::fromName(u"klingon"_s), Languages::Language::System);
    }

    void changesTheLook()
    {
        action(u"look-dark"_s)->trigger();
        QTRY_VERIFY(lightness(QPalette::Window) < 80);
        QVERIFY(lightness(QPalette::WindowText) > 180);
        QCOMPARE(m_fixture->store().value(u"window/look"_s).toString(), u"dark"_s);
        const QImage dark = m_fixture->window().grab().toImage();

        action(u"look-light"_s)->trigger();
        QTRY_VERIFY(lightness(QPalette::Window) > 200);
        QVERIFY(lightness(QPalette::WindowText) < 80);
        const QImage light = m_fixture->window().grab().toImage();
        QVERIFY(dark != light);

        action(u"look-system"_s)->trigger();
        QTRY_VERIFY(!QApplication::palette().isBrushSet(QPalette::Active, QPalette::Window) ||
                    QApplication::palette().resolveMask() == 0);
        for (const auto scheme : {Look::Scheme::System, Look::Scheme::Light, Look::Scheme::Dark})
            QCOMPARE(Look::fromName(Look::name(scheme)), scheme);
    }

    void followsThePaletteOfTheSystem()
    {
        const auto iconLightness = [] {
            const QImage image = Icons::icon(Icons::Shape::Table).pixmap(32, 32).toImage();
            int sum = 0;
            int count = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (image.pixelColor(x, y).alpha() > 200) {
                        sum += image.pixelColor(x, y).lightness();
                        ++count;
                    }
                }
            }
            return count > 0 ? sum / count : -1;
        };
        QVERIFY(iconLightness() >= 0 && iconLightness() < 100);
        const QPalette before = QApplication::palette();
        QPalette dark = before;
        dark.setColor(QPalette::Window, Qt::black);
        dark.setColor(QPalette::WindowText, Qt::white);
        dark.setColor(QPalette::Button, Qt::black);
        dark.setColor(QPalette::ButtonText, Qt::white);
        dark.setColor(QPalette::Base, Qt::black);
        dark.setColor(QPalette::Text, Qt::white);

        QApplication::setPalette(dark);
        QTRY_VERIFY(lightness(QPalette::Window) == 0);
        const QImage image = m_fixture->window().grab().toImage();
        const int icon = iconLightness();
        QApplication::setPalette(before);

        QVERIFY(icon > 150);
        qint64 sum = 0;
        for (int y = 0; y < image.height(); y += 3) {
            for (int x = 0; x < image.width(); x += 3)
                sum += image.pixelColor(x, y).lightness();
        }
        QVERIFY(sum / ((image.height() / 3 + 1) * (image.width() / 3 + 1)) < 90);
    }
};

QTEST_MAIN(tst_Languages)
#include "tst_languages.moc"
