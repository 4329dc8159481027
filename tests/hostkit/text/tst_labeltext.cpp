// SPDX-License-Identifier: MIT
#include <hostkit/text/labeltext.h>

#include <support/exceptions.h>

#include <QLabel>
#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_LabelText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void doublesTheMarkOfMnemonics()
    {
        QCOMPARE(labelText(u"a"_s), u"a"_s);
        QCOMPARE(labelText(u"&a && b&"_s), u"&&a &&&& b&&"_s);
        QCOMPARE(labelText(QString()), QString());
    }

    void isShownAsItIs()
    {
        QLabel plain(u"A_B"_s);
        QLabel marked(labelText(u"A&B"_s));
        QLabel buddy;
        marked.setBuddy(&buddy);

        const QFontMetrics metrics(marked.font());
        QCOMPARE(marked.sizeHint().width() - plain.sizeHint().width(),
                 metrics.horizontalAdvance(u'&') - metrics.horizontalAdvance(u'_'));
    }
};

QTEST_MAIN(tst_LabelText)
#include "tst_labeltext.moc"
