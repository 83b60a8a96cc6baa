#ifndef TAVRIX_IMAGE_COMPRESS_H
#define TAVRIX_IMAGE_COMPRESS_H

#include "tavrix/export.h"

#endif
