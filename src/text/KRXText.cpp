#include "KRXText.h"

#include "HostCore.h"

#include <QTextDocument>

namespace KRXText {

QString localised(const char* englishKey)
{
    return HostCore::translateText(QString::fromUtf8(englishKey));
}

QString plainToolTip(const QString& text)
{
    if (!Qt::mightBeRichText(text))
        return text;
    return QStringLiteral("<p style=\"white-space:pre\">%1</p>").arg(text.toHtmlEscaped());
}

} // namespace KRXText
