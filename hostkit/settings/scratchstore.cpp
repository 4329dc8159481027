// SPDX-License-Identifier: MIT
#include <hostkit/settings/scratchstore.h>

#include <QFile>
#include <QFileInfo>

namespace sito {

ScratchStore::ScratchStore(const QByteArray &content, QSettings::Format format)
{
    const QString name = m_directory.filePath(QStringLiteral("store"));
    QFile file(name);
    m_complete = m_directory.isValid() && file.open(QIODevice::WriteOnly) &&
                 file.write(content) == content.size() && file.flush();
    file.close();
    m_store = std::make_unique<QSettings>(name, format);
    m_store->setFallbacksEnabled(false);
    // The file is parsed only as far as it is asked for.
    m_store->allKeys();
}

std::unique_ptr<ScratchStore> ScratchStore::ofFile(const QString &fileName, QSettings::Format format)
{
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly))
        return nullptr;
    const QByteArray content = file.readAll();
    if (file.error() != QFile::NoError)
        return nullptr;
    auto result = std::make_unique<ScratchStore>(content, format);
    return result->isComplete() ? std::move(result) : nullptr;
}

QByteArray ScratchStore::content() const
{
    m_store->sync();
    QFile file(m_store->fileName());
    if (!m_complete || m_store->status() != QSettings::NoError || !file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = file.readAll();
    return content.isNull() ? QByteArray("") : content;
}

} // namespace sito
