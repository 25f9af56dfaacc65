#pragma once

#include <QtGlobal>

/// Marks what the module offers to a host.
#if defined(KRX_FOLDERS_BUILD)
#define KRX_EXPORT Q_DECL_EXPORT
#else
#define KRX_EXPORT Q_DECL_IMPORT
#endif
