# norvctl: a prime in one command, checked. It starts norv as any caller does.
norv_headers(norv_cli11 CLI CLI/CLI.hpp)

# LIBUV_ROOT_DIR names libuv's folder when it is not the system's libuv.
set(only_there)
if(CMAKE_CROSSCOMPILING)
  set(only_there NO_DEFAULT_PATH)
endif()
find_path(LIBUV_INCLUDE_DIR uv.h HINTS ${LIBUV_ROOT_DIR}/include ${only_there} REQUIRED)
find_library(LIBUV_LIBRARY uv HINTS ${LIBUV_ROOT_DIR}/lib ${only_there} REQUIRED)
add_library(norv_uv INTERFACE)
target_include_directories(norv_uv SYSTEM INTERFACE ${LIBUV_INCLUDE_DIR})
target_link_libraries(norv_uv INTERFACE ${LIBUV_LIBRARY})
if(WIN32)
  target_link_libraries(norv_uv INTERFACE iphlpapi userenv ws2_32)
endif()

add_library(norv_ctl STATIC
  ctl/background.cpp
  ctl/base.cpp
  ctl/check_command.cpp
  ctl/compare.cpp
  ctl/comparison.cpp
  ctl/end_request.cpp
  ctl/estimate.cpp
  ctl/estimate_command.cpp
  ctl/generate.cpp
  ctl/input_file.cpp
  ctl/norv_path.cpp
  ctl/norv_process.cpp
  ctl/norv_run.cpp
  ctl/options.cpp
  ctl/progress.cpp
  ctl/search_group.cpp
  ctl/stop.cpp)
target_link_libraries(norv_ctl PUBLIC norv_ctl_forms norv_uv PRIVATE norv_cli11)

add_executable(norvctl ctl/main.cpp)
target_link_libraries(norvctl PRIVATE norv_ctl)
