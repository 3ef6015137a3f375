#include "locate/stream_opener.h"
