#include "KRXProfileXml.h"
