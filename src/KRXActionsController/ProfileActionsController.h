#pragma once

#include "KRXExport.h"

#include <QDomDocument>
#include <QObject>

class KRX_EXPORT ProfileActionsController : public QObject
{
    Q_OBJECT

public:
    bool writeXml(QDomDocument& doc, QDomElement& parent);
    void readXml(const QDomDocument& doc);
    bool validate(QString& error);
};
