#ifndef TAVRIX_EXPORT_H
#define TAVRIX_EXPORT_H

/* TAVRIX_API marks the exported classes. Consumers of a static build define
   TAVRIX_STATIC_DEFINE (the CMake package and tavrix.pc do it for them). */
#if defined(TAVRIX_STATIC_DEFINE)
#define TAVRIX_API
#elif defined(_WIN32) || defined(__CYGWIN__)
#if defined(TAVRIX_BUILDING)
#define TAVRIX_API __declspec(dllexport)
#else
#define TAVRIX_API __declspec(dllimport)
#endif
#else
#define TAVRIX_API __attribute__((visibility("default")))
#endif

#endif
