#pragma once

#include "KRXExport.h"

#include <QObject>

/// The record of one watched folder. All data are dynamic properties, named in KRXFolderProperties.h; a
/// property that was never set reads as an invalid variant.
class KRX_EXPORT KRXFolder : public QObject
{
    Q_OBJECT

public:
    KRXFolder();
    ~KRXFolder() override;
};
