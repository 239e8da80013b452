include(GenerateExportHeader)

# quarn_layer(<name> MACRO <EXPORT_MACRO> [MODULE] [PUBLIC <libs>] [PRIVATE <libs>] [PRECOMPILE <headers>])
#
# Makes the library of the folder it is called from, out of all sources below that folder. Headers are public, and are
# compiled alone by the target all_verify_interface_header_sets, unless they stand in a folder named "detail".
# The alias is quarn::<name>; the export header is "<folder from the root>/export.h". With QUARN_PRECOMPILE_LAYERS the
# headers given, and those of the standard library that most use, are read once.
function(quarn_layer name)
  cmake_parse_arguments(arg "" "MACRO" "PUBLIC;PRIVATE;PRECOMPILE" ${ARGN})
  file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
  set(public_headers ${headers})
  list(FILTER public_headers EXCLUDE REGEX "/detail/")

  set(target quarn_${name})
  add_library(${target} SHARED ${sources})
  add_library(quarn::${name} ALIAS ${target})
  generate_export_header(${target} BASE_NAME ${arg_MACRO} EXPORT_MACRO_NAME ${arg_MACRO}
    EXPORT_FILE_NAME "${PROJECT_BINARY_DIR}/generated/${folder}/export.h")
  target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${public_headers})
  target_include_directories(${target} PUBLIC "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/generated")
  target_link_libraries(${target} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE} quarn_compiler)
  set_target_properties(${target} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR} OUTPUT_NAME quarn-${name})
  if(QUARN_PRECOMPILE_LAYERS AND arg_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE <algorithm> <functional> <map> <memory> <string> <vector>
      ${arg_PRECOMPILE})
    target_compile_options(${target} PRIVATE ${QUARN_PRECOMPILED_OPTIONS})
  endif()
endfunction()

# quarn_package(<name> MACRO <EXPORT_MACRO> [PUBLIC <libs>] [PRIVATE <libs>])
#
# A package of the workbench: a layer that the host loads at run time. Library and manifest (<name>.json of the calling
# folder) go side by side into the package folder of the build tree.
function(quarn_package name)
  quarn_layer(${name} ${ARGN})
  set(target quarn_${name})
  set_property(TARGET ${target} PROPERTY VERSION)
  set_property(TARGET ${target} PROPERTY SOVERSION)
  set_target_properties(${target} PROPERTIES OUTPUT_NAME ${name}
    LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
  set(QUARN_PACKAGE_VERSION ${PROJECT_VERSION})
  set(QUARN_PACKAGE_ABI ${QUARN_ABI})
  configure_file("${CMAKE_CURRENT_SOURCE_DIR}/${name}.json" "${CMAKE_BINARY_DIR}/packages/${name}.json")
endfunction()
