#include "KRXText.h"

#include "HostCore.h"

namespace KRXText {

QString localised(const char* englishKey)
{
    return HostCore::translateText(QString::fromUtf8(englishKey));
}

} // namespace KRXText
