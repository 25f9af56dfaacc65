#include "KRXProfile.h"

KRXProfile::KRXProfile() = default;

KRXProfile::~KRXProfile() = default;
