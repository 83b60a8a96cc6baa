# Camera raw input (LibRaw) and TIFF output (libtiff) of the tavrix tool, as a
# static library that is not installed. Both libraries are optional: without
# them the tool refuses those files with a message and says so in --version.
find_package(PkgConfig)
if(PKG_CONFIG_FOUND)
  pkg_check_modules(LIBRAW IMPORTED_TARGET libraw)
endif()
find_package(TIFF)
add_library(tavrix_camera_files STATIC
  ${CMAKE_CURRENT_LIST_DIR}/camera_raw.cpp ${CMAKE_CURRENT_LIST_DIR}/camera_raw.h
  ${CMAKE_CURRENT_LIST_DIR}/tiff_files.cpp ${CMAKE_CURRENT_LIST_DIR}/tiff_files.h)
target_include_directories(tavrix_camera_files PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(tavrix_camera_files PRIVATE tavrix_options)
target_compile_features(tavrix_camera_files PUBLIC cxx_std_17)
if(LIBRAW_FOUND)
  target_link_libraries(tavrix_camera_files PRIVATE PkgConfig::LIBRAW)
  target_compile_definitions(tavrix_camera_files PRIVATE TAVRIX_FILES_HAVE_LIBRAW=1)
else()
  message(STATUS "LibRaw not found: tavrix reads no camera raw files (DNG, CR2, NEF, ...)")
endif()
if(TIFF_FOUND)
  target_link_libraries(tavrix_camera_files PRIVATE TIFF::TIFF)
  target_compile_definitions(tavrix_camera_files PRIVATE TAVRIX_FILES_HAVE_TIFF=1)
else()
  message(STATUS "libtiff not found: tavrix writes no TIFF files")
endif()
