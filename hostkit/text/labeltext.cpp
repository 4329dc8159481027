// SPDX-License-Identifier: MIT
#include <hostkit/text/labeltext.h>

namespace sito {

using namespace Qt::StringLiterals;

QString labelText(QString text)
{
    return text.replace(u'&', "&&"_L1);
}

} // namespace sito
