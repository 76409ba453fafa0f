# The library, the daemon and the client for a phone: -DATD_PLATFORM=android, with the NDK's toolchain file
# (docs/porting.md).
set(ATD_ANDROID_INCLUDE_DIRS "" CACHE STRING "Folders with the headers of liblog, libcutils and libsysutils")
set(ATD_ANDROID_LIBRARY_DIRS "" CACHE STRING "Folders with the device's libraries")
set(ATD_ANDROID_LIBRARIES "" CACHE STRING "The device's libraries by name: \"log;cutils;sysutils;...\"")
set(ATD_CLIENT_INCLUDE_DIRS "" CACHE STRING "Folders with the headers of CLI11, nlohmann-json and fmt; none: no atdctl")

file(GLOB ATD_DOOR_SOURCES CONFIGURE_DEPENDS platform/android/*.cpp)
target_sources(atd_rooms PRIVATE ${ATD_DOOR_SOURCES})
target_include_directories(atd_rooms PUBLIC platform/android/include)
target_include_directories(atd_rooms SYSTEM PUBLIC ${ATD_ANDROID_INCLUDE_DIRS})

set(ATD_EXPORT_MAP ${CMAKE_SOURCE_DIR}/packaging/atd_common.map)
add_library(atd_common_shared SHARED $<TARGET_OBJECTS:atd_rooms>)
target_include_directories(atd_common_shared INTERFACE ${CMAKE_SOURCE_DIR})
target_include_directories(atd_common_shared SYSTEM INTERFACE ${ATD_ANDROID_INCLUDE_DIRS})
target_link_directories(atd_common_shared PUBLIC ${ATD_ANDROID_LIBRARY_DIRS})
target_link_options(atd_common_shared PRIVATE -Wl,--version-script=${ATD_EXPORT_MAP})
set_target_properties(atd_common_shared PROPERTIES OUTPUT_NAME atd_common LINK_DEPENDS ${ATD_EXPORT_MAP})

if(ATD_ANDROID_LIBRARIES)
  target_link_libraries(atd_common_shared PUBLIC ${ATD_ANDROID_LIBRARIES})
  target_link_options(atd_common_shared PRIVATE -Wl,-z,defs)
  file(GLOB ATD_CALL_SOURCES CONFIGURE_DEPENDS daemon/call*.cpp daemon/calls/*.cpp)
  # The library does not export how properties are read.
  add_executable(atd daemon/main.cpp daemon/boot.cpp platform/android/properties.cpp ${ATD_CALL_SOURCES}
    desk/nearest.cpp desk/words.cpp)
  set_target_properties(atd PROPERTIES CXX_STANDARD 17)
  target_link_libraries(atd PRIVATE atd_common_shared)
  if(ATD_CLIENT_INCLUDE_DIRS)
    # The whole library: the rows of the opcode table, which is not exported, name their handlers.
    file(GLOB ATD_CLIENT_SOURCES CONFIGURE_DEPENDS client/*.cpp desk/*.cpp daemon/calls.cpp daemon/calls/*.cpp)
    add_executable(atdctl ${ATD_CLIENT_SOURCES} $<TARGET_OBJECTS:atd_rooms>)
    target_include_directories(atdctl PRIVATE ${CMAKE_SOURCE_DIR})
    target_include_directories(atdctl SYSTEM PRIVATE ${ATD_CLIENT_INCLUDE_DIRS} ${ATD_ANDROID_INCLUDE_DIRS})
    target_compile_definitions(atdctl PRIVATE FMT_HEADER_ONLY)
    target_link_directories(atdctl PRIVATE ${ATD_ANDROID_LIBRARY_DIRS})
    target_link_libraries(atdctl PRIVATE ${ATD_ANDROID_LIBRARIES})
  endif()
else()
  # Without the device's libraries their functions stay undefined. Whoever links the library names these libraries then.
  target_link_options(atd_common_shared PRIVATE -Wl,-z,undefs)
endif()
