# Removes what `cmake --install` put there last, read from the lists it left in the build folder.
# usage: [DESTDIR=...] cmake -DBUILD=<build folder> "-DFOLDERS=<folder>;..." -P uninstall.cmake
#
# Files go when they are listed, folders when they are empty and in FOLDERS (told from the prefix):
# the others (lib, include, ...) are not only ours. With a Python source goes what Python has compiled of it.

# is_ours(FOLDER RESULT): whether it is one of FOLDERS or in one.
function(is_ours folder result)
  set(${result} FALSE PARENT_SCOPE)
  foreach(our_folder IN LISTS FOLDERS)
    string(FIND "${folder}/" "/${our_folder}/" position)
    if(NOT position EQUAL -1)
      set(${result} TRUE PARENT_SCOPE)
    endif()
  endforeach()
endfunction()

# remove_empty(FOLDER): and those above it, as far as they are ours.
function(remove_empty folder)
  is_ours("${folder}" ours)
  file(GLOB content "${folder}/*") # hidden files as well
  if(content OR NOT ours OR NOT IS_DIRECTORY "${folder}")
    return()
  endif()
  message(STATUS "Removing ${folder}")
  file(REMOVE_RECURSE "${folder}")
  cmake_path(GET folder PARENT_PATH above)
  remove_empty("${above}")
endfunction()

# remove_compiled(SOURCE): what Python has made of it, in a folder beside it.
function(remove_compiled source)
  cmake_path(GET source PARENT_PATH folder)
  cmake_path(GET source STEM LAST_ONLY name)
  file(GLOB compiled "${folder}/__pycache__/${name}.*.pyc")
  if(compiled)
    message(STATUS "Removing what Python has compiled of ${source}")
    file(REMOVE ${compiled})
    remove_empty("${folder}/__pycache__")
  endif()
endfunction()

# remove_listed(MANIFEST RESULT): RESULT is set when anything was there to be removed.
function(remove_listed manifest result)
  set(folders "")
  file(STRINGS "${manifest}" files)
  list(TRANSFORM files PREPEND "$ENV{DESTDIR}")
  foreach(file IN LISTS files)
    if(EXISTS "${file}" OR IS_SYMLINK "${file}")
      message(STATUS "Removing ${file}")
      file(REMOVE "${file}")
      set(${result} TRUE PARENT_SCOPE)
    else()
      message(STATUS "Gone already: ${file}")
    endif()
    if(EXISTS "${file}" OR IS_SYMLINK "${file}")
      message(FATAL_ERROR "Cannot remove ${file}")
    endif()
    if(file MATCHES "\\.py$")
      remove_compiled("${file}")
    endif()
    cmake_path(GET file PARENT_PATH folder)
    list(APPEND folders "${folder}")
  endforeach()

  list(REMOVE_DUPLICATES folders)
  foreach(folder IN LISTS folders)
    remove_empty("${folder}")
  endforeach()
endfunction()

# One list for everything, one for each component that was installed by itself.
file(GLOB manifests "${BUILD}/install_manifest*.txt")
if(NOT manifests)
  message(FATAL_ERROR "${BUILD} has no list of installed files (install_manifest*.txt): nothing was "
    "installed from this build folder, or all of it has been removed")
endif()
set(removed FALSE)
foreach(manifest IN LISTS manifests)
  remove_listed("${manifest}" removed)
endforeach()
if(NOT removed)
  message(FATAL_ERROR "None of the files is there that ${BUILD} has on its list "
    "(install_manifest*.txt). If they were installed with DESTDIR, set it as it was then; now it is "
    "'$ENV{DESTDIR}'. If they are gone for good, remove the list")
endif()
file(REMOVE ${manifests}) # so that what somebody else installs later is not removed by mistake
