# Layers: one folder, one target, one include root.
#
# A header is included by its path from the top ("core/LogSection.h"), yet the
# top itself is on nobody's include path. Each layer gets an include root of its
# own in the build tree, holding one symbolic link to the layer's folder, and
# that root is passed on only by linking the layer. An include of a layer that
# was not declared with MAY_USE therefore does not compile.

# Turns "platform/foundation" into the target name "platform_foundation".
function(tessera_target_name folder out)
  string(REPLACE "/" "_" target "${folder}")
  set(${out} "${target}" PARENT_SCOPE)
endfunction()

function(tessera_include_root folder out)
  tessera_target_name("${folder}" target)
  set(root "${CMAKE_BINARY_DIR}/include-roots/${target}")
  get_filename_component(parent "${root}/${folder}" DIRECTORY)
  file(MAKE_DIRECTORY "${parent}")
  if(NOT EXISTS "${root}/${folder}")
    file(CREATE_LINK "${CMAKE_SOURCE_DIR}/${folder}" "${root}/${folder}" SYMBOLIC)
  endif()
  set(${out} "${root}" PARENT_SCOPE)
endfunction()

# tessera_layer(<folder> [OBJECT] [SOURCES file...] [MAY_USE layer...] [LIBRARIES lib...])
#
# MAY_USE names the layers whose headers this one may include (they are passed on
# to whoever links this layer, since our headers include theirs). LIBRARIES are
# libraries from outside. Without SOURCES the layer is headers only.
# OBJECT is for folders that define methods of one shared class: their objects
# are linked together, so that no link cycle comes up between them.
function(tessera_layer folder)
  cmake_parse_arguments(arg "OBJECT" "" "SOURCES;MAY_USE;LIBRARIES" ${ARGN})
  tessera_target_name("${folder}" target)
  tessera_include_root("${folder}" root)
  set(uses "")
  foreach(layer IN LISTS arg_MAY_USE)
    tessera_target_name("${layer}" used)
    list(APPEND uses "${used}")
  endforeach()
  if(NOT arg_SOURCES)
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE "${root}")
    target_link_libraries(${target} INTERFACE ${uses} ${arg_LIBRARIES})
    return()
  endif()
  if(arg_OBJECT)
    add_library(${target} OBJECT ${arg_SOURCES})
  else()
    add_library(${target} STATIC ${arg_SOURCES})
  endif()
  target_include_directories(${target} PUBLIC "${root}")
  target_link_libraries(${target} PUBLIC ${uses} ${arg_LIBRARIES} PRIVATE tessera_warnings)
endfunction()

# tessera_program(<name> SOURCES file... [MAY_USE layer...] [LIBRARIES lib...])
# A program that lands in <build>/bin.
function(tessera_program name)
  cmake_parse_arguments(arg "" "" "SOURCES;MAY_USE;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  foreach(layer IN LISTS arg_MAY_USE)
    tessera_target_name("${layer}" used)
    target_link_libraries(${name} PRIVATE ${used})
  endforeach()
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} tessera_warnings)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
endfunction()

# tessera_test_suite(<name> SOURCES file... [MAY_USE layer...] [LIBRARIES lib...]
#                    [LABELS label...] [TIMEOUT seconds])
# One test program; every case of it runs in a process of its own, so that state
# that lives as long as a process (counters, one-time values) starts fresh.
function(tessera_test_suite name)
  cmake_parse_arguments(arg "" "TIMEOUT" "SOURCES;MAY_USE;LIBRARIES;LABELS" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  set(target "test-${name}")
  tessera_program(${target} SOURCES ${arg_SOURCES} MAY_USE ${arg_MAY_USE}
                  LIBRARIES ${arg_LIBRARIES} GTest::gtest GTest::gtest_main)
  gtest_discover_tests(${target} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
                       PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS};${name}")
endfunction()
