#include "locate/boxes.h"
