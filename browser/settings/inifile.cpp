// SPDX-License-Identifier: MIT
#include <browser/settings/inifile.h>

#include <data/exception.h>
#include <hostkit/settings/scratchstore.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

namespace sito {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(IniFile)
};

} // namespace

void requireIniFile(const QString &name)
{
    const QFileInfo info(name);
    if (!info.exists())
        throw Exception(Texts::tr("Файла «%1» нет").arg(name));
    if (info.isDir())
        throw Exception(Texts::tr("«%1» - каталог, а не файл настроек").arg(name));
    if (!info.isFile())
        throw Exception(Texts::tr("«%1» - не обычный файл").arg(name));
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        throw Exception(Texts::tr("Не удалось прочитать «%1»: %2").arg(name, file.errorString()));
    const QByteArray content = file.readAll();
    const ScratchStore store(content);
    if (!store.isComplete() || store->status() == QSettings::AccessError)
        throw Exception(Texts::tr("Не удалось прочитать «%1»").arg(name));
    if (store->status() == QSettings::FormatError || content.contains('\0'))
        throw Exception(Texts::tr("«%1» - не файл INI").arg(name));
}

bool isReadOnlyStore(const QSettings &store)
{
    constexpr QFile::Permissions anyWrite = QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;
    const QString name = store.fileName();
    return !store.isWritable() || (QFileInfo::exists(name) && !(QFile::permissions(name) & anyWrite));
}

} // namespace sito
