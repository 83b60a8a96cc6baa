#include "api/messages.h"

#include <cstdarg>
#include <cstdio>
#include <algorithm>

namespace tavrix::detail {

std::string Format(const char *format, ...) {
  char buffer[256];
  va_list args;
  va_start(args, format);
  const int n = std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  return n < 0 ? std::string() : std::string(buffer, std::min<std::size_t>(std::size_t(n), sizeof buffer - 1));
}

}  // namespace tavrix::detail
