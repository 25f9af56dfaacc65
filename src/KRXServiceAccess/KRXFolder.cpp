#include "KRXFolder.h"

KRXFolder::KRXFolder() = default;

KRXFolder::~KRXFolder() = default;
