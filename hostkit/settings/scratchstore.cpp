// SPDX-License-Identifier: MIT
#include <hostkit/settings/scratchstore.h>

#include <QFile>

namespace sito {

ScratchStore::ScratchStore(const QByteArray &content)
{
    const QString name = m_directory.filePath(QStringLiteral("store"));
    QFile file(name);
    m_complete = m_directory.isValid() && file.open(QIODevice::WriteOnly) &&
                 file.write(content) == content.size() && file.flush();
    file.close();
    m_store = std::make_unique<QSettings>(name, QSettings::IniFormat);
    m_store->setFallbacksEnabled(false);
    // The file is parsed only as far as it is asked for.
    m_store->allKeys();
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
