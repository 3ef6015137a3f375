#include "locate/byte_reader.h"
