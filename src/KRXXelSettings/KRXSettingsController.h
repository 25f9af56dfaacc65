#pragma once

#include "KRXExport.h"

#include <QDomDocument>
#include <QObject>

class KRX_EXPORT KRXSettingsController : public QObject
{
    Q_OBJECT

public:
    void getSettingsDefXMLElement(QDomDocument* doc, QDomElement& parent);
    void updateUI(QDomDocument& doc);
};
