#include "StandInMedia.h"
