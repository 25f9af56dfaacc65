#pragma once

#include "KRXExport.h"

#include <QObject>

/// The record of one profile: how new media are linked, and what is done with them. All data are dynamic
/// properties, named in KRXProfileProperties.h; a property that was never set reads as an invalid variant.
class KRX_EXPORT KRXProfile : public QObject
{
    Q_OBJECT

public:
    KRXProfile();
    ~KRXProfile() override;
};
