#include "KRXJobXml.h"
