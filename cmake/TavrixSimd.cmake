# Vector paths: per-file instruction-set flags, never for the whole library.
#
#   tavrix_simd_sources(<SSE41|AVX2|AVX512|NEON> file...)
#
# adds the files to the library objects when the target architecture has that
# instruction set family, compiled with its flags alone. The library as a whole
# stays on the baseline (x86-64: SSE2; aarch64: NEON, which every such CPU has),
# and a kernel family chooses a path once per call (src/cpu/dispatch.h).
#
# Whether the x86 or the NEON files are compiled is visible to the code as
# TAVRIX_SIMD_X86 or TAVRIX_SIMD_NEON (1 or 0), so dispatchers name only bodies
# that exist.
#
# A file compiled with wider flags must not emit code that a baseline file could
# end up calling: keep everything in it in an anonymous namespace except its entry
# functions, and call no inline function or template from a shared header that
# the compiler might emit out of line (the linker may keep either copy).
string(TOLOWER "${CMAKE_SYSTEM_PROCESSOR}" _tavrix_cpu)
if(_tavrix_cpu MATCHES "^(x86_64|amd64|i[3-6]86|x86)$")
  set(TAVRIX_SIMD_ARCH x86)
elseif(_tavrix_cpu MATCHES "^(aarch64|arm64)$")
  set(TAVRIX_SIMD_ARCH arm64)
else()
  set(TAVRIX_SIMD_ARCH none)
endif()

set(_tavrix_flags_SSE41 -mssse3 -msse4.1)
set(_tavrix_flags_AVX2 -mssse3 -msse4.1 -msse4.2 -mpopcnt -mavx -mavx2 -mbmi -mbmi2)
set(_tavrix_flags_AVX512 -mssse3 -msse4.1 -msse4.2 -mpopcnt -mavx -mavx2 -mbmi -mbmi2
    -mavx512f -mavx512bw -mavx512vl -mavx512vbmi)
set(_tavrix_flags_NEON "")

function(tavrix_simd_sources isa)
  if(isa STREQUAL "NEON")
    if(NOT TAVRIX_SIMD_ARCH STREQUAL "arm64")
      return()
    endif()
  elseif(NOT TAVRIX_SIMD_ARCH STREQUAL "x86")
    return()
  endif()
  if(NOT DEFINED _tavrix_flags_${isa})
    message(FATAL_ERROR "tavrix_simd_sources: unknown instruction set ${isa}")
  endif()
  foreach(file ${ARGN})
    get_filename_component(path ${file} ABSOLUTE)
    target_sources(tavrix_objects PRIVATE ${path})
    if(_tavrix_flags_${isa})
      set_property(SOURCE ${path} TARGET_DIRECTORY tavrix_objects APPEND PROPERTY
                   COMPILE_OPTIONS ${_tavrix_flags_${isa}})
    endif()
  endforeach()
endfunction()
