#include "RestClient.h"
