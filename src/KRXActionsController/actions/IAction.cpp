#include "IAction.h"

#include "KRXText.h"

namespace {

constexpr unsigned kProjectTypeNotice = 1;

} // namespace

IAction::IAction(ActionType type, int number)
    : m_type(type)
    , m_number(number)
{
}

IAction::~IAction()
{
    delete m_widget.data();
}

ActionType IAction::getType() const
{
    return m_type;
}

bool IAction::validate(QString&)
{
    return true;
}

QWidget* IAction::setWidget(QWidget* widget)
{
    m_widget = widget;
    return widget;
}

QString noticeText(unsigned code)
{
    if (code != kProjectTypeNotice)
        return QString();
    return KRXText::localised(
        "This profile was created in a different project type."
        "The following transcode options have been reset to their defaults: Project Type, Codec."
        "Only newly saved profiles will have this change.\n");
}
