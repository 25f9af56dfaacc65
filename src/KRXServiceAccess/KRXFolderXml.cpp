#include "KRXFolderXml.h"
