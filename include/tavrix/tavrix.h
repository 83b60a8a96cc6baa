#ifndef TAVRIX_TAVRIX_H
#define TAVRIX_TAVRIX_H

/* Tavrix: demosaicing, automatic colour balance and lossless compression
   for the raw frames of single-sensor colour cameras. */
#include "tavrix/bayer_converter.h"
#include "tavrix/color_balance.h"
#include "tavrix/color_matrix.h"
#include "tavrix/image_compress.h"

/* The interface with views, Status and threads needs C++17. */
#if __cplusplus >= 201703L || (defined(_MSVC_LANG) && _MSVC_LANG >= 201703L)
#include "tavrix/balance.h"
#include "tavrix/compress.h"
#include "tavrix/demosaic.h"
#endif

#define TAVRIX_VERSION_MAJOR 0
#define TAVRIX_VERSION_MINOR 1
#define TAVRIX_VERSION_PATCH 0

#endif
