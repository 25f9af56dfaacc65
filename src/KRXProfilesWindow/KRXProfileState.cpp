#include "KRXProfileState.h"

#include <QWidget>

void KRXProfileState::setModified(bool modified)
{
    m_modified = modified;
    m_window->update();
}
