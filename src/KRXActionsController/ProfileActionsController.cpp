#include "ProfileActionsController.h"

bool ProfileActionsController::writeXml(QDomDocument&, QDomElement&)
{
    return true;
}
void ProfileActionsController::readXml(const QDomDocument&) {}
bool ProfileActionsController::validate(QString&)
{
    return true;
}
