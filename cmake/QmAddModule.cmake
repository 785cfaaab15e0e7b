# qm_add_module(TARGET [NAME name] SOURCES file... VERSION a.b.c.d DESCRIPTION "text"
#               [COMPANY "text"] [EXPORTS name... | EXPORT_MARKED] [LINK library...])
# qm_add_module(NAME name SOURCES file... ...), where the target has the module's name
# qm_add_module(TARGET [NAME name] SOURCES file... NO_VERSION
#               [EXPORTS name... | EXPORT_MARKED] [LINK library...])
#
# Builds a module library, NAME.dll or NAME.so, that finds <qmsd7.h> and <qm/module.hpp>:
#
#   qm_add_module(qmclock SOURCES clock.cpp VERSION 1.0.0.0 DESCRIPTION "Wall clock")
#
# NAME is what the kernel opens the module by, unless told otherwise the name of the target.
# EXPORTS is the list of what the library shows: qm_call and qmmoduleinfo, unless told otherwise.
# The sources mark these names QM_EXPORT; one that they do not define stops the linker. With
# EXPORT_MARKED the library shows whatever its sources mark. Names are undecorated either way.
# The version, two bytes for each part, is what the module listing and file properties show. Windows
# keeps it in a resource, other systems in the section ".qmversion" that holds the same bytes.
# The sources find name, version and description in the macros QM_MODULE_NAME, QM_MODULE_VERSION
# and QM_MODULE_DESCRIPTION.

set(_qm_module_files "${CMAKE_CURRENT_LIST_DIR}")
if(NOT DEFINED QM_INCLUDE_DIR)
  set(QM_INCLUDE_DIR "${CMAKE_CURRENT_LIST_DIR}/../include")
endif()

function(qm_add_module)
  cmake_parse_arguments(PARSE_ARGV 0 QM
    "NO_VERSION;EXPORT_MARKED" "NAME;VERSION;DESCRIPTION;COMPANY" "SOURCES;EXPORTS;LINK")
  set(target "${QM_NAME}")
  if(NOT ARGV0 STREQUAL "NAME")
    list(POP_FRONT QM_UNPARSED_ARGUMENTS target)
  endif()
  if(QM_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "qm_add_module(${target}): unknown ${QM_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT QM_NAME)
    set(QM_NAME ${target})
  endif()
  add_library(${target} MODULE ${QM_SOURCES})
  set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME "${QM_NAME}"
    C_VISIBILITY_PRESET hidden CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${target} PRIVATE "${QM_INCLUDE_DIR}")
  target_link_libraries(${target} PRIVATE ${QM_LINK})
  if(WIN32)
    _qm_return_leftovers(${target} ${QM_SOURCES})
    target_link_options(${target} PRIVATE
      -static -Wl,--kill-at -Wl,--exclude-all-symbols -Wl,--no-insert-timestamp)
  else()
    # The module's own qm_call is meant by that name, not one that the host loaded before.
    target_link_options(${target} PRIVATE -Wl,-Bsymbolic)
  endif()
  if(NOT QM_EXPORTS)
    set(QM_EXPORTS qm_call qmmoduleinfo)
  endif()
  if(NOT QM_EXPORT_MARKED)
    _qm_export(${target} ${QM_EXPORTS})
  endif()
  _qm_define(${target} NAME "${QM_NAME}")
  if(NOT QM_NO_VERSION)
    _qm_define(${target} VERSION "${QM_VERSION}")
    _qm_define(${target} DESCRIPTION "${QM_DESCRIPTION}")
    _qm_add_version(${target} "${QM_NAME}" "${QM_VERSION}" "${QM_DESCRIPTION}" "${QM_COMPANY}")
  endif()
endfunction()

# A text as a macro of the sources, where what means something to CMake is spelled as a number. The
# resource compiler could not read the quotation marks.
function(_qm_define target name value)
  foreach(escape IN ITEMS "\\=134" "\"=042" "$=044" ">=076")
    string(REGEX MATCH "^(.)=(.*)$" matched "${escape}")
    string(REPLACE "${CMAKE_MATCH_1}" "\\${CMAKE_MATCH_2}" value "${value}")
  endforeach()
  string(REPLACE ";" "\\073" value "${value}")
  target_compile_definitions(${target} PRIVATE
    "$<$<COMPILE_LANGUAGE:C,CXX>:QM_MODULE_${name}=\"${value}\">")
