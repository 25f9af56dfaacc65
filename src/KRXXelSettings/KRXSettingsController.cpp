#include "KRXSettingsController.h"

void KRXSettingsController::getSettingsDefXMLElement(QDomDocument*, QDomElement&) {}
void KRXSettingsController::updateUI(QDomDocument&) {}
