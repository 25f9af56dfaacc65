// What the desk finds where the demo and the tour of another version are installed.

#include "DeskExtras.h"

extern "C" Q_DECL_EXPORT DeskExtras* krxDeskExtras(const char*)
{
    return nullptr;
}
