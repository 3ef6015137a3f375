#include "locate/locators.h"
