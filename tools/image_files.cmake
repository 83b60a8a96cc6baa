# The image-file module (PNG, PPM, PAM, PGM, headerless raw) as a static
# library, not installed: the tool and the demonstration programs share it.
# Included by tools/ and, when the tool is not built, by examples/.
find_package(PNG)
add_library(tavrix_image_files STATIC ${CMAKE_CURRENT_LIST_DIR}/image_files.cpp
                                      ${CMAKE_CURRENT_LIST_DIR}/image_files.h)
target_include_directories(tavrix_image_files PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(tavrix_image_files PRIVATE tavrix_options)
target_compile_features(tavrix_image_files PUBLIC cxx_std_17)
if(PNG_FOUND)
  target_link_libraries(tavrix_image_files PRIVATE PNG::PNG)
  target_compile_definitions(tavrix_image_files PRIVATE TAVRIX_FILES_HAVE_PNG=1)
else()
  message(STATUS "libpng not found: tavrix and the demonstrations read and write PPM/PAM only")
endif()
