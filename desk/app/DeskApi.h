#pragma once

#include <QtGlobal>

/// Marks what the program shows to the libraries that it loads at run time (see DeskExtras).
#define KRX_DESK_API Q_DECL_EXPORT