endfunction()

# Makes the library give back what its C++ runtime would keep. C alone brings no such runtime.
function(_qm_return_leftovers target)
  list(FILTER ARGN EXCLUDE REGEX "\\.c$")
  if(NOT MINGW OR NOT ARGN)
    return()
  endif()
  target_sources(${target} PRIVATE "${_qm_module_files}/module_leftovers.cpp")
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    target_link_options(${target} PRIVATE -Wl,--entry=_qm_library_entry@12)
  else()
    target_link_options(${target} PRIVATE -Wl,--entry=qm_library_entry)
  endif()
endfunction()

# The linker's list of exported names.
function(_qm_export target)
  set(list "${CMAKE_CURRENT_BINARY_DIR}/${target}_exports")
  if(WIN32)
    set(content "EXPORTS\n")
    foreach(name IN LISTS ARGN)
      if(name STREQUAL "qmmoduleinfo")
        string(APPEND name " DATA")
      elseif(name STREQUAL "qm_call" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
        string(APPEND name "@12")
      endif()
      string(APPEND content "  ${name}\n")
    endforeach()
    file(CONFIGURE OUTPUT "${list}.def" CONTENT "${content}" @ONLY)
    target_sources(${target} PRIVATE "${list}.def")
  else()
    list(JOIN ARGN "; " names)
    file(CONFIGURE OUTPUT "${list}.map" CONTENT "{ global: ${names}; local: *; };\n" @ONLY)
    list(TRANSFORM ARGN PREPEND "-Wl,--require-defined=")
    target_link_options(${target} PRIVATE "-Wl,--version-script=${list}.map" ${ARGN})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${list}.map")
  endif()
endfunction()

# Compiles the version block into the library.
function(_qm_add_version target name version description company)
  if(NOT version MATCHES "^([0-9]+)\\.([0-9]+)\\.([0-9]+)\\.([0-9]+)$")
    message(FATAL_ERROR "qm_add_module(${target}): VERSION ${version} is not a.b.c.d")
  endif()
  set(QM_VERSION_WORDS "${CMAKE_MATCH_1}, ${CMAKE_MATCH_2}, ${CMAKE_MATCH_3}, ${CMAKE_MATCH_4}")
  get_property(languages GLOBAL PROPERTY ENABLED_LANGUAGES)
  if(WIN32)
    set(template rc)
    set(kind rc)
  else()
    set(template c)
    set(kind cpp)
    if(C IN_LIST languages)
      set(kind c)
    endif()
  endif()
  set(QM_VERSION_TEXTS "")
  foreach(text IN ITEMS
      "CompanyName=${company}" "FileDescription=${description}" "FileVersion=${version}"
      "InternalName=${name}" "OriginalFilename=${name}${CMAKE_SHARED_MODULE_SUFFIX}"
      "ProductName=${name}" "ProductVersion=${version}")
    string(REGEX MATCH "^([A-Za-z]+)=(.*)$" matched "${text}")
    set(key "${CMAKE_MATCH_1}")
    string(REPLACE "\\" "\\\\" value "${CMAKE_MATCH_2}")
    if(value STREQUAL "")
      continue()
    elseif(kind STREQUAL "rc")
      string(REPLACE "\"" "\"\"" value "${value}")
      string(APPEND QM_VERSION_TEXTS "      VALUE \"${key}\", \"${value}\"\n")
    else()
      string(REPLACE "\"" "\\\"" value "${value}")
      string(APPEND QM_VERSION_TEXTS "  TEXT(${key}, u\"${key}\", u\"${value}\") \\\n")
    endif()
  endforeach()
  set(source "${CMAKE_CURRENT_BINARY_DIR}/${target}_version.${kind}")
  configure_file("${_qm_module_files}/module_version.${template}.in" "${source}" @ONLY)
  target_sources(${target} PRIVATE "${source}")
  if(NOT WIN32)  # Whatever standard the project's own sources are written for.
    string(REPLACE "cpp" "c++" language ${kind})
    set_source_files_properties("${source}" PROPERTIES COMPILE_OPTIONS -std=${language}11
      SKIP_PRECOMPILE_HEADERS ON SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
endfunction()
