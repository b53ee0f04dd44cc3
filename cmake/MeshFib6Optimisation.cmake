# What Release means here, when nobody says: -O2. Included before project(), which would make it -O3.
#
# Only for a build of this project alone: as a part of another, what is optimised how is that one's
# choice. Generators that keep several build types stay as CMake made them.

get_property(several_types GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(CMAKE_SOURCE_DIR STREQUAL CMAKE_CURRENT_SOURCE_DIR AND NOT several_types)
  foreach(language C CXX)
    set(CMAKE_${language}_FLAGS_RELEASE -O2 CACHE STRING "Flags of the build type Release")
  endforeach()
endif()
