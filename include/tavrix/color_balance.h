#ifndef TAVRIX_COLOR_BALANCE_H
#define TAVRIX_COLOR_BALANCE_H

#include "tavrix/export.h"

#endif
