// Messages of the tavrix:: interface's Status, printf style.
#ifndef TAVRIX_SRC_API_MESSAGES_H
#define TAVRIX_SRC_API_MESSAGES_H

#include <string>

namespace tavrix::detail {

#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
std::string Format(const char *format, ...);

}  // namespace tavrix::detail

#endif
