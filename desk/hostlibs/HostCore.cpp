#include "StandInHost.h"
namespace HostCore {
QString translateText(const QString& english) { return english; }
QString unicodeFromMultibyte(const char* text) { return QString::fromUtf8(text); }
}
