#include "locate/containers.h"
