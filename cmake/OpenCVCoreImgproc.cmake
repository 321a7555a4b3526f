# OpenCV's core and imgproc modules, found by name: Debian's packages for
# these two modules ship headers and libraries but no CMake package (that
# comes only with the full OpenCV set, which we do not want to pull in).
# Defines the imported target vexa_opencv.
if(NOT TARGET vexa_opencv)
  find_path(OPENCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4 REQUIRED)
  find_library(OPENCV_CORE_LIB opencv_core REQUIRED)
  find_library(OPENCV_IMGPROC_LIB opencv_imgproc REQUIRED)
  add_library(vexa_opencv INTERFACE IMPORTED)
  target_include_directories(vexa_opencv INTERFACE ${OPENCV_INCLUDE_DIR})
  target_link_libraries(vexa_opencv INTERFACE ${OPENCV_IMGPROC_LIB} ${OPENCV_CORE_LIB})
endif()
