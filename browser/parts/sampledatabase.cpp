// SPDX-License-Identifier: MIT
#include <browser/parts/sampledatabase.h>

#include <data/exception.h>

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryFile>

namespace sito {

SampleDatabase::SampleDatabase()
{
    QFile source(QStringLiteral(":/sample.sqlite"));
    m_file.reset(source.open(QIODevice::ReadOnly) ? QTemporaryFile::createNativeFile(source) : nullptr);
    if (!m_file) {
        throw Exception(
            QCoreApplication::translate("SampleDatabase", "Не удалось записать пример во временный каталог"));
    }
}

SampleDatabase::~SampleDatabase() = default;

QString SampleDatabase::fileName() const
{
    return m_file->fileName();
}

} // namespace sito
