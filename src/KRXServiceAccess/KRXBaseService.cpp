#include "KRXBaseService.h"

#include "RestClient.h"

KRXBaseService::KRXBaseService(Acquisition) {}
KRXBaseService::~KRXBaseService() = default;
