#pragma once

#include <QString>
#include <QTextDocument>

/// A text for a tool tip, which shows what looks like markup as it is written: a path may well hold some.
inline QString plainToolTip(const QString& text)
{
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal) : text;
}
