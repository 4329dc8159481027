// SPDX-License-Identifier: MIT
#include <support/exceptions.h>

#include <QTest>

#include <dlfcn.h>

/// Constants that live as long as the library that includes them: this program includes none.
class FieldConstantsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void areDestroyedWhenTheirLibraryIsUnloaded()
    {
        void *library = dlopen(CONSTANTS_PLUGIN, RTLD_NOW | RTLD_LOCAL);
        QVERIFY2(library, dlerror());
        const auto copyFirstConstant =
            reinterpret_cast<void (*)(QString *)>(dlsym(library, "copyFirstConstant"));
        QVERIFY2(copyFirstConstant, dlerror());
        QString text;
        copyFirstConstant(&text);
        const bool sharedWhileLoaded = !text.isDetached();

        const int error = dlclose(library);

        QCOMPARE(error, 0);
        QCOMPARE(dlopen(CONSTANTS_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
        QVERIFY(sharedWhileLoaded);
        QVERIFY(text.isDetached());
        QCOMPARE(text, QStringLiteral("D"));
    }
};

QTEST_APPLESS_MAIN(FieldConstantsTest)
#include "tst_fieldconstants.moc"
